// What the shells offer behind a half-typed command line.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "tests/end_to_end/system_tools.h"
#include "tests/support/fake_machine.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

using Words = std::vector<std::string>;
using Offered = std::set<std::string>;

const Offered kOperations{"-a", "-d", "-f", "-p", "-o", "-tovix.cfg", "-sysinfo", "-support", "-V"};
const Offered kOptionsWithoutLegacy{"-config", "-smbios_cfg", "-legacy", "-F", "-sort_slotname",
                                    "-novlan", "-vm",         "-diag",   "-ML"};
const Offered kFeatures{"POE", "A_BYPASS", "L_BYPASS", "N/A", "NCSI", "1PPS", "NCSI/1PPS", "A_BYPASS_I2C"};
const Offered kMachineInterfaces{"eth0", "eth1", "br0", "enx0"};
const Offered kMachineAddresses{"03:00.0", "03:00.1", "00:14.0"};

Offered with(Offered words, const Offered& more) {
  words.insert(more.begin(), more.end());
  return words;
}

Offered without(Offered words, const std::string& word) {
  words.erase(word);
  return words;
}

std::string quoted(const Words& words) {
  std::string text;
  for (const std::string& word : words) {
    text += " '" + word + "'";
  }
  return text;
}

class Completion : public testing::Test {
 protected:
  Completion() {
    machine_.add_port("eth0", "0000:00:1c.0/0000:03:00.0").add_port("eth1", "0000:00:1c.0/0000:03:00.1");
    machine_.add_usb_port("enx0", "0000:00:14.0/usb1/1-2/1-2:1.0", "bda/8153/3000");
    machine_.add_virtual("br0", "02:00:00:00:00:99");
    machine_.write("sys/class/net/bonding_masters", "");
    machine_.user_file("qorx.cfg", "");
    machine_.user_file("qorx.old", "");
  }

  // Runs a script with the machine's interfaces, in the directory with the two files.
  Offered run(const std::string& shell, const std::string& script) const {
    const ToolRun run = run_command(
        {"QORX_COMPLETION_NET=" + (machine_.root() / "sys/class/net").string(), shell, "-c", script}, machine_.work());
    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(run.status, 0);
    const auto lines = lines_of(run.output);
    return {lines.begin(), lines.end()};
  }

  FakeMachine machine_;
};

class BashCompletion : public Completion {
 protected:
  void SetUp() override { QORX_SKIP_WITHOUT("bash"); }

  // The last word is the one being typed. Words are split as readline splits them.
  Offered offered(const Words& words) const {
    return run("bash", "COMP_WORDS=(" + quoted(words) + "); COMP_CWORD=" + std::to_string(words.size() - 1) +
                           "; COMP_WORDBREAKS=$' \\t\\n\"\\'><=;|&(:'; . '" QORX_SOURCE_DIR
                           "/completions/qorx.bash'; _qorx; printf '%s\\n' \"${COMPREPLY[@]}\"");
  }
};

TEST_F(BashCompletion, TheFirstWordIsAnOperation) {
  EXPECT_EQ(offered({"qorx", ""}), kOperations);
  EXPECT_EQ(offered({"qorx", "-s"}), (Offered{"-sysinfo", "-support"}));
}

TEST_F(BashCompletion, InterfaceNamesFollowD) {
  EXPECT_EQ(offered({"qorx", "-d", ""}), kMachineInterfaces);
  EXPECT_EQ(offered({"qorx", "-d", "et"}), (Offered{"eth0", "eth1"}));
}

TEST_F(BashCompletion, AddressesFollowP) {
  EXPECT_EQ(offered({"qorx", "-p", ""}), kMachineAddresses);
  EXPECT_EQ(offered({"qorx", "-p", "03"}), (Offered{"03:00.0", "03:00.1"}));
}

TEST_F(BashCompletion, BehindAColonOnlyTheRestOfAnAddressIsOffered) {
  EXPECT_EQ(offered({"qorx", "-p", "03", ":"}), (Offered{"00.0", "00.1"}));
  EXPECT_EQ(offered({"qorx", "-p", "03", ":", "00.1"}), (Offered{"00.1"}));
}

TEST_F(BashCompletion, FeatureNamesFollowF) {
  EXPECT_EQ(offered({"qorx", "-f", ""}), kFeatures);
  EXPECT_EQ(offered({"qorx", "-f", "NC"}), (Offered{"NCSI", "NCSI/1PPS"}));
}

TEST_F(BashCompletion, FileNamesFollowWhatTakesAFile) {
  for (const Words& before : {Words{"-o"},
                              {"-a", "-config"},
                              {"-a", "-legacy", "-sys_WMX_cfg"},
                              {"-a", "-smbios_cfg"},
                              {"-a", "-diag"},
                              {"-a", "-diag", "entry"}}) {
    Words words{"qorx"};
    words.insert(words.end(), before.begin(), before.end());
    words.emplace_back("qorx.c");
    SCOPED_TRACE(quoted(words));
    EXPECT_EQ(offered(words), (Offered{"qorx.cfg"}));
  }
}

TEST_F(BashCompletion, OptionsFollowAnOperation) {
  EXPECT_EQ(offered({"qorx", "-a", ""}), kOptionsWithoutLegacy);
  EXPECT_EQ(offered({"qorx", "-d", "eth0", "-n"}), (Offered{"-novlan"}));
  EXPECT_EQ(offered({"qorx", "-p", "03", ":", "00.0", "-so"}), (Offered{"-sort_slotname"}));
  EXPECT_EQ(offered({"qorx", "-a", "-ML", ""}), (Offered{"0", "1", "2"}));
}

TEST_F(BashCompletion, AnOptionIsOfferedOnceAndTheNameFileOnlyWithLegacy) {
  EXPECT_EQ(offered({"qorx", "-a", "-legacy", ""}), with(without(kOptionsWithoutLegacy, "-legacy"), {"-sys_WMX_cfg"}));
}

class ZshCompletion : public Completion {
 protected:
  void SetUp() override { QORX_SKIP_WITHOUT("zsh"); }

  // The completion system's functions print what they are given: files as one word.
  Offered offered(const Words& words) const {
    return run("zsh",
               "compadd() { [[ $1 == -a ]] && print -l -- ${(P)2} || print -l -- $@; }; "
               "_describe() { print -l -- ${(@)${(@P)2}%%:*}; }; _files() { print FILES; }; "
               "words=(" +
                   quoted(words) + "); CURRENT=" + std::to_string(words.size()) +
                   "; . '" QORX_SOURCE_DIR "/completions/_qorx'");
  }
};

TEST_F(ZshCompletion, TheFirstWordIsAnOperation) {
  EXPECT_EQ(offered({"qorx", ""}), kOperations);
}

TEST_F(ZshCompletion, NamesAddressesAndFeaturesFollowTheirOperations) {
  EXPECT_EQ(offered({"qorx", "-d", ""}), kMachineInterfaces);
  EXPECT_EQ(offered({"qorx", "-p", ""}), kMachineAddresses);
  EXPECT_EQ(offered({"qorx", "-f", ""}), kFeatures);
}

TEST_F(ZshCompletion, FileNamesFollowWhatTakesAFile) {
  for (const Words& words : {Words{"qorx", "-o", ""},
                             {"qorx", "-a", "-config", ""},
                             {"qorx", "-a", "-legacy", "-sys_WMX_cfg", ""},
                             {"qorx", "-a", "-smbios_cfg", ""},
                             {"qorx", "-a", "-diag", ""},
                             {"qorx", "-a", "-diag", "entry", ""}}) {
    SCOPED_TRACE(quoted(words));
    EXPECT_EQ(offered(words), (Offered{"FILES"}));
  }
}

TEST_F(ZshCompletion, OptionsFollowAnOperation) {
  EXPECT_EQ(offered({"qorx", "-a", ""}), kOptionsWithoutLegacy);
  EXPECT_EQ(offered({"qorx", "-a", "-ML", ""}), (Offered{"0", "1", "2"}));
  EXPECT_EQ(offered({"qorx", "-a", "-legacy", ""}), with(without(kOptionsWithoutLegacy, "-legacy"), {"-sys_WMX_cfg"}));
}

}  // namespace
}  // namespace qorx::test
