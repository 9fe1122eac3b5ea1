#include "discovery/port_identity.h"

#include <gtest/gtest.h>

#include <string>

#include "base/messages.h"
#include "tests/support/expect.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

constexpr const char* kInterface = "sys/class/net/eth0/";

struct Address {
  std::string_view rule;
  std::string content;
  std::string mac;
};

class MacAddress : public RowTest<Address, MachineTest> {
 protected:
  std::int32_t read() { return get_eth_device_mac_address("eth0", mac_); }

  char mac_[kMacTextSize] = "before";
};

TEST_P(MacAddress, IsTheFirstWordOfItsFile) {
  machine_.write(std::string(kInterface) + "address", row().content);
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(mac_, row().mac);
}

constexpr const char* kMac = "02:00:00:00:00:01";
const std::string kInfiniband = "80:00:00:48:fe:80:00:00:00:00:00:00:00:02:c9:03:00:08:1e:9b";
const std::string k64(64, 'a');

QORX_ROWS(MacAddress, {"a line", "02:00:00:00:00:01\n", kMac}, {"without a line feed", kMac, kMac},
          {"in capitals", "AA:BB:CC:DD:EE:FF\n", "AA:BB:CC:DD:EE:FF"},
          {"behind white space", " \t\n\v\f\r02:00:00:00:00:01 more\n", kMac},
          {"any word", "not-an-address\n", "not-an-address"}, {"a long address", kInfiniband + "\n", kInfiniband},
          {"64 characters", k64 + "\n", k64}, {"not more", k64 + "bc\n", k64},
          {"up to a nul", std::string("02:00\0:00", 9), "02:00"}, {"an empty line", "\n", ""},
          {"only white space", "   \t ", ""}, {"an empty file", "", ""});

TEST_F(MacAddress, IsEmptyWithoutItsFile) {
  for (const bool is_directory : {false, true}) {
    if (is_directory) {
      machine_.make_directory(std::string(kInterface) + "address");
    }
    mac_[0] = 'x';
    EXPECT_EQ(traced_by([this] { EXPECT_EQ(read(), QORX_ERR_OPEN_FILE); }),
              "can't open name /sys/class/net/eth0/address\n");
    EXPECT_STREQ(mac_, "");
  }
}

constexpr const char* kDirectory = "(a directory)";
constexpr const char* kUsb = "DEVTYPE=usb_interface\nPRODUCT=bda/8153/3000\n";
const std::string kCard = endpoint_config({0x8086, 0x1572, 0x13FE, 0x3031});

// The files below the interface's device, null where there is none, and the ids that they give.
struct Device {
  std::string_view rule;
  std::optional<std::string> config;
  std::optional<std::string> uevent;
  std::int32_t code;
  PciIds ids;
  PciIds subsystem;
};

constexpr PciIds kUnknown{0x10000, 0x10000};

class PortIdentity : public RowTest<Device, MachineTest> {
 protected:
  void add(const std::string& file, const std::optional<std::string>& content) {
    const std::string path = kInterface + file;
    if (content == kDirectory) {
      machine_.make_directory(path);
    } else if (content) {
      machine_.write(path, *content);
    }
  }
};

TEST_P(PortIdentity, IsReadSilently) {
  add("device/config", row().config);
  add("device/uevent", row().uevent);
  PciIds ids{1, 2};
  EXPECT_EQ(outcome_of([&] { return get_eth_device_vendor_id_device_id("eth0", ids); }), (Outcome{"", row().code}));
  EXPECT_EQ(ids.vendor, row().ids.vendor);
  EXPECT_EQ(ids.device, row().ids.device);
  if (!row().uevent) {
    EXPECT_EQ(traced_by([&] { static_cast<void>(get_eth_device_vendor_id_device_id("eth0", ids)); }), "");
  }
  const bool has_config = row().config && row().config != kDirectory;
  ids = {1, 2};
  EXPECT_EQ(traced_by([&] {
              EXPECT_EQ(get_eth_device_subsystem_vendor_id_device_id("eth0", ids), has_config ? 0 : QORX_ERR_OPEN_FILE);
            }),
            has_config ? "" : "can't open name /sys/class/net/eth0/device/config\n");
  EXPECT_EQ(ids.vendor, row().subsystem.vendor);
  EXPECT_EQ(ids.device, row().subsystem.device);
}

QORX_ROWS(
    PortIdentity,
    {"a pci port has its ids in its configuration space", kCard, {}, 0, {0x8086, 0x1572}, {0x13FE, 0x3031}},
    {"the configuration space comes before the uevent", kCard, kUsb, 0, {0x8086, 0x1572}, {0x13FE, 0x3031}},
    {"an empty configuration space is still one", "", kUsb, 0, {0, 0}, {0, 0}},
    {"a usb adapter has its ids in its uevent", {}, kUsb, 0, {0x0BDA, 0x8153}, kUnknown},
    {"a directory in place of the config file leaves the uevent", kDirectory, kUsb, 0, {0x0BDA, 0x8153}, kUnknown},
    {"a virtio port has a uevent without ids",
     {},
     "DRIVER=virtio_net\nMODALIAS=virtio:d00000001v00001AF4\n",
     0,
     kUnknown,
     kUnknown},
    {"a xen port too",
     {},
     "DRIVER=vif\nXENBUS_TYPE=vif\nXENBUS_PATH=device/vif/0\nMODALIAS=xen:vif\n",
     0,
     kUnknown,
     kUnknown},
    {"an interface without a device has no ids", {}, {}, 0x80, kUnknown, kUnknown},
    {"a directory is no uevent", {}, kDirectory, 0x80, kUnknown, kUnknown});

}  // namespace
}  // namespace qorx::test
