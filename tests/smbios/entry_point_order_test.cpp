// Which source gives the slot records, and what happens to their names afterwards.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "records/state.h"
#include "smbios/entry_point.h"
#include "tests/smbios/parsing.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

using Strings = std::vector<std::string>;

SmbiosTable one(const std::string& name) {
  return SmbiosTable().slot(name, "03:00.0");
}

const char* const kWithoutSlots = "Onboard_cnt: 0\nSlot_cnt: 0\n";

std::string with_slot(const std::string& name) {
  return "Onboard_cnt: 0\nSlot_cnt: 1\n" + name + ": \n";
}

class SearchOrder : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  // Entry point at the start of the EFI system table's area.
  void with_memory(const std::string& name) {
    machine_.write("dev/mem", one(name).memory3(0x120000, 0x121000))
        .write("sys/firmware/efi/systab", "SMBIOS3=0x120000\n");
  }

  FakeMachine machine_;
};

TEST_F(SearchOrder, MemoryComesBeforeTheKernelsFiles) {
  with_memory("memory");
  machine_.smbios(one("kernel"));
  EXPECT_EQ(Search_SMBIOS_entry_point(nullptr, nullptr), 0);
  EXPECT_EQ(names(), Strings{"memory"});
}

TEST_F(SearchOrder, TheKernelsFilesAreUsedWhenMemoryFails) {
  machine_.smbios(one("kernel"));
  EXPECT_EQ(Search_SMBIOS_entry_point(nullptr, nullptr), 0);
  EXPECT_EQ(names(), Strings{"kernel"});
}

TEST_F(SearchOrder, TheKernelsFilesReplaceTheRecordsOfAnAbnormalTableInMemory) {
  SmbiosTable table = one("memory");
  table.raw(std::string("\x01\x04\0\0text", 8));
  std::string image = table.memory3(0x120000, 0x121000);
  image.resize(0x130000, 'x');
  machine_.write("dev/mem", image).write("sys/firmware/efi/systab", "SMBIOS3=0x120000\n").smbios(one("kernel"));
  printed_by([] { EXPECT_EQ(Search_SMBIOS_entry_point(nullptr, nullptr), 0); });
  EXPECT_EQ(names(), Strings{"kernel"});
}

TEST_F(SearchOrder, NoSourceAtAllGivesTheCodeOfTheMemorySearch) {
  EXPECT_EQ(Search_SMBIOS_entry_point(nullptr, nullptr) & 0xFF, 0xFF);
  EXPECT_TRUE(slot_records().empty());
}

TEST_F(SearchOrder, TheCodeOfTheKernelsFilesIsReturnedWhenBothFail) {
  std::string entry = one("kernel").entry_point3();
  entry[5] = static_cast<char>(entry[5] + 1);
  machine_.smbios(one("kernel")).write("sys/firmware/dmi/tables/smbios_entry_point", entry);
  printed_by([] { EXPECT_EQ(Search_SMBIOS_entry_point(nullptr, nullptr) & 0xFF, 0x92); });
}

TEST_F(SearchOrder, WithDiagTheTwoFilesAreTheOnlySource) {
  with_memory("memory");
  machine_.smbios(one("kernel"));
  const std::string entry_file = machine_.user_file("entry", one("diag").entry_point2());
  const std::string table_file = machine_.user_file("table", one("diag").bytes());
  g_diag = 1;
  EXPECT_EQ(Search_SMBIOS_entry_point(entry_file.c_str(), table_file.c_str()), 0);
  EXPECT_EQ(names(), Strings{"diag"});
  reset_library();
  g_diag = 1;
  printed_by([&] { EXPECT_EQ(Search_SMBIOS_entry_point("/nowhere", table_file.c_str()) & 0xFF, 0x97); });
  EXPECT_TRUE(slot_records().empty());
}

// 17 + " S1 " + 2 = 23 bytes.
TEST_F(SearchOrder, TracesADiagSearchToItsTrimmedNames) {
  const std::string entry_file = machine_.user_file("entry", one(" S1 ").entry_point3(0x80));
  const std::string table_file = machine_.user_file("table", one(" S1 ").bytes());
  g_diag = 1;
  EXPECT_EQ(traced_by([&] { EXPECT_EQ(Search_SMBIOS_entry_point(entry_file.c_str(), table_file.c_str()), 0); }),
            "diag\nentry_v3\nstructure table lenght: 23\nstructure table address: 80\n"
            "type 9\nstr_offset 0x11\nj 0x04\nlength 0x17\nsum 23\n"
            "qorx_system_environment_info.eth_smbios_t9_t41_number 1\n"
            "check head char of ! S1 !\nremove head 1 char !S1 !\n"
            "check tail char of !S1 !\nremove tail 1 char !S1!\n"
            "S1\nbus 3 dev 0 fun 0\n");
}

TEST_F(SearchOrder, TracesAMemorySearchThatFallsBackToTheKernelsFiles) {
  machine_.smbios(SmbiosTable().onboard("L", "a0:1f.6"));
  EXPECT_EQ(traced_by([] { EXPECT_EQ(Search_SMBIOS_entry_point(nullptr, nullptr), 0); }),
            "mem\nCan't find by legacy method.\nCan't open /sys/firmware/efi/systab\n"
            "/sys/firmware/dmi/tables/smbios_entry_point is found.\n/sys/firmware/dmi/tables/DMI is found.\n"
            "sysfs\nentry_v3\nstructure table lenght: 14\nstructure table address: 0\n"
            "type 41\nstr_offset 0x0b\nj 0x01\nlength 0x0e\nsum 14\n"
            "qorx_system_environment_info.eth_smbios_t9_t41_number 1\n"
            "check head char of !L!\ncheck tail char of !L!\nL\nbus a0 dev 1f fun 6\n");
}

TEST_F(SearchOrder, ASearchThatFindsNothingTracesWhereItLooked) {
  EXPECT_EQ(traced_by([] { static_cast<void>(Search_SMBIOS_entry_point(nullptr, nullptr)); }),
            "mem\nCan't find by legacy method.\nCan't open /sys/firmware/efi/systab\n"
            "/sys/firmware/dmi/tables/smbios_entry_point is NOT found.\n");
}

TEST_F(SearchOrder, NamesArePaddedWithBlanksByManyFirmwares) {
  SmbiosTable table;
  table.slot("  Slot 1 \t\r\n ", "01:00.0").onboard("LAN  ", "02:00.0").slot("   ", "03:00.0").slot("\n S", "04:00.0");
  machine_.smbios(table);
  ASSERT_EQ(Search_SMBIOS_entry_point(nullptr, nullptr), 0);
  EXPECT_EQ(names(), (Strings{"Slot 1", "LAN", "", "\n S"}));
  for (const SlotRecord& slot : slot_records()) {
    EXPECT_STREQ(slot.smbios_slot_name, slot.slot_name);
  }
}

TEST_F(SearchOrder, AfterAFailureTheNamesAreLeftAsTheyWereRead) {
  SmbiosTable table = one(" S1 ");
  table.raw(std::string("\x01\x04", 2));
  machine_.smbios(table);
  printed_by([] { EXPECT_EQ(Search_SMBIOS_entry_point(nullptr, nullptr) & 0xFF, 0x91); });
  EXPECT_EQ(names(), Strings{" S1 "});
  EXPECT_STREQ(slot_records()[0].smbios_slot_name, "");
}

TEST_F(SearchOrder, ACommandOnAMachineWithoutSmbiosGoesOnWithoutSlots) {
  const ToolRun run = machine_.run({"-sysinfo"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, kWithoutSlots);
}

TEST_F(SearchOrder, ACommandIgnoresThatTheSearchFailed) {
  machine_.write("sys/firmware/dmi/tables/smbios_entry_point", "").write("sys/firmware/dmi/tables/DMI", "");
  const ToolRun run = machine_.run({"-sysinfo"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, std::string("Can't find SMBIOS!\n") + kWithoutSlots);
}

TEST_F(SearchOrder, TheOptionsChooseTheSource) {
  with_memory("memory");
  machine_.smbios(one("kernel"));
  machine_.user_file("smbios.cfg", "TYPE=\"9\"\nNAME=\"override\"\nBUS:DEV.FUN=\"03:00.0\"\n");
  machine_.user_file("entry", one("diag").entry_point3());
  machine_.user_file("table", one("diag").bytes());
  const struct {
    std::vector<std::string> options;
    std::string output;
  } cases[] = {
      {{}, with_slot("memory")},
      {{"-vm"}, kWithoutSlots},
      {{"-smbios_cfg", "smbios.cfg"}, with_slot("override")},
      {{"-vm", "-smbios_cfg", "smbios.cfg"}, with_slot("override")},
      {{"-diag", "entry", "table"}, with_slot("diag")},
      {{"-smbios_cfg", "smbios.cfg", "-diag", "entry", "table"}, with_slot("diag")},
      {{"-smbios_cfg", "missing.cfg", "-vm", "-diag", "entry", "table"}, with_slot("diag")},
      {{"-diag", "missing", "table", "-smbios_cfg", "smbios.cfg"}, std::string("1Can't get missing\n") + kWithoutSlots},
  };
  for (const auto& c : cases) {
    std::vector<std::string> words{"-sysinfo"};
    words.insert(words.end(), c.options.begin(), c.options.end());
    SCOPED_TRACE(testing::PrintToString(words));
    const ToolRun run = machine_.run(words);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, c.output);
  }
}

TEST_F(SearchOrder, AWrongOverrideFileEndsTheRun) {
  machine_.smbios(one("kernel"));
  machine_.user_file("smbios.cfg", "# nothing\n");
  const ToolRun wrong = machine_.run({"-sysinfo", "-smbios_cfg", "smbios.cfg"});
  EXPECT_EQ(wrong.status, 0x81);
  EXPECT_EQ(wrong.output, "Can't find TYPE! smbios.cfg line: 2\nError: QORX_ERR_CONF_FILE_FORMAT (0x81)\n");
  const ToolRun missing = machine_.run({"-sysinfo", "-smbios_cfg", "missing.cfg"});
  EXPECT_EQ(missing.status, 0x80);
  EXPECT_EQ(missing.output, "Error: Open file missing.cfg failed.\nError: QORX_ERR_OPEN_FILE (0x80)\n");
}

}  // namespace
}  // namespace qorx::test
