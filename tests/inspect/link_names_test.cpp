#include "inspect/link_names.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>

#include "base/bounded_text.h"

namespace qorx::inspect {
namespace {

// Ports as the library would describe them, one after the other.
class SomePorts {
 public:
  Port& add(const std::string& name, const std::string& slot, const std::string& panel, const std::string& path) {
    DeviceRecord& record = records_.emplace_back();
    copy_text(record.net_path, path);
    Port& port = machine.ports.emplace_back();
    port.record = &record;
    port.name = name;
    port.place = Place::kSystemSlot;
    if (!slot.empty()) {
      port.slot = slot;
    }
    if (!panel.empty()) {
      port.panel = panel;
    }
    return port;
  }

  Machine machine;

 private:
  std::deque<DeviceRecord> records_;
};

std::string name_of(Place place, const std::string& slot, const std::string& panel, bool is_default = false) {
  SomePorts ports;
  Port& port = ports.add("eth0", slot, panel, "");
  port.place = place;
  port.panel_is_default = is_default;
  return place_name(port);
}

TEST(PlaceName, IsSlotAndPort) {
  EXPECT_EQ(name_of(Place::kSystemSlot, "WMX Slot 1", "3"), "wmx1p3");
  EXPECT_EQ(name_of(Place::kSystemSlot, "WMX Slot 1 (H.1.2.255)", "3"), "wmx1p3") << "without the descriptor";
  EXPECT_EQ(name_of(Place::kSystemSlot, "PCIE SLOT 12", "1"), "pcie12p1");
  EXPECT_EQ(name_of(Place::kSystemSlot, "Mini PCIe", "1"), "minipciep1");
  EXPECT_EQ(name_of(Place::kSystemSlot, "Slot 3", "1"), "slot3p1");
  EXPECT_EQ(name_of(Place::kSystemSlot, "SLOT3", "1"), "slot3p1");
  EXPECT_EQ(name_of(Place::kSystemSlot, "Slot 1 2", "1"), "slot1-2p1") << "12 would be another slot";
}

TEST(PlaceName, HasTheLabelThatTheUserGave) {
  EXPECT_EQ(name_of(Place::kSystemSlot, "WMX Slot 4", "4-A"), "wmx4p4a");
  EXPECT_EQ(name_of(Place::kSystemSlot, "WMX Slot 4", "Port 7"), "wmx4-port7");
  EXPECT_EQ(name_of(Place::kSystemSlot, "WMX Slot 4", "1.1"), "wmx4p1-1");
  EXPECT_EQ(name_of(Place::kSystemSlot, "WMX Slot 4", "A"), "wmx4-a");
  EXPECT_EQ(name_of(Place::kSystemSlot, "WMX Slot 4", "a", true), "wmx4pa") << "the tenth port of the slot";
  EXPECT_EQ(name_of(Place::kSystemSlot, "WMX Slot 5", ""), "wmx5") << "a module whose one port has no label";
}

TEST(PlaceName, OfAnOnboardPortIsItsLabel) {
  EXPECT_EQ(name_of(Place::kOnboard, "LAN4", "LAN4", true), "lan4");
  EXPECT_EQ(name_of(Place::kOnboard, "LAN5 (B.3.2.255.1)", "LAN5 (B.3.2.255.1)", true), "lan5");
  EXPECT_EQ(name_of(Place::kOnboard, "LAN2", "MGMT"), "mgmt");
  EXPECT_EQ(name_of(Place::kOnboard, "LAN2", "2"), "p2") << "a name may not be a number";
}

TEST(PlaceName, LeavesOutWhatCannotStandInAName) {
  EXPECT_EQ(name_of(Place::kOnboard, "x", "L\xC3\x84N/\x01 4"), "ln4");
  EXPECT_EQ(name_of(Place::kOnboard, "x", "\xC3\x84"), "");
}

TEST(UdevPath, IsTheLastPciFunction) {
  EXPECT_EQ(udev_path("../../devices/pci0000:00/0000:00:1c.0/0000:03:00.1"), "pci-0000:03:00.1");
  EXPECT_EQ(udev_path("../../devices/pci10000:00/10000:e1:00.0"), "pci-10000:e1:00.0") << "another domain";
  EXPECT_EQ(udev_path("../../devices/pci0000:00/0000:00:03.0/virtio0"), "pci-0000:00:03.0");
  EXPECT_EQ(udev_path("../../devices/platform/soc/ethernet"), "");
  EXPECT_EQ(udev_path(""), "");
}

TEST(UdevPath, GoesOnWithTheUsbPort) {
  EXPECT_EQ(udev_path("../../devices/pci0000:00/0000:10:00.0/usb3/3-1/3-1:1.0"), "pci-0000:10:00.0-usb-0:1:1.0");
  EXPECT_EQ(udev_path("../../devices/pci0000:00/0000:00:14.0/usb2/2-1/2-1.4/2-1.4:2.1"),
            "pci-0000:00:14.0-usb-0:1.4:2.1");
}

TEST(NamePorts, LeavesOutAllThatShareANameOrAPath) {
  SomePorts ports;
  ports.add("eth0", "WMX Slot 1", "1", "/0000:01:00.0");
  ports.add("eth1", "WMX-Slot 1", "1", "/0000:02:00.0");
  ports.add("eth2", "WMX Slot 3", "1", "/0000:03:00.0");
  ports.add("eth3", "WMX Slot 3", "2", "/0000:03:00.0");
  ports.add("eth4", "WMX Slot 4", "1", "/0000:04:00.0");
  const auto named = name_ports(ports.machine, NameKind::kAlternative);
  EXPECT_EQ(named[0].reason, "several ports would be called wmx1p1");
  EXPECT_EQ(named[1].reason, "several ports would be called wmx1p1");
  EXPECT_EQ(named[2].reason, "several ports share the path pci-0000:03:00.0");
  EXPECT_EQ(named[3].reason, "several ports share the path pci-0000:03:00.0");
  EXPECT_EQ(named[4].reason, "");
  EXPECT_EQ(named[4].name, "wmx4p1");
}

TEST(NamePorts, NeverTakesANameOfTheKernelOrOfAnotherInterface) {
  SomePorts ports;
  ports.add("eth0", "ETH1", "ETH1", "/0000:01:00.0").place = Place::kOnboard;
  ports.add("eth9", "LAN", "LAN", "/0000:02:00.0").place = Place::kOnboard;
  ports.add("lan4", "LAN3", "LAN3", "/0000:03:00.0").place = Place::kOnboard;
  ports.add("eth4", "LAN4", "LAN4", "/0000:04:00.0").place = Place::kOnboard;
  ports.add("lan5", "LAN5", "LAN5", "/0000:05:00.0").place = Place::kOnboard;
  ports.add("eth6", "ETH1A", "ETH1A", "/0000:06:00.0").place = Place::kOnboard;
  ports.machine.virtual_interfaces.push_back({"lan", {}});
  const auto named = name_ports(ports.machine, NameKind::kAlternative);
  EXPECT_EQ(named[0].reason, "the kernel itself gives names such as eth1");
  EXPECT_EQ(named[1].reason, "another interface is called lan");
  EXPECT_EQ(named[2].reason, "");
  EXPECT_EQ(named[3].reason, "another interface is called lan4");
  EXPECT_EQ(named[4].reason, "") << "its own name";
  EXPECT_EQ(named[5].reason, "") << "more than a number behind the kernel's word";
}

TEST(NamePorts, ANameHasARoom) {
  SomePorts ports;
  ports.add("eth0", "WMX Slot 1", std::string(124, '1'), "/0000:01:00.0");
  ports.add("eth1", "WMX Slot 2", std::string(10, '1'), "/0000:02:00.0");
  ports.add("eth2", "WMX Slot 3", std::string(11, '1'), "/0000:03:00.0");
  const auto alternative = name_ports(ports.machine, NameKind::kAlternative);
  EXPECT_EQ(alternative[0].reason, "the name wmx1p" + std::string(124, '1') + " is longer than 127 bytes");
  EXPECT_EQ(alternative[2].reason, "");
  const auto primary = name_ports(ports.machine, NameKind::kPrimary);
  EXPECT_EQ(primary[1].reason, "");
  EXPECT_EQ(primary[1].name.size(), 15U);
  EXPECT_EQ(primary[2].reason, "the name wmx3p11111111111 is longer than 15 bytes");
}

TEST(NamePorts, LeavesOutWhatHasNoPlace) {
  SomePorts ports;
  ports.add("eth0", "", "", "/0000:01:00.0");
  ports.add("eth1", "WMX Slot 1", "1", "/platform/x");
  ports.add("eth2", "WMX Slot 2", "@[", "/0000:02:00.0");
  const auto named = name_ports(ports.machine, NameKind::kAlternative);
  EXPECT_EQ(named[0].reason, "it has no slot");
  EXPECT_EQ(named[1].reason, "it is not on a PCI bus");
  EXPECT_EQ(named[2].reason, "nothing in its panel name can stand in a name");
}

}  // namespace
}  // namespace qorx::inspect
