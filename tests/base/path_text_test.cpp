#include "base/path_text.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace qorx {
namespace {

TEST(JoinedText, JoinsItsPieces) {
  const PathText path{"/sys/class/net/", "eth0", "", "/address"};
  EXPECT_STREQ(path.c_str(), "/sys/class/net/eth0/address");
  EXPECT_EQ(path.view(), "/sys/class/net/eth0/address");
}

TEST(JoinedText, IsCutToItsSize) {
  for (const char* const second : {"def", "defg", "defghij"}) {
    EXPECT_EQ((JoinedText<7>{"abc", second}.view()), "abcdef") << second;
    const JoinedText<7> text{"abc", second, second};
    EXPECT_EQ(text.view(), "abcdef") << second;
    EXPECT_STREQ(text.c_str(), "abcdef");
  }
  const JoinedText<4> full{"abcd", "x"};
  EXPECT_EQ(full.view(), "abc");
}

TEST(JoinedText, OfNothingIsEmpty) {
  const JoinedText<4> text{""};
  EXPECT_EQ(text.view(), "");
  EXPECT_STREQ(text.c_str(), "");
}

TEST(DeviceName, IsTheAddressInTheKernelsForm) {
  EXPECT_STREQ(DeviceName(0, 0, 0).c_str(), "0000:00:00.0");
  EXPECT_STREQ(DeviceName(0x5E, 0x1F, 7).c_str(), "0000:5e:1f.7");
  EXPECT_STREQ(DeviceName(255, 255, 15).c_str(), "0000:ff:ff.f");
  EXPECT_STREQ(DeviceName(255, 255, 16).c_str(), "0000:ff:ff.10");
  EXPECT_STREQ(DeviceName(255, 255, 255).c_str(), "0000:ff:ff.ff");
}

TEST(DeviceName, IsWhatPrintfMakesOfEveryByte) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    const auto value = static_cast<std::uint8_t>(byte);
    char printed[20];
    std::snprintf(printed, sizeof printed, "0000:%.2x:%.2x.%.1x", byte, byte, byte);
    ASSERT_EQ(DeviceName(value, value, value).view(), printed);
  }
}

}  // namespace
}  // namespace qorx
