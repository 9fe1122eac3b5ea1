// The search in physical memory. A regular file stands for /dev/mem.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>

#include "records/state.h"
#include "smbios/entry_point.h"
#include "tests/smbios/parsing.h"
#include "tests/support/rows.h"
#include "tests/support/unprivileged.h"

namespace qorx::test {
namespace {

constexpr std::uint64_t kBiosArea = 0xF0000;
constexpr std::uint32_t kTable = 0xE0010;

const SmbiosTable kSlot = SmbiosTable().slot("S1", "01:00.0");
const Texts kFound{"S1"};

std::string put(std::string image, std::size_t at, const std::string& text) {
  image.resize(std::max(image.size(), at + text.size()));
  return image.replace(at, text.size(), text);
}

// Memory with the table at kTable and this entry point at the start of the BIOS area.
std::string memory_with_entry(const std::string& entry, const SmbiosTable& table = kSlot) {
  return put(put(std::string(0x100000, '\0'), kTable, table.bytes()), kBiosArea, entry);
}

// Memory with the table at 0x100100, to the file's end, and an entry point that announces `length` bytes.
std::string memory_announcing(std::uint32_t length) {
  return put(kSlot.memory3(0, 0x100100), kBiosArea, kSlot.entry_point3(0x100100, length));
}

// Memory, the address of the area that is searched, and what is found.
struct Memory {
  std::string_view rule;
  std::string image;
  Texts names;
  Outcome outcome = {};
  std::uint64_t area = kBiosArea;
};

class MemoryArea : public MachineTest {
 protected:
  void expect_found(const std::string& image, const Texts& expected, const Outcome& outcome = {},
                    std::uint64_t area = kBiosArea) {
    machine_.write("dev/mem", image);
    EXPECT_EQ(outcome_of([&] { return Search_SMBIOS_entry_point_mem1(area); }), outcome);
    EXPECT_EQ(names(), expected);
  }
};

class MemorySearch : public RowTest<Memory, MemoryArea> {};

TEST_P(MemorySearch, Finds) {
  expect_found(row().image, row().names, row().outcome, row().area);
}

std::string with_two_entry_points() {
  const SmbiosTable other = SmbiosTable().slot("other", "01:00.0");
  return put(put(kSlot.memory3(0xF0020, kTable), 0xE8000, other.bytes()), 0xF0040, other.entry_point2(0xE8000));
}

std::string with_a_wrong_checksum_before() {
  std::string bad = spoiled(kSlot.entry_point2(0xE8000), 20);
  fix_checksum(bad, 4, 0, 30);
  return put(kSlot.memory2(0xF0030, kTable), 0xF0010, bad);
}

SmbiosTable abnormal_table() {
  return SmbiosTable(kSlot).raw(std::string("\x01\x04\0\0text", 8)).raw(std::string(0x2000, 'x'));
}

const SmbiosTable kNameless = SmbiosTable().structure(slot_area(0, 7, 0), {});

QORX_ROWS(
    MemorySearch, {"the first entry point that passes", with_two_entry_points(), kFound},
    {"an entry point behind one with a wrong checksum", with_a_wrong_checksum_before(), kFound,
     Outcome{kWrongIntermediate.printed, 0}},
    {"nothing in an empty memory", "", {}, kNothing},
    // The last byte of the address is missing; it is 0.
    {"an entry point that the memory cuts", kSlot.memory3(0xF0000, kTable).substr(0, 0xF0000 + 23), kFound},
    {"a table at 0", kSlot.memory3(0xF0000, 0), kFound},
    {"a table at the end of a page", kSlot.memory3(0xF0000, 0xE0FFF), kFound},
    {"a table above the area", kSlot.memory3(0xF0000, 0x100000), kFound},
    {"a table at the end of the memory", kSlot.memory3(0xF0000, 0x200000U - 21U), kFound},
    // The second of the two NULs.
    {"zeros behind the end of the memory file", kSlot.memory3(0xF0000, 0x100100).substr(0, 0x100100 + 20), kFound},
    // The same byte, which the table does not announce.
    {"zeros behind a table that ends with the memory file", memory_announcing(20).substr(0, 0x100100 + 20), kFound},
    {"a table announced 1 byte longer than the file", memory_announcing(22), kFound},
    {"a table announced 2 bytes longer than the file", memory_announcing(23), kFound},
    {"a table announced a page longer than the file", memory_announcing(0x1000), kFound},
    {"a table announced eight megabytes longer than the file", memory_announcing(0x7FFFFF), kFound},
    // The announced end is the end of a page, so that the last empty structure reaches into the next one: the table
    // has an odd number of bytes.
    {"zeros behind the page where the table ends", memory_announcing(0x1000 - 0x100), kFound},
    {"no table of length zero at a page boundary", memory_with_entry(kSlot.entry_point3(0xE0000, 0)), {}, {"", kNoMap}},
    // Elsewhere the part of the page before it is mapped, and the table is looked at once.
    {"a table of length zero within a page", memory_with_entry(kNameless.entry_point2(kTable, 0), kNameless), {""}},
    {"no name in a table of length zero", memory_with_entry(kSlot.entry_point2(kTable, 0)), {}, kAbnormal},
    {"the records before an abnormal structure",
     memory_with_entry(abnormal_table().entry_point3(kTable), abnormal_table()), kFound, kAbnormal},
    {"an area at its own address", kSlot.memory3(0xD1238, kTable), kFound, {}, 0xD1238},
    {"an area 16 bytes before", kSlot.memory3(0xD1238, kTable), kFound, {}, 0xD1228},
    {"nothing in an area 8 bytes before", kSlot.memory3(0xD1238, kTable), {}, kNothing, 0xD1230},
    {"the last boundary of an area", kSlot.memory3(0xD1238, kTable), kFound, {}, 0xD1238 - 0xFFE0},
    {"nothing behind the last boundary", kSlot.memory3(0xD1238, kTable), {}, kNothing, 0xD1238 - 0xFFF0});

TEST_F(MemoryArea, HoldsTheEntryPointAtAny16ByteBoundary) {
  for (const std::uint32_t at : {0xF0000U, 0xF0010U, 0xF7FF0U, 0xFFFD0U, 0xFFFE0U}) {
    SCOPED_TRACE(at);
    expect_found(kSlot.memory2(at, kTable), kFound);
    expect_found(SmbiosTable().slot("S3", "01:00.0").memory3(at, kTable), {"S3"});
  }
}

TEST_F(MemoryArea, HoldsNoEntryPointElsewhere) {
  for (const std::uint32_t at : {0xEFFF0U, 0xF0001U, 0xF0008U, 0xFFFD8U, 0xFFFF0U, 0x100000U}) {
    SCOPED_TRACE(at);
    expect_found(put(kSlot.memory3(0, kTable), at, kSlot.entry_point3(kTable)), {}, kNothing);
  }
}

TEST_F(MemoryArea, GivesTheCodeOfTheLastBoundaryWhereNothingIsFound) {
  const std::string bad = spoiled(kSlot.entry_point3(kTable), 5);
  for (const auto& [at, code] : {std::pair{0xFFFE0, kChecksum}, {0xFFFD0, kNotFound}, {0xF0000, kNotFound}}) {
    SCOPED_TRACE(at);
    expect_found(put(std::string(0x100000, '\0'), static_cast<std::size_t>(at), bad), {}, {kWrongSum3.printed, code});
  }
}

TEST_F(MemoryArea, TracesWhatTheEntryPointSays) {
  const auto traces = [&](const std::string& image) {
    machine_.write("dev/mem", image);
    return traced_by([] { static_cast<void>(Search_SMBIOS_entry_point_mem1(kBiosArea)); });
  };
  EXPECT_EQ(traces(kSlot.memory2(0xF0000, kTable)),
            "entry_v2\nstructure table lenght: 21\nstructure table address: e0010\n"
            "type 9\nstr_offset 0x11\nj 0x02\nlength 0x15\nsum 21\n");
  EXPECT_TRUE(traces(kSlot.memory3(0xF0000, 0x100ABC))
                  .starts_with("entry_v3\nstructure table lenght: 21\nstructure table address: 100abc\ntype 9\n"));
}

TEST_F(MemoryArea, CannotBeMappedWithoutMemory) {
  EXPECT_EQ(Search_SMBIOS_entry_point_mem1(kBiosArea), kNoMap);
  machine_.make_directory("dev/mem");
  EXPECT_EQ(Search_SMBIOS_entry_point_mem1(kBiosArea), kNoMap);
  EXPECT_TRUE(slot_records().empty());
}

TEST_F(MemoryArea, IsFoundInMemoryThatMayOnlyBeRead) {
  machine_.write("dev/mem", kSlot.memory2(0xF0000, kTable));
  std::filesystem::permissions(machine_.root() / "dev/mem", std::filesystem::perms{0444});
  EXPECT_TRUE(
      holds_without_root(machine_, [] { return Search_SMBIOS_entry_point_mem1(kBiosArea) == 0 && names() == kFound; }));
}

TEST_F(MemoryArea, AnAnnouncementOfFourGigabytesEndsAtOnce) {
  const auto start = std::chrono::steady_clock::now();
  expect_found(memory_with_entry(kSlot.entry_point3(kTable, 0xFFFFFFFF)), kFound);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

// Of the area or of the table.
TEST_F(MemoryArea, AnAddressBeyondWhatAFileCanHaveCannotBeMapped) {
  for (const std::uint64_t address :
       {0xFFFFFFFFFFFFFFFFU, 0xFFFFFFFFFFFFFFF0U, 0xFFFFFFFFFFFFF000U, 0xFFFFFFFFFFFF0000U, 0x8000000000000000U,
        0x8000000000000010U, 0x7FFFFFFFFFFFFFF0U, 0x7FFFFFFFFFFFF000U}) {
    SCOPED_TRACE(address);
    expect_found(memory_with_entry(kSlot.entry_point3(address, 64)), {}, {"", kNoMap});
    expect_found(kSlot.memory3(0xF0000, kTable), {}, {"", kNoMap}, address);
  }
}

}  // namespace
}  // namespace qorx::test
