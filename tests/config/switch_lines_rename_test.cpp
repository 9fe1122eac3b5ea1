// Rename lines, alone and around switch lines.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "config/stages.h"
#include "records/state.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"
#include "tests/support/result_rows.h"

namespace qorx {
namespace {

using test::add_slot;
using test::FakeMachine;
using test::row_of;
using test::ToolRun;

class RenameLines : public ::testing::Test {
 protected:
  void SetUp() override {
    test::reset_library();
    machine_.make_directory("sys/devices/pci0000:00/0000:00:1c.0/0000:02:00.0");
  }

  std::string apply(const std::string& text) {
    const std::string path = machine_.user_file("qorx.cfg", text);
    return test::printed_by([&] { EXPECT_EQ(qorx_check_conf_file_SW(path.c_str()), 0); });
  }

  // A slot whose present name is not the firmware's.
  static SlotRecord& renamed_slot(const char* firmware_name, const char* name) {
    SlotRecord& slot = add_slot(firmware_name);
    std::strcpy(slot.slot_name, name);
    return slot;
  }

  FakeMachine machine_;
};

TEST_F(RenameLines, EveryRecordOfTheFirmwaresNameTakesTheNewOne) {
  const SlotRecord& first = add_slot("J1");
  const SlotRecord& other = add_slot("J11");
  const SlotRecord& second = renamed_slot("J1", "x");
  EXPECT_EQ(apply("SLOT_NAME=\"J1\"\nCHANGE_NAME=\"WMX Slot 1\"\n"), "");
  EXPECT_STREQ(first.slot_name, "WMX Slot 1");
  EXPECT_STREQ(second.slot_name, "WMX Slot 1");
  EXPECT_STREQ(other.slot_name, "J11");
  EXPECT_STREQ(first.smbios_slot_name, "J1");
}

TEST_F(RenameLines, APresentNameCountsOnlyWhereNoFirmwareNameMatches) {
  const SlotRecord& present = renamed_slot("J9", "J1");
  const SlotRecord& firmware = renamed_slot("J1", "J2");
  apply("SLOT_NAME=\"J1\"\nCHANGE_NAME=\"new\"\n");
  EXPECT_STREQ(present.slot_name, "J1");
  EXPECT_STREQ(firmware.slot_name, "new");
}

TEST_F(RenameLines, EveryRecordOfThePresentNameTakesTheNewOne) {
  const SlotRecord& first = renamed_slot("A", "J1");
  const SlotRecord& second = renamed_slot("B", "J1");
  apply("SLOT_NAME=\"J1\"\nCHANGE_NAME=\"new\"\n");
  EXPECT_STREQ(first.slot_name, "new");
  EXPECT_STREQ(second.slot_name, "new");
}

TEST_F(RenameLines, TheBlockKeepsTheOldNameForItsLaterLines) {
  const SlotRecord& firmware = add_slot("J1");
  const SlotRecord& present = renamed_slot("A", "J2");
  apply(
      "SLOT_NAME=\"J1\"\nCHANGE_NAME=\"a\"\nCHANGE_NAME=\"b\"\nSLOT_NAME=\"J2\"\nCHANGE_NAME=\"c\"\nCHANGE_NAME="
      "\"d\"\n");
  EXPECT_STREQ(firmware.slot_name, "b");
  // By its present name it is not found again.
  EXPECT_STREQ(present.slot_name, "c");
}

TEST_F(RenameLines, ALaterBlockMayUseEitherName) {
  const SlotRecord& slot = add_slot("J1");
  EXPECT_EQ(apply("SLOT_NAME=\"J1\"\nCHANGE_NAME=\"a\"\nSLOT_NAME=\"a\"\nCHANGE_NAME=\"b\"\nSLOT_NAME=\"J1\"\n"), "");
  EXPECT_STREQ(slot.slot_name, "b");
}

TEST_F(RenameLines, TheNewNameMayBeEmptyOrHoldSlashesAndQuotes) {
  const SlotRecord& slot = add_slot("J1");
  apply("SLOT_NAME=\"J1\"\nCHANGE_NAME=\"1/2 \"x\"\"\n");
  EXPECT_STREQ(slot.slot_name, "1/2 \"x\"");
  apply("SLOT_NAME=\"J1\"\nCHANGE_NAME=\"\"\n");
  EXPECT_STREQ(slot.slot_name, "");
}

TEST_F(RenameLines, ANewNameThatLooksLikeAKeyIsAName) {
  const SlotRecord& slot = add_slot("J1");
  apply("SLOT_NAME=\"J1\"\nCHANGE_NAME=\"PCIe_SW_DEV/WMX_SLOT=\"0-1/x\"\"\n");
  EXPECT_STREQ(slot.slot_name, "PCIe_SW_DEV/WMX_SLOT=\"0-1/x\"");
}

TEST_F(RenameLines, AnEmptySlotNameMeansTheRecordsWithoutAFirmwareName) {
  const SlotRecord& named = add_slot("J1");
  const SlotRecord& nameless = renamed_slot("", "x");
  apply("SLOT_NAME=\"\"\nCHANGE_NAME=\"new\"\n");
  EXPECT_STREQ(named.slot_name, "J1");
  EXPECT_STREQ(nameless.slot_name, "new");
}

TEST_F(RenameLines, RetiredAndNewSlotsHaveNoFirmwareName) {
  const SlotRecord& slot = add_slot("J1", 9, 0, 0x1C, 0);
  apply("SLOT_NAME=\"J1\"\nPCIe_SW_DEV/WMX_SLOT=\"1-1/S\"\nSLOT_NAME=\"\"\nCHANGE_NAME=\"x\"\n");
  EXPECT_STREQ(slot.slot_name, "x");
  ASSERT_EQ(qorx_system_environment_info.eth_smbios_t9_t41_number, 2U);
  EXPECT_STREQ(qorx_smbios_t9_t41_mapping[1].slot_name, "x");
}

TEST_F(RenameLines, AfterARenameASwitchLineDoesNotRetireTheSlot) {
  const SlotRecord& slot = add_slot("J1", 9, 0, 0x1C, 0);
  apply("SLOT_NAME=\"J1\"\nCHANGE_NAME=\"new\"\nPCIe_SW_DEV/WMX_SLOT=\"1-1/S\"\n");
  EXPECT_STREQ(slot.slot_name, "new");
  EXPECT_STREQ(slot.smbios_slot_name, "J1");
  EXPECT_EQ(slot.bus, 0);
  EXPECT_EQ(slot.dev, 0x1C);
  ASSERT_EQ(qorx_system_environment_info.eth_smbios_t9_t41_number, 2U);
  EXPECT_STREQ(qorx_smbios_t9_t41_mapping[1].slot_name, "S");
}

TEST_F(RenameLines, AfterASwitchLineThereIsOnlyTheNewSlotLeftToRename) {
  const SlotRecord& slot = add_slot("J1", 9, 0, 0x1C, 0);
  apply("SLOT_NAME=\"J1\"\nPCIe_SW_DEV/WMX_SLOT=\"1-1/S\"\nCHANGE_NAME=\"new\"\n");
  EXPECT_STREQ(slot.slot_name, "");
  EXPECT_STREQ(qorx_smbios_t9_t41_mapping[1].slot_name, "S");
}

TEST_F(RenameLines, AfterASwitchLineNewSlotsOfTheOldNameAreRenamed) {
  const SlotRecord& slot = add_slot("J1", 9, 0, 0x1C, 0);
  apply("SLOT_NAME=\"J1\"\nPCIe_SW_DEV/WMX_SLOT=\"1-2/J1\"\nCHANGE_NAME=\"new\"\n");
  EXPECT_STREQ(slot.slot_name, "");
  EXPECT_STREQ(qorx_smbios_t9_t41_mapping[1].slot_name, "new");
  EXPECT_STREQ(qorx_smbios_t9_t41_mapping[2].slot_name, "new");
}

TEST_F(RenameLines, DebugMessagesShowTheNewName) {
  add_slot("J1");
  const std::string path = machine_.user_file("qorx.cfg", "SLOT_NAME=\"J1\"\nCHANGE_NAME=\"new\"\n");
  const std::string traces = test::traced_by([&] { qorx_check_conf_file_SW(path.c_str()); });
  EXPECT_TRUE(
      traces.ends_with("can't find PCIe_SW_DEV/WMX_SLOT=\"\n"
                       "check tail char of !CHANGE_NAME=\"new\"\n!\n"
                       "remove tail 1 char !CHANGE_NAME=\"new\"!\n"
                       "can't find FUNCTION/NAME/FEATURE=\"\n"
                       "can't find FUNCTION/NAME/BUS_ORDER=\"\n"
                       "new\n"))
      << traces;
}

TEST_F(RenameLines, TheTableAndTheFeatureLinesUseTheNewName) {
  machine_.smbios(test::SmbiosTable().slot("J1", "02:00.0"));
  machine_.add_port("eth0", "0000:00:1c.0/0000:02:00.0");
  machine_.user_file("qorx.cfg",
                     "SLOT_NAME=\"J1\"\n"
                     "CHANGE_NAME=\"WMX Slot 1\"\n"
                     "FUNCTION/NAME/FEATURE=\"0/old/POE\"\n"
                     "SLOT_NAME=\"WMX Slot 1\"\n"
                     "FUNCTION/NAME/FEATURE=\"0/new/L_BYPASS\"\n");
  const ToolRun run = machine_.run({"-a", "-config", "qorx.cfg"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(row_of(run.output, "eth0").slot, "WMX Slot 1");
  EXPECT_EQ(row_of(run.output, "eth0").panel, "new");
  EXPECT_EQ(row_of(run.output, "eth0").feature, "L_BYPASS");
}

}  // namespace
}  // namespace qorx
