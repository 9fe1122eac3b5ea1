// Signals at every system call of a run that writes a file: the old text is left or the new one, whole.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/end_to_end/system_tools.h"
#include "tests/support/sample_machine.h"

namespace qorx::test {
namespace {

constexpr int kSystemCallStop = SIGTRAP | 0x80;  // with PTRACE_O_TRACESYSGOOD

[[noreturn]] void start_traced(const FakeMachine& machine, std::vector<std::string> words) {
  const std::string program = replay_program();
  words.insert(words.begin(), {program, machine.root().string(), "--"});
  std::vector<char*> arguments;
  for (std::string& word : words) {
    arguments.push_back(word.data());
  }
  arguments.push_back(nullptr);
  stop_ignoring_signals();
  dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
  setenv("ASAN_OPTIONS", "detect_leaks=0", 1);  // looking for leaks needs to trace, too
  if (chdir(machine.work().c_str()) == 0 && ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0) {
    execv(program.c_str(), arguments.data());
  }
  _exit(127);
}

// The sanitizers make every start slow.
constexpr int kStep = kSanitizedBuild ? 5 : 1;

struct TracedRun {
  bool was_reached = false;  // the system call was made
  int status = -1;           // as waitpid gives it
};

// Runs the command line and sends `signal` at its `stop`-th entry into or return from the kernel.
TracedRun run_with_signal(const FakeMachine& machine, const std::vector<std::string>& words, int signal, int stop) {
  TracedRun run;
  const pid_t child = fork();
  if (child == 0) {
    start_traced(machine, words);
  }
  waitpid(child, &run.status, 0);
  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  int stops = 0;
  while (WIFSTOPPED(run.status)) {
    if (WSTOPSIG(run.status) == kSystemCallStop && ++stops == stop) {
      run.was_reached = true;
      kill(child, signal);
      ptrace(PTRACE_DETACH, child, nullptr, nullptr);
    } else {
      ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
    }
    waitpid(child, &run.status, 0);
  }
  return run;
}

bool can_trace() {
  const SampleMachine machine;
  return run_with_signal(machine, {"-V"}, SIGTERM, 1).was_reached;
}

class SignalsDuringAnOutput : public testing::TestWithParam<int> {
 protected:
  void SetUp() override { QORX_SKIP_IF(!can_trace(), "this system allows no tracing"); }

  // Runs with the signal at each system call; counts what is left.
  void interrupt_everywhere(const std::vector<std::string>& words, const char* name, const std::string& old_text) {
    SampleMachine machine;
    const std::filesystem::path file = machine.work() / name;
    ASSERT_EQ(run_replay(machine.root(), machine.work(), words).status, 0);
    const std::string new_text = read_file(file);
    for (int stop = 1;; stop += kStep) {
      std::filesystem::remove(file);
      if (!old_text.empty()) {
        machine.user_file(name, old_text);
      }
      const TracedRun run = run_with_signal(machine, words, GetParam(), stop);
      const std::string text = read_file(file);
      ASSERT_TRUE(text == old_text || text == new_text) << "stop " << stop << ": " << text;
      ASSERT_TRUE(!text.empty() || !std::filesystem::exists(file)) << "stop " << stop;
      if (!run.was_reached) {
        ASSERT_TRUE(WIFEXITED(run.status) && WEXITSTATUS(run.status) == 0);
        break;
      }
      // The last call is the exit, which is too late for a signal.
      const bool is_over = WIFEXITED(run.status) && WEXITSTATUS(run.status) == 0 && text == new_text;
      ASSERT_TRUE(is_over || (WIFSIGNALED(run.status) && WTERMSIG(run.status) == GetParam())) << "stop " << stop;
      ++(text == new_text ? new_ : old_);
    }
    EXPECT_GT(old_, 10);
    EXPECT_GE(new_, 2) << "the signal must also come while the file is written";
  }

  int old_ = 0;
  int new_ = 0;
};

TEST_P(SignalsDuringAnOutput, LeaveTheOldTextOrTheNewOne) {
  interrupt_everywhere({"-tovix.cfg"}, "tovix.cfg", std::string(5000, 'o'));
}

TEST_P(SignalsDuringAnOutput, LeaveTheOldResultOrTheNewOne) {
  interrupt_everywhere({"-o", "result"}, "result", "old\n");
}

TEST_P(SignalsDuringAnOutput, LeaveNoFileOrAWholeOne) {
  interrupt_everywhere({"-tovix.cfg"}, "tovix.cfg", "");
}

INSTANTIATE_TEST_SUITE_P(, SignalsDuringAnOutput, testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](const auto& signal) { return sigabbrev_np(signal.param); });

}  // namespace
}  // namespace qorx::test
