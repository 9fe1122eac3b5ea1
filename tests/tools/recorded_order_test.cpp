// Compiled as 32-bit systems with large files compile everything: the directory functions then have other names.
#include "tools/recorded_order.h"

#include <dirent.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "tests/support/fake_machine.h"

namespace qorx::test {
namespace {

std::vector<std::string> visible_names(const std::string& path) {
  std::vector<std::string> names;
  DIR* const directory = opendir(path.c_str());
  while (const dirent* const entry = readdir(directory)) {
    if (entry->d_name[0] != '.') {
      names.emplace_back(entry->d_name);
    }
  }
  closedir(directory);
  return names;
}

TEST(RecordedOrderWithLargeFiles, IsFollowedEachTime) {
  FakeMachine machine;
  for (const char* const name : {"a", "b", "c", "d"}) {
    machine.write(std::string("sys/names/") + name, "");
  }
  machine.write("order", "sys/names/c\nsys/names/a\nsys/names/d\nsys/names/b\n");
  follow_recorded_order(machine.root().c_str());
  for ([[maybe_unused]] const int time : {1, 2}) {
    EXPECT_EQ(visible_names(machine.root() / "sys/names"), (std::vector<std::string>{"c", "a", "d", "b"}));
  }
}

}  // namespace
}  // namespace qorx::test
