// Which interfaces become records, in which order, and what the cards' ids make of them.
#include "discovery/interface_scan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "ident/supported_devices.h"
#include "records/virtual_names.h"
#include "tests/support/directory_order.h"
#include "tests/support/expect.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

const std::string kLimit = "Detect physical NIC ports are reaching max support number 512.\n";

// The names of the ports, in the order of their records.
Texts scan() {
  EXPECT_EQ(get_all_eth_devices_info(), 0);
  return texts_of(device_records(), &DeviceRecord::eth_name);
}

using InterfaceScan = MachineTest;

TEST_F(InterfaceScan, OnlyPhysicalPortsAreRecorded) {
  machine_.add_port("eth0", "0000:03:00.0")
      .add_virtual("eth0.100", "02:00:00:00:00:01")
      .add_virtual("br0", "02:00:00:00:00:01")
      .write("sys/class/net/bonding_masters", "bond0\n")
      .make_directory("sys/class/net/odd");
  EXPECT_EQ(scan(), Texts{"eth0"});
}

TEST_F(InterfaceScan, LoIsLeftOutByItsNameAlone) {
  machine_.remove("sys/class/net/lo");
  EXPECT_EQ(scan(), Texts{});
  machine_.add_port("lo", "0000:03:00.0").add_port("lo0", "0000:03:00.1").add_port("LO", "0000:03:00.2");
  EXPECT_EQ(scan(), (Texts{"lo0", "LO"}));
}

TEST_F(InterfaceScan, RecordsAreSortedByAddressThoseOfOneFunctionByName) {
  machine_.add_port("a", "0000:0a:00.0")
      .add_port("b", "0000:03:00.1")
      .add_port("c", "0000:03:00.0")
      .add_port("d", "0000:02:1f.7")
      .add_raw_interface("e", "../../devices/vif-0/net/e")
      .add_raw_interface("bmaster0", "../../devices/pci0000:00/0000:03:00.1/net/bmaster0")
      .add_raw_interface("ap1", "../../devices/pci0000:00/0000:03:00.1/net/ap1");
  EXPECT_EQ(scan(), (Texts{"d", "c", "ap1", "b", "bmaster0", "a", "e"}));
}

TEST_F(InterfaceScan, SortingBySlotNameComesAfterSortingByAddress) {
  machine_.add_port("a", "0000:0a:00.0").add_port("b", "0000:03:00.0").add_port("c", "0000:04:00.0");
  add_slot("Slot B", 9, 0x03, 0, 0);
  add_slot("Slot A", 9, 0x0A, 0, 0);
  add_slot("Slot C", 9, 0x04, 0, 0);
  g_sort_slotname = 1;
  EXPECT_EQ(scan(), (Texts{"a", "b", "c"}));
}

TEST_F(InterfaceScan, BusesAreNumberedInTheSortedOrder) {
  machine_.add_port("a", "0000:00:01.0/0000:06:00.0").add_port("b", "0000:00:01.0/0000:05:00.0");
  add_slot("Slot 1", 9, 0x00, 1, 0);
  EXPECT_EQ(scan(), (Texts{"b", "a"}));
  expect_port(device_records()[0], {.port_index = 0});
  expect_port(device_records()[1], {.port_index = 1});
}

// By address the ports of slot B, on buses 3 and 5, have one of slot A between them and each begins a slot; sorted by
// slot name they follow each other, and the second bus is their second.
TEST_F(InterfaceScan, BusesAreNumberedBehindTheSortingBySlotName) {
  machine_.add_port("a", "0000:03:00.0").add_port("b", "0000:04:00.0").add_port("c", "0000:05:00.0");
  add_slot("Slot B", 9, 0x03, 0, 0);
  add_slot("Slot A", 9, 0x04, 0, 0);
  add_slot("Slot B", 9, 0x05, 0, 0);
  for (const auto& [sorted, names, last] : {std::tuple{0, Texts{"a", "b", "c"}, 0}, {1, Texts{"b", "a", "c"}, 1}}) {
    qorx_system_environment_info.eth_device_number = 0;
    g_sort_slotname = sorted;
    EXPECT_EQ(scan(), names);
    expect_port(device_records()[2], {.slot_name = "Slot B", .port_index = last});
  }
}

TEST_F(InterfaceScan, TheFirst512PortsAreRecordedAndSorted) {
  for (int i = 0; i < 600; ++i) {
    char address[32];
    std::snprintf(address, sizeof address, "0000:%02x:%02x.%x", 1 + i / 256, i / 8 % 32, i % 8);
    machine_.add_port("port" + std::to_string(1000 + i), address);
  }
  Texts names;
  const std::string trace = traced_by([&] { names = scan(); });
  Texts first = entries_in_order(machine_.root() / "sys/class/net");
  std::erase(first, "lo");
  first.resize(512);
  std::sort(first.begin(), first.end());
  EXPECT_EQ(names, first);
  EXPECT_NE(trace.find(kLimit), std::string::npos);
  EXPECT_EQ(trace.find(kLimit), trace.rfind(kLimit));
  EXPECT_FALSE(g_virtual_names.are_known()) << "more of them may stand behind";
}

TEST_F(InterfaceScan, FiveHundredAndElevenPortsDoNotReachTheLimit) {
  for (int i = 0; i < 511; ++i) {
    machine_.add_raw_interface("p" + std::to_string(i), "../../devices/x/net/p" + std::to_string(i));
  }
  const std::string trace = traced_by([] { EXPECT_EQ(scan().size(), 511U); });
  EXPECT_EQ(trace.find("max support number"), std::string::npos);
  EXPECT_TRUE(g_virtual_names.are_known());
}

// The subsystem ids of a port at this function of 03:00, in a slot with a bypass descriptor.
struct Card {
  std::string_view rule;
  int vendor;
  int device;
  int fun;
  const char* model;
  int feature;
  int ctrl_flag;
  int bypass_type = 0;
  int bypass_bus = 0;
};

class ScannedCard : public RowTest<Card, MachineTest> {};

TEST_P(ScannedCard, HasModelFeatureAndControl) {
  const std::string address = "0000:03:00." + std::to_string(row().fun);
  const Ids ids{0x8086, 0x1521, static_cast<std::uint16_t>(row().vendor), static_cast<std::uint16_t>(row().device)};
  machine_.add_port("eth0", address, ids);
  add_slot("Slot 1 (B.3.2.255)", 9, 3, 0, 0);
  EXPECT_EQ(scan(), Texts{"eth0"});
  expect_port(device_records()[0], {.slot_name = "Slot 1 (B.3.2.255)",
                                    .model = row().model,
                                    .feature = row().feature,
                                    .bypass_ctrl_flag = row().ctrl_flag,
                                    .bypass_type = row().bypass_type,
                                    .bypass_bus = row().bypass_bus});
  EXPECT_EQ(Velmora_sub_id_number, 99U);
}

QORX_ROWS(ScannedCard, {"known ids give model and feature", 0x13FE, 0x2016, 0, "WMX-J34", 1, 0},
          {"unknown vendors give none", 0x8086, 0x2016, 0, "", 0, 0},
          {"unknown devices give none", 0x13FE, 0x0001, 0, "", 0, 0}, {"zeros give none", 0, 0, 0, "", 0, 0},
          {"the even port of a bypass pair carries the control", 0x13FE, 0x002A, 0, "WMX-3529", 2, 1},
          {"the odd one does not", 0x13FE, 0x002A, 1, "WMX-3529", 2, 0},
          {"the even port of the second pair does", 0x13FE, 0x002A, 2, "WMX-3529", 2, 1},
          {"the last port does not", 0x13FE, 0x002A, 7, "WMX-3529", 2, 0},
          {"no port of 302e does", 0x13FE, 0x302E, 0, "I210_CO", 2, 0},
          {"be it odd", 0x13FE, 0x302E, 1, "I210_CO", 2, 0}, {"its neighbour does", 0x13FE, 0x302B, 0, "I210_CO", 2, 1},
          {"the onboard E822 does", 0x13FE, 0x3037, 4, "E822_FI_CO", 2, 1},
          {"the other bypass kind carries no control", 0x13FE, 0x0038, 0, "WMX-1813", 4, 0},
          {"nor does no bypass", 0x13FE, 0x0037, 0, "WMX-2248", 8, 0},
          {"nor does ncsi", 0x13FE, 0x3016, 0, "I210_CO", 16, 0},
          {"nor does 1pps", 0x13FE, 0x3031, 0, "X710_FI", 32, 0}, {"nor do both", 0x13FE, 0x3030, 0, "X722_FI", 48, 0},
          {"the descriptor is read for even ports of i2c bypass cards", 0x13FE, 0x205D, 0, "WMX-44C0", 64, 1, 'B', 3},
          {"also of the second pair", 0x13FE, 0x205D, 2, "WMX-44C0", 64, 1, 'B', 3},
          {"not for odd ports", 0x13FE, 0x205D, 1, "WMX-44C0", 64, 0});

TEST_F(InterfaceScan, APortWithoutAnAddressIsOddLikeFunction255) {
  machine_.write("sys/devices/x/net/eth0/device/config", endpoint_config({0x8086, 0x1521, 0x13FE, 0x002A}));
  machine_.add_raw_interface("eth0", "../../devices/x/net/eth0");
  EXPECT_EQ(scan(), Texts{"eth0"});
  expect_port(device_records()[0], {.fun = 255, .feature = QORX_FEATURE_A_BYPASS, .bypass_ctrl_flag = 0});
}

// An interface of a device without PCI ids of its own.
void add_paravirtual(FakeMachine& machine, const std::string& name, const std::string& device, const char* mac) {
  machine.write("sys/" + device + "/uevent", "DRIVER=virtio_net\n")
      .write("sys/" + device + "/net/" + name + "/address", std::string(mac) + "\n")
      .make_link("../../../" + device.substr(device.rfind('/') + 1), "sys/" + device + "/net/" + name + "/device")
      .add_raw_interface(name, "../../" + device + "/net/" + name);
}

TEST_F(InterfaceScan, ParavirtualPortsHaveNoIds) {
  add_paravirtual(machine_, "eth0", "devices/pci0000:00/0000:00:03.0/virtio0", "52:54:00:12:34:56");
  add_paravirtual(machine_, "eth1", "devices/vif-0", "0a:00:00:00:00:01");
  EXPECT_EQ(scan(), (Texts{"eth0", "eth1"}));
  for (const DeviceRecord& record : device_records()) {
    expect_port(record, {.model = "", .vendor_id = 0x10000, .device_id = 0x10000});
    expect_port(record, {.subsys_vendor_id = 0x10000, .subsys_device_id = 0x10000});
  }
  expect_port(device_records()[0], {.dev = 3, .mac_addr = "52:54:00:12:34:56"});
  expect_port(device_records()[1], {.fun = 255, .mac_addr = "0a:00:00:00:00:01"});
}

TEST_F(InterfaceScan, ThePortsOfAnEarlierScanDoNotShineThrough) {
  machine_.add_port("eth0", "0000:03:00.0", {0x8086, 0x1521, 0x13FE, 0x002A});
  add_slot("Slot 1", 9, 3, 0, 0);
  EXPECT_EQ(scan(), Texts{"eth0"});
  clear_tables();
  machine_.remove("sys/class/net/eth0").add_usb_port("usb0", "0000:00:14.0/usb2/2-1/2-1:1.0", "bda/8153/3000");
  EXPECT_EQ(scan(), Texts{"usb0"});
  expect_port(device_records()[0], {.slot_name = "", .bypass_ctrl_flag = 0, .smbios_type = 0});
}

TEST_F(InterfaceScan, TheWalkIsAnnouncedInTheTraces) {
  machine_.remove("sys/class/net/lo");
  EXPECT_EQ(traced_by([] { EXPECT_EQ(get_all_eth_devices_info(), 0); }), "Get all eth device under /sys/class/net\n");
}

}  // namespace
}  // namespace qorx::test
