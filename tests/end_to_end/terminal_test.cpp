// What a terminal is shown of names that hold control characters.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/support/fake_machine.h"

namespace qorx::test {
namespace {

using Words = std::vector<std::string>;

// The two ends of a terminal that passes every byte on as it is.
class Terminal {
 public:
  Terminal() : screen_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    if (screen_ < 0 || grantpt(screen_) != 0 || unlockpt(screen_) != 0) {
      throw std::runtime_error("no terminal can be made");
    }
    line_ = open(ptsname(screen_), O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios settings{};
    tcgetattr(line_, &settings);
    cfmakeraw(&settings);
    tcsetattr(line_, TCSANOW, &settings);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;
  ~Terminal() {
    close(line_);
    close(screen_);
  }

  // What a run shows on it. It holds more than the runs of this file print.
  std::string shown_by(const FakeMachine& machine, const Words& words) {
    const ToolRun run = run_replay(machine.root(), machine.work(), words, [this] { dup2(line_, STDOUT_FILENO); });
    EXPECT_EQ(run.output, "");
    std::string text;
    fcntl(screen_, F_SETFL, O_NONBLOCK);
    char buffer[4096];
    for (ssize_t count = 1; count > 0;) {
      count = read(screen_, buffer, sizeof buffer);
      text.append(buffer, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return text;
  }

 private:
  int screen_;
  int line_;
};

// A machine whose slot clears the screen, with a MAC address of two rows and an interface that rings the bell.
struct LoudMachine : FakeMachine {
  LoudMachine() {
    add_port("eth\a0", "0000:00:1c.0/0000:03:00.0", {.subsys_vendor = 0x13FE, .subsys_device = 0x0037});
    smbios(SmbiosTable().slot("Slot\033[2J\n3", "03:00.0"));
    user_file("qorx.cfg", "SLOT_NAME=\"Slot\033[2J\n");
  }
};

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

std::string as_shown(const std::string& output) {
  return replaced(replaced(output, "Slot\033[2J\n3", "Slot?[2J?3"), "eth\a0", "eth?0");
}

TEST(TerminalOutput, ControlCharactersOfNamesPrintAsQuestionMarks) {
  const LoudMachine machine;
  for (const Words& words : {Words{"-a"}, Words{"-d", "eth\a0"}, Words{"-sysinfo"}, Words{"-support"}}) {
    SCOPED_TRACE(testing::PrintToString(words));
    const std::string printed = run_replay(machine.root(), machine.work(), words).output;
    const std::string shown = Terminal().shown_by(machine, words);
    EXPECT_EQ(shown, as_shown(printed));
    EXPECT_TRUE(
        std::none_of(shown.begin(), shown.end(), [](char c) { return c != '\n' && (c & 0x7F) < 0x20 && c >= 0; }));
    EXPECT_EQ(shown != printed, words[0] != "-support");
  }
}

TEST(TerminalOutput, MessagesAndTracesToo) {
  const LoudMachine machine;
  const Words words{"-d", "eth\a0", "-vm", "-smbios_cfg", "missing\033file"};
  EXPECT_EQ(Terminal().shown_by(machine, words),
            "Error: Open file missing?file failed.\nError: QORX_ERR_OPEN_FILE (0x80)\n");
  const std::string traces = Terminal().shown_by(machine, {"-d", "eth\a0", "-ML", "2"});
  EXPECT_NE(traces.find("\neth name: eth?0\n"), std::string::npos);
  EXPECT_EQ(traces.find_first_of("\a\033"), std::string::npos);
}

TEST(TerminalOutput, FilesHoldEveryByte) {
  const LoudMachine machine;
  const std::string printed = run_replay(machine.root(), machine.work(), {"-a"}).output;
  EXPECT_NE(printed.find("Slot\033[2J\n3"), std::string::npos);
  EXPECT_EQ(Terminal().shown_by(machine, {"-o", "result"}), "");
  EXPECT_EQ(read_file(machine.work() / "result"), printed);
}

}  // namespace
}  // namespace qorx::test
