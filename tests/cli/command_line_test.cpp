// The command line: every operation on a whole machine, wrong command lines, and failing operations.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>

#include "cli/usage.h"
#include "tests/support/expect.h"
#include "tests/support/rows.h"
#include "tests/support/sample_machine.h"
#include "tests/support/transcript.h"

namespace qorx::test {
namespace {

const std::string kVersions = "libqorx version: 01.36\nqorx version: 01.38\n";

// A command line or its options, the words parted by blanks, and what it prints.
struct Command {
  std::string_view rule;
  std::string words;
  std::string output;
  int status = 0;
};

class Operations : public RowTest<Command, SampleTest> {};

TEST_P(Operations, Print) {
  machine_.user_file("qorx.cfg", "SLOT_NAME=\"LAN 1\"\nFUNCTION/NAME/FEATURE=\"6/MGMT/NCSI/1PPS\"\n");
  machine_.user_file("smbios.cfg", "TYPE=\"9\"\nNAME=\"Riser 7\"\nBUS:DEV.FUN=\"03:00.0\"\n");
  const SmbiosTable table = SmbiosTable().slot("Recorded 9", "04:00.0");
  machine_.user_file("entry", table.entry_point3());
  machine_.user_file("dmi", table.bytes());
  expect_run(machine_, words_of(row().words), row().output);
}

// eth2 as the platform file leaves it.
std::string eth2_with(std::string_view panel, std::string_view feature) {
  return table_of(table_line({"eth2", "00:1f.6", false, "8086 1533", "13fe 3016", "02:00:00:00:00:03", "LAN 1", panel,
                              feature, "N/A", "I210_CO"}));
}

QORX_ROWS(Operations, {"the librarys and the tools version", "-V", kVersions},
          {"the version without its options", "-V -legacy", kVersions}, {"every port", "-a", sample::kWholeTable},
          {"a port by its interface name", "-d eth3", table_of(sample::kEth3)},
          {"a virtual interface by its name", "-d br0", table_of(sample::kBr0)},
          {"no port by a name in capitals", "-d ETH3", table_of("")},
          {"ports by a feature", "-f A_BYPASS", table_of(sample::kEth3 + sample::kEth4)},
          {"ports by a feature in small letters", "-f ncsi", table_of(sample::kEth2)},
          {"virtual interfaces by a word that is no feature", "-f bypass", table_of(sample::kBr0)},
          {"a port by its address", "-p 00:1f.6", table_of(sample::kEth2)},
          {"a port by its address in another form", "-p 00:1F.06", table_of(sample::kEth2)},
          {"no port by an address that none has", "-p 00:1f.7", table_of("")},
          {"counts and positions", "-sysinfo",
           "Onboard_cnt: 1\nSlot_cnt: 2\nLAN 1: I210_CO\nWMX Slot 4: WMX-2848\nWMX Slot 3: WMX-2248\n"},
          {"every port but virtual ones with novlan", "-a -novlan", table_of(sample::kPorts)},
          {"no virtual interface by its name with novlan", "-d br0 -novlan", table_of("")},
          {"the positions of the override file", "-sysinfo -smbios_cfg smbios.cfg",
           "Onboard_cnt: 0\nSlot_cnt: 1\nRiser 7: WMX-2248\n"},
          {"the positions of recorded files", "-sysinfo -diag entry dmi",
           "Onboard_cnt: 0\nSlot_cnt: 1\nRecorded 9: WMX-2848\n"},
          {"the warnings of the platform file and its mark", "-d eth2 -config qorx.cfg",
           "CFG file feature (NCSI) is not matched with Vlm default feature. Slot Name (LAN 1) CFG file line: 2\n"
           "If you want to overwrite please add -F command!\n" +
               eth2_with("LAN 1 (*)", "NCSI(!)")},
          {"the mark without the warnings at level 0", "-d eth2 -config qorx.cfg -ML 0",
           eth2_with("LAN 1 (*)", "NCSI(!)")},
          {"the names and features of the platform file with F", "-d eth2 -config qorx.cfg -F",
           eth2_with("MGMT", "NCSI/1PPS")},
          {"an unknown level and then the table", "-a -ML 3",
           "Error: Parameter msg_level out of range.\n" + sample::kWholeTable});

using SampleCommands = SampleTest;

TEST_F(SampleCommands, VersionDoesNotOpenTheLibrary) {
  machine_.remove("sys");
  expect_run(machine_, words_of("-V -config missing.cfg"), kVersions);
}

TEST_F(SampleCommands, TheCommandItselfAnswersLikeTheReplay) {
  EXPECT_EQ(run_program(qorx_program(), {"-V"}, machine_.work()), said(kVersions));
}

TEST_F(SampleCommands, FilesGetTheirTablesAndTheScreenNothing) {
  expect_run(machine_, {"-o", "result.txt"}, "");
  EXPECT_EQ(read_file(machine_.work() / "result.txt"), sample::kWholeTable);
  expect_run(machine_, {"-tovix.cfg"}, "");
  EXPECT_EQ(read_file(machine_.work() / "tovix.cfg"), sample::kTovixCfg);
}

TEST_F(SampleCommands, SupportListsTheCards) {
  const ToolRun run = machine_.run({"-support"});
  EXPECT_EQ(run.status, 0);
  EXPECT_TRUE(
      run.output.starts_with("model              feature        svid sdid index  \n"
                             "WMX-1813           L_BYPASS       13fe 0038 0\n"));
  EXPECT_NE(run.output.find("\nI226_CO            A_BYPASS_I2C   13fe 3043 98\n"), std::string::npos);
}

// "LAN 1" < "WMX Slot 3" < "WMX Slot 4", so only a slot that is named against the order of the buses shows it.
TEST_F(SampleCommands, SortSlotnameOrdersByDesignation) {
  machine_.smbios(SmbiosTable().slot("A 4", "04:00.0").slot("B 3", "03:00.0").onboard("C 1", "00:1f.6"));
  const auto ports = [this](const std::string& words) {
    std::string found;
    const std::string output = machine_.run(words_of(words)).output;
    for (std::size_t at = output.find("\neth"); at != std::string::npos; at = output.find("\neth", at + 1)) {
      found += output[at + 4];
    }
    return found;
  };
  EXPECT_EQ(ports("-a -novlan"), "20134");
  EXPECT_EQ(ports("-a -novlan -sort_slotname"), "34012");
}

TEST_F(SampleCommands, LevelTwoTracesBeforeTheTable) {
  const ToolRun run = machine_.run(words_of("-a -ML 2"));
  EXPECT_EQ(run.status, 0);
  EXPECT_TRUE(run.output.starts_with("Folder /sys/class/net exist\nFolder /sys/devices/pci0000:00 exist\nmem\n"));
  EXPECT_TRUE(run.output.ends_with(kTableLegend));
}

TEST_F(SampleCommands, OptionsInAnyOrderGiveTheSameOutput) {
  machine_.user_file("qorx.cfg", "SLOT_NAME=\"LAN 1\"\nFUNCTION/NAME/FEATURE=\"6/MGMT/POE\"\n");
  std::vector<std::string> options{"-config qorx.cfg", "-legacy", "-novlan", "-F", "-sort_slotname", "-ML 2"};
  std::mt19937 random(7);
  std::string first;
  for (int round = 0; round < 12; ++round) {
    std::shuffle(options.begin(), options.end(), random);
    std::string words = "-a";
    for (const std::string& option : options) {
      words += " " + option;
    }
    SCOPED_TRACE(words);
    const ToolRun run = machine_.run(words_of(words));
    ASSERT_EQ(run.status, 0);
    first = round == 0 ? run.output : first;
    ASSERT_EQ(run.output, first);
  }
  EXPECT_NE(first.find("MGMT"), std::string::npos);
  EXPECT_EQ(first.find("br0   "), std::string::npos);
}

constexpr int kBadCommandLine = 147;    // 256 - 109
constexpr int kUnknownOperation = 150;  // 256 - 106
constexpr int kCantOpenFile = 128;
constexpr int kWrongFormat = 129;
constexpr int kNoDirectory = 152;  // 256 - 104

const std::string kOpenCode = "Error: QORX_ERR_OPEN_FILE (0x80)\n";
const std::string kFormatCode = "Error: QORX_ERR_CONF_FILE_FORMAT (0x81)\n";
const std::string kOutOfBound = "Error: QORX_ERR_PARAM_OUT_OF_BOUND (0x93)\n";
const std::string kNotSupported = "Error: QORX_ERR_COMMAND_NOT_SUPPORT (0x96)\n";
const std::string kNoLegacy = "NO -legacy command found!\n-sys_WMX_cfg should be used only after -legacy command.\n";

std::string usage() {
  return printed_by(qorx_print_usage);
}

// Command lines, their words parted by blanks, that end alike.
struct Failures {
  std::string_view rule;
  std::vector<std::string> commands;
  std::string output;
  int status;
};

class CommandLineErrors : public RowTest<Failures, MachineTest> {};

TEST_P(CommandLineErrors, Rule) {
  machine_.remove("sys");  // no scan: it would complain
  for (const std::string& command : row().commands) {
    expect_run(machine_, words_of(command), row().output, row().status);
  }
}

QORX_ROWS(
    CommandLineErrors,
    {"no operation prints the usage alone",
     Texts{"", "-legacy", "-novlan", "-config f", "-diag e d", "-legacy -vm -F", "-sys_WMX_cfg f"}, usage(),
     kBadCommandLine},
    {"a wrong number of arguments prints usage and error line",
     Texts{"-V x", "-a x", "-tovix.cfg x", "-sysinfo x", "-support x", "-d", "-f", "-p", "-o", "-d x y", "-f x y",
           "-p x y", "-o x y"},
     usage() + kOutOfBound, kBadCommandLine},
    {"an option is stripped before the arguments are counted", {"-d -legacy"}, usage() + kOutOfBound, kBadCommandLine},
    {"an option that is not at the end is not recognised",
     Texts{"-d -legacy eth0", "-a -vm x", "-a -config", "-a -diag e", "-a x -legacy"}, usage() + kOutOfBound,
     kBadCommandLine},
    {"an unknown operation has no usage",
     Texts{"-x", "a", "-A", "-x y z", "-x -legacy", "-tovix", "--help", "x -config"}, kNotSupported, kUnknownOperation},
    // The first word is the operation even where it could be an option's name.
    {"an option in the place of the operation is none", {"-legacy -a"}, kNotSupported, kUnknownOperation},
    {"the error line prints at level zero too", {"-x -ML 0"}, kNotSupported, kUnknownOperation},
    {"the usage prints at level zero too", {"-a x -ML 0"}, usage() + kOutOfBound, kBadCommandLine},
    {"module names need legacy",
     Texts{"-a -sys_WMX_cfg f", "-V -sys_WMX_cfg f", "-x -sys_WMX_cfg f", "-a x -sys_WMX_cfg f",
           "-a -sys_WMX_cfg f -ML 0"},
     kNoLegacy + kOutOfBound, kBadCommandLine});

using CommandLines = MachineTest;

TEST_F(CommandLines, AnEmptyWordIsAnUnknownOperation) {
  expect_run(machine_, {""}, kNotSupported, kUnknownOperation);
}

TEST_F(CommandLines, ModuleNamesWithLegacyInAnyOrder) {
  machine_.user_file("names.cfg", "WMX-2848 A_BYPASS\n");
  for (const char* const options : {"-legacy -sys_WMX_cfg names.cfg", "-sys_WMX_cfg names.cfg -legacy"}) {
    expect_run(machine_, words_of(std::string("-sysinfo ") + options), "Onboard_cnt: 0\nSlot_cnt: 0\n");
  }
}

class OpenFailures : public RowTest<Command, MachineTest> {};

TEST_P(OpenFailures, AreReportedOnceByEveryOpeningOperation) {
  machine_.user_file("empty", "");
  machine_.user_file("comment", "# nothing\n");
  for (const std::string operation :
       {"-a", "-d eth0", "-f POE", "-p 00:00.0", "-o result", "-tovix.cfg", "-sysinfo", "-support"}) {
    expect_run(machine_, words_of(operation + " " + row().words), row().output, row().status);
  }
  EXPECT_FALSE(std::filesystem::exists(machine_.work() / "result"));
  EXPECT_FALSE(std::filesystem::exists(machine_.work() / "tovix.cfg"));
}

QORX_ROWS(
    OpenFailures,
    {"a missing platform file", "-config missing", "Error: Open file missing failed.\n" + kOpenCode, kCantOpenFile},
    {"a directory as platform file", "-config .", "Error: Open file . failed.\n" + kOpenCode, kCantOpenFile},
    {"an empty platform file", "-config empty", "Can't find SLOT_NAME! empty line: 1\n" + kFormatCode, kWrongFormat},
    {"a missing override file", "-smbios_cfg missing", "Error: Open file missing failed.\n" + kOpenCode, kCantOpenFile},
    {"an override file without slots", "-smbios_cfg comment", "Can't find TYPE! comment line: 2\n" + kFormatCode,
     kWrongFormat},
    {"a missing module name file", "-legacy -sys_WMX_cfg missing", "Error: Open file missing failed.\n" + kOpenCode,
     kCantOpenFile},
    {"at level zero the error line alone", "-config missing -ML 0", kOpenCode, kCantOpenFile});

TEST_F(CommandLines, FailOnAMachineWithoutNetworkOrPciDirectory) {
  for (const std::string path : {"/sys/class/net", "/sys/devices/pci0000:00"}) {
    const FakeMachine machine;
    std::filesystem::remove_all(machine.root() / path.substr(1));
    expect_run(machine, {"-a"},
               path + " folder do not exist or can't access. Please check your environment\n" +
                   "Error: QORX_ERR_OPEN_DIR (0x98)\n",
               kNoDirectory);
  }
}

// An "H" descriptor makes the scan look for the host's I2C adapter.
TEST_F(CommandLines, FailWhereTheScanMissesTheI2cDirectory) {
  machine_.add_port("eth0", "0000:00:1c.0/0000:03:00.0", {.subsys_vendor = 0x13FE, .subsys_device = 0x205D});
  machine_.smbios(SmbiosTable().slot("WMX Slot 1 (H.1.255.255)", "03:00.0"));
  expect_run(machine_, {"-a"}, "Error: Cannot access /sys/class/i2c-adapter\nError: QORX_ERR_OPEN_DIR (0x98)\n",
             kNoDirectory);
}

TEST_F(CommandLines, FailWithAResultFileThatCantBeCreated) {
  for (const char* const path : {"no/such/directory/result", ".", "/", ""}) {
    expect_run(machine_, {"-o", path}, kOpenCode, kCantOpenFile);
  }
}

TEST_F(CommandLines, FailWithADirectoryInTheWayOfTovixCfg) {
  const SampleMachine machine;
  std::filesystem::create_directory(machine.work() / "tovix.cfg");
  expect_run(machine, {"-tovix.cfg"}, kOpenCode, kCantOpenFile);
}

}  // namespace
}  // namespace qorx::test
