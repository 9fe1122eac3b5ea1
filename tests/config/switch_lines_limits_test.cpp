// Switch lines that meet the end of the slot table, and ranges that no switch has.
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "base/messages.h"
#include "records/state.h"
#include "tests/config/platform_text.h"
#include "tests/support/pattern.h"
#include "tests/support/result_rows.h"
#include "tests/support/user_files.h"

namespace qorx::test {
namespace {

const SlotRecord& slot_at(std::size_t index) {
  return qorx_smbios_t9_t41_mapping[index];
}

class SwitchLineLimits : public UserFileTest {
 protected:
  SwitchLineLimits() { machine_.make_directory("sys/devices/pci0000:00/0000:00:1c.0/0000:02:00.0"); }

  // A table of `count` records, of which the first is the switch's.
  static void fill_table(std::size_t count) {
    add_slot("J1", 9, 0, 0x1C, 0);
    for (std::size_t i = 1; i < count; ++i) {
      add_slot("Slot " + std::to_string(i));
    }
  }

  // Applies a switch line in the block of J1 with debug messages on. Returns the number of slots it says it made.
  long made_by(const std::string& value) {
    g_debug_message_open = 1;
    const Outcome outcome = read(kSlotPass, slot_line("J1") + switch_line(value));
    EXPECT_EQ(outcome.code, 0);
    return static_cast<std::ptrdiff_t>(matches_in(outcome.printed, "smbios path").size());
  }
};

// A range for a table of so many records, and what stands at its end.
struct Full {
  std::string_view rule;
  std::size_t records;
  std::string range;
  int made;
  SlotFields at_510;
  SlotFields at_511;
};

class SwitchLineAtTheEnd : public RowTest<Full, SwitchLineLimits> {};

TEST_P(SwitchLineAtTheEnd, OfTheTable) {
  fill_table(row().records);
  slot_records().back().port_count = 3;
  EXPECT_EQ(made_by(row().range), row().made);
  EXPECT_EQ(slot_records().size(), 511U);
  EXPECT_STREQ(slot_at(509).slot_name, "Slot 509");
  expect_slot(slot_at(510), row().at_510);
  expect_slot(slot_at(511), row().at_511);
  expect_slot(
      slot_at(511),
      {.smbios_slot_name = "", .port_count = 0, .sysfs_path = "/sys/devices/pci0000:00/0000:00:1c.0/0000:02:00.0"});
}

QORX_ROWS(SwitchLineAtTheEnd,
          {"with 510 records one more is counted and the next stays uncounted", 510, "1-2/S", 2,
           SlotFields{.dev = 1, .slot_name = "S"}, SlotFields{.dev = 2, .slot_name = "S"}},
          {"with 511 records only the last of the range is written", 511, "1-4/S", 1,
           SlotFields{.slot_name = "Slot 510"}, SlotFields{.dev = 4, .slot_name = "S"}},
          {"with 512 records each new one overwrites the last and keeps nothing of it", 512, "4-1/S", 2,
           SlotFields{.slot_name = "Slot 510"}, SlotFields{.dev = 4, .slot_name = "S"}});

TEST_F(SwitchLineLimits, ARecordThatIsNotCountedIsNotFoundByALaterBlock) {
  fill_table(511);
  EXPECT_EQ(read(kSlotPass, slot_line("J1") + switch_line("1-1/S") + slot_line("S") + rename_line("x")),
            (Outcome{"Can't find SLOT_NAME in SMBIOS type9/41 record! F line: 3\n", 0x81}));
}

TEST_F(SwitchLineLimits, AnAbsurdRangeFillsTheTableAndEndsAtOnce) {
  for (const char* const value : {"0-ffffffff/S", "ffffffff-0/S", "0-7fffffffffffffff/S", "0-ffffffffffffffffffff/S"}) {
    SCOPED_TRACE(value);
    reset_library();
    fill_table(1);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(made_by(value), 511);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_EQ(slot_records().size(), 511U);
    EXPECT_EQ(slot_at(1).dev, 0);
    EXPECT_EQ(slot_at(257).dev, 0);  // the 257th device number, cut to eight bits
    EXPECT_EQ(slot_at(510).dev, 0xFD);
    EXPECT_EQ(slot_at(511).dev, 0xFF);
  }
}

TEST_F(SwitchLineLimits, ARangeBeyondEveryNumberIsARangeOfOne) {
  fill_table(1);
  EXPECT_EQ(made_by("ffffffffffffffffffff-fffffffffffffffffffff/S"), 1);
  ASSERT_EQ(slot_records().size(), 2U);
  EXPECT_EQ(slot_at(1).dev, 0xFF);
}

TEST_F(SwitchLineLimits, OfSixHundredSlotsTheFirst511AndTheLastCanBeNamed) {
  SmbiosTable table;
  for (int i = 0; i < 600; ++i) {
    table.slot("Slot " + std::to_string(i), i == 599 ? "02:00.0" : "fe:1f.7");
  }
  machine_.smbios(table);
  machine_.add_port("eth0", "0000:00:1c.0/0000:02:00.0");
  const ToolRun run =
      run_on(kSlotPass, slot_line("Slot 510") + rename_line("a") + slot_line("Slot 599") + rename_line("b"));
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(row_of(run.output, "eth0"), "b | 1 (*) | unknown | ID not found");
  expect_command_refused(kSlotPass, {"", "Can't find SLOT_NAME in SMBIOS type9/41 record! F line: #",
                                     variants(1, "SLOT_NAME=\"", {"Slot 511", "Slot 598", "Slot 600"}, "\"\n")});
}

}  // namespace
}  // namespace qorx::test
