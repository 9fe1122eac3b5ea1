#include "config/stages.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "base/bounded_text.h"
#include "records/state.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"
#include "tests/support/result_rows.h"

namespace qorx {
namespace {

using test::add_device;
using test::add_slot;
using test::FakeMachine;
using test::row_of;

class LegacyModules : public ::testing::Test {
 protected:
  void SetUp() override { test::reset_library(); }

  // A slot with `count` ports of one device behind it.
  static SlotRecord& slot_with(const char* name, std::uint32_t device_id, int count, int type = 9) {
    SlotRecord& slot = add_slot(name, type);
    slot.vendor_id = 0x8086;
    slot.device_id[0] = device_id;
    slot.device_id_count[0] = static_cast<std::uint8_t>(count);
    slot.device_id_number = 1;
    return slot;
  }
};

TEST_F(LegacyModules, ASlotIsNamedByTheDevicesBehindIt) {
  const SlotRecord& composite = slot_with("WMX Slot 1", 0x1521, 4);
  const SlotRecord& single = slot_with("WMX Slot 2", 0x10C9, 4);
  EXPECT_EQ(qorx_handle_legacy_WMX(), 0);
  EXPECT_STREQ(composite.model_name, "WMX-1813/2848/8655");
  EXPECT_EQ(composite.feature, 0);
  EXPECT_STREQ(single.model_name, "TOBR-9284");
  EXPECT_EQ(single.feature, 4);
}

TEST_F(LegacyModules, TheSecondDeviceBehindASlotCountsToo) {
  SlotRecord& slot = slot_with("WMX Slot 1", 0x1521, 2);
  slot.device_id[1] = 0x1522;
  slot.device_id_count[1] = 2;
  qorx_handle_legacy_WMX();
  EXPECT_STREQ(slot.model_name, "WMX-1658");
  EXPECT_EQ(slot.feature, 4);
}

TEST_F(LegacyModules, ASlotThatFitsNoModuleLosesItsNameAndFeature) {
  SlotRecord& slot = slot_with("WMX Slot 1", 0x1521, 3);
  std::strcpy(slot.model_name, "old");
  slot.feature = 4;
  qorx_handle_legacy_WMX();
  EXPECT_STREQ(slot.model_name, "");
  EXPECT_EQ(slot.feature, 0);
}

TEST_F(LegacyModules, OnboardPositionsAndMergedSlotsAreNotNamed) {
  SlotRecord& onboard = slot_with("LAN1", 0x10C9, 4, 41);
  SlotRecord& merged = slot_with("", 0x10C9, 4);
  for (SlotRecord* const slot : {&onboard, &merged}) {
    std::strcpy(slot->model_name, "kept");
    slot->feature = 0x10;
  }
  const DeviceRecord& nowhere = add_device("eth0");
  qorx_handle_legacy_WMX();
  EXPECT_STREQ(nowhere.model, "");
  for (const SlotRecord* const slot : {&onboard, &merged}) {
    EXPECT_STREQ(slot->model_name, "kept");
    EXPECT_EQ(slot->feature, 0x10);
  }
}

TEST_F(LegacyModules, AnyOtherTypeThanOnboardIsNamed) {
  const SlotRecord& slot = slot_with("WMX Slot 1", 0x10C9, 4, 0);
  qorx_handle_legacy_WMX();
  EXPECT_STREQ(slot.model_name, "TOBR-9284");
}

TEST_F(LegacyModules, APortWithoutAModelTakesItsSlotsModelAndFeature) {
  slot_with("WMX Slot 1", 0x10C9, 4);
  slot_with("WMX Slot 2", 0x1521, 4);
  DeviceRecord& first = add_device("eth0", "WMX Slot 1", 9);
  first.feature = 0x10;
  DeviceRecord& second = add_device("eth1", "WMX Slot 2", 9);
  second.feature = 0x10;
  second.bypass_ctrl_flag = 1;
  qorx_handle_legacy_WMX();
  EXPECT_STREQ(first.model, "TOBR-9284");
  EXPECT_EQ(first.feature, 4);
  EXPECT_STREQ(second.model, "WMX-1813/2848/8655");
  EXPECT_EQ(second.feature, 0);
  EXPECT_EQ(second.bypass_ctrl_flag, 1);
}

TEST_F(LegacyModules, APortWithAModelKeepsItAndItsFeature) {
  slot_with("WMX Slot 1", 0x10C9, 4);
  DeviceRecord& port = add_device("eth0", "WMX Slot 1", 9);
  std::strcpy(port.model, "WMX-3493");
  port.feature = 2;
  qorx_handle_legacy_WMX();
  EXPECT_STREQ(port.model, "WMX-3493");
  EXPECT_EQ(port.feature, 2);
}

TEST_F(LegacyModules, APortWhoseSlotHasNoModelStaysUnnamed) {
  slot_with("WMX Slot 1", 0x1521, 3);
  slot_with("wmx slot 1", 0x10C9, 4);
  add_slot("");
  DeviceRecord& port = add_device("eth0", "WMX Slot 1", 9);
  port.feature = 0x10;
  DeviceRecord& nowhere = add_device("eth1");
  qorx_handle_legacy_WMX();
  EXPECT_STREQ(port.model, "");
  EXPECT_EQ(port.feature, 0x10);
  EXPECT_STREQ(nowhere.model, "");
}

TEST_F(LegacyModules, OfSeveralSlotsOfOneNameTheFirstWithAModelCounts) {
  slot_with("WMX Slot 1", 0x1521, 3);
  slot_with("WMX Slot 1", 0x10C9, 4);
  slot_with("WMX Slot 1", 0x1521, 2);
  const DeviceRecord& port = add_device("eth0", "WMX Slot 1", 9);
  qorx_handle_legacy_WMX();
  EXPECT_STREQ(port.model, "TOBR-9284");
}

TEST_F(LegacyModules, DebugMessagesShowEverySlotThatIsLookedUp) {
  slot_with("WMX Slot 1", 0x1521, 4);
  slot_with("LAN1", 0x1521, 4, 41);
  add_slot("WMX Slot 2");
  add_device("eth0", "WMX Slot 1", 9);
  EXPECT_EQ(test::traced_by([] { qorx_handle_legacy_WMX(); }),
            "id (0x15218086)\n"
            "WMX Slot 1 WMX-1813/2848/8655\n"
            "id (0x00000000)\n"
            "Unknown vendor_id (0x0000)\n"
            "WMX Slot 2 \n");
}

// Adds `count` ports of one device in functions of bus 6.
void add_ports(FakeMachine& machine, int first, int count, std::uint16_t device_id, const std::string& bus = "06") {
  for (int i = first; i < first + count; ++i) {
    machine.add_port("eth" + std::to_string(i), "0000:00:1c.0/0000:" + bus + ":00." + std::to_string(i),
                     {0x8086, device_id, 0x8086, 0x0001});
  }
}

TEST_F(LegacyModules, TheTableNamesThemOnRequestOnly) {
  FakeMachine machine;
  machine.smbios(test::SmbiosTable().slot("WMX Slot 1", "06:00.0"));
  add_ports(machine, 0, 2, 0x1521);
  EXPECT_EQ(row_of(machine.run({"-a"}).output, "eth0").model, "ID not found");
  const std::string output = machine.run({"-a", "-legacy"}).output;
  for (const char* const name : {"eth0", "eth1"}) {
    EXPECT_EQ(row_of(output, name).model, "WMX-6473");
    EXPECT_EQ(row_of(output, name).feature, "N/A");
  }
}

TEST_F(LegacyModules, TheTableShowsTheListOfCandidates) {
  FakeMachine machine;
  machine.smbios(test::SmbiosTable().slot("WMX Slot 1", "06:00.0"));
  add_ports(machine, 0, 4, 0x1521);
  const std::string output = machine.run({"-a", "-legacy"}).output;
  EXPECT_EQ(row_of(output, "eth3").model, "WMX-1813/2848/8655");
  EXPECT_EQ(row_of(output, "eth3").feature, "unknown");
}

TEST_F(LegacyModules, AModuleOfCopperAndFibrePortsHasBypassOnTheCopperOnes) {
  FakeMachine machine;
  machine.smbios(test::SmbiosTable().slot("WMX Slot 1", "06:00.0"));
  add_ports(machine, 0, 2, 0x1521);
  add_ports(machine, 2, 2, 0x1522);
  const std::string output = machine.run({"-a", "-legacy"}).output;
  EXPECT_EQ(row_of(output, "eth1").model, "WMX-1658");
  EXPECT_EQ(row_of(output, "eth1").feature, "L_BYPASS");
  EXPECT_EQ(row_of(output, "eth2").model, "WMX-1658");
  EXPECT_EQ(row_of(output, "eth2").feature, "N/A");
}

TEST_F(LegacyModules, ThePortsOfASlotOnTwoRootPortsAreCountedTogether) {
  FakeMachine machine;
  machine.smbios(test::SmbiosTable().slot("WMX Slot 1", "06:00.0").slot("WMX Slot 1", "08:00.0"));
  add_ports(machine, 0, 2, 0x1521);
  add_ports(machine, 2, 2, 0x1521, "08");
  EXPECT_EQ(row_of(machine.run({"-a", "-legacy"}).output, "eth0").model, "WMX-1813/2848/8655");
}

}  // namespace
}  // namespace qorx
