#include "smbios/structure_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "records/state.h"
#include "tests/smbios/parsing.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

// A table, the designations of its records, and the fields of the first.
struct Walk {
  std::string_view rule;
  SmbiosTable table;
  Texts names;
  SlotFields first = {};
};

class StructureTable : public RowTest<Walk> {};

TEST_P(StructureTable, GivesSlotRecords) {
  EXPECT_EQ(printed_by([] { EXPECT_EQ(parse(row().table), 0); }), "");
  EXPECT_EQ(names(), row().names);
  if (!row().names.empty()) {
    expect_slot(slot_records()[0], row().first);
  }
}

SmbiosTable one(std::string_view formatted, const Texts& strings) {
  return SmbiosTable().structure(formatted, strings);
}

std::string slot_area_with_other_address() {
  std::string area = slot_area(1, 0xAB, 0x83);
  area[9] = 0x11;  // where an onboard device has its address
  area[10] = 0x22;
  return area;
}

SmbiosTable structures_of_other_types() {
  SmbiosTable table;
  for (const char type : {'\x00', '\x01', '\x08', '\x0A', '\x28', '\x2A', '\x7E'}) {
    table.structure(std::string{type, 5, 0, 0, 1}, {"text"});
  }
  return table;
}

// A slot whose string has this number of three.
Walk numbered(std::string_view rule, std::uint8_t number, const char* text) {
  return {rule, one(slot_area(number, 1, 0), {"ab", "cdef", "XYZ"}), {text}, {.str_index = number}};
}

SmbiosTable slot_with_name_of(std::size_t length) {
  return SmbiosTable().slot(std::string(length, 'n'), "01:00.0");
}

// Structures of firmware older than SMBIOS 2.6 are shorter.
const std::string kOldSlotArea("\x09\x0D\0\0\x01\0\0\0\0\0\0\0\0", 13);
const std::string kOldOnboardArea("\x29\x09\0\0\x01\0\0\0\0", 9);

const SlotFields kNotFilled{
    .smbios_slot_name = "", .model_name = "", .feature = 0, .port_count = 0, .device_id_number = 0, .sysfs_path = ""};

QORX_ROWS(
    StructureTable,
    {"a structure without strings is its formatted area and two nuls",
     SmbiosTable().structure(slot_area(0, 1, 0), {}).slot("behind", "02:00.0"), Texts{"", "behind"},
     SlotFields{.length = 19}},
    {"a system slot has its address in bytes 15 and 16", one(slot_area_with_other_address(), {"SLOT 1"}),
     Texts{"SLOT 1"}, SlotFields{.bus = 0xAB, .dev = 0x10, .fun = 3, .type = 9, .str_index = 1}},
    {"an onboard device has its address in bytes 9 and 10", one(onboard_area(2, 0x07, 0xFA), {"NIC", "LAN1"}),
     Texts{"LAN1"}, SlotFields{.bus = 7, .dev = 31, .fun = 2, .type = 41, .str_index = 2}},
    {"other structures give no record", structures_of_other_types(), {}},
    {"fields that later stages fill are zero", SmbiosTable().slot("A", "01:00.0"), Texts{"A"}, kNotFilled},
    // The strings "ab", "cdef", "XYZ" lie at 0, 3 and 8. From number 3 on the position is only (length of the string
    // read before) + 1: number 3 starts at 4 + 1 and reads "ef", number 4 at 2 + 1 and reads "cdef", and so on.
    numbered("string number 1", 1, "ab"), numbered("string number 2", 2, "cdef"),
    numbered("string number 3 counts from the start of the string set", 3, "ef"),
    numbered("string number 4 counts from the start of the string set", 4, "cdef"),
    numbered("string number 5 counts from the start of the string set", 5, "ef"),
    numbered("string number 254 counts from the start of the string set", 254, "cdef"),
    numbered("string number 255 counts from the start of the string set", 255, "ef"),
    {"a number behind the last string reads the closing nul",
     SmbiosTable()
         .structure(slot_area(2, 1, 0), {"ab"})      // position 3: the second closing NUL
         .structure(onboard_area(3, 1, 0), {"ab"}),  // then position 1
     Texts{"", "b"}},
    {"string number zero inherits the designation before",
     SmbiosTable()
         .structure(slot_area(0, 1, 0), {"own"})
         .onboard("LAN1", "02:00.0")
         .structure(std::string("\x01\x05\x00\x00\x01", 5), {"other type"})
         .structure(slot_area(0, 3, 0), {"own"})
         .structure(onboard_area(0, 4, 0), {}),
     Texts{"", "LAN1", "LAN1", "LAN1"}},
    {"the designation is not trimmed by the walk", SmbiosTable().slot(" \tSlot 1  ", "01:00.0"), Texts{" \tSlot 1  "}},
    {"a long designation is cut to 255 characters",
     SmbiosTable().slot(std::string(255, 'a'), "01:00.0").slot(std::string(300, 'b'), "02:00.0"),
     Texts{std::string(255, 'a'), std::string(255, 'b')}},
    // A cut string counts with its 255 characters, so number 2 starts at 256, inside the first string.
    {"the string behind a long one starts where the cut string ended",
     one(slot_area(2, 1, 0), {std::string(300, 'n'), "second"}), Texts{std::string(44, 'n')}},
    {"the walk goes on behind the end of table structure",
     SmbiosTable()
         .slot("before", "01:00.0")
         .structure(std::string("\x7F\x04\x00\x00", 4), {})
         .slot("behind", "02:00.0"),
     Texts{"before", "behind"}},
    {"a system slot without address bytes takes what lies there", one(kOldSlotArea, {"SLOT"}), Texts{"SLOT"},
     SlotFields{.bus = 'O', .dev = 'T' >> 3, .fun = 'T' & 7}},
    {"an onboard device without address bytes takes what lies there", one(kOldOnboardArea, {"LAN"}), Texts{"LAN"},
     SlotFields{.bus = 'L', .dev = 'A' >> 3, .fun = 'A' & 7}},
    // With a string of one character it ends before byte 16: the second closing NUL, then the next structure's type.
    {"an address byte may lie in the next structure",
     SmbiosTable().structure(kOldSlotArea, {"A"}).onboard("B", "01:00.0"), Texts{"A", "B"},
     SlotFields{.bus = 0, .dev = 41 >> 3, .fun = 41 & 7}},
    {"a structure too short for a string number takes what lies there", one(std::string("\x09\x04\0\0", 4), {"\x01Z"}),
     Texts{"\x01Z"}, SlotFields{.str_index = 1}},
    // Its strings begin at its type byte: 09 | 00 00.
    {"a formatted length of zero still moves on", SmbiosTable().raw(bytes("09 00 00")).slot("next", "01:00.0"),
     Texts{"", "next"}, SlotFields{.length = 3}},
    {"a length of 255", slot_with_name_of(236), Texts{std::string(236, 'n')}, SlotFields{.length = 255}},
    {"a length of 256 is 0", slot_with_name_of(237), Texts{std::string(237, 'n')}, SlotFields{.length = 0}},
    {"a length of 257 is 1", slot_with_name_of(238), Texts{std::string(238, 'n')}, SlotFields{.length = 1}},
    {"a length of 300 is 44", slot_with_name_of(281), Texts{std::string(255, 'n')}, SlotFields{.length = 44}});

using StructureTableWalk = LibraryTest;

TEST_F(StructureTableWalk, KeepsTheWholeStructureWithItsStrings) {
  SmbiosTable table = SmbiosTable().slot("ABC", "05:02.1");
  const std::string structure = table.bytes();
  ASSERT_EQ(parse(table.slot("next", "06:00.0")), 0);
  const SlotRecord& slot = slot_records()[0];
  expect_slot(slot, {.length = 17 + 3 + 2});
  EXPECT_EQ(std::string(slot.raw, slot.raw + structure.size()), structure);
  EXPECT_EQ(slot.raw[structure.size()], 0);
}

TEST_F(StructureTableWalk, KeepsTheFirst1024BytesOfALongerStructure) {
  SmbiosTable table = one(slot_area(1, 0x12, 0x08), {"name", std::string(600, 'x'), std::string(600, 'y')});
  const std::string structure = table.bytes();
  ASSERT_EQ(parse(table.slot("next", "01:00.0")), 0);
  const SlotRecord& slot = slot_records()[0];
  expect_slot(slot, {.length = (17 + 5 + 601 + 601 + 1) % 256, .bus = 0x12, .dev = 1});
  EXPECT_EQ(std::string(slot.raw, slot.raw + sizeof slot.raw), structure.substr(0, 1024));
  EXPECT_EQ(names(), (Texts{"name", "next"}));
}

TEST_F(StructureTableWalk, ReplacesTheRecordsAndInheritsNothingFromAnEarlierOne) {
  ASSERT_EQ(parse(SmbiosTable().slot("A", "01:00.0").slot("B", "02:00.0")), 0);
  ASSERT_EQ(parse(one(onboard_area(0, 2, 0), {})), 0);
  EXPECT_EQ(names(), Texts{""});
  expect_slot(slot_records()[0], {.type = 41});
}

TEST_F(StructureTableWalk, OverwritesTheLastRecordBehindThe512thStructure) {
  for (const int structures : {511, 512, 513, 600}) {
    SCOPED_TRACE(structures);
    SmbiosTable table;
    for (int i = 1; i <= structures; ++i) {
      table.slot("S" + std::to_string(i), "01:00.0");
    }
    ASSERT_EQ(parse(table), 0);
    ASSERT_EQ(slot_records().size(), static_cast<std::size_t>(std::min(structures, 512)));
    EXPECT_STREQ(slot_records()[510].slot_name, "S511");
    EXPECT_EQ(slot_records().back().slot_name, "S" + std::to_string(structures));
  }
}

// type 1: five bytes, "Q", NULs; type 9: seventeen bytes, "S1", NULs.
TEST_F(StructureTableWalk, TracesEveryStructureAndTheSum) {
  const SmbiosTable table = one(std::string("\x01\x05\0\0\x01", 5), {"Q"}).slot("S1", "01:00.0");
  EXPECT_EQ(traced_by([&] { static_cast<void>(parse(table)); }),
            "type 1\nstr_offset 0x05\nj 0x01\nlength 0x08\n"
            "type 9\nstr_offset 0x11\nj 0x02\nlength 0x15\n"
            "sum 29\n");
}

}  // namespace
}  // namespace qorx::test
