// Rename lines, alone and around switch lines.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/bounded_text.h"
#include "base/messages.h"
#include "records/state.h"
#include "tests/config/platform_text.h"
#include "tests/support/result_rows.h"
#include "tests/support/user_files.h"

namespace qorx::test {
namespace {

struct Slot {
  std::string firmware_name;
  std::string name;  // at present
};

Slot slot(const std::string& name) {
  return {name, name};
}

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
          {"every record of the firmwares name takes the new one",
           {slot("J1"), slot("J11"), {"J1", "x"}},
           slot_line("J1") + rename_line("new"),
           {"new", "J11", "new"}},
          {"a present name counts only where no firmware name matches",
           {{"J9", "J1"}, {"J1", "J2"}},
           slot_line("J1") + rename_line("new"),
           {"J1", "new"}},
          {"every record of the present name takes the new one",
           {{"A", "J1"}, {"B", "J1"}},
           slot_line("J1") + rename_line("new"),
           {"new", "new"}},
          {"the block keeps the old name for its later lines",
           {slot("J1")},
           slot_line("J1") + rename_line("a") + rename_line("b"),
           {"b"}},
          {"by its present name a slot is not found again",
           {{"A", "J2"}},
           slot_line("J2") + rename_line("c") + rename_line("d"),
           {"c"}},
          {"a later block may use either name",
           {slot("J1")},
           slot_line("J1") + rename_line("a") + slot_line("a") + rename_line("b") + slot_line("J1"),
           {"b"}},
          {"the new name may hold slashes and quotes",
           {slot("J1")},
           slot_line("J1") + rename_line("1/2 \"x\""),
           {"1/2 \"x\""}},
          {"the new name may be empty", {slot("J1")}, slot_line("J1") + rename_line(""), {""}},
          {"a new name that looks like a key is a name",
           {slot("J1")},
           slot_line("J1") + rename_line("PCIe_SW_DEV/WMX_SLOT=\"0-1/x\""),
           {"PCIe_SW_DEV/WMX_SLOT=\"0-1/x\""}},
          {"an empty slot name means the records without a firmware name",
           {slot("J1"), {"", "x"}},
           slot_line("") + rename_line("new"),
           {"J1", "new"}},
          {"retired and new slots have no firmware name",
           {slot("J1")},
           slot_line("J1") + switch_line("1-1/S") + slot_line("") + rename_line("x"),
           {"x", "x"}},
          {"after a switch line there is only the new slot left to rename",
           {slot("J1")},
           slot_line("J1") + switch_line("1-1/S") + rename_line("new"),
           {"", "S"}},
          {"after a switch line new slots of the old name are renamed",
           {slot("J1")},
           slot_line("J1") + switch_line("1-2/J1") + rename_line("new"),
           {"", "new", "new"}});

class RenameLine : public UserFileTest {};

TEST_F(RenameLine, LeavesTheFirmwaresName) {
  const SlotRecord& slot = add_slot("J1");
  apply(kSlotPass, slot_line("J1") + rename_line("WMX Slot 1"));
  expect_slot(slot, {.slot_name = "WMX Slot 1", .smbios_slot_name = "J1"});
}

TEST_F(RenameLine, KeepsASwitchLineBehindItFromRetiringTheSlot) {
  machine_.make_directory("sys/devices/pci0000:00/0000:00:1c.0/0000:02:00.0");
  const SlotRecord& slot = add_slot("J1", 9, 0, 0x1C, 0);
  apply(kSlotPass, slot_line("J1") + rename_line("new") + switch_line("1-1/S"));
  expect_slot(slot, {.bus = 0, .dev = 0x1C, .slot_name = "new", .smbios_slot_name = "J1"});
  EXPECT_EQ(texts_of(slot_records(), &SlotRecord::slot_name), (Texts{"new", "S"}));
}

TEST_F(RenameLine, TracesTheNewName) {
  add_slot("J1");
  g_debug_message_open = 1;
  const std::string traces = read(kSlotPass, slot_line("J1") + rename_line("new")).printed;
  EXPECT_TRUE(
      traces.ends_with("can't find PCIe_SW_DEV/WMX_SLOT=\"\n"
                       "check tail char of !CHANGE_NAME=\"new\"\n!\n"
                       "remove tail 1 char !CHANGE_NAME=\"new\"!\n"
                       "can't find FUNCTION/NAME/FEATURE=\"\n"
                       "can't find FUNCTION/NAME/BUS_ORDER=\"\n"
                       "new\n"))
      << traces;
}

TEST_F(RenameLine, NamesTheSlotForTheTableAndTheFeatureLines) {
  machine_.smbios(SmbiosTable().slot("J1", "02:00.0"));
  machine_.add_port("eth0", "0000:00:1c.0/0000:02:00.0");
  const ToolRun run = run_on(kSlotPass, slot_line("J1") + rename_line("WMX Slot 1") + feature_line("0/old/POE") +
                                            slot_line("WMX Slot 1") + feature_line("0/new/L_BYPASS"));
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(row_of(run.output, "eth0").slot, "WMX Slot 1");
  EXPECT_EQ(row_of(run.output, "eth0").panel, "new");
  EXPECT_EQ(row_of(run.output, "eth0").feature, "L_BYPASS");
}

}  // namespace
}  // namespace qorx::test
