// Every file that the user names, with every fault: the message, the code, and that the run ends.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <string>
#include <vector>

#include "tests/end_to_end/faults.h"

namespace qorx::test {
namespace {

struct UserFile {
  std::string name;
  Words words;
  std::string no_data;   // what an empty file lacks
  bool line_is_printed;  // and the number of the line where it ends
  std::string line;      // one that is right, as often as it stands there
};

const std::vector<UserFile> kFiles{
    {"qorx.cfg", {"-config", "qorx.cfg"}, "Can't find SLOT_NAME! qorx.cfg line: ", true, "SLOT_NAME=\"WMX Slot 3\"\n"},
    {"smbios.cfg",
     {"-smbios_cfg", "smbios.cfg"},
     "Can't find TYPE! smbios.cfg line: ",
     true,
     "TYPE=\"9\"\nNAME=\"S\"\nBUS:DEV.FUN=\"03:00.0\"\n"},
    {"wmx_name.cfg",
     {"-legacy", "-sys_WMX_cfg", "wmx_name.cfg"},
     "Can't find WMX NAME in wmx_name.cfg",
     false,
     "WMX-2848 A_BYPASS\n"},
};

const std::string kWrongFormat = "\nError: QORX_ERR_CONF_FILE_FORMAT (0x81)\n";

// 16 MiB of zeros in pieces of 1,023 bytes: 16,400 whole ones and a rest.
constexpr const char* kLastLineOfEndlessFile = "16401";

ToolRun cant_open(const UserFile& file) {
  return said("Error: Open file " + file.name + " failed.\nError: QORX_ERR_OPEN_FILE (0x80)\n", 128);
}

class UserFileFaults : public FaultTest {
 protected:
  [[nodiscard]] ToolRun expected(const UserFile& file) const {
    if (cant_be_read(GetParam())) {
      return cant_open(file);
    }
    const std::string line = GetParam() == Fault::kEndless ? kLastLineOfEndlessFile : "1";
    return said(file.no_data + (file.line_is_printed ? line : "") + kWrongFormat, 129);
  }

  FaultMachine machine_;
};

TEST_P(UserFileFaults, AConfigurationFileEndsTheRun) {
  for (const UserFile& file : kFiles) {
    const Planted fault(machine_, machine_.work() / file.name, GetParam());
    for (const Words& operation : {Words{"-a"}, Words{"-o", "result"}, Words{"-tovix.cfg"}}) {
      EXPECT_EQ(run(machine_, joined(operation, file.words)), expected(file)) << operation[0] << " " << file.name;
    }
    EXPECT_FALSE(std::filesystem::exists(machine_.work() / "result"));
    EXPECT_FALSE(std::filesystem::exists(machine_.work() / "tovix.cfg"));
  }
}

TEST_P(UserFileFaults, ARecordedTableIsPassedOver) {
  machine_.user_file("entry", FaultMachine::slots().entry_point3());
  machine_.user_file("table", FaultMachine::slots().bytes());
  const auto expect = [&](const char* name, const std::string& message) {
    const Planted fault(machine_, machine_.work() / name, GetParam());
    EXPECT_EQ(run(machine_, {"-a", "-diag", "entry", "table"}), said(message + table_without_slots())) << name;
  };
  expect("entry", cant_be_read(GetParam()) ? "1Can't get entry\n" : "Can't find SMBIOS!\n");
  expect("table", cant_be_read(GetParam()) ? "2Can't get table\n" : "");
}

QORX_FAULTS(UserFileFaults);

// A process that writes a text into a named pipe, once.
class PipeWriter {
 public:
  PipeWriter(const std::filesystem::path& path, const std::string& text) {
    std::filesystem::remove(path);
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

class UserPipe : public RunsHere {
 protected:
  [[nodiscard]] std::string text(const char* name) const { return read_file(machine_.work() / name); }

  FaultMachine machine_;
};

TEST_F(UserPipe, AFileThatIsReadOnceMayBeAPipe) {
  const ToolRun by_file = run(machine_, {"-a", "-smbios_cfg", "smbios.cfg"});
  {
    const PipeWriter writer(machine_.work() / "pipe", text("smbios.cfg"));
    EXPECT_EQ(run(machine_, {"-a", "-smbios_cfg", "pipe"}), by_file);
  }
  const PipeWriter writer(machine_.work() / "pipe", text("wmx_name.cfg"));
  EXPECT_EQ(run(machine_, {"-a", "-legacy", "-sys_WMX_cfg", "pipe"}), said(Rows().table()));
}

TEST_F(UserPipe, RecordedTablesMayBePipes) {
  machine_.remove("sys/firmware");
  const PipeWriter entry(machine_.work() / "entry", FaultMachine::slots().entry_point3());
  const PipeWriter table(machine_.work() / "table", FaultMachine::slots().bytes());
  EXPECT_EQ(run(machine_, {"-a", "-diag", "entry", "table"}), said(Rows().table()));
}

// The platform file is read twice; a pipe is empty the second time, and that is no silent success.
TEST_F(UserPipe, APlatformFileMayNotBeAPipe) {
  const auto fill = [text = text("qorx.cfg")] {
    limit_time(10);
    int ends[2];
    if (pipe(ends) != 0 || write(ends[1], text.data(), text.size()) < 0 || dup2(ends[0], 9) < 0) {
      _exit(126);
    }
    close(ends[0]);
    close(ends[1]);
  };
  EXPECT_EQ(run_replay(machine_.root(), machine_.work(), {"-a", "-config", "/dev/fd/9"}, fill),
            said("Can't find SLOT_NAME! /dev/fd/9 line: 1" + kWrongFormat, 129));
}

// A file that never ends is cut behind 16 MiB, whatever it holds.
TEST_F(UserPipe, WhatLiesBehind16MegabytesIsNotRead) {
  const ToolRun by_file = run(machine_, {"-a", "-smbios_cfg", "smbios.cfg"});
  constexpr std::size_t kLimit = std::size_t{16} << 20;
  std::string text = this->text("smbios.cfg");
  while (text.size() + 1024 <= kLimit) {
    text += "#" + std::string(1022, '.') + "\n";
  }
  text += "#" + std::string(kLimit - text.size() - 2, '.') + "\n";
  machine_.user_file("smbios.cfg", text + "wrong\n");
  EXPECT_EQ(run(machine_, {"-a", "-smbios_cfg", "smbios.cfg"}), by_file);
  machine_.user_file("smbios.cfg", text.substr(1) + "wrong\n");
  EXPECT_EQ(run(machine_, {"-a", "-smbios_cfg", "smbios.cfg"}).status, 129);
}

// Three pieces of the size that the C library reads at once; the fourth read finds the end.
std::string long_text(const std::string& line) {
  std::string text;
  while (text.size() < 3 * 4096) {
    text += line;
  }
  return text;
}

// At the first, the second and a later read of each file.
TEST(ReadErrors, OfAConfigurationFileEndTheRunAndNameIt) {
  QORX_SKIP_IF(!can_plant_faults(), "strace is not installed or may not trace here");
  for (const UserFile& file : kFiles) {
    for (const int which : {1, 2, 3, 4}) {
      SCOPED_TRACE(file.name + " " + std::to_string(which));
      FaultMachine machine;
      machine.user_file(file.name, long_text(file.line));
      machine.user_file("tovix.cfg", "old\n");
      EXPECT_EQ(run_with_fault(machine.root(), machine.work(), joined({"-tovix.cfg"}, file.words),
                               machine.work() / file.name, "read:error=EIO:when=" + std::to_string(which)),
                cant_open(file));
      EXPECT_EQ(read_file(machine.work() / "tovix.cfg"), "old\n");
    }
  }
}

}  // namespace
}  // namespace qorx::test
