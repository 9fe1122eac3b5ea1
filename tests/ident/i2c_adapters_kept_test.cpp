// What is known of the adapters is kept as long as the object lives, and is what a search of its own would find.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "base/messages.h"
#include "ident/i2c_adapters.h"
#include "tests/support/expect.h"
#include "tests/support/fixture.h"

namespace qorx::test {
namespace {

constexpr std::uint32_t kUnset = 12345;

class KeptAdapters : public MachineTest {
 protected:
  std::uint32_t find(const std::string& pattern) {
    std::uint32_t port = kUnset;
    EXPECT_EQ(get_x86_i2c_port_number(adapters_, &port, pattern.c_str()), 0);
    return port;
  }

  qorx::I2cAdapters adapters_;
};

TEST_F(KeptAdapters, AreReadOnce) {
  machine_.add_i2c_adapter(3, "SMBus I801 adapter").add_i2c_adapter(4, "i2c-3-mux (chan_id 1)");
  EXPECT_EQ(find("nothing"), kUnset);
  machine_.remove("sys/class/i2c-adapter");
  EXPECT_EQ(find("SMBus"), 3U);
  EXPECT_EQ(find("chan_id 1"), 4U);
  EXPECT_EQ(find("nothing"), kUnset);
}

TEST_F(KeptAdapters, AreTracedInEachSearchAsInTheFirst) {
  machine_.add_i2c_adapter(3, "SMBus I801 adapter").add_i2c_adapter(4, "i2c-3-mux (chan_id 1)");
  const std::string first = traced_by([&] { find("chan_id 1"); });
  EXPECT_NE(first.find("i2c-4/name, i2c-4\nRoot bus: i2c-4, founded.\n"), std::string::npos) << first;
  EXPECT_EQ(traced_by([&] { find("chan_id 1"); }), first);
}

TEST_F(KeptAdapters, ThatCannotBeListedAreAnErrorOfEachSearch) {
  std::uint32_t port = kUnset;
  for (int search = 0; search < 2; ++search) {
    EXPECT_EQ(outcome_of([&] { return get_x86_i2c_port_number(adapters_, &port, "x"); }),
              (Outcome{"Error: Cannot access /sys/class/i2c-adapter\n", 0x98}));
  }
}

// More names than are kept: the rest is read again, also a short one behind a long one that no longer fitted.
TEST_F(KeptAdapters, AreFoundHoweverManyThereAre) {
  constexpr int kCount = 1200;
  for (int number = 0; number < kCount; ++number) {
    const std::string rest(number % 3 == 0 ? 3 : 85, 'x');
    machine_.add_i2c_adapter(number, "<" + std::to_string(number) + ">" + rest);
  }
  EXPECT_EQ(find("nothing"), kUnset);
  for (int number = 0; number < kCount; ++number) {
    ASSERT_EQ(find("<" + std::to_string(number) + ">"), static_cast<std::uint32_t>(number));
  }
  EXPECT_EQ(find("nothing"), kUnset);
  const std::string trace = traced_by([&] { find("nothing"); });
  EXPECT_EQ(std::count(trace.begin(), trace.end(), '\n'), kCount);
}

}  // namespace
}  // namespace qorx::test
