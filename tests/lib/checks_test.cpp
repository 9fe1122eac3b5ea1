#include "lib/checks.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "base/messages.h"
#include "records/state.h"
#include "tests/support/expect.h"
#include "tests/support/fixture.h"
#include "tests/support/unprivileged.h"

namespace qorx::test {
namespace {

const std::string kNetExists = "Folder /sys/class/net exist\n";

// What is printed, traces included, and the code.
Outcome check() {
  g_debug_message_open = 1;
  return outcome_of(check_environment);
}

Outcome missing(const std::string& directory, const std::string& before = "") {
  return {before + directory + " folder do not exist or can't access. Please check your environment\n", 0x98};
}

using CheckEnvironment = MachineTest;

TEST_F(CheckEnvironment, NamesEachDirectoryThatExistsInTracesOnly) {
  EXPECT_EQ(outcome_of(check_environment), Outcome{});
  EXPECT_EQ(check(), (Outcome{kNetExists + "Folder /sys/devices/pci0000:00 exist\n", 0}));
}

TEST_F(CheckEnvironment, FailsWithoutPciDomainZero) {
  machine_.remove("sys/devices/pci0000:00");
  EXPECT_EQ(check(), missing("/sys/devices/pci0000:00", kNetExists));
  machine_.write("sys/devices/pci0000:00", "");
  EXPECT_EQ(check(), missing("/sys/devices/pci0000:00", kNetExists)) << "a file is no directory";
}

TEST_F(CheckEnvironment, FailsWithoutNetworkInterfacesAlsoSilently) {
  std::filesystem::permissions(machine_.root() / "sys/class/net", std::filesystem::perms::none);
  EXPECT_TRUE(holds_without_root(machine_, [] { return check() == missing("/sys/class/net"); }));
  machine_.remove("sys/class/net");
  EXPECT_EQ(check(), missing("/sys/class/net"));
  qorx_set_message_level(0);
  EXPECT_EQ(check_environment(), QORX_ERR_OPEN_DIR);
  EXPECT_EQ(outcome_of(check_environment).printed, "");
}

const std::int32_t kInitAtStart = g_qorx_init;
const std::string kRefusal = "qorx library needs to be initialized before function call.\n";

using InitCheck = MachineTest;

// Everything that a caller may only do between open and close. The files would lie in `directory`.
std::vector<std::pair<const char*, std::function<std::int32_t()>>> guarded_calls(const std::string& directory) {
  return {
      {"table", [] { return qorx_print_scan_result(nullptr, nullptr, nullptr); }},
      {"by name", [] { return qorx_print_scan_result("eth0", nullptr, nullptr); }},
      {"by feature", [] { return qorx_print_scan_result(nullptr, "POE", nullptr); }},
      {"by address", [] { return qorx_print_scan_result(nullptr, nullptr, "00:00.0"); }},
      {"file", [directory] { return qorx_fprint_scan_result((directory + "/result").c_str()); }},
      {"tovix.cfg", [] { return qorx_output_tovix_cfg(); }},
      {"system info", [] { return qorx_print_system_info(); }},
      {"cards", [] { return qorx_print_supported_WMX(); }},
      {"guard", [] { return INIT_CHECK(); }},
      {"close", [] { return qorx_close(); }},
  };
}

void expect_all_refused(const FakeMachine& machine, const std::string& output) {
  for (const auto& [name, call] : guarded_calls(machine.work())) {
    EXPECT_EQ(outcome_of(call), (Outcome{output, 0x95})) << name;
  }
  EXPECT_TRUE(std::filesystem::is_empty(machine.work()));
}

TEST_F(InitCheck, NothingIsReportedBeforeOpen) {
  EXPECT_EQ(kInitAtStart, -1);
  expect_all_refused(machine_, kRefusal);
}

TEST_F(InitCheck, NothingIsReportedAfterClose) {
  ASSERT_EQ(qorx_open(), 0);
  ASSERT_EQ(qorx_close(), 0);
  expect_all_refused(machine_, kRefusal);
}

TEST_F(InitCheck, NothingIsReportedAfterAFailedOpen) {
  ASSERT_EQ(qorx_open(), 0);
  machine_.remove("sys/class/net");
  ASSERT_EQ(outcome_of(qorx_open).code, 0x98);
  expect_all_refused(machine_, kRefusal);
}

TEST_F(InitCheck, TheRefusalIsAnErrorMessage) {
  qorx_set_message_level(0);
  expect_all_refused(machine_, "");
}

TEST_F(InitCheck, PassesSilentlyWhenOpen) {
  g_qorx_init = 0;
  EXPECT_EQ(traced_by([] { EXPECT_EQ(INIT_CHECK(), 0); }), "");
}

TEST_F(InitCheck, OnlyZeroMeansOpen) {
  g_qorx_init = 1;
  EXPECT_EQ(outcome_of(INIT_CHECK), (Outcome{kRefusal, 0x95}));
}

TEST_F(InitCheck, CloseEndsInTheClosedStateEvenWhenItFails) {
  g_qorx_init = 5;
  EXPECT_EQ(outcome_of(qorx_close), (Outcome{kRefusal, 0x95}));
  EXPECT_EQ(g_qorx_init, -1);
}

}  // namespace
}  // namespace qorx::test
