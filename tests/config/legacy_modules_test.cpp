#include <gtest/gtest.h>

#include <array>
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

// A slot that had a model and NCSI, the numbers of ports behind it with device id 1521, 1522 and 10c9, and what it has
// then.
struct Named {
  std::string_view rule;
  std::string slot_name;
  int type;
  std::array<int, 3> counts;
  std::string model_name;
  int feature;
};

class LegacySlots : public RowTest<Named> {};

TEST_P(LegacySlots, AreNamedByTheDevicesBehindThem) {
  SlotRecord& slot = add_slot(row().slot_name, row().type);
  slot.vendor_id = 0x8086;
  constexpr std::array kDevices{0x1521U, 0x1522U, 0x10C9U};
  for (std::size_t i = 0; i < kDevices.size(); ++i) {
    if (row().counts[i] != 0) {
      slot.device_id[slot.device_id_number] = kDevices[i];
      slot.device_id_count[slot.device_id_number++] = static_cast<std::uint8_t>(row().counts[i]);
    }
  }
  copy_text(slot.model_name, "old");
  slot.feature = 0x10;
  EXPECT_EQ(qorx_handle_legacy_WMX(), 0);
  expect_slot(slot, {.model_name = row().model_name, .feature = row().feature});
}

QORX_ROWS(LegacySlots, {"by a list of candidates", "Slot 1", 9, {4, 0, 0}, "WMX-1813/2848/8655", 0},
          {"by the only candidate", "Slot 1", 9, {0, 0, 4}, "TOBR-9284", 4},
          {"by the second device too", "Slot 1", 9, {2, 2, 0}, "WMX-1658", 4},
          {"not where none fits", "Slot 1", 9, {3, 0, 0}, "", 0},
          {"with a name of one letter", "1", 9, {0, 0, 4}, "TOBR-9284", 4},
          {"not on onboard positions", "LAN1", 41, {0, 0, 4}, "old", 0x10},
          {"not where they were merged", "", 9, {0, 0, 4}, "old", 0x10},
          {"of any other type too", "Slot 1", 0, {0, 0, 4}, "TOBR-9284", 4});

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
  copy_text(slot_with("", 0x10C9, 4).model_name, "merged");
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
