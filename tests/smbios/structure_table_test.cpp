#include "smbios/structure_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "records/state.h"
#include "tests/smbios/parsing.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

class StructureTable : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }
};

using Strings = std::vector<std::string>;

TEST_F(StructureTable, AStructureWithoutStringsIsItsFormattedAreaAndTwoNuls) {
  SmbiosTable table;
  table.structure(slot_area(0, 1, 0), {}).slot("behind", "02:00.0");
  ASSERT_EQ(parse(table), 0);
  ASSERT_EQ(slot_records().size(), 2U);
  EXPECT_EQ(slot_records()[0].length, 19);
  EXPECT_STREQ(slot_records()[1].slot_name, "behind");
}

TEST_F(StructureTable, ASystemSlotHasItsAddressInBytes15And16) {
  SmbiosTable table;
  std::string area = slot_area(1, 0xAB, 0x83);
  area[9] = 0x11;  // where an onboard device has its address
  area[10] = 0x22;
  ASSERT_EQ(parse(table.structure(area, {"SLOT 1"})), 0);
  const SlotRecord& slot = slot_records()[0];
  EXPECT_EQ(slot.type, 9);
  EXPECT_EQ(slot.str_index, 1);
  EXPECT_EQ(slot.bus, 0xAB);
  EXPECT_EQ(slot.dev, 0x10);
  EXPECT_EQ(slot.fun, 3);
  EXPECT_STREQ(slot.slot_name, "SLOT 1");
}

TEST_F(StructureTable, AnOnboardDeviceHasItsAddressInBytes9And10) {
  SmbiosTable table;
  ASSERT_EQ(parse(table.structure(onboard_area(2, 0x07, 0xFA), {"NIC", "LAN1"})), 0);
  const SlotRecord& slot = slot_records()[0];
  EXPECT_EQ(slot.type, 41);
  EXPECT_EQ(slot.str_index, 2);
  EXPECT_EQ(slot.bus, 7);
  EXPECT_EQ(slot.dev, 31);
  EXPECT_EQ(slot.fun, 2);
  EXPECT_STREQ(slot.slot_name, "LAN1");
}

TEST_F(StructureTable, TheRawBytesAreTheWholeStructureWithItsStrings) {
  SmbiosTable table;
  table.slot("ABC", "05:02.1");
  const std::string structure = table.bytes();
  ASSERT_EQ(parse(table.slot("next", "06:00.0")), 0);
  const SlotRecord& slot = slot_records()[0];
  EXPECT_EQ(slot.length, 17 + 3 + 2);
  EXPECT_EQ(std::string(slot.raw, slot.raw + structure.size()), structure);
  EXPECT_EQ(slot.raw[structure.size()], 0);
}

TEST_F(StructureTable, OtherStructuresGiveNoRecord) {
  SmbiosTable table;
  for (const char type : {'\x00', '\x01', '\x08', '\x0A', '\x28', '\x2A', '\x7E'}) {
    table.structure(std::string{type, 5, 0, 0, 1}, {"text"});
  }
  EXPECT_EQ(parse(table), 0);
  EXPECT_TRUE(slot_records().empty());
}

TEST_F(StructureTable, FieldsThatLaterStagesFillAreZero) {
  SmbiosTable table;
  ASSERT_EQ(parse(table.slot("A", "01:00.0")), 0);
  const SlotRecord& slot = slot_records()[0];
  EXPECT_STREQ(slot.smbios_slot_name, "");
  EXPECT_STREQ(slot.model_name, "");
  EXPECT_EQ(slot.feature, 0);
  EXPECT_EQ(slot.port_count, 0);
  EXPECT_EQ(slot.device_id_number, 0);
  EXPECT_STREQ(slot.sysfs_path, "");
}

// The strings "ab", "cdef", "XYZ" lie at 0, 3 and 8. From number 3 on the position is only (length of the string
// read before) + 1: number 3 starts at 4 + 1 and reads "ef", number 4 at 2 + 1 and reads "cdef", and so on.
TEST_F(StructureTable, StringNumbersFromThreeOnCountFromTheStartOfTheStringSet) {
  const struct {
    int number;
    const char* designation;
  } cases[] = {{1, "ab"}, {2, "cdef"}, {3, "ef"}, {4, "cdef"}, {5, "ef"}, {254, "cdef"}, {255, "ef"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.number);
    SmbiosTable table;
    ASSERT_EQ(parse(table.structure(slot_area(static_cast<std::uint8_t>(c.number), 1, 0), {"ab", "cdef", "XYZ"})), 0);
    EXPECT_EQ(slot_records()[0].str_index, c.number);
    EXPECT_STREQ(slot_records()[0].slot_name, c.designation);
  }
}

TEST_F(StructureTable, ANumberBehindTheLastStringReadsTheClosingNul) {
  SmbiosTable table;
  table.structure(slot_area(2, 1, 0), {"ab"});     // position 3: the second closing NUL
  table.structure(onboard_area(3, 1, 0), {"ab"});  // then position 1
  ASSERT_EQ(parse(table), 0);
  EXPECT_STREQ(slot_records()[0].slot_name, "");
  EXPECT_STREQ(slot_records()[1].slot_name, "b");
}

TEST_F(StructureTable, StringNumberZeroInheritsTheDesignationBefore) {
  SmbiosTable table;
  table.structure(slot_area(0, 1, 0), {"own"});
  table.onboard("LAN1", "02:00.0");
  table.structure(std::string("\x01\x05\x00\x00\x01", 5), {"other type"});
  table.structure(slot_area(0, 3, 0), {"own"});
  table.structure(onboard_area(0, 4, 0), {});
  ASSERT_EQ(parse(table), 0);
  EXPECT_EQ(names(), (Strings{"", "LAN1", "LAN1", "LAN1"}));
}

TEST_F(StructureTable, NothingIsInheritedFromAnEarlierWalk) {
  SmbiosTable first;
  ASSERT_EQ(parse(first.slot("first", "01:00.0")), 0);
  SmbiosTable second;
  ASSERT_EQ(parse(second.structure(slot_area(0, 2, 0), {})), 0);
  EXPECT_EQ(names(), Strings{""});
}

TEST_F(StructureTable, EachWalkReplacesTheRecords) {
  SmbiosTable first;
  ASSERT_EQ(parse(first.slot("A", "01:00.0").slot("B", "02:00.0")), 0);
  SmbiosTable second;
  ASSERT_EQ(parse(second.onboard("C", "03:00.0")), 0);
  EXPECT_EQ(names(), Strings{"C"});
  EXPECT_EQ(slot_records()[0].type, 41);
}

TEST_F(StructureTable, TheDesignationIsNotTrimmedByTheWalk) {
  SmbiosTable table;
  ASSERT_EQ(parse(table.slot(" \tSlot 1  ", "01:00.0")), 0);
  EXPECT_STREQ(slot_records()[0].slot_name, " \tSlot 1  ");
}

TEST_F(StructureTable, ALongDesignationIsCutTo255Characters) {
  SmbiosTable table;
  ASSERT_EQ(parse(table.slot(std::string(255, 'a'), "01:00.0").slot(std::string(300, 'b'), "02:00.0")), 0);
  EXPECT_EQ(names(), (Strings{std::string(255, 'a'), std::string(255, 'b')}));
}

// A cut string counts with its 255 characters, so number 2 starts at 256, inside the first string.
TEST_F(StructureTable, TheStringBehindALongOneStartsWhereTheCutStringEnded) {
  SmbiosTable table;
  ASSERT_EQ(parse(table.structure(slot_area(2, 1, 0), {std::string(300, 'n'), "second"})), 0);
  EXPECT_EQ(names(), Strings{std::string(44, 'n')});
}

TEST_F(StructureTable, TheWalkGoesOnBehindTheEndOfTableStructure) {
  SmbiosTable table;
  table.slot("before", "01:00.0").structure(std::string("\x7F\x04\x00\x00", 4), {}).slot("behind", "02:00.0");
  EXPECT_EQ(parse(table), 0);
  EXPECT_EQ(names(), (Strings{"before", "behind"}));
}

TEST_F(StructureTable, EveryStructureBehindThe512thOverwritesTheLastRecord) {
  const struct {
    int structures;
    const char* last;
  } cases[] = {{511, "S511"}, {512, "S512"}, {513, "S513"}, {600, "S600"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.structures);
    SmbiosTable table;
    for (int i = 1; i <= c.structures; ++i) {
      table.slot("S" + std::to_string(i), "01:00.0");
    }
    ASSERT_EQ(parse(table), 0);
    ASSERT_EQ(qorx_system_environment_info.eth_smbios_t9_t41_number,
              static_cast<std::uint32_t>(std::min(c.structures, 512)));
    EXPECT_STREQ(slot_records()[510].slot_name, "S511");
    EXPECT_STREQ(slot_records().back().slot_name, c.last);
  }
}

// Structures of firmware older than SMBIOS 2.6 are 13 bytes long; the address is read from the designation.
TEST_F(StructureTable, ASystemSlotWithoutAddressBytesTakesWhatLiesThere) {
  SmbiosTable table;
  ASSERT_EQ(parse(table.structure(std::string("\x09\x0D\0\0\x01\0\0\0\0\0\0\0\0", 13), {"SLOT"})), 0);
  const SlotRecord& slot = slot_records()[0];
  EXPECT_STREQ(slot.slot_name, "SLOT");
  EXPECT_EQ(slot.bus, 'O');
  EXPECT_EQ(slot.dev, 'T' >> 3);
  EXPECT_EQ(slot.fun, 'T' & 7);
}

TEST_F(StructureTable, AnOnboardDeviceWithoutAddressBytesTakesWhatLiesThere) {
  SmbiosTable table;
  ASSERT_EQ(parse(table.structure(std::string("\x29\x09\0\0\x01\0\0\0\0", 9), {"LAN"})), 0);
  const SlotRecord& slot = slot_records()[0];
  EXPECT_EQ(slot.bus, 'L');
  EXPECT_EQ(slot.dev, 'A' >> 3);
  EXPECT_EQ(slot.fun, 'A' & 7);
}

// A structure of 13 bytes with a string of one character ends before byte 16: the next structure's type is there.
TEST_F(StructureTable, AnAddressByteMayLieInTheNextStructure) {
  SmbiosTable table;
  table.structure(std::string("\x09\x0D\0\0\x01\0\0\0\0\0\0\0\0", 13), {"A"}).onboard("B", "01:00.0");
  ASSERT_EQ(parse(table), 0);
  EXPECT_EQ(slot_records()[0].bus, 0);  // the second closing NUL
  EXPECT_EQ(slot_records()[0].dev, 41 >> 3);
  EXPECT_EQ(slot_records()[0].fun, 41 & 7);
}

TEST_F(StructureTable, AStructureTooShortForAStringNumberTakesWhatLiesThere) {
  SmbiosTable table;
  ASSERT_EQ(parse(table.structure(std::string("\x09\x04\0\0", 4), {"\x01Z"})), 0);
  EXPECT_EQ(slot_records()[0].str_index, 1);
  EXPECT_STREQ(slot_records()[0].slot_name, "\x01Z");
}

// The strings of a structure of formatted length 0 begin at its type byte: 09 | 00 00.
TEST_F(StructureTable, AFormattedLengthOfZeroStillMovesOn) {
  SmbiosTable table;
  table.raw(bytes("09 00 00")).slot("next", "01:00.0");
  ASSERT_EQ(parse(table), 0);
  ASSERT_EQ(slot_records().size(), 2U);
  EXPECT_EQ(slot_records()[0].length, 3);
  EXPECT_STREQ(slot_records()[1].slot_name, "next");
}

TEST_F(StructureTable, TheLengthIsKeptModulo256) {
  const struct {
    std::size_t name;
    int length;
  } cases[] = {{236, 255}, {237, 0}, {238, 1}, {281, 44}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    SmbiosTable table;
    ASSERT_EQ(parse(table.slot(std::string(c.name, 'n'), "01:00.0")), 0);
    EXPECT_EQ(slot_records()[0].length, c.length);
  }
}

TEST_F(StructureTable, OfAStructureLongerThan1024BytesTheFirst1024AreKept) {
  SmbiosTable table;
  const Strings strings{"name", std::string(600, 'x'), std::string(600, 'y')};
  table.structure(slot_area(1, 0x12, 0x08), strings);
  const std::string structure = table.bytes();
  ASSERT_EQ(parse(table.slot("next", "01:00.0")), 0);
  const SlotRecord& slot = slot_records()[0];
  EXPECT_EQ(slot.length, (17 + 5 + 601 + 601 + 1) % 256);
  EXPECT_EQ(slot.bus, 0x12);
  EXPECT_EQ(slot.dev, 1);
  EXPECT_EQ(std::string(slot.raw, slot.raw + sizeof slot.raw), structure.substr(0, 1024));
  EXPECT_EQ(names(), (Strings{"name", "next"}));
}

// type 1: five bytes, "Q", NULs; type 9: seventeen bytes, "S1", NULs.
TEST_F(StructureTable, TracesEveryStructureAndTheSum) {
  SmbiosTable table;
  table.structure(std::string("\x01\x05\0\0\x01", 5), {"Q"}).slot("S1", "01:00.0");
  EXPECT_EQ(traced_by([&] { static_cast<void>(parse(table)); }),
            "type 1\nstr_offset 0x05\nj 0x01\nlength 0x08\n"
            "type 9\nstr_offset 0x11\nj 0x02\nlength 0x15\n"
            "sum 29\n");
}

TEST_F(StructureTable, IsSilentWithoutDebugTraces) {
  SmbiosTable table;
  EXPECT_EQ(printed_by([&] { static_cast<void>(parse(table.slot("S1", "01:00.0"))); }), "");
}

}  // namespace
}  // namespace qorx::test
