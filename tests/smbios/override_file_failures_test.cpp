#include <gtest/gtest.h>

#include <string>

#include "base/messages.h"
#include "records/state.h"
#include "tests/smbios/parsing.h"
#include "tests/support/user_files.h"

namespace qorx::test {
namespace {

const std::string kType = "TYPE=\"9\"\n";
const std::string kName = "NAME=\"S\"\n";
const std::string kAddress = "BUS:DEV.FUN=\"01:00.0\"\n";
const std::string kGood = kType + kName + kAddress;

constexpr const char* kNoType = "Can't find TYPE! F line: #";
constexpr const char* kNoName = "Can't find NAME! F line: #";
constexpr const char* kNoAddress = "Can't find BUS:DEV.FUN! F line: #";
constexpr const char* kEmptyName = "Empty NAME! F line: #";

using OverrideErrors = WrongFileTest;

TEST_P(OverrideErrors, AreRefused) {
  expect_refused(kOverride, row());
  expect_command_refused(kOverride, row());
}

QORX_ROWS(
    OverrideErrors,
    {"a slot begins with its type",
     kNoType,
     {{kName, 1}, {"# c\n\n" + kAddress, 3}, {kGood + "NAME=\"T\"\n", 4}, {kGood + "x\n", 4}}},
    {"the type is followed by the name", kNoName, {{kType + kType, 2}, {kType + kAddress, 2}}},
    {"the name is followed by the address",
     kNoAddress,
     {{kType + kName + kName, 3}, {kType + kName + "\n# c\n" + kType, 5}}},
    {"a line must begin with its key and end with a quote", kNoType,
     variants(1, "",
              {"TYPE=9", "TYPE =\"9\"", "TYPE= \"9\"", "type=\"9\"", "TYPE=\"9", "TYPE=\"9\"x", "TYPE", "\"TYPE=\"9\"",
               "TYPE=\"9\" # nine"})},
    {"a name must be quoted", kNoName, at_line(2, kType + "NAME=S\n")},
    {"an address must be quoted", kNoAddress, at_line(3, kType + kName + "BUS:DEV.FUN=01:00.0\n")},
    {"the name must not be empty",
     kEmptyName,
     {{kType + "NAME=\"\"\n# c\n" + kAddress, 4}, {kType + "NAME=\"\n" + kAddress, 3}}},
    {"the address needs three parts", "Wrong BUS:DEV.FUN! F line: #",
     variants(3, kType + kName + "BUS:DEV.FUN=\"", {"3:0", "", "3", "::..", "3:0.", "3:.:0", "030000"}, "\"\n")},
    {"of several wrong values the type is reported first", "Wrong TYPE number 8! F line: #",
     at_line(3, "TYPE=\"8\"\nNAME=\"\"\nBUS:DEV.FUN=\"3\"\n")},
    {"of a wrong name and a wrong address the name is reported", kEmptyName,
     at_line(3, kType + "NAME=\"\"\nBUS:DEV.FUN=\"3\"\n")},
    {"a file without a type line has none", kNoType, {{"# one\n# two\n", 3}, {"\n", 2}, {"TYPE=\"9\"", 1}}},
    {"a file that ends behind a type lacks a name",
     kNoName,
     {{kType, 2}, {kType + "NAME=\"S\"", 2}, {kGood + kType, 5}}},
    {"a file that ends behind a name lacks an address",
     kNoAddress,
     {{kType + kName, 3}, {kType + kName + "BUS:DEV.FUN=\"01:00.0\"", 3}, {kGood + kType + "NAME=\"T\"\n# c\n", 7}}},
    {"nothing is read behind an error", "Wrong TYPE number 8! F line: #",
     at_line(3, "TYPE=\"8\"\nNAME=\"T\"\nBUS:DEV.FUN=\"01:00.0\"\nx\n" + kGood)},
    // The rest of a line beyond 1,023 bytes is a line of its own.
    {"a long line counts for each buffer full",
     kNoType,
     {{"#" + std::string(2994, 'n') + "\n" + kGood, 2},
      {std::string(3000, '#') + "\nx\n", 4},
      {"#" + std::string(1021, '.') + "\nx\n", 2},    // 1,023 with its line feed
      {"#" + std::string(1022, '.') + "\nx\n", 3}}},  // 1,024
    {"a name that does not fit the buffer has no closing quote", kNoName,
     at_line(2, kType + "NAME=\"" + std::string(2994, 'n') + "\"\n")});

class OverrideFileFailures : public UserFileTest {};

TEST_F(OverrideFileFailures, TheTypeTextMustBeExactly9Or41) {
  for (const std::string type : {"09", "041", "9 ", " 9", "10", "4", "411", "9\"", "x", ""}) {
    EXPECT_EQ(read(kOverride, "TYPE=\"" + type + "\"\n" + kName + kAddress),
              (Outcome{"Wrong TYPE number " + type + "! F line: 3\n", 0x81}));
    EXPECT_TRUE(slot_records().empty());
  }
}

TEST_F(OverrideFileFailures, RecordsBeforeAnErrorStay) {
  for (const std::string& tail : {std::string("x\n"), kType, "TYPE=\"8\"\n" + kName + kAddress}) {
    SCOPED_TRACE(tail);
    EXPECT_EQ(read(kOverride, kGood + tail).code, 0x81);
    EXPECT_EQ(names(), Texts{"S"});
  }
}

TEST_F(OverrideFileFailures, MessagesNeedErrorMessages) {
  g_error_message_open = 0;
  EXPECT_EQ(read(kOverride, "x\n"), (Outcome{"", 0x81}));
  EXPECT_EQ(read(kOverride, kType), (Outcome{"", 0x81}));
}

struct Trace {
  std::string_view rule;
  std::string text;
  std::string end;
};

class OverrideTraces : public RowTest<Trace, UserFileTest> {};

// Its three lines were read, though their values are wrong.
TEST_P(OverrideTraces, SayThatTheLinesWereReadButNoRecord) {
  g_debug_message_open = 1;
  const Outcome outcome = read(kOverride, row().text);
  EXPECT_EQ(outcome.code, 0x81);
  EXPECT_TRUE(outcome.printed.ends_with(row().end + "! F line: 3\nsmbios cfg file read OK!\n")) << outcome.printed;
  EXPECT_EQ(outcome.printed.find("TYPE: "), std::string::npos);
}

QORX_ROWS(OverrideTraces, {"of a wrong type", "TYPE=\"8\"\n" + kName + kAddress, "Wrong TYPE number 8"},
          {"of an empty name", kType + "NAME=\"\"\n" + kAddress, "Empty NAME"},
          {"of a short address", kType + kName + "BUS:DEV.FUN=\"01\"\n", "Wrong BUS:DEV.FUN"});

TEST_F(OverrideFileFailures, AWrongLineTracesItsKeyOnce) {
  g_debug_message_open = 1;
  EXPECT_TRUE(read(kOverride, "x\n")
                  .printed.starts_with("check head char of !x\n!\ncheck tail char of !x\n!\nremove tail 1 char !x!\n"
                                       "can't find TYPE=\"\nCan't find TYPE! F line: 1\n"));
}

TEST_F(OverrideFileFailures, AnIncompleteTripleDoesNotTraceThatTheFileWasRead) {
  g_debug_message_open = 1;
  for (const std::string& content : {std::string(), kType, kType + kName}) {
    SCOPED_TRACE(content);
    const Outcome outcome = read(kOverride, content);
    EXPECT_EQ(outcome.code, 0x81);
    EXPECT_EQ(outcome.printed.find("read OK"), std::string::npos);
  }
}

}  // namespace
}  // namespace qorx::test
