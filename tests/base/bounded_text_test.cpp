#include "base/bounded_text.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace qorx {
namespace {

TEST(CopyText, CutsToTheFieldAndEndsInNul) {
  char field[4] = {'z', 'z', 'z', 'z'};
  for (const auto& [text, copy] : {std::pair{"ab", "ab"}, {"abc", "abc"}, {"abcd", "abc"}, {"", ""}}) {
    copy_text(field, text);
    EXPECT_STREQ(field, copy);
  }
}

TEST(CopyText, WritesNothingBehindTheField) {
  char bytes[6] = {'1', '2', '3', '4', '5', '6'};
  copy_text(bytes, 3, "abcdef");
  EXPECT_EQ(std::string(bytes, 6), std::string("ab") + '\0' + "456");
}

TEST(CopyText, AFieldOfNoBytesStaysUntouched) {
  char byte = 'x';
  copy_text(&byte, 0, "abc");
  EXPECT_EQ(byte, 'x');
}

TEST(CopyText, TheTextMayLieInTheField) {
  char field[8] = "abcdef";
  copy_text(field, std::string_view(field).substr(2));
  EXPECT_STREQ(field, "cdef");
}

TEST(AppendText, GoesOnBehindTheTextAndIsCut) {
  char field[6] = "ab";
  append_text(field, "cd");
  EXPECT_STREQ(field, "abcd");
  append_text(field, "efgh");
  EXPECT_STREQ(field, "abcde");
  append_text(field, "x");
  EXPECT_STREQ(field, "abcde");
}

TEST(FormatText, PrintsAndIsCut) {
  char field[8];
  format_text(field, sizeof field, "%.2x:%.2x", 3, 0x1F);
  EXPECT_STREQ(field, "03:1f");
  format_text(field, sizeof field, "%s", "0123456789");
  EXPECT_STREQ(field, "0123456");
}

}  // namespace
}  // namespace qorx
