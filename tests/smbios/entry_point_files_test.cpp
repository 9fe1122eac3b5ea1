// Entry point and table from two files: those of the -diag option, or those that the kernel exports.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "base/messages.h"
#include "smbios/entry_point.h"
#include "tests/smbios/parsing.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

constexpr std::int32_t kNotFound = 0x91;
constexpr std::int32_t kChecksum = 0x92;
constexpr std::int32_t kNoMap = 0x97;
constexpr const char* kNoSmbios = "Can't find SMBIOS!\n";
constexpr const char* kEntryFile = "/sys/firmware/dmi/tables/smbios_entry_point";
constexpr const char* kTableFile = "/sys/firmware/dmi/tables/DMI";

using Strings = std::vector<std::string>;

SmbiosTable two_slots() {
  return SmbiosTable().slot("A", "01:00.0").slot("B", "02:00.0");
}

class FilePair : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  std::int32_t search(const std::string& entry_file, const std::string& table_file) {
    std::int32_t code = -1;
    printed_ = printed_by([&] {
      code = Search_SMBIOS_entry_point_sysfs_diag(entry_file.c_str(), table_file.c_str(), FileOrigin::kUser);
    });
    return code;
  }

  // Writes both files and searches them.
  std::int32_t search_bytes(const std::string& entry, const std::string& table) {
    const std::string entry_file = machine_.user_file("entry", entry);
    return search(entry_file, machine_.user_file("table", table));
  }

  FakeMachine machine_;
  std::string printed_;
};

TEST_F(FilePair, Version2AndVersion3AreRead) {
  for (const std::string& entry : {two_slots().entry_point2(), two_slots().entry_point3()}) {
    EXPECT_EQ(search_bytes(entry, two_slots().bytes()), 0);
    EXPECT_EQ(names(), (Strings{"A", "B"}));
    EXPECT_EQ(printed_, "");
  }
}

TEST_F(FilePair, TheAddressInTheEntryPointIsNotUsed) {
  EXPECT_EQ(search_bytes(two_slots().entry_point3(0xFFFFFFFFFFFFFFFF), two_slots().bytes()), 0);
  EXPECT_EQ(names(), (Strings{"A", "B"}));
}

TEST_F(FilePair, ALongerTableFileIsParsedOnlyUpToTheLengthInTheEntryPoint) {
  EXPECT_EQ(search_bytes(two_slots().entry_point2(0, 20), two_slots().bytes()), 0);
  EXPECT_EQ(names(), Strings{"A"});
  EXPECT_EQ(search_bytes(two_slots().entry_point2(0, 39), two_slots().bytes() + std::string(100000, '\xFF')), 0);
  EXPECT_EQ(names(), (Strings{"A", "B"}));
}

TEST_F(FilePair, AShorterTableFileGoesOnWithZeros) {
  EXPECT_EQ(search_bytes(two_slots().entry_point3(0, 0x10000), two_slots().bytes()), 0);
  EXPECT_EQ(names(), (Strings{"A", "B"}));
}

TEST_F(FilePair, OnlyTheStartOfTheEntryPointFileIsLookedAt) {
  EXPECT_EQ(search_bytes(two_slots().entry_point2() + std::string(100, 'x'), two_slots().bytes()), 0);
  EXPECT_EQ(search_bytes(std::string(16, '\0') + two_slots().entry_point2(), two_slots().bytes()), kNotFound);
}

TEST_F(FilePair, TracesWhatTheEntryPointSays) {
  const std::string entry_file = machine_.user_file("entry", two_slots().entry_point3(0x123456789A, 20));
  const std::string table_file = machine_.user_file("table", two_slots().bytes());
  g_debug_message_open = 1;
  EXPECT_EQ(search(entry_file, table_file), 0);
  EXPECT_EQ(printed_,
            "entry_v3\nstructure table lenght: 20\nstructure table address: 123456789a\n"
            "type 9\nstr_offset 0x11\nj 0x01\nlength 0x14\nsum 20\n");
}

TEST_F(FilePair, AnEntryPointFileThatCannotBeOpened) {
  const std::string table_file = machine_.user_file("table", two_slots().bytes());
  for (const std::string& file : {machine_.work().string() + "/missing", machine_.work().string()}) {
    EXPECT_EQ(search(file, table_file), kNoMap);
    EXPECT_EQ(printed_, "1Can't get " + file + "\n");
    g_debug_message_open = 1;
    EXPECT_EQ(search(file, table_file), kNoMap);
    EXPECT_EQ(printed_, "3Can't get " + file + "\n1Can't get " + file + "\n");
    g_debug_message_open = 0;
  }
}

TEST_F(FilePair, ATableFileThatCannotBeOpened) {
  const std::string entry_file = machine_.user_file("entry", two_slots().entry_point3());
  for (const std::string& file : {machine_.work().string() + "/missing", machine_.work().string()}) {
    EXPECT_EQ(search(entry_file, file), kNoMap);
    EXPECT_EQ(printed_, "2Can't get " + file + "\n");
    g_debug_message_open = 1;
    EXPECT_EQ(search(entry_file, file), kNoMap);
    EXPECT_TRUE(printed_.ends_with("\n3Can't get " + file + "\n2Can't get " + file + "\n")) << printed_;
    g_debug_message_open = 0;
  }
}

TEST_F(FilePair, FailuresAreSilentWithErrorMessagesOff) {
  g_error_message_open = 0;
  EXPECT_EQ(search("/nowhere/entry", "/nowhere/table"), kNoMap);
  EXPECT_EQ(printed_, "");
  EXPECT_EQ(search_bytes("none", ""), kNotFound);
  EXPECT_EQ(printed_, "");
}

TEST_F(FilePair, AFileWithoutAnAnchorHoldsNoSmbios) {
  for (const std::string& entry : {std::string(), std::string("_SM"), std::string(31, '\0'), std::string(31, 'x')}) {
    SCOPED_TRACE(entry);
    EXPECT_EQ(search_bytes(entry, two_slots().bytes()), kNotFound);
    EXPECT_EQ(printed_, kNoSmbios);
    EXPECT_TRUE(names().empty());
  }
}

TEST_F(FilePair, AWrongChecksumPrintsOnlyItsOwnMessage) {
  std::string entry = two_slots().entry_point2();
  entry[4] = static_cast<char>(entry[4] + 1);
  EXPECT_EQ(search_bytes(entry, two_slots().bytes()), kChecksum);
  EXPECT_EQ(printed_, "SMBIOS entry point structure checksum is NOT 0!\n");
}

TEST_F(FilePair, ATruncatedEntryPointGoesOnWithZeros) {
  EXPECT_EQ(search_bytes(two_slots().entry_point3().substr(0, 16), two_slots().bytes()), 0);
  EXPECT_EQ(names(), (Strings{"A", "B"}));
  EXPECT_EQ(search_bytes(two_slots().entry_point3(0x1000000000000000).substr(0, 16), two_slots().bytes()), kChecksum);
}

TEST_F(FilePair, AnEmptyTableFileGivesNoRecords) {
  EXPECT_EQ(search_bytes(two_slots().entry_point2(), ""), 0);
  EXPECT_TRUE(names().empty());
}

TEST_F(FilePair, AnAbnormalTableKeepsTheRecordsBefore) {
  std::string table = two_slots().bytes();
  table.pop_back();
  EXPECT_EQ(search_bytes(two_slots().entry_point2(0, 39), table), kNotFound);
  EXPECT_EQ(printed_, "SMBIOS structure abnormal! NO valid slot name and panel name can be shown!\n");
  EXPECT_EQ(names(), Strings{"A"});
}

TEST_F(FilePair, AnEndlessDeviceIsNoEntryPoint) {
  EXPECT_EQ(search("/dev/zero", machine_.user_file("table", two_slots().bytes())), kNotFound);
  EXPECT_EQ(printed_, kNoSmbios);
}

TEST_F(FilePair, AnEndlessDeviceIsATableOfZeros) {
  for (const std::uint32_t announced : {1U, 40U, 65535U}) {
    SCOPED_TRACE(announced);
    EXPECT_EQ(search(machine_.user_file("entry", two_slots().entry_point3(0, announced)), "/dev/zero"), 0);
    EXPECT_EQ(printed_, "");
    EXPECT_TRUE(names().empty());
  }
}

// More than fits in memory, and still no reason to run for ever.
TEST_F(FilePair, AnEndlessDeviceWithAFourGigabyteAnnouncementEnds) {
  const std::string entry_file = machine_.user_file("entry", two_slots().entry_point3(0, 0xFFFFFFFF));
  g_debug_message_open = 1;
  EXPECT_EQ(search(entry_file, "/dev/zero"), kNoMap);
  EXPECT_TRUE(printed_.ends_with("\n4Can't get /dev/zero\n2Can't get /dev/zero\n")) << printed_;
}

TEST_F(FilePair, AFourGigabyteAnnouncementOfAShortFileEnds) {
  EXPECT_EQ(search_bytes(two_slots().entry_point3(0, 0xFFFFFFFF), two_slots().bytes()), 0);
  EXPECT_EQ(names(), (Strings{"A", "B"}));
}

// Address 0 of a process is never mapped, so reading this file fails after it was opened.
TEST_F(FilePair, AFileThatCannotBeReadHasItsOwnTrace) {
  g_debug_message_open = 1;
  EXPECT_EQ(search("/proc/self/mem", "/dev/null"), kNoMap);
  EXPECT_EQ(printed_, "5Can't get /proc/self/mem\n1Can't get /proc/self/mem\n");
}

TEST_F(FilePair, AFileThatMayNotBeReadCannotBeOpened) {
  if (geteuid() == 0) {
    GTEST_SKIP() << "root may read any file";
  }
  const std::string entry_file = machine_.user_file("entry", two_slots().entry_point3());
  std::filesystem::permissions(entry_file, std::filesystem::perms::none);
  EXPECT_EQ(search(entry_file, entry_file), kNoMap);
  EXPECT_EQ(printed_, "1Can't get " + entry_file + "\n");
}

TEST(FileMap, LoadsAnEmptyFileAsNoBytes) {
  reset_library();
  FakeMachine machine;
  const FileImage image = File_map(machine.user_file("empty", "").c_str(), FileOrigin::kUser, 32);
  EXPECT_TRUE(image.is_loaded());
  EXPECT_TRUE(image.bytes().empty());
}

TEST(FileMap, LoadsWholeFilesUpToTheLimit) {
  reset_library();
  FakeMachine machine;
  const std::string file = machine.user_file("file", "0123456789");
  EXPECT_EQ(File_map(file.c_str(), FileOrigin::kUser, 100).bytes().size(), 10U);
  EXPECT_EQ(File_map(file.c_str(), FileOrigin::kUser, 4).bytes().size(), 4U);
  EXPECT_FALSE(File_map("/nowhere/file", FileOrigin::kUser, 4).is_loaded());
}

TEST_F(FilePair, TheKernelsFilesAreReadBelowTheSystemRoot) {
  machine_.smbios(two_slots());
  EXPECT_EQ(Search_SMBIOS_entry_point_sysfs(), 0);
  EXPECT_EQ(names(), (Strings{"A", "B"}));
  machine_.remove("sys/firmware/dmi/tables/DMI");
  EXPECT_EQ(printed_by([] { EXPECT_EQ(Search_SMBIOS_entry_point_sysfs(), kNoMap); }),
            std::string("2Can't get ") + kTableFile + "\n");
  machine_.remove("sys/firmware/dmi/tables/smbios_entry_point");
  EXPECT_EQ(printed_by([] { EXPECT_EQ(Search_SMBIOS_entry_point_sysfs(), kNoMap); }),
            std::string("1Can't get ") + kEntryFile + "\n");
}

TEST_F(FilePair, BothKernelFilesMustOpen) {
  const auto traces = [](int expected) { return traced_by([=] { EXPECT_EQ(Is_SMBIOS_sysfs(), expected); }); };
  const std::string entry = kEntryFile;
  const std::string table = kTableFile;
  EXPECT_EQ(traces(0), entry + " is NOT found.\n");
  machine_.write(table.substr(1), "");
  EXPECT_EQ(traces(0), entry + " is NOT found.\n");
  machine_.write(entry.substr(1), "");
  EXPECT_EQ(traces(1), entry + " is found.\n" + table + " is found.\n");
  machine_.remove(table.substr(1));
  EXPECT_EQ(traces(0), entry + " is found.\n" + table + " is NOT found.\n");
}

}  // namespace
}  // namespace qorx::test
