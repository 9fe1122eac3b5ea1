// Wrong command lines and failing operations: what is printed and the exit status.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cli/command_line.h"
#include "cli/usage.h"
#include "tests/support/library.h"
#include "tests/support/sample_machine.h"

namespace qorx::test {
namespace {

using Words = std::vector<std::string>;

constexpr int kBadCommandLine = 147;    // 256 - 109
constexpr int kUnknownOperation = 150;  // 256 - 106
constexpr int kCantOpenFile = 128;
constexpr int kWrongFormat = 129;
constexpr int kNoDirectory = 152;  // 256 - 104

const std::string kOutOfBound = "Error: QORX_ERR_PARAM_OUT_OF_BOUND (0x93)\n";
const std::string kNotSupported = "Error: QORX_ERR_COMMAND_NOT_SUPPORT (0x96)\n";
const std::string kNoLegacy = "NO -legacy command found!\n-sys_WMX_cfg should be used only after -legacy command.\n";

std::string usage() {
  return printed_by([] { qorx_print_usage(); });
}

void expect_run(const FakeMachine& machine, const Words& words, const std::string& output, int status) {
  SCOPED_TRACE(testing::PrintToString(words));
  const ToolRun run = machine.run(words);
  EXPECT_EQ(run.output, output);
  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(run.status, status);
}

TEST(CommandLineErrors, NoOperationPrintsTheUsageAlone) {
  const FakeMachine machine;
  for (const Words& words : {Words{}, Words{"-legacy"}, Words{"-novlan"}, Words{"-config", "f"},
                             Words{"-diag", "e", "d"}, Words{"-legacy", "-vm", "-F"}, Words{"-sys_WMX_cfg", "f"}}) {
    expect_run(machine, words, usage(), kBadCommandLine);
  }
}

TEST(CommandLineErrors, AWrongNumberOfArgumentsPrintsUsageAndErrorLine) {
  const FakeMachine machine;
  for (const char* const alone : {"-V", "-a", "-tovix.cfg", "-sysinfo", "-support"}) {
    expect_run(machine, {alone, "x"}, usage() + kOutOfBound, kBadCommandLine);
  }
  for (const char* const with_word : {"-d", "-f", "-p", "-o"}) {
    expect_run(machine, {with_word}, usage() + kOutOfBound, kBadCommandLine);
    expect_run(machine, {with_word, "x", "y"}, usage() + kOutOfBound, kBadCommandLine);
  }
}

TEST(CommandLineErrors, AnOptionIsStrippedBeforeTheArgumentsAreCounted) {
  const FakeMachine machine;
  expect_run(machine, {"-d", "-legacy"}, usage() + kOutOfBound, kBadCommandLine);
}

TEST(CommandLineErrors, AnOptionThatIsNotAtTheEndIsNotRecognised) {
  const FakeMachine machine;
  for (const Words& words : {Words{"-d", "-legacy", "eth0"}, Words{"-a", "-vm", "x"}, Words{"-a", "-config"},
                             Words{"-a", "-diag", "e"}, Words{"-a", "x", "-legacy"}}) {
    expect_run(machine, words, usage() + kOutOfBound, kBadCommandLine);
  }
}

TEST(CommandLineErrors, AnUnknownOperationHasNoUsage) {
  const FakeMachine machine;
  for (const Words& words : {Words{"-x"}, Words{"a"}, Words{"-A"}, Words{""}, Words{"-x", "y", "z"},
                             Words{"-x", "-legacy"}, Words{"-tovix"}, Words{"--help"}, Words{"x", "-config"}}) {
    expect_run(machine, words, kNotSupported, kUnknownOperation);
  }
}

// The first word is the operation even where it could be an option's name.
TEST(CommandLineErrors, AnOptionInThePlaceOfTheOperationIsNone) {
  const FakeMachine machine;
  expect_run(machine, {"-legacy", "-a"}, kNotSupported, kUnknownOperation);
}

TEST(CommandLineErrors, TheErrorLinePrintsAtLevelZeroToo) {
  const FakeMachine machine;
  expect_run(machine, {"-x", "-ML", "0"}, kNotSupported, kUnknownOperation);
  expect_run(machine, {"-a", "x", "-ML", "0"}, usage() + kOutOfBound, kBadCommandLine);
}

TEST(CommandLineErrors, ModuleNamesNeedLegacy) {
  FakeMachine machine;
  machine.remove("sys");  // no scan: it would complain
  for (const Words& words :
       {Words{"-a", "-sys_WMX_cfg", "f"}, Words{"-V", "-sys_WMX_cfg", "f"}, Words{"-x", "-sys_WMX_cfg", "f"},
        Words{"-a", "x", "-sys_WMX_cfg", "f"}, Words{"-a", "-sys_WMX_cfg", "f", "-ML", "0"}}) {
    expect_run(machine, words, kNoLegacy + kOutOfBound, kBadCommandLine);
  }
}

TEST(CommandLineErrors, ModuleNamesWithLegacyInAnyOrder) {
  FakeMachine machine;
  machine.user_file("names.cfg", "WMX-2848 A_BYPASS\n");
  for (const Words& words : {Words{"-sysinfo", "-legacy", "-sys_WMX_cfg", "names.cfg"},
                             Words{"-sysinfo", "-sys_WMX_cfg", "names.cfg", "-legacy"}}) {
    expect_run(machine, words, "Onboard_cnt: 0\nSlot_cnt: 0\n", 0);
  }
}

struct OpenFailure {
  Words options;
  std::string output;
  int status;
};

std::vector<OpenFailure> open_failures() {
  return {
      {{"-config", "missing"}, "Error: Open file missing failed.\nError: QORX_ERR_OPEN_FILE (0x80)\n", kCantOpenFile},
      {{"-config", "."}, "Error: Open file . failed.\nError: QORX_ERR_OPEN_FILE (0x80)\n", kCantOpenFile},
      {{"-config", "empty"},
       "Can't find SLOT_NAME! empty line: 1\nError: QORX_ERR_CONF_FILE_FORMAT (0x81)\n",
       kWrongFormat},
      {{"-smbios_cfg", "missing"},
       "Error: Open file missing failed.\nError: QORX_ERR_OPEN_FILE (0x80)\n",
       kCantOpenFile},
      {{"-smbios_cfg", "comment"},
       "Can't find TYPE! comment line: 2\nError: QORX_ERR_CONF_FILE_FORMAT (0x81)\n",
       kWrongFormat},
      {{"-legacy", "-sys_WMX_cfg", "missing"},
       "Error: Open file missing failed.\nError: QORX_ERR_OPEN_FILE (0x80)\n",
       kCantOpenFile},
  };
}

TEST(OpenFailures, EveryOpeningOperationReportsThemOnce) {
  FakeMachine machine;
  machine.user_file("empty", "");
  machine.user_file("comment", "# nothing\n");
  const std::vector<Words> operations{{"-a"},           {"-d", "eth0"}, {"-f", "POE"}, {"-p", "00:00.0"},
                                      {"-o", "result"}, {"-tovix.cfg"}, {"-sysinfo"},  {"-support"}};
  for (const OpenFailure& failure : open_failures()) {
    for (Words words : operations) {
      words.insert(words.end(), failure.options.begin(), failure.options.end());
      expect_run(machine, words, failure.output, failure.status);
    }
  }
  EXPECT_FALSE(std::filesystem::exists(machine.work() / "result"));
  EXPECT_FALSE(std::filesystem::exists(machine.work() / "tovix.cfg"));
}

TEST(OpenFailures, AtLevelZeroOnlyTheErrorLineIsLeft) {
  const FakeMachine machine;
  expect_run(machine, {"-a", "-config", "missing", "-ML", "0"}, "Error: QORX_ERR_OPEN_FILE (0x80)\n", kCantOpenFile);
}

TEST(OpenFailures, AMachineWithoutNetworkOrPciDirectory) {
  for (const std::string path : {"/sys/class/net", "/sys/devices/pci0000:00"}) {
    FakeMachine machine;
    machine.remove(path.substr(1));
    expect_run(machine, {"-a"},
               path + " folder do not exist or can't access. Please check your environment\n" +
                   "Error: QORX_ERR_OPEN_DIR (0x98)\n",
               kNoDirectory);
  }
}

// An "H" descriptor makes the scan look for the host's I2C adapter.
TEST(OpenFailures, AMissingI2cDirectoryFailsTheScan) {
  FakeMachine machine;
  machine.add_port("eth0", "0000:00:1c.0/0000:03:00.0", {.subsys_vendor = 0x13FE, .subsys_device = 0x205D});
  machine.smbios(SmbiosTable().slot("WMX Slot 1 (H.1.255.255)", "03:00.0"));
  expect_run(machine, {"-a"}, "Error: Cannot access /sys/class/i2c-adapter\nError: QORX_ERR_OPEN_DIR (0x98)\n",
             kNoDirectory);
}

TEST(OpenFailures, RecordedFilesThatCantBeReadAreNoFailure) {
  const FakeMachine machine;
  expect_run(machine, {"-sysinfo", "-diag", "no-entry", "no-table"},
             "1Can't get no-entry\nOnboard_cnt: 0\nSlot_cnt: 0\n", 0);
}

TEST(ReportFailures, AResultFileThatCantBeCreated) {
  const FakeMachine machine;
  for (const char* const path : {"no/such/directory/result", ".", "/", ""}) {
    expect_run(machine, {"-o", path}, "Error: QORX_ERR_OPEN_FILE (0x80)\n", kCantOpenFile);
  }
}

TEST(ReportFailures, ADirectoryInTheWayOfTovixCfg) {
  const SampleMachine machine;
  std::filesystem::create_directory(machine.work() / "tovix.cfg");
  expect_run(machine, {"-tovix.cfg"}, "Error: QORX_ERR_OPEN_FILE (0x80)\n", kCantOpenFile);
}

}  // namespace
}  // namespace qorx::test
