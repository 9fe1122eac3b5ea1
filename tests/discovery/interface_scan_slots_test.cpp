// Ports and the slot records they match.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "discovery/interface_scan.h"
#include "tests/support/expect.h"
#include "tests/support/fixture.h"
#include "tests/support/pattern.h"

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

class ScanSlots : public MachineTest {
 protected:
  static void scan() { EXPECT_EQ(get_all_eth_devices_info(), 0); }

  static const DeviceRecord& only_port() {
    scan();
    EXPECT_EQ(qorx_system_environment_info.eth_device_number, 1U);
    return qorx_eth_device_mapping[0];
  }

  // Part of the traces of a scan whose only interface is eth0 at this path.
  void expect_traced(const std::string& path, const std::string& part) {
    machine_.remove("sys/class/net/lo").add_port("eth0", path);
    const std::string trace = traced_by([] { scan(); });
    EXPECT_NE(trace.find(part), std::string::npos) << trace;
  }
};

TEST_F(ScanSlots, AMatchedPortTakesOverTheSlotsData) {
  machine_.add_port("eth0", "0000:00:1c.4/0000:03:00.1");
  add_slot("LAN 1", 41, 0x00, 0x1C, 4).smbios_slot_name[0] = 'X';
  expect_port(only_port(),
              {.bus = 3, .slot_name = "LAN 1", .slot_bus = 0x00, .slot_dev = 0x1C, .slot_fun = 4, .smbios_type = 41});
}

TEST_F(ScanSlots, TheOwnAddressComesBeforeAnyBridge) {
  machine_.add_port("eth0", "0000:00:1c.4/0000:03:00.1");
  add_slot("bridge", 9, 0x00, 0x1C, 4);   // the most exact level of the second pass
  add_slot("own bus", 9, 0x03, 0x1F, 7);  // the least exact one of the first
  expect_port(only_port(), {.slot_name = "own bus"});
}

TEST_F(ScanSlots, APortBehindASwitchOnACardMatchesThroughABridge) {
  machine_.add_port("eth0", "0000:00:1c.4/0000:03:00.0/0000:05:01.0/0000:07:00.0");
  add_slot("Slot 2", 9, 0x03, 0x00, 0);
  expect_port(only_port(), {.slot_name = "Slot 2"});
}

TEST_F(ScanSlots, ARootPortsRecordMatchesAPortOnTheNextBus) {
  machine_.add_port("eth0", "0000:05:00.0");
  add_slot("Slot 3", 9, 0x04, 0x00, 0);
  expect_port(only_port(), {.slot_name = "Slot 3"});
}

TEST_F(ScanSlots, WithoutAMatchTheSlotFieldsStayEmpty) {
  machine_.add_port("eth0", "0000:05:00.0");
  const SlotRecord& slot = add_slot("Slot 3", 9, 0x0A, 0x00, 0);
  expect_port(only_port(), {.slot_name = "", .slot_bus = 0, .smbios_type = 0});
  expect_slot(slot, {.port_count = 0, .vendor_id = 0});
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
  expect_port(only_port(), {.slot_name = "", .usb = "usb"});
  expect_slot(slot, {.port_count = 0});
}

TEST_F(ScanSlots, AUsbAdapterOnTheBridgedModuleGetsItsSlot) {
  machine_.add_function("0000:00:1c.0", bridge_config({}))
      .add_function("0000:00:1c.0/0000:03:00.0", bridge_config(kModuleBridge, 0x40))
      .add_usb_port("usb0", "0000:00:1c.0/0000:03:00.0/0000:04:00.0/usb3/3-1/3-1:1.0", "bda/8153/3000");
  add_slot("Slot 1", 9, 0x03, 0x00, 0);
  expect_port(only_port(), {.slot_name = "Slot 1", .panel_name = "N/A", .model = "WMX-LH53", .feature = 8});
}

TEST_F(ScanSlots, TheBridgedModuleIsNotLookedUpByThePortsOwnIds) {
  machine_.add_function("0000:03:00.0", bridge_config(kModuleBridge, 0x40))
      .add_port("eth0", "0000:03:00.0/0000:04:00.0", {0x8086, 0x1521, 0x13FE, 0x002A});
  expect_port(only_port(), {.model = "WMX-LH53", .feature = QORX_FEATURE_NA, .bypass_ctrl_flag = 0});
}

TEST_F(ScanSlots, AMatchIsTracedWithItsPassLevelAndPattern) {
  add_slot("Slot 1", 9, 0x0A, 0x1F, 1);
  expect_traced("0000:0a:1f.1", "0 3 match str::0a:1f.1\n0 3 match str_path::0a:1f.1\neth0 slot: Slot 1\n");
}

TEST_F(ScanSlots, TheSearchedTextIsTracedAsFarAsItIsSearched) {
  const std::string path = "0000:00:01.0/0000:01:00.0/0000:02:09.0/0000:0a:00.0/0000:0b:02.0/0000:0c:00.1";
  add_slot("Slot 2", 9, 0x0B, 0x02, 0);
  expect_traced(path, "1 6 match str::0b:02.0\n1 6 match str_path:" +
                          ("../../devices/pci0000:00/" + path).substr(0, 100) + "\neth0 slot: Slot 2\n");
}

// The passes of one port as the traces show them: the module check comes before each, the slot after it.
TEST_F(ScanSlots, TheModuleIsCheckedBeforeEachPass) {
  machine_.remove("sys/class/net/lo").add_port("eth0", "0000:05:00.0");
  add_slot("Slot 3", 9, 0x04, 0x00, 0);
  const std::string trace = traced_by([] { scan(); });
  EXPECT_EQ(matches_in(trace, "qorx_check_WMX_LH53 Splitting string| match str:"),
            (Texts{"qorx_check_WMX_LH53 Splitting string", "qorx_check_WMX_LH53 Splitting string", " match str:"}));
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
    EXPECT_EQ(texts_of(device_records(), &DeviceRecord::model), (Texts{"WMX-LH53", "WMX-LH53", "WMX-3529"}));
    expect_slot(slot_records()[0], {.port_count = 2});
  }
}

}  // namespace
}  // namespace qorx::test
