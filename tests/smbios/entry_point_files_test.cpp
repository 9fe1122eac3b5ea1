// Entry point and table from two files: those of the -diag option, or those that the kernel exports.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "base/messages.h"
#include "smbios/entry_point.h"
#include "tests/smbios/parsing.h"
#include "tests/support/rows.h"
#include "tests/support/unprivileged.h"

namespace qorx::test {
namespace {

const Outcome kNoSmbios{"Can't find SMBIOS!\n", kNotFound};
const std::string kEntryFile = "/sys/firmware/dmi/tables/smbios_entry_point";
const std::string kTableFile = "/sys/firmware/dmi/tables/DMI";

const SmbiosTable kTwoSlots = SmbiosTable().slot("A", "01:00.0").slot("B", "02:00.0");
const Texts kBoth{"A", "B"};

Outcome search(const std::string& entry_file, const std::string& table_file) {
  return outcome_of(
      [&] { return Search_SMBIOS_entry_point_sysfs_diag(entry_file.c_str(), table_file.c_str(), FileOrigin::kUser); });
}

// The content of the entry point's file, what is found of two slots, and the table file where it is another.
struct Pair {
  std::string_view rule;
  std::string entry;
  Texts names;
  Outcome outcome = {};
  std::string table = kTwoSlots.bytes();
};

class FilePair : public RowTest<Pair, MachineTest> {};

TEST_P(FilePair, IsSearched) {
  const std::string entry_file = machine_.user_file("entry", row().entry);
  EXPECT_EQ(search(entry_file, machine_.user_file("table", row().table)), row().outcome);
  EXPECT_EQ(names(), row().names);
}

QORX_ROWS(FilePair, {"version 2 is read", kTwoSlots.entry_point2(), kBoth},
          {"version 3 is read", kTwoSlots.entry_point3(), kBoth},
          {"the address in the entry point is not used", kTwoSlots.entry_point3(0xFFFFFFFFFFFFFFFF), kBoth},
          {"a longer table file is parsed only up to the length in the entry point", kTwoSlots.entry_point2(0, 20),
           Texts{"A"}},
          {"what lies behind a table in its file does not matter",
           kTwoSlots.entry_point2(0, 39),
           kBoth,
           {},
           kTwoSlots.bytes() + std::string(100000, '\xFF')},
          {"a shorter table file goes on with zeros", kTwoSlots.entry_point3(0, 0x10000), kBoth},
          {"an announcement of four gigabytes of a short file ends", kTwoSlots.entry_point3(0, 0xFFFFFFFF), kBoth},
          {"only the start of the entry point file is looked at", kTwoSlots.entry_point2() + std::string(100, 'x'),
           kBoth},
          {"an entry point must stand at the start of its file", std::string(16, '\0') + kTwoSlots.entry_point2(),
           Texts{}, kNoSmbios},
          {"an empty file holds no smbios", "", {}, kNoSmbios}, {"a part of an anchor is none", "_SM", {}, kNoSmbios},
          {"zeros are no entry point", std::string(31, '\0'), {}, kNoSmbios},
          {"other bytes are no entry point", std::string(31, 'x'), {}, kNoSmbios},
          {"a wrong checksum prints only its own message", spoiled(kTwoSlots.entry_point2(), 4), Texts{}, kWrongSum2},
          {"a truncated entry point goes on with zeros", kTwoSlots.entry_point3().substr(0, 16), kBoth},
          {"a truncated address makes a wrong checksum", kTwoSlots.entry_point3(0x1000000000000000).substr(0, 16),
           Texts{}, kWrongSum3},
          {"an empty table file gives no records", kTwoSlots.entry_point2(), {}, {}, ""},
          {"an abnormal table keeps the records before", kTwoSlots.entry_point2(0, 39), Texts{"A"}, kAbnormal,
           kTwoSlots.bytes().substr(0, 39)});

class FileSearch : public MachineTest {
 protected:
  std::string entry_file(const std::string& entry = kTwoSlots.entry_point3()) {
    return machine_.user_file("entry", entry);
  }
  std::string table_file() { return machine_.user_file("table", kTwoSlots.bytes()); }
};

TEST_F(FileSearch, TracesWhatTheEntryPointSays) {
  g_debug_message_open = 1;
  EXPECT_EQ(search(entry_file(kTwoSlots.entry_point3(0x123456789A, 20)), table_file()),
            (Outcome{"entry_v3\nstructure table lenght: 20\nstructure table address: 123456789a\n"
                     "type 9\nstr_offset 0x11\nj 0x01\nlength 0x14\nsum 20\n",
                     0}));
}

TEST_F(FileSearch, AFileThatCannotBeOpenedHasItsMessageAndItsTrace) {
  for (const std::string& file : {machine_.work().string() + "/missing", machine_.work().string()}) {
    SCOPED_TRACE(file);
    const std::string cant_get = "Can't get " + file + "\n";
    EXPECT_EQ(search(file, table_file()), (Outcome{"1" + cant_get, kNoMap}));
    EXPECT_EQ(search(entry_file(), file), (Outcome{"2" + cant_get, kNoMap}));
    g_debug_message_open = 1;
    EXPECT_EQ(search(file, table_file()), (Outcome{"3" + cant_get + "1" + cant_get, kNoMap}));
    const Outcome traced = search(entry_file(), file);
    EXPECT_EQ(traced.code, kNoMap);
    EXPECT_TRUE(traced.printed.ends_with("\n3" + cant_get + "2" + cant_get)) << traced.printed;
    g_debug_message_open = 0;
  }
}

TEST_F(FileSearch, FailuresAreSilentWithErrorMessagesOff) {
  g_error_message_open = 0;
  EXPECT_EQ(search("/nowhere/entry", "/nowhere/table"), (Outcome{"", kNoMap}));
  EXPECT_EQ(search(entry_file("none"), table_file()), (Outcome{"", kNotFound}));
}

TEST_F(FileSearch, AnEndlessDeviceIsNoEntryPoint) {
  EXPECT_EQ(search("/dev/zero", table_file()), kNoSmbios);
}

TEST_F(FileSearch, AnEndlessDeviceIsATableOfZeros) {
  for (const std::uint32_t announced : {1U, 40U, 65535U}) {
    SCOPED_TRACE(announced);
    EXPECT_EQ(search(entry_file(kTwoSlots.entry_point3(0, announced)), "/dev/zero"), Outcome{});
    EXPECT_TRUE(names().empty());
  }
}

// What lies behind 16 MiB counts as not there, and so as zeros, as far as the announcement goes: 2^32 bytes in steps of
// two, which leave 0 in 32 bits.
TEST_F(FileSearch, AnEndlessDeviceWithAFourGigabyteAnnouncementEnds) {
  g_debug_message_open = 1;
  const Outcome outcome = search(entry_file(kTwoSlots.entry_point3(0, 0xFFFFFFFF)), "/dev/zero");
  EXPECT_EQ(outcome.code, 0);
  EXPECT_TRUE(outcome.printed.find("\nsum 0\nWARNING:sum 0 is bigger than table_len 4294967295!\n") !=
              std::string::npos);
  EXPECT_LT(outcome.printed.size(), std::size_t{8} << 20);
  EXPECT_TRUE(names().empty());
}

TEST_F(FileSearch, OfATableFileSixteenMegabytesAreRead) {
  constexpr std::size_t kMost = std::size_t{16} << 20;
  const std::string slot = SmbiosTable().slot("S", "03:00.0").bytes();
  for (const bool is_inside : {true, false}) {
    std::string table(kMost + (is_inside ? 0 : slot.size()), '\0');
    table.replace(table.size() - slot.size(), slot.size(), slot);
    const std::string entry = entry_file(kTwoSlots.entry_point3(0, static_cast<std::uint32_t>(table.size())));
    EXPECT_EQ(search(entry, machine_.user_file("large table", table)), Outcome{});
    EXPECT_EQ(names(), is_inside ? Texts{"S"} : Texts{}) << is_inside;
  }
}

// Address 0 of a process is never mapped, so reading this file fails after it was opened.
TEST_F(FileSearch, AFileThatCannotBeReadHasItsOwnTrace) {
  g_debug_message_open = 1;
  EXPECT_EQ(search("/proc/self/mem", "/dev/null"),
            (Outcome{"5Can't get /proc/self/mem\n1Can't get /proc/self/mem\n", kNoMap}));
}

TEST_F(FileSearch, AFileThatMayNotBeReadCannotBeOpened) {
  const std::string file = entry_file();
  std::filesystem::permissions(file, std::filesystem::perms::none);
  g_error_message_open = 0;
  EXPECT_TRUE(holds_without_root(machine_, [&] {
    return Search_SMBIOS_entry_point_sysfs_diag(file.c_str(), file.c_str(), FileOrigin::kUser) == kNoMap;
  }));
}

TEST_F(FileSearch, FilesAreLoadedWholeUpToTheLimit) {
  const std::string file = machine_.user_file("file", "0123456789");
  EXPECT_EQ(File_map(file.c_str(), FileOrigin::kUser, 100).bytes().size(), 10U);
  EXPECT_EQ(File_map(file.c_str(), FileOrigin::kUser, 4).bytes().size(), 4U);
  EXPECT_FALSE(File_map("/nowhere/file", FileOrigin::kUser, 4).is_loaded());
  const FileImage image = File_map(machine_.user_file("empty", "").c_str(), FileOrigin::kUser, 32);
  EXPECT_TRUE(image.is_loaded());
  EXPECT_TRUE(image.bytes().empty());
}

TEST_F(FileSearch, TheKernelsFilesAreReadBelowTheSystemRoot) {
  machine_.smbios(kTwoSlots);
  EXPECT_EQ(Search_SMBIOS_entry_point_sysfs(), 0);
  EXPECT_EQ(names(), kBoth);
  machine_.remove(kTableFile.substr(1));
  EXPECT_EQ(outcome_of(Search_SMBIOS_entry_point_sysfs), (Outcome{"2Can't get " + kTableFile + "\n", kNoMap}));
  machine_.remove(kEntryFile.substr(1));
  EXPECT_EQ(outcome_of(Search_SMBIOS_entry_point_sysfs), (Outcome{"1Can't get " + kEntryFile + "\n", kNoMap}));
}

TEST_F(FileSearch, BothKernelFilesMustOpen) {
  g_debug_message_open = 1;
  const Outcome no_entry{kEntryFile + " is NOT found.\n", 0};
  EXPECT_EQ(outcome_of(Is_SMBIOS_sysfs), no_entry);
  machine_.write(kTableFile.substr(1), "");
  EXPECT_EQ(outcome_of(Is_SMBIOS_sysfs), no_entry);
  machine_.write(kEntryFile.substr(1), "");
  EXPECT_EQ(outcome_of(Is_SMBIOS_sysfs), (Outcome{kEntryFile + " is found.\n" + kTableFile + " is found.\n", 1}));
  machine_.remove(kTableFile.substr(1));
  EXPECT_EQ(outcome_of(Is_SMBIOS_sysfs), (Outcome{kEntryFile + " is found.\n" + kTableFile + " is NOT found.\n", 0}));
}

}  // namespace
}  // namespace qorx::test
