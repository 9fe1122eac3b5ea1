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

using Ports = std::vector<Port>;

Port onboard(const std::string& slot, const std::string& panel = "") {
  return {.slot = slot, .model = "I210_CO", .panel = panel, .type = QORX_SMBIOS_ONBOARD_DEVICE};
}

Ports of_models(const std::string& slot, const Texts& models) {
  Ports ports;
  for (const std::string& model : models) {
    ports.push_back({.slot = slot, .model = model});
  }
  return ports;
}

// The panel names that ports get.
Texts assigned(const Ports& ports) {
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
  Ports ports;
  Texts names;
};

class PanelNames : public RowTest<Assigned> {};

TEST_P(PanelNames, AreAssigned) {
  EXPECT_EQ(assigned(row().ports), row().names);
}

const std::string kLong(255, 'n');

QORX_ROWS(PanelNames, {"an empty table is fine", {}, {}},
          {"ports of a slot count from one and a new slot restarts", Ports{{"A"}, {"A"}, {"B"}, {"B"}, {"B"}, {"A"}},
           Texts{"1 (*)", "2 (*)", "1 (*)", "2 (*)", "3 (*)", "1 (*)"}},
          {"named ports are skipped without counting", Ports{{.panel = "Port X"}, {}, {.panel = "Port Y"}, {}},
           Texts{"Port X", "1 (*)", "Port Y", "2 (*)"}},
          {"a named port of another slot does not restart the counter", Ports{{}, {.slot = "B", .panel = "Port X"}, {}},
           Texts{"1 (*)", "Port X", "2 (*)"}},
          {"a port without a slot keeps an empty name and does not restart the counter",
           Ports{{}, {.slot = ""}, onboard(""), {}}, Texts{"1 (*)", "", "", "2 (*)"}},
          {"an onboard port gets its firmware name", Ports{onboard("LAN 1"), onboard("LAN 1", "MGMT")},
           Texts{"LAN 1 (*)", "MGMT"}},
          {"an onboard port does not restart the counter", Ports{{}, onboard("LAN 1"), {}, onboard("A"), {}},
           Texts{"1 (*)", "LAN 1 (*)", "2 (*)", "A (*)", "3 (*)"}},
          {"any other type counts like a slot", {{.type = 0}, {.type = 7}}, {"1 (*)", "2 (*)"}},
          {"a WMX-9556 counts down from four and wraps below zero", of_models("A", Texts(6, "WMX-9556")),
           Texts{"4 (*)", "3 (*)", "2 (*)", "1 (*)", "0 (*)", "ff (*)"}},
          {"a list with that model counts up", of_models("A", Texts(2, "WMX-9556/2248")), {"1 (*)", "2 (*)"}},
          {"that model in small letters counts up", of_models("A", Texts(2, "wmx-9556")), {"1 (*)", "2 (*)"}},
          {"a shorter model counts up", of_models("A", Texts(2, "WMX-955")), {"1 (*)", "2 (*)"}},
          {"a longer model counts up", of_models("A", Texts(2, "WMX-95566")), {"1 (*)", "2 (*)"}},
          // The start is chosen by the slot's first unnamed port, the direction by every port for itself.
          {"a mixed slot that begins with that model starts at four",
           of_models("A", {"WMX-9556", "WMX-2248", "WMX-2248", "WMX-9556", "WMX-9556"}),
           Texts{"4 (*)", "3 (*)", "4 (*)", "5 (*)", "4 (*)"}},
          {"a mixed slot that begins with another model starts at one",
           of_models("B", {"WMX-2248", "WMX-9556", "WMX-9556"}), Texts{"1 (*)", "2 (*)", "1 (*)"}},
          {"a long onboard name is cut to its field", Ports{onboard(kLong), onboard(kLong.substr(0, 253))},
           Texts{kLong, kLong.substr(0, 253) + " ("}});

using PanelCounter = LibraryTest;

TEST_F(PanelCounter, IsAHexadecimalByteThatWraps) {
  const Texts names = assigned(Ports(257));
  for (std::size_t i = 0; i < names.size(); ++i) {
    char expected[8];
    format_text(expected, sizeof expected, "%x (*)", static_cast<unsigned>(i + 1) % 256);
    EXPECT_EQ(names[i], expected);
  }
}

TEST_F(PanelCounter, StartsAnewWithEveryRun) {
  assigned({{}});
  qorx_eth_device_mapping[0].panel_name[0] = '\0';
  EXPECT_EQ(assigned({}), Texts{"1 (*)"});
}

}  // namespace
}  // namespace qorx::test
