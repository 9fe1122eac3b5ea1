// A descriptor of the host's own I2C bus is corrected by the adapters that the running kernel has.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "base/messages.h"
#include "discovery/bypass_descriptor.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

class HostBus : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  DeviceRecord& parse(const char* slot_name, int smbios_type = 9) {
    DeviceRecord& record = add_device("eth0", slot_name, smbios_type);
    code_ = parse_bypass_descriptor(record);
    return record;
  }

  void expect_path(const char* slot_name, int bus, int switch1, int switch2) {
    SCOPED_TRACE(slot_name);
    const DeviceRecord& record = parse(slot_name);
    EXPECT_EQ(code_, 0);
    EXPECT_EQ(record.bypass_type, 'H');
    EXPECT_EQ(record.bypass_bus, bus);
    EXPECT_EQ(record.bypass_switch1, switch1);
    EXPECT_EQ(record.bypass_switch2, switch2);
    EXPECT_EQ(record.bypass_ctrl_flag, 1);
  }

  // The traces of the descriptor parser itself, without those of the adapter searches.
  std::string own_traces(const char* slot_name, int smbios_type = 9) {
    std::string kept;
    std::istringstream lines(traced_by([&] { parse(slot_name, smbios_type); }));
    for (std::string line; std::getline(lines, line);) {
      const bool of_search = line.starts_with("/sys/class/i2c-adapter/") || line.starts_with("Root bus: ") ||
                             line.starts_with("Found I2C mux port: ") || line.starts_with("I2C mux port number: ");
      kept += of_search ? "" : line + "\n";
    }
    return kept;
  }

  FakeMachine machine_;
  std::int32_t code_ = 0;
};

TEST_F(HostBus, TheHostAdapterReplacesTheFirmwaresBus) {
  machine_.add_i2c_adapter(0, "Radeon i2c bit bus MONID").add_i2c_adapter(4, "SMBus I801 adapter at 0540");
  expect_path("(H.1.255.255)", 4, 255, 255);
  EXPECT_EQ(g_x86_i2c_root_port_number, 4);
}

TEST_F(HostBus, TheAtomAdapterIsTakenWhereThereIsNoPchAdapter) {
  machine_.add_i2c_adapter(6, "Synopsys DesignWare I2C adapter");
  expect_path("(H.1.255.255)", 6, 255, 255);
}

TEST_F(HostBus, ThePchAdapterComesFirst) {
  machine_.add_i2c_adapter(0, "Synopsys DesignWare I2C adapter")
      .add_i2c_adapter(1, "SMBus I801 adapter at 0000:00:1f.4")
      .add_i2c_adapter(2, "Synopsys DesignWare I2C adapter");
  expect_path("(H.7.255.255)", 1, 255, 255);
}

TEST_F(HostBus, WithoutAHostAdapterTheFirmwaresBusStays) {
  machine_.add_i2c_adapter(0, "SMBus PIIX4 adapter at 4100");
  expect_path("(H.7.255.255)", 7, 255, 255);
  EXPECT_EQ(g_x86_i2c_root_port_number, 255);
}

TEST_F(HostBus, AnAdapterOfNumber255CountsAsNone) {
  machine_.add_i2c_adapter(255, "SMBus I801 adapter at efa0").add_i2c_adapter(3, "Synopsys DesignWare I2C adapter");
  expect_path("(H.7.255.255)", 3, 255, 255);
}

TEST_F(HostBus, AnAdapterNumberIsCutToAByteWhereItIsStored) {
  machine_.add_i2c_adapter(300, "SMBus I801 adapter at efa0");
  EXPECT_EQ(own_traces("(H.44.255.255)"),
            "x86 I2C root port number (300) is different than BIOS assigned value (44).\n"
            "Use x86 I2C root port number: 300\n"
            "Advanced LAN Bypass setting: TYPE: H, BUS: 44.255.255, MCU_SEGMENT: 0, smbios type: 9\n");
}

TEST_F(HostBus, TheHostAdapterIsSearchedForOnce) {
  machine_.add_i2c_adapter(4, "SMBus I801 adapter at efa0");
  expect_path("(H.1.255.255)", 4, 255, 255);
  machine_.remove("sys/class/i2c-adapter");
  expect_path("(H.2.255.255)", 4, 255, 255);
}

TEST_F(HostBus, AFailedSearchIsNotRepeatedForTheNextPort) {
  machine_.make_directory("sys/class/i2c-adapter");
  expect_path("(H.1.255.255)", 1, 255, 255);
  machine_.add_i2c_adapter(4, "SMBus I801 adapter at efa0");
  expect_path("(H.2.255.255)", 2, 255, 255);
}

TEST_F(HostBus, AChannelThatTheKernelDrivesReplacesBusAndSwitch) {
  machine_.add_i2c_adapter(0, "SMBus I801 adapter at efa0").add_i2c_adapter(1, "i2c-0-mux (chan_id 2)");
  expect_path("(H.0.2.255)", 1, 255, 255);
  expect_path("(H.0.3.255)", 0, 3, 255);
}

TEST_F(HostBus, TheFirstSwitchSitsOnTheCorrectedBus) {
  machine_.add_i2c_adapter(5, "SMBus I801 adapter at efa0")
      .add_i2c_adapter(20, "i2c-1-mux (chan_id 2)")
      .add_i2c_adapter(21, "i2c-5-mux (chan_id 2)");
  expect_path("(H.1.2.255)", 21, 255, 255);
}

TEST_F(HostBus, TheSecondSwitchSitsOnTheFirstOnesChannel) {
  machine_.add_i2c_adapter(7, "SMBus I801 adapter at efa0")
      .add_i2c_adapter(73, "i2c-7-mux (chan_id 1)")
      .add_i2c_adapter(80, "i2c-73-mux (chan_id 2)");
  expect_path("(H.0.1.2)", 80, 255, 255);
  expect_path("(H.0.1.3)", 73, 255, 3);
}

TEST_F(HostBus, WithoutAFirstSwitchTheSecondSitsOnTheBus) {
  machine_.add_i2c_adapter(7, "SMBus I801 adapter at efa0").add_i2c_adapter(9, "i2c-7-mux (chan_id 4)");
  expect_path("(H.0.255.4)", 9, 255, 255);
}

// With the first switch still on the way its port number stands where an adapter number is expected.
TEST_F(HostBus, BehindAFirstSwitchWithoutADriverItsPortIsTakenForTheParent) {
  machine_.add_i2c_adapter(7, "SMBus I801 adapter at efa0")
      .add_i2c_adapter(9, "i2c-7-mux (chan_id 4)")
      .add_i2c_adapter(11, "i2c-3-mux (chan_id 4)");
  expect_path("(H.0.3.4)", 11, 3, 255);
}

TEST_F(HostBus, AChannelOfNumber255CountsAsNone) {
  machine_.add_i2c_adapter(0, "SMBus I801 adapter at efa0").add_i2c_adapter(255, "i2c-0-mux (chan_id 2)");
  expect_path("(H.0.2.255)", 0, 2, 255);
}

TEST_F(HostBus, ChannelsAreLookedForEvenWithoutAHostAdapter) {
  machine_.add_i2c_adapter(12, "i2c-7-mux (chan_id 0)");
  expect_path("(H.7.0.255)", 12, 255, 255);
}

TEST_F(HostBus, MissingAdaptersFailTheFirstSearchOnly) {
  std::string printed = printed_by([&] { parse("(H.1.0.255)"); });
  EXPECT_EQ(code_byte(code_), 0x98);
  EXPECT_EQ(printed, "Error: Cannot access /sys/class/i2c-adapter\n");
  EXPECT_EQ(qorx_eth_device_mapping[0].bypass_ctrl_flag, 1);
  EXPECT_EQ(g_x86_i2c_root_port_number, 255);
  // The codes of the channel searches are of no account.
  printed = printed_by([&] { parse("(H.1.0.0)"); });
  EXPECT_EQ(code_, 0);
  EXPECT_EQ(printed, "Error: Cannot access /sys/class/i2c-adapter\nError: Cannot access /sys/class/i2c-adapter\n");
  EXPECT_EQ(qorx_eth_device_mapping[1].bypass_bus, 1);
  EXPECT_EQ(qorx_eth_device_mapping[1].bypass_switch1, 0);
  EXPECT_EQ(qorx_eth_device_mapping[1].bypass_switch2, 0);
}

TEST_F(HostBus, TracesSayWhereTheHostDiffersFromTheFirmware) {
  machine_.add_i2c_adapter(4, "SMBus I801 adapter at efa0");
  EXPECT_EQ(own_traces("(H.1.255.255)"),
            "x86 I2C root port number (4) is different than BIOS assigned value (1).\n"
            "Use x86 I2C root port number: 4\n"
            "Advanced LAN Bypass setting: TYPE: H, BUS: 4.255.255, MCU_SEGMENT: 0, smbios type: 9\n");
  EXPECT_EQ(own_traces("(H.1.255.255.2)", 41),
            "Advanced LAN Bypass setting: TYPE: H, BUS: 4.255.255, MCU_SEGMENT: 2, smbios type: 41\n");
}

TEST_F(HostBus, TracesAreSilentWhereTheHostAgrees) {
  machine_.add_i2c_adapter(4, "SMBus I801 adapter at efa0");
  EXPECT_EQ(own_traces("(H.4.255.255)"),
            "Advanced LAN Bypass setting: TYPE: H, BUS: 4.255.255, MCU_SEGMENT: 0, smbios type: 9\n");
}

TEST_F(HostBus, TracesSayThatNoHostAdapterWasFound) {
  machine_.make_directory("sys/class/i2c-adapter");
  EXPECT_EQ(own_traces("(H.7.255.255)"),
            "No x86 I2C root port match exist pattern. Use BIOS assigned root port number (7).\n"
            "Advanced LAN Bypass setting: TYPE: H, BUS: 7.255.255, MCU_SEGMENT: 0, smbios type: 9\n");
}

TEST_F(HostBus, TracesNameTheChannelsThatReplaceASwitch) {
  machine_.add_i2c_adapter(0, "SMBus I801 adapter at efa0")
      .add_i2c_adapter(1, "i2c-0-mux (chan_id 2)")
      .add_i2c_adapter(300, "i2c-1-mux (chan_id 5)");
  EXPECT_EQ(own_traces("(H.0.2.5)"),
            "[eth0] I2C switch driver for switch 1 detected. Overwrite root port. (1)\n"
            "[eth0] I2C switch driver for switch 2 detected. Overwrite root port. (300)\n"
            "Advanced LAN Bypass setting: TYPE: H, BUS: 44.255.255, MCU_SEGMENT: 0, smbios type: 9\n");
}

TEST_F(HostBus, TracesOfTheSearchesStandWhereTheyHappen) {
  machine_.add_i2c_adapter(0, "SMBus I801 adapter at efa0");
  EXPECT_EQ(traced_by([&] { parse("(H.0.2.5)"); }),
            "/sys/class/i2c-adapter/i2c-0/name, i2c-0\n"
            "Root bus: i2c-0, founded.\n"
            "Found I2C mux port: i2c-0-mux (chan_id 2)\n"
            "/sys/class/i2c-adapter/i2c-0/name, i2c-0\n"
            "I2C mux port number: 255\n"
            "Found I2C mux port: i2c-2-mux (chan_id 5)\n"
            "/sys/class/i2c-adapter/i2c-0/name, i2c-0\n"
            "I2C mux port number: 255\n"
            "Advanced LAN Bypass setting: TYPE: H, BUS: 0.2.5, MCU_SEGMENT: 0, smbios type: 9\n");
}

}  // namespace
}  // namespace qorx::test
