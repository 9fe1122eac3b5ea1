#include "ident/final_model.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "base/bounded_text.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"
#include "tests/support/result_rows.h"

namespace qorx {
namespace {

using test::add_device;
using test::add_slot;
using test::FakeMachine;
using test::ResultRow;

constexpr int kSlot = 9;
constexpr int kOnboard = 41;

class FinalModel : public ::testing::Test {
 protected:
  void SetUp() override { test::reset_library(); }

  // What becomes of a port whose module name file has confirmed these names.
  static std::string joined(const std::vector<std::string>& names) {
    DeviceRecord& port = add_device("eth0", "Slot", kSlot);
    copy_text(port.model, "WMX-1813/2848/8655");
    for (const std::string& name : names) {
      copy_text(port.module_names[port.module_name_count++], name);
    }
    EXPECT_EQ(qorx_assign_final_model_name(), 0);
    return port.model;
  }
};

TEST_F(FinalModel, AnUnknownPortIsOnboardBehindAnOnboardRecordOnly) {
  DeviceRecord& onboard = add_device("eth0", "LAN1", kOnboard);
  DeviceRecord& slot = add_device("eth1", "WMX Slot 1", kSlot);
  DeviceRecord& nowhere = add_device("eth2");
  EXPECT_EQ(qorx_assign_final_model_name(), 0);
  EXPECT_STREQ(onboard.model, "Onboard");
  EXPECT_STREQ(onboard.slot_name, "LAN1");
  EXPECT_STREQ(slot.model, "ID not found");
  EXPECT_STREQ(slot.slot_name, "WMX Slot 1");
  EXPECT_STREQ(nowhere.model, "ID not found");
}

TEST_F(FinalModel, AnUnknownUsbPortLosesItsPlaceWhateverItsType) {
  for (const int type : {0, kSlot, kOnboard}) {
    SCOPED_TRACE(type);
    DeviceRecord& port = add_device("eth0", "LAN1", type);
    std::strcpy(port.usb, "usb");
    std::strcpy(port.panel_name, "Port 1");
    qorx_assign_final_model_name();
    EXPECT_STREQ(port.model, "ID not found");
    EXPECT_STREQ(port.slot_name, "N/A");
    EXPECT_STREQ(port.panel_name, "N/A");
  }
}

TEST_F(FinalModel, AUsbPortWithAModelKeepsItsPlace) {
  DeviceRecord& port = add_device("eth0", "WMX Slot 1", kSlot);
  std::strcpy(port.usb, "usb");
  std::strcpy(port.model, "WMX-LH53");
  std::strcpy(port.panel_name, "Port 1");
  qorx_assign_final_model_name();
  EXPECT_STREQ(port.model, "WMX-LH53");
  EXPECT_STREQ(port.slot_name, "WMX Slot 1");
  EXPECT_STREQ(port.panel_name, "Port 1");
}

TEST_F(FinalModel, WithoutConfirmedNamesTheModelStays) {
  EXPECT_EQ(joined({}), "WMX-1813/2848/8655");
}

TEST_F(FinalModel, OneConfirmedNameReplacesTheListOfCandidates) {
  EXPECT_EQ(joined({"WMX-2848"}), "WMX-2848");
}

TEST_F(FinalModel, FurtherNamesOfTheFamilyAreJoinedByTheirNumbers) {
  EXPECT_EQ(joined({"WMX-1813", "WMX-8655"}), "WMX-1813/8655");
  EXPECT_EQ(joined({"WMX-1813", "WMX-2848", "WMX-8655"}), "WMX-1813/2848/8655");
}

TEST_F(FinalModel, ANameOfAnotherFamilyIsJoinedWhole) {
  EXPECT_EQ(joined({"WMX-1813", "PCIE-6922"}), "WMX-1813/PCIE-6922");
  EXPECT_EQ(joined({"TOBR-4180", "WMX-1280", "WMX-9243"}), "TOBR-4180/WMX-1280/WMX-9243");
}

TEST_F(FinalModel, FourCharactersAreLeftOutWhateverTheFamily) {
  EXPECT_EQ(joined({"TOBR-2542", "TOBR-9284"}), "TOBR-2542/-9284");
}

TEST_F(FinalModel, NamesOfFourCharactersAndLess) {
  EXPECT_EQ(joined({"WMX-", "WMX-8655"}), "WMX-/8655");
  EXPECT_EQ(joined({"WMX-8655", "WMX-"}), "WMX-8655/");
  EXPECT_EQ(joined({"WMX", "WMX-8655"}), "WMX/WMX-8655");
}

TEST_F(FinalModel, ConfirmedNamesThatFillTheirFieldsAreCutToTheModelField) {
  const std::string name = "WMX-" + std::string(251, 'x');
  EXPECT_EQ(joined({name, name, name}), name);
  EXPECT_EQ(joined({"WMX-1813", name}), "WMX-1813/" + std::string(246, 'x'));
}

TEST_F(FinalModel, APortWithoutAModelIgnoresConfirmedNames) {
  DeviceRecord& port = add_device("eth0", "Slot", kSlot);
  std::strcpy(port.module_names[0], "WMX-1813");
  port.module_name_count = 1;
  qorx_assign_final_model_name();
  EXPECT_STREQ(port.model, "ID not found");
}

TEST_F(FinalModel, ASlotTakesTheModelOfItsFirstPort) {
  SlotRecord& slot = add_slot("WMX Slot 1");
  std::strcpy(slot.model_name, "WMX-1813/2848/8655");
  std::strcpy(add_device("eth0", "WMX Slot 11", kSlot).model, "WMX-9605");
  std::strcpy(add_device("eth1", "WMX Slot 1", kSlot).model, "WMX-3493");
  std::strcpy(add_device("eth2", "WMX Slot 1", kSlot).model, "WMX-6997");
  qorx_assign_final_model_name();
  EXPECT_STREQ(slot.model_name, "WMX-3493");
}

TEST_F(FinalModel, ASlotTakesTheJoinedNames) {
  SlotRecord& slot = add_slot("Slot");
  EXPECT_EQ(joined({"WMX-1813", "WMX-8655"}), "WMX-1813/8655");
  EXPECT_STREQ(slot.model_name, "WMX-1813/8655");
}

TEST_F(FinalModel, EverySlotRecordOfTheNameTakesTheModel) {
  add_slot("LAN1", kOnboard);
  add_slot("LAN1", kSlot);
  add_device("eth0", "LAN1", kOnboard);
  qorx_assign_final_model_name();
  EXPECT_STREQ(qorx_smbios_t9_t41_mapping[0].model_name, "Onboard");
  EXPECT_STREQ(qorx_smbios_t9_t41_mapping[1].model_name, "Onboard");
}

TEST_F(FinalModel, ASlotWithoutAPortKeepsItsModel) {
  SlotRecord& slot = add_slot("WMX Slot 1");
  std::strcpy(slot.model_name, "WMX-7045");
  SlotRecord& empty = add_slot("WMX Slot 2");
  add_device("eth0", "wmx slot 1", kSlot);
  qorx_assign_final_model_name();
  EXPECT_STREQ(slot.model_name, "WMX-7045");
  EXPECT_STREQ(empty.model_name, "");
}

TEST_F(FinalModel, ASlotWithoutANameTakesNoModel) {
  SlotRecord& slot = add_slot("");
  std::strcpy(slot.model_name, "kept");
  add_device("eth0", "");
  qorx_assign_final_model_name();
  EXPECT_STREQ(slot.model_name, "kept");
}

TEST_F(FinalModel, AnEmptyMachineIsNoError) {
  EXPECT_EQ(qorx_assign_final_model_name(), 0);
}

TEST_F(FinalModel, TheTableShowsOnboardPortsAndUnknownCards) {
  FakeMachine machine;
  machine.smbios(test::SmbiosTable().onboard("LAN1", "04:00.0").slot("WMX Slot 1", "02:00.0"));
  machine.add_port("eth0", "0000:00:1b.0/0000:04:00.0");
  machine.add_port("eth1", "0000:00:1c.0/0000:02:00.0");
  machine.add_port("eth2", "0000:00:1d.0/0000:07:00.0");
  const std::string output = machine.run({"-a"}).output;
  EXPECT_EQ(test::row_of(output, "eth0").model, "Onboard");
  EXPECT_EQ(test::row_of(output, "eth1").model, "ID not found");
  EXPECT_EQ(test::row_of(output, "eth2").model, "ID not found");
}

TEST_F(FinalModel, TheTableShowsAUsbAdapterBehindAnOnboardControllerWithoutPlace) {
  FakeMachine machine;
  machine.smbios(test::SmbiosTable().onboard("USB", "00:14.0"));
  machine.add_usb_port("eth0", "0000:00:14.0/usb2/2-1/2-1:1.0", "bda/8153/3000");
  const ResultRow row = test::row_of(machine.run({"-a"}).output, "eth0");
  EXPECT_EQ(row.slot, "N/A");
  EXPECT_EQ(row.panel, "N/A");
  EXPECT_EQ(row.model, "ID not found");
}

}  // namespace
}  // namespace qorx
