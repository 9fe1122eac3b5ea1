// What can stop the scan: only a host whose I2C adapters can't be listed.
#include <gtest/gtest.h>

#include <string>

#include "base/messages.h"
#include "discovery/interface_scan.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

constexpr Ids kI2cBypass{0x8086, 0x1521, 0x13FE, 0x205D};

class ScanFailure : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  // A machine with one I2C bypass card in a slot of this designation.
  FakeMachine& card_in(const std::string& designation, const std::string& address = "03:00.0") {
    return machine_.add_port("eth0", "0000:" + address, kI2cBypass).smbios(SmbiosTable().slot(designation, address));
  }

  FakeMachine machine_;
};

TEST_F(ScanFailure, MissingI2cAdaptersEndTheRun) {
  const ToolRun run = card_in("Slot 1 (H.1.255.255)").run({"-a"});
  EXPECT_EQ(run.status, 152);
  EXPECT_EQ(run.output,
            "Error: Cannot access /sys/class/i2c-adapter\n"
            "Error: QORX_ERR_OPEN_DIR (0x98)\n");
}

TEST_F(ScanFailure, TheirMessageFollowsTheMessageLevel) {
  const ToolRun run = card_in("Slot 1 (H.1.255.255)").run({"-a", "-ML", "0"});
  EXPECT_EQ(run.status, 152);
  EXPECT_EQ(run.output, "Error: QORX_ERR_OPEN_DIR (0x98)\n");
}

TEST_F(ScanFailure, AFileInPlaceOfTheAdaptersIsTheSame) {
  card_in("Slot 1 (H.1.255.255)").write("sys/class/i2c-adapter", "");
  EXPECT_EQ(machine_.run({"-a"}).status, 152);
}

TEST_F(ScanFailure, WithoutNeedOfThemMissingAdaptersAreFine) {
  for (const char* const designation : {"Slot 1 (B.1.255.255)", "Slot 1", "Slot 1 (X.1.2.3)", "Slot 1 (H.1.9.255)"}) {
    SCOPED_TRACE(designation);
    FakeMachine machine;
    machine.add_port("eth0", "0000:03:00.0", kI2cBypass).smbios(SmbiosTable().slot(designation, "03:00.0"));
    EXPECT_EQ(machine.run({"-a"}).status, 0);
  }
}

TEST_F(ScanFailure, AnOddPortNeverAsksForThem) {
  EXPECT_EQ(card_in("Slot 1 (H.1.255.255)", "03:00.1").run({"-a"}).status, 0);
}

TEST_F(ScanFailure, AnEmptyListOfAdaptersIsFine) {
  card_in("Slot 1 (H.1.255.255)").make_directory("sys/class/i2c-adapter");
  EXPECT_EQ(machine_.run({"-a"}).status, 0);
}

TEST_F(ScanFailure, ThePortThatFailsIsNotCounted) {
  machine_.add_port("eth0", "0000:03:00.0", kI2cBypass);
  add_slot("Slot 1 (H.1.255.255)", 9, 3, 0, 0);
  std::int32_t code = 0;
  EXPECT_EQ(printed_by([&] { code = get_all_eth_devices_info(); }), "Error: Cannot access /sys/class/i2c-adapter\n");
  EXPECT_EQ(code_byte(code), 0x98);
  EXPECT_EQ(qorx_system_environment_info.eth_device_number, 0U);
}

TEST_F(ScanFailure, NothingIsSortedOrNumberedAfterAFailure) {
  // Whichever is listed first: either nothing was counted, or one port of slot 2, which is then not numbered.
  machine_.add_port("eth0", "0000:03:00.0", kI2cBypass)
      .add_port("eth1", "0000:04:00.0", {0x8086, 0x1521, 0x13FE, 0x3031});
  add_slot("Slot 1 (H.1.255.255)", 9, 3, 0, 0);
  add_slot("Slot 2", 9, 4, 0, 0);
  const std::string trace = traced_by([] { EXPECT_EQ(code_byte(get_all_eth_devices_info()), 0x98); });
  EXPECT_LE(qorx_system_environment_info.eth_device_number, 1U);
  // The numbering would be the last trace of all.
  EXPECT_TRUE(trace.ends_with("Error: Cannot access /sys/class/i2c-adapter\n")) << trace;
}

TEST_F(ScanFailure, DescriptorErrorsDoNotStopTheScan) {
  machine_.add_port("eth0", "0000:03:00.0", kI2cBypass)
      .add_port("eth1", "0000:04:00.0", kI2cBypass)
      .add_port("eth2", "0000:05:00.0", kI2cBypass);
  add_slot("Slot 1 (X.1.2.3)", 9, 3, 0, 0);
  add_slot("Slot 2 (B.1.9.255)", 9, 4, 0, 0);
  add_slot("LAN 3 (B.3.255.255.5)", 41, 5, 0, 0);
  std::int32_t code = -1;
  const std::string printed = printed_by([&] { code = get_all_eth_devices_info(); });
  EXPECT_EQ(code, 0);
  EXPECT_EQ(qorx_system_environment_info.eth_device_number, 3U);
  for (const char* const line : {"SMBIOS data wrong format. (H/B area) String: Slot 1 (X.1.2.3)\n",
                                 "SMBIOS data wrong format. (BUS) String: Slot 2 (B.1.9.255)\n",
                                 "SMBIOS data wrong format. (MCU_SEGMENT) String: LAN 3 (B.3.255.255.5)\n"}) {
    EXPECT_NE(printed.find(line), std::string::npos) << printed;
  }
  EXPECT_EQ(qorx_eth_device_mapping[1].bypass_bus, 1);
  EXPECT_EQ(qorx_eth_device_mapping[2].bypass_bus, 3);
}

TEST_F(ScanFailure, TheHostsAdaptersCorrectAWholeRun) {
  machine_.add_port("eth0", "0000:03:00.0", kI2cBypass)
      .add_i2c_adapter(0, "SMBus I801 adapter at efa0")
      .add_i2c_adapter(1, "i2c-0-mux (chan_id 2)");
  add_slot("Slot 1 (H.0.2.255)", 9, 3, 0, 0);
  EXPECT_EQ(get_all_eth_devices_info(), 0);
  EXPECT_EQ(qorx_eth_device_mapping[0].bypass_bus, 1);
  EXPECT_EQ(qorx_eth_device_mapping[0].bypass_switch1, 255);
}

}  // namespace
}  // namespace qorx::test
