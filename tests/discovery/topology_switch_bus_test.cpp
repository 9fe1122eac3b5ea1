// The device behind a PCIe switch port.
#include <dirent.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "base/bounded_text.h"
#include "base/messages.h"
#include "discovery/topology.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

class SwitchBus : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  void make_device(const std::string& path) { machine_.make_directory("sys/devices/pci0000:00/" + path); }

  void expect_address(int bus, int dev, int fun) const {
    EXPECT_EQ(address_.bus, bus);
    EXPECT_EQ(address_.dev, dev);
    EXPECT_EQ(address_.fun, fun);
  }

  FakeMachine machine_;
  PciAddress address_{0x00, 0x1C, 0x04};
  char path_[QORX_NAME_SIZE] = "";
};

TEST_F(SwitchBus, TheDeviceBehindAPortIsFound) {
  make_device("0000:00:1c.4/0000:0a:1f.7");
  EXPECT_EQ(get_pcie_switch_bus(address_, path_), 1);
  expect_address(0x0A, 0x1F, 7);
  EXPECT_STREQ(path_, "/sys/devices/pci0000:00/0000:00:1c.4");
}

TEST_F(SwitchBus, ThePathGrowsByOneLevelWithEachStep) {
  make_device("0000:00:1c.4/0000:02:00.0/0000:03:05.1");
  EXPECT_EQ(get_pcie_switch_bus(address_, path_), 1);
  EXPECT_EQ(get_pcie_switch_bus(address_, path_), 1);
  expect_address(3, 5, 1);
  EXPECT_STREQ(path_, "/sys/devices/pci0000:00/0000:00:1c.4/0000:02:00.0");
}

TEST_F(SwitchBus, OnlyDevicesOfDomainZeroOtherThanThePortItselfCount) {
  make_device("0000:00:1c.4/0000:00:1c.4:pcie001");
  make_device("0000:00:1c.4/0001:05:00.0");
  make_device("0000:00:1c.4/pci_bus");
  make_device("0000:00:1c.4/10000:05:00.0");
  EXPECT_EQ(get_pcie_switch_bus(address_, path_), 0);
  expect_address(0x00, 0x1C, 4);
  make_device("0000:00:1c.4/0000:06:00.0");
  path_[0] = '\0';
  EXPECT_EQ(get_pcie_switch_bus(address_, path_), 1);
  expect_address(6, 0, 0);
}

TEST_F(SwitchBus, FilesCountLikeDirectories) {
  machine_.write("sys/devices/pci0000:00/0000:00:1c.4/0000:07:00.0", "");
  EXPECT_EQ(get_pcie_switch_bus(address_, path_), 1);
  expect_address(7, 0, 0);
}

TEST_F(SwitchBus, OfSeveralDevicesTheFirstInDirectoryOrderIsTaken) {
  for (int dev = 0; dev < 8; ++dev) {
    make_device("0000:00:1c.4/0000:02:0" + std::to_string(dev) + ".0");
  }
  const std::string port = machine_.root() / "sys/devices/pci0000:00/0000:00:1c.4";
  const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(port.c_str()), closedir);
  ASSERT_NE(directory, nullptr);
  std::string first;
  while (!first.starts_with("0000:")) {
    const dirent* const entry = readdir(directory.get());
    ASSERT_NE(entry, nullptr);
    first = entry->d_name;
  }
  EXPECT_EQ(get_pcie_switch_bus(address_, path_), 1);
  EXPECT_EQ(address_.dev, first[9] - '0');
}

TEST_F(SwitchBus, APortWithoutADeviceIsNoError) {
  make_device("0000:00:1c.4");
  EXPECT_EQ(printed_by([&] { EXPECT_EQ(get_pcie_switch_bus(address_, path_), 0); }), "");
  expect_address(0x00, 0x1C, 4);
  EXPECT_STREQ(path_, "/sys/devices/pci0000:00/0000:00:1c.4");
}

TEST_F(SwitchBus, AMissingPortIsAConfigurationError) {
  for (const bool is_file : {false, true}) {
    SCOPED_TRACE(is_file);
    if (is_file) {
      machine_.write("sys/devices/pci0000:00/0000:00:1c.4", "");
    }
    path_[0] = '\0';
    std::int32_t code = 0;
    const std::string printed = printed_by([&] { code = get_pcie_switch_bus(address_, path_); });
    EXPECT_EQ(code_byte(code), 0x81);
    EXPECT_EQ(printed, "Can't find PCIe switch, please check the config file!\n");
    expect_address(0x00, 0x1C, 4);
    EXPECT_STREQ(path_, "/sys/devices/pci0000:00/0000:00:1c.4");
  }
}

TEST_F(SwitchBus, TheErrorIsSilentWhenErrorMessagesAreOff) {
  g_error_message_open = 0;
  std::int32_t code = 0;
  EXPECT_EQ(printed_by([&] { code = get_pcie_switch_bus(address_, path_); }), "");
  EXPECT_EQ(code_byte(code), 0x81);
}

TEST_F(SwitchBus, NumbersAreWrittenInLowerCaseHexadecimal) {
  address_ = {0xAB, 0xFF, 0xFF};
  make_device("0000:ab:ff.ff/0000:CD:1E.3");
  EXPECT_EQ(get_pcie_switch_bus(address_, path_), 1);
  expect_address(0xCD, 0x1E, 3);
  EXPECT_STREQ(path_, "/sys/devices/pci0000:00/0000:ab:ff.ff");
}

TEST_F(SwitchBus, TracesShowTheDirectoryAndTheFieldsFound) {
  make_device("0000:00:1c.4/0000:0a:1f.7");
  EXPECT_EQ(traced_by([&] { static_cast<void>(get_pcie_switch_bus(address_, path_)); }),
            "get_pcie_switch_bus\n/sys/devices/pci0000:00/0000:00:1c.4\na\n1f\n7\n");
  EXPECT_EQ(traced_by([&] { static_cast<void>(get_pcie_switch_bus(address_, path_)); }),
            "get_pcie_switch_bus\n/sys/devices/pci0000:00/0000:00:1c.4/0000:0a:1f.7\n");
}

TEST_F(SwitchBus, APathThatOutgrowsItsFieldIsCut) {
  copy_text(path_, std::string(250, '/'));
  std::int32_t code = 0;
  static_cast<void>(printed_by([&] { code = get_pcie_switch_bus(address_, path_); }));
  EXPECT_EQ(std::string(path_).size(), QORX_NAME_SIZE - 1U);
  EXPECT_EQ(code_byte(code), 0x81);
}

}  // namespace
}  // namespace qorx::test
