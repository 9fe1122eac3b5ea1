// Where the walk ends, and what lies behind the bytes that were loaded.
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "base/messages.h"
#include "records/state.h"
#include "smbios/structure_table.h"
#include "tests/smbios/parsing.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

// Slots of 20 bytes each, with one-letter names.
const std::string kTwoSlots = SmbiosTable().slot("A", "01:00.0").slot("B", "02:00.0").bytes();
const Texts kBoth{"A", "B"};
const std::string kSlotA = kTwoSlots.substr(0, 20);
const std::string kUnterminatedB = kTwoSlots.substr(0, 39);

// What a file has, what its entry point announces, and what the walk makes of it.
struct Bounds {
  std::string_view rule;
  std::string file;
  std::uint32_t announced;
  Texts names;
  Outcome outcome = {};
};

class StructureTableBounds : public RowTest<Bounds> {};

TEST_P(StructureTableBounds, OfAFile) {
  EXPECT_EQ(outcome_of([] { return parse(row().file, row().announced); }), row().outcome);
  EXPECT_EQ(names(), row().names);
}

QORX_ROWS(
    StructureTableBounds,
    {"an unterminated string set ends the walk and keeps the records before", kUnterminatedB, 39, {"A"}, kAbnormal},
    {"the two nuls are looked for before the end of the table", kTwoSlots, 39, kBoth},
    {"a longer file is walked only up to the announced length", kTwoSlots, 20, {"A"}},
    // Its formatted area is completed from the file, but its two NULs lie too far behind.
    {"a structure behind the table is abnormal", kTwoSlots + SmbiosTable().onboard("C", "03:00.0").bytes(), 41, kBoth,
     kAbnormal},
    {"behind the table a longer file goes on", kTwoSlots + std::string("\x29\x0B\0\0\0\0\0\0\0\x05\x08\0\0", 13), 41,
     Texts{"A", "B", "B"}},
    // "A" stands where the NULs would be.
    {"a table of length zero ends at the first byte that is not a nul", kTwoSlots, 0, {}, kAbnormal},
    {"a table of length zero without a byte is abnormal", "", 0, {}, kAbnormal},
    {"behind a file one byte shorter than announced the byte counts as zero", kTwoSlots, 41, kBoth},
    {"behind a file two bytes shorter than announced the bytes count as zero", kTwoSlots, 42, kBoth},
    {"behind a file much shorter than announced the bytes count as zero", kTwoSlots, 100, kBoth},
    {"an odd number of zeros behind a file does not matter", kTwoSlots, 101, kBoth},
    {"strings cut by the end of a short file are completed with zeros",
     SmbiosTable().slot("SLOT 1", "01:02.0").bytes().substr(0, 17 + 4), 100, Texts{"SLOT"}},
    {"an empty file of an announced table gives no records", "", 100, {}});

class StructureTableEnds : public LibraryTest {
 protected:
  // The code of a walk, in silence.
  static std::int32_t code_of(const std::string& file, std::size_t announced) {
    return outcome_of([&] { return parse(file, static_cast<std::uint32_t>(announced)); }).code;
  }

  // The traces from the sum on.
  static std::string sum_of(const std::string& file, std::uint32_t announced) {
    const std::string traces = traced_by([&] { EXPECT_EQ(parse(file, announced), 0); });
    return traces.substr(traces.find("sum"));
  }
};

TEST_F(StructureTableEnds, AnUnterminatedStringSetIsReportedOnlyWithErrorMessagesOn) {
  g_error_message_open = 0;
  EXPECT_EQ(outcome_of([] { return parse(kUnterminatedB, 39); }), kNothing);
}

TEST_F(StructureTableEnds, AnUnterminatedStringSetIsTracedUpToItsOffset) {
  EXPECT_EQ(traced_by([] { static_cast<void>(parse(kSlotA.substr(0, 18), 18)); }),
            "type 9\nstr_offset 0x11\n" + kAbnormal.printed);
}

// Whatever is cut off the last structure of a wholly loaded table, the bytes behind it read as 0xFF.
TEST_F(StructureTableEnds, ATableCutAnywhereInItsLastStructureIsAbnormal) {
  for (std::size_t size = 21; size < kTwoSlots.size(); ++size) {
    SCOPED_TRACE(size);
    EXPECT_EQ(code_of(kTwoSlots.substr(0, size), size), 0x91);
    EXPECT_EQ(names(), Texts{"A"});
  }
}

TEST_F(StructureTableEnds, ASumBeyondTheTableLengthIsTraced) {
  EXPECT_EQ(sum_of(kTwoSlots, 39), "sum 40\nWARNING:sum 40 is bigger than table_len 39!\n");
  EXPECT_EQ(sum_of(kTwoSlots, 40), "sum 40\n");
}

TEST_F(StructureTableEnds, BehindTheTableTheAddressIsReadFromALongerFile) {
  EXPECT_EQ(code_of(kTwoSlots + std::string("\x29\x0B\0\0\0\0\0\0\0\x05\x08\0\0", 13), 41), 0);
  expect_slot(slot_records()[2], {.bus = 5, .dev = 1});
}

TEST_F(StructureTableEnds, ATableOfLengthZeroIsLookedAtOnce) {
  const std::string file = SmbiosTable().structure(slot_area(0, 1, 0), {}).slot("B", "02:00.0").bytes();
  EXPECT_EQ(traced_by([&] { EXPECT_EQ(parse(file, 0), 0); }),
            "type 9\nstr_offset 0x11\nj 0x00\nlength 0x13\nsum 19\nWARNING:sum 19 is bigger than table_len 0!\n");
  EXPECT_EQ(slot_records().size(), 1U);
}

// Version 3 entry points announce a maximum. The zeros behind the file are empty structures of two bytes.
TEST_F(StructureTableEnds, ZerosBehindAShortFileAreTracedAsEmptyStructures) {
  EXPECT_EQ(traced_by([] { static_cast<void>(parse(kSlotA, 23)); }),
            "type 9\nstr_offset 0x11\nj 0x01\nlength 0x14\n"
            "type 0\nstr_offset 0x00\nj 0x00\nlength 0x02\n"
            "type 0\nstr_offset 0x00\nj 0x00\nlength 0x02\n"
            "sum 24\nWARNING:sum 24 is bigger than table_len 23!\n");
}

TEST_F(StructureTableEnds, AnAddressCutByTheEndOfAShortFileIsCompletedWithZeros) {
  EXPECT_EQ(code_of(SmbiosTable().slot("SLOT 1", "01:02.0").bytes().substr(0, 16), 100), 0);
  ASSERT_EQ(slot_records().size(), 1U);
  expect_slot(slot_records()[0], {.bus = 1, .dev = 0, .slot_name = ""});
}

// An odd number of loaded bytes, so that empty structures of two bytes end exactly at the announced length.
TEST_F(StructureTableEnds, AnAnnouncementOfFourGigabytesEndsAtOnce) {
  const std::string file = SmbiosTable().slot("AB", "01:00.0").bytes();
  ASSERT_EQ(file.size() % 2, 1U);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(code_of(file, 0xFFFFFFFF), 0);
  EXPECT_EQ(names(), Texts{"AB"});
  const std::string traces = traced_by([&] { static_cast<void>(parse(file, 0xFFFFFFFF)); });
  EXPECT_TRUE(traces.ends_with("length 0x02\nsum 4294967295\n"));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

// A mapped table: `present` bytes were there, the pages end at `extent`.
Outcome parse_mapped(const std::string& present, std::uint64_t extent, std::uint32_t table_len) {
  const std::vector<std::uint8_t> exact(present.begin(), present.end());
  return outcome_of([&] { return Parse_struct_table(TableBytes::mapped(exact, extent), table_len); });
}

TEST_F(StructureTableEnds, BehindAMappedTableTheRestOfThePageIsRead) {
  EXPECT_EQ(parse_mapped(kTwoSlots + std::string(4096 - 40, '\0'), 4096, 39), Outcome{});
  EXPECT_EQ(names(), (kBoth));
}

TEST_F(StructureTableEnds, BehindTheLastMappedPageTheBytesReadAsFF) {
  EXPECT_EQ(parse_mapped(kUnterminatedB, 39, 39), kAbnormal);
  EXPECT_EQ(names(), Texts{"A"});
}

TEST(TableBytes, ACopyGoesOnBehindTheBytesThatAreThere) {
  const std::array<std::uint8_t, 3> there{1, 2, 3};
  const TableBytes table = TableBytes::mapped(there, 5);
  const auto copied = [&](std::uint64_t offset) {
    std::vector<std::uint8_t> bytes(3, 9);
    table.copy(offset, bytes);
    return bytes;
  };
  EXPECT_EQ(copied(0), (std::vector<std::uint8_t>{1, 2, 3}));
  EXPECT_EQ(copied(2), (std::vector<std::uint8_t>{3, 0, 0}));
  EXPECT_EQ(copied(3), (std::vector<std::uint8_t>{0, 0, 0xFF}));
  EXPECT_EQ(copied(7), (std::vector<std::uint8_t>{0xFF, 0xFF, 0xFF}));
}

}  // namespace
}  // namespace qorx::test
