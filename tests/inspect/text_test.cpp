#include "inspect/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace qorx::inspect {
namespace {

using std::string_literals::operator""s;

TEST(Utf8, IsWhatTheStandardCallsWellFormed) {
  for (const char* const text : {"", "a", "\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF",
                                 "\xEE\x80\x80", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"}) {
    EXPECT_TRUE(is_utf8(text)) << hexadecimal(text);
  }
  for (const char* const text : {"\x80", "\xBF", "\xC1\xBF", "\xC2", "\xC2\x41", "\xE0\x9F\xBF", "\xE1\x80",
                                 "\xED\xA0\x80", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF"}) {
    EXPECT_FALSE(is_utf8(text)) << hexadecimal(text);
  }
}

TEST(Utf8, OtherBytesAreTakenAsLatin1) {
  EXPECT_EQ(as_utf8("caf\xE9"), "caf\xC3\xA9");
  EXPECT_EQ(as_utf8("\x80\xFF"), "\xC2\x80\xC3\xBF");
  EXPECT_EQ(as_utf8("caf\xC3\xA9"), "caf\xC3\xA9") << "UTF-8 stays";
}

TEST(Hexadecimal, HasTwoDigitsPerByte) {
  EXPECT_EQ(hexadecimal("\x01\xAF"s + '\0'), "01af00");
}

TEST(Shortened, CountsCharactersAndEndsInTheMark) {
  EXPECT_EQ(columns_of("a\xC3\xA9"), 2U);
  EXPECT_EQ(columns_of("\xF0\x9F\x98\x80\xE7\xAB\xAF"), 4U) << "wide characters";
  EXPECT_EQ(columns_of("e\xCC\x81"), 1U) << "a letter and an accent";
  EXPECT_EQ(characters_of("e\xCC\x81x").size(), 2U);
  EXPECT_EQ(shortened("\xE7\xAB\xAF\xE7\xAB\xAF\xE7\xAB\xAF", 4, "~"), "\xE7\xAB\xAF~");
  EXPECT_EQ(shortened("abc", 3, "~"), "abc");
  EXPECT_EQ(shortened("abcd", 3, "~"), "ab~");
  EXPECT_EQ(shortened("\xC3\xA9\xC3\xA9\xC3\xA9", 2, "\xE2\x80\xA6"), "\xC3\xA9\xE2\x80\xA6");
  EXPECT_EQ(shortened("abc", 0, "~"), "");
}

TEST(Printable, HasNoControlCharacters) {
  EXPECT_EQ(printable("a\x1B[31m\n\x7F"
                      "b"),
            "a?[31m??b");
  EXPECT_EQ(printable("\xC2\x9B"
                      "31m"),
            "?31m")
      << "the one-byte form of escape and bracket";
  EXPECT_EQ(printable("\x9B"
                      "31m"),
            "?31m");
  EXPECT_EQ(printable("\xC3\xA9"), "\xC3\xA9");
}

TEST(NaturalOrder, ComparesNumbersAsNumbers) {
  std::vector<std::string> names{"WMX Slot 10", "WMX Slot 9", "wmx slot 2", "WMX Slot 02b", "LAN", "LAN1"};
  std::sort(names.begin(), names.end(), natural_less);
  EXPECT_EQ(names,
            (std::vector<std::string>{"LAN", "LAN1", "wmx slot 2", "WMX Slot 02b", "WMX Slot 9", "WMX Slot 10"}));
  EXPECT_TRUE(natural_less("LAN3", "LAN 4"));
  EXPECT_TRUE(natural_less("LAN 3", "LAN4"));
  EXPECT_TRUE(natural_less("7", "18446744073709551617")) << "numbers of any length";
  EXPECT_FALSE(natural_less("007", "7"));
  EXPECT_FALSE(natural_less("7", "007"));
}

TEST(Versions, HaveTwoDigitsEach) {
  EXPECT_EQ(version_text({1, 38}), "01.38");
}

}  // namespace
}  // namespace qorx::inspect
