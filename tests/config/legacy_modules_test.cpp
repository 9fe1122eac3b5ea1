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
  constexpr std::array kDevices{0x1521U, 0x1522U, 0x10C9U};
  for (std::size_t i = 0; i < kDevices.size(); ++i) {
    add_ports(slot, kDevices[i], row().counts[i]);
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
  static SlotRecord& slot_with(const char* name, std::uint32_t device_id, int count, int type = 9) {
    SlotRecord& slot = add_slot(name, type);
    add_ports(slot, device_id, count);
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
  slot_with("3", 0x10C9, 4);
  const DeviceRecord& first = port("WMX Slot 1", 0x10);
  DeviceRecord& second = port("WMX Slot 2", 0x10);
  second.bypass_ctrl_flag = 1;
  const DeviceRecord& third = port("3");
  qorx_handle_legacy_WMX();
  expect_port(first, {.model = "TOBR-9284", .feature = 4});
  expect_port(second, {.model = "WMX-1813/2848/8655", .feature = 0, .bypass_ctrl_flag = 1});
  expect_port(third, {.model = "TOBR-9284", .feature = 4});
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
using Devices = std::vector<std::uint16_t>;
struct Listed {
  std::string_view rule;
  Devices bus6;
  Devices bus8;
  std::string eth_name;
  std::string columns;  // behind the slot
  std::vector<std::string> options = {"-a", "-legacy"};
};

class LegacyTable : public RowTest<Listed, MachineTest> {
 protected:
  void add_ports_on(const std::string& bus, const Devices& devices) {
    for (std::size_t i = 0; i < devices.size(); ++i) {
      machine_.add_port("eth" + std::to_string(ports_++), "0000:00:1c.0/0000:" + bus + ":00." + std::to_string(i),
                        {.device = devices[i]});
    }
  }

 private:
  int ports_ = 0;
};

TEST_P(LegacyTable, Shows) {
  machine_.smbios(SmbiosTable().slot("WMX Slot 1", "06:00.0").slot("WMX Slot 1", "08:00.0"));
  add_ports_on("06", row().bus6);
  add_ports_on("08", row().bus8);
  EXPECT_EQ(row_of(machine_.run(row().options).output, row().eth_name), "WMX Slot 1 | " + row().columns);
}

const Devices kTwo{0x1521, 0x1521};
const Devices kFour{0x1521, 0x1521, 0x1521, 0x1521};
const Devices kHybrid{0x1521, 0x1521, 0x1522, 0x1522};

QORX_ROWS(LegacyTable, {"the module on request", kTwo, {}, "eth1", "2 (*) | N/A | WMX-6473"},
          {"no module without request", kTwo, {}, "eth1", "2 (*) | unknown | ID not found", {"-a"}},
          {"the candidates", kFour, {}, "eth3", "4 (*) | unknown | WMX-1813/2848/8655"},
          {"bypass on copper ports", kHybrid, {}, "eth1", "2 (*) | L_BYPASS | WMX-1658"},
          {"no feature on fibre ports", kHybrid, {}, "eth2", "3 (*) | N/A | WMX-1658"},
          {"two root ports as one", kTwo, kTwo, "eth0", "1 (*) | unknown | WMX-1813/2848/8655"});

}  // namespace
}  // namespace qorx::test
