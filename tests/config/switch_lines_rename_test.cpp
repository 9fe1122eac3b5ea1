// Rename lines, alone and around switch lines.
#include <gtest/gtest.h>

#include <string>

#include "base/bounded_text.h"
#include "base/messages.h"
#include "records/state.h"
#include "tests/config/platform_text.h"
#include "tests/support/result_rows.h"

namespace qorx::test {
namespace {

struct Slot {
  std::string firmware_name;
  std::string name;  // at present
};

Slot slot(const std::string& name) {
  return {name, name};
}

using Slots = std::vector<Slot>;

const std::string kJ1 = slot_line("J1");
const std::string kNew = rename_line("new");

// The slots before, the file, and all slots' present names behind it. A slot that the firmware calls "J1" leads to a
// switch.
struct Renamed {
  std::string_view rule;
  std::vector<Slot> slots;
  std::string text;
  Texts names;
};

class RenameLines : public RowTest<Renamed, UserFileTest> {};

TEST_P(RenameLines, ChangeThePresentNames) {
  machine_.make_directory("sys/devices/pci0000:00/0000:00:1c.0/0000:02:00.0");
  for (const Slot& slot : row().slots) {
    copy_text(add_slot(slot.firmware_name, 9, 0, 0x1C, 0).slot_name, slot.name);
  }
  apply(kSlotPass, row().text);
  EXPECT_EQ(texts_of(slot_records(), &SlotRecord::slot_name), row().names);
}

QORX_ROWS(RenameLines,
          {"every record of the firmwares name takes the new one", Slots{slot("J1"), slot("J11"), {"J1", "x"}},
           kJ1 + kNew, Texts{"new", "J11", "new"}},
          {"a present name counts only where no firmware name matches", Slots{{"J9", "J1"}, {"J1", "J2"}}, kJ1 + kNew,
           Texts{"J1", "new"}},
          {"every record of the present name takes the new one", Slots{{"A", "J1"}, {"B", "J1"}}, kJ1 + kNew,
           Texts{"new", "new"}},
          {"the block keeps the old name for its later lines", Slots{slot("J1")},
           kJ1 + rename_line("a") + rename_line("b"), Texts{"b"}},
          {"by its present name a slot is not found again", Slots{{"A", "J2"}},
           slot_line("J2") + rename_line("c") + rename_line("d"), Texts{"c"}},
          {"a later block may use either name", Slots{slot("J1")},
           kJ1 + rename_line("a") + slot_line("a") + rename_line("b") + kJ1, Texts{"b"}},
          {"the new name may hold slashes and quotes", Slots{slot("J1")}, kJ1 + rename_line("1/2 \"x\""),
           Texts{"1/2 \"x\""}},
          {"the new name may be empty", Slots{slot("J1")}, kJ1 + rename_line(""), Texts{""}},
          {"a new name that looks like a key is a name", Slots{slot("J1")},
           kJ1 + rename_line("PCIe_SW_DEV/WMX_SLOT=\"0-1/x\""), Texts{"PCIe_SW_DEV/WMX_SLOT=\"0-1/x\""}},
          {"an empty slot name means the records without a firmware name", Slots{slot("J1"), {"", "x"}},
           slot_line("") + kNew, Texts{"J1", "new"}},
          {"retired and new slots have no firmware name", Slots{slot("J1")},
           kJ1 + switch_line("1-1/S") + slot_line("") + rename_line("x"), Texts{"x", "x"}},
          {"after a switch line there is only the new slot left to rename", Slots{slot("J1")},
           kJ1 + switch_line("1-1/S") + kNew, Texts{"", "S"}},
          {"after a switch line new slots of the old name are renamed", Slots{slot("J1")},
           kJ1 + switch_line("1-2/J1") + kNew, Texts{"", "new", "new"}});

using RenameLine = UserFileTest;

TEST_F(RenameLine, LeavesTheFirmwaresName) {
  const SlotRecord& slot = add_slot("J1");
  apply(kSlotPass, kJ1 + rename_line("WMX Slot 1"));
  expect_slot(slot, {.slot_name = "WMX Slot 1", .smbios_slot_name = "J1"});
}

TEST_F(RenameLine, KeepsASwitchLineBehindItFromRetiringTheSlot) {
  machine_.make_directory("sys/devices/pci0000:00/0000:00:1c.0/0000:02:00.0");
  const SlotRecord& slot = add_slot("J1", 9, 0, 0x1C, 0);
  apply(kSlotPass, kJ1 + kNew + switch_line("1-1/S"));
  expect_slot(slot, {.bus = 0, .dev = 0x1C, .slot_name = "new", .smbios_slot_name = "J1"});
  EXPECT_EQ(texts_of(slot_records(), &SlotRecord::slot_name), (Texts{"new", "S"}));
}

TEST_F(RenameLine, TracesTheNewName) {
  add_slot("J1");
  g_debug_message_open = 1;
  const std::string traces = read(kSlotPass, kJ1 + kNew).printed;
  EXPECT_TRUE(traces.ends_with(block_line_traces(kNew) + "new\n")) << traces;
}

TEST_F(RenameLine, NamesTheSlotForTheTableAndTheFeatureLines) {
  machine_.smbios(SmbiosTable().slot("J1", "02:00.0"));
  machine_.add_port("eth0", "0000:00:1c.0/0000:02:00.0");
  const ToolRun run = run_on(kSlotPass, kJ1 + rename_line("WMX Slot 1") + feature_line("0/old/POE") +
                                            slot_line("WMX Slot 1") + feature_line("0/new/L_BYPASS"));
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(row_of(run.output, "eth0"), "WMX Slot 1 | new | L_BYPASS | ID not found");
}

}  // namespace
}  // namespace qorx::test
