// The library's version, in lib/open.cpp.
#include <gtest/gtest.h>

#include <string>

#include "lib/qorx.h"
#include "tests/support/library.h"

namespace qorx {
namespace {

TEST(LibraryVersion, IsOneThirtySix) {
  std::uint8_t major = 0;
  std::uint8_t minor = 0;
  EXPECT_EQ(qorx_get_lib_version(&major, &minor), 0);
  EXPECT_EQ(major, 1);
  EXPECT_EQ(minor, 36);
}

TEST(LibraryVersion, NeedsBothPointers) {
  test::reset_library();
  std::uint8_t number = 77;
  const std::string message = "Error: *major, *minor is NULL pointer\n";
  EXPECT_EQ(test::printed_by([&] { EXPECT_EQ(qorx_get_lib_version(nullptr, &number), 0x94); }), message);
  EXPECT_EQ(test::printed_by([&] { EXPECT_EQ(qorx_get_lib_version(&number, nullptr), 0x94); }), message);
  EXPECT_EQ(test::printed_by([] { EXPECT_EQ(qorx_get_lib_version(nullptr, nullptr), 0x94); }), message);
  EXPECT_EQ(number, 77);
  qorx_set_message_level(0);
  EXPECT_EQ(test::printed_by([] { EXPECT_EQ(qorx_get_lib_version(nullptr, nullptr), 0x94); }), "");
  test::reset_library();
}

}  // namespace
}  // namespace qorx
