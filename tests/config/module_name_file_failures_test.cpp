// The lines of the module name file, and what is wrong with some.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "config/stages.h"
#include "records/state.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"
#include "tests/support/result_rows.h"

namespace qorx {
namespace {

using test::add_device;
using test::FakeMachine;
using test::row_of;
using test::ToolRun;

const std::string kFormatCode = "Error: QORX_ERR_CONF_FILE_FORMAT (0x81)\n";
const std::string kOpenCode = "Error: QORX_ERR_OPEN_FILE (0x80)\n";
const std::string kNoFeature = "can't find feature for WMX in wmx_name.cfg file line ";
const std::string kUnknownFeature = "Not supported feature for WMX in wmx_name.cfg line ";
const std::string kNoName = "Can't find WMX NAME in wmx_name.cfg\n";

class ModuleNameFileLines : public ::testing::Test {
 protected:
  void SetUp() override {
    test::reset_library();
    port_ = &add_device("eth0", "WMX Slot 1", 9);
    std::strcpy(port_->model, "WMX-1813/2848/8655");
  }

  int code_for(const std::string& text) {
    path_ = machine_.user_file("wmx_name.cfg", text);
    int code = 0;
    printed_ = test::printed_by([&] { code = qorx_check_WMX_name_file(path_.c_str()); });
    return code & 0xFF;
  }

  ToolRun run_on(const std::string& file, const std::vector<std::string>& options = {}) const {
    std::vector<std::string> words{"-a", "-legacy", "-sys_WMX_cfg", file};
    words.insert(words.end(), options.begin(), options.end());
    return machine_.run(words);
  }

  // Expects a file that confirms WMX-2848 with POE.
  void expect_confirmed(const std::string& text) {
    SCOPED_TRACE(text.substr(0, 100));
    port_->module_name_count = 0;
    port_->feature = 0;
    EXPECT_EQ(code_for(text), 0);
    EXPECT_EQ(printed_, "");
    EXPECT_EQ(port_->module_name_count, 1);
    EXPECT_STREQ(port_->module_names[0], "WMX-2848");
    EXPECT_EQ(port_->feature, 0x01);
  }

  // Expects the command to end with the message.
  void expect_failure(const std::string& text, const std::string& message) {
    SCOPED_TRACE(text.substr(0, 100));
    machine_.user_file("wmx_name.cfg", text);
    const ToolRun run = run_on("wmx_name.cfg");
    EXPECT_EQ(run.output, message + kFormatCode);
    EXPECT_EQ(run.status, 0x81);
  }

  FakeMachine machine_;
  DeviceRecord* port_ = nullptr;
  std::string path_;
  std::string printed_;
};

TEST_F(ModuleNameFileLines, BlanksTabsAndCarriageReturnsAroundALineDoNotMatter) {
  expect_confirmed("# c\r\n\r\n \t# c\n \tWMX-2848 POE \t\r\n\t\n#");
}

TEST_F(ModuleNameFileLines, RunsOfBlanksCountAsOneAndFurtherFieldsAreIgnored) {
  expect_confirmed("WMX-2848    POE   A_BYPASS # fitted by hand\n");
}

TEST_F(ModuleNameFileLines, TheLastLineNeedsNoLineFeed) {
  expect_confirmed("WMX-2848 POE");
}

TEST_F(ModuleNameFileLines, ALineOf1023BytesIsOneLine) {
  expect_confirmed("WMX-2848 POE " + std::string(1009, 'x') + "\n");
  expect_confirmed("WMX-2848 POE" + std::string(1011, ' ') + "\n");
}

TEST_F(ModuleNameFileLines, TheLineFeedOfALineOf1024BytesIsABlankLine) {
  expect_confirmed("WMX-2848 POE " + std::string(1010, 'x') + "\n");
  EXPECT_EQ(code_for("#" + std::string(1022, 'x') + "\nWMX-2848\n"), 0x81);
  EXPECT_EQ(printed_, "can't find feature for WMX in " + path_ + " file line 3\n");
}

TEST_F(ModuleNameFileLines, ThePiecesOfALineOf3000BytesAreLinesOfTheirOwn) {
  EXPECT_EQ(code_for("#" + std::string(2998, 'x') + "\nWMX-2848 POE\n"), 0x81);
  EXPECT_EQ(printed_, "can't find feature for WMX in " + path_ + " file line 2\n");
}

TEST_F(ModuleNameFileLines, LongNamesAreCutTo255CharactersAndRecordedOnce) {
  // Found by the number of the line before it, as it is of another family.
  for (const std::size_t length : {255U, 256U, 900U}) {
    SCOPED_TRACE(length);
    port_->module_name_count = 0;
    const std::string line = std::string(length, 'n') + " POE\n";
    EXPECT_EQ(code_for("WMX-2848 POE\n" + line + line), 0);
    ASSERT_EQ(port_->module_name_count, 2);
    EXPECT_EQ(std::string(port_->module_names[1]), std::string(255, 'n'));
  }
}

TEST_F(ModuleNameFileLines, ANameOf2000BytesHasNoFeature) {
  EXPECT_EQ(code_for("WMX-" + std::string(1996, 'n') + " POE\n"), 0x81);
  EXPECT_EQ(printed_, "can't find feature for WMX in " + path_ + " file line 1\n");
}

TEST_F(ModuleNameFileLines, DebugMessagesShowEveryDataLine) {
  path_ = machine_.user_file("wmx_name.cfg", "# c\n\n WMX-2848  POE\n");
  EXPECT_EQ(test::traced_by([&] { EXPECT_EQ(qorx_check_WMX_name_file(path_.c_str()), 0); }),
            "check head char of !# c\n!\n"
            "check tail char of !# c\n!\n"
            "remove tail 1 char !# c!\n"
            "check head char of !\n!\n"
            "check tail char of !\n!\n"
            "remove tail 1 char !!\n"
            "check head char of ! WMX-2848  POE\n!\n"
            "remove head 1 char !WMX-2848  POE\n!\n"
            "check tail char of !WMX-2848  POE\n!\n"
            "remove tail 1 char !WMX-2848  POE!\n"
            "WMX-2848  POE\n");
}

TEST_F(ModuleNameFileLines, AFileWithoutDataHasNoName) {
  for (const char* const text : {"", "\n", "# only\n# comments", " \t\r\n#\n"}) {
    expect_failure(text, kNoName);
  }
}

TEST_F(ModuleNameFileLines, ADataLineNeedsAFeature) {
  expect_failure("WMX-2848\n", kNoFeature + "1\n");
  expect_failure("# c\n\nWMX-2848   \n", kNoFeature + "3\n");
  expect_failure("WMX-2848 POE\nWMX-8655", kNoFeature + "2\n");
}

TEST_F(ModuleNameFileLines, ATabPartsNoFields) {
  expect_failure("WMX-2848\tPOE\n", kNoFeature + "1\n");
  expect_failure("WMX-2848 \tPOE\n", kUnknownFeature + "1\n");
  expect_failure("WMX-2848 POE\tPOE\n", kUnknownFeature + "1\n");
}

TEST_F(ModuleNameFileLines, OtherWordsAreNoFeatures) {
  for (const char* const word : {"A_BYPASS-C", "1PPS", "NCSI/1PPS", "poe", "na", "unknown", "#", "POE,"}) {
    expect_failure(std::string("# c\nWMX-2848 ") + word + "\n", kUnknownFeature + "2\n");
  }
}

TEST_F(ModuleNameFileLines, ChangesBeforeAnErrorStay) {
  EXPECT_EQ(code_for("WMX-2848 POE\nWMX-8655 x\nWMX-1813 POE\n"), 0x81);
  EXPECT_EQ(printed_, "Not supported feature for WMX in " + path_ + " line 2\n");
  EXPECT_EQ(port_->module_name_count, 1);
  EXPECT_EQ(port_->feature, 0x01);
}

TEST_F(ModuleNameFileLines, NoFileNameReadsNothing) {
  int code = -1;
  EXPECT_EQ(test::printed_by([&] { code = qorx_check_WMX_name_file(nullptr); }), "");
  EXPECT_EQ(code, 0);
}

TEST_F(ModuleNameFileLines, AFileThatCantBeOpenedEndsTheCommand) {
  std::filesystem::create_directory(machine_.work() / "directory");
  for (const char* const file : {"nowhere.cfg", "directory"}) {
    const ToolRun run = run_on(file);
    EXPECT_EQ(run.output, std::string("Error: Open file ") + file + " failed.\n" + kOpenCode);
    EXPECT_EQ(run.status, 0x80);
  }
}

TEST_F(ModuleNameFileLines, AnEndlessDeviceEndsAsAFileWithoutData) {
  const ToolRun run = run_on("/dev/zero");
  EXPECT_EQ(run.output, "Can't find WMX NAME in /dev/zero\n" + kFormatCode);
  EXPECT_EQ(run.status, 0x81);
}

TEST_F(ModuleNameFileLines, WithoutErrorMessagesOnlyTheCodeIsReported) {
  for (const char* const text : {"", "WMX-2848\n", "WMX-2848 x\n"}) {
    machine_.user_file("wmx_name.cfg", text);
    EXPECT_EQ(run_on("wmx_name.cfg", {"-ML", "0"}).output, kFormatCode);
  }
  EXPECT_EQ(run_on("nowhere.cfg", {"-ML", "0"}).output, kOpenCode);
}

TEST_F(ModuleNameFileLines, AFileWithoutAMatchIsNoError) {
  machine_.user_file("wmx_name.cfg", "WMX-2848 POE\n");
  EXPECT_EQ(run_on("wmx_name.cfg").status, 0);
}

TEST_F(ModuleNameFileLines, APipeIsReadOnce) {
  machine_.smbios(test::SmbiosTable().slot("WMX Slot 1", "06:00.0"));
  for (int i = 0; i < 4; ++i) {
    machine_.add_port("eth" + std::to_string(i), "0000:00:1c.0/0000:06:00." + std::to_string(i));
  }
  const std::string path = machine_.work() / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const pid_t writer = fork();
  if (writer == 0) {
    std::ofstream(path) << "WMX-2848 POE\n";
    _exit(0);
  }
  ASSERT_GT(writer, 0);
  const ToolRun run = run_on("pipe");
  kill(writer, SIGKILL);
  waitpid(writer, nullptr, 0);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(row_of(run.output, "eth0").model, "WMX-2848");
  EXPECT_EQ(row_of(run.output, "eth0").feature, "POE");
}

}  // namespace
}  // namespace qorx
