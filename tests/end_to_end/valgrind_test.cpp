// Golden runs under valgrind, which sees reads of memory that nobody wrote and memory that nobody freed.
#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "tests/end_to_end/system_tools.h"
#include "tests/support/rows.h"
#include "tests/support/transcript.h"

namespace qorx::test {
namespace {

struct Case {
  const char* machine;
  const char* name;  // of the file in expected/

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
    {"edge", "error-config-without-slots"},
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

  static Transcript run(const Transcript& asked) {
    const Appliance machine(GetParam().machine);
    return play(asked, machine.configuration(), [&](const std::filesystem::path& directory) {
      std::vector<std::string> words{"valgrind",
                                     "-q",
                                     "--leak-check=full",
                                     "--errors-for-leak-kinds=definite",
                                     "--error-exitcode=" + std::to_string(kValgrindError),
                                     replay_program().string(),
                                     machine.root().string(),
                                     "--"};
      words.insert(words.end(), asked.arguments.begin(), asked.arguments.end());
      return run_command(words, directory);
    });
  }
};

TEST_P(Valgrind, FindsNothingWrong) {
  const Transcript expected = Appliance(GetParam().machine).expected(GetParam().name);
  EXPECT_EQ(text_of(run(expected)), text_of(expected));
}

INSTANTIATE_TEST_SUITE_P(Golden, Valgrind, testing::ValuesIn(kCases), [](const auto& tested) {
  return test_name(std::string(tested.param.machine) + " " + tested.param.name);
});

using ValgrindTraces = Valgrind;

TEST_P(ValgrindTraces, ReadNothingThatWasNotWritten) {
  const Transcript traced{.machine = "",
                          .given = {},
                          .program = "qorx",
                          .arguments = words_of("-a -config qorx.cfg -legacy -sys_WMX_cfg wmx_name.cfg -ML 2"),
                          .output = "",
                          .written = {}};
  EXPECT_EQ(run(traced).status, 0);
}

INSTANTIATE_TEST_SUITE_P(Machines, ValgrindTraces, testing::Values(Case{"edge", ""}, Case{"legacy", ""}),
                         [](const auto& tested) { return tested.param.machine; });

}  // namespace
}  // namespace qorx::test
