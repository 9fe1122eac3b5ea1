#include "base/bounded_text.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>

namespace qorx {
namespace {

TEST(CopyText, CutsToTheFieldAndEndsInNul) {
  char field[4] = {'z', 'z', 'z', 'z'};
  copy_text(field, "ab");
  EXPECT_STREQ(field, "ab");
  copy_text(field, "abc");
  EXPECT_STREQ(field, "abc");
  copy_text(field, "abcd");
  EXPECT_STREQ(field, "abc");
  copy_text(field, "");
  EXPECT_STREQ(field, "");
}

TEST(CopyText, WritesNothingBehindTheField) {
  char bytes[6] = {'1', '2', '3', '4', '5', '6'};
  copy_text(bytes, 3, "abcdef");
  EXPECT_EQ(std::string_view(bytes, 6), std::string_view("ab\0"
                                                         "456",
                                                         6));
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
