// Every case of every sample appliance: examples/appliances/<machine>/expected/<case>.txt.
#include <gtest/gtest.h>

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

}  // namespace
}  // namespace qorx::test
