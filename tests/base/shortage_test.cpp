#include "base/shortage.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>

#include "base/line_reader.h"
#include "base/system_root.h"
#include "tests/support/descriptor_limit.h"
#include "tests/support/fake_machine.h"

namespace qorx {
namespace {

TEST(Shortage, IsALackOfDescriptorsOrOfMemoryAndNothingElse) {
  static_cast<void>(take_shortage());
  for (int code = 0; code < 200; ++code) {
    note_error(code);
    EXPECT_EQ(take_shortage(), code == EMFILE || code == ENFILE || code == ENOMEM) << code;
  }
}

TEST(Shortage, IsToldOnce) {
  note_error(EMFILE);
  note_error(ENOENT);
  EXPECT_TRUE(take_shortage());
  EXPECT_FALSE(take_shortage());
}

TEST(Shortage, IsNotedByEveryWayToOpenAFile) {
  test::FakeMachine machine;
  machine.write("sys/file", "text").write("dev/mem", "memory");
  const std::array<void (*)(), 6> ways{
      [] { EXPECT_FALSE(open_system_file("/sys/file").is_open()); },
      [] { EXPECT_EQ(open_system_text("/sys/file"), nullptr); },
      [] { EXPECT_FALSE(open_system_directory("/sys").is_open()); },
      [] { EXPECT_FALSE(is_system_directory("/sys")); },
      [] { EXPECT_FALSE(map_system_memory(0, 16).is_mapped()); },
      [] { EXPECT_EQ(open_text_file("/dev/null"), nullptr); },
  };
  for (std::size_t i = 0; i < ways.size(); ++i) {
    static_cast<void>(take_shortage());
    {
      const test::DescriptorLimit none(0);
      ways[i]();
    }
    EXPECT_TRUE(take_shortage()) << i;
  }
}

TEST(Shortage, IsNoneWhereAFileIsAbsent) {
  test::FakeMachine machine;
  static_cast<void>(take_shortage());
  EXPECT_FALSE(open_system_file("/sys/none").is_open());
  EXPECT_FALSE(open_system_directory("/sys/none").is_open());
  EXPECT_EQ(open_text_file("/no/such/file"), nullptr);
  EXPECT_FALSE(take_shortage());
}

TEST(RecordedMemory, IsARegularFile) {
  test::FakeMachine machine;
  EXPECT_FALSE(is_memory_recorded());
  machine.write("dev/mem", "");
  EXPECT_TRUE(is_memory_recorded());
  machine.remove("dev/mem").make_directory("dev/mem");
  EXPECT_FALSE(is_memory_recorded());
}

}  // namespace
}  // namespace qorx
