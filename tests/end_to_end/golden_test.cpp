// Every case of every sample appliance: examples/appliances/<machine>/expected/<case>.txt.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/rows.h"
#include "tests/support/transcript.h"

namespace qorx::test {
namespace {

struct Case {
  Appliance machine;
  std::string name;
};

class Golden : public testing::TestWithParam<Case> {};

TEST_P(Golden, GivesTheExpectedBytes) {
  const auto& [machine, name] = GetParam();
  const Transcript expected = machine.expected(name);
  const Transcript played = play(expected, machine.configuration(), [&](const auto& directory) {
    return run_replay(machine.root(), directory, expected.arguments);
  });
  EXPECT_EQ(text_of(played), read_file(machine.file(name)));
}

std::vector<Case> all_cases() {
  std::vector<Case> cases;
  for (const std::string& machine : Appliance::names()) {
    for (const std::string& name : Appliance(machine).cases()) {
      cases.push_back({Appliance(machine), name});
    }
  }
  return cases;
}

INSTANTIATE_TEST_SUITE_P(Appliances, Golden, testing::ValuesIn(all_cases()), [](const auto& tested) {
  return test_name(tested.param.machine.name() + " " + tested.param.name);
});

class UsageExamples : public testing::TestWithParam<std::string> {};

// The lines of the usage text that show a command, but those whose files are not here.
std::vector<std::string> shown_commands() {
  std::vector<std::string> commands;
  std::istringstream usage(Appliance("edge").expected("error-no-operation").output);
  for (std::string line; std::getline(usage, line);) {
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

}  // namespace
}  // namespace qorx::test
