#include "ident/final_model.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/bounded_text.h"
#include "tests/support/expect.h"
#include "tests/support/result_rows.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

constexpr int kSlot = 9;
constexpr int kOnboard = 41;

struct Joining {
  std::string_view rule;
  std::vector<std::string> names;  // that the module name file has confirmed
  std::string model;
};

class ConfirmedNames : public RowTest<Joining> {};

TEST_P(ConfirmedNames, AreJoined) {
  const SlotRecord& slot = add_slot("S");
  const PortFields fields{
      .slot_name = "S", .model = "WMX-1813/2848/8655", .smbios_type = kSlot, .module_names = row().names};
  const DeviceRecord& port = add_port(fields);
  EXPECT_EQ(qorx_assign_final_model_name(), 0);
  EXPECT_EQ(port.model, row().model);
  EXPECT_EQ(slot.model_name, row().model);
}

const std::string kLongName = "WMX-" + std::string(251, 'x');

QORX_ROWS(ConfirmedNames, {"without confirmed names the model stays", {}, "WMX-1813/2848/8655"},
          {"one name replaces the list of candidates", {"WMX-2848"}, "WMX-2848"},
          {"two names of the family are joined by their numbers", {"WMX-1813", "WMX-8655"}, "WMX-1813/8655"},
          {"three names are joined", {"WMX-1813", "WMX-2848", "WMX-8655"}, "WMX-1813/2848/8655"},
          {"a name of another family is joined whole", {"WMX-1813", "PCIE-6922"}, "WMX-1813/PCIE-6922"},
          {"so are those behind one of another family",
           {"TOBR-4180", "WMX-1280", "WMX-9243"},
           "TOBR-4180/WMX-1280/WMX-9243"},
          {"four characters are left out whatever the family", {"TOBR-2542", "TOBR-9284"}, "TOBR-2542/-9284"},
          {"a first name of four characters", {"WMX-", "WMX-8655"}, "WMX-/8655"},
          {"a second name of four characters", {"WMX-8655", "WMX-"}, "WMX-8655/"},
          {"a first name of three characters", {"WMX", "WMX-8655"}, "WMX/WMX-8655"},
          {"a name that fills the model field stands alone", {kLongName, kLongName, kLongName}, kLongName},
          {"what is joined is cut to the model field", {"WMX-1813", kLongName}, "WMX-1813/" + std::string(246, 'x')});

struct Port {
  std::string_view rule;
  int smbios_type;
  const char* usb;
  const char* model;
  Texts confirmed;  // by the module name file
  PortFields expected;
};

class FinalPort : public RowTest<Port> {};

TEST_P(FinalPort, IsNamed) {
  DeviceRecord& port = add_port({.slot_name = "Slot 1", .panel_name = "Port 1", .model = row().model});
  set_port(port, {.smbios_type = row().smbios_type, .usb = row().usb, .module_names = row().confirmed});
  EXPECT_EQ(qorx_assign_final_model_name(), 0);
  expect_port(port, row().expected);
}

PortFields placed(std::string_view model) {
  return {.slot_name = "Slot 1", .panel_name = "Port 1", .model = model};
}

const PortFields kNowhere{.slot_name = "N/A", .panel_name = "N/A", .model = "ID not found"};

QORX_ROWS(FinalPort, {"an unknown port with an onboard record is onboard", kOnboard, "", "", {}, placed("Onboard")},
          {"an unknown port in a slot is not found", kSlot, "", "", {}, placed("ID not found")},
          {"an unknown port without a record is not found", 0, "", "", {}, placed("ID not found")},
          {"an unknown usb port loses its place", 0, "usb", "", {}, kNowhere},
          {"an unknown usb port loses its place in a slot", kSlot, "usb", "", {}, kNowhere},
          {"an unknown usb port loses its onboard place", kOnboard, "usb", "", {}, kNowhere},
          {"a usb port with a model keeps its place", kSlot, "usb", "WMX-LH53", {}, placed("WMX-LH53")},
          {"a port without a model ignores confirmed names", kSlot, "", "", {"WMX-1813"}, placed("ID not found")});

using FinalModel = LibraryTest;

TEST_F(FinalModel, ASlotTakesTheModelOfItsFirstPort) {
  const SlotRecord& slot = add_slot("WMX Slot 1");
  copy_text(qorx_smbios_t9_t41_mapping[0].model_name, "WMX-1813/2848/8655");
  add_port({.slot_name = "WMX Slot 11", .model = "WMX-9605"});
  add_port({.slot_name = "WMX Slot 1", .model = "WMX-3493"});
  add_port({.slot_name = "WMX Slot 1", .model = "WMX-6997"});
  qorx_assign_final_model_name();
  EXPECT_STREQ(slot.model_name, "WMX-3493");
}

TEST_F(FinalModel, EverySlotRecordOfTheNameTakesTheModel) {
  add_slot("LAN1", kOnboard);
  add_slot("LAN1", kSlot);
  add_device("eth0", "LAN1", kOnboard);
  qorx_assign_final_model_name();
  EXPECT_EQ(texts_of(slot_records(), &SlotRecord::model_name), (Texts{"Onboard", "Onboard"}));
}

TEST_F(FinalModel, ASlotWithoutAPortOrANameKeepsItsModel) {
  for (const char* const name : {"WMX Slot 1", "WMX Slot 2", ""}) {
    copy_text(add_slot(name).model_name, *name == '\0' ? "kept" : name);
  }
  add_device("eth0", "wmx slot 1", kSlot);
  add_device("eth1", "");
  EXPECT_EQ(qorx_assign_final_model_name(), 0);
  EXPECT_EQ(texts_of(slot_records(), &SlotRecord::model_name), (Texts{"WMX Slot 1", "WMX Slot 2", "kept"}));
}

TEST_F(FinalModel, AnEmptyMachineIsNoError) {
  EXPECT_EQ(qorx_assign_final_model_name(), 0);
}

// Three ports that no list knows: onboard, in a slot, without a record; and an adapter behind an onboard controller.
TEST_F(FinalModel, TheTableShowsThem) {
  FakeMachine machine;
  machine.smbios(SmbiosTable().onboard("LAN1", "04:00.0").slot("WMX Slot 1", "02:00.0").onboard("USB", "09:00.0"));
  machine.add_port("eth0", "0000:00:1b.0/0000:04:00.0")
      .add_port("eth1", "0000:00:1c.0/0000:02:00.0")
      .add_port("eth2", "0000:00:1d.0/0000:07:00.0")
      .add_usb_port("usb0", "0000:00:1e.0/0000:09:00.0/usb2/2-1/2-1:1.0", "bda/8153/3000");
  const std::string output = machine.run({"-a"}).output;
  EXPECT_EQ(row_of(output, "eth0"), "LAN1 | LAN1 (*) | Need cfg | Onboard");
  EXPECT_EQ(row_of(output, "eth1"), "WMX Slot 1 | 1 (*) | unknown | ID not found");
  EXPECT_EQ(row_of(output, "eth2"), "(!!) | N/A | unknown | ID not found");
  EXPECT_EQ(row_of(output, "usb0"), "N/A | N/A | unknown | ID not found");
}

}  // namespace
}  // namespace qorx::test
