// Corrections after the scan: ports of controllers of which only the first function carries the ids.
#include "ident/subsystem_hooks.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/support/expect.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

constexpr std::uint32_t kX710 = 0x1572;
constexpr std::uint32_t kXl710 = 0x1583;
constexpr std::uint32_t kX710Copper = 0x1589;
constexpr std::uint32_t kI350 = 0x1521;
constexpr int kFlagBefore = 9;

// What the hook reads of a port, in the order of the functions of one device; and what it may write.
struct Port {
  int bus;
  std::uint32_t device_id;
  std::uint32_t subsys_device_id;
  std::string model = "";
  int feature = 0;
  int flag = kFlagBefore;
  std::uint32_t vendor_id = 0x8086;
};

struct Result {
  std::string model;
  int feature = 0;
  int flag = kFlagBefore;
  bool operator==(const Result&) const = default;
  friend void PrintTo(const Result& result, std::ostream* out) {
    *out << '"' << result.model << "\" feature " << result.feature << " flag " << result.flag;
  }
};

using Ports = std::vector<Port>;
using Results = std::vector<Result>;

void add_ports(const Ports& ports) {
  int fun = 0;
  for (const Port& port : ports) {
    DeviceRecord& record = add_port({.bus = port.bus, .fun = fun++, .model = port.model, .feature = port.feature});
    set_port(record, {.bypass_ctrl_flag = port.flag, .vendor_id = port.vendor_id, .device_id = port.device_id});
    set_port(record, {.subsys_device_id = port.subsys_device_id});
  }
}

Results corrected() {
  EXPECT_EQ(printed_by(post_subsystem_id_general_hook), "");
  Results results;
  for (const DeviceRecord& record : device_records()) {
    results.push_back({record.model, record.feature, record.bypass_ctrl_flag});
  }
  return results;
}

struct Sharing {
  std::string_view rule;
  Ports ports;
  Results results;
};

class SubsystemHook : public RowTest<Sharing> {};

TEST_P(SubsystemHook, Corrects) {
  add_ports(row().ports);
  EXPECT_EQ(corrected(), row().results);
}

const Port kFirst{3, kX710, 0x2050, "WMX-6997", 8};
const Port kPlain{3, kX710, 0};
const Result kShared{"WMX-6997", 8};
const Result kNothing{""};

Sharing both(std::string_view rule, std::uint32_t device_id) {
  return {rule, {{3, device_id, 0x2050, "WMX-6997", 8}, {3, device_id, 0}}, {kShared, kShared}};
}

// Of two ports of this controller the second gets nothing from the first.
Sharing none(std::string_view rule, std::uint32_t device_id, std::uint32_t vendor_id = 0x8086) {
  return {
      rule,
      {{3, device_id, 0x2050, "WMX-6997", 8, kFlagBefore, vendor_id}, {3, device_id, 0, "", 0, kFlagBefore, vendor_id}},
      {kShared, kNothing}};
}

QORX_ROWS(SubsystemHook, both("two ports of the X710 share", kX710), both("two ports of the XL710 share", kXl710),
          both("two ports of the X710 for copper share", kX710Copper), none("the I350 shares nothing", kI350),
          none("a neighbouring device id shares nothing", 0x1573), none("another vendor shares nothing", kX710, 0x15B3),
          none("an unknown controller shares nothing", QORX_ID_UNKNOWN),
          {"only the first port carries 1pps",
           {{3, kX710, 0x3031, "X710_FI", 32}, kPlain, kPlain, kPlain},
           {{"X710_FI", 32}, {"X710_FI", 8}, {"X710_FI", 8}, {"X710_FI", 8}}},
          {"of a bypass card's ports the even ones carry the control",
           {{3, kX710, 0x0027, "WMX-6264", 2}, kPlain, kPlain, kPlain},
           {{"WMX-6264", 2}, {"WMX-6264", 2, 0}, {"WMX-6264", 2, 1}, {"WMX-6264", 2, 0}}},
          {"a port without an id shares nothing", {{3, kX710, 0, "model", 1}, kPlain}, {{"model", 1}, kNothing}},
          {"the look-ahead is three ports",
           {kFirst, kPlain, kPlain, kPlain, kPlain},
           {kShared, kShared, kShared, kShared, kNothing}},
          {"another controller ends it", {kFirst, {3, kXl710, 0}, kPlain}, {kShared, kNothing, kNothing}},
          {"another bus ends it", {kFirst, {4, kX710, 0}, kPlain}, {kShared, kNothing, kNothing}},
          // The last port hears the second one, which speaks after the first.
          {"a port with its own id is left alone and passed by",
           {kFirst, {3, kX710, 1, "own", 1}, kPlain},
           {kShared, {"own", 1}, {"own", 1}}},
          {"an unknown id is an id of its own",
           {kFirst, {3, kX710, QORX_ID_UNKNOWN, "unknown"}},
           {kShared, {"unknown"}}},
          // The last port has the flag from the first port, model and feature from the third.
          {"what was written takes part in its own turn",
           {{3, kX710, 0x0027, "WMX-6264", 2}, kPlain, kFirst, kPlain},
           {{"WMX-6264", 2}, {"WMX-6264", 2, 0}, kShared, {"WMX-6997", 8, 0}}},
          {"the onboard E822 has no bypass on the controller 1898", {{3, 0x1898, 0x3037, "E", 2}}, {{"E", 8}}},
          {"nor on the controller 1892", {{3, 0x1892, 0x3037, "E", 2}}, {{"E", 8}}},
          {"it has on any other controller", {{3, 0x1897, 0x3037, "E", 2}}, {{"E", 2}}},
          {"and on another vendor's controller", {{3, 0x1898, 0x3037, "E", 2, kFlagBefore, 0x8087}}, {{"E", 2}}},
          {"another card on that controller keeps its bypass", {{3, 0x1898, 0x3036, "E", 2}}, {{"E", 2}}},
          {"an empty table is fine", {}, {}});

using SubsystemHookTable = LibraryTest;

TEST_F(SubsystemHookTable, TheRecordBehindTheLastOneIsNotAPort) {
  add_ports({kFirst, kPlain});
  qorx_system_environment_info.eth_device_number = 1;
  std::memset(&qorx_eth_device_mapping[1], 0, sizeof qorx_eth_device_mapping[1]);
  EXPECT_EQ(corrected(), Results{kShared});
  EXPECT_STREQ(qorx_eth_device_mapping[1].model, "");
}

TEST_F(SubsystemHookTable, AFullTableEndsWithItsLastRecord) {
  Ports ports(kMaxRecords - 2, Port{2, kI350, 0});
  ports.insert(ports.end(), {kFirst, kPlain});
  add_ports(ports);
  EXPECT_EQ(corrected().back(), kShared);
}

// A bypass port of the controller of which only the ports on the lowest bus keep the flag.
struct BypassPort {
  int bus;
  int i2c_bus;
  int switch1;
  int switch2;
  int segment;
  int flag = 1;
  std::uint32_t subsys_device_id = 0x3043;
};

struct OneController {
  std::string_view rule;
  std::vector<BypassPort> ports;
  std::vector<int> flags;
};

class LowestBus : public RowTest<OneController> {};

TEST_P(LowestBus, KeepsTheFlag) {
  for (const BypassPort& port : row().ports) {
    add_ports({{port.bus, 0x125B, port.subsys_device_id, "", 0, port.flag}});
    DeviceRecord& record = set_port(device_records().back(), {.bypass_bus = port.i2c_bus, .mcu_segment = port.segment});
    set_port(record, {.bypass_switch1 = port.switch1, .bypass_switch2 = port.switch2});
  }
  std::vector<int> flags;
  for (const Result& result : corrected()) {
    flags.push_back(result.flag);
  }
  EXPECT_EQ(flags, row().flags);
}

QORX_ROWS(LowestBus,
          {"only the lowest of several buses",
           {{3, 1, 255, 255, 1}, {5, 1, 255, 255, 1}, {4, 1, 255, 255, 1}},
           {1, 0, 0}},
          {"all ports on the lowest bus", {{3, 1, 255, 255, 1}, {3, 1, 255, 255, 1}, {255, 1, 255, 255, 1}}, {1, 1, 0}},
          {"any difference in the address is another controller",
           {{3, 1, 2, 3, 4}, {5, 9, 2, 3, 4}, {5, 1, 9, 3, 4}, {5, 1, 2, 9, 4}, {5, 1, 2, 3, 9}, {5, 1, 2, 3, 4}},
           {1, 1, 1, 1, 1, 0}},
          {"a port on a lower bus counts whatever it is",
           {{2, 0, 0, 0, 0, kFlagBefore, 0x1234}, {5, 0, 0, 0, 0}},
           {kFlagBefore, 0}},
          {"only a set flag of that controller is cleared",
           {{3, 1, 255, 255, 1, 0}, {5, 1, 255, 255, 1, 2}, {6, 1, 255, 255, 1, 1, 0x3042}, {7, 1, 255, 255, 1}},
           {0, 2, 1, 0}});

}  // namespace
}  // namespace qorx::test
