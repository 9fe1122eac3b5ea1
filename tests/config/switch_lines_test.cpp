#include <gtest/gtest.h>

#include <string>

#include "base/bounded_text.h"
#include "base/messages.h"
#include "records/state.h"
#include "tests/config/platform_text.h"
#include "tests/support/result_rows.h"

namespace qorx::test {
namespace {

const std::string kRootPort = "/sys/devices/pci0000:00/0000:00:1c.0";
const std::string kUpstreamPort = kRootPort + "/0000:02:00.0";

// "<name> <bus>:<device>.<function>" of every slot.
std::string places() {
  std::string result;
  for (const SlotRecord& slot : slot_records()) {
    char text[QORX_NAME_SIZE];
    format_text(text, sizeof text, "%.100s %x:%x.%x", slot.slot_name, slot.bus, slot.dev, slot.fun);
    result += (result.empty() ? "" : ", ") + std::string(text);
  }
  return result;
}

const std::string kRetired = " ff:ff.ff";
const std::string kJ1 = slot_line("J1");

// A machine with a root port that leads to a switch: its upstream port is 02:00.0, its downstream ports are on bus 3.
// Slot J1 is that root port, J2 one that leads nowhere.
class SwitchLines : public UserFileTest {
 protected:
  SwitchLines() {
    for (const char* const path :
         {"1c.0/0000:02:00.0/0000:03:01.0/0000:04:00.0/0000:05:02.0", "1c.0/0000:00:1c.0:pcie001", "1c.0/power",
          "1d.0/0000:00:1d.0:pcie001", "1e.0/0000:ff:00.0"}) {
      machine_.make_directory(std::string("sys/devices/pci0000:00/0000:00:") + path);
    }
  }

  static SlotRecord& switch_slot() { return add_slot("J1", 9, 0, 0x1C, 0); }

  void apply_switch(const std::string& value) { apply(kSlotPass, kJ1 + switch_line(value)); }
};

// A file, or the value of its only switch line, and the slots behind it.
struct Switched {
  std::string_view rule;
  std::string text;
  std::string places;
};

class SwitchRange : public RowTest<Switched, SwitchLines> {};

TEST_P(SwitchRange, BecomesOneSlotPerDownstreamPort) {
  switch_slot();
  apply_switch(row().text);
  EXPECT_EQ(places(), kRetired + ", " + row().places);
}

QORX_ROWS(SwitchRange, {"up", "1-3/WMX Slot 1", "WMX Slot 1 3:1.0, WMX Slot 1 3:2.0, WMX Slot 1 3:3.0"},
          {"down", "5-2/S", "S 3:2.0, S 3:3.0, S 3:4.0, S 3:5.0"}, {"of one", "3-3/S", "S 3:3.0"},
          {"hexadecimal", "9-b/S", "S 3:9.0, S 3:a.0, S 3:b.0"}, {"with prefix", "0x1E-1F/S", "S 3:1e.0, S 3:1f.0"},
          {"without digits from 0", "x-1/S", "S 3:0.0, S 3:1.0"},
          {"of more than a byte", "ff-100/S", "S 3:ff.0, S 3:0.0"},
          {"with blanks", "1 2- 3 /S", "S 3:1.0, S 3:2.0, S 3:3.0"},
          {"with runs of slashes and dashes and a third field", "/-1--2-9//WMX-7045/more/",
           "WMX-7045 3:1.0, WMX-7045 3:2.0"});

class SwitchBlocks : public RowTest<Switched, SwitchLines> {};

TEST_P(SwitchBlocks, LeaveTheseSlots) {
  switch_slot();
  add_slot("J2", 9, 0, 0x1D, 0);
  add_slot("J3", 9, 0, 0x1E, 0);
  apply(kSlotPass, row().text);
  EXPECT_EQ(places(), row().places);
}

QORX_ROWS(SwitchBlocks,
          {"several lines of a block share the switch",
           kJ1 + switch_line("1-1/A") + feature_line("wrong in the other pass only") + "# c\n" +
               "PCIe_SW_DEV/WMX_SLOT=\"4-5/B\"",
           kRetired + ", J2 0:1d.0, J3 0:1e.0, A 3:1.0, B 3:4.0, B 3:5.0"},
          {"a slot without a switch is retired and its lines are ignored",
           slot_line("J2") + switch_line("1-2/S") + switch_line("no range"), "J1 0:1c.0, " + kRetired + ", J3 0:1e.0"},
          {"a switch that was not found is not taken for the one before",
           kJ1 + switch_line("1-1/A") + slot_line("J2") + switch_line("1-1/B"),
           kRetired + ", " + kRetired + ", J3 0:1e.0, A 3:1.0"},
          {"a switch behind a switch is reached by its new slot name",
           kJ1 + switch_line("1-1/Inner") + switch_line("2-2/Outer 2") + slot_line("Inner") +
               switch_line("2-3/Inner 2"),
           kRetired + ", J2 0:1d.0, J3 0:1e.0, " + kRetired + ", Outer 2 3:2.0, Inner 2 5:2.0, Inner 2 5:3.0"},
          {"the bus behind bus 255 is 0", slot_line("J3") + switch_line("1-1/S"),
           "J1 0:1c.0, J2 0:1d.0, " + kRetired + ", S 0:1.0"});

TEST_F(SwitchLines, FillNewSlotsAndEmptyTheOldOne) {
  const SlotRecord& old = switch_slot();
  apply_switch("1-3/WMX Slot 1");
  ASSERT_EQ(slot_records().size(), 4U);
  for (const SlotRecord& slot : slot_records().subspan(1)) {
    expect_slot(slot, {.type = 9, .smbios_slot_name = "", .sysfs_path = kUpstreamPort});
  }
  expect_slot(
      old, {.bus = 0xFF, .dev = 0xFF, .fun = 0xFF, .slot_name = "", .smbios_slot_name = "", .sysfs_path = kRootPort});
}

TEST_F(SwitchLines, EveryLineOfABlockHasThePathOfTheSwitch) {
  switch_slot();
  apply(kSlotPass, kJ1 + switch_line("1-1/Inner") + switch_line("2-2/B") + slot_line("Inner") + switch_line("2-2/C"));
  EXPECT_EQ(
      texts_of(slot_records(), &SlotRecord::sysfs_path),
      (Texts{kRootPort, kUpstreamPort + "/0000:03:01.0", kUpstreamPort, kUpstreamPort + "/0000:03:01.0/0000:04:00.0"}));
}

TEST_F(SwitchLines, TheBusBehindBus255HasAPathToo) {
  add_slot("J1", 9, 0, 0x1E, 0);
  apply_switch("1-1/S");
  expect_slot(slot_records()[1], {.sysfs_path = "/sys/devices/pci0000:00/0000:00:1e.0/0000:ff:00.0"});
}

TEST_F(SwitchLines, EverySlotOfTheNameIsRetired) {
  switch_slot();
  const SlotRecord& twin = add_slot("J1", 9, 7, 1, 1);
  SlotRecord& renamed = add_slot("J1", 9, 8, 1, 1);
  copy_text(renamed.slot_name, "J2");
  apply_switch("1-1/S");
  EXPECT_EQ(places(), kRetired + ", " + kRetired + ", J2 8:1.1, S 3:1.0");
  expect_slot(twin, {.smbios_slot_name = ""});
  expect_slot(renamed, {.smbios_slot_name = "J1"});
}

TEST_F(SwitchLines, SlotNamesAreCutTo255Characters) {
  for (const std::size_t length : {255U, 256U}) {
    reset_library();
    switch_slot();
    apply_switch("1-1/" + std::string(length, 'a'));
    expect_slot(slot_records()[1], {.slot_name = std::string(255, 'a')});
  }
}

TEST_F(SwitchLines, ANameTooLongForItsFieldFindsTheCutOne) {
  add_slot(std::string(255, 'n'));
  apply(kSlotPass, slot_line(std::string(256, 'n')) + rename_line(std::string(900, 'm')));
  expect_slot(slot_records()[0], {.slot_name = std::string(255, 'm'), .smbios_slot_name = std::string(255, 'n')});
}

TEST_F(SwitchLines, DebugMessagesShowTheSearchAndEveryNewSlot) {
  switch_slot();
  g_debug_message_open = 1;
  const std::string traces = read(kSlotPass, kJ1 + switch_line("1-2/S")).printed;
  ASSERT_NE(traces.find("\nJ1\n"), std::string::npos);
  EXPECT_EQ(traces.substr(traces.find("\nJ1\n") + 4),
            block_line_traces(switch_line("1-2/S")) + "get_pcie_switch_bus\n" + kRootPort + "\n2\n0\n0\n" +
                "smbios path " + kUpstreamPort + "\nsmbios path " + kUpstreamPort + "\n");
}

TEST_F(SwitchLines, APortBehindASwitchTakesItsSlotFromTheFile) {
  machine_.smbios(SmbiosTable().slot("J1", "00:1c.0"));
  machine_.add_port("eth0", "0000:00:1c.0/0000:02:00.0/0000:03:01.0/0000:04:00.0");
  machine_.add_port("eth1", "0000:00:1c.0/0000:02:00.0/0000:03:05.0/0000:06:00.0");
  const ToolRun run = run_on(kSlotPass, kJ1 + switch_line("1-1/WMX Slot 1") + switch_line("5-5/WMX Slot 2") +
                                            slot_line("WMX Slot 2") + feature_line("0/P/POE"));
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(row_of(run.output, "eth0"), "WMX Slot 1 | 1 (*) | unknown | ID not found");
  EXPECT_EQ(row_of(run.output, "eth1"), "WMX Slot 2 | P | POE | ID not found");
  EXPECT_EQ(row_of(machine_.run({"-a"}).output, "eth0"), "J1 | 1 (*) | unknown | ID not found");
}

}  // namespace
}  // namespace qorx::test
