// What a port's link text says about its place, and the record that is filled from it.
#include "discovery/topology.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/messages.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

constexpr const char* kDevices = "../../devices/pci0000:00/";

class PortPlace : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  // Fills record 0 from an interface whose device path is `net_path`.
  const DeviceRecord& place(const std::string& net_path) {
    machine_.remove("sys/class/net/eth0");
    machine_.add_raw_interface("eth0", net_path + "/net/eth0");
    static_cast<void>(get_eth_device_pcie_info("eth0", &next_device_record()));
    return qorx_eth_device_mapping[0];
  }

  void expect_address(const std::string& net_path, int bus, int dev, int fun) {
    SCOPED_TRACE(net_path);
    const DeviceRecord& record = place(net_path);
    EXPECT_EQ(record.net_path, net_path);
    EXPECT_EQ(record.bus, bus);
    EXPECT_EQ(record.dev, dev);
    EXPECT_EQ(record.fun, fun);
  }

  FakeMachine machine_;
};

TEST_F(PortPlace, AFilledRecordHasNamePathAddressIdsAndMac) {
  machine_.add_port("eth0", "0000:00:1c.0/0000:03:00.1", {0x8086, 0x1521, 0x13FE, 0x0038}, "02:00:00:00:00:05");
  const std::string net_path = std::string(kDevices) + "0000:00:1c.0/0000:03:00.1";
  EXPECT_EQ(get_eth_device_pcie_info("eth0", &next_device_record()), static_cast<int>(net_path.size() + 9));
  const DeviceRecord& record = qorx_eth_device_mapping[0];
  EXPECT_STREQ(record.eth_name, "eth0");
  EXPECT_EQ(record.net_path, net_path);
  EXPECT_EQ(record.bus, 3);
  EXPECT_EQ(record.dev, 0);
  EXPECT_EQ(record.fun, 1);
  EXPECT_EQ(record.vendor_id, 0x8086U);
  EXPECT_EQ(record.device_id, 0x1521U);
  EXPECT_EQ(record.subsys_vendor_id, 0x13FEU);
  EXPECT_EQ(record.subsys_device_id, 0x0038U);
  EXPECT_STREQ(record.mac_addr, "02:00:00:00:00:05");
  EXPECT_STREQ(record.usb, "");
}

TEST_F(PortPlace, TheNextFreeRecordIsFilled) {
  add_device("eth0");
  machine_.add_port("eth1", "0000:03:00.1");
  static_cast<void>(get_eth_device_pcie_info("eth1", &next_device_record()));
  EXPECT_STREQ(qorx_eth_device_mapping[0].eth_name, "eth0");
  EXPECT_STREQ(qorx_eth_device_mapping[1].eth_name, "eth1");
  EXPECT_EQ(qorx_system_environment_info.eth_device_number, 1U);
}

TEST_F(PortPlace, ARecordIsClearedBeforeItIsFilled) {
  machine_.add_usb_port("usb0", "0000:00:14.0/usb2/2-1/2-1:1.0", "bda/8153/3000");
  machine_.add_port("eth1", "0000:03:00.1");
  static_cast<void>(get_eth_device_pcie_info("usb0", &next_device_record()));
  ASSERT_STREQ(qorx_eth_device_mapping[0].usb, "usb");
  qorx_eth_device_mapping[0].port_index = 7;
  static_cast<void>(get_eth_device_pcie_info("eth1", &next_device_record()));
  EXPECT_STREQ(qorx_eth_device_mapping[0].usb, "");
  EXPECT_EQ(qorx_eth_device_mapping[0].port_index, 0);
}

TEST_F(PortPlace, ClassifyingLeavesTheRecordAlone) {
  machine_.add_port("eth0", "0000:03:00.1");
  EXPECT_GT(get_eth_device_pcie_info("eth0", nullptr), 0);
  EXPECT_EQ(get_eth_device_pcie_info("lo", nullptr), kVirtualInterface);
  EXPECT_STREQ(qorx_eth_device_mapping[0].eth_name, "");
}

TEST_F(PortPlace, AVirtualInterfaceIsNoPhysicalPort) {
  machine_.add_virtual("eth0.100", "02:00:00:00:00:01");
  std::int8_t status = 0;
  const std::string trace = traced_by([&] { status = get_eth_device_pcie_info("eth0.100", &next_device_record()); });
  EXPECT_EQ(status, -2);
  EXPECT_EQ(trace, "found vlan eth0.100\n");
  EXPECT_STREQ(qorx_eth_device_mapping[0].eth_name, "");
}

TEST_F(PortPlace, AnInterfaceWithoutALinkIsNoPort) {
  machine_.write("sys/class/net/bonding_masters", "bond0\n");
  machine_.make_directory("sys/class/net/eth7");
  for (const std::string name : {"bonding_masters", "eth7", "missing"}) {
    SCOPED_TRACE(name);
    std::int8_t status = 0;
    const std::string trace =
        traced_by([&] { status = get_eth_device_pcie_info(name.c_str(), &next_device_record()); });
    EXPECT_EQ(status, -1);
    EXPECT_EQ(trace, "can't readlink /sys/class/net/" + name + "\n");
  }
}

TEST_F(PortPlace, TheLastComponentOfDomainZeroIsThePortsAddress) {
  const std::string devices = kDevices;
  expect_address(devices + "0000:03:00.1", 3, 0, 1);
  expect_address(devices + "0000:00:1c.0/0000:ff:1f.7", 255, 31, 7);
  expect_address(devices + "0000:00:01.0/0000:01:00.0/0000:02:09.0/0000:0a:1b.6", 10, 27, 6);
  expect_address(devices + "0000:00:03.0/virtio0", 0, 3, 0);
  expect_address(devices + "0000:00:14.0/usb2/2-1/2-1:1.0", 0, 20, 0);
  expect_address("../../devices/pci0000:5d/0000:5d:00.0/0000:5e:00.3", 0x5E, 0, 3);
  expect_address(devices + "0000:00:0e.0/pci10000:e0/10000:e1:00.0", 0, 14, 0);
}

TEST_F(PortPlace, APathWithoutDomainZeroHasNoAddress) {
  expect_address("../../devices/platform/soc/2188000.ethernet", 255, 255, 255);
  expect_address("../../devices/vif-0", 255, 255, 255);
  expect_address("../../devices/pci0001:00/0001:00:00.0/0001:01:00.0", 255, 255, 255);
  expect_address("../../devices/pci0000:00", 255, 255, 255);
}

TEST_F(PortPlace, AnAddressIsReadFromItsEnd) {
  const std::string devices = kDevices;
  expect_address(devices + "0000:AB:1F.2", 0xAB, 0x1F, 2);
  expect_address(devices + "0000:13:1a.10", 0x03, 0x0A, 0);  // "3:", "a.", "0"
  expect_address(devices + "0000:zz:yy.1", 0, 0, 1);
  expect_address(devices + "0000:03:0-.1", 3, 0, 1);
  expect_address(devices + "0000:123:04.5", 0x23, 4, 5);
}

TEST_F(PortPlace, OnlyFunctionsZeroToSevenExist) {
  for (const char fun : {'8', '9', 'a', 'f', 'x', '.'}) {
    expect_address(std::string(kDevices) + "0000:03:02." + fun, 3, 2, 255);
  }
}

TEST_F(PortPlace, AComponentThatIsTooShortIsNoAddress) {
  const std::string devices = kDevices;
  expect_address(devices + "0000:03:00.1/0000:", 255, 255, 255);
  expect_address(devices + "0000:1", 255, 255, 255);
  expect_address(devices + "0000:12", 0, 0, 2);  // "00", "0:", "2"
}

TEST_F(PortPlace, TheFirstTwoComponentsAreNeverAnAddress) {
  expect_address("0000:01:00.0/0000:02:00.0", 255, 255, 255);
  expect_address("0000:01:00.0/0000:02:00.0/0000:03:00.1", 3, 0, 1);
  expect_address("0000:01:00.0/usb2/net", 255, 255, 255);
  EXPECT_STREQ(qorx_eth_device_mapping[0].usb, "");
}

TEST_F(PortPlace, ComponentsBehindTheThirtiethAreNotLookedAt) {
  std::string thirty = "../../0000:01:00.0/usb1";
  for (int i = 4; i < 29; ++i) {
    thirty += "/x";
  }
  expect_address(thirty + "/0000:03:00.1", 3, 0, 1);
  expect_address(thirty + "/y/0000:03:00.1", 1, 0, 0);
  EXPECT_STREQ(qorx_eth_device_mapping[0].usb, "usb");
}

TEST_F(PortPlace, AComponentThatBeginsWithUsbMarksAUsbPort) {
  const std::string devices = kDevices;
  EXPECT_STREQ(place(devices + "0000:00:14.0/usb2/2-1/2-1:1.0").usb, "usb");
  EXPECT_STREQ(place(devices + "0000:00:14.0/usb10").usb, "usb");
  EXPECT_STREQ(place("../../devices/platform/usb1/1-1").usb, "usb");
  EXPECT_STREQ(place(devices + "0000:00:14.0/xusb").usb, "");
  EXPECT_STREQ(place(devices + "0000:00:14.0/USB2").usb, "");
}

TEST_F(PortPlace, AUsbAdapterKeepsItsUsbIds) {
  machine_.add_usb_port("usb0", "0000:00:14.0/usb2/2-1/2-1:1.0", "bda/8153/3000", "02:00:00:00:00:09");
  static_cast<void>(get_eth_device_pcie_info("usb0", &next_device_record()));
  const DeviceRecord& record = qorx_eth_device_mapping[0];
  EXPECT_EQ(record.vendor_id, 0x0BDAU);
  EXPECT_EQ(record.device_id, 0x8153U);
  EXPECT_EQ(record.subsys_vendor_id, 0x10000U);
  EXPECT_EQ(record.subsys_device_id, 0x10000U);
  EXPECT_STREQ(record.mac_addr, "02:00:00:00:00:09");
}

TEST_F(PortPlace, ADevicePathOf102CharactersIsKeptWhole) {
  const std::string net_path =
      std::string(kDevices) + "0000:00:01.0/0000:01:00.0/0000:02:09.0/0000:0a:00.0/0000:0b:02.0/0000:0c:00.1";
  ASSERT_EQ(net_path.size(), 102U);
  expect_address(net_path, 12, 0, 1);
}

TEST_F(PortPlace, TheRecordKeeps17CharactersOfAMacAddress) {
  machine_.add_port("ib0", "0000:03:00.0", {}, "80:00:00:48:fe:80:00:00:00:00:00:00:00:02:c9:03:00:08:1e:9b");
  static_cast<void>(get_eth_device_pcie_info("ib0", &next_device_record()));
  EXPECT_STREQ(qorx_eth_device_mapping[0].mac_addr, "80:00:00:48:fe:80");
}

TEST_F(PortPlace, ALinkShorterThanItsTailGivesAnEmptyPath) {
  machine_.add_raw_interface("eth0", "x");
  EXPECT_EQ(get_eth_device_pcie_info("eth0", &next_device_record()), 1);
  EXPECT_STREQ(qorx_eth_device_mapping[0].net_path, "");
  EXPECT_EQ(qorx_eth_device_mapping[0].fun, 255);
}

TEST_F(PortPlace, TracesShowHowTheAddressWasFound) {
  machine_.add_port("eth0", "0000:00:1c.0/0000:13:0a.1", {0x8086, 0x1521, 0x13FE, 0x0038}, "02:00:00:00:00:05");
  EXPECT_EQ(traced_by([] { static_cast<void>(get_eth_device_pcie_info("eth0", &next_device_record())); }),
            "Splitting string \"../../devices/pci0000:00/0000:00:1c.0/0000:13:0a.1\" into tokens:\n"
            "..\n..\ndevices\npci0000:00\n0000:00:1c.0\n0000:13:0a.1\n"
            "last: 0000:13:0a.1\n"
            ". 1 fun:1\n"
            "0 a dev:a\n"
            "1 3 bus:13\n"
            "eth name: eth0\n"
            "net_path: ../../devices/pci0000:00/0000:00:1c.0/0000:13:0a.1\n"
            "bus: 13\ndev: a\nfun: 1\n"
            "sub vendor id: 13fe\nsub device id: 38\n"
            "vendor id: 8086\ndevice id: 1521\n"
            "addr: 02:00:00:00:00:05\n");
}

TEST_F(PortPlace, TracesOfAPathWithoutAnAddressSaySoTwice) {
  machine_.add_raw_interface("eth0", "../../devices/vif-0/net/eth0");
  EXPECT_EQ(traced_by([] { static_cast<void>(get_eth_device_pcie_info("eth0", &next_device_record())); }),
            "Splitting string \"../../devices/vif-0\" into tokens:\n"
            "..\n..\ndevices\nvif-0\n"
            "Can't find valid BDF for eth0\n"
            "Can't find valid BDF for eth0\n"
            "eth name: eth0\n"
            "net_path: ../../devices/vif-0\n"
            "bus: ff\ndev: ff\nfun: ff\n"
            "can't open name /sys/class/net/eth0/device/config\n"
            "sub vendor id: 10000\nsub device id: 10000\n"
            "vendor id: 10000\ndevice id: 10000\n"
            "can't open name /sys/class/net/eth0/address\n"
            "addr: \n");
}

TEST_F(PortPlace, TracesOfAShortComponentShowItAndSayThatItIsNoAddress) {
  machine_.add_raw_interface("eth0", "../../devices/0000:1/net/eth0");
  const std::string trace =
      traced_by([] { static_cast<void>(get_eth_device_pcie_info("eth0", &next_device_record())); });
  EXPECT_TRUE(
      trace.starts_with("Splitting string \"../../devices/0000:1\" into tokens:\n"
                        "..\n..\ndevices\n0000:1\n"
                        "last: 0000:1\n"
                        "Can't find valid BDF for eth0\n"
                        "eth name: eth0\n"))
      << trace;
}

}  // namespace
}  // namespace qorx::test
