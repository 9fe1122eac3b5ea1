// The LAN-bypass descriptor in a slot designation: its grammar and its errors.
#include "discovery/bypass_descriptor.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "base/messages.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

// The descriptor of a machine that has not been asked for its adapters before.
std::int32_t parse_descriptor(DeviceRecord& record) {
  I2cAdapters adapters;
  return parse_bypass_descriptor(adapters, record);
}

constexpr int kSlot = 9;
constexpr int kOnboard = 41;

struct Fields {
  char type = 0;
  int bus = 0;
  int switch1 = 0;
  int switch2 = 0;
  int mcu_segment = 0;
  int ctrl_flag = 0;

  friend bool operator==(const Fields&, const Fields&) = default;
  friend std::ostream& operator<<(std::ostream& out, const Fields& f) {
    return out << (f.type == 0 ? '0' : f.type) << ' ' << f.bus << '.' << f.switch1 << '.' << f.switch2 << " segment "
               << f.mcu_segment << " flag " << f.ctrl_flag;
  }
};

Fields fields_of(const DeviceRecord& record) {
  return {record.bypass_type,    record.bypass_bus,  record.bypass_switch1,
          record.bypass_switch2, record.mcu_segment, record.bypass_ctrl_flag};
}

std::string printed_while_parsing(DeviceRecord& record) {
  return printed_by([&record] { EXPECT_EQ(parse_descriptor(record), 0); });
}

struct Descriptor {
  std::string_view rule;
  int smbios_type;
  std::vector<std::string> slot_names;  // each of them
  Fields fields;
  const char* wrong_area = nullptr;  // named in the message about it
};

class BypassDescriptor : public RowTest<Descriptor, MachineTest> {};

// Whether an error is printed or not, it is the same.
TEST_P(BypassDescriptor, Gives) {
  for (const std::string& name : row().slot_names) {
    SCOPED_TRACE(name);
    const bool wrong = row().wrong_area != nullptr;
    DeviceRecord& record = add_device("eth0", name, row().smbios_type);
    EXPECT_EQ(printed_while_parsing(record),
              wrong ? "SMBIOS data wrong format. (" + std::string(row().wrong_area) + ") String: " + name + "\n" : "");
    EXPECT_EQ(fields_of(record), row().fields);
    g_error_message_open = 0;
    DeviceRecord& silent = add_device("eth0", name, row().smbios_type);
    EXPECT_EQ(printed_while_parsing(silent), "");
    EXPECT_EQ(fields_of(silent), row().fields);
    g_error_message_open = 1;
  }
}

std::vector<std::string> around(const std::string& head, const std::vector<std::string>& values,
                                const std::string& tail) {
  std::vector<std::string> names;
  for (const std::string& value : values) {
    names.push_back(head + value + tail);
  }
  return names;
}

const std::vector<std::string> kWrongPorts{"8", "9", "100", "254", "256", "263", "-1", "511"};

QORX_ROWS(
    BypassDescriptor,
    {"a system slot has path, bus and two switch ports", kSlot, {"Slot 1 (B.3.2.255)"}, {'B', 3, 2, 255, 0, 1}},
    {"zero is a bus and a port", kSlot, {"(B.0.0.7)"}, {'B', 0, 0, 7, 0, 1}},
    {"255 is a bus and means no switch", kSlot, {"(B.255.255.255)"}, {'B', 255, 255, 255, 0, 1}},
    {"an onboard position has a segment too", kOnboard, {"LAN1 (B.3.2.255.1)"}, {'B', 3, 2, 255, 1, 1}},
    {"text may follow an onboard position", kOnboard, {"LAN1 (B.3.2.255.4) rear"}, {'B', 3, 2, 255, 4, 1}},
    {"the closing parenthesis may be missing", kOnboard, {"(B.3.2.255.2"}, {'B', 3, 2, 255, 2, 1}},
    {"a system slot ignores what follows the second switch",
     kSlot,
     {"(B.3.2.1.9)", "(B.3.2.1) x", "(B.3.2.1"},
     {'B', 3, 2, 1, 0, 1}},
    {"a port without a slot type is read like a system slot", 0, {"(B.3.2.255.9)"}, {'B', 3, 2, 255, 0, 1}},
    {"a name without a parenthesis has none", kSlot, {"", "Slot 1", "B.3.2.255)", "[B.3.2.255]"}, {}},
    {"onboard too", kOnboard, {"", "Slot 1", "B.3.2.255)", "[B.3.2.255]"}, {}},
    {"the first field is the path and nothing else",
     kSlot,
     {"(X.1.2.3)", "Slot (A) (B.3.2.255)", "(h.1.2.3)", "(H1.1.2.3)", "( H.1.2.3)", "((H.1.2.3)", "(HB.1.2.3)", "(",
      "()", "(.H.1.2.3)", "(.B.1.2.3)", "(1.2.3)", "x(b.1.2.3)"},
     {},
     "H/B area"},
    {"the bus is below 256", kSlot, {"(B.256.2.3)", "(B.999.2.3)", "(B", "(B."}, {'B'}, "BUS"},
    {"a negative bus is below 256", kSlot, {"(B.-1.2.3)"}, {'B', 255, 2, 3, 0, 1}},
    {"the first port is zero to seven or 255", kSlot, around("(B.3.", kWrongPorts, ".255)"), {'B', 3}, "BUS"},
    {"so is the second", kSlot, around("(B.3.2.", kWrongPorts, ")"), {'B', 3, 2}, "BUS"},
    {"a missing first port is a bus error", kSlot, {"(B.3)"}, {'B', 3}, "BUS"},
    {"a missing second port is a bus error", kSlot, {"(B.3.2)", "(B.3.2."}, {'B', 3, 2}, "BUS"},
    {"a field without digits is zero", kSlot, {"(B.x.y.z)"}, {'B', 0, 0, 0, 0, 1}},
    {"a number ends at another character", kSlot, {"(B. 3.2x.1)"}, {'B', 3, 2, 1, 0, 1}},
    {"runs of dots count as one", kSlot, {"(B..3...2.1)"}, {'B', 3, 2, 1, 0, 1}},
    {"the segment of an onboard position is one to four",
     kOnboard,
     around("(B.3.255.7", {".5)", ".0)", ".-1)", ".)", ".x)", "", ")", ".", "..1)", ".260)"}, ""),
     {'B', 3, 255, 7},
     "MCU_SEGMENT"},
    {"a whole name field is parsed", kSlot, {std::string(238, 'x') + "(B.200.255.255)"}, {'B', 200, 255, 255, 0, 1}});

using BypassPorts = MachineTest;

TEST_F(BypassPorts, SwitchPortsAndSegmentsThatExistAreTaken) {
  for (int port = 0; port <= 7; ++port) {
    const std::string text = std::to_string(port);
    DeviceRecord& first = add_device("eth0", "(B.3." + text + ".255)", kSlot);
    DeviceRecord& second = add_device("eth1", "(B.3.255." + text + ")", kSlot);
    EXPECT_EQ(printed_while_parsing(first) + printed_while_parsing(second), "");
    EXPECT_EQ(fields_of(first), (Fields{'B', 3, port, 255, 0, 1}));
    EXPECT_EQ(fields_of(second), (Fields{'B', 3, 255, port, 0, 1}));
  }
  for (int segment = 1; segment <= 4; ++segment) {
    DeviceRecord& record = add_device("eth0", "(B.3.255.7." + std::to_string(segment) + ")", kOnboard);
    EXPECT_EQ(printed_while_parsing(record), "");
    EXPECT_EQ(fields_of(record), (Fields{'B', 3, 255, 7, segment, 1}));
  }
}

TEST_F(BypassPorts, AnErrorKeepsAControlFlagThatWasSet) {
  DeviceRecord& record = add_device("eth0", "(X.1.2.3)", kSlot);
  record.bypass_ctrl_flag = 1;
  printed_while_parsing(record);
  EXPECT_EQ(record.bypass_ctrl_flag, 1);
}

TEST_F(BypassPorts, OnlyADescriptorWithoutErrorIsSummedUpInATrace) {
  const auto traced = [](const char* name, int type) {
    DeviceRecord& record = add_device("eth0", name, type);
    return traced_by([&] { EXPECT_EQ(parse_descriptor(record), 0); });
  };
  EXPECT_EQ(traced("(B.3.2.255.1)", kOnboard),
            "Advanced LAN Bypass setting: TYPE: B, BUS: 3.2.255, MCU_SEGMENT: 1, smbios type: 41\n");
  EXPECT_EQ(traced("(B.10.255.0)", kSlot),
            "Advanced LAN Bypass setting: TYPE: B, BUS: 10.255.0, MCU_SEGMENT: 0, smbios type: 9\n");
  EXPECT_EQ(traced("(B.1.9.255)", kSlot), "SMBIOS data wrong format. (BUS) String: (B.1.9.255)\n");
}

TEST_F(BypassPorts, TheBaseboardPathNeverLooksAtTheHostsAdapters) {
  machine_.add_i2c_adapter(5, "SMBus I801 adapter at efa0").add_i2c_adapter(6, "i2c-3-mux (chan_id 2)");
  DeviceRecord& record = add_device("eth0", "(B.3.2.255)", kSlot);
  EXPECT_EQ(printed_while_parsing(record), "");
  EXPECT_EQ(fields_of(record), (Fields{'B', 3, 2, 255, 0, 1}));
  EXPECT_EQ(g_x86_i2c_root_port_number, -1);
}

}  // namespace
}  // namespace qorx::test
