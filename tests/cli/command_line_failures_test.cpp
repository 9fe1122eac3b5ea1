// Wrong command lines and failing operations: what is printed and the exit status.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "cli/usage.h"
#include "tests/support/expect.h"
#include "tests/support/rows.h"
#include "tests/support/sample_machine.h"
#include "tests/support/transcript.h"

namespace qorx::test {
namespace {

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
     {"", "-legacy", "-novlan", "-config f", "-diag e d", "-legacy -vm -F", "-sys_WMX_cfg f"},
     usage(),
     kBadCommandLine},
    {"a wrong number of arguments prints usage and error line",
     {"-V x", "-a x", "-tovix.cfg x", "-sysinfo x", "-support x", "-d", "-f", "-p", "-o", "-d x y", "-f x y", "-p x y",
      "-o x y"},
     usage() + kOutOfBound,
     kBadCommandLine},
    {"an option is stripped before the arguments are counted", {"-d -legacy"}, usage() + kOutOfBound, kBadCommandLine},
    {"an option that is not at the end is not recognised",
     {"-d -legacy eth0", "-a -vm x", "-a -config", "-a -diag e", "-a x -legacy"},
     usage() + kOutOfBound,
     kBadCommandLine},
    {"an unknown operation has no usage",
     {"-x", "a", "-A", "-x y z", "-x -legacy", "-tovix", "--help", "x -config"},
     kNotSupported,
     kUnknownOperation},
    // The first word is the operation even where it could be an option's name.
    {"an option in the place of the operation is none", {"-legacy -a"}, kNotSupported, kUnknownOperation},
    {"the error line prints at level zero too", {"-x -ML 0"}, kNotSupported, kUnknownOperation},
    {"the usage prints at level zero too", {"-a x -ML 0"}, usage() + kOutOfBound, kBadCommandLine},
    {"module names need legacy",
     {"-a -sys_WMX_cfg f", "-V -sys_WMX_cfg f", "-x -sys_WMX_cfg f", "-a x -sys_WMX_cfg f", "-a -sys_WMX_cfg f -ML 0"},
     kNoLegacy + kOutOfBound,
     kBadCommandLine});

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

struct OpenFailure {
  std::string_view rule;
  std::string options;
  std::string output;
  int status;
};

class OpenFailures : public RowTest<OpenFailure, MachineTest> {};

TEST_P(OpenFailures, AreReportedOnceByEveryOpeningOperation) {
  machine_.user_file("empty", "");
  machine_.user_file("comment", "# nothing\n");
  for (const std::string operation :
       {"-a", "-d eth0", "-f POE", "-p 00:00.0", "-o result", "-tovix.cfg", "-sysinfo", "-support"}) {
    expect_run(machine_, words_of(operation + " " + row().options), row().output, row().status);
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

using OpeningFails = MachineTest;

TEST_F(OpeningFails, OnAMachineWithoutNetworkOrPciDirectory) {
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
TEST_F(OpeningFails, WhereTheScanMissesTheI2cDirectory) {
  machine_.add_port("eth0", "0000:00:1c.0/0000:03:00.0", {.subsys_vendor = 0x13FE, .subsys_device = 0x205D});
  machine_.smbios(SmbiosTable().slot("WMX Slot 1 (H.1.255.255)", "03:00.0"));
  expect_run(machine_, {"-a"}, "Error: Cannot access /sys/class/i2c-adapter\nError: QORX_ERR_OPEN_DIR (0x98)\n",
             kNoDirectory);
}

TEST_F(OpeningFails, NotOnRecordedFilesThatCantBeRead) {
  expect_run(machine_, words_of("-sysinfo -diag no-entry no-table"),
             "1Can't get no-entry\nOnboard_cnt: 0\nSlot_cnt: 0\n");
}

using ReportFailures = MachineTest;

TEST_F(ReportFailures, AResultFileThatCantBeCreated) {
  for (const char* const path : {"no/such/directory/result", ".", "/", ""}) {
    expect_run(machine_, {"-o", path}, kOpenCode, kCantOpenFile);
  }
}

TEST_F(ReportFailures, ADirectoryInTheWayOfTovixCfg) {
  const SampleMachine machine;
  std::filesystem::create_directory(machine.work() / "tovix.cfg");
  expect_run(machine, {"-tovix.cfg"}, kOpenCode, kCantOpenFile);
}

}  // namespace
}  // namespace qorx::test
