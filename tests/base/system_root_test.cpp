#include "base/system_root.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/descriptor_limit.h"
#include "tests/support/fixture.h"
#include "tests/support/unprivileged.h"

namespace qorx::test {
namespace {

class SystemRoot : public MachineTest {
 protected:
  static std::string content(const char* path) {
    const SystemFile file = open_system_file(path);
    std::array<char, 64> buffer{};
    const long count = file.is_open() ? file.read(buffer) : -1;
    return count < 0 ? "unreadable" : std::string(buffer.data(), static_cast<std::size_t>(count));
  }
};

TEST_F(SystemRoot, PathsAreLookedUpBelowTheRoot) {
  machine_.write("sys/file", "text");
  EXPECT_EQ(content("/sys/file"), "text");
  EXPECT_EQ(content("/sys/other"), "unreadable");
}

TEST_F(SystemRoot, WithoutARootPathsAreUsedAsTheyStand) {
  const std::string path = machine_.write("sys/file", "text").root() / "sys/file";
  ASSERT_TRUE(set_system_root(""));
  EXPECT_EQ(content(path.c_str()), "text");
}

TEST_F(SystemRoot, ANameThatIsTooLongIsRefusedAndChangesNothing) {
  machine_.write("sys/file", "text");
  EXPECT_FALSE(set_system_root(std::string(4096, 'x')));
  EXPECT_EQ(content("/sys/file"), "text");
  EXPECT_TRUE(set_system_root(std::string(4095, 'x')));
  EXPECT_EQ(content("/sys/file"), "unreadable");
}

TEST_F(SystemRoot, ReadAtReadsTheBytesThere) {
  machine_.write("sys/config", "0123456789");
  const SystemFile file = open_system_file("/sys/config");
  std::array<std::uint8_t, 4> bytes{};
  EXPECT_EQ(file.read_at(2, bytes), 4);
  EXPECT_EQ(bytes, (std::array<std::uint8_t, 4>{'2', '3', '4', '5'}));
  EXPECT_EQ(file.read_at(8, bytes), 2);
  EXPECT_EQ(bytes, (std::array<std::uint8_t, 4>{'8', '9', '4', '5'}));
  EXPECT_EQ(file.read_at(10, bytes), 0);
}

TEST_F(SystemRoot, ReadAtOfWhatCantBeReadFails) {
  const SystemFile directory = open_system_file("/sys/class");
  std::array<std::uint8_t, 4> bytes{};
  EXPECT_EQ(directory.read_at(0, bytes), SystemFile::kIsDirectory);
  EXPECT_EQ(SystemFile().read_at(0, bytes), -1);
}

TEST_F(SystemRoot, AFileChangesHands) {
  machine_.write("sys/file", "text");
  SystemFile first = open_system_file("/sys/file");
  SystemFile second = std::move(first);
  EXPECT_FALSE(first.is_open());  // NOLINT(bugprone-use-after-move): what this test is about
  ASSERT_TRUE(second.is_open());
  const int descriptor = second.release();
  EXPECT_FALSE(second.is_open());
  EXPECT_EQ(close(descriptor), 0);
}

// A pipe without a writer would block an ordinary open for ever.
TEST_F(SystemRoot, APipeInARecordedTreeDoesNotStopTheRun) {
  ASSERT_EQ(mkfifo((machine_.root() / "sys/pipe").c_str(), 0600), 0);
  EXPECT_EQ(content("/sys/pipe"), "");
}

TEST_F(SystemRoot, TextIsReadInLinesAndADirectoryIsNone) {
  machine_.write("sys/text", "one\ntwo\n");
  LineReader reader(open_system_text("/sys/text"));
  ASSERT_TRUE(reader.is_open());
  EXPECT_TRUE(reader.read());
  EXPECT_STREQ(reader.text(), "one\n");
  EXPECT_EQ(open_system_text("/sys/class"), nullptr);
  EXPECT_EQ(open_system_text("/sys/missing"), nullptr);
  EXPECT_TRUE(open_system_content("/sys/text").is_open());
  EXPECT_FALSE(open_system_content("/sys/class").is_open());
  EXPECT_FALSE(open_system_content("/sys/missing").is_open());
}

TEST_F(SystemRoot, OnlyADirectoryIsOne) {
  machine_.write("sys/file", "").make_link("class", "sys/link").make_link("nowhere", "sys/dangling");
  EXPECT_TRUE(is_system_directory("/sys/class"));
  EXPECT_TRUE(is_system_directory("/sys/link"));
  EXPECT_FALSE(is_system_directory("/sys/file"));
  EXPECT_FALSE(is_system_directory("/sys/missing"));
  EXPECT_FALSE(is_system_directory("/sys/dangling"));
}

TEST_F(SystemRoot, ADirectoryListsItsEntriesWithoutTheDots) {
  machine_.write("sys/d/.hidden", "").write("sys/d/b", "").make_directory("sys/d/a");
  SystemDirectory directory = open_system_directory("/sys/d");
  ASSERT_TRUE(directory.is_open());
  std::vector<std::string> names;
  while (const char* const name = directory.next_entry()) {
    names.emplace_back(name);
  }
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{".hidden", "a", "b"}));
  EXPECT_FALSE(open_system_directory("/sys/missing").is_open());
}

TEST_F(SystemRoot, ALinkIsReadAsItsTextAndCutToTheBuffer) {
  machine_.make_link("../../devices/x", "sys/class/net/eth0");
  std::array<char, 32> buffer{};
  ASSERT_EQ(read_system_link("/sys/class/net/eth0", buffer), 15);
  EXPECT_EQ(std::string(buffer.data(), 15), "../../devices/x");
  EXPECT_EQ(read_system_link("/sys/class/net/eth0", std::span(buffer).first(4)), 4);
  EXPECT_EQ(read_system_link("/sys/class/net", buffer), -1);
  EXPECT_EQ(read_system_link("/sys/missing", buffer), -1);
}

class MapSystemMemory : public SystemRoot {
 protected:
  const std::uint64_t page_ = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
};

TEST_F(MapSystemMemory, GivesTheBytesFromTheBase) {
  machine_.write("dev/mem", std::string(page_, 'a') + std::string(page_, 'b') + std::string(page_, 'c'));
  const MemoryMap map = map_system_memory(page_, page_);
  EXPECT_EQ(map.extent(), page_);
  EXPECT_EQ(std::string(map.bytes().begin(), map.bytes().end()), std::string(page_, 'b'));
}

TEST_F(MapSystemMemory, AMapIsWholePages) {
  machine_.write("dev/mem", std::string(2 * page_, 'a'));
  const MemoryMap map = map_system_memory(0, page_ + 1);
  EXPECT_EQ(map.extent(), 2 * page_);
  EXPECT_EQ(map.bytes().size(), 2 * page_);
}

TEST_F(MapSystemMemory, AShortRecordingIsMappedAsFarAsItGoes) {
  machine_.write("dev/mem", "abc");
  const MemoryMap map = map_system_memory(0, page_);
  ASSERT_TRUE(map.is_mapped());
  EXPECT_EQ(map.bytes().size(), 3U);
  EXPECT_EQ(map.extent(), page_);
  const MemoryMap behind = map_system_memory(16 * page_, page_);
  EXPECT_TRUE(behind.is_mapped());
  EXPECT_TRUE(behind.bytes().empty());
}

TEST_F(MapSystemMemory, RefusesWhatTheSystemWouldRefuse) {
  machine_.write("dev/mem", std::string(page_, 'a'));
  EXPECT_FALSE(map_system_memory(0, 0).is_mapped());
  EXPECT_FALSE(map_system_memory(std::uint64_t{1} << 63, page_).is_mapped());
  EXPECT_FALSE(map_system_memory((std::uint64_t{1} << 63) - page_, page_).is_mapped());
}

TEST_F(MapSystemMemory, FailsWithoutMemory) {
  EXPECT_FALSE(map_system_memory(0, page_).is_mapped());
  machine_.make_directory("dev/mem");
  EXPECT_FALSE(map_system_memory(0, page_).is_mapped());
}

TEST_F(MapSystemMemory, WhereWritingIsRefusedReadingWillDo) {
  machine_.write("dev/mem", std::string(page_, 'a'));
  std::filesystem::permissions(machine_.root() / "dev/mem", std::filesystem::perms{0444});
  EXPECT_TRUE(holds_without_root(machine_, [this] { return map_system_memory(0, page_).bytes().size() == page_; }));
  std::filesystem::permissions(machine_.root() / "dev/mem", std::filesystem::perms::none);
  EXPECT_TRUE(holds_without_root(machine_, [this] { return !map_system_memory(0, page_).is_mapped(); }));
}

// Whether this address belongs to the process, which is what mincore tells.
bool is_held(const void* address) {
  unsigned char page = 0;
  return mincore(const_cast<void*>(address), 1, &page) == 0;
}

TEST_F(MapSystemMemory, AMapIsReleasedByItsLastOwner) {
  machine_.write("dev/mem", std::string(16 * page_, 'a'));
  const void* address = nullptr;
  {
    MemoryMap first = map_system_memory(0, 16 * page_);
    address = first.bytes().data();
    const MemoryMap second = std::move(first);
    EXPECT_TRUE(is_held(address));
  }
  EXPECT_FALSE(is_held(address));
}

// Files below a folder that is kept open are the same files as without it.
class KeptFolders : public SystemRoot {
 protected:
  KeptFolders() { machine_.write("sys/a/b/file", "inner").write("sys/a/file", "outer").write("sys/ab/file", "beside"); }

  static int next_descriptor() {
    const int descriptor = dup(STDIN_FILENO);
    close(descriptor);
    return descriptor;
  }
};

TEST_F(KeptFolders, LeadToTheSameFiles) {
  const KeptFolder a("/sys/a");
  const KeptFolder inner("/sys/a/b");
  EXPECT_EQ(content("/sys/a/file"), "outer");
  EXPECT_EQ(content("/sys/a/b/file"), "inner");
  EXPECT_EQ(content("/sys/ab/file"), "beside");
  EXPECT_EQ(content("/sys/a/missing"), "unreadable");
  EXPECT_TRUE(is_system_directory("/sys/a"));
  EXPECT_TRUE(is_system_directory("/sys/a/b"));
  EXPECT_TRUE(open_system_directory("/sys/a/b").is_open());
}

TEST_F(KeptFolders, StayTheFoldersThatTheyWereWhenTheyAreMoved) {
  const KeptFolder a("/sys/a");
  std::filesystem::rename(machine_.root() / "sys/a", machine_.root() / "sys/moved");
  EXPECT_EQ(content("/sys/a/file"), "outer");
}

TEST_F(KeptFolders, LeadToTheSameLinks) {
  machine_.make_link("../target", "sys/a/link");
  const KeptFolder a("/sys/a");
  std::array<char, 16> buffer{};
  EXPECT_EQ(read_system_link("/sys/a/link", buffer), 9);
  EXPECT_EQ(std::string(buffer.data()), "../target");
  EXPECT_EQ(read_system_link("/sys/a/file", buffer), -1);
}

TEST_F(KeptFolders, ThatAreMissingChangeNothing) {
  const KeptFolder missing("/sys/missing");
  machine_.write("sys/missing/file", "late");
  EXPECT_EQ(content("/sys/missing/file"), "late");
}

TEST_F(KeptFolders, GiveWayWhereNoMoreFilesCanBeOpened) {
  const KeptFolder a("/sys/a");
  const KeptFolder inner("/sys/a/b");
  const test::DescriptorLimit limit(next_descriptor());
  const SystemDirectory directory = open_system_directory("/sys/ab");
  EXPECT_TRUE(directory.is_open());
  EXPECT_EQ(content("/sys/a/file"), "outer");
  EXPECT_EQ(content("/sys/a/b/file"), "inner");
}

TEST_F(KeptFolders, AreClosedWithTheirObject) {
  const int before = next_descriptor();
  {
    const KeptFolder a("/sys/a");
    EXPECT_NE(next_descriptor(), before);
  }
  EXPECT_EQ(next_descriptor(), before);
  std::filesystem::rename(machine_.root() / "sys/a", machine_.root() / "sys/moved");
  EXPECT_EQ(content("/sys/a/file"), "unreadable");
}

}  // namespace
}  // namespace qorx::test
