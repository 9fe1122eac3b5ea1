// A list of interfaces that can't be read to its end ends the run: what it names may be half of them.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "discovery/interface_scan.h"
#include "tests/support/expect.h"
#include "tests/support/fixture.h"

namespace qorx::test {
namespace {

constexpr const char* kMessage = "/sys/class/net folder do not exist or can't access. Please check your environment\n";
constexpr const char* kErrorLine = "Error: QORX_ERR_OPEN_DIR (0x98)\n";

class InterfaceList : public MachineTest {
 protected:
  InterfaceList() { machine_.add_port("eth0", "0000:03:00.0").add_port("eth1", "0000:03:00.1").add_virtual("br0", ""); }

  // Runs the tool while the n-th reading of the list fails. The scan reads it twice, to its end; the listing of the
  // virtual interfaces after it.
  ToolRun run_with_failure(int reading, const std::vector<std::string>& words) const {
    const std::string root = std::filesystem::canonical(machine_.root());
    std::vector<std::string> command{"strace",
                                     "-o",
                                     machine_.work() / "calls",
                                     "-P",
                                     root + "/sys/class/net",
                                     "-e",
                                     "inject=getdents64:error=EIO:when=" + std::to_string(reading),
                                     replay_program().string(),
                                     root,
                                     "--"};
    command.insert(command.end(), words.begin(), words.end());
    return run_program("/usr/bin/env", command, machine_.work(), [] { setenv("ASAN_OPTIONS", "detect_leaks=0", 1); });
  }

  static bool can_trace() { return std::system("strace -o /dev/null /bin/true >/dev/null 2>&1") == 0; }
};

TEST_F(InterfaceList, ThatCannotBeOpenedEndsTheScan) {
  machine_.remove("sys/class/net");
  EXPECT_EQ(outcome_of([] { return get_all_eth_devices_info(); }), (Outcome{kMessage, 0x98}));
}

TEST_F(InterfaceList, ThatFailsInTheScanEndsTheRun) {
  if (!can_trace()) {
    GTEST_SKIP() << "strace is not installed or may not trace here";
  }
  for (const int reading : {1, 2}) {
    for (const char* const operation : {"-a", "-tovix.cfg", "-sysinfo"}) {
      const ToolRun run = run_with_failure(reading, {operation});
      EXPECT_EQ(run.output, std::string(kMessage) + kErrorLine) << operation;
      EXPECT_EQ(run.status, 0x98) << operation;
    }
  }
  EXPECT_FALSE(std::filesystem::exists(machine_.work() / "tovix.cfg"));
}

TEST_F(InterfaceList, ThatFailsInARecordingWithItsOrderEndsTheRun) {
  if (!can_trace()) {
    GTEST_SKIP() << "strace is not installed or may not trace here";
  }
  machine_.write("order", "sys/class/net/eth1\nsys/class/net/eth0\n");
  const ToolRun run = run_with_failure(1, {"-a"});
  EXPECT_EQ(run.output, std::string(kMessage) + kErrorLine);
  EXPECT_EQ(run.status, 0x98);
}

TEST_F(InterfaceList, ThatFailsForTheVirtualInterfacesEndsTheOutput) {
  if (!can_trace()) {
    GTEST_SKIP() << "strace is not installed or may not trace here";
  }
  const ToolRun run = run_with_failure(3, {"-a"});
  EXPECT_TRUE(run.output.ends_with(std::string(kMessage) + kErrorLine)) << run.output;
  EXPECT_EQ(run.status, 0x98);
  EXPECT_EQ(run_with_failure(3, {"-o", "result.txt"}).status, 0x98);
  EXPECT_FALSE(std::filesystem::exists(machine_.work() / "result.txt"));
  EXPECT_EQ(run_with_failure(3, {"-a", "-novlan"}).status, 0);
}

}  // namespace
}  // namespace qorx::test
