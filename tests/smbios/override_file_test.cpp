#include "smbios/override_file.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/messages.h"
#include "records/state.h"
#include "tests/smbios/parsing.h"
#include "tests/support/user_files.h"

namespace qorx::test {
namespace {

std::string triple(const std::string& type, const std::string& name, const std::string& address) {
  return "TYPE=\"" + type + "\"\nNAME=\"" + name + "\"\nBUS:DEV.FUN=\"" + address + "\"\n";
}

const std::string kType = "TYPE=\"9\"\n";
const std::string kName = "NAME=\"S\"\n";
const std::string kAddress = "BUS:DEV.FUN=\"01:02.3\"\n";
const std::string kGood = kType + kName + kAddress;

struct Address {
  std::string_view rule;
  std::string text;
  int bus, dev, fun;
};

class OverrideAddresses : public RowTest<Address, UserFileTest> {};

TEST_P(OverrideAddresses, AreHexadecimalAndSplitAtColonsAndPoints) {
  apply(kOverride, triple("9", "S", row().text));
  expect_slot(slot_records()[0], {.bus = row().bus, .dev = row().dev, .fun = row().fun});
}

QORX_ROWS(OverrideAddresses, {"as everywhere", "03:00.0", 3, 0, 0}, {"small letters", "1a:1f.7", 0x1A, 0x1F, 7},
          {"capitals", "1A:1F.7", 0x1A, 0x1F, 7}, {"prefixes", "0x1a:0X1f.0x7", 0x1A, 0x1F, 7},
          {"single digits", "3:0.0", 3, 0, 0}, {"the low eight bits", "103:102.1ff", 3, 2, 0xFF},
          {"a sign", "-1:0.0", 0xFF, 0, 0}, {"points only", "1.2.3", 1, 2, 3}, {"colons only", "1:2:3", 1, 2, 3},
          {"runs count as one", "::1..2:.3::", 1, 2, 3}, {"a fourth part is ignored", "1:2.3.4:5", 1, 2, 3},
          {"no digits are 0", "zz:1.2", 0, 1, 2}, {"leading blanks", " 3: 4. 5", 3, 4, 5},
          {"what follows the digits is ignored", "3x:4y.5z", 3, 4, 5});

struct Accepted {
  std::string_view rule;
  std::string text;
  Texts names = {"S"};
};

class OverrideTexts : public RowTest<Accepted, UserFileTest> {};

TEST_P(OverrideTexts, GiveTheNames) {
  apply(kOverride, row().text);
  EXPECT_EQ(names(), row().names);
  EXPECT_EQ(texts_of(slot_records(), &SlotRecord::smbios_slot_name), row().names);
  expect_slot(slot_records()[0], {.bus = 1, .dev = 2, .fun = 3});
}

Accepted named(std::string_view rule, const std::string& name) {
  return {rule, triple("9", name, "01:02.3"), {name.substr(0, 255)}};
}

// 'NAME="' and '"' are 7 bytes, so a name of 1,015 bytes and the line feed fill the line buffer of 1,023.
QORX_ROWS(OverrideTexts, named("a plain name", "a"), named("blanks belong to a name", " a b "),
          named("a name may be a blank", " "), named("a quote may stand in a name", "a\"b"),
          named("a name may be a quote", "\""), named("a hash starts no comment in a name", "#1"),
          named("a name may look like its key", "NAME=\""),
          named("a name of 255 characters is whole", std::string(255, 'n')),
          named("a name of 300 characters is cut", std::string(300, 'n')),
          named("a line and its line feed may fill the buffer", std::string(1015, 'n')),
          named("a line may fill the buffer", std::string(1016, 'n')),
          {"comments empty lines and blanks are skipped",
           "# slots\n\n   \t\n  # indented\nTYPE=\"9\"\n#TYPE=\"41\"\n\n \tNAME=\"S\" \t\n"
           "# between\nBUS:DEV.FUN=\"01:02.3\"\n#\n"},
          {"carriage returns are trimmed", "# comment\r\n\r\nTYPE=\"9\"\r\nNAME=\"S\"\r\nBUS:DEV.FUN=\"01:02.3\"\r\n"},
          {"a last line without a line feed is not examined", kGood + "garbage"},
          {"a last type without a line feed is not examined", kGood + "TYPE=\"9\""});

using OverrideFile = UserFileTest;

TEST_F(OverrideFile, ThreeLinesMakeASlotRecord) {
  apply(kOverride, triple("9", "SLOT 1", "03:02.1") + triple("41", "LAN1", "1a:1f.7"));
  ASSERT_EQ(slot_records().size(), 2U);
  expect_slot(slot_records()[0],
              {.bus = 3, .dev = 2, .fun = 1, .type = 9, .slot_name = "SLOT 1", .smbios_slot_name = "SLOT 1"});
  expect_slot(slot_records()[1],
              {.bus = 0x1A, .dev = 0x1F, .fun = 7, .type = 41, .slot_name = "LAN1", .smbios_slot_name = "LAN1"});
}

TEST_F(OverrideFile, OtherFieldsStayZero) {
  apply(kOverride, kGood);
  expect_slot(slot_records()[0], {.length = 0,
                                  .str_index = 0,
                                  .model_name = "",
                                  .feature = 0,
                                  .port_count = 0,
                                  .device_id_number = 0,
                                  .sysfs_path = ""});
  EXPECT_EQ(slot_records()[0].raw[0], 0);
}

TEST_F(OverrideFile, TheFileReplacesTheRecords) {
  add_slot("old", 9);
  add_slot("older", 9);
  apply(kOverride, triple("41", "new", "01:00.0"));
  EXPECT_EQ(names(), Texts{"new"});
}

TEST_F(OverrideFile, EverySlotBehindThe512thOverwritesTheLastRecord) {
  for (const int slots : {512, 513, 600}) {
    SCOPED_TRACE(slots);
    std::string file;
    for (int i = 1; i <= slots; ++i) {
      file += triple("9", "S" + std::to_string(i), "01:00.0");
    }
    apply(kOverride, file);
    ASSERT_EQ(slot_records().size(), 512U);
    EXPECT_STREQ(slot_records()[510].slot_name, "S511");
    EXPECT_EQ(slot_records()[511].slot_name, "S" + std::to_string(slots));
  }
}

// What a line with its key traces behind the trim of its head.
std::string value_traces(const std::string& line, const std::string& value) {
  return tail_traces(line + "\n") + tail_traces(line) + value + "\n";
}

// The third line's value is traced before the record.
TEST_F(OverrideFile, TracesTrimmingValuesAndRecord) {
  g_debug_message_open = 1;
  EXPECT_EQ(read(kOverride, " " + triple("9", "S 1", "1a:0.7")),
            (Outcome{head_traces(" TYPE=\"9\"\n") + value_traces("TYPE=\"9\"", "9") + head_traces("NAME=\"S 1\"\n") +
                         value_traces("NAME=\"S 1\"", "S 1") + head_traces("BUS:DEV.FUN=\"1a:0.7\"\n") +
                         value_traces("BUS:DEV.FUN=\"1a:0.7\"", "1a:0.7") +
                         "TYPE: 9\nNAME: S 1\nBUS:DEV.FUN: 1a 0 7\nsmbios cfg file read OK!\n",
                     0}));
}

constexpr const char* kNoType = "Can't find TYPE! F line: #";
constexpr const char* kNoName = "Can't find NAME! F line: #";
constexpr const char* kNoAddress = "Can't find BUS:DEV.FUN! F line: #";
constexpr const char* kEmptyName = "Empty NAME! F line: #";

using OverrideErrors = WrongFileTest;

TEST_P(OverrideErrors, AreRefused) {
  expect_refused(kOverride, row());
  expect_command_refused(kOverride, row());
}

QORX_ROWS(OverrideErrors,
          {"a slot begins with its type", kNoType,
           Files{{kName, 1}, {"# c\n\n" + kAddress, 3}, {kGood + "NAME=\"T\"\n", 4}, {kGood + "x\n", 4}}},
          {"the type is followed by the name", kNoName, {{kType + kType, 2}, {kType + kAddress, 2}}},
          {"the name is followed by the address", kNoAddress,
           Files{{kType + kName + kName, 3}, {kType + kName + "\n# c\n" + kType, 5}}},
          {"a line must begin with its key and end with a quote", kNoType,
           variants(1, "",
                    {"TYPE=9", "TYPE =\"9\"", "TYPE= \"9\"", "type=\"9\"", "TYPE=\"9", "TYPE=\"9\"x", "TYPE",
                     "\"TYPE=\"9\"", "TYPE=\"9\" # nine"})},
          {"a name must be quoted", kNoName, at_line(2, kType + "NAME=S\n")},
          {"an address must be quoted", kNoAddress, at_line(3, kType + kName + "BUS:DEV.FUN=01:00.0\n")},
          {"the name must not be empty", kEmptyName,
           Files{{kType + "NAME=\"\"\n# c\n" + kAddress, 4}, {kType + "NAME=\"\n" + kAddress, 3}}},
          {"the address needs three parts", "Wrong BUS:DEV.FUN! F line: #",
           variants(3, kType + kName + "BUS:DEV.FUN=\"", {"3:0", "", "3", "::..", "3:0.", "3:.:0", "030000"}, "\"\n")},
          {"of several wrong values the type is reported first", "Wrong TYPE number 8! F line: #",
           at_line(3, triple("8", "", "3"))},
          {"of a wrong name and a wrong address the name is reported", kEmptyName, at_line(3, triple("9", "", "3"))},
          {"a file without a type line has none", kNoType, {{"# one\n# two\n", 3}, {"\n", 2}, {"TYPE=\"9\"", 1}}},
          {"a file that ends behind a type lacks a name", kNoName,
           Files{{kType, 2}, {kType + "NAME=\"S\"", 2}, {kGood + kType, 5}}},
          {"a file that ends behind a name lacks an address", kNoAddress,
           Files{{kType + kName, 3},
                 {kType + kName + "BUS:DEV.FUN=\"01:00.0\"", 3},
                 {kGood + kType + "NAME=\"T\"\n# c\n", 7}}},
          {"nothing is read behind an error", "Wrong TYPE number 8! F line: #",
           at_line(3, triple("8", "T", "01:00.0") + "x\n" + kGood)},
          // The rest of a line beyond 1,023 bytes is a line of its own.
          {"a long line counts for each buffer full", kNoType,
           Files{{"#" + std::string(2994, 'n') + "\n" + kGood, 2},
                 {std::string(3000, '#') + "\nx\n", 4},
                 {"#" + std::string(1021, '.') + "\nx\n", 2},    // 1,023 with its line feed
                 {"#" + std::string(1022, '.') + "\nx\n", 3}}},  // 1,024
          {"a name that does not fit the buffer has no closing quote", kNoName,
           at_line(2, kType + "NAME=\"" + std::string(2994, 'n') + "\"\n")});

TEST_F(OverrideFile, TheTypeTextMustBeExactly9Or41) {
  for (const std::string type : {"09", "041", "9 ", " 9", "10", "4", "411", "9\"", "x", ""}) {
    EXPECT_EQ(read(kOverride, "TYPE=\"" + type + "\"\n" + kName + kAddress),
              (Outcome{"Wrong TYPE number " + type + "! F line: 3\n", 0x81}));
    EXPECT_TRUE(slot_records().empty());
  }
}

TEST_F(OverrideFile, RecordsBeforeAnErrorStay) {
  for (const std::string& tail : {std::string("x\n"), kType, triple("8", "S", "01:02.3")}) {
    SCOPED_TRACE(tail);
    EXPECT_EQ(read(kOverride, kGood + tail).code, 0x81);
    EXPECT_EQ(names(), Texts{"S"});
  }
}

TEST_F(OverrideFile, MessagesNeedErrorMessages) {
  g_error_message_open = 0;
  EXPECT_EQ(read(kOverride, "x\n"), (Outcome{"", 0x81}));
  EXPECT_EQ(read(kOverride, kType), (Outcome{"", 0x81}));
}

// Its three lines were read, though one of their values is wrong.
TEST_F(OverrideFile, AWrongTypeNameOrAddressTracesThatTheLinesWereReadButNoRecord) {
  g_debug_message_open = 1;
  for (const auto& [text, end] : {std::pair{triple("8", "S", "01:02.3"), "Wrong TYPE number 8"},
                                  {triple("9", "", "01:02.3"), "Empty NAME"},
                                  {triple("9", "S", "01"), "Wrong BUS:DEV.FUN"}}) {
    const Outcome outcome = read(kOverride, text);
    EXPECT_EQ(outcome.code, 0x81);
    EXPECT_TRUE(outcome.printed.ends_with(std::string(end) + "! F line: 3\nsmbios cfg file read OK!\n")) << text;
    EXPECT_EQ(outcome.printed.find("TYPE: "), std::string::npos);
  }
}

TEST_F(OverrideFile, AWrongLineTracesItsKeyOnce) {
  g_debug_message_open = 1;
  EXPECT_TRUE(read(kOverride, "x\n")
                  .printed.starts_with(head_traces("x\n") + tail_traces("x\n") +
                                       "can't find TYPE=\"\nCan't find TYPE! F line: 1\n"));
}

TEST_F(OverrideFile, AnIncompleteTripleDoesNotTraceThatTheFileWasRead) {
  g_debug_message_open = 1;
  for (const std::string& content : {kType, kType + kName, kGood + kType, kType + kType}) {
    SCOPED_TRACE(content);
    const Outcome outcome = read(kOverride, content);
    EXPECT_EQ(outcome.code, 0x81);
    EXPECT_EQ(outcome.printed.find("read OK"), std::string::npos);
  }
}

// No slot is left half read.
TEST_F(OverrideFile, AFileWithoutATypeTracesThatItWasReadBehindTheError) {
  g_debug_message_open = 1;
  for (const auto& [content, line] :
       {std::pair{std::string(), '1'}, {"# c\n", '2'}, {"x\n", '1'}, {kGood + "x\n", '4'}}) {
    SCOPED_TRACE(content);
    const Outcome outcome = read(kOverride, content);
    EXPECT_EQ(outcome.code, 0x81);
    EXPECT_TRUE(
        outcome.printed.ends_with(std::string("Can't find TYPE! F line: ") + line + "\nsmbios cfg file read OK!\n"))
        << outcome.printed;
  }
}

TEST_F(OverrideFile, ALastLineWithoutALineFeedTracesNoTrimming) {
  g_debug_message_open = 1;
  const std::string traces = read(kOverride, kGood).printed;
  EXPECT_EQ(read(kOverride, kGood + " TYPE=\"9\" ").printed, traces);
}

TEST_F(OverrideFile, TheTracedNameIsTheOneThatIsStored) {
  g_debug_message_open = 1;
  EXPECT_TRUE(
      read(kOverride, triple("9", std::string(255, 'n') + "end", "01:02.3"))
          .printed.ends_with("\nNAME: " + std::string(255, 'n') + "\nBUS:DEV.FUN: 1 2 3\nsmbios cfg file read OK!\n"));
}

}  // namespace
}  // namespace qorx::test
