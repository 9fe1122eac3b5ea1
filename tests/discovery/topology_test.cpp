// What a port's link text says about its place, and the record that is filled from it. Its length decides whether it
// counts as a port: the low byte, as a signed number.
#include "discovery/topology.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "base/messages.h"
#include "discovery/interface_scan.h"
#include "tests/support/expect.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

const std::string kDevices = "../../devices/pci0000:00/";

struct Place {
  std::string_view rule;
  std::string net_path;
  int bus = 255;
  int dev = 255;
  int fun = 255;
  const char* usb = "";
};

class PortPlace : public RowTest<Place, MachineTest> {
 protected:
  static const DeviceRecord& fill(const char* name) {
    static_cast<void>(get_eth_device_pcie_info(name, &next_device_record()));
    return qorx_eth_device_mapping[0];
  }

  static std::string traced(const char* name, std::int8_t status) {
    return traced_by([=] { EXPECT_EQ(get_eth_device_pcie_info(name, &next_device_record()), status); });
  }
};

TEST_P(PortPlace, IsReadFromTheDevicePath) {
  machine_.add_raw_interface("eth0", row().net_path + "/net/eth0");
  expect_port(fill("eth0"),
              {.bus = row().bus, .dev = row().dev, .fun = row().fun, .net_path = row().net_path, .usb = row().usb});
}

// The first 29 components of a path, and the same with the 30th given.
std::string components(const std::string& thirtieth) {
  std::string path = "../../0000:01:00.0/usb1";
  for (int i = 4; i < 29; ++i) {
    path += "/x";
  }
  return path + thirtieth;
}

QORX_ROWS(PortPlace, {"the last component of domain zero is the address", kDevices + "0000:03:00.1", 3, 0, 1},
          {"behind a bridge", kDevices + "0000:00:1c.0/0000:ff:1f.7", 255, 31, 7},
          {"behind a switch", kDevices + "0000:00:01.0/0000:01:00.0/0000:02:09.0/0000:0a:1b.6", 10, 27, 6},
          {"a virtio device has its function's", kDevices + "0000:00:03.0/virtio0", 0, 3, 0},
          {"a usb device has its controller's", kDevices + "0000:00:14.0/usb2/2-1/2-1:1.0", 0, 20, 0, "usb"},
          {"below another root bus", "../../devices/pci0000:5d/0000:5d:00.0/0000:5e:00.3", 0x5E, 0, 3},
          {"another domain below does not count", kDevices + "0000:00:0e.0/pci10000:e0/10000:e1:00.0", 0, 14, 0},
          {"a platform device has no address", "../../devices/platform/soc/2188000.ethernet"},
          {"a paravirtual device has none", "../../devices/vif-0"},
          {"a device of another domain has none", "../../devices/pci0001:00/0001:00:00.0/0001:01:00.0"},
          {"a root bus has none", "../../devices/pci0000:00"},
          {"capitals are digits", kDevices + "0000:AB:1F.2", 0xAB, 0x1F, 2},
          {"the address is read from its end", kDevices + "0000:13:1a.10", 0x03, 0x0A, 0},  // "3:", "a.", "0"
          {"letters are no digits", kDevices + "0000:zz:yy.1", 0, 0, 1},
          {"a number ends at another character", kDevices + "0000:03:0-.1", 3, 0, 1},
          {"only two digits of the bus count", kDevices + "0000:123:04.5", 0x23, 4, 5},
          {"there is no function 8", kDevices + "0000:03:02.8", 3, 2}, {"nor 9", kDevices + "0000:03:02.9", 3, 2},
          {"nor a", kDevices + "0000:03:02.a", 3, 2}, {"nor f", kDevices + "0000:03:02.f", 3, 2},
          {"nor x", kDevices + "0000:03:02.x", 3, 2}, {"nor a dot", kDevices + "0000:03:02..", 3, 2},
          {"an empty component of domain zero is no address", kDevices + "0000:03:00.1/0000:"},
          {"one character is none", kDevices + "0000:1"},
          {"two characters are one", kDevices + "0000:12", 0, 0, 2},  // "00", "0:", "2"
          {"the first two components are never an address", "0000:01:00.0/0000:02:00.0"},
          {"the third may be", "0000:01:00.0/0000:02:00.0/0000:03:00.1", 3, 0, 1},
          {"the second is never usb", "0000:01:00.0/usb2/net"},
          {"the thirtieth component is looked at", components("/0000:03:00.1"), 3, 0, 1, "usb"},
          {"the next one is not", components("/y/0000:03:00.1"), 1, 0, 0, "usb"},
          {"any usb bus marks the port", kDevices + "0000:00:14.0/usb10", 0, 20, 0, "usb"},
          {"also without an address", "../../devices/platform/usb1/1-1", 255, 255, 255, "usb"},
          {"the component begins with usb", kDevices + "0000:00:14.0/xusb", 0, 20, 0},
          {"in small letters", kDevices + "0000:00:14.0/USB2", 0, 20, 0},
          {"a path of 102 characters is kept whole",
           kDevices + "0000:00:01.0/0000:01:00.0/0000:02:09.0/0000:0a:00.0/0000:0b:02.0/0000:0c:00.1", 12, 0, 1});

TEST_F(PortPlace, AFilledRecordHasNamePathAddressIdsAndMac) {
  machine_.add_port("eth0", "0000:00:1c.0/0000:03:00.1", {0x8086, 0x1521, 0x13FE, 0x0038}, "02:00:00:00:00:05");
  const std::string net_path = kDevices + "0000:00:1c.0/0000:03:00.1";
  EXPECT_EQ(get_eth_device_pcie_info("eth0", &next_device_record()), static_cast<int>(net_path.size() + 9));
  const DeviceRecord& port = qorx_eth_device_mapping[0];
  expect_port(port, {.eth_name = "eth0", .bus = 3, .dev = 0, .fun = 1, .net_path = net_path});
  expect_port(port, {.mac_addr = "02:00:00:00:00:05", .usb = ""});
  expect_port(port, {.vendor_id = 0x8086, .device_id = 0x1521, .subsys_vendor_id = 0x13FE, .subsys_device_id = 0x38});
}

TEST_F(PortPlace, AUsbAdapterKeepsItsUsbIds) {
  machine_.add_usb_port("usb0", "0000:00:14.0/usb2/2-1/2-1:1.0", "bda/8153/3000", "02:00:00:00:00:09");
  const DeviceRecord& port = fill("usb0");
  expect_port(port, {.vendor_id = 0x0BDA, .device_id = 0x8153, .mac_addr = "02:00:00:00:00:09", .usb = "usb"});
  expect_port(port, {.subsys_vendor_id = 0x10000, .subsys_device_id = 0x10000});
}

TEST_F(PortPlace, TheNextFreeRecordIsClearedAndFilled) {
  add_device("eth0");
  machine_.add_usb_port("usb0", "0000:00:14.0/usb2/2-1/2-1:1.0", "bda/8153/3000");
  machine_.add_port("eth1", "0000:03:00.1");
  fill("usb0");
  ASSERT_STREQ(qorx_eth_device_mapping[1].usb, "usb");
  qorx_eth_device_mapping[1].port_index = 7;
  fill("eth1");
  expect_port(qorx_eth_device_mapping[0], {.eth_name = "eth0"});
  expect_port(qorx_eth_device_mapping[1], {.eth_name = "eth1", .port_index = 0, .usb = ""});
  EXPECT_EQ(qorx_system_environment_info.eth_device_number, 1U);
}

TEST_F(PortPlace, ClassifyingLeavesTheRecordAlone) {
  machine_.add_port("eth0", "0000:03:00.1");
  EXPECT_GT(get_eth_device_pcie_info("eth0", nullptr), 0);
  EXPECT_EQ(get_eth_device_pcie_info("lo", nullptr), kVirtualInterface);
  expect_port(qorx_eth_device_mapping[0], {.eth_name = ""});
}

TEST_F(PortPlace, AVirtualInterfaceIsNoPhysicalPort) {
  machine_.add_virtual("eth0.100", "02:00:00:00:00:01");
  EXPECT_EQ(traced("eth0.100", -2), "found vlan eth0.100\n");
  expect_port(qorx_eth_device_mapping[0], {.eth_name = ""});
}

TEST_F(PortPlace, AnInterfaceWithoutALinkIsNoPort) {
  machine_.write("sys/class/net/bonding_masters", "bond0\n").make_directory("sys/class/net/eth7");
  for (const std::string name : {"bonding_masters", "eth7", "missing"}) {
    EXPECT_EQ(traced(name.c_str(), -1), "can't readlink /sys/class/net/" + name + "\n");
  }
}

TEST_F(PortPlace, TheRecordKeeps17CharactersOfAMacAddress) {
  machine_.add_port("ib0", "0000:03:00.0", {}, "80:00:00:48:fe:80:00:00:00:00:00:00:00:02:c9:03:00:08:1e:9b");
  expect_port(fill("ib0"), {.mac_addr = "80:00:00:48:fe:80"});
}

TEST_F(PortPlace, ALinkShorterThanItsTailGivesAnEmptyPath) {
  machine_.add_raw_interface("eth0", "x");
  EXPECT_EQ(get_eth_device_pcie_info("eth0", &next_device_record()), 1);
  expect_port(qorx_eth_device_mapping[0], {.fun = 255, .net_path = ""});
}

TEST_F(PortPlace, TracesShowHowTheAddressWasFound) {
  machine_.add_port("eth0", "0000:00:1c.0/0000:13:0a.1", {0x8086, 0x1521, 0x13FE, 0x0038}, "02:00:00:00:00:05");
  EXPECT_EQ(traced("eth0", 59),
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
  EXPECT_EQ(traced("eth0", 28),
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
  const std::string trace = traced("eth0", 29);
  EXPECT_TRUE(
      trace.starts_with("Splitting string \"../../devices/0000:1\" into tokens:\n"
                        "..\n..\ndevices\n0000:1\n"
                        "last: 0000:1\n"
                        "Can't find valid BDF for eth0\n"
                        "eth name: eth0\n"))
      << trace;
}

// A link text of exactly `length` bytes that leads to the port eth0 at 03:00.1.
std::string link_of_length(std::size_t length, std::string front = "../../devices/pci0000:00/") {
  const std::string back = "/0000:03:00.1/net/eth0";
  return front.append(length - front.size() - back.size(), 'x') + back;
}

class LinkText : public MachineTest {
 protected:
  // Fills this record, or none.
  std::int8_t status_of(const std::string& link, DeviceRecord* record = nullptr) {
    machine_.remove("sys/class/net/eth0").add_raw_interface("eth0", link);
    return get_eth_device_pcie_info("eth0", record);
  }
};

using Statuses = std::map<std::size_t, int>;

const Statuses kPortStatuses{{60, 60},  {126, 126}, {127, 127}, {128, -128}, {129, -127}, {200, -56}, {253, -3},
                             {254, -2}, {255, -1},  {256, 0},   {257, 1},    {300, 44},   {383, 127}, {384, -128},
                             {510, -2}, {511, -1},  {512, -1},  {600, -1},   {2000, -1}};

// Only a status of 0 or more is listed, and one of -1 is traced as unreadable.
TEST_F(LinkText, TheStatusIsTheLowByteOfItsLengthAsASignedNumber) {
  for (const auto& [length, status] : kPortStatuses) {
    SCOPED_TRACE(length);
    reset_library();
    const std::string link = link_of_length(length);
    EXPECT_EQ(status_of(link), status);
    EXPECT_EQ(status_of(link, &next_device_record()), status);
    EXPECT_EQ(traced_by([&] { static_cast<void>(status_of(link)); }),
              status == -1 ? "can't readlink /sys/class/net/eth0\n" : "");
    EXPECT_EQ(get_all_eth_devices_info(), 0);
    ASSERT_EQ(qorx_system_environment_info.eth_device_number, status >= 0 ? 1U : 0U);
    if (status >= 0) {
      const std::string net_path = link.substr(0, link.size() - 9);
      expect_port(qorx_eth_device_mapping[0], {.bus = 3, .dev = 0, .fun = 1, .net_path = net_path});
    }
  }
}

TEST_F(LinkText, AReadableLinkIsVirtualWhateverItsLength) {
  for (const auto& [length, status] :
       Statuses{{60, -2}, {128, -2}, {254, -2}, {255, -1}, {256, -2}, {510, -2}, {511, -1}}) {
    const std::string link = link_of_length(length, "../../devices/virtual/");
    EXPECT_EQ(status_of(link, &next_device_record()), status) << length;
    EXPECT_STREQ(qorx_eth_device_mapping[0].eth_name, "");
  }
}

TEST_F(LinkText, VirtualIsSaidByTheDirectoriesAnywhereInItNotByAName) {
  for (const char* const link :
       {"../../devices/virtual/net/eth0", "../../x/devices/virtual/net/eth0",
        "../../devices/pci0000:00/0000:03:00.1/devices/virtual/net/eth0", "/devices/virtual/", "x/devices/virtual/x"}) {
    EXPECT_EQ(status_of(link), kVirtualInterface) << link;
  }
  for (const char* const link :
       {"../../devices/virtual-bus/0000:03:00.1/net/eth0", "../../devices/xvirtual/net/eth0",
        "../../xdevices/virtual/net/eth0", "devices/virtual/net/eth0", "../../devices/Virtual/net/eth0"}) {
    EXPECT_GT(status_of(link), 0) << link;
  }
}

TEST_F(LinkText, TheTailIsCutByItsLengthAlone) {
  EXPECT_GT(status_of("../../devices/pci0000:00/0000:03:00.1/xyz/wan7", &next_device_record()), 0);
  expect_port(qorx_eth_device_mapping[0], {.bus = 3, .net_path = "../../devices/pci0000:00/0000:03:00.1"});
}

}  // namespace
}  // namespace qorx::test
