// Every operation on a whole machine, through the command line.
#include "cli/command_line.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "tests/support/sample_machine.h"

namespace qorx::test {
namespace {

using Words = std::vector<std::string>;

void expect_run(const FakeMachine& machine, const Words& words, const std::string& output, int status = 0) {
  SCOPED_TRACE(testing::PrintToString(words));
  const ToolRun run = machine.run(words);
  EXPECT_EQ(run.output, output);
  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(run.status, status);
}

TEST(Operations, VersionPrintsTheLibrarysAndTheToolsNumbers) {
  const FakeMachine machine;
  expect_run(machine, {"-V"}, "libqorx version: 01.36\nqorx version: 01.38\n");
}

TEST(Operations, VersionStripsOptionsFirst) {
  const FakeMachine machine;
  expect_run(machine, {"-V", "-legacy"}, "libqorx version: 01.36\nqorx version: 01.38\n");
}

TEST(Operations, VersionDoesNotOpenTheLibrary) {
  FakeMachine machine;
  machine.remove("sys");
  expect_run(machine, {"-V", "-config", "missing.cfg"}, "libqorx version: 01.36\nqorx version: 01.38\n");
}

TEST(Operations, TheCommandItselfAnswersLikeTheReplay) {
  const TemporaryDirectory directory;
  const ToolRun run = run_program(qorx_program(), {"-V"}, directory.path());
  EXPECT_EQ(run.output, "libqorx version: 01.36\nqorx version: 01.38\n");
  EXPECT_EQ(run.status, 0);
}

TEST(Operations, ListPrintsEveryPort) {
  const SampleMachine machine;
  expect_run(machine, {"-a"}, sample::kWholeTable);
}

TEST(Operations, ListByInterfaceName) {
  const SampleMachine machine;
  expect_run(machine, {"-d", "eth3"}, table_of(sample::kEth3));
  expect_run(machine, {"-d", "br0"}, table_of(sample::kBr0));
  expect_run(machine, {"-d", "ETH3"}, table_of(""));
}

TEST(Operations, ListByFeature) {
  const SampleMachine machine;
  expect_run(machine, {"-f", "A_BYPASS"}, table_of(sample::kEth3 + sample::kEth4));
  expect_run(machine, {"-f", "ncsi"}, table_of(sample::kEth2));
  expect_run(machine, {"-f", "bypass"}, table_of(sample::kBr0));
}

TEST(Operations, ListByAddress) {
  const SampleMachine machine;
  expect_run(machine, {"-p", "00:1f.6"}, table_of(sample::kEth2));
  expect_run(machine, {"-p", "00:1F.06"}, table_of(sample::kEth2));
  expect_run(machine, {"-p", "00:1f.7"}, table_of(""));
}

TEST(Operations, ResultFileGetsTheTableAndTheScreenNothing) {
  const SampleMachine machine;
  expect_run(machine, {"-o", "result.txt"}, "");
  EXPECT_EQ(read_file(machine.work() / "result.txt"), sample::kWholeTable);
}

TEST(Operations, TovixCfgIsWrittenToTheCurrentDirectory) {
  const SampleMachine machine;
  expect_run(machine, {"-tovix.cfg"}, "");
  EXPECT_EQ(read_file(machine.work() / "tovix.cfg"), sample::kTovixCfg);
}

TEST(Operations, SysinfoPrintsCountsAndPositions) {
  const SampleMachine machine;
  expect_run(machine, {"-sysinfo"},
             "Onboard_cnt: 1\n"
             "Slot_cnt: 2\n"
             "LAN 1: I210_CO\n"
             "WMX Slot 4: WMX-2848\n"
             "WMX Slot 3: WMX-2248\n");
}

TEST(Operations, SupportListsTheCards) {
  const FakeMachine machine;
  const ToolRun run = machine.run({"-support"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(std::count(run.output.begin(), run.output.end(), '\n'), 100);
  EXPECT_TRUE(
      run.output.starts_with("model              feature        svid sdid index  \n"
                             "WMX-1813           L_BYPASS       13fe 0038 0\n"));
  EXPECT_TRUE(run.output.ends_with("I226_CO            A_BYPASS_I2C   13fe 3043 98\n"));
}

TEST(Options, NovlanLeavesVirtualInterfacesOut) {
  const SampleMachine machine;
  expect_run(machine, {"-a", "-novlan"}, table_of(sample::kPorts));
  expect_run(machine, {"-d", "br0", "-novlan"}, table_of(""));
}

// "LAN 1" < "WMX Slot 3" < "WMX Slot 4", so only a slot that is named against the order of the buses shows it.
TEST(Options, SortSlotnameOrdersByDesignation) {
  SampleMachine machine;
  machine.smbios(SmbiosTable().slot("A 4", "04:00.0").slot("B 3", "03:00.0").onboard("C 1", "00:1f.6"));
  const auto names = [&machine](const Words& words) {
    std::string found;
    const std::string output = machine.run(words).output;
    for (const char* const name : {"eth0", "eth1", "eth2", "eth3", "eth4"}) {
      EXPECT_NE(output.find(name), std::string::npos) << name;
    }
    for (std::size_t at = output.find("\neth"); at != std::string::npos; at = output.find("\neth", at + 1)) {
      found += output[at + 4];
    }
    return found;
  };
  EXPECT_EQ(names({"-a", "-novlan"}), "20134");
  EXPECT_EQ(names({"-a", "-novlan", "-sort_slotname"}), "34012");
}

TEST(Options, VmSkipsTheFirmwareTables) {
  const SampleMachine machine;
  expect_run(machine, {"-sysinfo", "-vm"}, "Onboard_cnt: 0\nSlot_cnt: 0\n");
}

TEST(Options, SmbiosCfgReplacesTheFirmwareTables) {
  SampleMachine machine;
  machine.user_file("smbios.cfg", "TYPE=\"9\"\nNAME=\"Riser 7\"\nBUS:DEV.FUN=\"03:00.0\"\n");
  for (const Words& words :
       {Words{"-sysinfo", "-smbios_cfg", "smbios.cfg"}, Words{"-sysinfo", "-vm", "-smbios_cfg", "smbios.cfg"}}) {
    expect_run(machine, words, "Onboard_cnt: 0\nSlot_cnt: 1\nRiser 7: WMX-2248\n");
  }
}

TEST(Options, DiagReadsTheTwoNamedFiles) {
  SampleMachine machine;
  const SmbiosTable table = SmbiosTable().slot("Recorded 9", "04:00.0");
  machine.user_file("entry", table.entry_point3());
  machine.user_file("dmi", table.bytes());
  machine.user_file("smbios.cfg", "no line that this file may have\n");
  for (const Words& words :
       {Words{"-sysinfo", "-diag", "entry", "dmi"}, Words{"-sysinfo", "-diag", "entry", "dmi", "-vm"},
        Words{"-sysinfo", "-smbios_cfg", "smbios.cfg", "-diag", "entry", "dmi"}}) {
    expect_run(machine, words, "Onboard_cnt: 0\nSlot_cnt: 1\nRecorded 9: WMX-2848\n");
  }
}

TEST(Options, ConfigNamesThePorts) {
  SampleMachine machine;
  machine.user_file("qorx.cfg", "SLOT_NAME=\"LAN 1\"\nFUNCTION/NAME/FEATURE=\"6/MGMT/NCSI/1PPS\"\n");
  const std::string marked = table_line({.eth_name = "eth2",
                                         .address = "00:1f.6",
                                         .ids = "8086 1533",
                                         .subsystem_ids = "13fe 3016",
                                         .mac = "02:00:00:00:00:03",
                                         .slot = "LAN 1",
                                         .panel = "LAN 1 (*)",
                                         .feature = "NCSI(!)",
                                         .model = "I210_CO"});
  const std::string forced = table_line({.eth_name = "eth2",
                                         .address = "00:1f.6",
                                         .ids = "8086 1533",
                                         .subsystem_ids = "13fe 3016",
                                         .mac = "02:00:00:00:00:03",
                                         .slot = "LAN 1",
                                         .panel = "MGMT",
                                         .feature = "NCSI/1PPS",
                                         .model = "I210_CO"});
  expect_run(machine, {"-d", "eth2", "-config", "qorx.cfg"},
             "CFG file feature (NCSI) is not matched with Vlm default feature. Slot Name (LAN 1) CFG file line: 2\n"
             "If you want to overwrite please add -F command!\n" +
                 table_of(marked));
  expect_run(machine, {"-d", "eth2", "-config", "qorx.cfg", "-ML", "0"}, table_of(marked));
  expect_run(machine, {"-d", "eth2", "-config", "qorx.cfg", "-F"}, table_of(forced));
}

TEST(Options, LevelTwoTracesBeforeTheTable) {
  const SampleMachine machine;
  const ToolRun run = machine.run({"-a", "-ML", "2"});
  EXPECT_EQ(run.status, 0);
  EXPECT_TRUE(run.output.starts_with("Folder /sys/class/net exist\nFolder /sys/devices/pci0000:00 exist\nmem\n"));
  EXPECT_TRUE(run.output.ends_with(kTableLegend));
}

TEST(Options, AnUnknownLevelIsReportedAndTheRunGoesOn) {
  const SampleMachine machine;
  expect_run(machine, {"-a", "-ML", "3"}, "Error: Parameter msg_level out of range.\n" + sample::kWholeTable);
}

TEST(Options, AnyOrderGivesTheSameOutput) {
  SampleMachine machine;
  machine.user_file("qorx.cfg", "SLOT_NAME=\"LAN 1\"\nFUNCTION/NAME/FEATURE=\"6/MGMT/POE\"\n");
  machine.user_file("names.cfg", "WMX-2848 A_BYPASS\n");
  std::vector<Words> options{{"-config", "qorx.cfg"}, {"-legacy"}, {"-novlan"}, {"-F"},
                             {"-sort_slotname"},      {"-ML", "2"}};
  std::mt19937 random(7);
  std::string first;
  for (int round = 0; round < 12; ++round) {
    std::shuffle(options.begin(), options.end(), random);
    Words words{"-a"};
    for (const Words& option : options) {
      words.insert(words.end(), option.begin(), option.end());
    }
    const ToolRun run = machine.run(words);
    ASSERT_EQ(run.status, 0) << testing::PrintToString(words);
    first = round == 0 ? run.output : first;
    ASSERT_EQ(run.output, first) << testing::PrintToString(words);
  }
  EXPECT_NE(first.find("MGMT"), std::string::npos);
  EXPECT_EQ(first.find("br0   "), std::string::npos);
}

}  // namespace
}  // namespace qorx::test
