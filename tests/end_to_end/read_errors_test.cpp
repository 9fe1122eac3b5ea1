// Read errors at the first, the second and a later read of each configuration file.
#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/end_to_end/faults.h"

#if defined(__x86_64__)

namespace qorx::test {
namespace {

// Makes the `which`-th read of `file` by the child fail with EIO. Ends this process with 0 when it did and the child
// ended with 128.
[[noreturn]] void fail_read(pid_t child, const std::filesystem::path& file, int which) {
  int status = 0;
  int reads = 0;
  bool is_entry = true;
  bool is_failing = false;
  waitpid(child, &status, 0);
  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  while (!WIFEXITED(status) && !WIFSIGNALED(status)) {
    user_regs_struct registers{};
    if (WSTOPSIG(status) == (SIGTRAP | 0x80)) {
      ptrace(PTRACE_GETREGS, child, nullptr, &registers);
      if (is_entry && registers.orig_rax == SYS_read) {
        std::error_code none;
        const std::string descriptor =
            "/proc/" + std::to_string(child) + "/fd/" + std::to_string(static_cast<int>(registers.rdi));
        is_failing = std::filesystem::read_symlink(descriptor, none) == file && ++reads == which;
        if (is_failing) {
          registers.orig_rax = ~0ULL;  // no system call
          ptrace(PTRACE_SETREGS, child, nullptr, &registers);
        }
      } else if (!is_entry && is_failing) {
        registers.rax = static_cast<unsigned long long>(-EIO);
        ptrace(PTRACE_SETREGS, child, nullptr, &registers);
        is_failing = false;
      }
      is_entry = !is_entry;
    }
    ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
    waitpid(child, &status, 0);
  }
  _exit(WIFEXITED(status) && WEXITSTATUS(status) == 128 && reads == which ? 0 : 1);
}

// Runs the command with the fault. The exit status is 0 where the fault came and the run ended with 128.
ToolRun run_with_read_error(const FakeMachine& machine, const std::vector<std::string>& words, const char* file,
                            int which) {
  return run_replay(machine.root(), machine.work(), words, [&] {
    const pid_t child = fork();
    if (child != 0) {
      fail_read(child, machine.work() / file, which);
    }
    setenv("ASAN_OPTIONS", "detect_leaks=0", 1);  // looking for leaks needs to trace, too
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
  });
}

struct ReadFile {
  const char* name;
  std::vector<std::string> words;
  std::string line;  // one that is right, as often as it stands there
};

// Three pieces of the size that the C library reads at once; the fourth read finds the end.
std::string long_text(const std::string& line) {
  std::string text;
  while (text.size() < 3 * 4096) {
    text += line;
  }
  return text;
}

TEST(ReadErrors, OfAConfigurationFileEndTheRunAndNameIt) {
  const std::vector<ReadFile> files{
      {"qorx.cfg", {"-config", "qorx.cfg"}, "SLOT_NAME=\"WMX Slot 3\"\n"},
      {"smbios.cfg", {"-smbios_cfg", "smbios.cfg"}, "TYPE=\"9\"\nNAME=\"S\"\nBUS:DEV.FUN=\"03:00.0\"\n"},
      {"wmx_name.cfg", {"-legacy", "-sys_WMX_cfg", "wmx_name.cfg"}, "WMX-2848 A_BYPASS\n"},
  };
  for (const ReadFile& file : files) {
    for (const int which : {1, 2, 3, 4}) {
      SCOPED_TRACE(std::string(file.name) + " " + std::to_string(which));
      FaultMachine machine;
      machine.user_file(file.name, long_text(file.line));
      machine.user_file("tovix.cfg", "old\n");
      std::vector<std::string> words{"-tovix.cfg"};
      words.insert(words.end(), file.words.begin(), file.words.end());
      const ToolRun run = run_with_read_error(machine, words, file.name, which);
      EXPECT_EQ(run.output,
                std::string("Error: Open file ") + file.name + " failed.\nError: QORX_ERR_OPEN_FILE (0x80)\n");
      EXPECT_EQ(run.status, 0) << "the fault did not come, or the status was not 128";
      EXPECT_EQ(read_file(machine.work() / "tovix.cfg"), "old\n");
    }
  }
}

}  // namespace
}  // namespace qorx::test

#endif
