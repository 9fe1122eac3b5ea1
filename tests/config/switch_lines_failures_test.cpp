// What the first pass over the platform file refuses, and what the command says about it.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "config/stages.h"
#include "records/state.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"
#include "tests/support/result_rows.h"

namespace qorx {
namespace {

using test::add_slot;
using test::FakeMachine;
using test::row_of;
using test::ToolRun;

const std::string kFormatCode = "Error: QORX_ERR_CONF_FILE_FORMAT (0x81)\n";
const std::string kNoSuchSlot = "Can't find SLOT_NAME in SMBIOS type9/41 record! qorx.cfg line: ";
const std::string kNoSwitch = "Can't find PCIe switch, please check the config file!\n";
const std::string kWrongSwitchLine = "Wrong PCIe_SW_DEV/WMX_SLOT=\" format! qorx.cfg line: ";

class SwitchLineFailures : public ::testing::Test {
 protected:
  // J1 leads to a switch whose upstream port is 02:00.0; J2 names a root port that the machine does not have.
  void SetUp() override {
    test::reset_library();
    machine_.smbios(test::SmbiosTable().slot("J1", "00:1c.0").slot("J2", "00:1e.0"));
    machine_.add_port("eth0", "0000:00:1c.0/0000:02:00.0/0000:03:01.0/0000:04:00.0");
  }

  ToolRun run_with(const std::string& text, const std::vector<std::string>& options = {}) {
    machine_.user_file("qorx.cfg", text);
    std::vector<std::string> words{"-a", "-config", "qorx.cfg"};
    words.insert(words.end(), options.begin(), options.end());
    return machine_.run(words);
  }

  void expect_failure(const std::string& text, const std::string& message) {
    SCOPED_TRACE(text);
    const ToolRun run = run_with(text);
    EXPECT_EQ(run.output, message + kFormatCode);
    EXPECT_EQ(run.status, 0x81);
  }

  FakeMachine machine_;
};

TEST_F(SwitchLineFailures, EveryBlockMustNameASlotOfTheFirmware) {
  expect_failure("SLOT_NAME=\"J9\"\nCHANGE_NAME=\"x\"\n", kNoSuchSlot + "1\n");
  expect_failure("SLOT_NAME=\"J9\"\nFUNCTION/NAME/FEATURE=\"0/P/POE\"\nFUNCTION/NAME/BUS_ORDER=\"0/P/L\"\n",
                 kNoSuchSlot + "1\n");
  expect_failure("# c\nSLOT_NAME=\"J1\"\nFUNCTION/NAME/FEATURE=\"0/P/POE\"\n\nSLOT_NAME=\"j1\"\n", kNoSuchSlot + "5\n");
  expect_failure("SLOT_NAME=\"J1 \"\n", kNoSuchSlot + "1\n");
  expect_failure("SLOT_NAME=\"\"\n", kNoSuchSlot + "1\n");
}

TEST_F(SwitchLineFailures, WithoutSlotRecordsNoBlockIsValid) {
  const ToolRun run = run_with("SLOT_NAME=\"J1\"\n", {"-vm"});
  EXPECT_EQ(run.output, kNoSuchSlot + "1\n" + kFormatCode);
  EXPECT_EQ(run.status, 0x81);
}

TEST_F(SwitchLineFailures, ARetiredSlotCantBeNamedAgain) {
  expect_failure("SLOT_NAME=\"J1\"\nPCIe_SW_DEV/WMX_SLOT=\"1-1/S\"\nSLOT_NAME=\"S\"\nSLOT_NAME=\"J1\"\n",
                 kNoSuchSlot + "4\n");
}

TEST_F(SwitchLineFailures, ASwitchThatDoesNotExistEndsTheCommand) {
  expect_failure("SLOT_NAME=\"J2\"\n# c\nPCIe_SW_DEV/WMX_SLOT=\"1-1/S\"\n", kNoSwitch + kWrongSwitchLine + "3\n");
}

TEST_F(SwitchLineFailures, ASwitchThatDoesNotExistLeavesItsSlot) {
  const SlotRecord& slot = add_slot("J2", 9, 0, 0x1E, 0);
  const std::string path = machine_.user_file("x.cfg", "SLOT_NAME=\"J2\"\nPCIe_SW_DEV/WMX_SLOT=\"1-1/S\"\n");
  int code = 0;
  EXPECT_EQ(test::printed_by([&] { code = qorx_check_conf_file_SW(path.c_str()); }),
            kNoSwitch + "Wrong PCIe_SW_DEV/WMX_SLOT=\" format! " + path + " line: 2\n");
  EXPECT_EQ(code & 0xFF, 0x81);
  EXPECT_STREQ(slot.slot_name, "J2");
  EXPECT_EQ(slot.dev, 0x1E);
  EXPECT_EQ(qorx_system_environment_info.eth_smbios_t9_t41_number, 1U);
}

TEST_F(SwitchLineFailures, ASwitchValueNeedsARangeAndAName) {
  for (const char* const value :
       {"", "/", "-", "1", "1-2", "1-2/", "3/S", "3-/S", "-3/S", "/3/S", "--/S", "-/S", "/S", "S", "1/2-3"}) {
    expect_failure(std::string("SLOT_NAME=\"J1\"\n\nPCIe_SW_DEV/WMX_SLOT=\"") + value + "\"\n",
                   kWrongSwitchLine + "3\n");
  }
}

TEST_F(SwitchLineFailures, ALaterSwitchLineOfABlockIsCheckedTheSame) {
  expect_failure("SLOT_NAME=\"J1\"\nPCIe_SW_DEV/WMX_SLOT=\"1-1/S\"\nPCIe_SW_DEV/WMX_SLOT=\"3/S\"\n",
                 kWrongSwitchLine + "3\n");
}

TEST_F(SwitchLineFailures, ChangesBeforeAnErrorStay) {
  const SlotRecord& retired = add_slot("J1", 9, 0, 0x1C, 0);
  const SlotRecord& renamed = add_slot("J3");
  const std::string path = machine_.user_file("x.cfg",
                                              "SLOT_NAME=\"J3\"\nCHANGE_NAME=\"new\"\n"
                                              "SLOT_NAME=\"J1\"\nPCIe_SW_DEV/WMX_SLOT=\"3/S\"\n");
  int code = 0;
  EXPECT_EQ(test::printed_by([&] { code = qorx_check_conf_file_SW(path.c_str()); }),
            "Wrong PCIe_SW_DEV/WMX_SLOT=\" format! " + path + " line: 4\n");
  EXPECT_EQ(code & 0xFF, 0x81);
  EXPECT_STREQ(renamed.slot_name, "new");
  EXPECT_STREQ(retired.slot_name, "");
  EXPECT_EQ(retired.bus, 0xFF);
}

// The pass reads the file by the same rules as the one for features.
TEST_F(SwitchLineFailures, TheReadersErrorsAreTheSameInThisPass) {
  const std::vector<std::pair<std::string, int>> cases{
      {"", 1},
      {"# a\n# b\n", 3},
      {"SLOT_NAME=\"J1\"", 1},
      {"CHANGE_NAME=\"x\"\n", 1},
      {"SLOT_NAME=\"J1\"\nCHANGE_NAME=\"x\n", 2},
      {"SLOT_NAME=\"J1\"\nCHANGE_NAME=\"x\"\n\r\n", 3},
      {"SLOT_NAME=\"J1\"\n#" + std::string(2998, 'x') + "\n", 3},
  };
  add_slot("J1");
  for (const auto& [text, line] : cases) {
    SCOPED_TRACE(text.substr(0, 100));
    const std::string path = machine_.user_file("x.cfg", text);
    int code = 0;
    EXPECT_EQ(test::printed_by([&] { code = qorx_check_conf_file_SW(path.c_str()); }),
              "Can't find SLOT_NAME! " + path + " line: " + std::to_string(line) + "\n");
    EXPECT_EQ(code & 0xFF, 0x81);
  }
}

TEST_F(SwitchLineFailures, NoFileNameAndAFileThatCantBeOpened) {
  int code = 0;
  EXPECT_EQ(test::printed_by([&] { code = qorx_check_conf_file_SW(nullptr); }), "Error: *conf_file is NULL pointer.\n");
  EXPECT_EQ(code & 0xFF, 0x94);
  EXPECT_EQ(test::printed_by([&] { code = qorx_check_conf_file_SW("nowhere/qorx.cfg"); }),
            "Error: Open file nowhere/qorx.cfg failed.\n");
  EXPECT_EQ(code & 0xFF, 0x80);
  const std::string directory = machine_.work();
  EXPECT_EQ(test::printed_by([&] { code = qorx_check_conf_file_SW(directory.c_str()); }),
            "Error: Open file " + directory + " failed.\n");
  EXPECT_EQ(code & 0xFF, 0x80);
}

TEST_F(SwitchLineFailures, WithoutErrorMessagesOnlyTheCodeIsReported) {
  for (const char* const text : {"SLOT_NAME=\"J9\"\n", "SLOT_NAME=\"J2\"\nPCIe_SW_DEV/WMX_SLOT=\"1-1/S\"\n",
                                 "SLOT_NAME=\"J1\"\nPCIe_SW_DEV/WMX_SLOT=\"1/S\"\n"}) {
    const ToolRun run = run_with(text, {"-ML", "0"});
    EXPECT_EQ(run.output, kFormatCode);
    EXPECT_EQ(run.status, 0x81);
  }
}

TEST_F(SwitchLineFailures, AnErrorComesBeforeTheInterfacesAreScanned) {
  const ToolRun run = run_with("SLOT_NAME=\"J9\"\n", {"-ML", "2"});
  EXPECT_EQ(run.status, 0x81);
  EXPECT_EQ(run.output.find("Get all eth device under /sys/class/net"), std::string::npos);
  EXPECT_NE(run_with("SLOT_NAME=\"J1\"\n", {"-ML", "2"}).output.find("Get all eth device under /sys/class/net"),
            std::string::npos);
}

}  // namespace
}  // namespace qorx
