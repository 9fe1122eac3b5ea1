#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/bounded_text.h"
#include "config/stages.h"
#include "records/state.h"
#include "tests/support/expect.h"
#include "tests/support/result_rows.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

class LegacyModules : public LibraryTest {
 protected:
  // A slot with `count` ports of one device behind it.
  static SlotRecord& slot_with(const char* name, std::uint32_t device_id, int count, int type = 9) {
    SlotRecord& slot = add_slot(name, type);
    slot.vendor_id = 0x8086;
    slot.device_id[0] = device_id;
    slot.device_id_count[0] = static_cast<std::uint8_t>(count);
    slot.device_id_number = 1;
    return slot;
  }

  static DeviceRecord& port(const char* slot_name, int feature = 0) {
    DeviceRecord& record = add_device("eth0", slot_name, 9);
    record.feature = static_cast<std::uint8_t>(feature);
    return record;
  }
};

TEST_F(LegacyModules, ASlotIsNamedByTheDevicesBehindIt) {
  const SlotRecord& composite = slot_with("WMX Slot 1", 0x1521, 4);
  const SlotRecord& single = slot_with("WMX Slot 2", 0x10C9, 4);
  EXPECT_EQ(qorx_handle_legacy_WMX(), 0);
  expect_slot(composite, {.model_name = "WMX-1813/2848/8655", .feature = 0});
  expect_slot(single, {.model_name = "TOBR-9284", .feature = 4});
}

TEST_F(LegacyModules, TheSecondDeviceBehindASlotCountsToo) {
  SlotRecord& slot = slot_with("WMX Slot 1", 0x1521, 2);
  slot.device_id[1] = 0x1522;
  slot.device_id_count[1] = 2;
  qorx_handle_legacy_WMX();
  expect_slot(slot, {.model_name = "WMX-1658", .feature = 4});
}

TEST_F(LegacyModules, ASlotThatFitsNoModuleLosesItsNameAndFeature) {
  SlotRecord& slot = slot_with("WMX Slot 1", 0x1521, 3);
  copy_text(slot.model_name, "old");
  slot.feature = 4;
  qorx_handle_legacy_WMX();
  expect_slot(slot, {.model_name = "", .feature = 0});
}

TEST_F(LegacyModules, OnboardPositionsAndMergedSlotsAreNotNamed) {
  slot_with("LAN1", 0x10C9, 4, 41);
  slot_with("", 0x10C9, 4);
  for (SlotRecord& slot : slot_records()) {
    copy_text(slot.model_name, "kept");
    slot.feature = 0x10;
  }
  const DeviceRecord& nowhere = port("");
  qorx_handle_legacy_WMX();
  expect_port(nowhere, {.model = ""});
  for (const SlotRecord& slot : slot_records()) {
    expect_slot(slot, {.model_name = "kept", .feature = 0x10});
  }
}

TEST_F(LegacyModules, AnyOtherTypeThanOnboardIsNamed) {
  const SlotRecord& slot = slot_with("WMX Slot 1", 0x10C9, 4, 0);
  qorx_handle_legacy_WMX();
  expect_slot(slot, {.model_name = "TOBR-9284"});
}

TEST_F(LegacyModules, APortWithoutAModelTakesItsSlotsModelAndFeature) {
  slot_with("WMX Slot 1", 0x10C9, 4);
  slot_with("WMX Slot 2", 0x1521, 4);
  const DeviceRecord& first = port("WMX Slot 1", 0x10);
  DeviceRecord& second = port("WMX Slot 2", 0x10);
  second.bypass_ctrl_flag = 1;
  qorx_handle_legacy_WMX();
  expect_port(first, {.model = "TOBR-9284", .feature = 4});
  expect_port(second, {.model = "WMX-1813/2848/8655", .feature = 0, .bypass_ctrl_flag = 1});
}

TEST_F(LegacyModules, APortWithAModelKeepsItAndItsFeature) {
  slot_with("WMX Slot 1", 0x10C9, 4);
  DeviceRecord& named = port("WMX Slot 1", 2);
  copy_text(named.model, "WMX-3493");
  qorx_handle_legacy_WMX();
  expect_port(named, {.model = "WMX-3493", .feature = 2});
}

TEST_F(LegacyModules, APortWhoseSlotHasNoModelStaysUnnamed) {
  slot_with("WMX Slot 1", 0x1521, 3);
  slot_with("wmx slot 1", 0x10C9, 4);
  add_slot("");
  const DeviceRecord& unnamed = port("WMX Slot 1", 0x10);
  const DeviceRecord& nowhere = port("");
  qorx_handle_legacy_WMX();
  expect_port(unnamed, {.model = "", .feature = 0x10});
  expect_port(nowhere, {.model = ""});
}

TEST_F(LegacyModules, OfSeveralSlotsOfOneNameTheFirstWithAModelCounts) {
  slot_with("WMX Slot 1", 0x1521, 3);
  slot_with("WMX Slot 1", 0x10C9, 4);
  slot_with("WMX Slot 1", 0x1521, 2);
  const DeviceRecord& record = port("WMX Slot 1");
  qorx_handle_legacy_WMX();
  expect_port(record, {.model = "TOBR-9284"});
}

TEST_F(LegacyModules, DebugMessagesShowEverySlotThatIsLookedUp) {
  slot_with("WMX Slot 1", 0x1521, 4);
  slot_with("LAN1", 0x1521, 4, 41);
  add_slot("WMX Slot 2");
  port("WMX Slot 1");
  EXPECT_EQ(traced_by(qorx_handle_legacy_WMX),
            "id (0x15218086)\n"
            "WMX Slot 1 WMX-1813/2848/8655\n"
            "id (0x00000000)\n"
            "Unknown vendor_id (0x0000)\n"
            "WMX Slot 2 \n");
}

// The devices of the ports behind the two buses of WMX Slot 1, and the row of one of them.
struct Listed {
  std::string_view rule;
  std::vector<std::uint16_t> bus6;
  std::vector<std::uint16_t> bus8;
  std::string eth_name;
  std::string model;
  std::string feature;
  std::vector<std::string> options = {"-a", "-legacy"};
};

class LegacyTable : public RowTest<Listed, MachineTest> {
 protected:
  void add_ports(const std::string& bus, const std::vector<std::uint16_t>& devices) {
    for (std::size_t i = 0; i < devices.size(); ++i) {
      machine_.add_port("eth" + std::to_string(ports_++), "0000:00:1c.0/0000:" + bus + ":00." + std::to_string(i),
                        {0x8086, devices[i], 0x8086, 0x0001});
    }
  }

 private:
  int ports_ = 0;
};

TEST_P(LegacyTable, Shows) {
  machine_.smbios(SmbiosTable().slot("WMX Slot 1", "06:00.0").slot("WMX Slot 1", "08:00.0"));
  add_ports("06", row().bus6);
  add_ports("08", row().bus8);
  const ResultRow listed = row_of(machine_.run(row().options).output, row().eth_name);
  EXPECT_EQ(listed.model, row().model);
  EXPECT_EQ(listed.feature, row().feature);
}

QORX_ROWS(LegacyTable, {"the module on request", {0x1521, 0x1521}, {}, "eth1", "WMX-6473", "N/A"},
          {"no module without request", {0x1521, 0x1521}, {}, "eth1", "ID not found", "unknown", {"-a"}},
          {"the candidates", {0x1521, 0x1521, 0x1521, 0x1521}, {}, "eth3", "WMX-1813/2848/8655", "unknown"},
          {"bypass on copper ports", {0x1521, 0x1521, 0x1522, 0x1522}, {}, "eth1", "WMX-1658", "L_BYPASS"},
          {"no feature on fibre ports", {0x1521, 0x1521, 0x1522, 0x1522}, {}, "eth2", "WMX-1658", "N/A"},
          {"two root ports as one", {0x1521, 0x1521}, {0x1521, 0x1521}, "eth0", "WMX-1813/2848/8655", "unknown"});

}  // namespace
}  // namespace qorx::test
