// Every case of every sample appliance, examples/appliances/<machine>/expected/<case>.txt: by this build and by one for
// 64-bit ARM under qemu-aarch64; some under valgrind, which sees reads of memory that nobody wrote and memory that
// nobody freed.
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

namespace fs = std::filesystem;

struct Case {
  std::string machine;
  std::string name;  // of the file in expected/

  friend void PrintTo(const Case& tested, std::ostream* stream) { *stream << tested.machine << " " << tested.name; }
};

constexpr auto kNamedByCase = [](const auto& tested) {
  return test_name(tested.param.machine + " " + tested.param.name);
};

std::vector<Case> all_cases() {
  std::vector<Case> cases;
  for (const std::string& machine : Appliance::names()) {
    for (const std::string& name : Appliance(machine).cases()) {
      cases.push_back({machine, name});
    }
  }
  return cases;
}

// Runs the command of a case, behind these words.
Transcript run_behind(const Words& before, const Case& tested, const Transcript& asked) {
  const Appliance machine(tested.machine);
  return play(asked, machine.configuration(), [&](const fs::path& directory) {
    return run_command(joined(joined(before, {machine.root(), "--"}), asked.arguments), directory);
  });
}

void expect_same(const Words& before, const Case& tested) {
  const Appliance machine(tested.machine);
  EXPECT_EQ(text_of(run_behind(before, tested, machine.expected(tested.name))), read_file(machine.file(tested.name)));
}

class Golden : public testing::TestWithParam<Case> {};

TEST_P(Golden, GivesTheExpectedBytes) {
  expect_same({replay_program()}, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Appliances, Golden, testing::ValuesIn(all_cases()), kNamedByCase);

class UsageExamples : public testing::TestWithParam<std::string> {};

// The lines of the usage text that show a command, but those whose files are not here.
std::vector<std::string> shown_commands() {
  std::vector<std::string> commands;
  for (const std::string& line : lines_of(Appliance("edge").expected("error-no-operation").output)) {
    const std::size_t at = line.find(" qorx -");
    if (at != std::string::npos && line.find("/root/") == std::string::npos) {
      commands.push_back(line.substr(at + 1));
    }
  }
  return commands;
}

TEST_P(UsageExamples, WorkWithTheSampleFiles) {
  const Appliance machine(GetParam());
  ASSERT_EQ(shown_commands().size(), 31U);
  for (const std::string& command : shown_commands()) {
    const TemporaryDirectory work;
    for (const auto& file : machine.configuration()) {
      std::filesystem::copy(file, work.path());
    }
    std::vector<std::string> words = words_of(command);
    words.erase(words.begin());
    const ToolRun run = run_replay(machine.root(), work.path(), words);
    EXPECT_EQ(run.status, 0) << command << "\n" << run.output;
  }
}

INSTANTIATE_TEST_SUITE_P(Appliances, UsageExamples, testing::ValuesIn(Appliance::names()),
                         [](const auto& tested) { return test_name(tested.param); });

// The emulator under one of its names; empty when there is none.
std::string emulator() {
  const ToolRun run = run_command({"sh", "-c", "command -v qemu-aarch64-static || command -v qemu-aarch64"});
  return run.status == 0 ? lines_of(run.output).at(0) : "";
}

// Builds once; the rest is quick.
TEST(OnArm, TheSampleMachinesGiveTheSameBytesAndThePackagesAreOfArm) {
  QORX_SKIP_IF(!kReleaseBuild, "one build for 64-bit ARM is enough");
  QORX_SKIP_WITHOUT("aarch64-linux-gnu-g++");
  QORX_SKIP_IF(emulator().empty(), "there is no qemu-aarch64 here");
  const fs::path build = fs::path(QORX_BINARY_DIR) / "aarch64";
  const TemporaryDirectory packages;
  for (const Words& words : {Words{QORX_CMAKE, "--preset", "aarch64", "-B", build},
                             Words{QORX_CMAKE, "--build", build, "--parallel", "2"}}) {
    EXPECT_EQ(output_of(words, QORX_SOURCE_DIR).find("warning:"), std::string::npos);
  }
  EXPECT_GT(all_cases().size(), 100U);
  for (const Case& tested : all_cases()) {
    SCOPED_TRACE(testing::PrintToString(tested));
    expect_same({emulator(), "-L", "/usr/aarch64-linux-gnu", build / "tools/qorx-replay"}, tested);
  }
  QORX_SKIP_WITHOUT("dpkg-deb");
  output_of({fs::path(QORX_CMAKE).parent_path() / "cpack", "-G", "DEB", "-B", packages.path(), "-D",
             "CPACK_QORX_REVISION=7", "--config", build / "CPackConfig.cmake"});
  for (const char* const package :
       {"qorx_1.38-7_arm64.deb", "libqorx1_1.38-7_arm64.deb", "libqorx-dev_1.38-7_arm64.deb"}) {
    EXPECT_EQ(output_of({"dpkg-deb", "-f", packages.path() / package, "Architecture"}), "arm64\n");
  }
}

// Every operation, every option and every kind of file, on both machines.
std::vector<Case> valgrind_cases() {
  std::vector<Case> cases;
  for (const std::string& name :
       words_of("all all-smbios all-config-force-legacy-names all-config-sort_slotname-novlan all-vm name-config "
                "feature-A_BYPASS-config address-usb file-config-force tovix-config tovix-force "
                "sysinfo-legacy-names-config support version-message-level-2 error-no-operation "
                "error-config-without-slots")) {
    cases.push_back({"edge", name});
  }
  for (const std::string& name : words_of("all-legacy-names all-config-legacy all-smbios-legacy-names "
                                          "file-config-legacy-names tovix-legacy-names sysinfo-smbios-legacy")) {
    cases.push_back({"legacy", name});
  }
  return cases;
}

class Valgrind : public testing::TestWithParam<Case> {
 protected:
  void SetUp() override {
    QORX_SKIP_IF(kSanitizedBuild, "the sanitizers and valgrind don't work together");
    QORX_SKIP_WITHOUT("valgrind");
  }

  const Words valgrind_{
      "valgrind",      "-q", "--leak-check=full", "--errors-for-leak-kinds=definite", "--error-exitcode=99",
      replay_program()};
};

TEST_P(Valgrind, FindsNothingWrong) {
  expect_same(valgrind_, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Golden, Valgrind, testing::ValuesIn(valgrind_cases()), kNamedByCase);

using ValgrindTraces = Valgrind;

TEST_P(ValgrindTraces, ReadNothingThatWasNotWritten) {
  Transcript traced;
  traced.program = "qorx";
  traced.arguments = words_of("-a -config qorx.cfg -legacy -sys_WMX_cfg wmx_name.cfg -ML 2");
  EXPECT_EQ(run_behind(valgrind_, GetParam(), traced).status, 0);
}

INSTANTIATE_TEST_SUITE_P(Machines, ValgrindTraces, testing::Values(Case{"edge", ""}, Case{"legacy", ""}), kNamedByCase);

}  // namespace
}  // namespace qorx::test
