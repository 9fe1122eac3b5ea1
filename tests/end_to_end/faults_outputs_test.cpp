// Outputs that can't be written, and what happens to a file that was there before.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <functional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/end_to_end/faults.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

const ToolRun kCantOpen = said("Error: QORX_ERR_OPEN_FILE (0x80)\n", 128);
const ToolRun kCantClose = said("Error: QORX_ERR_CLOSE_FILE (0x83)\n", 131);

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

void fill_the_disk_of_the_screen() {
  dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO);
}

std::function<void()> with_file_size(rlim_t size) {
  return [size] {
    const rlimit limit{size, size};
    setrlimit(RLIMIT_FSIZE, &limit);
  };
}

struct Output {
  std::string_view rule;
  Words words;
  std::string content;
};

// The same rule for the result file and for tovix.cfg.
class OutputFile : public RowTest<Output, RunsHere> {
 protected:
  [[nodiscard]] ToolRun run_it(const Words& options = {}) const { return run(machine_, joined(row().words, options)); }

  FaultMachine machine_;
  const std::string name_ = row().words.back() == "-tovix.cfg" ? "tovix.cfg" : row().words.back();
  const fs::path file_ = machine_.work() / name_;
};

TEST_P(OutputFile, ThatCantBeCreated) {
  for (const Fault fault : {Fault::kLoop, Fault::kNowhere, Fault::kDirectory}) {
    const Planted planted(machine_, file_, fault);
    EXPECT_EQ(run_it(), kCantOpen) << name_of(fault);
  }
}

TEST_P(OutputFile, InADirectoryThatMayNotBeWritten) {
  const fs::path closed = machine_.work() / "closed";
  fs::create_directory(closed);
  fs::create_symlink("closed/" + name_, file_);
  fs::permissions(closed, fs::perms::owner_read | fs::perms::owner_exec);
  as_ordinary_user_ = true;
  EXPECT_EQ(run_it(), kCantOpen);
  fs::permissions(closed, fs::perms::owner_all);
}

TEST_P(OutputFile, InADirectoryThatWasRemoved) {
  EXPECT_EQ(run_with_output(machine_, row().words,
                            [] {
                              if (mkdir("gone", 0700) != 0 || chdir("gone") != 0 || rmdir("../gone") != 0) {
                                _exit(126);
                              }
                            }),
            kCantOpen);
}

TEST_P(OutputFile, OnAFullDisk) {
  fs::create_symlink("/dev/full", file_);
  EXPECT_EQ(run_it(), kCantClose);
}

// A file that may not grow: not the end of the process by a signal, but an incomplete file and a message.
TEST_P(OutputFile, ThatMayNotGrow) {
  EXPECT_EQ(run_with_output(machine_, row().words, with_file_size(64)), kCantClose);
  EXPECT_EQ(read_file(file_), row().content.substr(0, 64));
}

TEST_P(OutputFile, ThatIsReplacedKeepsItsOwnerAndMode) {
  constexpr uid_t kSomeone = 12345;
  machine_.user_file(name_, std::string(100000, 'x'));
  ASSERT_EQ(chmod(file_.c_str(), 0640), 0);
  if (geteuid() == 0) {
    ASSERT_EQ(chown(file_.c_str(), kSomeone, kSomeone), 0);
  }
  fs::create_hard_link(file_, machine_.work() / "other name");
  const auto identity = [&] {
    struct stat status {};
    EXPECT_EQ(stat(file_.c_str(), &status), 0);
    return std::make_tuple(status.st_uid, status.st_gid, status.st_mode, status.st_ino);
  };
  const auto before = identity();
  EXPECT_EQ(run_it(), said(""));
  EXPECT_EQ(identity(), before);
  EXPECT_EQ(read_file(machine_.work() / "other name"), row().content);
}

TEST_P(OutputFile, IsLeftAloneByARunThatFailsBefore) {
  machine_.user_file(name_, "old\n");
  EXPECT_EQ(run_it({"-config", "missing"}).status, 128);
  EXPECT_EQ(run_it({"-smbios_cfg", "missing"}).status, 128);
  machine_.remove("sys/class/i2c-adapter");
  EXPECT_EQ(run_it().status, 152);
  EXPECT_EQ(read_file(file_), "old\n");
}

TEST_P(OutputFile, MayBeASymbolicLink) {
  const fs::path target = machine_.work() / "elsewhere/file";
  fs::create_directory(target.parent_path());
  fs::create_symlink("elsewhere/file", file_);
  for (const char* const before : {"there is none", "there is one"}) {
    EXPECT_EQ(run_it(), said("")) << before;
    EXPECT_EQ(read_file(target), row().content);
    EXPECT_EQ(fs::read_symlink(file_), "elsewhere/file");
    machine_.user_file("elsewhere/file", "old\n");
  }
}

QORX_ROWS(OutputFile, Output{"result file", {"-o", "result"}, Rows().table()},
          Output{"tovix cfg", {"-tovix.cfg"}, FaultMachine::tovix_cfg()});

class OutputFaults : public RunsHere {
 protected:
  const FaultMachine machine_;
};

// The loss shows in the middle of the run.
TEST_F(OutputFaults, AFullDiskInTheMiddleOfALargeFile) {
  const ManyInterfaces machine;
  EXPECT_EQ(run(machine, {"-o", "/dev/full"}), kCantClose);
}

TEST_F(OutputFaults, AScreenThatIsAFileWhichMayNotGrow) {
  for (const Words& words : {Words{"-a"}, Words{"-sysinfo"}, Words{"-support"}}) {
    const ToolRun result = run_with_output(machine_, words, with_file_size(64));
    EXPECT_EQ(result.output.size(), 64U);
    EXPECT_EQ(result.status, 131);
  }
}

TEST_F(OutputFaults, ALostScreenKeepsTheStatusOfAnotherFailure) {
  for (const auto& [words, status] : std::vector<std::pair<Words, int>>{
           {{}, 147}, {{"-d"}, 147}, {{"-x"}, 150}, {{"-a", "-config", "missing"}, 128}, {{"-V"}, 131}}) {
    EXPECT_EQ(run_with_output(machine_, words, with_file_size(0)).status, status) << testing::PrintToString(words);
  }
}

// Without slot numbers tovix.cfg comes with a warning and a table on the screen; the file is complete all the same.
TEST_F(OutputFaults, AWarningThatIsLostWithTheScreen) {
  FaultMachine machine;
  machine.remove("sys/firmware");
  for (const std::function<void()>& lose_screen :
       {std::function<void()>(fill_the_disk_of_the_screen), std::function<void()>([] { close(STDOUT_FILENO); })}) {
    machine.user_file("tovix.cfg", "old\n");
    EXPECT_EQ(run_with_output(machine, {"-tovix.cfg"}, lose_screen).status, 131);
    EXPECT_EQ(read_file(machine.work() / "tovix.cfg"), kNoTovixRecords);
  }
}

TEST_F(OutputFaults, NothingIsLeftToSayItWith) {
  EXPECT_EQ(run_with_output(machine_, {"-o", "/dev/full"}, fill_the_disk_of_the_screen).status, 131);
}

// head -c 1: the reader goes away with the first byte.
TEST_F(OutputFaults, AReaderThatGoesAwayInTheMiddle) {
  const ManyInterfaces machine;
  for (const Words& words : {Words{"-a"}, Words{"-o", "result"}, Words{"-tovix.cfg"}}) {
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
    const ToolRun result = run_with_output(machine, joined(words, {"-ML", "2"}),  // more than the pipe holds
                                           [&ends] { dup2(ends[1], STDOUT_FILENO); });
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
  const fs::path path = machine_.work() / "result";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const int end = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  EXPECT_EQ(run_with_output(machine_, {"-o", "result"}).status, 0);
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
  EXPECT_EQ(run_with_output(machine, {"-o", "result"}), kCantClose);
  waitpid(reader, nullptr, 0);
}

}  // namespace
}  // namespace qorx::test
