#include "ident/i2c_adapters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "base/messages.h"
#include "tests/support/directory_order.h"
#include "tests/support/expect.h"
#include "tests/support/rows.h"
#include "tests/support/unprivileged.h"

namespace qorx::test {
namespace {

constexpr std::uint32_t kUnset = 12345;
constexpr const char* kAdapters = "sys/class/i2c-adapter/";
constexpr const char* kHost = "SMBus I801";
constexpr const char* kMissing = "Error: Cannot access /sys/class/i2c-adapter\n";

// Each of these asks a machine that has not been asked before.
std::int32_t host_port(std::uint32_t& port, const char* pattern) {
  qorx::I2cAdapters adapters;
  return get_x86_i2c_port_number(adapters, &port, pattern);
}

std::int32_t mux_port(std::uint32_t& port, std::uint32_t parent, std::uint32_t channel) {
  qorx::I2cAdapters adapters;
  return get_i2c_mux_port_number(adapters, &port, parent, channel);
}

std::uint32_t find(const char* pattern) {
  std::uint32_t port = kUnset;
  EXPECT_EQ(host_port(port, pattern), 0);
  return port;
}

class I2cAdapters : public MachineTest {
 protected:
  // The adapters' directory entries in the order in which the directory returns them.
  [[nodiscard]] std::vector<std::string> listed() const { return entries_in_order(machine_.root() / kAdapters); }
};

TEST_F(I2cAdapters, AnAdapterIsFoundByAPartOfItsName) {
  machine_.add_i2c_adapter(0, "Adapter of the graphics card, port DPC")
      .add_i2c_adapter(2, "Adapter of the graphics card, port DPD")
      .add_i2c_adapter(5, "SMBus I801 adapter at f040")
      .add_i2c_adapter(11, "Baseboard controller i2c");
  EXPECT_EQ(find(kHost), 5U);
  EXPECT_EQ(find("adapter at f0"), 5U);
  EXPECT_EQ(find("Baseboard"), 11U);
}

TEST_F(I2cAdapters, WithoutAMatchThePortStays) {
  machine_.add_i2c_adapter(0, "SMBus PIIX4 adapter at 4100");
  EXPECT_EQ(find(kHost), kUnset);
  EXPECT_EQ(find("smbus piix4"), kUnset);
  machine_.remove("sys/class/i2c-adapter/i2c-0");
  EXPECT_EQ(find("SMBus PIIX4"), kUnset);
}

TEST_F(I2cAdapters, OfSeveralTheFirstInDirectoryOrderIsTaken) {
  for (const int number : {7, 3, 5, 1}) {
    machine_.add_i2c_adapter(number, "Synopsys DesignWare I2C adapter");
  }
  EXPECT_EQ("i2c-" + std::to_string(find("Synopsys DesignWare I2C adapter")), listed().front());
}

// An adapter directory, the content of its name file, and the number it is found under.
struct Adapter {
  std::string_view rule;
  std::string entry;
  std::string content;
  std::uint32_t number;
};

class OneAdapter : public RowTest<Adapter, MachineTest> {};

TEST_P(OneAdapter, HasTheNumber) {
  machine_.write(kAdapters + row().entry + "/name", row().content);
  EXPECT_EQ(find(kHost), row().number);
}

Adapter named(std::string_view rule, const std::string& entry, std::uint32_t number) {
  return {rule, entry, "SMBus I801 adapter at efa0\n", number};
}

QORX_ROWS(OneAdapter, named("the number stands behind the dash", "i2c-3", 3), named("zero is a number", "i2c-0", 0),
          named("a number may exceed a byte", "i2c-300", 300), named("the last dash counts", "a-1-b-42", 42),
          named("the number ends at another character", "i2c-7x", 7), named("no digits are zero", "i2c-", 0),
          named("a letter is zero", "i2c-x", 0), named("a second dash is no sign", "i2c--5", 5),
          named("leading zeros are allowed", "i2c-007", 7),
          named("a match without a dash ends the search without a number", "smbus", kUnset),
          {"a name needs no line feed", "i2c-4", kHost, 4},
          {"a pattern may end at byte 99", "i2c-4", std::string(89, 'x') + kHost + "\n", 4},
          {"byte 100 is not compared", "i2c-4", std::string(90, 'x') + kHost + "\n", kUnset},
          {"the second line is not compared", "i2c-4", "first\nSMBus I801\n", kUnset},
          {"lines are not joined", "i2c-4", "SMBus \nI801\n", kUnset},
          {"a nul ends the name", "i2c-4", std::string("x\0SMBus I801\n", 13), kUnset},
          {"an empty line is the first line", "i2c-4", "\nSMBus I801\n", kUnset},
          {"an empty file matches nothing", "i2c-4", "", kUnset});

TEST_F(I2cAdapters, EntriesWithoutAReadableNameAreSkipped) {
  machine_.make_directory("sys/class/i2c-adapter/i2c-0")
      .make_directory("sys/class/i2c-adapter/i2c-1/name")
      .write("sys/class/i2c-adapter/i2c-2", "SMBus I801\n")
      .make_link("../nowhere", "sys/class/i2c-adapter/i2c-3")
      .write("sys/class/i2c-adapter/i2c-4/name", "")
      .add_i2c_adapter(5, "SMBus I801 adapter at efa0");
  std::filesystem::permissions(machine_.root() / kAdapters / "i2c-5/name", std::filesystem::perms::none);
  EXPECT_TRUE(holds_without_root(machine_, [] { return find(kHost) == kUnset; }));
  machine_.remove("sys/class/i2c-adapter/i2c-5").add_i2c_adapter(9, "SMBus I801 adapter at efa0");
  EXPECT_EQ(find(kHost), 9U);
}

TEST_F(I2cAdapters, MissingAdaptersAreAnError) {
  for (const char* const in_their_place : {"", "file", "errors off"}) {
    SCOPED_TRACE(in_their_place);
    if (*in_their_place == 'f') {
      machine_.write("sys/class/i2c-adapter", "");
    }
    g_error_message_open = *in_their_place == 'e' ? 0 : 1;
    std::uint32_t port = kUnset;
    EXPECT_EQ(outcome_of([&] { return host_port(port, kHost); }),
              (Outcome{g_error_message_open == 0 ? "" : kMissing, 0x98}));
    EXPECT_EQ(port, kUnset);
  }
}

TEST_F(I2cAdapters, TracesShowEachEntryUpToTheMatch) {
  machine_.add_i2c_adapter(0, "npcm_i2c_7")
      .add_i2c_adapter(1, "SMBus I801 adapter at efa0")
      .make_directory("sys/class/i2c-adapter/i2c-2");
  std::string expected;
  for (const std::string& entry : listed()) {
    expected += "/sys/class/i2c-adapter/" + entry + "/name, " + entry + "\n";
    if (entry == "i2c-1") {
      expected += "Root bus: i2c-1, founded.\n";
      break;
    }
  }
  EXPECT_EQ(traced_by([] { find(kHost); }), expected);
}

TEST_F(I2cAdapters, TracesShowAMatchWithoutADash) {
  machine_.write("sys/class/i2c-adapter/smbus/name", kHost);
  EXPECT_EQ(traced_by([] { find(kHost); }), "/sys/class/i2c-adapter/smbus/name, smbus\nRoot bus: smbus, founded.\n");
}

// As two switches appear, one behind the other: channel 1 of the one on adapter 7, then its three channels; and a
// name that holds more than a channel's.
TEST_F(I2cAdapters, AChannelIsFoundByTheNameOfItsMultiplexerAnywhereInAName) {
  machine_.add_i2c_adapter(7, "npcm_i2c_7")
      .add_i2c_adapter(73, "i2c-7-mux (chan_id 1)")
      .add_i2c_adapter(78, "i2c-73-mux (chan_id 0)")
      .add_i2c_adapter(79, "i2c-73-mux (chan_id 1)")
      .add_i2c_adapter(0, "i2c-11-mux (chan_id 0)")
      .add_i2c_adapter(4, "xi2c-0-mux (chan_id 2) more");
  using Case = std::array<std::uint32_t, 3>;
  const std::vector<Case> cases{{7, 1, 73},     {73, 0, 78},    {73, 1, 79},    {11, 0, 0},     {0, 2, 4},
                                {7, 0, kUnset}, {1, 0, kUnset}, {3, 1, kUnset}, {73, 2, kUnset}};
  for (const auto& [parent, channel, number] : cases) {
    std::uint32_t port = kUnset;
    EXPECT_EQ(mux_port(port, parent, channel), 0);
    EXPECT_EQ(port, number) << parent << "." << channel;
  }
}

Outcome traced_channel(std::uint32_t parent, std::uint32_t channel) {
  std::uint32_t port = 255;
  Outcome outcome;
  outcome.printed = traced_by([&] { outcome.code = mux_port(port, parent, channel) & 0xFF; });
  return outcome;
}

TEST_F(I2cAdapters, TracesShowTheChannelBeforeAndAfterTheSearch) {
  const std::string search = "Found I2C mux port: i2c-0-mux (chan_id 2)\n";
  EXPECT_EQ(traced_channel(0, 2), (Outcome{search + kMissing + "I2C mux port number: 255\n", 0x98}));
  machine_.add_i2c_adapter(4, "i2c-0-mux (chan_id 2)");
  const std::string adapter = "/sys/class/i2c-adapter/i2c-4/name, i2c-4\n";
  EXPECT_EQ(traced_channel(0, 2),
            (Outcome{search + adapter + "Root bus: i2c-4, founded.\nI2C mux port number: 4\n", 0}));
  EXPECT_EQ(traced_channel(10, 7),
            (Outcome{"Found I2C mux port: i2c-10-mux (chan_id 7)\n" + adapter + "I2C mux port number: 255\n", 0}));
}

// What is known of the adapters is kept as long as the object lives, and is what a search of its own would find.
class KeptAdapters : public I2cAdapters {
 protected:
  static constexpr int kCount = 1200;  // more than are kept

  std::uint32_t find(const std::string& pattern) {
    std::uint32_t port = kUnset;
    EXPECT_EQ(get_x86_i2c_port_number(adapters_, &port, pattern.c_str()), 0);
    return port;
  }

  void add_many() {
    for (int number = 0; number < kCount; ++number) {
      const std::string rest(number % 3 == 0 ? 3 : 85, 'x');
      machine_.add_i2c_adapter(number, "<" + std::to_string(number) + ">" + rest);
    }
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
    EXPECT_EQ(outcome_of([&] { return get_x86_i2c_port_number(adapters_, &port, "x"); }), (Outcome{kMissing, 0x98}));
  }
}

// More names than are kept: the rest is read again, also a short one behind a long one that no longer fitted.
TEST_F(KeptAdapters, AreFoundHoweverManyThereAre) {
  add_many();
  EXPECT_EQ(find("nothing"), kUnset);
  for (int number = 0; number < kCount; ++number) {
    ASSERT_EQ(find("<" + std::to_string(number) + ">"), static_cast<std::uint32_t>(number));
  }
  EXPECT_EQ(find("nothing"), kUnset);
  const std::string trace = traced_by([&] { find("nothing"); });
  EXPECT_EQ(std::count(trace.begin(), trace.end(), '\n'), kCount);
}

// Their drivers were removed in between: then those that are kept are found all the same, and no others.
TEST_F(KeptAdapters, AreTheOnlyOnesWhereTheRestIsGone) {
  add_many();
  const std::vector<std::string> entries = listed();
  EXPECT_EQ(find("nothing"), kUnset);
  machine_.remove(kAdapters).make_directory(kAdapters);
  const auto number_of = [](const std::string& entry) { return "<" + entry.substr(4) + ">"; };
  EXPECT_EQ(find(number_of(entries.back())), kUnset);
  EXPECT_EQ(std::to_string(find(number_of(entries.front()))), entries.front().substr(4));
}

TEST_F(KeptAdapters, AreAnErrorWhereTheRestCanNoLongerBeListed) {
  add_many();
  EXPECT_EQ(find("nothing"), kUnset);
  machine_.remove(kAdapters);
  std::uint32_t port = kUnset;
  EXPECT_EQ(outcome_of([&] { return get_x86_i2c_port_number(adapters_, &port, "x"); }), (Outcome{kMissing, 0x98}));
}

}  // namespace
}  // namespace qorx::test
