#include "ident/strings.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/rows.h"

namespace qorx::test {
namespace {

// Applies a routine to a buffer of exactly the text's size, so that a step outside it is caught.
std::string applied(void (*routine)(char*), const std::string& text) {
  std::vector<char> buffer(text.c_str(), text.c_str() + text.size() + 1);
  routine(buffer.data());
  return buffer.data();
}

struct Trim {
  std::string_view rule;
  void (*routine)(char*);
  std::string before;
  std::string after;
  std::string trace;
};

class Trimming : public RowTest<Trim> {};

TEST_P(Trimming, Leaves) {
  std::string result;
  EXPECT_EQ(traced_by([&] { result = applied(row().routine, row().before); }), row().trace);
  EXPECT_EQ(result, row().after);
  EXPECT_EQ(printed_by([] { applied(row().routine, row().before); }), "");
}

Trim front(std::string_view rule, const std::string& before, const std::string& after, const std::string& tail) {
  return {rule, str_eliminate_header_space, before, after, "check head char of !" + before + "!\n" + tail};
}

Trim end(std::string_view rule, const std::string& before, const std::string& after, const std::string& tail) {
  return {rule, str_eliminate_end_space, before, after, "check tail char of !" + before + "!\n" + tail};
}

QORX_ROWS(Trimming, front("the front trim removes blanks and tabs", "  \tword", "word", "remove head 3 char !word!\n"),
          front("the front trim removes nothing else", "\tword two ", "word two ", "remove head 1 char !word two !\n"),
          front("the front trim stops at a line feed", " \n", "\n", "remove head 1 char !\n!\n"),
          front("the front trim leaves a leading line feed", "\nword", "\nword", ""),
          front("the front trim leaves a leading carriage return", "\r word", "\r word", ""),
          front("the front trim leaves a word", "word", "word", ""),
          front("the front trim empties a text of blanks", "   ", "", "remove head 3 char !!\n"),
          end("the end trim removes blanks and line ends", "word \r\n", "word", "remove tail 3 char !word!\n"),
          end("the end trim removes tabs", " a b\t\n", " a b", "remove tail 2 char ! a b!\n"),
          end("the end trim leaves a word", "word", "word", ""),
          end("the end trim leaves any other character", " \tword\v", " \tword\v", ""),
          end("the end trim empties a text of blanks", "   ", "", "remove tail 3 char !!\n"));

using Strings = LibraryTest;

TEST_F(Strings, NothingHappensToNoTextOrAnEmptyOne) {
  for (const auto routine : {str_eliminate_header_space, str_eliminate_end_space, str_upper_case}) {
    EXPECT_EQ(traced_by([&] {
                routine(nullptr);
                EXPECT_EQ(applied(routine, ""), "");
              }),
              "");
  }
}

TEST_F(Strings, UpperCaseChangesTheSmallLettersOfAsciiInTheWholeText) {
  for (int byte = 1; byte < 256; ++byte) {
    const bool small = byte >= 0x61 && byte <= 0x7A;
    const std::string before(3, static_cast<char>(byte));
    EXPECT_EQ(applied(str_upper_case, before), std::string(3, static_cast<char>(small ? byte - 0x20 : byte))) << byte;
  }
}

}  // namespace
}  // namespace qorx::test
