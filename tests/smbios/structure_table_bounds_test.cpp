// Where the walk ends, and what lies behind the bytes that were loaded.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "base/messages.h"
#include "smbios/structure_table.h"
#include "tests/smbios/parsing.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

constexpr const char* kAbnormal = "SMBIOS structure abnormal! NO valid slot name and panel name can be shown!\n";
constexpr std::int32_t kUnterminated = 0x91;

using Strings = std::vector<std::string>;

class StructureTableBounds : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  static std::string two_slots() { return SmbiosTable().slot("A", "01:00.0").slot("B", "02:00.0").bytes(); }
  static std::uint32_t size_of(const std::string& file) { return static_cast<std::uint32_t>(file.size()); }
};

TEST_F(StructureTableBounds, AnUnterminatedStringSetEndsTheWalkAndKeepsTheRecordsBefore) {
  std::string file = two_slots();
  file.pop_back();
  std::int32_t code = 0;
  EXPECT_EQ(printed_by([&] { code = parse(file, size_of(file)); }), kAbnormal);
  EXPECT_EQ(code, kUnterminated);
  EXPECT_EQ(names(), Strings{"A"});
}

TEST_F(StructureTableBounds, AnUnterminatedStringSetIsReportedOnlyWithErrorMessagesOn) {
  std::string file = two_slots();
  file.pop_back();
  g_error_message_open = 0;
  std::int32_t code = 0;
  EXPECT_EQ(printed_by([&] { code = parse(file, size_of(file)); }), "");
  EXPECT_EQ(code, kUnterminated);
}

TEST_F(StructureTableBounds, AnUnterminatedStringSetIsTracedUpToItsOffset) {
  std::string file = SmbiosTable().slot("A", "01:00.0").bytes();
  file.resize(file.size() - 2);
  EXPECT_EQ(traced_by([&] { static_cast<void>(parse(file, size_of(file))); }),
            std::string("type 9\nstr_offset 0x11\n") + kAbnormal);
}

// Whatever is cut off the last structure of a wholly loaded table, the bytes behind it read as 0xFF.
TEST_F(StructureTableBounds, ATableCutAnywhereInItsLastStructureIsAbnormal) {
  g_error_message_open = 0;
  const std::string file = two_slots();
  for (std::size_t size = file.size() / 2 + 1; size < file.size(); ++size) {
    SCOPED_TRACE(size);
    const std::string cut = file.substr(0, size);
    EXPECT_EQ(parse(cut, size_of(cut)), kUnterminated);
    EXPECT_EQ(names(), Strings{"A"});
  }
}

TEST_F(StructureTableBounds, TheTwoNulsAreLookedForBeforeTheEndOfTheTable) {
  const std::string file = two_slots();
  const std::uint32_t announced = size_of(file) - 1;  // the last NUL lies just behind the table
  std::int32_t code = -1;
  const std::string traces = traced_by([&] { code = parse(file, announced); });
  EXPECT_EQ(code, 0);
  EXPECT_EQ(names(), (Strings{"A", "B"}));
  EXPECT_EQ(traces.substr(traces.find("sum")), "sum 40\nWARNING:sum 40 is bigger than table_len 39!\n");
}

TEST_F(StructureTableBounds, ASumThatJustReachesTheTableLengthGivesNoWarning) {
  const std::string traces = traced_by([] { static_cast<void>(parse(two_slots(), 40)); });
  EXPECT_EQ(traces.substr(traces.find("sum")), "sum 40\n");
}

TEST_F(StructureTableBounds, ALongerFileIsWalkedOnlyUpToTheAnnouncedLength) {
  EXPECT_EQ(parse(two_slots(), 20), 0);
  EXPECT_EQ(names(), Strings{"A"});
}

// The table ends inside a formatted area; the bytes behind it are those that the file really has.
TEST_F(StructureTableBounds, BehindTheTableALongerFileGoesOn) {
  g_error_message_open = 0;
  const std::string file = two_slots() + SmbiosTable().onboard("C", "03:00.0").bytes();
  EXPECT_EQ(parse(file, 41), kUnterminated);  // the two NULs of "C" lie too far behind
  EXPECT_EQ(names(), (Strings{"A", "B"}));
  const std::string zeros = two_slots() + std::string("\x29\x0B\0\0\0\0\0\0\0\x05\x08\0\0", 13);
  EXPECT_EQ(parse(zeros, 41), 0);
  ASSERT_EQ(slot_records().size(), 3U);
  EXPECT_EQ(slot_records()[2].bus, 5);
  EXPECT_EQ(slot_records()[2].dev, 1);
}

TEST_F(StructureTableBounds, ATableOfLengthZeroIsLookedAtOnce) {
  std::int32_t code = -1;
  const std::string file = SmbiosTable().structure(slot_area(0, 1, 0), {}).slot("B", "02:00.0").bytes();
  const std::string traces = traced_by([&] { code = parse(file, 0); });
  EXPECT_EQ(code, 0);
  EXPECT_EQ(slot_records().size(), 1U);
  EXPECT_EQ(traces,
            "type 9\nstr_offset 0x11\nj 0x00\nlength 0x13\nsum 19\nWARNING:sum 19 is bigger than table_len 0!\n");
}

TEST_F(StructureTableBounds, ATableOfLengthZeroEndsAtTheFirstByteThatIsNotANul) {
  g_error_message_open = 0;
  EXPECT_EQ(parse(two_slots(), 0), kUnterminated);  // "A" stands where the NULs would be
  EXPECT_TRUE(slot_records().empty());
}

TEST_F(StructureTableBounds, ATableOfLengthZeroWithoutAByteIsAbnormal) {
  g_error_message_open = 0;
  EXPECT_EQ(parse("", 0), kUnterminated);
  EXPECT_TRUE(slot_records().empty());
}

TEST_F(StructureTableBounds, BehindAFileShorterThanAnnouncedTheBytesCountAsZero) {
  for (const std::uint32_t announced : {41U, 42U, 100U, 101U}) {
    SCOPED_TRACE(announced);
    EXPECT_EQ(parse(two_slots(), announced), 0);
    EXPECT_EQ(names(), (Strings{"A", "B"}));
  }
}

// Version 3 entry points announce a maximum. The zeros behind the file are empty structures of two bytes.
TEST_F(StructureTableBounds, ZerosBehindAShortFileAreTracedAsEmptyStructures) {
  const std::string file = SmbiosTable().slot("A", "01:00.0").bytes();
  EXPECT_EQ(traced_by([&] { static_cast<void>(parse(file, 23)); }),
            "type 9\nstr_offset 0x11\nj 0x01\nlength 0x14\n"
            "type 0\nstr_offset 0x00\nj 0x00\nlength 0x02\n"
            "type 0\nstr_offset 0x00\nj 0x00\nlength 0x02\n"
            "sum 24\nWARNING:sum 24 is bigger than table_len 23!\n");
}

TEST_F(StructureTableBounds, AStructureCutByTheEndOfAShortFileIsCompletedWithZeros) {
  const std::string file = SmbiosTable().slot("SLOT 1", "01:02.0").bytes();
  ASSERT_EQ(parse(file.substr(0, 17 + 4), 100), 0);
  EXPECT_EQ(names(), Strings{"SLOT"});
  ASSERT_EQ(parse(file.substr(0, 16), 100), 0);
  ASSERT_EQ(slot_records().size(), 1U);
  EXPECT_EQ(slot_records()[0].bus, 1);
  EXPECT_EQ(slot_records()[0].dev, 0);
  EXPECT_STREQ(slot_records()[0].slot_name, "");
}

TEST_F(StructureTableBounds, AnEmptyFileOfAnAnnouncedTableGivesNoRecords) {
  EXPECT_EQ(parse("", 100), 0);
  EXPECT_TRUE(slot_records().empty());
}

// An odd number of loaded bytes, so that empty structures of two bytes end exactly at the announced length.
TEST_F(StructureTableBounds, AnAnnouncementOfFourGigabytesEndsAtOnce) {
  const std::string file = SmbiosTable().slot("AB", "01:00.0").bytes();
  ASSERT_EQ(file.size() % 2, 1U);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(parse(file, 0xFFFFFFFF), 0);
  EXPECT_EQ(names(), Strings{"AB"});
  const std::string traces = traced_by([&] { static_cast<void>(parse(file, 0xFFFFFFFF)); });
  EXPECT_TRUE(traces.ends_with("length 0x02\nsum 4294967295\n"));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

// A mapped table: `present` bytes were there, the pages end at `extent`.
std::int32_t parse_mapped(const std::string& present, std::uint64_t extent, std::uint32_t table_len) {
  const std::vector<std::uint8_t> exact(present.begin(), present.end());
  return Parse_struct_table(TableBytes::mapped(exact, extent), table_len);
}

TEST_F(StructureTableBounds, BehindAMappedTableTheRestOfThePageIsRead) {
  std::string page = two_slots();
  page.resize(4096);
  EXPECT_EQ(parse_mapped(page, 4096, 39), 0);
  EXPECT_EQ(names(), (Strings{"A", "B"}));
}

TEST_F(StructureTableBounds, BehindTheLastMappedPageTheBytesReadAsFF) {
  g_error_message_open = 0;
  std::string file = two_slots();
  file.pop_back();
  EXPECT_EQ(parse_mapped(file, file.size(), size_of(file)), kUnterminated);
  EXPECT_EQ(names(), Strings{"A"});
}

}  // namespace
}  // namespace qorx::test
