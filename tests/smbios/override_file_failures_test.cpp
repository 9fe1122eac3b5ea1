#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

#include "base/messages.h"
#include "records/state.h"
#include "smbios/override_file.h"
#include "tests/smbios/parsing.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

using Strings = std::vector<std::string>;

constexpr std::int32_t kFormat = 0x81;
const std::string kGood = "TYPE=\"9\"\nNAME=\"S\"\nBUS:DEV.FUN=\"01:00.0\"\n";

class OverrideFileFailures : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  // Reads a file with this content; in what is printed its name is replaced by "F".
  std::int32_t read(const std::string& content) {
    const std::string file = machine_.user_file("smbios.cfg", content);
    std::int32_t code = -1;
    printed_ = printed_by([&] { code = Search_SMBIOS_cfg(file.c_str()); });
    for (std::size_t at = 0; (at = printed_.find(file)) != std::string::npos;) {
      printed_.replace(at, file.size(), "F");
    }
    return code;
  }

  void expect_message(const std::string& content, const std::string& message) {
    SCOPED_TRACE(content.substr(0, 200));
    EXPECT_EQ(read(content), kFormat);
    EXPECT_EQ(printed_, message + "\n");
  }

  FakeMachine machine_;
  std::string printed_;
};

TEST_F(OverrideFileFailures, ANullName) {
  std::int32_t code = 0;
  EXPECT_EQ(printed_by([&] { code = Search_SMBIOS_cfg(nullptr); }), "Error: *conf_file is NULL pointer.\n");
  EXPECT_EQ(code, 0x94);
}

TEST_F(OverrideFileFailures, AFileThatCannotBeOpened) {
  for (const std::string& file : {std::string("/nowhere/smbios.cfg"), machine_.work().string(), std::string()}) {
    std::int32_t code = 0;
    EXPECT_EQ(printed_by([&] { code = Search_SMBIOS_cfg(file.c_str()); }), "Error: Open file " + file + " failed.\n");
    EXPECT_EQ(code, 0x80);
  }
}

TEST_F(OverrideFileFailures, AnotherLineThanTheExpectedOne) {
  expect_message("NAME=\"S\"\n", "Can't find TYPE! F line: 1");
  expect_message("# c\n\nBUS:DEV.FUN=\"01:00.0\"\n", "Can't find TYPE! F line: 3");
  expect_message("TYPE=\"9\"\nTYPE=\"9\"\n", "Can't find NAME! F line: 2");
  expect_message("TYPE=\"9\"\nBUS:DEV.FUN=\"01:00.0\"\n", "Can't find NAME! F line: 2");
  expect_message("TYPE=\"9\"\nNAME=\"S\"\nNAME=\"S\"\n", "Can't find BUS:DEV.FUN! F line: 3");
  expect_message("TYPE=\"9\"\nNAME=\"S\"\n\n# c\nTYPE=\"9\"\n", "Can't find BUS:DEV.FUN! F line: 5");
  expect_message(kGood + "NAME=\"T\"\n", "Can't find TYPE! F line: 4");
}

TEST_F(OverrideFileFailures, ALineMustBeginWithItsKeyAndEndWithAQuote) {
  for (const char* const line : {"TYPE=9", "TYPE =\"9\"", "TYPE= \"9\"", "type=\"9\"", "TYPE=\"9", "TYPE=\"9\"x",
                                 "TYPE", "\"TYPE=\"9\"", "TYPE=\"9\" # nine"}) {
    expect_message(std::string(line) + "\n", "Can't find TYPE! F line: 1");
  }
  expect_message("TYPE=\"9\"\nNAME=S\n", "Can't find NAME! F line: 2");
  expect_message("TYPE=\"9\"\nNAME=\"S\"\nBUS:DEV.FUN=01:00.0\n", "Can't find BUS:DEV.FUN! F line: 3");
}

TEST_F(OverrideFileFailures, TheTypeTextMustBeExactly9Or41) {
  for (const std::string type : {"09", "041", "9 ", " 9", "10", "4", "411", "9\"", "x", ""}) {
    expect_message("TYPE=\"" + type + "\"\nNAME=\"S\"\nBUS:DEV.FUN=\"01:00.0\"\n",
                   "Wrong TYPE number " + type + "! F line: 3");
    EXPECT_TRUE(slot_records().empty());
  }
}

TEST_F(OverrideFileFailures, TheNameMustNotBeEmpty) {
  expect_message("TYPE=\"9\"\nNAME=\"\"\n# c\nBUS:DEV.FUN=\"01:00.0\"\n", "Empty NAME! F line: 4");
  expect_message("TYPE=\"9\"\nNAME=\"\nBUS:DEV.FUN=\"01:00.0\"\n", "Empty NAME! F line: 3");
}

TEST_F(OverrideFileFailures, TheAddressNeedsThreeParts) {
  for (const char* const address : {"3:0", "", "3", "::..", "3:0.", "3:.:0", "030000"}) {
    expect_message("TYPE=\"9\"\nNAME=\"S\"\nBUS:DEV.FUN=\"" + std::string(address) + "\"\n",
                   "Wrong BUS:DEV.FUN! F line: 3");
  }
}

TEST_F(OverrideFileFailures, OfSeveralWrongValuesTypeThenNameIsReported) {
  expect_message("TYPE=\"8\"\nNAME=\"\"\nBUS:DEV.FUN=\"3\"\n", "Wrong TYPE number 8! F line: 3");
  expect_message("TYPE=\"9\"\nNAME=\"\"\nBUS:DEV.FUN=\"3\"\n", "Empty NAME! F line: 3");
}

TEST_F(OverrideFileFailures, AFileWithoutATypeLine) {
  expect_message("", "Can't find TYPE! F line: 1");
  expect_message("# one\n# two\n", "Can't find TYPE! F line: 3");
  expect_message("\n", "Can't find TYPE! F line: 2");
  expect_message("TYPE=\"9\"", "Can't find TYPE! F line: 1");
}

TEST_F(OverrideFileFailures, AFileThatEndsWithinASlot) {
  expect_message("TYPE=\"9\"\n", "Can't find NAME! F line: 2");
  expect_message("TYPE=\"9\"\nNAME=\"S\"", "Can't find NAME! F line: 2");
  expect_message("TYPE=\"9\"\nNAME=\"S\"\n", "Can't find BUS:DEV.FUN! F line: 3");
  expect_message("TYPE=\"9\"\nNAME=\"S\"\nBUS:DEV.FUN=\"01:00.0\"", "Can't find BUS:DEV.FUN! F line: 3");
  expect_message(kGood + "TYPE=\"9\"\n", "Can't find NAME! F line: 5");
  expect_message(kGood + "TYPE=\"9\"\nNAME=\"T\"\n# c\n", "Can't find BUS:DEV.FUN! F line: 7");
}

TEST_F(OverrideFileFailures, RecordsBeforeAnErrorStay) {
  for (const char* const tail : {"x\n", "TYPE=\"9\"\n", "TYPE=\"8\"\nNAME=\"T\"\nBUS:DEV.FUN=\"01:00.0\"\n"}) {
    SCOPED_TRACE(tail);
    EXPECT_EQ(read(kGood + tail), kFormat);
    EXPECT_EQ(names(), Strings{"S"});
  }
}

TEST_F(OverrideFileFailures, NothingIsReadBehindAnError) {
  expect_message("TYPE=\"8\"\nNAME=\"T\"\nBUS:DEV.FUN=\"01:00.0\"\nx\n" + kGood, "Wrong TYPE number 8! F line: 3");
  EXPECT_TRUE(slot_records().empty());
}

// The rest of a line beyond 1,023 bytes is a line of its own.
TEST_F(OverrideFileFailures, ALongLineCountsForEachBufferFull) {
  const std::string filler(2994, 'n');
  expect_message("#" + filler + "\n" + kGood, "Can't find TYPE! F line: 2");
  expect_message(std::string(3000, '#') + "\nx\n", "Can't find TYPE! F line: 4");
  expect_message("#" + std::string(1021, '.') + "\nx\n", "Can't find TYPE! F line: 2");  // 1,023 with its line feed
  expect_message("#" + std::string(1022, '.') + "\nx\n", "Can't find TYPE! F line: 3");  // 1,024
  expect_message("TYPE=\"9\"\nNAME=\"" + filler + "\"\n", "Can't find NAME! F line: 2");
}

TEST_F(OverrideFileFailures, MessagesNeedErrorMessages) {
  g_error_message_open = 0;
  EXPECT_EQ(read("x\n"), kFormat);
  EXPECT_EQ(printed_, "");
  EXPECT_EQ(read("TYPE=\"9\"\n"), kFormat);
  EXPECT_EQ(printed_, "");
  EXPECT_EQ(printed_by([] { EXPECT_EQ(Search_SMBIOS_cfg("/nowhere/f"), 0x80); }), "");
  EXPECT_EQ(printed_by([] { EXPECT_EQ(Search_SMBIOS_cfg(nullptr), 0x94); }), "");
}

TEST_F(OverrideFileFailures, AWrongLineTracesItsKeyOnce) {
  g_debug_message_open = 1;
  EXPECT_EQ(read("x\n"), kFormat);
  EXPECT_TRUE(
      printed_.starts_with("check head char of !x\n!\ncheck tail char of !x\n!\nremove tail 1 char !x!\n"
                           "can't find TYPE=\"\nCan't find TYPE! F line: 1\n"));
}

// Its three lines were read, though their values are wrong.
TEST_F(OverrideFileFailures, AnInvalidTripleStillTracesThatTheFileWasRead) {
  g_debug_message_open = 1;
  const std::string cases[] = {"TYPE=\"8\"\nNAME=\"S\"\nBUS:DEV.FUN=\"01:00.0\"\n",
                               "TYPE=\"9\"\nNAME=\"\"\nBUS:DEV.FUN=\"01:00.0\"\n",
                               "TYPE=\"9\"\nNAME=\"S\"\nBUS:DEV.FUN=\"01\"\n"};
  const char* const ends[] = {"Wrong TYPE number 8! F line: 3\nsmbios cfg file read OK!\n",
                              "Empty NAME! F line: 3\nsmbios cfg file read OK!\n",
                              "Wrong BUS:DEV.FUN! F line: 3\nsmbios cfg file read OK!\n"};
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(cases[i]);
    EXPECT_EQ(read(cases[i]), kFormat);
    EXPECT_TRUE(printed_.ends_with(ends[i])) << printed_;
    EXPECT_EQ(printed_.find("TYPE: "), std::string::npos);
  }
}

TEST_F(OverrideFileFailures, AnIncompleteTripleDoesNotTraceThatTheFileWasRead) {
  g_debug_message_open = 1;
  for (const char* const content : {"", "TYPE=\"9\"\n", "TYPE=\"9\"\nNAME=\"S\"\n"}) {
    SCOPED_TRACE(content);
    EXPECT_EQ(read(content), kFormat);
    EXPECT_EQ(printed_.find("read OK"), std::string::npos);
  }
}

TEST_F(OverrideFileFailures, AnEndlessDeviceEnds) {
  EXPECT_EQ(printed_by([] { EXPECT_EQ(Search_SMBIOS_cfg("/dev/zero"), kFormat); }).rfind("Can't find TYPE! ", 0), 0U);
}

}  // namespace
}  // namespace qorx::test
