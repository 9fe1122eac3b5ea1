// tovix.cfg: its records, and who gets none.
#include <gtest/gtest.h>

#include <string>

#include "base/bounded_text.h"
#include "records/state.h"
#include "tests/output/tovix_fixture.h"

namespace qorx::test {
namespace {

using TovixCfg = TovixFixture;

const std::string kEnd = "TYPE:PCIE\n\n";

TEST_F(TovixCfg, WithoutBypassPortsOnlyTheEndIsWritten) {
  EXPECT_EQ(written(), kEnd);
  add_port("eth0", QORX_FEATURE_NA);
  EXPECT_EQ(written(), kEnd);
}

TEST_F(TovixCfg, AControllingPortHasARecord) {
  DeviceRecord& record = add_port("eth0", QORX_FEATURE_A_BYPASS, 12);
  record.bus = 0x5E;
  record.dev = 0x0A;
  record.fun = 2;
  EXPECT_EQ(written(),
            "eth_name: eth0\n"
            "SEGMENT: 12\n"
            "BUS: 5e\n"
            "DEV: 0a\n"
            "FUN: 2\n"
            "\n"
            "TYPE:PCIE\n"
            "\n");
}

TEST_F(TovixCfg, RecordsFollowTheTable) {
  add_port("eth1", QORX_FEATURE_A_BYPASS, 0);
  add_port("eth0", QORX_FEATURE_A_BYPASS, 254);
  EXPECT_EQ(written(),
            "eth_name: eth1\nSEGMENT: 0\nBUS: 00\nDEV: 00\nFUN: 0\n\n"
            "eth_name: eth0\nSEGMENT: 254\nBUS: 00\nDEV: 00\nFUN: 0\n\n" +
                kEnd);
}

TEST_F(TovixCfg, ThePortWithoutTheControllerHasNone) {
  add_port("eth0", QORX_FEATURE_A_BYPASS, 12).bypass_ctrl_flag = 0;
  add_port("eth1", QORX_FEATURE_A_BYPASS_I2C, 12).bypass_ctrl_flag = 0;
  add_port("eth2", QORX_FEATURE_A_BYPASS, 12).bypass_ctrl_flag = 2;
  EXPECT_EQ(written(), kEnd);
}

TEST_F(TovixCfg, OtherFeaturesHaveNone) {
  for (int feature = 0; feature < 256; ++feature) {
    if (feature != QORX_FEATURE_A_BYPASS && feature != QORX_FEATURE_A_BYPASS_I2C) {
      add_port("eth0", feature, 12);
    }
  }
  EXPECT_EQ(written(), kEnd);
}

TEST_F(TovixCfg, AMismatchMarkKeepsAPortOutAndIsLeftAlone) {
  add_port("eth0", 0x82, 12);
  add_port("eth1", 0xC0, 12);
  EXPECT_EQ(written(), kEnd);
  EXPECT_EQ(qorx_eth_device_mapping[0].feature, 0x82);
}

struct I2cCase {
  char type;
  int smbios_type;
  int fun;
  const char* lines;
};

TEST_F(TovixCfg, AnI2cPortNamesItsController) {
  for (const I2cCase& c :
       {I2cCase{'H', 9, 0, "TYPE: SYS_I2C\nBUS: 3.2.255\nMCU_SEGMENT: 1\n"},
        I2cCase{'B', 9, 1, "TYPE: BMC.0.IPMI\nBUS: 3.2.255\nMCU_SEGMENT: 1\n"},
        I2cCase{'\0', 9, 2, "BUS: 3.2.255\nMCU_SEGMENT: 2\n"},
        I2cCase{'H', 9, 3, "TYPE: SYS_I2C\nBUS: 3.2.255\nMCU_SEGMENT: 2\n"},
        I2cCase{'H', 9, 4, "TYPE: SYS_I2C\nBUS: 3.2.255\n"}, I2cCase{'H', 9, 255, "TYPE: SYS_I2C\nBUS: 3.2.255\n"},
        I2cCase{'h', 9, 0, "BUS: 3.2.255\nMCU_SEGMENT: 1\n"},
        I2cCase{'B', 41, 5, "TYPE: BMC.0.IPMI\nBUS: 3.2.255\nMCU_SEGMENT: 4\n"},
        I2cCase{'B', 0, 0, "TYPE: BMC.0.IPMI\nBUS: 3.2.255\n"}}) {
    SCOPED_TRACE(c.lines);
    clear_tables();
    DeviceRecord& record = add_port("eth0", QORX_FEATURE_A_BYPASS_I2C, 101, c.smbios_type);
    record.fun = static_cast<std::uint8_t>(c.fun);
    record.bypass_type = c.type;
    record.bypass_bus = 3;
    record.bypass_switch1 = 2;
    record.bypass_switch2 = 255;
    record.mcu_segment = 4;
    EXPECT_EQ(written(), "eth_name: eth0\nSEGMENT: 101\n" + std::string(c.lines) + "\n" + kEnd);
  }
}

TEST_F(TovixCfg, AnOlderFileIsReplaced) {
  machine_.user_file("tovix.cfg", std::string(5000, 'x'));
  EXPECT_EQ(written(), kEnd);
}

TEST_F(TovixCfg, AFileThatCantBeCreatedFailsSilently) {
  std::filesystem::create_directory(machine_.work() / "tovix.cfg");
  add_port("eth0", QORX_FEATURE_A_BYPASS, 255);
  EXPECT_EQ(traced_by([] { EXPECT_EQ(qorx_output_tovix_cfg(), QORX_ERR_OPEN_FILE); }), "");
}

TEST_F(TovixCfg, AFileThatCantBeWrittenFailsWithoutAWarning) {
  std::filesystem::create_symlink("/dev/full", machine_.work() / "tovix.cfg");
  add_port("eth0", QORX_FEATURE_A_BYPASS, 255);
  EXPECT_EQ(printed_by([] { EXPECT_EQ(qorx_output_tovix_cfg(), QORX_ERR_CLOSE_FILE); }), "");
  EXPECT_EQ(wrong_seg_flag, 0);
}

TEST_F(TovixCfg, WhenTheLibraryIsNotOpenTheFileIsNotTouchedAndTheFlagIsCleared) {
  machine_.user_file("tovix.cfg", "as it was");
  g_qorx_init = -1;
  wrong_seg_flag = 1;
  EXPECT_EQ(printed_by([] { EXPECT_EQ(qorx_output_tovix_cfg(), 0x95); }),
            "qorx library needs to be initialized before function call.\n");
  EXPECT_EQ(read_file(machine_.work() / "tovix.cfg"), "as it was");
  EXPECT_EQ(wrong_seg_flag, 0);
}

}  // namespace
}  // namespace qorx::test
