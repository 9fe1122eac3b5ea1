// What a platform file can have wrong, and what the command says about it.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <regex>
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
using test::Ids;
using test::ResultRow;
using test::row_of;
using test::ToolRun;

const std::string kSlotLine = "SLOT_NAME=\"LAN1\"\n";
const std::string kFeatureLine = "FUNCTION/NAME/FEATURE=\"0/P/POE\"\n";
const std::string kFormatCode = "Error: QORX_ERR_CONF_FILE_FORMAT (0x81)\n";
const std::string kOpenCode = "Error: QORX_ERR_OPEN_FILE (0x80)\n";

constexpr Ids kBypassCard{0x8086, 0x1521, 0x13FE, 0x0035};

struct Wrong {
  std::string text;
  std::string message;  // without the file's name and the line
  int line;
};

class PlatformFileFailures : public ::testing::Test {
 protected:
  // LAN1 is an onboard port; the two ports in WMX Slot 1 have a bypass.
  void SetUp() override {
    test::reset_library();
    machine_.smbios(test::SmbiosTable().onboard("LAN1", "04:00.0").slot("WMX Slot 1", "06:00.0"));
    machine_.add_port("eth0", "0000:00:1b.0/0000:04:00.0");
    machine_.add_port("eth1", "0000:00:1c.0/0000:06:00.0", kBypassCard);
    machine_.add_port("eth2", "0000:00:1c.0/0000:06:00.1", kBypassCard);
  }

  ToolRun run_with(const std::string& text, const std::vector<std::string>& options = {}) {
    machine_.user_file("qorx.cfg", text);
    std::vector<std::string> words{"-a", "-config", "qorx.cfg"};
    words.insert(words.end(), options.begin(), options.end());
    return machine_.run(words);
  }

  // Expects the command to end with the message, and the second pass alone to report the same.
  void expect_failures(const std::vector<Wrong>& cases) {
    for (const Wrong& wrong : cases) {
      SCOPED_TRACE(wrong.text);
      const std::string tail = " line: " + std::to_string(wrong.line) + "\n";
      const ToolRun run = run_with(wrong.text);
      EXPECT_EQ(run.output, wrong.message + " qorx.cfg" + tail + kFormatCode);
      EXPECT_EQ(run.status, 0x81);

      const std::string path = machine_.user_file("second.cfg", wrong.text);
      int code = 0;
      EXPECT_EQ(test::printed_by([&] { code = qorx_check_conf_file(path.c_str()); }),
                wrong.message + " " + path + tail);
      EXPECT_EQ(code & 0xFF, 0x81);
    }
  }

  static void expect_no_slot_name(PlatformFileFailures& self, const std::vector<std::pair<std::string, int>>& cases) {
    for (const auto& [text, line] : cases) {
      self.expect_failures({{text, "Can't find SLOT_NAME!", line}});
    }
  }

  FakeMachine machine_;
};

TEST_F(PlatformFileFailures, AFileWithoutDataFailsAtTheLastLineRead) {
  expect_no_slot_name(*this, {
                                 {"", 1},
                                 {"\n", 2},
                                 {"# only", 1},
                                 {"# one\n# two\n", 3},
                                 {"# one\n# two", 2},
                                 {"\r\n \t\n\n", 4},
                             });
}

TEST_F(PlatformFileFailures, AnUnterminatedFirstDataLineFails) {
  expect_no_slot_name(*this, {{"SLOT_NAME=\"LAN1\"", 1}, {"# c\n\nSLOT_NAME=\"LAN1\"", 3}, {"nonsense", 1}});
}

TEST_F(PlatformFileFailures, TheFirstDataLineMustBeASlotName) {
  expect_no_slot_name(*this, {
                                 {kFeatureLine + kSlotLine, 1},
                                 {"# c\nFUNCTION/NAME/BUS_ORDER=\"0/P/L\"\n" + kSlotLine, 2},
                                 {"CHANGE_NAME=\"x\"\n", 1},
                                 {"PCIe_SW_DEV/WMX_SLOT=\"0-1/x\"\n", 1},
                                 {"nonsense\n" + kSlotLine, 1},
                             });
}

TEST_F(PlatformFileFailures, ALineWithoutAKeyMustBeTheNextSlotName) {
  expect_no_slot_name(*this, {
                                 {kSlotLine + "nonsense\n", 2},
                                 {kSlotLine + kFeatureLine + "nonsense\n" + kSlotLine, 3},
                                 {kSlotLine + "\r\n", 2},
                                 {kSlotLine + kFeatureLine + "\n \r\n", 4},
                                 {kSlotLine + "SLOT_NAME LAN1\n", 2},
                             });
}

TEST_F(PlatformFileFailures, AKeyMustBeWrittenExactlyAndItsValueQuoted) {
  std::vector<std::pair<std::string, int>> cases;
  for (const char* const line :
       {"SLOT_NAME=\"LAN1\n", "SLOT_NAME=LAN1\"\n", "SLOT_NAME =\"LAN1\"\n", "SLOT_NAME= \"LAN1\"\n",
        "slot_name=\"LAN1\"\n", "SLOT_NAME='LAN1'\n", "SLOT_NAME=\"LAN1\" # c\n", "XSLOT_NAME=\"LAN1\"\n"}) {
    cases.emplace_back(line, 1);
  }
  for (const char* const line :
       {"FUNCTION/NAME/FEATURE=\"0/P/POE\n", "FUNCTION/NAME/FEATURE =\"0/P/POE\"\n",
        "FUNCTION/NAME/feature=\"0/P/POE\"\n", "FUNCTION/NAME/FEATURE= \"0/P/POE\"\n",
        "FUNCTION/NAME/BUS_ORDER=\"0/P/L\n", "FUNCTION/NAME/FEATURE=\"0/P/POE\";\n", "CHANGE_NAME=\"x\n",
        "PCIe_SW_DEV/WMX_SLOT=\"0-1/x\n", "PCIE_SW_DEV/WMX_SLOT=\"0-1/x\"\n"}) {
    cases.emplace_back(kSlotLine + line + kSlotLine, 2);
  }
  expect_no_slot_name(*this, cases);
}

TEST_F(PlatformFileFailures, AFeatureValueNeedsThreeFields) {
  for (const char* const value : {"0/P", "0", "", "///", "0//P/", "/0/P"}) {
    expect_failures({{"# c\n" + kSlotLine + "FUNCTION/NAME/FEATURE=\"" + value + "\"\n",
                      "Wrong FUNCTION/NAME/FEATURE=\" format!", 3}});
  }
}

TEST_F(PlatformFileFailures, ABusOrderValueNeedsThreeFields) {
  for (const char* const value : {"0/P", "0", "", "///", "0//P/", "/0/P"}) {
    expect_failures({{kSlotLine + kFeatureLine + "FUNCTION/NAME/BUS_ORDER=\"" + value + "\"\n",
                      "Wrong FUNCTION/NAME/BUS_ORDER=\" format!", 3}});
  }
}

TEST_F(PlatformFileFailures, AnUnknownFeatureWordIsNotSupported) {
  for (const char* const word : {"poe", "N/A", "A_BYPASS-c", "a_bypass", "POE ", "unknown", "A_BYPASS_I2C-C", "0x02"}) {
    expect_failures({{kSlotLine + "FUNCTION/NAME/FEATURE=\"0/P/" + word + "\"\n", "Not supported feature!", 2}});
  }
}

TEST_F(PlatformFileFailures, AWrongLineFailsAlsoForASlotWithoutPorts) {
  DeviceRecord& port = add_device("eth0", "LAN1", 9);
  const std::string path = machine_.user_file("x.cfg", "SLOT_NAME=\"LAN9\"\nFUNCTION/NAME/FEATURE=\"0/P/x\"\n");
  EXPECT_EQ(test::printed_by([&] { EXPECT_EQ(qorx_check_conf_file(path.c_str()) & 0xFF, 0x81); }),
            "Not supported feature! " + path + " line: 2\n");
  EXPECT_STREQ(port.panel_name, "");
}

TEST_F(PlatformFileFailures, ChangesBeforeAnErrorStay) {
  DeviceRecord& port = add_device("eth0", "LAN1", 9);
  const std::string path = machine_.user_file(
      "x.cfg", kSlotLine + kFeatureLine + "FUNCTION/NAME/FEATURE=\"0/Q\"\nFUNCTION/NAME/FEATURE=\"0/R/POE\"\n");
  EXPECT_EQ(test::printed_by([&] { EXPECT_EQ(qorx_check_conf_file(path.c_str()) & 0xFF, 0x81); }),
            "Wrong FUNCTION/NAME/FEATURE=\" format! " + path + " line: 3\n");
  EXPECT_STREQ(port.panel_name, "P");
  EXPECT_EQ(port.feature, 0x01);
}

TEST_F(PlatformFileFailures, NoFileNameIsAnError) {
  int code = 0;
  EXPECT_EQ(test::printed_by([&] { code = qorx_check_conf_file(nullptr); }), "Error: *conf_file is NULL pointer.\n");
  EXPECT_EQ(code & 0xFF, 0x94);
}

TEST_F(PlatformFileFailures, AFileThatCantBeOpenedEndsTheCommand) {
  const ToolRun run = machine_.run({"-a", "-config", "nowhere/qorx.cfg"});
  EXPECT_EQ(run.output, "Error: Open file nowhere/qorx.cfg failed.\n" + kOpenCode);
  EXPECT_EQ(run.status, 0x80);
  int code = 0;
  EXPECT_EQ(test::printed_by([&] { code = qorx_check_conf_file("nowhere/qorx.cfg"); }),
            "Error: Open file nowhere/qorx.cfg failed.\n");
  EXPECT_EQ(code & 0xFF, 0x80);
}

TEST_F(PlatformFileFailures, AnEmptyFileNameCantBeOpened) {
  const ToolRun run = machine_.run({"-a", "-config", ""});
  EXPECT_EQ(run.output, "Error: Open file  failed.\n" + kOpenCode);
  EXPECT_EQ(run.status, 0x80);
}

TEST_F(PlatformFileFailures, ADirectoryCantBeOpened) {
  std::filesystem::create_directory(machine_.work() / "qorx.cfg");
  const ToolRun run = machine_.run({"-a", "-config", "qorx.cfg"});
  EXPECT_EQ(run.output, "Error: Open file qorx.cfg failed.\n" + kOpenCode);
  EXPECT_EQ(run.status, 0x80);
}

TEST_F(PlatformFileFailures, AFileWithoutReadPermissionCantBeOpened) {
  if (geteuid() == 0) {
    GTEST_SKIP() << "root may read every file";
  }
  std::filesystem::permissions(machine_.user_file("qorx.cfg", kSlotLine), std::filesystem::perms::none);
  EXPECT_EQ(machine_.run({"-a", "-config", "qorx.cfg"}).status, 0x80);
}

TEST_F(PlatformFileFailures, AnEndlessDeviceEndsAsAFileWithoutData) {
  const ToolRun run = machine_.run({"-a", "-config", "/dev/zero"});
  EXPECT_TRUE(std::regex_match(run.output, std::regex("Can't find SLOT_NAME! /dev/zero line: [0-9]+\n"
                                                      "Error: QORX_ERR_CONF_FILE_FORMAT \\(0x81\\)\n")))
      << run.output.substr(0, 200);
  EXPECT_EQ(run.status, 0x81);
}

TEST_F(PlatformFileFailures, AnEmptyDeviceIsAFileWithoutData) {
  const ToolRun run = machine_.run({"-a", "-config", "/dev/null"});
  EXPECT_EQ(run.output, "Can't find SLOT_NAME! /dev/null line: 1\n" + kFormatCode);
  EXPECT_EQ(run.status, 0x81);
}

TEST_F(PlatformFileFailures, WithoutErrorMessagesOnlyTheCodeIsReported) {
  const ToolRun format = run_with("nonsense\n", {"-ML", "0"});
  EXPECT_EQ(format.output, kFormatCode);
  EXPECT_EQ(format.status, 0x81);
  const ToolRun open = machine_.run({"-a", "-config", "nowhere", "-ML", "0"});
  EXPECT_EQ(open.output, kOpenCode);
  EXPECT_EQ(open.status, 0x80);
}

TEST_F(PlatformFileFailures, AnotherFeatureIsAWarningAndTheTableShowsTheMark) {
  const std::string text = "SLOT_NAME=\"WMX Slot 1\"\n# c\nFUNCTION/NAME/FEATURE=\"0/MGMT/NCSI\"\n";
  const ToolRun run = run_with(text);
  EXPECT_TRUE(
      run.output.starts_with("CFG file feature (NCSI) is not matched with Vlm default feature. Slot Name "
                             "(WMX Slot 1) CFG file line: 3\n"
                             "If you want to overwrite please add -F command!\neth name"))
      << run.output;
  EXPECT_EQ(run.status, 0);
  const ResultRow row = row_of(run.output, "eth1");
  EXPECT_EQ(row.feature, "A_BYPASS-C(!)");
  EXPECT_EQ(row.panel, "1 (*)");

  const ToolRun forced = run_with(text, {"-F"});
  EXPECT_TRUE(forced.output.starts_with("eth name")) << forced.output;
  EXPECT_EQ(forced.status, 0);
  EXPECT_EQ(row_of(forced.output, "eth1").feature, "NCSI");
  EXPECT_EQ(row_of(forced.output, "eth1").panel, "MGMT");
}

TEST_F(PlatformFileFailures, AFileOfThreeBlocksAmendsTheTable) {
  const ToolRun run = run_with(
      "# front panel of the base board\n"
      "SLOT_NAME=\"LAN1\"\n"
      "FUNCTION/NAME/FEATURE=\"0/MGMT/NCSI/1PPS\"\n"
      "SLOT_NAME=\"WMX Slot 1\"\n"
      "FUNCTION/NAME/FEATURE=\"0/Port 1/A_BYPASS\"\n"
      "FUNCTION/NAME/FEATURE=\"1/Port 2/A_BYPASS\"\n"
      "FUNCTION/NAME/BUS_ORDER=\"0/Port 3/H\"\n");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(row_of(run.output, "eth0").panel, "MGMT");
  EXPECT_EQ(row_of(run.output, "eth0").feature, "NCSI/1PPS");
  EXPECT_EQ(row_of(run.output, "eth1").panel, "Port 1");
  EXPECT_EQ(row_of(run.output, "eth1").feature, "A_BYPASS");
  EXPECT_EQ(row_of(run.output, "eth2").panel, "Port 2");
  EXPECT_EQ(row_of(run.output, "eth2").feature, "A_BYPASS");
}

}  // namespace
}  // namespace qorx
