// Ports and the slot records they match.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "discovery/interface_scan.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

using IdCounts = std::vector<std::pair<std::uint32_t, int>>;

constexpr Ids kModuleBridge{0x10B5, 0x8724, 0x13FE, 0x204A};

IdCounts ids_of(const SlotRecord& slot) {
  IdCounts ids;
  for (std::size_t i = 0; i < slot.device_id_number; ++i) {
    ids.emplace_back(slot.device_id[i], slot.device_id_count[i]);
  }
  return ids;
}

class ScanSlots : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  static void scan() { EXPECT_EQ(get_all_eth_devices_info(), 0); }

  static const DeviceRecord& only_port() {
    scan();
    EXPECT_EQ(qorx_system_environment_info.eth_device_number, 1U);
    return qorx_eth_device_mapping[0];
  }

  FakeMachine machine_;
};

TEST_F(ScanSlots, AMatchedPortTakesOverTheSlotsData) {
  machine_.add_port("eth0", "0000:00:1c.4/0000:03:00.1");
  SlotRecord& slot = add_slot("LAN 1", 41, 0x00, 0x1C, 4);
  slot.smbios_slot_name[0] = 'X';
  const DeviceRecord& port = only_port();
  EXPECT_STREQ(port.slot_name, "LAN 1");
  EXPECT_EQ(port.slot_bus, 0x00);
  EXPECT_EQ(port.slot_dev, 0x1C);
  EXPECT_EQ(port.slot_fun, 4);
  EXPECT_EQ(port.smbios_type, 41);
  EXPECT_EQ(port.bus, 3);
}

TEST_F(ScanSlots, TheOwnAddressComesBeforeAnyBridge) {
  machine_.add_port("eth0", "0000:00:1c.4/0000:03:00.1");
  add_slot("bridge", 9, 0x00, 0x1C, 4);   // the most exact level of the second pass
  add_slot("own bus", 9, 0x03, 0x1F, 7);  // the least exact one of the first
  EXPECT_STREQ(only_port().slot_name, "own bus");
}

TEST_F(ScanSlots, APortBehindASwitchOnACardMatchesThroughABridge) {
  machine_.add_port("eth0", "0000:00:1c.4/0000:03:00.0/0000:05:01.0/0000:07:00.0");
  add_slot("Slot 2", 9, 0x03, 0x00, 0);
  EXPECT_STREQ(only_port().slot_name, "Slot 2");
}

TEST_F(ScanSlots, ARootPortsRecordMatchesAPortOnTheNextBus) {
  machine_.add_port("eth0", "0000:05:00.0");
  add_slot("Slot 3", 9, 0x04, 0x00, 0);
  EXPECT_STREQ(only_port().slot_name, "Slot 3");
}

TEST_F(ScanSlots, WithoutAMatchTheSlotFieldsStayEmpty) {
  machine_.add_port("eth0", "0000:05:00.0");
  const SlotRecord& slot = add_slot("Slot 3", 9, 0x0A, 0x00, 0);
  const DeviceRecord& port = only_port();
  EXPECT_STREQ(port.slot_name, "");
  EXPECT_EQ(port.smbios_type, 0);
  EXPECT_EQ(port.slot_bus, 0);
  EXPECT_EQ(slot.port_count, 0);
  EXPECT_EQ(slot.vendor_id, 0U);
}

TEST_F(ScanSlots, ASlotCountsItsPortsAndTheirDeviceIds) {
  machine_.add_port("eth0", "0000:00:01.0/0000:03:00.0", {0x8086, 0x1521, 0, 0})
      .add_port("eth1", "0000:00:01.0/0000:03:00.1", {0x8086, 0x1521, 0, 0})
      .add_port("eth2", "0000:00:01.0/0000:04:00.0", {0x8086, 0x1521, 0, 0});
  const SlotRecord& slot = add_slot("Slot 1", 9, 0x00, 0x01, 0);
  scan();
  EXPECT_EQ(slot.port_count, 3);
  EXPECT_EQ(slot.vendor_id, 0x8086U);
  EXPECT_EQ(ids_of(slot), (IdCounts{{0x1521, 3}}));
}

TEST_F(ScanSlots, OfAFifthDeviceIdOnlyThePortAndItsVendorAreKept) {
  for (int i = 0; i < 5; ++i) {
    const auto id = static_cast<std::uint16_t>(0x1000 + i);
    machine_.add_port("eth" + std::to_string(i), "0000:03:00." + std::to_string(i), {id, id, 0, 0});
  }
  const SlotRecord& slot = add_slot("Slot 1", 9, 3, 0, 0);
  scan();
  EXPECT_EQ(slot.port_count, 5);
  const IdCounts ids = ids_of(slot);
  ASSERT_EQ(ids.size(), 4U);
  EXPECT_GE(slot.vendor_id, 0x1000U);
  EXPECT_LE(slot.vendor_id, 0x1004U);
  for (const auto& [id, count] : ids) {
    EXPECT_EQ(count, 1);
    EXPECT_NE(id, slot.vendor_id) << "each port's vendor id is its device id here, and the fifth is not listed";
  }
}

TEST_F(ScanSlots, AUsbAdapterGetsNoSlot) {
  machine_.add_usb_port("usb0", "0000:00:14.0/usb2/2-1/2-1:1.0", "bda/8153/3000");
  const SlotRecord& slot = add_slot("Slot 1", 9, 0x00, 0x14, 0);
  const DeviceRecord& port = only_port();
  EXPECT_STREQ(port.usb, "usb");
  EXPECT_STREQ(port.slot_name, "");
  EXPECT_EQ(slot.port_count, 0);
}

TEST_F(ScanSlots, AUsbAdapterOnTheBridgedModuleGetsItsSlot) {
  machine_.add_function("0000:00:1c.0", bridge_config({}))
      .add_function("0000:00:1c.0/0000:03:00.0", bridge_config(kModuleBridge, 0x40))
      .add_usb_port("usb0", "0000:00:1c.0/0000:03:00.0/0000:04:00.0/usb3/3-1/3-1:1.0", "bda/8153/3000");
  add_slot("Slot 1", 9, 0x03, 0x00, 0);
  const DeviceRecord& port = only_port();
  EXPECT_STREQ(port.model, "WMX-LH53");
  EXPECT_STREQ(port.slot_name, "Slot 1");
  EXPECT_EQ(port.feature, QORX_FEATURE_NA);
  EXPECT_STREQ(port.panel_name, "N/A");
}

TEST_F(ScanSlots, TheBridgedModuleIsNotLookedUpByThePortsOwnIds) {
  machine_.add_function("0000:03:00.0", bridge_config(kModuleBridge, 0x40))
      .add_port("eth0", "0000:03:00.0/0000:04:00.0", {0x8086, 0x1521, 0x13FE, 0x002A});
  const DeviceRecord& port = only_port();
  EXPECT_STREQ(port.model, "WMX-LH53");
  EXPECT_EQ(port.feature, QORX_FEATURE_NA);
  EXPECT_EQ(port.bypass_ctrl_flag, 0);
}

TEST_F(ScanSlots, AMatchInTheFirstPassIsTraced) {
  machine_.remove("sys/class/net/lo").add_port("eth0", "0000:0a:1f.1");
  add_slot("Slot 1", 9, 0x0A, 0x1F, 1);
  const std::string trace = traced_by([] { scan(); });
  EXPECT_NE(trace.find("0 3 match str::0a:1f.1\n0 3 match str_path::0a:1f.1\neth0 slot: Slot 1\n"), std::string::npos)
      << trace;
}

TEST_F(ScanSlots, AMatchInTheSecondPassIsTraced) {
  const std::string path = "../../devices/pci0000:00/0000:00:1c.4/0000:03:00.0/0000:05:01.0/0000:07:00.0";
  machine_.remove("sys/class/net/lo").add_port("eth0", "0000:00:1c.4/0000:03:00.0/0000:05:01.0/0000:07:00.0");
  add_slot("Slot 2", 9, 0x06, 0x00, 0);
  const std::string trace = traced_by([] { scan(); });
  EXPECT_NE(trace.find("1 1 match str::07:\n1 1 match str_path:" + path + "\neth0 slot: Slot 2\n"), std::string::npos)
      << trace;
}

TEST_F(ScanSlots, TheSearchedTextIsTracedAsFarAsItIsSearched) {
  const std::string below = "0000:00:01.0/0000:01:00.0/0000:02:09.0/0000:0a:00.0/0000:0b:02.0/0000:0c:00.1";
  machine_.remove("sys/class/net/lo").add_port("eth0", below);
  add_slot("Slot 2", 9, 0x0B, 0x02, 0);
  const std::string trace = traced_by([] { scan(); });
  EXPECT_NE(trace.find("1 6 match str::0b:02.0\n1 6 match str_path:" +
                       ("../../devices/pci0000:00/" + below).substr(0, 100) + "\n"),
            std::string::npos)
      << trace;
}

// The passes of one port as the traces show them: the module check comes before each, the slot after it.
TEST_F(ScanSlots, TheModuleIsCheckedBeforeEachPass) {
  machine_.remove("sys/class/net/lo").add_port("eth0", "0000:05:00.0");
  add_slot("Slot 3", 9, 0x04, 0x00, 0);
  const std::string trace = traced_by([] { scan(); });
  const std::string check = "qorx_check_WMX_LH53 Splitting string";
  const std::size_t first = trace.find(check);
  ASSERT_NE(first, std::string::npos);
  const std::size_t second = trace.find(check, first + 1);
  ASSERT_NE(second, std::string::npos);
  EXPECT_EQ(trace.find(check, second + 1), std::string::npos);
  EXPECT_GT(trace.find(" match str:"), second);
}

TEST_F(ScanSlots, TracingChangesNoResult) {
  for (const bool tracing : {false, true}) {
    reset_library();
    if (!tracing) {
      machine_.add_function("0000:03:00.0", bridge_config(kModuleBridge, 0x40))
          .add_port("eth0", "0000:03:00.0/0000:04:00.0")
          .add_port("eth1", "0000:03:00.0/0000:04:00.1")
          .add_port("eth2", "0000:06:00.0", {0x8086, 0x1521, 0x13FE, 0x002A});
    }
    add_slot("Slot 1", 9, 0x03, 0x00, 0);
    static_cast<void>(tracing ? traced_by([] { scan(); }) : printed_by([] { scan(); }));
    ASSERT_EQ(qorx_system_environment_info.eth_device_number, 3U);
    EXPECT_STREQ(qorx_eth_device_mapping[0].model, "WMX-LH53");
    EXPECT_STREQ(qorx_eth_device_mapping[1].model, "WMX-LH53");
    EXPECT_STREQ(qorx_eth_device_mapping[2].model, "WMX-3529");
    EXPECT_EQ(slot_records()[0].port_count, 2);
  }
}

}  // namespace
}  // namespace qorx::test
