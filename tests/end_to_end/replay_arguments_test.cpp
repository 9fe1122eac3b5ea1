// qorx-replay's own words, and what it leaves behind when it is interrupted.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "tests/end_to_end/capture.h"
#include "tests/support/sample_machine.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

ToolRun replay(const FakeMachine& machine, const Words& words) {
  return run_program(replay_program(), words, machine.work());
}

TEST(ReplayArguments, WithoutAMachineItSaysHowItIsUsed) {
  EXPECT_EQ(replay(FakeMachine(), {}), (ToolRun{"", "Usage: qorx-replay MACHINE [--] OPERATION [OPTION...]\n", 2}));
}

TEST(ReplayArguments, AMachineThatIsNotThereIsNamed) {
  const FakeMachine machine;
  for (const std::string name : {"nosuch", "no/such.tar.gz", ""}) {
    for (const Words& words : {Words{name}, Words{name, "-a"}, Words{name, "--", "-V"}}) {
      EXPECT_EQ(replay(machine, words), (ToolRun{"", "qorx-replay: " + name + ": No such file or directory\n", 2}));
    }
  }
}

TEST(ReplayArguments, AMachineAloneIsACommandWithoutOperation) {
  const FakeMachine machine;
  for (const Words& words : {Words{machine.root()}, Words{machine.root(), "--"}}) {
    const ToolRun run = replay(machine, words);
    EXPECT_TRUE(run.output.starts_with("Usage:  qorx {op}\n"));
    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(run.status, 147);
  }
}

TEST(ReplayArguments, ADirectoryWithoutAMachineIsTheCommandsError) {
  const FakeMachine machine;
  const ToolRun run = replay(machine, {machine.work(), "-a"});
  EXPECT_TRUE(run.output.ends_with("Error: QORX_ERR_OPEN_DIR (0x98)\n")) << run.output;
  EXPECT_EQ(run.status, 152);
}

// The recorded order names entries of directories that the recording does not have.
TEST(ReplayArguments, ARecordedOrderOfMissingDirectoriesIsNoFault) {
  FakeMachine machine;
  machine.smbios(SmbiosTable().slot("Slot 3 (H.1.255.255)", "03:00.0"));
  machine.add_port("eth0", "0000:00:1c.0/0000:03:00.0", {.subsys_vendor = 0x13FE, .subsys_device = 0x205D});
  machine.write("order", "sys/class/i2c-adapter/i2c-1\nsys/class/net/eth0\nsys/devices/pci0000:00/x\n");
  machine.remove("sys/class/i2c-adapter");
  const ToolRun adapters = replay(machine, {machine.root(), "-a"});
  EXPECT_TRUE(adapters.output.starts_with("Error: Cannot access /sys/class/i2c-adapter\n")) << adapters.output;
  EXPECT_EQ(adapters.status, 152);
  machine.remove("sys/class/net");
  const ToolRun interfaces = replay(machine, {machine.root(), "-a"});
  EXPECT_TRUE(interfaces.output.starts_with("/sys/class/net folder do not exist")) << interfaces.output;
  EXPECT_EQ(interfaces.status, 152);
}

// A run on an archive that waits for its platform file, a pipe, until it is ended.
class InterruptedReplay : public testing::TestWithParam<int> {
 protected:
  InterruptedReplay() {
    output_of({"tar", "-czf", archive_, "-C", machine_.root(), "."});
    EXPECT_EQ(mkfifo((machine_.work() / "pipe").c_str(), 0600), 0);
  }

  [[nodiscard]] pid_t start() const {
    const pid_t child = fork();
    if (child == 0) {
      stop_ignoring_signals();
      setenv("TMPDIR", temporary_.path().c_str(), 1);
      const std::string program = replay_program();
      const int nothing = open("/dev/null", O_WRONLY);
      dup2(nothing, STDOUT_FILENO);
      dup2(nothing, STDERR_FILENO);
      if (chdir(machine_.work().c_str()) == 0) {
        execl(program.c_str(), program.c_str(), archive_.c_str(), "-a", "-config", "pipe", nullptr);
      }
      _exit(127);
    }
    return child;
  }

  [[nodiscard]] bool is_unpacked() const {
    const fs::directory_iterator entries(temporary_.path());
    return std::any_of(fs::begin(entries), fs::end(entries),
                       [](const auto& entry) { return fs::exists(entry.path() / "sys/devices/pci0000:00"); });
  }

  void end(pid_t child) const {
    kill(child, GetParam());
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == GetParam()) << status;
    EXPECT_TRUE(fs::is_empty(temporary_.path())) << "something was left behind";
  }

  TemporaryDirectory temporary_;
  SampleMachine machine_;
  const std::string archive_ = machine_.work() / "machine.tar.gz";
};

TEST_P(InterruptedReplay, LeavesNothingBehind) {
  const pid_t child = start();
  while (!is_unpacked()) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  end(child);
}

TEST_P(InterruptedReplay, LeavesNothingBehindWhileItUnpacks) {
  for (int moment = 0; moment < 8; ++moment) {
    SCOPED_TRACE(moment);
    const pid_t child = start();
    std::this_thread::sleep_for(std::chrono::microseconds(4000 * moment));
    end(child);
  }
}

INSTANTIATE_TEST_SUITE_P(, InterruptedReplay, testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](const auto& signal) { return sigabbrev_np(signal.param); });

}  // namespace
}  // namespace qorx::test
