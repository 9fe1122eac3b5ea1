// What a platform file can have wrong, and what the command says about it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "records/state.h"
#include "tests/config/platform_text.h"
#include "tests/support/result_rows.h"
#include "tests/support/user_files.h"

namespace qorx::test {
namespace {

const std::string kSlotLine = slot_line("LAN1");
const std::string kFeatureLine = feature_line("0/P/POE");
const std::string kRename = rename_line("x");

constexpr Ids kBypassCard{0x8086, 0x1521, 0x13FE, 0x0035};

// LAN1 is an onboard port; the two ports in WMX Slot 1 have a bypass. J1 leads to a switch whose upstream port is
// 02:00.0; J2 names a root port that the machine does not have.
struct PlatformMachine : UserFileTest {
  PlatformMachine() {
    machine_.smbios(SmbiosTable()
                        .onboard("LAN1", "08:00.0")
                        .slot("WMX Slot 1", "06:00.0")
                        .slot("J1", "00:1c.0")
                        .slot("J2", "00:1e.0"));
    machine_.add_port("eth0", "0000:00:1b.0/0000:08:00.0")
        .add_port("eth1", "0000:00:1d.0/0000:06:00.0", kBypassCard)
        .add_port("eth2", "0000:00:1d.0/0000:06:00.1", kBypassCard)
        .add_port("eth3", "0000:00:1c.0/0000:02:00.0/0000:03:01.0/0000:04:00.0");
  }
};

using PlatformFileErrors = RowTest<WrongFiles, PlatformMachine>;

// Errors of the grammar, which both passes find.
constexpr const char* kNoSlotName = "Can't find SLOT_NAME! F line: #";
using PlatformGrammar = PlatformFileErrors;

TEST_P(PlatformGrammar, IsRefusedByBothPasses) {
  expect_command_refused(kSlotPass, row());
  expect_refused(kSlotPass, row());
  expect_refused(kFeaturePass, row());
}

Files wrong_keys() {
  auto files = variants(1, "",
                        {"SLOT_NAME=\"LAN1", "SLOT_NAME=LAN1\"", "SLOT_NAME =\"LAN1\"", "SLOT_NAME= \"LAN1\"",
                         "slot_name=\"LAN1\"", "SLOT_NAME='LAN1'", "SLOT_NAME=\"LAN1\" # c", "XSLOT_NAME=\"LAN1\""});
  const auto in_block = variants(
      2, kSlotLine,
      {"FUNCTION/NAME/FEATURE=\"0/P/POE", "FUNCTION/NAME/FEATURE =\"0/P/POE\"", "FUNCTION/NAME/feature=\"0/P/POE\"",
       "FUNCTION/NAME/FEATURE= \"0/P/POE\"", "FUNCTION/NAME/BUS_ORDER=\"0/P/L", "FUNCTION/NAME/FEATURE=\"0/P/POE\";",
       "CHANGE_NAME=\"x", "PCIe_SW_DEV/WMX_SLOT=\"0-1/x", "PCIE_SW_DEV/WMX_SLOT=\"0-1/x\""},
      "\n" + kSlotLine);
  files.insert(files.end(), in_block.begin(), in_block.end());
  return files;
}

// A comment that fills its line to this number of bytes, with its line feed.
std::string comment(std::size_t bytes) {
  return "#" + std::string(bytes - 2, 'x') + "\n";
}

// A feature line of `length` bytes without its line feed, filled by its panel name.
std::string filled_feature_line(std::size_t length) {
  return feature_line("0/" + std::string(length + 1 - feature_line("0//POE").size(), 'p') + "/POE");
}

QORX_ROWS(PlatformGrammar,
          {"a file without data fails at the last line read", kNoSlotName,
           Files{{"", 1}, {"\n", 2}, {"# only", 1}, {"# one\n# two\n", 3}, {"# one\n# two", 2}, {"\r\n \t\n\n", 4}}},
          {"an unterminated first data line fails", kNoSlotName,
           Files{{"SLOT_NAME=\"LAN1\"", 1}, {"# c\n\nSLOT_NAME=\"LAN1\"", 3}, {"nonsense", 1}}},
          {"the first data line must be a slot name", kNoSlotName,
           Files{{kFeatureLine + kSlotLine, 1},
                 {"# c\n" + order_line("0/P/L") + kSlotLine, 2},
                 {kRename, 1},
                 {switch_line("0-1/x"), 1},
                 {"nonsense\n" + kSlotLine, 1}}},
          {"a line without a key must be the next slot name", kNoSlotName,
           Files{{kSlotLine + "nonsense\n", 2},
                 {kSlotLine + kFeatureLine + "nonsense\n" + kSlotLine, 3},
                 {kSlotLine + "\r\n", 2},
                 {kSlotLine + kFeatureLine + "\n \r\n", 4},
                 {kSlotLine + "SLOT_NAME LAN1\n", 2}}},
          {"a key must be written exactly and its value quoted", kNoSlotName, wrong_keys()},
          {"a blank line with carriage return is no blank line within a block", kNoSlotName,
           at_line(2, kSlotLine + "\r\n" + kFeatureLine)},
          // "bad" is then line 3.
          {"a line of 1023 bytes is one line", kNoSlotName, at_line(3, comment(1023) + kSlotLine + "bad\n")},
          {"a line of 1024 bytes counts twice and its line feed is a blank line", kNoSlotName,
           Files{{comment(1024) + kSlotLine + "bad\n", 4}, {kSlotLine + comment(1024) + kFeatureLine + "bad\n", 5}}},
          {"the pieces of a line of 3000 bytes are lines of their own", kNoSlotName,
           Files{{comment(3000) + kSlotLine, 2},
                 {kSlotLine + kFeatureLine + comment(3000), 4},
                 // Every piece of this one is a comment.
                 {std::string(2999, '#') + "\n" + kSlotLine + "bad\n", 5}}},
          {"a key line longer than the buffer has no closing quote", kNoSlotName,
           Files{{kSlotLine + filled_feature_line(1024), 2},
                 {kSlotLine + filled_feature_line(2999), 2},
                 {"SLOT_NAME=\"" + std::string(2000, 's') + "\"\n", 1}}});

using PlatformFeatureValues = PlatformFileErrors;

TEST_P(PlatformFeatureValues, AreRefusedByTheSecondPass) {
  expect_command_refused(kFeaturePass, row());
  expect_refused(kFeaturePass, row());
  EXPECT_EQ(read(kSlotPass, row().files[0].text), Outcome{});
}

const Texts kTooFewFields{"0/P", "0", "", "///", "0//P/", "/0/P"};

QORX_ROWS(PlatformFeatureValues,
          {"a feature value needs three fields", "Wrong FUNCTION/NAME/FEATURE=\" format! F line: #",
           variants(3, "# c\n" + kSlotLine + "FUNCTION/NAME/FEATURE=\"", kTooFewFields, "\"\n")},
          {"a bus order value needs three fields", "Wrong FUNCTION/NAME/BUS_ORDER=\" format! F line: #",
           variants(3, kSlotLine + kFeatureLine + "FUNCTION/NAME/BUS_ORDER=\"", kTooFewFields, "\"\n")},
          {"an unknown feature word is not supported", "Not supported feature! F line: #",
           variants(2, kSlotLine + "FUNCTION/NAME/FEATURE=\"0/P/",
                    {"poe", "N/A", "A_BYPASS-c", "a_bypass", "POE ", "unknown", "A_BYPASS_I2C-C", "0x02"}, "\"\n")},
          {"a wrong line fails also for a slot without ports", "Not supported feature! F line: #",
           at_line(2, slot_line("J2") + feature_line("0/P/x"))});

constexpr const char* kNoSuchSlot = "Can't find SLOT_NAME in SMBIOS type9/41 record! F line: #";
constexpr const char* kWrongSwitchLine = "Wrong PCIe_SW_DEV/WMX_SLOT=\" format! F line: #";
constexpr const char* kNoSwitch =
    "Can't find PCIe switch, please check the config file!\nWrong PCIe_SW_DEV/WMX_SLOT=\" format! F line: #";

using PlatformSlotLines = PlatformFileErrors;

TEST_P(PlatformSlotLines, AreRefusedByTheFirstPass) {
  expect_command_refused(kSlotPass, row());
  expect_refused(kSlotPass, row());
  EXPECT_EQ(read(kFeaturePass, row().files[0].text), Outcome{});
}

QORX_ROWS(PlatformSlotLines,
          {"every block must name a slot of the firmware", kNoSuchSlot,
           Files{{slot_line("J9") + kRename, 1},
                 {slot_line("J9") + kFeatureLine + order_line("0/P/L"), 1},
                 {"# c\n" + slot_line("J1") + kFeatureLine + "\n" + slot_line("j1"), 5},
                 {slot_line("J1 "), 1},
                 {slot_line(""), 1}}},
          {"a retired slot can't be named again", kNoSuchSlot,
           at_line(4, slot_line("J1") + switch_line("1-1/S") + slot_line("S") + slot_line("J1"))},
          {"a switch that does not exist ends the command", kNoSwitch,
           at_line(3, slot_line("J2") + "# c\n" + switch_line("1-1/S"))},
          {"a switch value needs a range and a name", kWrongSwitchLine,
           variants(3, slot_line("J1") + "\nPCIe_SW_DEV/WMX_SLOT=\"",
                    {"", "/", "-", "1", "1-2", "1-2/", "3/S", "3-/S", "-3/S", "/3/S", "--/S", "-/S", "/S", "S",
                     "1/2-3"},
                    "\"\n")},
          {"a later switch line of a block is checked the same", kWrongSwitchLine,
           at_line(3, slot_line("J1") + switch_line("1-1/S") + switch_line("3/S"))});

using PlatformFileFailures = PlatformMachine;

TEST_F(PlatformFileFailures, FeaturesBeforeAnErrorStay) {
  const DeviceRecord& port = add_device("eth0", "LAN1", 9);
  EXPECT_EQ(read(kFeaturePass, kSlotLine + kFeatureLine + feature_line("0/Q") + feature_line("0/R/POE")),
            (Outcome{"Wrong FUNCTION/NAME/FEATURE=\" format! F line: 3\n", 0x81}));
  expect_port(port, {.panel_name = "P", .feature = 0x01});
}

TEST_F(PlatformFileFailures, NamesAndRetiredSlotsBeforeAnErrorStay) {
  const SlotRecord& retired = add_slot("J1", 9, 0, 0x1C, 0);
  const SlotRecord& renamed = add_slot("J3");
  EXPECT_EQ(read(kSlotPass, slot_line("J3") + rename_line("new") + slot_line("J1") + switch_line("3/S")),
            (Outcome{"Wrong PCIe_SW_DEV/WMX_SLOT=\" format! F line: 4\n", 0x81}));
  expect_slot(renamed, {.slot_name = "new"});
  expect_slot(retired, {.bus = 0xFF, .slot_name = ""});
}

TEST_F(PlatformFileFailures, ASwitchThatDoesNotExistLeavesItsSlot) {
  const SlotRecord& slot = add_slot("J2", 9, 0, 0x1E, 0);
  EXPECT_EQ(read(kSlotPass, slot_line("J2") + switch_line("1-1/S")).code, 0x81);
  expect_slot(slot, {.dev = 0x1E, .slot_name = "J2"});
  EXPECT_EQ(slot_records().size(), 1U);
}

TEST_F(PlatformFileFailures, WithoutSlotRecordsNoBlockIsValid) {
  const ToolRun run = run_on(kSlotPass, kSlotLine, {"-vm"});
  EXPECT_EQ(run, said("Can't find SLOT_NAME in SMBIOS type9/41 record! F line: 1\n" + std::string(kFormatCode), 0x81));
}

TEST_F(PlatformFileFailures, AnErrorOfTheFirstPassComesBeforeTheInterfacesAreScanned) {
  const auto scans = [](const ToolRun& run) {
    return run.output.find("Get all eth device under /sys/class/net") != std::string::npos;
  };
  const ToolRun wrong = run_on(kSlotPass, slot_line("J9"), {"-ML", "2"});
  EXPECT_EQ(wrong.status, 0x81);
  EXPECT_FALSE(scans(wrong));
  EXPECT_TRUE(scans(run_on(kSlotPass, kSlotLine, {"-ML", "2"})));
}

TEST_F(PlatformFileFailures, AnotherFeatureIsAWarningAndTheTableShowsTheMark) {
  const std::string text = slot_line("WMX Slot 1") + "# c\n" + feature_line("0/MGMT/NCSI");
  const ToolRun run = run_on(kFeaturePass, text);
  EXPECT_TRUE(
      run.output.starts_with("CFG file feature (NCSI) is not matched with Vlm default feature. Slot Name "
                             "(WMX Slot 1) CFG file line: 3\n"
                             "If you want to overwrite please add -F command!\neth name"))
      << run.output;
  EXPECT_EQ(row_of(run.output, "eth1"), "WMX Slot 1 | 1 (*) | A_BYPASS-C(!) | WMX-2848");
  EXPECT_EQ(run.status, 0);
  const ToolRun forced = run_on(kFeaturePass, text, {"-F"});
  EXPECT_TRUE(forced.output.starts_with("eth name")) << forced.output;
  EXPECT_EQ(row_of(forced.output, "eth1"), "WMX Slot 1 | MGMT | NCSI | WMX-2848");
  EXPECT_EQ(forced.status, 0);
}

TEST_F(PlatformFileFailures, AFileOfThreeBlocksAmendsTheTable) {
  const ToolRun run =
      run_on(kFeaturePass, "# front panel of the base board\n" + slot_line("LAN1") + feature_line("0/MGMT/NCSI/1PPS") +
                               slot_line("WMX Slot 1") + feature_line("0/Port 1/A_BYPASS") +
                               feature_line("1/Port 2/A_BYPASS") + order_line("0/Port 3/H"));
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(row_of(run.output, "eth0"), "LAN1 | MGMT | NCSI/1PPS | Onboard");
  EXPECT_EQ(row_of(run.output, "eth1"), "WMX Slot 1 | Port 1 | A_BYPASS | WMX-2848");
  EXPECT_EQ(row_of(run.output, "eth2"), "WMX Slot 1 | Port 2 | A_BYPASS | WMX-2848");
}

}  // namespace
}  // namespace qorx::test
