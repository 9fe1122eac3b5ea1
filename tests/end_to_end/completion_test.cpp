// What the shells offer behind a half-typed command line of qorx and of the tools for recorded machines.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tests/end_to_end/system_tools.h"
#include "tests/support/rows.h"
#include "tests/support/transcript.h"

namespace qorx::test {
namespace {

using Offered = std::set<std::string>;

const Offered kOperations{"-a", "-d", "-f", "-p", "-o", "-tovix.cfg", "-sysinfo", "-support", "-V"};
const Offered kOptions{"-config", "-smbios_cfg", "-legacy", "-F", "-sort_slotname", "-novlan", "-vm", "-diag", "-ML"};
const Offered kOptionsBehindLegacy{"-config", "-smbios_cfg", "-sys_WMX_cfg", "-F", "-sort_slotname",
                                   "-novlan", "-vm",         "-diag",        "-ML"};
const Offered kCaptureOptions{"-o", "--root", "--anonymize", "--help"};
const Offered kLevels{"0", "1", "2"};
const Offered kFeatures{"POE", "A_BYPASS", "L_BYPASS", "N/A", "NCSI", "1PPS", "NCSI/1PPS", "A_BYPASS_I2C"};
const Offered kMachineInterfaces{"eth0", "eth1", "br0", "enx0"};
const Offered kMachineAddresses{"03:00.0", "03:00.1", "00:14.0"};

// Half-typed command lines, "|" at the cursor, and what is offered for each. Those of qorx begin behind its name;
// MACHINE stands for the machine's directory.
struct Typed {
  std::string_view rule;
  std::vector<std::string> lines;
  Offered offered;
};

// Where a file's name is to follow, with this much of it typed.
std::vector<std::string> files(const std::string& typed) {
  std::vector<std::string> lines;
  for (const char* const before :
       {"-o ", "-a -config ", "-a -legacy -sys_WMX_cfg ", "-a -smbios_cfg ", "-a -diag ", "-a -diag entry "}) {
    lines.push_back(before + typed + "|");
  }
  return lines;
}

class Completion : public RowTest<Typed, MachineTest> {
 protected:
  Completion() {
    machine_.add_port("eth0", "0000:00:1c.0/0000:03:00.0").add_port("eth1", "0000:00:1c.0/0000:03:00.1");
    machine_.add_usb_port("enx0", "0000:00:14.0/usb1/1-2/1-2:1.0", "bda/8153/3000");
    machine_.add_virtual("br0", "02:00:00:00:00:99");
    machine_.write("sys/class/net/bonding_masters", "");
    machine_.user_file("qorx.cfg", "");
    machine_.user_file("qorx.old", "");
  }

  // A script offers the words of each line with the machine's interfaces, in the directory with the two files.
  void expect_offered(const std::string& shell, const std::string& script) const {
    for (const std::string& line : row().lines) {
      SCOPED_TRACE(line);
      Words words = words_of((line.starts_with("qorx-") ? "" : "qorx ") + line);
      words.back().pop_back();
      std::replace(words.begin(), words.end(), std::string("MACHINE"), machine_.root().string());
      // Empty, the machine that the script runs on: not the recorded one, which is named in the line.
      const std::string net = line.starts_with("qorx-") ? "" : (machine_.root() / "sys/class/net").string();
      words.insert(words.begin(), {"QORX_COMPLETION_NET=" + net, shell, "-c", script, shell});
      const ToolRun run = run_command(words, machine_.work());
      EXPECT_EQ(run.errors, "");
      EXPECT_EQ(run.status, 0);
      const auto lines = lines_of(run.output);
      EXPECT_EQ(Offered(lines.begin(), lines.end()), row().offered);
    }
  }
};

class BashCompletion : public Completion {};

// Words are split as readline splits them.
TEST_P(BashCompletion, Offers) {
  QORX_SKIP_WITHOUT("bash");
  expect_offered("bash", R"(COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); COMP_WORDBREAKS=$' \t\n"\'><=;|&(:'
. ")" QORX_SOURCE_DIR R"(/completions/qorx.bash"
$(complete -p "$1" | sed 's/.*-F \([^ ]*\).*/\1/')
printf '%s\n' "${COMPREPLY[@]}")");
}

QORX_ROWS(BashCompletion, {"an operation first", {"|"}, kOperations},
          {"the operations with this beginning", {"-s|"}, {"-sysinfo", "-support"}},
          {"interface names behind d", {"-d |"}, kMachineInterfaces},
          {"the interface names with this beginning", {"-d et|"}, {"eth0", "eth1"}},
          {"addresses behind p", {"-p |"}, kMachineAddresses},
          {"the addresses with this beginning", {"-p 03|"}, {"03:00.0", "03:00.1"}},
          {"only the rest of an address behind a colon", {"-p 03 :|"}, {"00.0", "00.1"}},
          {"the rest of an address with this beginning", {"-p 03 : 00.1|"}, {"00.1"}},
          {"feature names behind f", {"-f |"}, kFeatures},
          {"the feature names with this beginning", {"-f NC|"}, {"NCSI", "NCSI/1PPS"}},
          {"file names behind what takes a file", files("qorx.c"), {"qorx.cfg"}},
          {"options behind an operation", {"-a |"}, kOptions},
          {"the options with this beginning behind a name", {"-d eth0 -n|"}, {"-novlan"}},
          {"the options with this beginning behind an address", {"-p 03 : 00.0 -so|"}, {"-sort_slotname"}},
          {"levels behind ML", {"-a -ML |"}, kLevels},
          {"an option once and the name file only with legacy", {"-a -legacy |"}, kOptionsBehindLegacy},
          {"files where a machine is to follow", {"qorx-replay qorx.c|"}, {"qorx.cfg"}},
          {"the help of replay", {"qorx-replay -|"}, {"--help"}},
          {"a command line of qorx behind a machine",
           {"qorx-replay MACHINE |", "qorx-replay MACHINE -- |"},
           kOperations},
          {"the recorded interfaces", {"qorx-replay MACHINE -- -d |"}, kMachineInterfaces},
          {"options of qorx behind a machine", {"qorx-replay MACHINE -a -so|"}, {"-sort_slotname"}},
          {"the options of capture", {"qorx-capture |"}, kCaptureOptions},
          {"file names behind one of them", {"qorx-capture --anonymize -o qorx.o|"}, {"qorx.old"}},
          {"each of them once", {"qorx-capture --anonymize --|"}, {"--root", "--help"}});

class ZshCompletion : public Completion {};

// The completion system's functions print what they are given: files as one word.
TEST_P(ZshCompletion, Offers) {
  QORX_SKIP_WITHOUT("zsh");
  expect_offered("zsh", R"(compadd() { [[ $1 == -a ]] && print -l -- ${(P)2} || print -l -- $@; }
_describe() { print -l -- ${(@)${(@P)2}%%:*}; }
_files() { print FILES; }
service=$1; words=("$@"); CURRENT=$#
. ")" QORX_SOURCE_DIR R"(/completions/_qorx")");
}

QORX_ROWS(ZshCompletion, {"an operation first", {"|"}, kOperations},
          {"interface names behind d", {"-d |"}, kMachineInterfaces},
          {"addresses behind p", {"-p |"}, kMachineAddresses}, {"feature names behind f", {"-f |"}, kFeatures},
          {"file names behind what takes a file", files(""), {"FILES"}},
          {"options behind an operation", {"-a |"}, kOptions}, {"levels behind ML", {"-a -ML |"}, kLevels},
          {"an option once and the name file only with legacy", {"-a -legacy |"}, kOptionsBehindLegacy},
          {"files where a machine is to follow", {"qorx-replay |"}, {"FILES"}},
          {"a command line of qorx behind a machine", {"qorx-replay MACHINE |"}, kOperations},
          {"the recorded interfaces", {"qorx-replay MACHINE -- -d |"}, kMachineInterfaces},
          {"levels behind a machine", {"qorx-replay MACHINE -a -ML |"}, kLevels},
          {"the options of capture", {"qorx-capture |"}, kCaptureOptions},
          {"each of them once", {"qorx-capture --anonymize |"}, {"-o", "--root", "--help"}},
          {"file names behind one of them", {"qorx-capture -o |"}, {"FILES"}});

}  // namespace
}  // namespace qorx::test
