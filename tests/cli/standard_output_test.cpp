// Output that can't be written is a failure that the exit status tells, and no other file suffers.
#include "cli/standard_output.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "lib/qorx.h"
#include "tests/support/library.h"
#include "tests/support/sample_machine.h"

namespace qorx::test {
namespace {

using Words = std::vector<std::string>;

constexpr int kOutputLost = 131;  // 256 - 125

struct Sink {
  const char* name;
  std::function<void()> in_child;
};

std::vector<Sink> broken_sinks() {
  return {
      {"full device", [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); }},
      {"closed", [] { close(STDOUT_FILENO); }},
      {"all three closed",
       [] {
         close(STDIN_FILENO);
         close(STDOUT_FILENO);
         close(STDERR_FILENO);
       }},
      {"pipe without a reader",
       [] {
         int ends[2];
         if (pipe(ends) == 0) {
           dup2(ends[1], STDOUT_FILENO);
           close(ends[0]);
           close(ends[1]);
         }
       }},
      {"opened for reading only", [] { dup2(open("/dev/null", O_RDONLY), STDOUT_FILENO); }},
  };
}

ToolRun run_into(const Sink& sink, const FakeMachine& machine, const Words& words) {
  return run_replay(machine.root(), machine.work(), words, sink.in_child);
}

TEST(LostOutput, EveryPrintingOperationExitsWithTheCloseCode) {
  const SampleMachine machine;
  for (const Sink& sink : broken_sinks()) {
    for (const Words& words : {Words{"-a"}, Words{"-d", "eth0"}, Words{"-f", "POE"}, Words{"-p", "00:1f.6"},
                               Words{"-V"}, Words{"-sysinfo"}, Words{"-support"}}) {
      SCOPED_TRACE(std::string(sink.name) + " " + testing::PrintToString(words));
      EXPECT_EQ(run_into(sink, machine, words).status, kOutputLost);
    }
  }
}

TEST(LostOutput, AnotherFailureKeepsItsStatus) {
  const SampleMachine machine;
  for (const Sink& sink : broken_sinks()) {
    SCOPED_TRACE(sink.name);
    EXPECT_EQ(run_into(sink, machine, {}).status, 147);
    EXPECT_EQ(run_into(sink, machine, {"-x"}).status, 150);
    EXPECT_EQ(run_into(sink, machine, {"-a", "-config", "missing"}).status, 128);
  }
}

TEST(LostOutput, AnOperationThatPrintsNothingSucceeds) {
  const SampleMachine machine;
  for (const Sink& sink : broken_sinks()) {
    SCOPED_TRACE(sink.name);
    EXPECT_EQ(run_into(sink, machine, {"-o", "result"}).status, 0);
    EXPECT_EQ(read_file(machine.work() / "result"), sample::kWholeTable);
    EXPECT_EQ(run_into(sink, machine, {"-tovix.cfg"}).status, 0);
    EXPECT_EQ(read_file(machine.work() / "tovix.cfg"), sample::kTovixCfg);
  }
}

// Thousands of trace bytes leave the buffer while the files are open: they must not end up in one, nor end the run.
TEST(LostOutput, TheFilesAreCompleteAllTheSame) {
  const SampleMachine machine;
  for (const Sink& sink : broken_sinks()) {
    SCOPED_TRACE(sink.name);
    EXPECT_EQ(run_into(sink, machine, {"-o", "result", "-ML", "2"}).status, kOutputLost);
    EXPECT_EQ(read_file(machine.work() / "result"), sample::kWholeTable);
    EXPECT_EQ(run_into(sink, machine, {"-tovix.cfg", "-ML", "2"}).status, kOutputLost);
    EXPECT_EQ(read_file(machine.work() / "tovix.cfg"), sample::kTovixCfg);
  }
}

// The listing of virtual interfaces alone traces more than a buffer holds, while the result file is open.
TEST(LostOutput, TracesNeverEndUpInTheResultFile) {
  FakeMachine machine;
  for (int i = 100; i < 500; ++i) {
    const std::string name = "eth0.interface" + std::to_string(i);
    machine.add_raw_interface(name, "../../devices/virtual/net/" + name);
  }
  ASSERT_EQ(machine.run({"-o", "expected"}).status, 0);
  const std::string expected = read_file(machine.work() / "expected");
  ASSERT_NE(expected.find("interface499"), std::string::npos);
  for (const Sink& sink : broken_sinks()) {
    SCOPED_TRACE(sink.name);
    EXPECT_EQ(run_into(sink, machine, {"-o", "result", "-ML", "2"}).status, kOutputLost);
    EXPECT_EQ(read_file(machine.work() / "result"), expected);
  }
}

// A standard descriptor that stays free becomes that of the next file that is opened.
TEST(ProtectStandardOutput, FillsEveryClosedDescriptor) {
  EXPECT_EXIT(
      {
        close(STDIN_FILENO);
        close(STDOUT_FILENO);
        protect_standard_output();
        _exit(fcntl(STDIN_FILENO, F_GETFD) == 0 && fcntl(STDOUT_FILENO, F_GETFD) == 0 ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(FinishStandardOutput, IsFineWhenAllWasWritten) {
  EXPECT_EQ(printed_by([] {
              std::printf("text\n");
              EXPECT_EQ(finish_standard_output(), 0);
            }),
            "text\n");
}

// Space that comes back does not bring back what was lost.
TEST(FinishStandardOutput, RemembersAnEarlierLoss) {
  std::fflush(stdout);
  const int kept = dup(STDOUT_FILENO);
  const int full = open("/dev/full", O_WRONLY);
  const int sink = open("/dev/null", O_WRONLY);
  dup2(full, STDOUT_FILENO);
  std::printf("lost\n");
  const int flushed = std::fflush(stdout);
  dup2(sink, STDOUT_FILENO);
  const std::int32_t code = finish_standard_output();
  std::fflush(stdout);
  std::clearerr(stdout);
  dup2(kept, STDOUT_FILENO);
  for (const int descriptor : {kept, full, sink}) {
    close(descriptor);
  }
  EXPECT_NE(flushed, 0);
  EXPECT_EQ(code, QORX_ERR_CLOSE_FILE);
}

TEST(LostOutput, AFileOnAFullDeviceIsReported) {
  const SampleMachine machine;
  const std::string line = "Error: QORX_ERR_CLOSE_FILE (0x83)\n";
  const ToolRun result = machine.run({"-o", "/dev/full"});
  EXPECT_EQ(result.output, line);
  EXPECT_EQ(result.status, kOutputLost);
  std::filesystem::create_symlink("/dev/full", machine.work() / "tovix.cfg");
  const ToolRun tovix = machine.run({"-tovix.cfg"});
  EXPECT_EQ(tovix.output, line);
  EXPECT_EQ(tovix.status, kOutputLost);
}

TEST(LostOutput, ADirectoryThatCantBeWritten) {
  if (geteuid() == 0) {
    GTEST_SKIP() << "root writes everywhere";
  }
  const SampleMachine machine;
  std::filesystem::permissions(machine.work(), std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
  for (const Words& words : {Words{"-o", "result"}, Words{"-tovix.cfg"}}) {
    const ToolRun run = machine.run(words);
    EXPECT_EQ(run.output, "Error: QORX_ERR_OPEN_FILE (0x80)\n");
    EXPECT_EQ(run.status, 128);
  }
  std::filesystem::permissions(machine.work(), std::filesystem::perms::owner_all);
}

}  // namespace
}  // namespace qorx::test
