// The search in physical memory. A regular file stands for /dev/mem.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "records/state.h"
#include "smbios/entry_point.h"
#include "tests/smbios/parsing.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

constexpr std::int32_t kNotFound = 0x91;
constexpr std::int32_t kChecksum = 0x92;
constexpr std::int32_t kNoMap = 0x97;
constexpr std::uint64_t kBiosArea = 0xF0000;
constexpr std::uint32_t kTable = 0xE0010;

using Strings = std::vector<std::string>;

SmbiosTable one_slot(const std::string& name = "S1") {
  return SmbiosTable().slot(name, "01:00.0");
}

void put(std::string& image, std::size_t at, const std::string& text) {
  image.resize(std::max(image.size(), at + text.size()));
  image.replace(at, text.size(), text);
}

class MemorySearch : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  // Searches the BIOS area of a machine with this memory; keeps what was printed.
  std::int32_t search(const std::string& image, std::uint64_t address = kBiosArea) {
    machine_.write("dev/mem", image);
    std::int32_t code = -1;
    printed_ = printed_by([&] { code = Search_SMBIOS_entry_point_mem1(address); });
    return code;
  }

  // The same where the memory holds `table` at kTable and this entry point at the start of the area.
  std::int32_t search_entry(const std::string& entry, const SmbiosTable& table = one_slot()) {
    std::string image(0x100000, '\0');
    put(image, kTable, table.bytes());
    put(image, kBiosArea, entry);
    return search(image);
  }

  FakeMachine machine_;
  std::string printed_;
};

TEST_F(MemorySearch, FindsTheEntryPointAtAny16ByteBoundaryOfTheArea) {
  for (const std::uint32_t at : {0xF0000U, 0xF0010U, 0xF7FF0U, 0xFFFD0U, 0xFFFE0U}) {
    SCOPED_TRACE(at);
    EXPECT_EQ(search(one_slot().memory2(at, kTable)), 0);
    EXPECT_EQ(names(), Strings{"S1"});
    EXPECT_EQ(search(one_slot("S3").memory3(at, kTable)), 0);
    EXPECT_EQ(names(), Strings{"S3"});
    EXPECT_EQ(printed_, "");
  }
}

TEST_F(MemorySearch, FindsNoEntryPointElsewhere) {
  for (const std::uint32_t at : {0xEFFF0U, 0xF0001U, 0xF0008U, 0xFFFD8U, 0xFFFF0U, 0x100000U}) {
    SCOPED_TRACE(at);
    std::string image = one_slot().memory3(0, kTable);
    put(image, at, one_slot().entry_point3(kTable));
    EXPECT_EQ(search(image), kNotFound);
    EXPECT_TRUE(slot_records().empty());
  }
}

TEST_F(MemorySearch, AnAreaThatDoesNotBeginAtAPageIsScannedFromItsOwnAddress) {
  const std::string image = one_slot().memory3(0xD1238, kTable);
  EXPECT_EQ(search(image, 0xD1238), 0);
  EXPECT_EQ(search(image, 0xD1228), 0);
  EXPECT_EQ(search(image, 0xD1230), kNotFound);
  EXPECT_EQ(search(image, 0xD1238 - 0xFFE0), 0);
  EXPECT_EQ(search(image, 0xD1238 - 0xFFF0), kNotFound);
}

TEST_F(MemorySearch, TheFirstEntryPointThatPassesIsTaken) {
  std::string image = one_slot("first").memory3(0xF0020, kTable);
  put(image, 0xE8000, one_slot("other").bytes());
  put(image, 0xF0040, one_slot("other").entry_point2(0xE8000));
  EXPECT_EQ(search(image), 0);
  EXPECT_EQ(names(), Strings{"first"});
}

TEST_F(MemorySearch, AWrongChecksumDoesNotEndTheScan) {
  std::string bad = one_slot().entry_point2(0xE8000);
  bad[20] = static_cast<char>(bad[20] + 1);
  fix_checksum(bad, 4, 0, 30);
  std::string image = one_slot("good").memory2(0xF0030, kTable);
  put(image, 0xF0010, bad);
  EXPECT_EQ(search(image), 0);
  EXPECT_EQ(names(), Strings{"good"});
  EXPECT_EQ(printed_, "SMBIOS entry point structure intermediate checksum is NOT 0!\n");
}

TEST_F(MemorySearch, WithoutAnEntryPointTheCodeOfTheLastBoundaryIsKept) {
  std::string bad = one_slot().entry_point3(kTable);
  bad[5] = static_cast<char>(bad[5] + 1);
  const struct {
    std::uint32_t at;
    std::int32_t code;
  } cases[] = {{0xFFFE0, kChecksum}, {0xFFFD0, kNotFound}, {0xF0000, kNotFound}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.at);
    std::string image(0x100000, '\0');
    put(image, c.at, bad);
    EXPECT_EQ(search(image), c.code);
    EXPECT_EQ(printed_, "SMBIOS3 entry point structure checksum is NOT 0!\n");
  }
}

TEST_F(MemorySearch, TracesWhatTheEntryPointSays) {
  machine_.write("dev/mem", one_slot().memory2(0xF0000, kTable));
  const std::string version2 = traced_by([] { static_cast<void>(Search_SMBIOS_entry_point_mem1(kBiosArea)); });
  EXPECT_EQ(version2,
            "entry_v2\nstructure table lenght: 21\nstructure table address: e0010\n"
            "type 9\nstr_offset 0x11\nj 0x02\nlength 0x15\nsum 21\n");
  machine_.write("dev/mem", one_slot().memory3(0xF0000, 0x100ABC));
  const std::string version3 = traced_by([] { static_cast<void>(Search_SMBIOS_entry_point_mem1(kBiosArea)); });
  EXPECT_TRUE(version3.starts_with("entry_v3\nstructure table lenght: 21\nstructure table address: 100abc\ntype 9\n"));
}

TEST_F(MemorySearch, WithoutMemoryThereIsNoMap) {
  EXPECT_EQ(Search_SMBIOS_entry_point_mem1(kBiosArea), kNoMap);
  machine_.make_directory("dev/mem");
  EXPECT_EQ(Search_SMBIOS_entry_point_mem1(kBiosArea), kNoMap);
  EXPECT_TRUE(slot_records().empty());
}

TEST_F(MemorySearch, MemoryThatMayOnlyBeReadIsEnough) {
  if (geteuid() == 0) {
    GTEST_SKIP() << "root may write any file";
  }
  machine_.write("dev/mem", one_slot().memory2(0xF0000, kTable));
  std::filesystem::permissions(machine_.root() / "dev/mem", std::filesystem::perms::owner_read);
  EXPECT_EQ(Search_SMBIOS_entry_point_mem1(kBiosArea), 0);
  EXPECT_EQ(names(), Strings{"S1"});
}

TEST_F(MemorySearch, MemoryThatEndsInOrBeforeTheAreaCountsAsZeros) {
  EXPECT_EQ(search(""), kNotFound);
  std::string image = one_slot().memory3(0xF0000, kTable);
  image.resize(0xF0000 + 23);  // the last address byte is missing; it is 0
  EXPECT_EQ(search(image), 0);
  EXPECT_EQ(names(), Strings{"S1"});
}

TEST_F(MemorySearch, TheTableMayLieAtAnyAddressUpToTheEndOfTheMemory) {
  for (const std::uint32_t at : {0x0U, 0xE0FFFU, 0x100000U, 0x200000U - 21U}) {
    SCOPED_TRACE(at);
    EXPECT_EQ(search(one_slot().memory3(0xF0000, at)), 0);
    EXPECT_EQ(names(), Strings{"S1"});
  }
}

TEST_F(MemorySearch, BehindTheEndOfTheMemoryFileTheBytesCountAsZero) {
  std::string image = one_slot().memory3(0xF0000, 0x100100);
  image.pop_back();  // the second of the two NULs
  EXPECT_EQ(search(image), 0);
  EXPECT_EQ(names(), Strings{"S1"});
}

TEST_F(MemorySearch, ATableAnnouncedLongerThanTheFileGoesOnWithZeros) {
  std::string image = one_slot().memory3(0, 0x100100);
  for (const std::uint32_t announced : {22U, 23U, 0x1000U, 0x7FFFFFU}) {
    SCOPED_TRACE(announced);
    put(image, kBiosArea, one_slot().entry_point3(0x100100, announced));
    EXPECT_EQ(search(image), 0);
    EXPECT_EQ(names(), Strings{"S1"});
  }
}

// The announced end is the end of a page, so that the last empty structure reaches into the next one.
TEST_F(MemorySearch, ZerosBehindTheFileGoOnBehindThePageWhereTheTableEnds) {
  std::string image = one_slot().memory3(0, 0x100100);
  ASSERT_EQ((0x1000U - 0x100U - one_slot().bytes().size()) % 2, 1U);
  put(image, kBiosArea, one_slot().entry_point3(0x100100, 0x1000 - 0x100));
  EXPECT_EQ(search(image), 0);
  EXPECT_EQ(names(), Strings{"S1"});
  EXPECT_EQ(printed_, "");
}

TEST_F(MemorySearch, AnAnnouncementOfFourGigabytesEndsAtOnce) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(search_entry(one_slot().entry_point3(kTable, 0xFFFFFFFF)), 0);
  EXPECT_EQ(names(), Strings{"S1"});
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST_F(MemorySearch, ATableOfLengthZeroAtAPageBoundaryCannotBeMapped) {
  EXPECT_EQ(search_entry(one_slot().entry_point3(0xE0000, 0)), kNoMap);
}

// Elsewhere the part of the page before it is mapped, and the table is looked at once.
TEST_F(MemorySearch, ATableOfLengthZeroWithinAPageIsLookedAtOnce) {
  const SmbiosTable table = SmbiosTable().structure(slot_area(0, 7, 0), {});
  EXPECT_EQ(search_entry(table.entry_point2(kTable, 0), table), 0);
  ASSERT_EQ(slot_records().size(), 1U);
  EXPECT_EQ(slot_records()[0].bus, 7);
  EXPECT_EQ(search_entry(one_slot().entry_point2(kTable, 0)), kNotFound);
}

TEST_F(MemorySearch, ATableAtAnAddressBeyondWhatAFileCanHaveCannotBeMapped) {
  for (const std::uint64_t address :
       {0xFFFFFFFFFFFFFFFFU, 0xFFFFFFFFFFFFFFF0U, 0xFFFFFFFFFFFFF000U, 0x8000000000000000U, 0x8000000000000010U,
        0x7FFFFFFFFFFFFFF0U, 0x7FFFFFFFFFFFF000U}) {
    SCOPED_TRACE(address);
    EXPECT_EQ(search_entry(one_slot().entry_point3(address, 64)), kNoMap);
    EXPECT_TRUE(slot_records().empty());
  }
}

TEST_F(MemorySearch, AnAreaAtAnAddressBeyondWhatAFileCanHaveCannotBeMapped) {
  for (const std::uint64_t address :
       {0xFFFFFFFFFFFFFFFFU, 0xFFFFFFFFFFFF0000U, 0x8000000000000000U, 0x7FFFFFFFFFFFF000U}) {
    SCOPED_TRACE(address);
    EXPECT_EQ(search(one_slot().memory3(0xF0000, kTable), address), kNoMap);
  }
}

TEST_F(MemorySearch, AnAbnormalTableGivesItsCodeAndKeepsTheRecordsBefore) {
  SmbiosTable table = one_slot();
  table.raw(std::string("\x01\x04\0\0text", 8)).raw(std::string(0x2000, 'x'));
  EXPECT_EQ(search_entry(table.entry_point3(kTable), table), kNotFound);
  EXPECT_EQ(names(), Strings{"S1"});
  EXPECT_EQ(printed_, "SMBIOS structure abnormal! NO valid slot name and panel name can be shown!\n");
}

}  // namespace
}  // namespace qorx::test
