// What the shells offer behind a half-typed command line.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tests/end_to_end/system_tools.h"
#include "tests/support/rows.h"
#include "tests/support/transcript.h"

namespace qorx::test {
namespace {

using Words = std::vector<std::string>;
using Offered = std::set<std::string>;

const Offered kOperations{"-a", "-d", "-f", "-p", "-o", "-tovix.cfg", "-sysinfo", "-support", "-V"};
const Offered kOptions{"-config", "-smbios_cfg", "-legacy", "-F", "-sort_slotname", "-novlan", "-vm", "-diag", "-ML"};
const Offered kOptionsBehindLegacy{"-config", "-smbios_cfg", "-sys_WMX_cfg", "-F", "-sort_slotname",
                                   "-novlan", "-vm",         "-diag",        "-ML"};
const Offered kLevels{"0", "1", "2"};
const Offered kFeatures{"POE", "A_BYPASS", "L_BYPASS", "N/A", "NCSI", "1PPS", "NCSI/1PPS", "A_BYPASS_I2C"};
const Offered kMachineInterfaces{"eth0", "eth1", "br0", "enx0"};
const Offered kMachineAddresses{"03:00.0", "03:00.1", "00:14.0"};

// Half-typed command lines, "|" at the cursor, and what is offered for each.
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

std::string quoted(const Words& words) {
  std::string text;
  for (const std::string& word : words) {
    text += " '" + word + "'";
  }
  return text;
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
  void expect_offered(const std::string& shell, std::string (*script)(const Words& words)) const {
    for (const std::string& line : row().lines) {
      SCOPED_TRACE(line);
      Words words = words_of("qorx " + line);
      words.back().pop_back();
      const ToolRun run = run_command(
          {"QORX_COMPLETION_NET=" + (machine_.root() / "sys/class/net").string(), shell, "-c", script(words)},
          machine_.work());
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
  expect_offered("bash", [](const Words& words) {
    return "COMP_WORDS=(" + quoted(words) + "); COMP_CWORD=" + std::to_string(words.size() - 1) +
           "; COMP_WORDBREAKS=$' \\t\\n\"\\'><=;|&(:'; . '" QORX_SOURCE_DIR
           "/completions/qorx.bash'; _qorx; printf '%s\\n' \"${COMPREPLY[@]}\"";
  });
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
          {"an option once and the name file only with legacy", {"-a -legacy |"}, kOptionsBehindLegacy});

class ZshCompletion : public Completion {};

// The completion system's functions print what they are given: files as one word.
TEST_P(ZshCompletion, Offers) {
  QORX_SKIP_WITHOUT("zsh");
  expect_offered("zsh", [](const Words& words) {
    return "compadd() { [[ $1 == -a ]] && print -l -- ${(P)2} || print -l -- $@; }; "
           "_describe() { print -l -- ${(@)${(@P)2}%%:*}; }; _files() { print FILES; }; words=(" +
           quoted(words) + "); CURRENT=" + std::to_string(words.size()) + "; . '" QORX_SOURCE_DIR "/completions/_qorx'";
  });
}

QORX_ROWS(ZshCompletion, {"an operation first", {"|"}, kOperations},
          {"interface names behind d", {"-d |"}, kMachineInterfaces},
          {"addresses behind p", {"-p |"}, kMachineAddresses}, {"feature names behind f", {"-f |"}, kFeatures},
          {"file names behind what takes a file", files(""), {"FILES"}},
          {"options behind an operation", {"-a |"}, kOptions}, {"levels behind ML", {"-a -ML |"}, kLevels},
          {"an option once and the name file only with legacy", {"-a -legacy |"}, kOptionsBehindLegacy});

}  // namespace
}  // namespace qorx::test
