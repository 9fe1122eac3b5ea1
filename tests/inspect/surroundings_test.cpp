// The terminal that is drawn on, and the directory that link files are written to.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>

#include "inspect/draw.h"
#include "inspect/link_files.h"
#include "inspect/run.h"
#include "tests/faults/failing_call.h"
#include "tests/support/fixture.h"

namespace qorx::inspect {
namespace {

namespace fs = std::filesystem;
using test::FailingCall;
using testing::HasSubstr;

// Standard output is a terminal for a while.
class OnATerminal : public testing::Test {
 protected:
  OnATerminal() {
    grantpt(terminal_);
    unlockpt(terminal_);
    const int side = open(ptsname(terminal_), O_RDWR | O_NOCTTY);
    dup2(side, STDOUT_FILENO);
    close(side);
    setenv("TERM", "xterm", 1);
    unsetenv("NO_COLOR");
  }
  ~OnATerminal() override {
    dup2(saved_, STDOUT_FILENO);
    close(saved_);
    close(terminal_);
  }

 private:
  const int saved_ = dup(STDOUT_FILENO);
  const int terminal_ = posix_openpt(O_RDWR | O_NOCTTY);
};

TEST_F(OnATerminal, ThereAreColoursUnlessNobodyWantsThem) {
  EXPECT_TRUE(terminal_style().is_coloured);
  setenv("NO_COLOR", "", 1);
  EXPECT_TRUE(terminal_style().is_coloured);
  setenv("NO_COLOR", "1", 1);
  EXPECT_FALSE(terminal_style().is_coloured);
}

TEST_F(OnATerminal, ThereAreNoneWhereTheTerminalHasNone) {
  setenv("TERM", "dumb", 1);
  EXPECT_FALSE(terminal_style().is_coloured);
  unsetenv("TERM");
  EXPECT_FALSE(terminal_style().is_coloured);
}

TEST_F(OnATerminal, WithoutALocaleItIsAscii) {
  setenv("LC_ALL", "C.UTF-8", 1);
  EXPECT_TRUE(terminal_style().is_utf8);
  const FailingCall call("newlocale", ENOENT);
  EXPECT_FALSE(terminal_style().is_utf8);
  unsetenv("LC_ALL");
}

class LinkFiles : public test::MachineTest {
 protected:
  LinkFiles() {
    machine_.add_port("eth0", "0000:03:00.0").smbios(test::SmbiosTable().slot("WMX Slot 1", "03:00.0"));
    EXPECT_EQ(qorx_open(), 0);
    EXPECT_EQ(read_machine(ports_), 0);
    request_.command = Command::kLink;
    request_.output = directory_;
  }

  static int next_descriptor() {
    const int descriptor = dup(STDIN_FILENO);
    close(descriptor);
    return descriptor;
  }

  // What it says; nothing may be left beside the file.
  std::string failure() {
    testing::internal::CaptureStderr();
    test::printed_by([&] { EXPECT_EQ(write_link_files(request_, ports_), kTrouble); });
    return testing::internal::GetCapturedStderr();
  }
  void expect_nothing_written() {
    const int before = next_descriptor();
    EXPECT_EQ(failure(), "qorx-inspect: " + file_ + " can't be written\n");
    EXPECT_TRUE(fs::is_empty(directory_));
    EXPECT_EQ(next_descriptor(), before);
  }

  const std::string directory_ = machine_.work() / "links";
  const bool made_ = fs::create_directory(directory_);
  const std::string file_ = directory_ + "/70-qorx-wmx1p1.link";
  Machine ports_;
  Request request_;
};

TEST_F(LinkFiles, AreWrittenWholeOrNotAtAll) {
  for (const std::string_view name : {"fdopen", "fchmod", "fsync", "fclose", "rename"}) {
    SCOPED_TRACE(name);
    const FailingCall call(name, EIO, name == "fclose" ? 2 : 1);  // the test closes a file before
    expect_nothing_written();
    EXPECT_TRUE(FailingCall::has_failed());
  }
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  auto* const handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit none{0, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &none);
  const int code = write_link_files(request_, ports_);
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(code, kTrouble);
  EXPECT_TRUE(fs::is_empty(directory_));
}

TEST_F(LinkFiles, NeedADirectoryThatCanBeWrittenTo) {
  request_.output = "/proc/self";
  EXPECT_EQ(failure(), "qorx-inspect: /proc/self/70-qorx-wmx1p1.link can't be written\n");
}

TEST_F(LinkFiles, ThatCantBeRemovedAreTold) {
  test::printed_by([&] { ASSERT_EQ(write_link_files(request_, ports_), 0); });
  fs::rename(file_, directory_ + "/70-qorx-old.link");
  fs::permissions(directory_, fs::perms{0555});
  const uid_t user = geteuid();
  for (const fs::path& above : {machine_.root(), machine_.work()}) {
    fs::permissions(above, fs::perms{0755});
  }
  ASSERT_TRUE(user != 0 || seteuid(65534) == 0);
  const std::string said = failure();
  ASSERT_EQ(seteuid(user), 0);
  prctl(PR_SET_DUMPABLE, 1);  // lost with the rights; the leak check at the end needs it
  EXPECT_THAT(said, HasSubstr(directory_ + "/70-qorx-old.link can't be removed\n"));
}

TEST_F(LinkFiles, AreReplacedWholeOrNotAtAll) {
  test::printed_by([&] { ASSERT_EQ(write_link_files(request_, ports_), 0); });
  const std::string before = test::read_file(file_);
  const FailingCall call("rename", EIO);
  EXPECT_EQ(failure(), "qorx-inspect: " + file_ + " can't be written\n");
  EXPECT_EQ(test::read_file(file_), before);
}

using ThisMachine = test::MachineTest;

TEST_F(ThisMachine, IsLookedAtWhereNoOtherIsNamed) {
  machine_.add_port("eth0", "0000:03:00.0");
  for (const auto& [port, status] : {std::pair("eth0", 0), std::pair("eth1", kTrouble)}) {
    const std::array words{"qorx-inspect", "explain", port};
    testing::internal::CaptureStderr();
    test::printed_by([&] { EXPECT_EQ(run(words.size(), words.data()), status); });
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              status == 0 ? "" : "qorx-inspect: no port has the name, address or panel name 'eth1'\n");
  }
}

TEST(RootOfARecording, IsADirectoryWithAUsableName) {
  for (const std::string& name : {std::string(), std::string(5000, 'x'), std::string("/dev/null/x")}) {
    const std::array words{"qorx-inspect", "json", "--root", name.c_str()};
    testing::internal::CaptureStderr();
    EXPECT_EQ(run(words.size(), words.data()), kTrouble);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "qorx-inspect: --root " + name + ": no directory or archive that can be read\n");
  }
}

}  // namespace
}  // namespace qorx::inspect
