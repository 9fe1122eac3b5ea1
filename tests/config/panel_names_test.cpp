#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/bounded_text.h"
#include "config/stages.h"
#include "records/state.h"
#include "tests/support/expect.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

struct Port {
  std::string slot = "A";
  std::string model = "WMX-2248";
  std::string panel = "";
  int type = QORX_SMBIOS_SYSTEM_SLOT;
};

Port onboard(const std::string& slot, const std::string& panel = "") {
  return {.slot = slot, .model = "I210_CO", .panel = panel, .type = QORX_SMBIOS_ONBOARD_DEVICE};
}

std::vector<Port> of_models(const std::string& slot, const Texts& models) {
  std::vector<Port> ports;
  for (const std::string& model : models) {
    ports.push_back({.slot = slot, .model = model});
  }
  return ports;
}

// The panel names that ports get.
Texts assigned(const std::vector<Port>& ports) {
  for (const Port& port : ports) {
    DeviceRecord& record = add_device("eth", port.slot, port.type);
    copy_text(record.model, port.model);
    copy_text(record.panel_name, port.panel);
  }
  EXPECT_EQ(traced_by([] { EXPECT_EQ(qorx_assign_final_panel_name(), 0); }), "");
  return texts_of(device_records(), &DeviceRecord::panel_name);
}

struct Assigned {
  std::string_view rule;
  std::vector<Port> ports;
  Texts names;
};

class PanelNames : public RowTest<Assigned> {};

TEST_P(PanelNames, AreAssigned) {
  EXPECT_EQ(assigned(row().ports), row().names);
}

const std::string kLong(255, 'n');

QORX_ROWS(PanelNames, {"an empty table is fine", {}, {}},
          {"ports of a slot count from one and a new slot restarts",
           {{"A"}, {"A"}, {"B"}, {"B"}, {"B"}, {"A"}},
           {"1 (*)", "2 (*)", "1 (*)", "2 (*)", "3 (*)", "1 (*)"}},
          {"named ports are skipped without counting",
           {{.panel = "Port X"}, {}, {.panel = "Port Y"}, {}},
           {"Port X", "1 (*)", "Port Y", "2 (*)"}},
          {"a named port of another slot does not restart the counter",
           {{}, {.slot = "B", .panel = "Port X"}, {}},
           {"1 (*)", "Port X", "2 (*)"}},
          {"a port without a slot keeps an empty name and does not restart the counter",
           {{}, {.slot = ""}, onboard(""), {}},
           {"1 (*)", "", "", "2 (*)"}},
          {"an onboard port gets its firmware name",
           {onboard("LAN 1"), onboard("LAN 1", "MGMT")},
           {"LAN 1 (*)", "MGMT"}},
          {"an onboard port does not restart the counter",
           {{}, onboard("LAN 1"), {}, onboard("A"), {}},
           {"1 (*)", "LAN 1 (*)", "2 (*)", "A (*)", "3 (*)"}},
          {"any other type counts like a slot", {{.type = 0}, {.type = 7}}, {"1 (*)", "2 (*)"}},
          {"a WMX-9556 counts down from four and wraps below zero",
           of_models("A", Texts(6, "WMX-9556")),
           {"4 (*)", "3 (*)", "2 (*)", "1 (*)", "0 (*)", "ff (*)"}},
          {"a list with that model counts up", of_models("A", Texts(2, "WMX-9556/2248")), {"1 (*)", "2 (*)"}},
          {"that model in small letters counts up", of_models("A", Texts(2, "wmx-9556")), {"1 (*)", "2 (*)"}},
          {"a shorter model counts up", of_models("A", Texts(2, "WMX-955")), {"1 (*)", "2 (*)"}},
          {"a longer model counts up", of_models("A", Texts(2, "WMX-95566")), {"1 (*)", "2 (*)"}},
          // The start is chosen by the slot's first unnamed port, the direction by every port for itself.
          {"a mixed slot that begins with that model starts at four",
           of_models("A", {"WMX-9556", "WMX-2248", "WMX-2248", "WMX-9556", "WMX-9556"}),
           {"4 (*)", "3 (*)", "4 (*)", "5 (*)", "4 (*)"}},
          {"a mixed slot that begins with another model starts at one",
           of_models("B", {"WMX-2248", "WMX-9556", "WMX-9556"}),
           {"1 (*)", "2 (*)", "1 (*)"}},
          {"a long onboard name is cut to its field",
           {onboard(kLong), onboard(kLong.substr(0, 253))},
           {kLong, kLong.substr(0, 253) + " ("}});

using PanelCounter = LibraryTest;

TEST_F(PanelCounter, IsAHexadecimalByteThatWraps) {
  const Texts names = assigned(std::vector<Port>(257));
  EXPECT_EQ(names[8], "9 (*)");
  EXPECT_EQ(names[9], "a (*)");
  EXPECT_EQ(names[14], "f (*)");
  EXPECT_EQ(names[15], "10 (*)");
  EXPECT_EQ(names[254], "ff (*)");
  EXPECT_EQ(names[255], "0 (*)");
  EXPECT_EQ(names[256], "1 (*)");
}

TEST_F(PanelCounter, StartsAnewWithEveryRun) {
  assigned({{}});
  qorx_eth_device_mapping[0].panel_name[0] = '\0';
  EXPECT_EQ(assigned({}), Texts{"1 (*)"});
}

}  // namespace
}  // namespace qorx::test
