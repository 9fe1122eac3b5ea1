// The device behind a PCIe switch port.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/bounded_text.h"
#include "base/messages.h"
#include "discovery/topology.h"
#include "tests/support/directory_order.h"
#include "tests/support/expect.h"
#include "tests/support/fixture.h"

namespace qorx::test {
namespace {

constexpr const char* kPort = "/sys/devices/pci0000:00/0000:00:1c.4";
constexpr const char* kNoSwitch = "Can't find PCIe switch, please check the config file!\n";

class SwitchBus : public MachineTest {
 protected:
  void make_device(const std::string& path) { machine_.make_directory("sys/devices/pci0000:00/" + path); }

  // Steps below the port at address_, which must give `code` and print this, and lead to this address and path.
  void step(int code, const PciAddress& address, const std::string& path, const char* printed = "") {
    EXPECT_EQ(outcome_of([this] { return get_pcie_switch_bus(address_, path_); }), (Outcome{printed, code}));
    expect_at(address, path);
  }

  void expect_at(const PciAddress& address, const std::string& path) const {
    EXPECT_EQ(address_.bus, address.bus);
    EXPECT_EQ(address_.dev, address.dev);
    EXPECT_EQ(address_.fun, address.fun);
    EXPECT_EQ(path_, path);
  }

  const PciAddress start_{0x00, 0x1C, 0x04};
  PciAddress address_ = start_;
  char path_[QORX_NAME_SIZE] = "";
};

TEST_F(SwitchBus, TheDeviceBehindAPortIsFoundAndThePathGrowsByOneLevelWithEachStep) {
  make_device("0000:00:1c.4/0000:0a:1f.7/0000:03:05.1");
  step(1, {0x0A, 0x1F, 7}, kPort);
  step(1, {3, 5, 1}, std::string(kPort) + "/0000:0a:1f.7");
}

TEST_F(SwitchBus, OnlyDevicesOfDomainZeroOtherThanThePortItselfCount) {
  for (const char* const other : {"0000:00:1c.4:pcie001", "0001:05:00.0", "pci_bus", "10000:05:00.0"}) {
    make_device("0000:00:1c.4/" + std::string(other));
  }
  step(0, start_, kPort);
  make_device("0000:00:1c.4/0000:06:00.0");
  path_[0] = '\0';
  step(1, {6, 0, 0}, kPort);
}

TEST_F(SwitchBus, FilesCountLikeDirectories) {
  machine_.write("sys/devices/pci0000:00/0000:00:1c.4/0000:07:00.0", "");
  step(1, {7, 0, 0}, kPort);
}

TEST_F(SwitchBus, OfSeveralDevicesTheFirstInDirectoryOrderIsTaken) {
  for (int dev = 0; dev < 8; ++dev) {
    make_device("0000:00:1c.4/0000:02:0" + std::to_string(dev) + ".0");
  }
  const std::string first = entries_in_order(machine_.root() / (kPort + 1)).at(0);
  step(1, {2, static_cast<std::uint8_t>(first[9] - '0'), 0}, kPort);
}

TEST_F(SwitchBus, APortWithoutADeviceIsNoError) {
  make_device("0000:00:1c.4");
  step(0, start_, kPort);
}

// Nothing there, or a file.
TEST_F(SwitchBus, AMissingPortIsAConfigurationError) {
  step(0x81, start_, kPort, kNoSwitch);
  machine_.write(kPort + 1, "");
  path_[0] = '\0';
  step(0x81, start_, kPort, kNoSwitch);
  g_error_message_open = 0;
  path_[0] = '\0';
  step(0x81, start_, kPort);
}

TEST_F(SwitchBus, NumbersAreWrittenInLowerCaseHexadecimal) {
  address_ = {0xAB, 0xFF, 0xFF};
  make_device("0000:ab:ff.ff/0000:CD:1E.3");
  step(1, {0xCD, 0x1E, 3}, "/sys/devices/pci0000:00/0000:ab:ff.ff");
}

TEST_F(SwitchBus, TracesShowTheDirectoryAndTheFieldsFound) {
  make_device("0000:00:1c.4/0000:0a:1f.7");
  const auto traced = [this] { return traced_by([this] { static_cast<void>(get_pcie_switch_bus(address_, path_)); }); };
  EXPECT_EQ(traced(), "get_pcie_switch_bus\n/sys/devices/pci0000:00/0000:00:1c.4\na\n1f\n7\n");
  EXPECT_EQ(traced(), "get_pcie_switch_bus\n/sys/devices/pci0000:00/0000:00:1c.4/0000:0a:1f.7\n");
}

TEST_F(SwitchBus, APathThatOutgrowsItsFieldIsCut) {
  copy_text(path_, std::string(250, '/'));
  step(0x81, start_, std::string(250, '/') + "/0000", kNoSwitch);
}

}  // namespace
}  // namespace qorx::test
