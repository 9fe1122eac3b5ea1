// Which interfaces become records, in which order, and what the cards' ids make of them.
#include "discovery/interface_scan.h"

#include <dirent.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ident/supported_devices.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

using Names = std::vector<std::string>;

class InterfaceScan : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  static Names scan() {
    EXPECT_EQ(get_all_eth_devices_info(), 0);
    Names names;
    for (const DeviceRecord& record : device_records()) {
      names.emplace_back(record.eth_name);
    }
    return names;
  }

  // Scans a machine whose only port has these subsystem ids.
  DeviceRecord scan_card(std::uint16_t subsys_vendor, std::uint16_t subsys_device, int fun = 0) {
    machine_.remove("sys/class/net/eth0").remove("sys/devices/pci0000:00/0000:03:00." + std::to_string(fun));
    machine_.add_port("eth0", "0000:03:00." + std::to_string(fun), {0x8086, 0x1521, subsys_vendor, subsys_device});
    qorx_system_environment_info.eth_device_number = 0;
    EXPECT_EQ(scan(), Names{"eth0"});
    return qorx_eth_device_mapping[0];
  }

  FakeMachine machine_;
};

TEST_F(InterfaceScan, OnlyPhysicalPortsAreRecorded) {
  machine_.add_port("eth0", "0000:03:00.0")
      .add_virtual("eth0.100", "02:00:00:00:00:01")
      .add_virtual("br0", "02:00:00:00:00:01")
      .write("sys/class/net/bonding_masters", "bond0\n")
      .make_directory("sys/class/net/odd");
  EXPECT_EQ(scan(), Names{"eth0"});
}

TEST_F(InterfaceScan, LoIsLeftOutByItsNameAlone) {
  machine_.remove("sys/class/net/lo");
  machine_.add_port("lo", "0000:03:00.0").add_port("lo0", "0000:03:00.1").add_port("LO", "0000:03:00.2");
  EXPECT_EQ(scan(), (Names{"lo0", "LO"}));
}

TEST_F(InterfaceScan, AMachineWithoutPortsIsFine) {
  EXPECT_EQ(scan(), Names{});
  machine_.remove("sys/class/net/lo");
  EXPECT_EQ(scan(), Names{});
}

TEST_F(InterfaceScan, RecordsAreSortedByAddress) {
  machine_.add_port("a", "0000:0a:00.0")
      .add_port("b", "0000:03:00.1")
      .add_port("c", "0000:03:00.0")
      .add_port("d", "0000:02:1f.7")
      .add_raw_interface("e", "../../devices/vif-0/net/e");
  EXPECT_EQ(scan(), (Names{"d", "c", "b", "a", "e"}));
}

TEST_F(InterfaceScan, TwoInterfacesOnOneFunctionAreSortedByName) {
  machine_.add_port("wlan0", "0000:03:00.0");
  machine_.add_raw_interface("wmaster0", "../../devices/pci0000:00/0000:03:00.0/net/wmaster0");
  machine_.add_raw_interface("port1", "../../devices/pci0000:00/0000:03:00.0/net/port1");
  EXPECT_EQ(scan(), (Names{"port1", "wlan0", "wmaster0"}));
}

TEST_F(InterfaceScan, SortingBySlotNameComesAfterSortingByAddress) {
  machine_.add_port("a", "0000:0a:00.0").add_port("b", "0000:03:00.0").add_port("c", "0000:04:00.0");
  add_slot("Slot B", 9, 0x03, 0, 0);
  add_slot("Slot A", 9, 0x0A, 0, 0);
  add_slot("Slot C", 9, 0x04, 0, 0);
  g_sort_slotname = 1;
  EXPECT_EQ(scan(), (Names{"a", "b", "c"}));
}

TEST_F(InterfaceScan, BusesAreNumberedInTheSortedOrder) {
  machine_.add_port("a", "0000:00:01.0/0000:06:00.0").add_port("b", "0000:00:01.0/0000:05:00.0");
  add_slot("Slot 1", 9, 0x00, 1, 0);
  EXPECT_EQ(scan(), (Names{"b", "a"}));
  EXPECT_EQ(qorx_eth_device_mapping[0].port_index, 0);
  EXPECT_EQ(qorx_eth_device_mapping[1].port_index, 1);
}

TEST_F(InterfaceScan, TheFirst512PortsAreRecorded) {
  Names all;
  for (int i = 0; i < 600; ++i) {
    char address[32];
    std::snprintf(address, sizeof address, "0000:%02x:%02x.%x", 1 + i / 256, i / 8 % 32, i % 8);
    all.push_back("port" + std::to_string(i));
    machine_.add_port(all.back(), address);
  }
  Names names;
  const std::string trace = traced_by([&] { names = scan(); });
  ASSERT_EQ(names.size(), 512U);
  EXPECT_EQ(qorx_system_environment_info.eth_device_number, 512U);
  const std::string limit = "Detect physical NIC ports are reaching max support number 512.\n";
  EXPECT_NE(trace.find(limit), std::string::npos);
  EXPECT_EQ(trace.find(limit), trace.rfind(limit));
  // All of them different, sorted, and the first ones that the directory lists.
  const auto number = [](const std::string& name) { return std::stoi(name.substr(4)); };
  EXPECT_TRUE(
      std::is_sorted(names.begin(), names.end(), [&](const auto& a, const auto& b) { return number(a) < number(b); }));
  EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
}

TEST_F(InterfaceScan, ThePortsLeftOutAreTheLastOnesOfTheDirectory) {
  for (int i = 0; i < 520; ++i) {
    machine_.add_raw_interface("p" + std::to_string(i), "../../devices/x/net/p" + std::to_string(i));
  }
  Names listed;
  const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir((machine_.root() / "sys/class/net").c_str()), closedir);
  ASSERT_NE(directory, nullptr);
  while (const dirent* const entry = readdir(directory.get())) {
    if (entry->d_name[0] == 'p') {
      listed.emplace_back(entry->d_name);
    }
  }
  ASSERT_EQ(listed.size(), 520U);
  listed.resize(512);
  std::sort(listed.begin(), listed.end());  // all of one address: by name
  EXPECT_EQ(scan(), listed);
}

TEST_F(InterfaceScan, FiveHundredAndElevenPortsDoNotReachTheLimit) {
  for (int i = 0; i < 511; ++i) {
    machine_.add_raw_interface("p" + std::to_string(i), "../../devices/x/net/p" + std::to_string(i));
  }
  std::string trace = traced_by([] { EXPECT_EQ(scan().size(), 511U); });
  EXPECT_EQ(trace.find("max support number"), std::string::npos);
}

TEST_F(InterfaceScan, KnownSubsystemIdsGiveModelAndFeature) {
  const DeviceRecord record = scan_card(0x13FE, 0x2016);
  EXPECT_STREQ(record.model, "WMX-J34");
  EXPECT_EQ(record.feature, QORX_FEATURE_POE);
  EXPECT_EQ(record.bypass_ctrl_flag, 0);
  EXPECT_EQ(Velmora_sub_id_number, 99U);
}

TEST_F(InterfaceScan, UnknownSubsystemIdsGiveNone) {
  for (const auto& [vendor, device] : {std::pair{0x8086, 0x2016}, std::pair{0x13FE, 0x0001}, std::pair{0, 0}}) {
    const DeviceRecord record = scan_card(static_cast<std::uint16_t>(vendor), static_cast<std::uint16_t>(device));
    EXPECT_STREQ(record.model, "");
    EXPECT_EQ(record.feature, QORX_FEATURE_NONE);
  }
}

TEST_F(InterfaceScan, TheEvenPortOfAnABypassPairCarriesTheControl) {
  struct Case {
    std::uint16_t subsys_device;
    int fun;
    int flag;
  };
  for (const Case& c : {Case{0x002A, 0, 1}, Case{0x002A, 1, 0}, Case{0x002A, 2, 1}, Case{0x002A, 7, 0},
                        Case{0x302E, 0, 0}, Case{0x302E, 1, 0}, Case{0x302B, 0, 1}, Case{0x3037, 4, 1}}) {
    SCOPED_TRACE(c.fun);
    const DeviceRecord record = scan_card(0x13FE, c.subsys_device, c.fun);
    EXPECT_EQ(record.feature, QORX_FEATURE_A_BYPASS);
    EXPECT_EQ(record.bypass_ctrl_flag, c.flag);
  }
}

TEST_F(InterfaceScan, OtherFeaturesCarryNoControl) {
  for (const int device : {0x0038, 0x0037, 0x3016, 0x3031, 0x3030}) {
    EXPECT_EQ(scan_card(0x13FE, static_cast<std::uint16_t>(device)).bypass_ctrl_flag, 0) << device;
  }
}

TEST_F(InterfaceScan, TheDescriptorIsReadForEvenPortsOfI2cBypassCardsOnly) {
  struct Case {
    std::uint16_t subsys_device;
    int fun;
    int flag;
  };
  add_slot("Slot 1 (B.3.2.255)", 9, 3, 0, 0);
  for (const Case& c : {Case{0x205D, 0, 1}, Case{0x205D, 1, 0}, Case{0x205D, 2, 1}, Case{0x0037, 0, 0}}) {
    SCOPED_TRACE(c.fun);
    const DeviceRecord record = scan_card(0x13FE, c.subsys_device, c.fun);
    EXPECT_STREQ(record.slot_name, "Slot 1 (B.3.2.255)");
    EXPECT_EQ(record.bypass_ctrl_flag, c.flag);
    EXPECT_EQ(record.bypass_type, c.flag == 1 ? 'B' : 0);
    EXPECT_EQ(record.bypass_bus, c.flag == 1 ? 3 : 0);
  }
}

TEST_F(InterfaceScan, APortWithoutAnAddressIsOddLikeFunction255) {
  machine_.write("sys/devices/x/net/eth0/device/config", endpoint_config({0x8086, 0x1521, 0x13FE, 0x002A}));
  machine_.add_raw_interface("eth0", "../../devices/x/net/eth0");
  EXPECT_EQ(scan(), Names{"eth0"});
  EXPECT_EQ(qorx_eth_device_mapping[0].feature, QORX_FEATURE_A_BYPASS);
  EXPECT_EQ(qorx_eth_device_mapping[0].fun, 255);
  EXPECT_EQ(qorx_eth_device_mapping[0].bypass_ctrl_flag, 0);
}

TEST_F(InterfaceScan, ParavirtualPortsHaveNoIds) {
  machine_.write("sys/devices/pci0000:00/0000:00:03.0/virtio0/uevent", "DRIVER=virtio_net\n")
      .write("sys/devices/pci0000:00/0000:00:03.0/virtio0/net/eth0/address", "52:54:00:12:34:56\n")
      .make_link("../../../virtio0", "sys/devices/pci0000:00/0000:00:03.0/virtio0/net/eth0/device")
      .add_raw_interface("eth0", "../../devices/pci0000:00/0000:00:03.0/virtio0/net/eth0")
      .write("sys/devices/vif-0/uevent", "DRIVER=vif\nXENBUS_TYPE=vif\n")
      .write("sys/devices/vif-0/net/eth1/address", "0a:00:00:00:00:01\n")
      .make_link("../../../vif-0", "sys/devices/vif-0/net/eth1/device")
      .add_raw_interface("eth1", "../../devices/vif-0/net/eth1");
  EXPECT_EQ(scan(), (Names{"eth0", "eth1"}));
  for (const DeviceRecord& record : device_records()) {
    EXPECT_EQ(record.vendor_id, 0x10000U);
    EXPECT_EQ(record.device_id, 0x10000U);
    EXPECT_EQ(record.subsys_vendor_id, 0x10000U);
    EXPECT_EQ(record.subsys_device_id, 0x10000U);
    EXPECT_STREQ(record.model, "");
  }
  EXPECT_EQ(qorx_eth_device_mapping[0].dev, 3);
  EXPECT_STREQ(qorx_eth_device_mapping[0].mac_addr, "52:54:00:12:34:56");
  EXPECT_EQ(qorx_eth_device_mapping[1].fun, 255);
}

TEST_F(InterfaceScan, ThePortsOfAnEarlierScanDoNotShineThrough) {
  machine_.add_port("eth0", "0000:03:00.0", {0x8086, 0x1521, 0x13FE, 0x002A});
  add_slot("Slot 1", 9, 3, 0, 0);
  EXPECT_EQ(scan(), Names{"eth0"});
  clear_tables();
  machine_.remove("sys/class/net/eth0").add_usb_port("usb0", "0000:00:14.0/usb2/2-1/2-1:1.0", "bda/8153/3000");
  EXPECT_EQ(scan(), Names{"usb0"});
  EXPECT_STREQ(qorx_eth_device_mapping[0].slot_name, "");
  EXPECT_EQ(qorx_eth_device_mapping[0].bypass_ctrl_flag, 0);
  EXPECT_EQ(qorx_eth_device_mapping[0].smbios_type, 0);
}

TEST_F(InterfaceScan, TheWalkIsAnnouncedInTheTraces) {
  machine_.remove("sys/class/net/lo");
  EXPECT_EQ(traced_by([] { EXPECT_EQ(get_all_eth_devices_info(), 0); }), "Get all eth device under /sys/class/net\n");
}

}  // namespace
}  // namespace qorx::test
