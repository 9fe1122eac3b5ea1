#include "ident/strings.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/library.h"

namespace qorx {
namespace {

using test::traced_by;

class Strings : public ::testing::Test {
 protected:
  void SetUp() override { test::reset_library(); }
};

struct Trim {
  std::string before;
  std::string after;
  std::string trace;
};

// Applies a routine to a buffer of exactly the text's size, so that a step outside it is caught.
std::string applied(void (*routine)(char*), const std::string& text) {
  std::vector<char> buffer(text.c_str(), text.c_str() + text.size() + 1);
  routine(buffer.data());
  return buffer.data();
}

void expect_trims(void (*routine)(char*), const std::vector<Trim>& cases) {
  for (const Trim& trim : cases) {
    SCOPED_TRACE("!" + trim.before + "!");
    std::string result;
    EXPECT_EQ(traced_by([&] { result = applied(routine, trim.before); }), trim.trace);
    EXPECT_EQ(result, trim.after);
  }
}

TEST_F(Strings, TheFrontTrimRemovesBlanksAndTabs) {
  expect_trims(str_eliminate_header_space,
               {
                   {"  \tword", "word", "check head char of !  \tword!\nremove head 3 char !word!\n"},
                   {"\tword two ", "word two ", "check head char of !\tword two !\nremove head 1 char !word two !\n"},
                   {" \n", "\n", "check head char of ! \n!\nremove head 1 char !\n!\n"},
               });
}

TEST_F(Strings, TheFrontTrimLeavesALeadingLineFeedOrCarriageReturn) {
  expect_trims(str_eliminate_header_space, {
                                               {"\nword", "\nword", "check head char of !\nword!\n"},
                                               {"\r word", "\r word", "check head char of !\r word!\n"},
                                               {"word", "word", "check head char of !word!\n"},
                                           });
}

TEST_F(Strings, TheEndTrimRemovesBlanksTabsCarriageReturnsAndLineFeeds) {
  expect_trims(str_eliminate_end_space,
               {
                   {"word \r\n", "word", "check tail char of !word \r\n!\nremove tail 3 char !word!\n"},
                   {" a b\t\n", " a b", "check tail char of ! a b\t\n!\nremove tail 2 char ! a b!\n"},
               });
}

TEST_F(Strings, TheEndTrimLeavesATextThatEndsInAnotherCharacter) {
  expect_trims(str_eliminate_end_space, {
                                            {"word", "word", "check tail char of !word!\n"},
                                            {" \tword\v", " \tword\v", "check tail char of ! \tword\v!\n"},
                                        });
}

TEST_F(Strings, ATextOfBlanksBecomesEmptyUnderEitherTrim) {
  expect_trims(str_eliminate_header_space, {{"   ", "", "check head char of !   !\nremove head 3 char !!\n"}});
  expect_trims(str_eliminate_end_space, {{"   ", "", "check tail char of !   !\nremove tail 3 char !!\n"}});
}

TEST_F(Strings, NothingIsTracedWithoutDebugMessages) {
  EXPECT_EQ(test::printed_by([] {
              applied(str_eliminate_header_space, "  a");
              applied(str_eliminate_end_space, "a  ");
            }),
            "");
}

TEST_F(Strings, NothingHappensToNoTextOrAnEmptyOne) {
  for (const auto routine : {str_eliminate_header_space, str_eliminate_end_space, str_upper_case}) {
    EXPECT_EQ(traced_by([&] {
                routine(nullptr);
                EXPECT_EQ(applied(routine, ""), "");
              }),
              "");
  }
}

TEST_F(Strings, UpperCaseChangesTheSmallLettersOfAsciiOnly) {
  for (int byte = 1; byte < 256; ++byte) {
    SCOPED_TRACE(byte);
    const bool small = byte >= 0x61 && byte <= 0x7A;
    const std::string before(1, static_cast<char>(byte));
    const std::string after(1, static_cast<char>(small ? byte - 0x20 : byte));
    EXPECT_EQ(applied(str_upper_case, before), after);
  }
}

TEST_F(Strings, UpperCaseReachesTheWholeText) {
  EXPECT_EQ(applied(str_upper_case, "5e:00.3 ncsi/1pps \xe4z"), "5E:00.3 NCSI/1PPS \xe4Z");
}

}  // namespace
}  // namespace qorx
