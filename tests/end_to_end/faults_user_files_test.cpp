// Every file that the user names, with every fault: the message, the code, and that the run ends.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <string>
#include <vector>

#include "tests/end_to_end/faults.h"

namespace qorx::test {
namespace {

using Words = std::vector<std::string>;

struct UserFile {
  const char* name;
  Words words;
  const char* no_data;   // what an empty file lacks
  bool line_is_printed;  // and the number of the line where it ends
};

const std::vector<UserFile>& config_files() {
  static const std::vector<UserFile> files{
      {"qorx.cfg", {"-config", "qorx.cfg"}, "Can't find SLOT_NAME! qorx.cfg line: ", true},
      {"smbios.cfg", {"-smbios_cfg", "smbios.cfg"}, "Can't find TYPE! smbios.cfg line: ", true},
      {"wmx_name.cfg", {"-legacy", "-sys_WMX_cfg", "wmx_name.cfg"}, "Can't find WMX NAME in wmx_name.cfg", false},
  };
  return files;
}

// 16 MiB of zeros in pieces of 1,023 bytes: 16,400 whole ones and a rest.
constexpr const char* kLastLineOfEndlessFile = "16401";

std::string open_failed(const std::string& name) {
  return "Error: Open file " + name + " failed.\nError: QORX_ERR_OPEN_FILE (0x80)\n";
}

std::string without_data(const UserFile& file, const std::string& line) {
  return file.no_data + (file.line_is_printed ? line : "") + "\nError: QORX_ERR_CONF_FILE_FORMAT (0x81)\n";
}

class UserFileFaults : public RunsHere, public testing::WithParamInterface<Fault> {
 protected:
  void SetUp() override {
    RunsHere::SetUp();
    as_ordinary_user_ = GetParam() == Fault::kUnreadable;  // root reads everything
  }
};

TEST_P(UserFileFaults, AConfigurationFileEndsTheRun) {
  const bool is_closed = cant_be_opened(GetParam()) || GetParam() == Fault::kDirectory;
  const FaultMachine machine;
  for (const UserFile& file : config_files()) {
    const Planted fault(machine, machine.work() / file.name, GetParam());
    const std::string expected = is_closed
                                     ? open_failed(file.name)
                                     : without_data(file, GetParam() == Fault::kEndless ? kLastLineOfEndlessFile : "1");
    for (Words words : {Words{"-a"}, Words{"-o", "result"}, Words{"-tovix.cfg"}}) {
      words.insert(words.end(), file.words.begin(), file.words.end());
      SCOPED_TRACE(testing::PrintToString(words));
      const ToolRun result = run(machine, words);
      EXPECT_EQ(result.output, expected);
      EXPECT_EQ(result.status, is_closed ? 128 : 129);
    }
    EXPECT_FALSE(std::filesystem::exists(machine.work() / "result"));
    EXPECT_FALSE(std::filesystem::exists(machine.work() / "tovix.cfg"));
  }
}

TEST_P(UserFileFaults, ARecordedTableIsPassedOver) {
  const bool is_closed =
      cant_be_opened(GetParam()) || GetParam() == Fault::kDirectory || GetParam() == Fault::kReadError;
  FaultMachine machine;
  machine.user_file("entry", FaultMachine::slots().entry_point3());
  machine.user_file("table", FaultMachine::slots().bytes());
  for (const std::string name : {"entry", "table"}) {
    SCOPED_TRACE(name);
    const Planted fault(machine, machine.work() / name, GetParam());
    std::string message;
    if (is_closed) {
      message = name == "entry" ? "1Can't get entry\n" : "2Can't get table\n";
    } else if (name == "entry") {
      message = "Can't find SMBIOS!\n";
    }
    const ToolRun result = run(machine, {"-a", "-diag", "entry", "table"});
    EXPECT_EQ(result.output, message + table_without_slots());
    EXPECT_EQ(result.status, 0);
  }
}

INSTANTIATE_TEST_SUITE_P(User, UserFileFaults,
                         testing::Values(Fault::kMissing, Fault::kLoop, Fault::kNowhere, Fault::kUnreadable,
                                         Fault::kDirectory, Fault::kEmpty, Fault::kEndless, Fault::kReadError),
                         [](const auto& fault) { return name_of(fault.param); });

// A process that writes a text into a named pipe, once.
class PipeWriter {
 public:
  PipeWriter(const std::filesystem::path& path, const std::string& text) {
    if (mkfifo(path.c_str(), 0600) != 0) {
      throw std::runtime_error("can't make a pipe");
    }
    child_ = fork();
    if (child_ == 0) {
      alarm(10);
      const int pipe = open(path.c_str(), O_WRONLY | O_CLOEXEC);
      const bool written = write(pipe, text.data(), text.size()) == static_cast<ssize_t>(text.size());
      _exit(written ? 0 : 1);
    }
  }
  ~PipeWriter() { waitpid(child_, nullptr, 0); }
  PipeWriter(const PipeWriter&) = delete;
  PipeWriter& operator=(const PipeWriter&) = delete;

 private:
  pid_t child_;
};

using UserPipe = RunsHere;

TEST_F(UserPipe, AFileThatIsReadOnceMayBeAPipe) {
  const FaultMachine machine;
  const std::string names = read_file(machine.work() / "wmx_name.cfg");
  const std::string slots = read_file(machine.work() / "smbios.cfg");
  const std::string by_file = run(machine, {"-a", "-smbios_cfg", "smbios.cfg"}).output;
  {
    const PipeWriter writer(machine.work() / "pipe", slots);
    EXPECT_EQ(run(machine, {"-a", "-smbios_cfg", "pipe"}).output, by_file);
  }
  std::filesystem::remove(machine.work() / "pipe");
  const PipeWriter writer(machine.work() / "pipe", names);
  EXPECT_EQ(run(machine, {"-a", "-legacy", "-sys_WMX_cfg", "pipe"}).output, Rows().table());
}

TEST_F(UserPipe, RecordedTablesMayBePipes) {
  FaultMachine machine;
  machine.remove("sys/firmware");
  const PipeWriter entry(machine.work() / "entry", FaultMachine::slots().entry_point3());
  const PipeWriter table(machine.work() / "table", FaultMachine::slots().bytes());
  EXPECT_EQ(run(machine, {"-a", "-diag", "entry", "table"}).output, Rows().table());
}

// The platform file is read twice; a pipe is empty the second time, and that is no silent success.
TEST_F(UserPipe, APlatformFileMayNotBeAPipe) {
  const FaultMachine machine;
  const std::string text = read_file(machine.work() / "qorx.cfg");
  const auto fill = [&text] {
    limit_time(10);
    int ends[2];
    if (pipe(ends) != 0 || write(ends[1], text.data(), text.size()) < 0 || dup2(ends[0], 9) < 0) {
      _exit(126);
    }
    close(ends[0]);
    close(ends[1]);
  };
  const ToolRun result = run_replay(machine.root(), machine.work(), {"-a", "-config", "/dev/fd/9"}, fill);
  EXPECT_EQ(result.output, "Can't find SLOT_NAME! /dev/fd/9 line: 1\nError: QORX_ERR_CONF_FILE_FORMAT (0x81)\n");
  EXPECT_EQ(result.status, 129);
}

// A file that never ends is cut behind 16 MiB, whatever it holds.
TEST_F(UserPipe, WhatLiesBehind16MegabytesIsNotRead) {
  FaultMachine machine;
  std::string text = read_file(machine.work() / "smbios.cfg");
  const std::string by_file = run(machine, {"-a", "-smbios_cfg", "smbios.cfg"}).output;
  const std::size_t limit = std::size_t{16} << 20;
  while (text.size() + 1024 <= limit) {
    text += "#" + std::string(1022, '.') + "\n";
  }
  text += "#" + std::string(limit - text.size() - 2, '.') + "\n";
  machine.user_file("smbios.cfg", text + "wrong\n");
  EXPECT_EQ(run(machine, {"-a", "-smbios_cfg", "smbios.cfg"}).output, by_file);
  machine.user_file("smbios.cfg", text.substr(1) + "wrong\n");
  EXPECT_EQ(run(machine, {"-a", "-smbios_cfg", "smbios.cfg"}).status, 129);
}

}  // namespace
}  // namespace qorx::test
