// tovix.cfg for ports without a segment number: the warning, and forced numbers.
#include <gtest/gtest.h>

#include <string>

#include "tests/output/tovix_fixture.h"
#include "tests/support/expected_table.h"

namespace qorx::test {
namespace {

using TovixSegments = TovixFixture;

const std::string kEnd = "TYPE:PCIE\n\n";
const std::string kWarning =
    "Warning! These segments can't be assigned seg number automatically!\n"
    "Please add these segments into tovix.cfg manually!\n"
    "Or you can add -tovix.cfg -F command, and this command will assign those segments from segment number 200!\n";

std::string record(std::string_view name, int segment) {
  return "eth_name: " + std::string(name) + "\nSEGMENT: " + std::to_string(segment) + "\nBUS: 00\nDEV: 00\nFUN: 0\n\n";
}

std::string row(std::string_view name, std::string_view feature, std::string_view seg) {
  return table_line({.eth_name = name,
                     .address = "00:00.0",
                     .ids = "0000 0000",
                     .subsystem_ids = "0000 0000",
                     .slot = "S",
                     .panel = "",
                     .feature = feature,
                     .seg = seg,
                     .model = ""});
}

TEST_F(TovixSegments, APortWithoutANumberIsWarnedAboutWithTheTableOfSuchPorts) {
  machine_.add_virtual("br0", "02:00:00:00:00:99");
  add_port("eth0", QORX_FEATURE_A_BYPASS, 4);
  add_port("eth1", QORX_FEATURE_A_BYPASS);
  add_port("eth2", QORX_FEATURE_A_BYPASS).bypass_ctrl_flag = 0;
  add_port("eth3", QORX_FEATURE_L_BYPASS);
  add_port("eth4", QORX_FEATURE_A_BYPASS_I2C);
  add_port("eth5", QORX_FEATURE_NA);
  EXPECT_EQ(printed(), kWarning + table_of(row("eth1", "A_BYPASS-C", "(?)") + row("eth2", "A_BYPASS", "(?)") +
                                           table_line({.eth_name = "br0", .mac = "02:00:00:00:00:99"})));
  EXPECT_EQ(file(), record("eth0", 4) + kEnd);
}

TEST_F(TovixSegments, TheWarningPrintsAtLevelZeroToo) {
  add_port("eth0", QORX_FEATURE_A_BYPASS);
  qorx_set_message_level(0);
  EXPECT_EQ(printed(), kWarning + table_of(row("eth0", "A_BYPASS-C", "(?)")));
}

TEST_F(TovixSegments, TheFlagIsGoneAfterwardsAndTheNextTableIsWhole) {
  add_port("eth0", QORX_FEATURE_A_BYPASS);
  add_port("eth1", QORX_FEATURE_NA, 0);
  printed();
  EXPECT_EQ(wrong_seg_flag, 0);
  EXPECT_EQ(printed_by([] { qorx_print_scan_result(nullptr, nullptr, nullptr); }),
            table_of(row("eth0", "A_BYPASS-C", "(?)") + row("eth1", "N/A", "N/A")));
}

TEST_F(TovixSegments, AnI2cPortWithoutANumberIsLeftOutSilently) {
  add_port("eth0", QORX_FEATURE_A_BYPASS_I2C);
  EXPECT_EQ(written(), kEnd);
}

TEST_F(TovixSegments, ForcedNumbersCountFrom200OverBothKinds) {
  g_force_flag = 1;
  add_port("eth0", QORX_FEATURE_A_BYPASS);
  add_port("eth1", QORX_FEATURE_A_BYPASS, 4);
  add_port("eth2", QORX_FEATURE_A_BYPASS_I2C).bypass_type = 'H';
  add_port("eth3", QORX_FEATURE_A_BYPASS).bypass_ctrl_flag = 0;
  add_port("eth4", QORX_FEATURE_L_BYPASS);
  add_port("eth5", QORX_FEATURE_A_BYPASS);
  EXPECT_EQ(written(), record("eth0", 200) + record("eth1", 4) +
                           "eth_name: eth2\nSEGMENT: 201\nTYPE: SYS_I2C\nBUS: 0.0.0\nMCU_SEGMENT: 1\n\n" +
                           record("eth5", 202) + kEnd);
}

TEST_F(TovixSegments, ForcedNumbersStayInTheTable) {
  g_force_flag = 1;
  add_port("eth0", QORX_FEATURE_A_BYPASS);
  printed();
  EXPECT_EQ(printed_by([] { qorx_print_scan_result(nullptr, nullptr, nullptr); }),
            table_of(row("eth0", "A_BYPASS-C", "200")));
}

TEST_F(TovixSegments, OnlyTheValueOneForces) {
  g_force_flag = 2;
  add_port("eth0", QORX_FEATURE_A_BYPASS);
  EXPECT_EQ(printed(), kWarning + table_of(row("eth0", "A_BYPASS-C", "(?)")));
}

std::string name_of(int number) {
  return "eth" + std::to_string(number);
}

// Numbers 200 to 254 are 55; the next would be 255, which means none.
TEST_F(TovixSegments, The56thForcedNumberCantBeWritten) {
  g_force_flag = 1;
  std::string records;
  for (int i = 0; i < 56; ++i) {
    add_port(name_of(i), QORX_FEATURE_A_BYPASS);
    records += i < 55 ? record(name_of(i), 200 + i) : "";
  }
  EXPECT_EQ(printed(), kWarning + table_of(row("eth55", "A_BYPASS-C", "(?)")));
  EXPECT_EQ(file(), records + kEnd);
}

TEST_F(TovixSegments, The56thForcedNumberOfAnI2cPortIsLeftOutSilently) {
  g_force_flag = 1;
  for (int i = 0; i < 55; ++i) {
    add_port(name_of(i), QORX_FEATURE_A_BYPASS);
  }
  add_port("eth55", QORX_FEATURE_A_BYPASS_I2C);
  const std::string content = written();
  EXPECT_TRUE(content.ends_with(record("eth54", 254) + kEnd));
  EXPECT_EQ(content.find("eth55"), std::string::npos);
}

// The counter is no byte, the field is: behind 255 come 0, 1, ...
TEST_F(TovixSegments, BehindThe56thForcedNumbersWrap) {
  g_force_flag = 1;
  for (int i = 0; i < 58; ++i) {
    add_port(name_of(i), QORX_FEATURE_A_BYPASS);
  }
  EXPECT_EQ(printed(), kWarning + table_of(row("eth55", "A_BYPASS-C", "(?)")));
  EXPECT_TRUE(file().ends_with(record("eth54", 254) + record("eth56", 0) + record("eth57", 1) + kEnd));
}

TEST_F(TovixSegments, EveryRunForcesFrom200) {
  g_force_flag = 1;
  DeviceRecord& port = add_port("eth0", QORX_FEATURE_A_BYPASS);
  EXPECT_EQ(written(), record("eth0", 200) + kEnd);
  port.seg = 255;
  EXPECT_EQ(written(), record("eth0", 200) + kEnd);
}

}  // namespace
}  // namespace qorx::test
