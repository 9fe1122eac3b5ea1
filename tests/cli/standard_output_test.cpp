// Output that can't be written is a failure that the exit status tells, and no other file suffers.
#include "cli/standard_output.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "lib/qorx.h"
#include "tests/support/expect.h"
#include "tests/support/rows.h"
#include "tests/support/sample_machine.h"
#include "tests/support/transcript.h"

namespace qorx::test {
namespace {

constexpr int kOutputLost = 131;  // 256 - 125

// What becomes of a child's standard output.
struct Sink {
  std::string_view rule;
  std::function<void()> in_child;
};

void close_all_three() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    close(descriptor);
  }
}

void leave_a_pipe_without_a_reader() {
  int ends[2];
  if (pipe(ends) == 0) {
    dup2(ends[1], STDOUT_FILENO);
    close(ends[0]);
    close(ends[1]);
  }
}

class LostOutput : public RowTest<Sink, SampleTest> {
 protected:
  [[nodiscard]] int status_of(const std::string& words) const {
    return run_replay(machine_.root(), machine_.work(), words_of(words), row().in_child).status;
  }

  // Expects both files to be written whole, and the same status for both.
  void expect_files(const std::string& options, int status) const {
    EXPECT_EQ(status_of("-o result" + options), status);
    EXPECT_EQ(read_file(machine_.work() / "result"), sample::kWholeTable);
    EXPECT_EQ(status_of("-tovix.cfg" + options), status);
    EXPECT_EQ(read_file(machine_.work() / "tovix.cfg"), sample::kTovixCfg);
  }
};

QORX_ROWS(LostOutput, {"on a full device", [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); }},
          {"on a closed descriptor", [] { close(STDOUT_FILENO); }}, {"on three closed descriptors", close_all_three},
          {"in a pipe without a reader", leave_a_pipe_without_a_reader},
          {"on a descriptor for reading only", [] { dup2(open("/dev/null", O_RDONLY), STDOUT_FILENO); }});

TEST_P(LostOutput, EveryPrintingOperationExitsWithTheCloseCode) {
  for (const char* const words : {"-a", "-d eth0", "-f POE", "-p 00:1f.6", "-V", "-sysinfo", "-support"}) {
    EXPECT_EQ(status_of(words), kOutputLost) << words;
  }
}

TEST_P(LostOutput, AnotherFailureKeepsItsStatus) {
  EXPECT_EQ(status_of(""), 147);
  EXPECT_EQ(status_of("-x"), 150);
  EXPECT_EQ(status_of("-a -config missing"), 128);
}

TEST_P(LostOutput, AnOperationThatPrintsNothingSucceeds) {
  expect_files("", 0);
}

// Thousands of trace bytes leave the buffer while the files are open: they must not end up in one, nor end the run.
TEST_P(LostOutput, TheFilesAreCompleteAllTheSame) {
  expect_files(" -ML 2", kOutputLost);
}

// The listing of virtual interfaces alone traces more than a buffer holds, while the result file is open.
TEST_P(LostOutput, TracesNeverEndUpInTheResultFile) {
  for (int i = 100; i < 500; ++i) {
    const std::string name = "eth0.interface" + std::to_string(i);
    machine_.add_raw_interface(name, "../../devices/virtual/net/" + name);
  }
  ASSERT_EQ(machine_.run({"-o", "expected"}).status, 0);
  const std::string expected = read_file(machine_.work() / "expected");
  ASSERT_NE(expected.find("interface499"), std::string::npos);
  EXPECT_EQ(status_of("-o result -ML 2"), kOutputLost);
  EXPECT_EQ(read_file(machine_.work() / "result"), expected);
}

// A standard descriptor that stays free becomes that of the next file that is opened.
TEST(ProtectStandardOutput, FillsEveryClosedDescriptor) {
  for (const std::vector<int>& closed : {std::vector{0, 1, 2}, {0}, {1}, {2}, {0, 2}, {1, 2}}) {
    EXPECT_EXIT(
        {
          std::for_each(closed.begin(), closed.end(), close);
          protect_standard_output();
          const bool all_open = fcntl(STDIN_FILENO, F_GETFD) == 0 && fcntl(STDOUT_FILENO, F_GETFD) == 0 &&
                                fcntl(STDERR_FILENO, F_GETFD) == 0;
          _exit(all_open ? 0 : 1);
        },
        testing::ExitedWithCode(0), "")
        << testing::PrintToString(closed);
  }
}

TEST(ProtectStandardOutput, OpensNothingWhereAllThreeAreOpen) {
  const auto next_free = [] {
    const int descriptor = dup(STDIN_FILENO);
    close(descriptor);
    return descriptor;
  };
  const int before = next_free();
  protect_standard_output();
  EXPECT_EQ(next_free(), before);
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
  EXPECT_EXIT(
      {
        dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO);
        std::printf("lost\n");
        const bool is_lost = std::fflush(stdout) != 0;
        dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
        _exit(is_lost && finish_standard_output() == QORX_ERR_CLOSE_FILE ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

using LostFile = SampleTest;

TEST_F(LostFile, OnAFullDeviceIsReported) {
  std::filesystem::create_symlink("/dev/full", machine_.work() / "tovix.cfg");
  for (const char* const words : {"-o /dev/full", "-tovix.cfg"}) {
    expect_run(machine_, words_of(words), "Error: QORX_ERR_CLOSE_FILE (0x83)\n", kOutputLost);
  }
}

TEST_F(LostFile, InADirectoryThatCantBeWrittenIsReported) {
  if (geteuid() == 0) {
    GTEST_SKIP() << "root writes everywhere";
  }
  std::filesystem::permissions(machine_.work(), std::filesystem::perms{0500});
  for (const char* const words : {"-o result", "-tovix.cfg"}) {
    expect_run(machine_, words_of(words), "Error: QORX_ERR_OPEN_FILE (0x80)\n", 128);
  }
  std::filesystem::permissions(machine_.work(), std::filesystem::perms::owner_all);
}

}  // namespace
}  // namespace qorx::test
