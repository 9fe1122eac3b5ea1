#include "base/path_text.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
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

TEST(Digits, AreThoseOfPrintf) {
  EXPECT_EQ(Digits(0).view(), "0");
  EXPECT_EQ(Digits(255).view(), "255");
  EXPECT_EQ(Digits(255, 16).view(), "ff");
  EXPECT_EQ(Digits(std::numeric_limits<int>::min()).view(), "-2147483648");
  EXPECT_EQ(Digits(std::numeric_limits<int>::min(), 2).view(), "-1" + std::string(31, '0'));
}

}  // namespace
}  // namespace qorx
