#include "config/stages.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/bounded_text.h"
#include "records/state.h"
#include "tests/support/library.h"

namespace qorx {
namespace {

class PanelNames : public testing::Test {
 protected:
  void SetUp() override { test::reset_library(); }
  void TearDown() override { test::reset_library(); }

  static void add_port(std::string_view slot_name, std::string_view model = "WMX-2248", std::string_view panel = "",
                       int type = QORX_SMBIOS_SYSTEM_SLOT) {
    DeviceRecord& record = test::add_device("eth", slot_name, type);
    copy_text(record.model, model);
    copy_text(record.panel_name, panel);
  }

  static std::vector<std::string> assigned() {
    EXPECT_EQ(test::traced_by([] { EXPECT_EQ(qorx_assign_final_panel_name(), 0); }), "");
    std::vector<std::string> names;
    for (const DeviceRecord& record : device_records()) {
      names.emplace_back(record.panel_name);
    }
    return names;
  }

  using Names = std::vector<std::string>;
};

TEST_F(PanelNames, AnEmptyTableIsFine) {
  EXPECT_EQ(assigned(), Names{});
}

TEST_F(PanelNames, PortsOfASlotCountFromOneAndANewSlotRestarts) {
  for (const char* const slot : {"A", "A", "B", "B", "B", "A"}) {
    add_port(slot);
  }
  EXPECT_EQ(assigned(), (Names{"1 (*)", "2 (*)", "1 (*)", "2 (*)", "3 (*)", "1 (*)"}));
}

TEST_F(PanelNames, ASlotWithSixteenPortsCountsInHexadecimal) {
  for (int i = 0; i < 17; ++i) {
    add_port("A");
  }
  const Names names = assigned();
  EXPECT_EQ(names[8], "9 (*)");
  EXPECT_EQ(names[9], "a (*)");
  EXPECT_EQ(names[14], "f (*)");
  EXPECT_EQ(names[15], "10 (*)");
  EXPECT_EQ(names[16], "11 (*)");
}

TEST_F(PanelNames, TheCounterIsAByteAndWraps) {
  for (int i = 0; i < 257; ++i) {
    add_port("A");
  }
  const Names names = assigned();
  EXPECT_EQ(names[254], "ff (*)");
  EXPECT_EQ(names[255], "0 (*)");
  EXPECT_EQ(names[256], "1 (*)");
}

TEST_F(PanelNames, NamedPortsAreSkippedWithoutCounting) {
  add_port("A", "WMX-2248", "Port X");
  add_port("A");
  add_port("A", "WMX-2248", "Port Y");
  add_port("A");
  EXPECT_EQ(assigned(), (Names{"Port X", "1 (*)", "Port Y", "2 (*)"}));
}

TEST_F(PanelNames, ANamedPortOfAnotherSlotDoesNotRestartTheCounter) {
  add_port("A");
  add_port("B", "WMX-2248", "Port X");
  add_port("A");
  EXPECT_EQ(assigned(), (Names{"1 (*)", "Port X", "2 (*)"}));
}

TEST_F(PanelNames, APortWithoutASlotKeepsAnEmptyNameAndDoesNotRestartTheCounter) {
  add_port("A");
  add_port("");
  add_port("", "WMX-2248", "", QORX_SMBIOS_ONBOARD_DEVICE);
  add_port("A");
  EXPECT_EQ(assigned(), (Names{"1 (*)", "", "", "2 (*)"}));
}

TEST_F(PanelNames, AnOnboardPortGetsItsFirmwareName) {
  add_port("LAN 1", "I210_CO", "", QORX_SMBIOS_ONBOARD_DEVICE);
  add_port("LAN 1", "I210_CO", "MGMT", QORX_SMBIOS_ONBOARD_DEVICE);
  EXPECT_EQ(assigned(), (Names{"LAN 1 (*)", "MGMT"}));
}

TEST_F(PanelNames, AnOnboardPortDoesNotRestartTheCounter) {
  add_port("A");
  add_port("LAN 1", "I210_CO", "", QORX_SMBIOS_ONBOARD_DEVICE);
  add_port("A");
  add_port("A", "I210_CO", "", QORX_SMBIOS_ONBOARD_DEVICE);
  add_port("A");
  EXPECT_EQ(assigned(), (Names{"1 (*)", "LAN 1 (*)", "2 (*)", "A (*)", "3 (*)"}));
}

TEST_F(PanelNames, AnyOtherTypeCountsLikeASlot) {
  add_port("A", "WMX-2248", "", 0);
  add_port("A", "WMX-2248", "", 7);
  EXPECT_EQ(assigned(), (Names{"1 (*)", "2 (*)"}));
}

TEST_F(PanelNames, A9556CountsDownFromFourAndWrapsBelowZero) {
  for (int i = 0; i < 6; ++i) {
    add_port("A", "WMX-9556");
  }
  EXPECT_EQ(assigned(), (Names{"4 (*)", "3 (*)", "2 (*)", "1 (*)", "0 (*)", "ff (*)"}));
}

TEST_F(PanelNames, OnlyExactlyThatModelCountsDown) {
  for (const char* const model : {"WMX-9556/2248", "wmx-9556", "WMX-955", "WMX-95566"}) {
    add_port(model, model);
    add_port(model, model);
  }
  EXPECT_EQ(assigned(), (Names{"1 (*)", "2 (*)", "1 (*)", "2 (*)", "1 (*)", "2 (*)", "1 (*)", "2 (*)"}));
}

// The start is chosen by the slot's first unnamed port, the direction by every port for itself.
TEST_F(PanelNames, AMixedSlotMixesDirections) {
  for (const char* const model : {"WMX-9556", "WMX-2248", "WMX-2248", "WMX-9556", "WMX-9556"}) {
    add_port("A", model);
  }
  for (const char* const model : {"WMX-2248", "WMX-9556", "WMX-9556"}) {
    add_port("B", model);
  }
  EXPECT_EQ(assigned(), (Names{"4 (*)", "3 (*)", "4 (*)", "5 (*)", "4 (*)", "1 (*)", "2 (*)", "1 (*)"}));
}

TEST_F(PanelNames, ALongOnboardNameIsCutToItsField) {
  const std::string name(255, 'n');
  add_port(name, "I210_CO", "", QORX_SMBIOS_ONBOARD_DEVICE);
  add_port(name.substr(0, 253), "I210_CO", "", QORX_SMBIOS_ONBOARD_DEVICE);
  EXPECT_EQ(assigned(), (Names{name, name.substr(0, 253) + " ("}));
}

TEST_F(PanelNames, EveryRunStartsAnew) {
  add_port("A");
  assigned();
  qorx_eth_device_mapping[0].panel_name[0] = '\0';
  EXPECT_EQ(assigned(), Names{"1 (*)"});
}

}  // namespace
}  // namespace qorx
