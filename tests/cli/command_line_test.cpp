// Every operation on a whole machine, through the command line.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "tests/support/expect.h"
#include "tests/support/rows.h"
#include "tests/support/sample_machine.h"
#include "tests/support/transcript.h"

namespace qorx::test {
namespace {

const std::string kVersions = "libqorx version: 01.36\nqorx version: 01.38\n";

// A command line on the sample machine, its words parted by blanks, and what it prints.
struct Command {
  std::string_view rule;
  std::string words;
  std::string output;
};

class Operations : public RowTest<Command, SampleTest> {};

TEST_P(Operations, Print) {
  machine_.user_file("qorx.cfg", "SLOT_NAME=\"LAN 1\"\nFUNCTION/NAME/FEATURE=\"6/MGMT/NCSI/1PPS\"\n");
  machine_.user_file("smbios.cfg", "TYPE=\"9\"\nNAME=\"Riser 7\"\nBUS:DEV.FUN=\"03:00.0\"\n");
  machine_.user_file("wrong.cfg", "no line that this file may have\n");
  const SmbiosTable table = SmbiosTable().slot("Recorded 9", "04:00.0");
  machine_.user_file("entry", table.entry_point3());
  machine_.user_file("dmi", table.bytes());
  expect_run(machine_, words_of(row().words), row().output);
}

const std::string kRiser = "Onboard_cnt: 0\nSlot_cnt: 1\nRiser 7: WMX-2248\n";
const std::string kRecorded = "Onboard_cnt: 0\nSlot_cnt: 1\nRecorded 9: WMX-2848\n";

// eth2 as the platform file leaves it.
std::string eth2_with(std::string_view panel, std::string_view feature) {
  return table_of(table_line({.eth_name = "eth2",
                              .address = "00:1f.6",
                              .ids = "8086 1533",
                              .subsystem_ids = "13fe 3016",
                              .mac = "02:00:00:00:00:03",
                              .slot = "LAN 1",
                              .panel = panel,
                              .feature = feature,
                              .model = "I210_CO"}));
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
          {"no positions of the firmware with vm", "-sysinfo -vm", "Onboard_cnt: 0\nSlot_cnt: 0\n"},
          {"the positions of the override file", "-sysinfo -smbios_cfg smbios.cfg", kRiser},
          {"the positions of the override file with vm too", "-sysinfo -vm -smbios_cfg smbios.cfg", kRiser},
          {"the positions of recorded files", "-sysinfo -diag entry dmi", kRecorded},
          {"the positions of recorded files with vm too", "-sysinfo -diag entry dmi -vm", kRecorded},
          {"the positions of recorded files before a wrong override file",
           "-sysinfo -smbios_cfg wrong.cfg -diag entry dmi", kRecorded},
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
  const ToolRun run = run_program(qorx_program(), {"-V"}, machine_.work());
  EXPECT_EQ(run.output, kVersions);
  EXPECT_EQ(run.status, 0);
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

}  // namespace
}  // namespace qorx::test
