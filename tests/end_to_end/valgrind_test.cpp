// Golden runs under valgrind, which sees reads of memory that nobody wrote and memory that nobody freed.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/end_to_end/system_tools.h"
#include "tests/support/fake_machine.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

struct Case {
  const char* machine;
  const char* name;  // of the folder in expected/

  friend void PrintTo(const Case& tested, std::ostream* stream) { *stream << tested.machine << " " << tested.name; }
};

// Every operation, every option and every kind of file, on both machines.
constexpr Case kCases[] = {
    {"edge", "all"},
    {"edge", "all-smbios"},
    {"edge", "all-config-force-legacy-names"},
    {"edge", "all-config-sort_slotname-novlan"},
    {"edge", "all-vm"},
    {"edge", "name-config"},
    {"edge", "feature-A_BYPASS-config"},
    {"edge", "address-usb"},
    {"edge", "file-config-force"},
    {"edge", "tovix-config"},
    {"edge", "tovix-force"},
    {"edge", "sysinfo-legacy-names-config"},
    {"edge", "support"},
    {"edge", "version-message-level-2"},
    {"edge", "error-no-operation"},
    {"edge", "error-config-and-smbios"},
    {"legacy", "all-legacy-names"},
    {"legacy", "all-config-legacy"},
    {"legacy", "all-smbios-legacy-names"},
    {"legacy", "file-config-legacy-names"},
    {"legacy", "tovix-legacy-names"},
    {"legacy", "sysinfo-smbios-legacy"},
};

constexpr int kValgrindError = 99;

class Valgrind : public testing::TestWithParam<Case> {
 protected:
  void SetUp() override {
    if (kSanitizedBuild) {
      GTEST_SKIP() << "the sanitizers and valgrind don't work together";
    }
    QORX_SKIP_WITHOUT("valgrind");
  }

  // Runs a case with these words behind its own.
  static ToolRun run(const fs::path& machine, const fs::path& work, const std::string& command) {
    for (const char* const name : {"qorx.cfg", "wmx_name.cfg", "smbios.cfg"}) {
      fs::copy_file(machine / name, work / name);
    }
    std::vector<std::string> words{"valgrind",
                                   "-q",
                                   "--leak-check=full",
                                   "--errors-for-leak-kinds=definite",
                                   "--error-exitcode=" + std::to_string(kValgrindError),
                                   replay_program().string(),
                                   (machine / "root").string(),
                                   "--"};
    std::istringstream stream(command);
    for (std::string word; stream >> word;) {
      words.push_back(word);
    }
    return run_command(words, work);
  }

  static fs::path machine() { return fs::path(QORX_SOURCE_DIR) / "examples/appliances" / GetParam().machine; }
};

TEST_P(Valgrind, FindsNothingWrong) {
  const fs::path expected = machine() / "expected" / GetParam().name;
  ASSERT_TRUE(fs::exists(expected / "command")) << "there is no such case";
  const TemporaryDirectory work;
  const std::string status = read_file(expected / "status");
  const ToolRun result = run(machine(), work.path(), read_file(expected / "command"));
  ASSERT_NE(result.status, kValgrindError) << result.errors;
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.output, read_file(expected / "stdout"));
  EXPECT_EQ(result.status, status.empty() ? 0 : std::stoi(status));
  for (const char* const name : {"result.txt", "tovix.cfg"}) {
    EXPECT_EQ(read_file(work.path() / name), read_file(expected / name)) << name;
  }
}

INSTANTIATE_TEST_SUITE_P(Golden, Valgrind, testing::ValuesIn(kCases), [](const auto& tested) {
  std::string name = std::string(tested.param.machine) + "_" + tested.param.name;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
});

using ValgrindTraces = Valgrind;

TEST_P(ValgrindTraces, ReadNothingThatWasNotWritten) {
  const TemporaryDirectory work;
  const ToolRun result = run(machine(), work.path(), "-a -config qorx.cfg -legacy -sys_WMX_cfg wmx_name.cfg -ML 2");
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(result.errors, "");
}

INSTANTIATE_TEST_SUITE_P(Machines, ValgrindTraces, testing::Values(Case{"edge", ""}, Case{"legacy", ""}),
                         [](const auto& tested) { return tested.param.machine; });

}  // namespace
}  // namespace qorx::test
