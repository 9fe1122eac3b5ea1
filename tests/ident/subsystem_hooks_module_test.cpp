// The module whose ids sit on a bridge above its ports.
#include <gtest/gtest.h>

#include <string>

#include "base/bounded_text.h"
#include "discovery/interface_scan.h"
#include "ident/subsystem_hooks.h"
#include "tests/support/expect.h"
#include "tests/support/fixture.h"

namespace qorx::test {
namespace {

constexpr Ids kModule{0x10B5, 0x8724, 0x13FE, 0x204A};
const std::string kDevices = "../../devices/pci0000:00/";
constexpr const char* kPort = "0000:00:1c.0/0000:01:00.0/0000:02:01.0/0000:03:00.0";

// Asks for a port of the table, on a machine that has not been asked before.
bool is_module_at(std::size_t index) {
  PciFunctions functions;
  return qorx_is_WMX_LH53(functions, qorx_eth_device_mapping[index]);
}

class BridgedModule : public MachineTest {
 protected:
  // Asks for a port with this device path.
  bool is_module(const std::string& net_path) {
    reset_library();
    add_port({.eth_name = "eth0", .panel_name = "before", .model = "before", .feature = 1, .net_path = net_path});
    return is_module_at(0);
  }

  static void expect_amended(bool amended) {
    expect_port(qorx_eth_device_mapping[0],
                amended ? PortFields{.panel_name = "N/A", .model = "WMX-LH53", .feature = QORX_FEATURE_NA}
                        : PortFields{.panel_name = "before", .model = "before", .feature = QORX_FEATURE_POE});
  }

  // Makes a function known by its address alone.
  FakeMachine& function(const std::string& address, const std::string& config) {
    return machine_.write("sys/bus/pci/devices/" + address + "/config", config);
  }

  static Texts scanned(char (DeviceRecord::*field)[QORX_NAME_SIZE]) {
    EXPECT_EQ(get_all_eth_devices_info(), 0);
    return texts_of(device_records(), field);
  }
};

TEST_F(BridgedModule, ABridgeWithTheModulesIdsMarksThePort) {
  machine_.add_function("0000:00:1c.0", bridge_config({}))
      .add_function("0000:00:1c.0/0000:01:00.0", bridge_config(kModule, 0x40))
      .add_function("0000:00:1c.0/0000:01:00.0/0000:02:01.0", bridge_config({}, 0x80))
      .add_port("eth0", kPort);
  EXPECT_TRUE(is_module(kDevices + kPort));
  expect_amended(true);
  EXPECT_TRUE(is_module_at(0));
  expect_amended(true);
}

// Another device, another vendor, and the ids in the place of the bridge's own ones.
TEST_F(BridgedModule, WithoutThoseIdsThePortIsLeftAlone) {
  for (const Ids& ids :
       {Ids{0x10B5, 0x8724, 0x13FE, 0x204B}, Ids{0x10B5, 0x8724, 0x8086, 0x204A}, Ids{0x13FE, 0x204A, 0, 0}}) {
    function("0000:01:00.0", bridge_config(ids, 0x40));
    EXPECT_FALSE(is_module(kDevices + kPort)) << ids.subsys_vendor << " " << ids.subsys_device;
    expect_amended(false);
  }
}

TEST_F(BridgedModule, ThePortsOwnFunctionAndTheRootPortCount) {
  function("0000:03:00.0", endpoint_config(kModule));
  EXPECT_TRUE(is_module(kDevices + kPort));
  function("0000:03:00.0", "").write("sys/bus/pci/devices/0000:00:1c.0/config", bridge_config(kModule, 0xA0));
  EXPECT_TRUE(is_module(kDevices + kPort));
}

TEST_F(BridgedModule, UnreadableFunctionsAreNotTheModule) {
  EXPECT_FALSE(is_module(kDevices + kPort));
  machine_.make_directory("sys/bus/pci/devices/0000:01:00.0/config");
  EXPECT_FALSE(is_module(kDevices + kPort));
  function("0000:02:01.0", "");
  EXPECT_FALSE(is_module(kDevices + kPort));
  EXPECT_FALSE(is_module(""));
}

TEST_F(BridgedModule, OnlyComponentsOfDomainZeroAreVisited) {
  function("0000:01:00.0", endpoint_config(kModule));
  for (const char* const other : {"0001:01:00.0", "10000:01:00.0", "x0000:01:00.0"}) {
    EXPECT_FALSE(is_module(kDevices + other)) << other;
  }
  EXPECT_TRUE(is_module(kDevices + "0000:01:00.0"));
  EXPECT_TRUE(is_module("0000:01:00.0"));
}

TEST_F(BridgedModule, OnlyTheFirstThirtyComponentsAreVisited) {
  function("0000:01:00.0", endpoint_config(kModule));
  std::string path;
  for (int i = 0; i < 29; ++i) {
    path += "//x";
  }
  EXPECT_TRUE(is_module(path + "/0000:01:00.0"));
  EXPECT_FALSE(is_module(path + "/x/0000:01:00.0"));
}

TEST_F(BridgedModule, AComponentIsReadAsThreeHexadecimalBytes) {
  function("0000:0a:1f.7", endpoint_config(kModule)).write("sys/bus/pci/devices/0000:00:00.0/config", "");
  for (const char* const component : {"0000:0a:1f.7", "0000:0A:1F.7", "0000:a:1f.7", "0000:10a:21f.107", "0000:0a.1f:7",
                                      "0000::0a::1f..7", "0000:0a:1f.7:rest"}) {
    EXPECT_TRUE(is_module(component)) << component;
  }
  // Of 16 characters behind the domain the last one is this function's digit.
  EXPECT_TRUE(is_module("0000:0000000a:0001f.7"));
  EXPECT_FALSE(is_module("0000:0000000a:00001f.7"));
}

TEST_F(BridgedModule, AFunctionAboveThePciRangesIsReadUnderThatNumber) {
  function("0000:0a:ff.ff", endpoint_config(kModule));
  EXPECT_TRUE(is_module("0000:0a:ff.ff"));
  EXPECT_TRUE(is_module_at(0));
  EXPECT_FALSE(is_module("0000:0a:1f.7"));
}

TEST_F(BridgedModule, TracesShowEveryStepUpToTheModule) {
  function("0000:03:00.0", endpoint_config({0x8086, 0x1521, 0x8086, 0x0001}));
  function("0000:01:00.0", endpoint_config(kModule));
  const std::string path = kDevices + "0000:00:1c.0/0000:01:00.0/0000:03:00.0";
  add_device("eth0");
  copy_text(add_device("eth1").net_path, path);
  EXPECT_EQ(traced_by([] { EXPECT_TRUE(is_module_at(1)); }),
            "qorx_check_WMX_LH53 Splitting string \"" + path +
                "\" into tokens:\n"
                "..\n..\ndevices\npci0000:00\n0000:00:1c.0\n0000:01:00.0\n0000:03:00.0\n"
                "check 03:00.0\n03\n00\n0\nBUS:DEV.FUN: 3 0 0\n1 8086 1!\n"
                "check 01:00.0\n01\n00\n0\nBUS:DEV.FUN: 1 0 0\n1 13fe 204a!\n");
}

TEST_F(BridgedModule, TracesShowAFunctionThatCannotBeRead) {
  copy_text(add_device("eth0").net_path, "x/0000:0a:1f.7/y");
  EXPECT_EQ(traced_by([] { EXPECT_FALSE(is_module_at(0)); }),
            "qorx_check_WMX_LH53 Splitting string \"x/0000:0a:1f.7/y\" into tokens:\n"
            "x\n0000:0a:1f.7\ny\n"
            "check 0a:1f.7\n0a\n1f\n7\nBUS:DEV.FUN: a 1f 7\n"
            "can't open name /sys/bus/pci/devices/0000:0a:1f.7/config\n"
            "0 10000 10000!\n");
}

TEST_F(BridgedModule, TracesShowAtMostSixteenCharactersOfAComponent) {
  copy_text(add_device("eth0").net_path, "0000:0a:1f.7:0123456789");
  const std::string trace = traced_by([] { EXPECT_FALSE(is_module_at(0)); });
  EXPECT_NE(trace.find("check 0a:1f.7:01234567\n0a\n1f\n7\n01234567\nBUS:DEV.FUN: a 1f 7\n"), std::string::npos)
      << trace;
}

TEST_F(BridgedModule, SeveralPortsBehindOneBridgeAreAllMarkedByTheScan) {
  machine_.add_function("0000:01:00.0", bridge_config(kModule, 0x40))
      .add_port("eth0", "0000:01:00.0/0000:02:00.0")
      .add_port("eth1", "0000:01:00.0/0000:02:00.1")
      .add_port("eth2", "0000:05:00.0")
      .add_port("eth3", "0000:06:00.0", kModule);
  EXPECT_EQ(scanned(&DeviceRecord::model), (Texts{"WMX-LH53", "WMX-LH53", "", "WMX-LH53"}));
  EXPECT_EQ(texts_of(device_records(), &DeviceRecord::panel_name), (Texts{"N/A", "N/A", "", "N/A"}));
}

TEST_F(BridgedModule, ASecondScanReadsTheMachineAgain) {
  machine_.add_port("eth0", "0000:01:00.0/0000:02:00.0");
  EXPECT_EQ(scanned(&DeviceRecord::model), Texts{""});
  machine_.add_function("0000:01:00.0", bridge_config(kModule, 0x40));
  clear_tables();
  EXPECT_EQ(scanned(&DeviceRecord::model), Texts{"WMX-LH53"});
}

// A storage controller's private domain repeats its own address: the same numbers, another function.
TEST_F(BridgedModule, AnAddressInAnotherDomainSaysNothingOfDomainZero) {
  machine_.add_function("0000:00:0e.0", endpoint_config(kModule));
  machine_.add_port("eth0", "0000:00:0e.0/pci10000:00/10000:00:0e.0");
  EXPECT_EQ(scanned(&DeviceRecord::model), Texts{"WMX-LH53"});
}

}  // namespace
}  // namespace qorx::test
