// Outputs that can't be written, and what happens to a file that was there before.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "tests/end_to_end/faults.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;

const std::string kCantOpen = "Error: QORX_ERR_OPEN_FILE (0x80)\n";
const std::string kCantClose = "Error: QORX_ERR_CLOSE_FILE (0x83)\n";

struct Output {
  Words words;
  const char* file;
  std::string content;
};

std::vector<Output> outputs() {
  return {{{"-o", "result"}, "result", Rows().table()}, {{"-tovix.cfg"}, "tovix.cfg", FaultMachine::tovix_cfg()}};
}

// A table of more bytes than a buffer or a pipe holds.
struct ManyInterfaces : FaultMachine {
  ManyInterfaces() {
    for (int i = 100; i < 700; ++i) {
      add_raw_interface("br" + std::to_string(i), "../../devices/virtual/net/br" + std::to_string(i));
    }
  }
};

ToolRun run_with_output(const FakeMachine& machine, const Words& words, const std::function<void()>& in_child = {}) {
  return run_replay(machine.root(), machine.work(), words, [&in_child] {
    limit_time(10);
    if (in_child) {
      in_child();
    }
  });
}

using OutputFaults = RunsHere;

TEST_F(OutputFaults, AFileThatCantBeCreated) {
  const FaultMachine machine;
  for (const Fault fault : {Fault::kLoop, Fault::kNowhere, Fault::kDirectory}) {
    for (const Output& output : outputs()) {
      SCOPED_TRACE(std::string(output.file) + " " + name_of(fault));
      const Planted planted(machine, machine.work() / output.file, fault);
      const ToolRun result = run(machine, output.words);
      EXPECT_EQ(result.output, kCantOpen);
      EXPECT_EQ(result.status, 128);
    }
  }
}

TEST_F(OutputFaults, ADirectoryThatMayNotBeWritten) {
  for (const Output& output : outputs()) {
    const FaultMachine machine;
    fs::create_directory(machine.work() / "closed");
    const auto run_there = [&](Words words) {
      if (words.size() > 1) {
        words[1] = "closed/" + words[1];
        return run(machine, words);
      }
      fs::create_symlink("closed/tovix.cfg", machine.work() / "tovix.cfg");
      return run(machine, words);
    };
    fs::permissions(machine.work() / "closed", fs::perms::owner_read | fs::perms::owner_exec);
    as_ordinary_user_ = true;
    const ToolRun result = run_there(output.words);
    EXPECT_EQ(result.output, kCantOpen);
    EXPECT_EQ(result.status, 128);
    fs::permissions(machine.work() / "closed", fs::perms::owner_all);
  }
}

TEST_F(OutputFaults, ACurrentDirectoryThatWasRemoved) {
  const FaultMachine machine;
  for (const Output& output : outputs()) {
    const ToolRun result = run_with_output(machine, output.words, [] {
      if (mkdir("gone", 0700) != 0 || chdir("gone") != 0 || rmdir("../gone") != 0) {
        _exit(126);
      }
    });
    EXPECT_EQ(result.output, kCantOpen);
    EXPECT_EQ(result.status, 128);
  }
}

TEST_F(OutputFaults, AFullDisk) {
  for (const Output& output : outputs()) {
    const FaultMachine machine;
    fs::create_symlink("/dev/full", machine.work() / output.file);
    const ToolRun result = run(machine, output.words);
    EXPECT_EQ(result.output, kCantClose);
    EXPECT_EQ(result.status, 131);
  }
}

// The loss shows in the middle of the run.
TEST_F(OutputFaults, AFullDiskInTheMiddleOfALargeFile) {
  const ManyInterfaces machine;
  const ToolRun result = run(machine, {"-o", "/dev/full"});
  EXPECT_EQ(result.output, kCantClose);
  EXPECT_EQ(result.status, 131);
}

// A file that may not grow: not the end of the process by a signal, but an incomplete file and a message.
TEST_F(OutputFaults, AFileSizeLimit) {
  const rlimit limit{64, 64};
  for (const Output& output : outputs()) {
    SCOPED_TRACE(output.file);
    const FaultMachine machine;
    const ToolRun result = run_with_output(machine, output.words, [&limit] { setrlimit(RLIMIT_FSIZE, &limit); });
    EXPECT_EQ(result.output, kCantClose);
    EXPECT_EQ(result.status, 131);
    EXPECT_EQ(read_file(machine.work() / output.file), output.content.substr(0, limit.rlim_max));
  }
  const FaultMachine machine;
  for (const Words& words : {Words{"-a"}, Words{"-sysinfo"}, Words{"-support"}}) {
    const ToolRun result = run_with_output(machine, words, [&limit] { setrlimit(RLIMIT_FSIZE, &limit); });
    EXPECT_EQ(result.output.size(), limit.rlim_max);
    EXPECT_EQ(result.status, 131);
  }
}

TEST_F(OutputFaults, AFileSizeLimitKeepsTheStatusOfAnotherFailure) {
  const FaultMachine machine;
  const rlimit limit{0, 0};
  const auto nothing = [&limit] { setrlimit(RLIMIT_FSIZE, &limit); };
  EXPECT_EQ(run_with_output(machine, {}, nothing).status, 147);
  EXPECT_EQ(run_with_output(machine, {"-d"}, nothing).status, 147);
  EXPECT_EQ(run_with_output(machine, {"-x"}, nothing).status, 150);
  EXPECT_EQ(run_with_output(machine, {"-a", "-config", "missing"}, nothing).status, 128);
  EXPECT_EQ(run_with_output(machine, {"-V"}, nothing).status, 131);
}

// Without slot numbers tovix.cfg comes with a warning and a table on the screen; the file is complete all the same.
TEST_F(OutputFaults, AWarningThatIsLostWithTheScreen) {
  FaultMachine machine;
  machine.remove("sys/firmware");
  const ToolRun full =
      run_with_output(machine, {"-tovix.cfg"}, [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); });
  EXPECT_EQ(full.status, 131);
  EXPECT_EQ(read_file(machine.work() / "tovix.cfg"), "TYPE:PCIE\n\n");
  const ToolRun closed = run_with_output(machine, {"-tovix.cfg"}, [] { close(STDOUT_FILENO); });
  EXPECT_EQ(closed.status, 131);
  EXPECT_EQ(read_file(machine.work() / "tovix.cfg"), "TYPE:PCIE\n\n");
}

TEST_F(OutputFaults, NothingIsLeftToSayItWith) {
  const FaultMachine machine;
  const ToolRun result =
      run_with_output(machine, {"-o", "/dev/full"}, [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); });
  EXPECT_EQ(result.status, 131);
}

// head -c 1: the reader goes away with the first byte.
TEST_F(OutputFaults, AReaderThatGoesAwayInTheMiddle) {
  const ManyInterfaces machine;
  for (Words words : {Words{"-a"}, Words{"-o", "result"}, Words{"-tovix.cfg"}}) {
    words.insert(words.end(), {"-ML", "2"});  // more than the pipe holds
    SCOPED_TRACE(words[0]);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_GT(fcntl(ends[1], F_SETPIPE_SZ, 4096), 0);
    const pid_t reader = fork();
    if (reader == 0) {
      close(ends[1]);
      char byte = 0;
      _exit(read(ends[0], &byte, 1) == 1 ? 0 : 1);
    }
    close(ends[0]);
    const ToolRun result = run_with_output(machine, words, [&ends] { dup2(ends[1], STDOUT_FILENO); });
    close(ends[1]);
    int status = -1;
    waitpid(reader, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(result.status, 131);
  }
  EXPECT_EQ(read_file(machine.work() / "tovix.cfg"), FaultMachine::tovix_cfg());
  EXPECT_TRUE(read_file(machine.work() / "result").ends_with(kTableLegend));
}

TEST_F(OutputFaults, AResultFileMayBeAPipe) {
  const FaultMachine machine;
  const fs::path path = machine.work() / "result";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const int end = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  EXPECT_EQ(run_with_output(machine, {"-o", "result"}).status, 0);
  std::string content(65536, '\0');
  const ssize_t count = read(end, content.data(), content.size());
  close(end);
  EXPECT_EQ(content.substr(0, static_cast<std::size_t>(std::max<ssize_t>(count, 0))), Rows().table());
}

TEST_F(OutputFaults, AResultFileWhoseReaderGoesAway) {
  const ManyInterfaces machine;
  const fs::path path = machine.work() / "result";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const pid_t reader = fork();
  if (reader == 0) {
    alarm(10);
    _exit(open(path.c_str(), O_RDONLY) >= 0 ? 0 : 1);
  }
  const ToolRun result = run_with_output(machine, {"-o", "result"});
  waitpid(reader, nullptr, 0);
  EXPECT_EQ(result.output, kCantClose);
  EXPECT_EQ(result.status, 131);
}

struct stat status_of(const fs::path& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0);
  return status;
}

TEST_F(OutputFaults, AFileThatIsReplacedKeepsItsOwnerAndMode) {
  constexpr uid_t kSomeone = 12345;
  for (const Output& output : outputs()) {
    SCOPED_TRACE(output.file);
    FaultMachine machine;
    const fs::path path = machine.user_file(output.file, std::string(100000, 'x'));
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    if (geteuid() == 0) {
      ASSERT_EQ(chown(path.c_str(), kSomeone, kSomeone), 0);
    }
    fs::create_hard_link(path, machine.work() / "other name");
    const struct stat before = status_of(path);
    EXPECT_EQ(run(machine, output.words).status, 0);
    const struct stat after = status_of(path);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(read_file(machine.work() / "other name"), output.content);
  }
}

TEST_F(OutputFaults, ARunThatFailsBeforeLeavesTheFileAlone) {
  for (const Output& output : outputs()) {
    FaultMachine machine;
    machine.user_file(output.file, "old\n");
    for (const Words& options : {Words{"-config", "missing"}, Words{"-smbios_cfg", "missing"}}) {
      Words words = output.words;
      words.insert(words.end(), options.begin(), options.end());
      EXPECT_EQ(run(machine, words).status, 128);
    }
    machine.remove("sys/class/i2c-adapter");
    EXPECT_EQ(run(machine, output.words).status, 152);
    EXPECT_EQ(read_file(machine.work() / output.file), "old\n");
  }
}

TEST_F(OutputFaults, ASymbolicLinkIsFollowed) {
  for (const Output& output : outputs()) {
    for (const bool exists : {true, false}) {
      SCOPED_TRACE(output.file);
      FaultMachine machine;
      const fs::path target = machine.work() / "elsewhere/file";
      fs::create_directory(target.parent_path());
      if (exists) {
        machine.user_file("elsewhere/file", "old\n");
      }
      fs::create_symlink("elsewhere/file", machine.work() / output.file);
      EXPECT_EQ(run(machine, output.words).status, 0);
      EXPECT_EQ(read_file(target), output.content);
      EXPECT_EQ(fs::read_symlink(machine.work() / output.file), "elsewhere/file");
    }
  }
}

}  // namespace
}  // namespace qorx::test
