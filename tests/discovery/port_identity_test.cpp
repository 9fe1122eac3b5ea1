// MAC address and ids of one interface: in configuration space, else in the PRODUCT= line of a USB interface's uevent
// file.
#include "discovery/port_identity.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/messages.h"
#include "tests/support/expect.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

constexpr const char* kInterface = "sys/class/net/eth0/";
constexpr PciIds kUnknown{0x10000, 0x10000};

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
constexpr const char* kVirtio = "DRIVER=virtio_net\nMODALIAS=virtio:d00000001v00001AF4\n";
constexpr const char* kXen = "DRIVER=vif\nXENBUS_TYPE=vif\nXENBUS_PATH=device/vif/0\nMODALIAS=xen:vif\n";
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
  EXPECT_EQ(ids, row().ids);
  if (!row().uevent) {
    EXPECT_EQ(traced_by([&] { static_cast<void>(get_eth_device_vendor_id_device_id("eth0", ids)); }), "");
  }
  const bool has_config = row().config && row().config != kDirectory;
  ids = {1, 2};
  EXPECT_EQ(traced_by([&] {
              EXPECT_EQ(get_eth_device_subsystem_vendor_id_device_id("eth0", ids), has_config ? 0 : QORX_ERR_OPEN_FILE);
            }),
            has_config ? "" : "can't open name /sys/class/net/eth0/device/config\n");
  EXPECT_EQ(ids, row().subsystem);
}

QORX_ROWS(
    PortIdentity,
    {"a pci port has its ids in its configuration space", kCard, {}, 0, {0x8086, 0x1572}, {0x13FE, 0x3031}},
    {"the configuration space comes before the uevent", kCard, kUsb, 0, {0x8086, 0x1572}, {0x13FE, 0x3031}},
    {"an empty configuration space is still one", "", kUsb, 0, {0, 0}, {0, 0}},
    {"a usb adapter has its ids in its uevent", {}, kUsb, 0, {0x0BDA, 0x8153}, kUnknown},
    {"a directory in place of the config file leaves the uevent", kDirectory, kUsb, 0, {0x0BDA, 0x8153}, kUnknown},
    {"a virtio port has a uevent without ids", {}, kVirtio, 0, kUnknown, kUnknown},
    {"a xen port too", {}, kXen, 0, kUnknown, kUnknown},
    {"an interface without a device has no ids", {}, {}, 0x80, kUnknown, kUnknown},
    {"a directory is no uevent", {}, kDirectory, 0x80, kUnknown, kUnknown});

constexpr const char* kUevent = "/sys/class/net/usb0/device/uevent";
constexpr const char* kLine = "PRODUCT=bda/8153/3000\n";

struct Content {
  std::string_view rule;
  std::vector<std::string> files;  // each of them
  PciIds ids{0x0BDA, 0x8153};
};

class Uevent : public RowTest<Content, MachineTest> {
 protected:
  std::string traced(const std::string& content) {
    machine_.write(kUevent + 1, content);
    return traced_by([this] { EXPECT_EQ(Search_USB_uevent(kUevent, ids_), 0); });
  }

  PciIds ids_{1, 2};
};

TEST_P(Uevent, HoldsTheIds) {
  for (const std::string& content : row().files) {
    SCOPED_TRACE(content.substr(0, 60));
    machine_.write(kUevent + 1, content);
    ids_ = {1, 2};
    EXPECT_EQ(Search_USB_uevent(kUevent, ids_), 0);
    EXPECT_EQ(ids_, row().ids);
  }
}

Content unknown(std::string_view rule, const std::vector<std::string>& files) {
  return {rule, files, kUnknown};
}

std::string xs(std::size_t count, const std::string& tail) {
  return std::string(count, 'x') + tail;
}

// The line without a line feed, as long as this.
std::string line_of(std::size_t length) {
  const std::string line = "PRODUCT=bda/8153/";
  return line + std::string(length - line.size(), '3');
}

QORX_ROWS(Uevent, {"the first two fields of the product line are the ids", {kLine, "PRODUCT=BDA/8153/3000\n"}},
          {"other lines stand around it",
           {"DEVTYPE=usb_interface\nDRIVER=r8152\nPRODUCT=b95/1790/200\nTYPE=0/0/0\n"},
           {0x0B95, 0x1790}},
          {"numbers may be longer", {"PRODUCT=12345/ffffffff/0\n"}, {0x12345, 0xFFFFFFFF}},
          {"the release field may be missing", {"PRODUCT=bda/8153\n", "PRODUCT=bda/8153 \t\r\n"}},
          unknown("a line without both ids leaves them unknown",
                  {"PRODUCT=bda\n", "PRODUCT=\n", "PRODUCT=/8153\n", "PRODUCT=bda/\n", "PRODUCT=//\n"}),
          {"runs of delimiters count as one", {"PRODUCT==bda//8153/3000\n"}},
          {"a field that is no number is zero", {"PRODUCT=xyz/8153/3000\n"}, {0, 0x8153}},
          {"only the first product line is read", {"PRODUCT=bda/8153/3000\nPRODUCT=b95/1790/200\n"}},
          unknown("whatever it says", {"PRODUCT=bda\nPRODUCT=b95/1790/200\n"}),
          {"blanks may stand before the key", {"  \tPRODUCT=bda/8153/3000\n"}},
          unknown("nothing else may",
                  {"XPRODUCT=bda/8153/3000\n", "product=bda/8153/3000\n", "PRODUCT =bda/8153/3000\n",
                   "#PRODUCT=bda/8153/3000\n", "\rPRODUCT=bda/8153/3000\n"}),
          unknown("a last line without a line feed is ignored",
                  {"PRODUCT=bda/8153/3000", "DEVTYPE=usb_interface\nPRODUCT=bda/8153/3000"}),
          unknown("a file without a product line leaves the ids unknown", {"", "\n", "DRIVER=virtio_net\n"}),
          {"lines up to the buffer are read whole",
           {xs(1022, "\n") + kLine, xs(1023, "\n") + kLine, xs(1024, "\n") + kLine, xs(3000, "\n") + kLine}},
          {"what lies behind 1023 bytes is a line of its own", {xs(1023, kLine)}},
          unknown("what lies before is not", {xs(1022, kLine), xs(1024, kLine)}),
          // It ends before the end of the file is met.
          {"a last piece that fills the buffer is read without a line feed", {line_of(1023)}},
          unknown("a shorter one is not", {line_of(1022)}));

TEST_F(Uevent, ANullPathIsRefused) {
  EXPECT_EQ(code_byte(Search_USB_uevent(nullptr, ids_)), 0x94);
  EXPECT_EQ(ids_, kUnknown);
}

TEST_F(Uevent, AFileThatCannotBeOpenedIsAnError) {
  const Outcome failed{"Error: Open file /sys/class/net/usb0/device/uevent failed.\n", 0x80};
  const auto search = [this] { return Search_USB_uevent(kUevent, ids_); };
  EXPECT_EQ(outcome_of(search), failed);
  EXPECT_EQ(ids_, kUnknown);
  machine_.make_directory(kUevent + 1);
  EXPECT_EQ(outcome_of(search), failed);
  g_error_message_open = 0;
  EXPECT_EQ(outcome_of(search), (Outcome{"", 0x80}));
}

TEST_F(Uevent, TracesShowEachLineAndTheFields) {
  EXPECT_EQ(traced("A=b\n PRODUCT=bda/8153/3000\nTYPE=0/0/0\n"),
            "check head char of !A=b\n!\n"
            "check tail char of !A=b\n!\n"
            "remove tail 1 char !A=b!\n"
            "A=b\n"
            "check head char of ! PRODUCT=bda/8153/3000\n!\n"
            "remove head 1 char !PRODUCT=bda/8153/3000\n!\n"
            "check tail char of !PRODUCT=bda/8153/3000\n!\n"
            "remove tail 1 char !PRODUCT=bda/8153/3000!\n"
            "PRODUCT=bda/8153/3000\n"
            "PRODUCT\nbda\n8153\n");
}

TEST_F(Uevent, TheReadThatOnlyMeetsTheEndTracesNothing) {
  EXPECT_EQ(traced("A=b\n"),
            "check head char of !A=b\n!\n"
            "check tail char of !A=b\n!\n"
            "remove tail 1 char !A=b!\n"
            "A=b\n");
}

}  // namespace
}  // namespace qorx::test
