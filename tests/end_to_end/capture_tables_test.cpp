// The firmware's slot records in a recording: made anew, yet read the same, whatever the firmware did.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/end_to_end/capture.h"
#include "tests/end_to_end/realdata.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

const std::string kEntryFile = "sys/firmware/dmi/tables/smbios_entry_point";
const std::string kTableFile = "sys/firmware/dmi/tables/DMI";
const std::string kAbnormal = "SMBIOS structure abnormal! NO valid slot name and panel name can be shown!\n";

// A machine with something special about its tables, and a text that its table of ports or its slots show for it.
struct Tables {
  std::string_view rule;
  std::function<void(FakeMachine&)> prepare;
  std::string shown;
};

class CaptureOfTables : public RowTest<Tables, MachineTest> {};

TEST_P(CaptureOfTables, TheSlotsAreTheSame) {
  machine_.add_port("eth0", "0000:00:1c.0/0000:03:00.0").add_port("eth1", "0000:00:1c.1/0000:04:00.0");
  row().prepare(machine_);
  const Capture capture(machine_.root());
  const std::string ports = capture.expect_same({"-a"});
  EXPECT_NE(ports.find(row().shown), std::string::npos) << ports;
  capture.expect_same({"-sysinfo", "-legacy"});
  EXPECT_EQ(slot_trace(capture.archive()), slot_trace(machine_.root()));
}

std::function<void(FakeMachine&)> table(const SmbiosTable& table) {
  return [table](FakeMachine& machine) { machine.smbios(table); };
}

std::string eight_hundred_slots_and(const SmbiosTable& last) {
  SmbiosTable table;
  for (int i = 0; i < 800; ++i) {
    table.slot("Slot " + std::to_string(i), "7f:00.0");
  }
  return table.bytes() + last.bytes();
}

// A type 127 structure.
const std::string kEnd = bytes("7f 04 00 00 00 00");

// A type 9 structure from before SMBIOS 2.6: 13 bytes, its strings lie where the address would be.
std::string old_slot(const std::string& designation) {
  return bytes("09 0d 00 00 01 00 00 00 00 00 00 00 00") + designation + std::string(2, '\0');
}

// Strings that go on beyond the table.
const std::string kUnendedStructure = bytes("01 04 00 00 41 42 43");

const SmbiosTable kTable = SmbiosTable().slot("WMX Slot 3", "03:00.0").onboard("LAN 1", "04:00.0");

std::function<void(FakeMachine&)> files(const std::string& entry, const std::string& table) {
  return [=](FakeMachine& machine) { machine.write(kEntryFile, entry).write(kTableFile, table); };
}

std::string spoiled(std::string bytes, std::size_t at) {
  ++bytes[at];
  return bytes;
}

// Right in whole, wrong from byte 16 on.
std::string wrong_in_the_second_half() {
  std::string entry = kTable.entry_point2();
  ++entry[21];
  --entry[4];
  return entry;
}

const std::string kWrong2 = "SMBIOS entry point structure checksum is NOT 0!\n";
const std::string kWrong2Intermediate = "SMBIOS entry point structure intermediate checksum is NOT 0!\n";
const std::string kWrong3 = "SMBIOS3 entry point structure checksum is NOT 0!\n";

std::function<void(FakeMachine&)> memory(const std::string& image) {
  return [image](FakeMachine& machine) { machine.write("dev/mem", image); };
}

// An image with more bytes in it.
std::string with(std::string image, std::size_t address, const std::string& bytes) {
  return image.replace(address, bytes.size(), bytes);
}

const SmbiosTable kUnended = SmbiosTable().slot("WMX Slot 9", "03:00.0").raw(kUnendedStructure);

std::function<void(FakeMachine&)> systab(const std::string& text, const std::string& image) {
  return [=](FakeMachine& machine) { machine.write("sys/firmware/efi/systab", text).write("dev/mem", image); };
}

QORX_ROWS(
    CaptureOfTables,
    {"a slot and an onboard port", table(SmbiosTable().slot("WMX Slot 3", "03:00.0").onboard("LAN 1", "04:00.0")),
     "LAN 1"},
    {"number zero is the designation before",
     table(SmbiosTable().slot("WMX Slot 3", "07:00.0").structure(slot_area(0, 3, 0), {})), "WMX Slot 3"},
    {"number zero of the first is empty",
     table(SmbiosTable().structure(slot_area(0, 3, 0), {"unused"}).slot("WMX Slot 4", "04:00.0")), "WMX Slot 4"},
    {"a number without strings is empty",
     table(SmbiosTable().slot("WMX Slot 3", "07:00.0").structure(slot_area(1, 3, 0), {}).slot("B", "04:00.0")), "  B "},
    {"number two", table(SmbiosTable().structure(slot_area(2, 3, 0), {"maker", "WMX Slot 2"})), "WMX Slot 2"},
    {"number three is counted from the start",
     // behind (length of the second string + 1) bytes: "234"
     table(SmbiosTable().structure(slot_area(3, 3, 0), {"01234", "a", "third"})), " 234 "},
    {"past the end of table structure", table(SmbiosTable().raw(kEnd).slot("WMX Slot 3", "03:00.0")), "WMX Slot 3"},
    {"without address fields",
     // bytes 2 and 3 of the designation lie at the address: bus 3, device 4
     table(SmbiosTable().raw(old_slot("ab\x03 c")).slot("WMX Slot 4", "04:00.0")), "WMX Slot 4"},
    {"blanks around", table(SmbiosTable().slot("  WMX Slot 3   ", "03:00.0")), "WMX Slot 3"},
    {"any bytes", table(SmbiosTable().slot("\x01\xFF%s\\n\\101'\"$HOME`", "03:00.0")), "%s\\n\\101'\"$HOME`"},
    {"a long designation", table(SmbiosTable().slot(std::string(300, 'x'), "03:00.0")), std::string(255, 'x')},
    {"a structure beyond the kept bytes",
     table(SmbiosTable().structure(slot_area(2, 3, 0), {std::string(1100, 'y'), "lost"})), "(!!)"},
    {"more than 512 records",
     table(SmbiosTable().raw(eight_hundred_slots_and(SmbiosTable().slot("Slot last", "03:00.0")))), "Slot last"},
    {"no records", table(SmbiosTable().raw(kEnd)), "(!!)"},
    {"the last structure does not end", table(SmbiosTable().slot("WMX Slot 3", "03:00.0").raw(kUnendedStructure)),
     kAbnormal},
    {"version 2 in the kernels files", files(kTable.entry_point2(), kTable.bytes()), "WMX Slot 3"},
    {"wrong checksum of version 2", files(spoiled(kTable.entry_point2(), 7), kTable.bytes()), kWrong2},
    {"wrong intermediate checksum", files(wrong_in_the_second_half(), kTable.bytes()), kWrong2Intermediate},
    {"wrong checksum of version 3", files(spoiled(kTable.entry_point3(), 7), kTable.bytes()), kWrong3},
    {"no entry point in the kernels files", files("nothing", kTable.bytes()), "Can't find SMBIOS!\n"},
    {"announced longer", files(kTable.entry_point3(0, 60000), kTable.bytes()), "LAN 1"},
    // The first structure has 29 bytes and ends in the table, the second does not.
    {"announced within the second structure", files(kTable.entry_point3(0, 35), kTable.bytes()), kAbnormal},
    {"announced within the first structure", files(kTable.entry_point3(0, 20), kTable.bytes()), kAbnormal},
    {"announced within the nuls of the first", files(kTable.entry_point3(0, 28), kTable.bytes()), "WMX Slot 3"},
    {"announced empty", files(kTable.entry_point3(0, 0), kTable.bytes()), kAbnormal},
    {"the kernels table is missing", [](FakeMachine& machine) { machine.write(kEntryFile, kTable.entry_point3()); },
     "(!!)"},
    {"version 2 in memory", memory(kTable.memory2(0xF0010, 0xE0003)), "WMX Slot 3"},
    {"version 3 at the last place in memory", memory(kTable.memory3(0xFFFE0, 0x9F000)), "LAN 1"},
    {"wrong entry points before a right one",
     memory(with(with(with(kTable.memory3(0xF8000, 0x10000), 0xF0000, wrong_in_the_second_half()), 0xF0100,
                      spoiled(kTable.entry_point3(), 7)),
                 0xF0200, spoiled(kTable.entry_point2(), 7))),
     kWrong2Intermediate + kWrong3 + kWrong2},
    {"a table behind the end is empty",
     memory(with(std::string(0x100000, '\0'), 0xF0000, kTable.entry_point3(0x400000))), "(!!)"},
    {"by the efi table", systab("ACPI20=0x1\nSMBIOS3=0x12340\nSMBIOS=0x1\n", kTable.memory3(0x12340, 0x20007)),
     "WMX Slot 3"},
    {"by the efi table with both wrong",
     systab("SMBIOS=0x12000\n", with(with(std::string(0x100000, '\0'), 0xF0000, spoiled(kTable.entry_point2(), 7)),
                                     0x12000, spoiled(kTable.entry_point3(), 7))),
     kWrong2 + kWrong3},
    {"an unended line of the efi table is none", systab("SMBIOS3=0x12340", kTable.memory3(0x12340, 0x20007)), "(!!)"},
    {"the kernels copy after an unended table",
     [](FakeMachine& machine) { machine.smbios(kTable).write("dev/mem", kUnended.memory3(0xF0000, 0x10000)); },
     kAbnormal},
    {"an unended table alone", memory(kUnended.memory3(0xF0000, 0x10000)), kAbnormal},
    {"the kernels copy after all else",
     [](FakeMachine& machine) {
       machine.smbios(kTable).write("sys/firmware/efi/systab", "SMBIOS=0x12000\n");
       machine.write("dev/mem", with(kUnended.memory3(0x12000, 0x30000), 0xF0000, spoiled(kTable.entry_point2(), 7)));
     },
     kWrong2 + kAbnormal},
    {"the memory before the kernels copy",
     [](FakeMachine& machine) {
       machine.smbios(SmbiosTable().slot("Kernel", "03:00.0"));
       machine.write("dev/mem", kTable.memory3(0xF0000, 0x10000));
     },
     "WMX Slot 3"});

class CaptureOfRealTable : public realdata::RealMachine {};

// The texts of four bytes or more in the string sets of a table, by whether a slot or onboard record holds them.
std::vector<std::string> strings_of(const std::string& table, bool of_slots) {
  std::vector<std::string> strings;
  for (std::size_t offset = 0; offset + 4 < table.size();) {
    const auto type = static_cast<unsigned char>(table[offset]);
    std::size_t at = offset + static_cast<unsigned char>(table[offset + 1]);
    while (at + 1 < table.size() && (table[at] != '\0' || table[at + 1] != '\0')) {
      const std::string text = table.c_str() + at;
      if (text.size() >= 4 && (type == 9 || type == 41) == of_slots) {
        strings.push_back(text);
      }
      at += std::max<std::size_t>(text.size(), 1);
    }
    offset = at + 2;
  }
  return strings;
}

TEST_P(CaptureOfRealTable, TheSlotsAreTheSameAndNoOtherTextIsTaken) {
  FakeMachine machine;
  const std::string source = read_file(path() / "DMI");
  machine.write(kEntryFile, read_file(path() / "smbios_entry_point")).write(kTableFile, source);
  const Capture capture(machine.root());
  capture.expect_same({"-sysinfo"});
  EXPECT_EQ(slot_trace(capture.archive()), slot_trace(machine.root()));

  const std::string recorded = read_file(capture.unpacked() / kTableFile);
  std::string designations;
  for (const std::string& text : strings_of(source, true)) {
    designations += text + "\n";
  }
  for (const std::string& text : strings_of(source, false)) {
    if (designations.find(text) == std::string::npos) {
      EXPECT_EQ(recorded.find(text), std::string::npos) << text;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Recorded, CaptureOfRealTable, testing::ValuesIn(realdata::recorded_tables()),
                         realdata::kNamedByRecording);

}  // namespace
}  // namespace qorx::test
