// The library's version, in lib/open.cpp.
#include <gtest/gtest.h>

#include <string>

#include "lib/qorx.h"
#include "tests/support/expect.h"
#include "tests/support/fixture.h"

namespace qorx {
namespace {

using LibraryVersion = test::LibraryTest;

TEST_F(LibraryVersion, IsOneThirtySix) {
  std::uint8_t major = 0;
  std::uint8_t minor = 0;
  EXPECT_EQ(qorx_get_lib_version(&major, &minor), 0);
  EXPECT_EQ(major, 1);
  EXPECT_EQ(minor, 36);
}

TEST_F(LibraryVersion, NeedsBothPointers) {
  std::uint8_t number = 77;
  for (const std::string message : {"Error: *major, *minor is NULL pointer\n", ""}) {
    const test::Outcome refused{message, 0x94};
    EXPECT_EQ(test::outcome_of([&] { return qorx_get_lib_version(nullptr, &number); }), refused);
    EXPECT_EQ(test::outcome_of([&] { return qorx_get_lib_version(&number, nullptr); }), refused);
    EXPECT_EQ(test::outcome_of([] { return qorx_get_lib_version(nullptr, nullptr); }), refused);
    qorx_set_message_level(0);
  }
  EXPECT_EQ(number, 77);
}

}  // namespace
}  // namespace qorx
