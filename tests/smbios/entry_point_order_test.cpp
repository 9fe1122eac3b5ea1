// Which source gives the slot records, and what happens to their names afterwards.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/messages.h"
#include "smbios/entry_point.h"
#include "tests/smbios/parsing.h"
#include "tests/support/user_files.h"

namespace qorx::test {
namespace {

SmbiosTable one(const std::string& name) {
  return SmbiosTable().slot(name, "03:00.0");
}

const std::string kWithoutSlots = "Onboard_cnt: 0\nSlot_cnt: 0\n";

std::string with_slot(const std::string& name) {
  return "Onboard_cnt: 0\nSlot_cnt: 1\n" + name + ": \n";
}

class SearchOrder : public MachineTest {
 protected:
  // Entry point at the start of the EFI system table's area.
  void with_memory(const std::string& image) {
    machine_.write("dev/mem", image).write("sys/firmware/efi/systab", "SMBIOS3=0x120000\n");
  }

  static Outcome search(const std::string& entry_file = "", const std::string& table_file = "") {
    return outcome_of([&] { return Search_SMBIOS_entry_point(entry_file.c_str(), table_file.c_str()); });
  }
};

TEST_F(SearchOrder, MemoryComesBeforeTheKernelsFiles) {
  with_memory(one("memory").memory3(0x120000, 0x121000));
  machine_.smbios(one("kernel"));
  EXPECT_EQ(search(), Outcome{});
  EXPECT_EQ(names(), Texts{"memory"});
}

TEST_F(SearchOrder, TheKernelsFilesAreUsedWhenMemoryFails) {
  machine_.smbios(one("kernel"));
  EXPECT_EQ(search(), Outcome{});
  EXPECT_EQ(names(), Texts{"kernel"});
}

TEST_F(SearchOrder, TheKernelsFilesReplaceTheRecordsOfAnAbnormalTableInMemory) {
  std::string image = one("memory").raw(std::string("\x01\x04\0\0text", 8)).memory3(0x120000, 0x121000);
  image.resize(0x130000, 'x');
  with_memory(image);
  machine_.smbios(one("kernel"));
  EXPECT_EQ(search().code, 0);
  EXPECT_EQ(names(), Texts{"kernel"});
}

TEST_F(SearchOrder, NoSourceAtAllGivesTheCodeOfTheMemorySearch) {
  EXPECT_EQ(search().code, 0xFF);
  EXPECT_TRUE(slot_records().empty());
}

TEST_F(SearchOrder, TheCodeOfTheKernelsFilesIsReturnedWhenBothFail) {
  const std::string entry = spoiled(one("kernel").entry_point3(), 5);
  machine_.smbios(one("kernel")).write("sys/firmware/dmi/tables/smbios_entry_point", entry);
  EXPECT_EQ(search().code, kChecksum);
}

TEST_F(SearchOrder, WithDiagTheTwoFilesAreTheOnlySource) {
  with_memory(one("memory").memory3(0x120000, 0x121000));
  machine_.smbios(one("kernel"));
  g_diag = 1;
  EXPECT_EQ(search("/nowhere", machine_.user_file("table", one("diag").bytes())).code, 0x97);
  EXPECT_TRUE(slot_records().empty());
}

// 17 + " S1 " + 2 = 23 bytes.
TEST_F(SearchOrder, TracesADiagSearchToItsTrimmedNames) {
  const std::string entry_file = machine_.user_file("entry", one(" S1 ").entry_point3(0x80));
  g_diag = 1;
  g_debug_message_open = 1;
  EXPECT_EQ(search(entry_file, machine_.user_file("table", one(" S1 ").bytes())),
            (Outcome{"diag\nentry_v3\nstructure table lenght: 23\nstructure table address: 80\n"
                     "type 9\nstr_offset 0x11\nj 0x04\nlength 0x17\nsum 23\n"
                     "qorx_system_environment_info.eth_smbios_t9_t41_number 1\n" +
                         head_traces(" S1 ") + tail_traces("S1 ") + "S1\nbus 3 dev 0 fun 0\n",
                     0}));
}

TEST_F(SearchOrder, TracesAMemorySearchThatFallsBackToTheKernelsFiles) {
  machine_.smbios(SmbiosTable().onboard("L", "a0:1f.6"));
  g_debug_message_open = 1;
  EXPECT_EQ(search(),
            (Outcome{"mem\nCan't find by legacy method.\nCan't open /sys/firmware/efi/systab\n"
                     "/sys/firmware/dmi/tables/smbios_entry_point is found.\n/sys/firmware/dmi/tables/DMI is found.\n"
                     "sysfs\nentry_v3\nstructure table lenght: 14\nstructure table address: 0\n"
                     "type 41\nstr_offset 0x0b\nj 0x01\nlength 0x0e\nsum 14\n"
                     "qorx_system_environment_info.eth_smbios_t9_t41_number 1\n"
                     "check head char of !L!\ncheck tail char of !L!\nL\nbus a0 dev 1f fun 6\n",
                     0}));
}

TEST_F(SearchOrder, ASearchThatFindsNothingTracesWhereItLooked) {
  g_debug_message_open = 1;
  EXPECT_EQ(search().printed,
            "mem\nCan't find by legacy method.\nCan't open /sys/firmware/efi/systab\n"
            "/sys/firmware/dmi/tables/smbios_entry_point is NOT found.\n");
}

TEST_F(SearchOrder, NamesArePaddedWithBlanksByManyFirmwares) {
  SmbiosTable table;
  table.slot("  Slot 1 \t\r\n ", "01:00.0").onboard("LAN  ", "02:00.0").slot("   ", "03:00.0").slot("\n S", "04:00.0");
  machine_.smbios(table);
  EXPECT_EQ(search(), Outcome{});
  EXPECT_EQ(names(), (Texts{"Slot 1", "LAN", "", "\n S"}));
  EXPECT_EQ(texts_of(slot_records(), &SlotRecord::smbios_slot_name), names());
}

TEST_F(SearchOrder, AfterAFailureTheNamesAreLeftAsTheyWereRead) {
  machine_.smbios(one(" S1 ").raw(std::string("\x01\x04", 2)));
  EXPECT_EQ(search().code, 0x91);
  expect_slot(slot_records()[0], {.slot_name = " S1 ", .smbios_slot_name = ""});
  EXPECT_EQ(slot_records().size(), 1U);
}

TEST_F(SearchOrder, ACommandOnAMachineWithoutSmbiosGoesOnWithoutSlots) {
  expect_run(machine_, {"-sysinfo"}, kWithoutSlots);
}

TEST_F(SearchOrder, ACommandIgnoresThatTheSearchFailed) {
  machine_.write("sys/firmware/dmi/tables/smbios_entry_point", "").write("sys/firmware/dmi/tables/DMI", "");
  expect_run(machine_, {"-sysinfo"}, "Can't find SMBIOS!\n" + kWithoutSlots);
}

struct Source {
  std::string_view rule;
  std::vector<std::string> options;
  std::string output;
};

class SearchOptions : public RowTest<Source, SearchOrder> {};

TEST_P(SearchOptions, ChooseTheSource) {
  with_memory(one("memory").memory3(0x120000, 0x121000));
  machine_.smbios(one("kernel"));
  machine_.user_file("smbios.cfg", "TYPE=\"9\"\nNAME=\"override\"\nBUS:DEV.FUN=\"03:00.0\"\n");
  machine_.user_file("entry", one("diag").entry_point3());
  machine_.user_file("table", one("diag").bytes());
  std::vector<std::string> words{"-sysinfo"};
  words.insert(words.end(), row().options.begin(), row().options.end());
  expect_run(machine_, words, row().output);
}

QORX_ROWS(SearchOptions, {"memory without options", {}, with_slot("memory")}, {"none with vm", {"-vm"}, kWithoutSlots},
          {"the override file", {"-smbios_cfg", "smbios.cfg"}, with_slot("override")},
          {"the override file with vm too", {"-vm", "-smbios_cfg", "smbios.cfg"}, with_slot("override")},
          {"recorded files", {"-diag", "entry", "table"}, with_slot("diag")},
          {"recorded files before the override file", Texts{"-smbios_cfg", "smbios.cfg", "-diag", "entry", "table"},
           with_slot("diag")},
          {"recorded files whatever else is missing",
           Texts{"-smbios_cfg", "missing.cfg", "-vm", "-diag", "entry", "table"}, with_slot("diag")},
          {"nothing else for missing recorded files", Texts{"-diag", "missing", "table", "-smbios_cfg", "smbios.cfg"},
           "1Can't get missing\n" + kWithoutSlots});

TEST_F(SearchOrder, AWrongOverrideFileEndsTheRun) {
  machine_.smbios(one("kernel"));
  machine_.user_file("smbios.cfg", "# nothing\n");
  expect_run(machine_, {"-sysinfo", "-smbios_cfg", "smbios.cfg"},
             "Can't find TYPE! smbios.cfg line: 2\nError: QORX_ERR_CONF_FILE_FORMAT (0x81)\n", 0x81);
}

}  // namespace
}  // namespace qorx::test
