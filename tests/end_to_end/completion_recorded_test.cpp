// What the shells offer behind a half-typed command line of the tools for recorded machines.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "tests/end_to_end/system_tools.h"
#include "tests/support/fake_machine.h"

namespace qorx::test {
namespace {

using Words = std::vector<std::string>;
using Offered = std::set<std::string>;

const Offered kOperations{"-a", "-d", "-f", "-p", "-o", "-tovix.cfg", "-sysinfo", "-support", "-V"};
const Offered kInterfaces{"eth0", "eth1"};

class RecordedCompletion : public testing::Test {
 protected:
  RecordedCompletion() {
    machine_.add_port("eth0", "0000:00:1c.0/0000:03:00.0").add_port("eth1", "0000:00:1c.0/0000:03:00.1");
    machine_.user_file("qorx.cfg", "");
    machine_.user_file("qorx.old", "");
  }

  // Words are split as readline splits them.
  Offered by_bash(const Words& words) const {
    return lines(run_command({"bash", "-c", R"(COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))
COMP_WORDBREAKS=$' \t\n"\'><=;|&(:'
. ")" QORX_SOURCE_DIR R"(/completions/qorx.bash"
$(complete -p "$1" | sed 's/.*-F \([^ ]*\).*/\1/')
printf '%s\n' "${COMPREPLY[@]}")",
                              "bash"},
                             words));
  }

  // The completion system's functions print what they are given: files as one word.
  Offered by_zsh(const Words& words) const {
    return lines(run_command({"zsh", "-c", R"(compadd() { [[ $1 == -a ]] && print -l -- ${(P)2} || print -l -- $@; }
_describe() { print -l -- ${(@)${(@P)2}%%:*}; }
_files() { print FILES; }
service=$1; words=("$@"); CURRENT=$#
. ")" QORX_SOURCE_DIR R"(/completions/_qorx")",
                              "zsh"},
                             words));
  }

  FakeMachine machine_;
  const std::string root_ = machine_.root().string();

 private:
  ToolRun run_command(std::vector<std::string> command, const Words& words) const {
    command.insert(command.end(), words.begin(), words.end());
    return test::run_command(command, machine_.work());
  }

  static Offered lines(const ToolRun& run) {
    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(run.status, 0);
    const auto lines = lines_of(run.output);
    return {lines.begin(), lines.end()};
  }
};

TEST_F(RecordedCompletion, InBashACommandLineOfQorxFollowsTheMachine) {
  QORX_SKIP_WITHOUT("bash");
  EXPECT_EQ(by_bash({"qorx-replay", "qorx.c"}), (Offered{"qorx.cfg"}));
  EXPECT_EQ(by_bash({"qorx-replay", "-"}), (Offered{"--help"}));
  EXPECT_EQ(by_bash({"qorx-replay", root_, ""}), kOperations);
  EXPECT_EQ(by_bash({"qorx-replay", root_, "--", ""}), kOperations);
  EXPECT_EQ(by_bash({"qorx-replay", root_, "--", "-d", ""}), kInterfaces);
  EXPECT_EQ(by_bash({"qorx-replay", root_, "-a", "-so"}), (Offered{"-sort_slotname"}));
}

TEST_F(RecordedCompletion, InBashTheOptionsOfCaptureAreOfferedOnce) {
  QORX_SKIP_WITHOUT("bash");
  EXPECT_EQ(by_bash({"qorx-capture", ""}), (Offered{"-o", "--root", "--anonymize", "--help"}));
  EXPECT_EQ(by_bash({"qorx-capture", "--anonymize", "-o", "qorx.o"}), (Offered{"qorx.old"}));
  EXPECT_EQ(by_bash({"qorx-capture", "--anonymize", "--"}), (Offered{"--root", "--help"}));
}

TEST_F(RecordedCompletion, InZshTheSame) {
  QORX_SKIP_WITHOUT("zsh");
  EXPECT_EQ(by_zsh({"qorx-replay", ""}), (Offered{"FILES"}));
  EXPECT_EQ(by_zsh({"qorx-replay", root_, ""}), kOperations);
  EXPECT_EQ(by_zsh({"qorx-replay", root_, "--", "-d", ""}), kInterfaces);
  EXPECT_EQ(by_zsh({"qorx-replay", root_, "-a", "-ML", ""}), (Offered{"0", "1", "2"}));
  EXPECT_EQ(by_zsh({"qorx-capture", ""}), (Offered{"-o", "--root", "--anonymize", "--help"}));
  EXPECT_EQ(by_zsh({"qorx-capture", "--anonymize", ""}), (Offered{"-o", "--root", "--help"}));
  EXPECT_EQ(by_zsh({"qorx-capture", "-o", ""}), (Offered{"FILES"}));
}

}  // namespace
}  // namespace qorx::test
