// Files below a folder that is kept open are the same files as without it.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <string>

#include "base/system_root.h"
#include "tests/support/fixture.h"

namespace qorx::test {
namespace {

class KeptFolders : public MachineTest {
 protected:
  KeptFolders() { machine_.write("sys/a/b/file", "inner").write("sys/a/file", "outer").write("sys/ab/file", "beside"); }

  static std::string content(const char* path) {
    std::array<char, 16> buffer{};
    const SystemFile file = open_system_file(path);
    const long count = file.is_open() ? file.read(buffer) : 0;
    return {buffer.data(), static_cast<std::size_t>(count)};
  }

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
  EXPECT_EQ(content("/sys/a/missing"), "");
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
  const auto free = static_cast<rlim_t>(next_descriptor());
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit few{free, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
  {
    const SystemDirectory directory = open_system_directory("/sys/ab");
    EXPECT_TRUE(directory.is_open());
    EXPECT_EQ(content("/sys/a/file"), "outer");
    EXPECT_EQ(content("/sys/a/b/file"), "inner");
  }
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
}

TEST_F(KeptFolders, AreClosedWithTheirObject) {
  const int before = next_descriptor();
  {
    const KeptFolder a("/sys/a");
    EXPECT_NE(next_descriptor(), before);
  }
  EXPECT_EQ(next_descriptor(), before);
  std::filesystem::rename(machine_.root() / "sys/a", machine_.root() / "sys/moved");
  EXPECT_EQ(content("/sys/a/file"), "");
}

}  // namespace
}  // namespace qorx::test
