// Every case of every sample appliance: examples/appliances/<machine>/expected/<case>.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/fake_machine.h"
#include "tests/support/tool_run.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

struct Case {
  fs::path machine;
  fs::path expected;
};

std::vector<Case> all_cases() {
  std::vector<Case> cases;
  for (const auto& machine : fs::directory_iterator(fs::path(QORX_SOURCE_DIR) / "examples/appliances")) {
    if (!fs::is_directory(machine.path() / "expected")) {
      continue;
    }
    for (const auto& expected : fs::directory_iterator(machine.path() / "expected")) {
      cases.push_back({machine.path(), expected.path()});
    }
  }
  std::sort(cases.begin(), cases.end(), [](const Case& a, const Case& b) { return a.expected < b.expected; });
  return cases;
}

std::string test_name(const testing::TestParamInfo<Case>& info) {
  std::string name = info.param.machine.filename().string() + "_" + info.param.expected.filename().string();
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
  return name;
}

std::vector<std::string> words_of(const std::string& line) {
  std::istringstream stream(line);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

std::set<std::string> files_in(const fs::path& directory) {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(directory)) {
    names.insert(entry.path().filename().string());
  }
  return names;
}

class Golden : public testing::TestWithParam<Case> {};

TEST_P(Golden, GivesTheExpectedBytes) {
  const auto& [machine, expected] = GetParam();
  const TemporaryDirectory work;
  std::set<std::string> expected_files;
  for (const char* const name : {"qorx.cfg", "wmx_name.cfg", "smbios.cfg"}) {
    fs::copy_file(machine / name, work.path() / name);
    expected_files.insert(name);
  }
  const std::string status = read_file(expected / "status");

  const ToolRun run = run_replay(machine / "root", work.path(), words_of(read_file(expected / "command")));

  EXPECT_EQ(run.output, read_file(expected / "stdout"));
  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(run.status, status.empty() ? 0 : std::stoi(status));
  for (const std::string& name : files_in(expected)) {
    if (name != "command" && name != "stdout" && name != "status") {
      EXPECT_EQ(read_file(work.path() / name), read_file(expected / name)) << name;
      expected_files.insert(name);
    }
  }
  EXPECT_EQ(files_in(work.path()), expected_files) << "the run must write what is expected and nothing else";
}

INSTANTIATE_TEST_SUITE_P(Appliances, Golden, testing::ValuesIn(all_cases()), test_name);

}  // namespace
}  // namespace qorx::test
