// How the platform file is cut into lines and blocks; its second pass shows the effect.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <string>

#include "config/stages.h"
#include "records/state.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"
#include "tests/support/result_rows.h"

namespace qorx {
namespace {

using test::add_device;
using test::FakeMachine;

const std::string kSlotLine = "SLOT_NAME=\"LAN1\"\n";
const std::string kFeatureLine = "FUNCTION/NAME/FEATURE=\"0/P/POE\"\n";

class PlatformFileLines : public ::testing::Test {
 protected:
  void SetUp() override {
    test::reset_library();
    port_ = &add_device("eth0", "LAN1", 9);
  }

  int code_for(const std::string& text) {
    path_ = machine_.user_file("qorx.cfg", text);
    int code = 0;
    printed_ = test::printed_by([&] { code = qorx_check_conf_file(path_.c_str()); });
    return code & 0xFF;
  }

  // Expects a file whose block for LAN1 names port 0 "P".
  void expect_applied(const std::string& text) {
    SCOPED_TRACE(text.substr(0, 200));
    port_->panel_name[0] = '\0';
    port_->feature = 0;
    EXPECT_EQ(code_for(text), 0);
    EXPECT_EQ(printed_, "");
    EXPECT_STREQ(port_->panel_name, "P");
  }

  FakeMachine machine_;
  DeviceRecord* port_ = nullptr;
  std::string path_;
  std::string printed_;
};

TEST_F(PlatformFileLines, CommentsAndBlankLinesMayStandAnywhere) {
  expect_applied("#\n" + kSlotLine + "# FUNCTION/NAME/FEATURE=\"0/Q/POE\"\n" + kFeatureLine + "#");
  expect_applied("\n \t\n  # SLOT_NAME=\"x\"\n" + kSlotLine + "\n\n \t#\n" + kFeatureLine + "\n\n# end\n\n");
  expect_applied(kSlotLine + kFeatureLine + "# no line feed");
}

TEST_F(PlatformFileLines, ABlankLineWithCarriageReturnIsSkippedBeforeTheFirstBlockOnly) {
  expect_applied("\r\n # c\r\n \t \r\n" + kSlotLine + kFeatureLine);
  EXPECT_EQ(code_for(kSlotLine + "\r\n" + kFeatureLine), 0x81);
}

TEST_F(PlatformFileLines, LeadingAndTrailingBlanksAndCarriageReturnsDoNotMatter) {
  expect_applied("\t SLOT_NAME=\"LAN1\" \t\r\n  \tFUNCTION/NAME/FEATURE=\"0/P/POE\"\t \r\n# c\r\n");
}

TEST_F(PlatformFileLines, TheLastLineOfABlockNeedsNoLineFeed) {
  expect_applied(kSlotLine + "FUNCTION/NAME/FEATURE=\"0/P/POE\"");
  expect_applied(kSlotLine + "FUNCTION/NAME/FEATURE=\"0/P/POE\" \r");
}

TEST_F(PlatformFileLines, AnUnterminatedLastLineWithoutAKeyEndsTheFileInPeace) {
  expect_applied(kSlotLine + kFeatureLine + "nonsense");
  expect_applied(kSlotLine + kFeatureLine + "SLOT_NAME=\"LAN2\"");
}

TEST_F(PlatformFileLines, ABlockMayBeEmptyAndTheNextSlotNameEndsIt) {
  expect_applied("SLOT_NAME=\"LAN2\"\nSLOT_NAME=\"LAN3\"\n" + kSlotLine + kFeatureLine + "SLOT_NAME=\"LAN4\"\n");
  EXPECT_EQ(code_for(kSlotLine), 0);
  EXPECT_EQ(printed_, "");
}

TEST_F(PlatformFileLines, ALineOf1023BytesIsOneLine) {
  // The comment's 1,022 characters and its line feed fill the buffer; "bad" is then line 3.
  EXPECT_EQ(code_for("#" + std::string(1021, 'x') + "\n" + kSlotLine + "bad\n"), 0x81);
  EXPECT_EQ(printed_, "Can't find SLOT_NAME! " + path_ + " line: 3\n");
}

TEST_F(PlatformFileLines, ALineOf1024BytesCountsTwiceAndItsLineFeedIsABlankLine) {
  EXPECT_EQ(code_for("#" + std::string(1022, 'x') + "\n" + kSlotLine + "bad\n"), 0x81);
  EXPECT_EQ(printed_, "Can't find SLOT_NAME! " + path_ + " line: 4\n");
  EXPECT_EQ(code_for(kSlotLine + "#" + std::string(1022, 'x') + "\n" + kFeatureLine + "bad\n"), 0x81);
  EXPECT_EQ(printed_, "Can't find SLOT_NAME! " + path_ + " line: 5\n");
  EXPECT_STREQ(port_->panel_name, "P");
}

TEST_F(PlatformFileLines, ThePiecesOfALineOf3000BytesAreLinesOfTheirOwn) {
  const std::string long_comment = "#" + std::string(2998, 'x') + "\n";
  EXPECT_EQ(code_for(long_comment + kSlotLine), 0x81);
  EXPECT_EQ(printed_, "Can't find SLOT_NAME! " + path_ + " line: 2\n");
  EXPECT_EQ(code_for(kSlotLine + kFeatureLine + long_comment), 0x81);
  EXPECT_EQ(printed_, "Can't find SLOT_NAME! " + path_ + " line: 4\n");
  EXPECT_STREQ(port_->panel_name, "P");
  // Every piece of this one is a comment.
  EXPECT_EQ(code_for(std::string(2999, '#') + "\n" + kSlotLine + "bad\n"), 0x81);
  EXPECT_EQ(printed_, "Can't find SLOT_NAME! " + path_ + " line: 5\n");
}

// A feature line of `length` bytes without its line feed, filled by its panel name.
std::string long_feature_line(std::size_t length) {
  const std::string head = "FUNCTION/NAME/FEATURE=\"0/";
  const std::string tail = "/POE\"";
  return head + std::string(length - head.size() - tail.size(), 'p') + tail;
}

TEST_F(PlatformFileLines, AKeyLineThatFillsTheBufferIsTaken) {
  for (const std::size_t length : {1022U, 1023U}) {
    SCOPED_TRACE(length);
    port_->panel_name[0] = '\0';
    EXPECT_EQ(code_for(kSlotLine + long_feature_line(length) + "\n"), 0);
    EXPECT_EQ(std::string(port_->panel_name), std::string(255, 'p'));
  }
}

TEST_F(PlatformFileLines, AKeyLineLongerThanTheBufferHasNoClosingQuote) {
  for (const std::size_t length : {1024U, 2999U}) {
    SCOPED_TRACE(length);
    EXPECT_EQ(code_for(kSlotLine + long_feature_line(length) + "\n"), 0x81);
    EXPECT_EQ(printed_, "Can't find SLOT_NAME! " + path_ + " line: 2\n");
    EXPECT_STREQ(port_->panel_name, "");
  }
}

TEST_F(PlatformFileLines, ASlotNameOf2000BytesIsNoSlotName) {
  EXPECT_EQ(code_for("SLOT_NAME=\"" + std::string(2000, 's') + "\"\n"), 0x81);
  EXPECT_EQ(printed_, "Can't find SLOT_NAME! " + path_ + " line: 1\n");
}

TEST_F(PlatformFileLines, PanelNamesAreCutTo255Characters) {
  for (const std::size_t length : {254U, 255U, 256U, 900U}) {
    SCOPED_TRACE(length);
    EXPECT_EQ(code_for(kSlotLine + "FUNCTION/NAME/FEATURE=\"0/" + std::string(length, 'p') + "/POE\"\n"), 0);
    EXPECT_EQ(std::string(port_->panel_name), std::string(std::min<std::size_t>(length, 255), 'p'));
  }
}

TEST_F(PlatformFileLines, SlotNamesAreCutTo255Characters) {
  DeviceRecord& port = add_device("eth1", std::string(255, 's'), 9);
  for (const std::size_t length : {255U, 256U, 900U}) {
    SCOPED_TRACE(length);
    port.panel_name[0] = '\0';
    EXPECT_EQ(code_for("SLOT_NAME=\"" + std::string(length, 's') + "\"\n" + kFeatureLine), 0);
    EXPECT_STREQ(port.panel_name, "P");
  }
}

TEST_F(PlatformFileLines, ANulByteEndsItsLine) {
  expect_applied(kSlotLine + std::string("#\0SLOT_NAME\n", 12) + kFeatureLine);
}

// The head and tail trims of every line, the key tests of each line of a block, and the values.
TEST_F(PlatformFileLines, DebugMessagesFollowTheReading) {
  path_ = machine_.user_file("qorx.cfg", " # c\n" + kSlotLine + "\tFUNCTION/NAME/FEATURE=\"0/P/POE\"\n\nx");
  EXPECT_EQ(test::traced_by([&] { EXPECT_EQ(qorx_check_conf_file(path_.c_str()), 0); }),
            "check head char of ! # c\n!\n"
            "remove head 1 char !# c\n!\n"
            "check tail char of !# c\n!\n"
            "remove tail 1 char !# c!\n"
            "check head char of !SLOT_NAME=\"LAN1\"\n!\n"
            "check tail char of !SLOT_NAME=\"LAN1\"\n!\n"
            "remove tail 1 char !SLOT_NAME=\"LAN1\"!\n"
            "check tail char of !SLOT_NAME=\"LAN1\"!\n"
            "LAN1\n"
            "check head char of !\tFUNCTION/NAME/FEATURE=\"0/P/POE\"\n!\n"
            "remove head 1 char !FUNCTION/NAME/FEATURE=\"0/P/POE\"\n!\n"
            "can't find PCIe_SW_DEV/WMX_SLOT=\"\n"
            "can't find CHANGE_NAME=\"\n"
            "check tail char of !FUNCTION/NAME/FEATURE=\"0/P/POE\"\n!\n"
            "remove tail 1 char !FUNCTION/NAME/FEATURE=\"0/P/POE\"!\n"
            "can't find FUNCTION/NAME/BUS_ORDER=\"\n"
            "Splitting string \"0/P/POE\" into tokens:\n"
            "check head char of !\n!\n"
            "check head char of !x!\n"
            "can't find PCIe_SW_DEV/WMX_SLOT=\"\n"
            "can't find CHANGE_NAME=\"\n"
            "can't find FUNCTION/NAME/FEATURE=\"\n"
            "can't find FUNCTION/NAME/BUS_ORDER=\"\n");
}

TEST_F(PlatformFileLines, DebugMessagesShowABusOrderValueAndARenameLine) {
  path_ = machine_.user_file("qorx.cfg", kSlotLine + "FUNCTION/NAME/BUS_ORDER=\"0/P/L\"\nCHANGE_NAME=\"N\"\n");
  const std::string traces = test::traced_by([&] { EXPECT_EQ(qorx_check_conf_file(path_.c_str()), 0); });
  const std::size_t value = traces.find("\nLAN1\n");
  ASSERT_NE(value, std::string::npos);
  EXPECT_EQ(traces.substr(value + 1),
            "LAN1\n"
            "check head char of !FUNCTION/NAME/BUS_ORDER=\"0/P/L\"\n!\n"
            "can't find PCIe_SW_DEV/WMX_SLOT=\"\n"
            "can't find CHANGE_NAME=\"\n"
            "can't find FUNCTION/NAME/FEATURE=\"\n"
            "check tail char of !FUNCTION/NAME/BUS_ORDER=\"0/P/L\"\n!\n"
            "remove tail 1 char !FUNCTION/NAME/BUS_ORDER=\"0/P/L\"!\n"
            "Splitting string \"0/P/L\" into tokens:\n"
            "check head char of !CHANGE_NAME=\"N\"\n!\n"
            "can't find PCIe_SW_DEV/WMX_SLOT=\"\n"
            "check tail char of !CHANGE_NAME=\"N\"\n!\n"
            "remove tail 1 char !CHANGE_NAME=\"N\"!\n"
            "can't find FUNCTION/NAME/FEATURE=\"\n"
            "can't find FUNCTION/NAME/BUS_ORDER=\"\n");
}

TEST_F(PlatformFileLines, APipeServesOnePass) {
  const std::string path = machine_.work() / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const std::string text = kSlotLine + kFeatureLine;
  const pid_t writer = fork();
  if (writer == 0) {
    std::ofstream(path) << text;
    _exit(0);
  }
  ASSERT_GT(writer, 0);
  EXPECT_EQ(qorx_check_conf_file(path.c_str()), 0);
  EXPECT_STREQ(port_->panel_name, "P");
  kill(writer, SIGKILL);
  waitpid(writer, nullptr, 0);
}

}  // namespace
}  // namespace qorx
