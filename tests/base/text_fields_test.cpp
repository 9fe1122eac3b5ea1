#include "base/text_fields.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <string>
#include <string_view>

namespace qorx {
namespace {

TEST(SplitFields, RunsOfDelimitersCountAsOne) {
  const auto fields = split_fields<4>("//a//b/", "/");
  ASSERT_EQ(fields.count, 2U);
  EXPECT_EQ(fields.at[0], "a");
  EXPECT_EQ(fields.at[1], "b");
}

TEST(SplitFields, TheRestBehindTheLastWantedFieldIsIgnored) {
  const auto fields = split_fields<2>("1/2/3/4", "/");
  ASSERT_EQ(fields.count, 2U);
  EXPECT_EQ(fields.at[1], "2");
}

TEST(SplitFields, ATextOfDelimitersHasNoField) {
  EXPECT_EQ(split_fields<4>("::..", ":.").count, 0U);
  EXPECT_EQ(split_fields<4>("", ":.").count, 0U);
}

TEST(FieldSplitter, TheRestBeginsBehindTheOneDelimiterThatEndedTheField) {
  FieldSplitter splitter("a..b");
  EXPECT_EQ(splitter.next("."), "a");
  EXPECT_EQ(splitter.rest(), ".b");
}

TEST(HexadecimalDigit, IsTheValueOfADigitInEitherCase) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  for (int value = 0; value < 16; ++value) {
    const char digit = kDigits[static_cast<std::size_t>(value)];
    EXPECT_EQ(hexadecimal_digit(digit), value);
    EXPECT_EQ(hexadecimal_digit(static_cast<char>(std::toupper(digit))), value);
  }
  for (const char other : std::string_view("/:@G`g\x10\xC1")) {
    EXPECT_EQ(hexadecimal_digit(other), -1) << other;
  }
}

TEST(ParseHexadecimal, ReadsWhatStrtolReads) {
  EXPECT_EQ(parse_hexadecimal("0x1A"), 0x1A);
  EXPECT_EQ(parse_hexadecimal(""), 0);
  constexpr std::string_view kCharacters = "019afgzAFGxX-+ \t\n";
  for (const char first : kCharacters) {
    for (const char second : kCharacters) {
      for (const char third : kCharacters) {
        const std::string text{first, second, third};
        for (const std::string& longer : {text, text + "1f", text + "1f2e3d4c5b6a79881"}) {
          ASSERT_EQ(parse_hexadecimal(longer), std::strtol(longer.c_str(), nullptr, 16)) << longer;
        }
      }
    }
  }
}

TEST(ParseHexadecimal, StopsAtTheEndOfItsField) {
  const std::string_view text = "0312";
  EXPECT_EQ(parse_hexadecimal(text.substr(0, 2)), 3);
}

TEST(ParseDecimal, ReadsWhatAtoiReads) {
  EXPECT_EQ(parse_decimal("255)"), 255);
  EXPECT_EQ(parse_decimal("-1"), -1);
  EXPECT_EQ(parse_decimal("x"), 0);
}

TEST(ParseAddress, ReadsSixtyFourBits) {
  EXPECT_EQ(parse_address("0xffffffffffffffff\n"), 0xFFFFFFFFFFFFFFFFU);
  EXPECT_EQ(parse_address("7af0a000"), 0x7AF0A000U);
}

}  // namespace
}  // namespace qorx
