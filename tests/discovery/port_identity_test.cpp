#include "discovery/port_identity.h"

#include <gtest/gtest.h>

#include <string>

#include "base/messages.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

class PortIdentity : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  // An interface directory with these files below it.
  void write_interface(const std::string& file, const std::string& content) {
    machine_.write("sys/class/net/eth0/" + file, content);
  }

  // Ids of eth0; `code` is compared by its low byte.
  void expect_ids(std::int32_t code, std::uint32_t vendor, std::uint32_t device) {
    ids_ = {1, 2};
    EXPECT_EQ(code_byte(get_eth_device_vendor_id_device_id("eth0", ids_)), code_byte(code));
    EXPECT_EQ(ids_.vendor, vendor);
    EXPECT_EQ(ids_.device, device);
  }

  FakeMachine machine_;
  PciIds ids_;
  char mac_[kMacTextSize] = "before";
};

TEST_F(PortIdentity, TheMacAddressIsTheFirstWordOfItsFile) {
  const std::string infiniband = "80:00:00:48:fe:80:00:00:00:00:00:00:00:02:c9:03:00:08:1e:9b";
  const std::string sixty_four(64, 'a');
  struct Case {
    std::string content;
    std::string mac;
  };
  for (const Case& c : {
           Case{"02:00:00:00:00:01\n", "02:00:00:00:00:01"},
           Case{"02:00:00:00:00:01", "02:00:00:00:00:01"},
           Case{"AA:BB:CC:DD:EE:FF\n", "AA:BB:CC:DD:EE:FF"},
           Case{" \t\n\v\f\r02:00:00:00:00:01 more\n", "02:00:00:00:00:01"},
           Case{"not-an-address\n", "not-an-address"},
           Case{infiniband + "\n", infiniband},
           Case{sixty_four + "\n", sixty_four},
           Case{sixty_four + "bc\n", sixty_four},
           Case{std::string("02:00\0:00", 9), "02:00"},
           Case{"\n", ""},
           Case{"   \t ", ""},
           Case{"", ""},
       }) {
    SCOPED_TRACE(c.content);
    write_interface("address", c.content);
    EXPECT_EQ(get_eth_device_mac_address("eth0", mac_), 0);
    EXPECT_EQ(mac_, c.mac);
  }
}

TEST_F(PortIdentity, WithoutAnAddressFileTheMacIsEmpty) {
  for (const bool is_directory : {false, true}) {
    SCOPED_TRACE(is_directory);
    if (is_directory) {
      machine_.make_directory("sys/class/net/eth0/address");
    }
    std::int32_t code = 0;
    mac_[0] = 'x';
    const std::string trace = traced_by([&] { code = get_eth_device_mac_address("eth0", mac_); });
    EXPECT_EQ(code, QORX_ERR_OPEN_FILE);
    EXPECT_STREQ(mac_, "");
    EXPECT_EQ(trace, "can't open name /sys/class/net/eth0/address\n");
  }
}

TEST_F(PortIdentity, APciPortHasItsIdsInItsConfigurationSpace) {
  write_interface("device/config", endpoint_config({0x8086, 0x1572, 0x13FE, 0x3031}));
  expect_ids(0, 0x8086, 0x1572);
  EXPECT_EQ(get_eth_device_subsystem_vendor_id_device_id("eth0", ids_), 0);
  EXPECT_EQ(ids_.vendor, 0x13FEU);
  EXPECT_EQ(ids_.device, 0x3031U);
}

TEST_F(PortIdentity, TheConfigurationSpaceComesBeforeTheUevent) {
  write_interface("device/config", endpoint_config({0x8086, 0x1572, 0, 0}));
  write_interface("device/uevent", "PRODUCT=bda/8153/3000\n");
  expect_ids(0, 0x8086, 0x1572);
}

TEST_F(PortIdentity, AnEmptyConfigurationSpaceIsStillOne) {
  write_interface("device/config", "");
  write_interface("device/uevent", "PRODUCT=bda/8153/3000\n");
  expect_ids(0, 0, 0);
}

TEST_F(PortIdentity, AUsbAdapterHasItsIdsInItsUevent) {
  write_interface("device/uevent", "DEVTYPE=usb_interface\nPRODUCT=bda/8153/3000\n");
  expect_ids(0, 0x0BDA, 0x8153);
}

TEST_F(PortIdentity, ADirectoryInPlaceOfTheConfigFileLeavesTheUevent) {
  machine_.make_directory("sys/class/net/eth0/device/config");
  write_interface("device/uevent", "PRODUCT=bda/8153/3000\n");
  expect_ids(0, 0x0BDA, 0x8153);
}

TEST_F(PortIdentity, AParavirtualPortHasAUeventWithoutIds) {
  for (const char* const uevent : {"DRIVER=virtio_net\nMODALIAS=virtio:d00000001v00001AF4\n",
                                   "DRIVER=vif\nXENBUS_TYPE=vif\nXENBUS_PATH=device/vif/0\nMODALIAS=xen:vif\n"}) {
    SCOPED_TRACE(uevent);
    write_interface("device/uevent", uevent);
    expect_ids(0, 0x10000, 0x10000);
  }
}

TEST_F(PortIdentity, AnInterfaceWithoutADeviceHasNoIds) {
  expect_ids(QORX_ERR_OPEN_FILE, 0x10000, 0x10000);
  machine_.make_directory("sys/class/net/eth0/device/uevent");
  expect_ids(QORX_ERR_OPEN_FILE, 0x10000, 0x10000);
}

TEST_F(PortIdentity, ReadingTheIdsOfAnInterfaceWithoutADevicePrintsNothing) {
  g_debug_message_open = 1;
  EXPECT_EQ(printed_by([&] { expect_ids(QORX_ERR_OPEN_FILE, 0x10000, 0x10000); }), "");
  g_debug_message_open = 0;
}

TEST_F(PortIdentity, SubsystemIdsOfAPortWithoutConfigurationSpaceAreUnknown) {
  write_interface("device/uevent", "PRODUCT=bda/8153/3000\n");
  std::int32_t code = 0;
  const std::string trace = traced_by([&] { code = get_eth_device_subsystem_vendor_id_device_id("eth0", ids_); });
  EXPECT_EQ(code, QORX_ERR_OPEN_FILE);
  EXPECT_EQ(ids_.vendor, 0x10000U);
  EXPECT_EQ(ids_.device, 0x10000U);
  EXPECT_EQ(trace, "can't open name /sys/class/net/eth0/device/config\n");
}

}  // namespace
}  // namespace qorx::test
