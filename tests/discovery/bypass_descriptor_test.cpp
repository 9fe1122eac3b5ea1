// The LAN-bypass descriptor in a slot designation: its grammar and its errors.
#include "discovery/bypass_descriptor.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "base/messages.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

constexpr int kSlot = 9;
constexpr int kOnboard = 41;

struct Fields {
  char type;
  int bus;
  int switch1;
  int switch2;
  int mcu_segment;
  int ctrl_flag;

  friend bool operator==(const Fields&, const Fields&) = default;
  friend std::ostream& operator<<(std::ostream& out, const Fields& f) {
    return out << (f.type == 0 ? '0' : f.type) << ' ' << f.bus << '.' << f.switch1 << '.' << f.switch2 << " segment "
               << f.mcu_segment << " flag " << f.ctrl_flag;
  }
};

constexpr Fields kNothing{0, 0, 0, 0, 0, 0};

class BypassDescriptor : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  // Parses the descriptor in a slot name; what it printed is in printed_.
  Fields parse(const std::string& slot_name, int smbios_type) {
    reset_library();
    DeviceRecord& record = add_device("eth0", slot_name, smbios_type);
    printed_ = printed_by([&] { EXPECT_EQ(parse_bypass_descriptor(record), 0); });
    return {record.bypass_type,    record.bypass_bus,  record.bypass_switch1,
            record.bypass_switch2, record.mcu_segment, record.bypass_ctrl_flag};
  }

  void expect_error(const char* area, const std::string& slot_name, int smbios_type, const Fields& kept) {
    SCOPED_TRACE(slot_name);
    EXPECT_EQ(parse(slot_name, smbios_type), kept);
    EXPECT_EQ(printed_, "SMBIOS data wrong format. (" + std::string(area) + ") String: " + slot_name + "\n");
  }

  void expect_parsed(const std::string& slot_name, int smbios_type, const Fields& fields) {
    SCOPED_TRACE(slot_name);
    EXPECT_EQ(parse(slot_name, smbios_type), fields);
    EXPECT_EQ(printed_, "");
  }

  FakeMachine machine_;
  std::string printed_;
};

TEST_F(BypassDescriptor, ASystemSlotHasPathBusAndTwoSwitchPorts) {
  expect_parsed("Slot 1 (B.3.2.255)", kSlot, {'B', 3, 2, 255, 0, 1});
  expect_parsed("(B.0.0.7)", kSlot, {'B', 0, 0, 7, 0, 1});
  expect_parsed("(B.255.255.255)", kSlot, {'B', 255, 255, 255, 0, 1});
}

TEST_F(BypassDescriptor, AnOnboardPositionHasASegmentToo) {
  expect_parsed("LAN1 (B.3.2.255.1)", kOnboard, {'B', 3, 2, 255, 1, 1});
  expect_parsed("LAN1 (B.3.2.255.4) rear", kOnboard, {'B', 3, 2, 255, 4, 1});
  expect_parsed("(B.3.2.255.2", kOnboard, {'B', 3, 2, 255, 2, 1});
}

TEST_F(BypassDescriptor, ASystemSlotIgnoresWhatFollowsTheSecondSwitch) {
  expect_parsed("(B.3.2.1.9)", kSlot, {'B', 3, 2, 1, 0, 1});
  expect_parsed("(B.3.2.1) x", kSlot, {'B', 3, 2, 1, 0, 1});
  expect_parsed("(B.3.2.1", kSlot, {'B', 3, 2, 1, 0, 1});
}

TEST_F(BypassDescriptor, ANameWithoutAParenthesisHasNone) {
  for (const char* const name : {"", "Slot 1", "B.3.2.255)", "[B.3.2.255]"}) {
    expect_parsed(name, kSlot, kNothing);
    expect_parsed(name, kOnboard, kNothing);
  }
}

TEST_F(BypassDescriptor, TheFirstFieldIsThePathAndNothingElse) {
  for (const char* const name : {"(X.1.2.3)", "Slot (A) (B.3.2.255)", "(h.1.2.3)", "(H1.1.2.3)", "( H.1.2.3)",
                                 "((H.1.2.3)", "(HB.1.2.3)", "(", "()", "(.H.1.2.3)", "(1.2.3)", "x(b.1.2.3)"}) {
    expect_error("H/B area", name, kSlot, kNothing);
  }
}

TEST_F(BypassDescriptor, ADotBetweenTheParenthesisAndThePathIsWrong) {
  expect_error("H/B area", "(.B.1.2.3)", kSlot, kNothing);
}

TEST_F(BypassDescriptor, TheBusIsBelow256) {
  expect_error("BUS", "(B.256.2.3)", kSlot, {'B', 0, 0, 0, 0, 0});
  expect_error("BUS", "(B.999.2.3)", kSlot, {'B', 0, 0, 0, 0, 0});
  expect_error("BUS", "(B", kSlot, {'B', 0, 0, 0, 0, 0});
  expect_error("BUS", "(B.", kSlot, {'B', 0, 0, 0, 0, 0});
  expect_parsed("(B.-1.2.3)", kSlot, {'B', 255, 2, 3, 0, 1});
}

TEST_F(BypassDescriptor, ASwitchPortIsZeroToSevenOr255) {
  for (const char* const port : {"8", "9", "100", "254", "256", "263", "-1", "511"}) {
    const std::string text = port;
    expect_error("BUS", "(B.3." + text + ".255)", kSlot, {'B', 3, 0, 0, 0, 0});
    expect_error("BUS", "(B.3.2." + text + ")", kSlot, {'B', 3, 2, 0, 0, 0});
  }
  for (int port = 0; port <= 7; ++port) {
    const std::string text = std::to_string(port);
    expect_parsed("(B.3." + text + ".255)", kSlot, {'B', 3, port, 255, 0, 1});
    expect_parsed("(B.3.255." + text + ")", kSlot, {'B', 3, 255, port, 0, 1});
  }
}

TEST_F(BypassDescriptor, MissingFieldsAreABusError) {
  expect_error("BUS", "(B.3)", kSlot, {'B', 3, 0, 0, 0, 0});
  expect_error("BUS", "(B.3.2)", kSlot, {'B', 3, 2, 0, 0, 0});
  expect_error("BUS", "(B.3.2.", kSlot, {'B', 3, 2, 0, 0, 0});
  expect_error("BUS", "(B.1.9.255)", kSlot, {'B', 1, 0, 0, 0, 0});
}

TEST_F(BypassDescriptor, AFieldWithoutDigitsIsZero) {
  expect_parsed("(B.x.y.z)", kSlot, {'B', 0, 0, 0, 0, 1});
  expect_parsed("(B. 3.2x.1)", kSlot, {'B', 3, 2, 1, 0, 1});
}

TEST_F(BypassDescriptor, RunsOfDotsCountAsOne) {
  expect_parsed("(B..3...2.1)", kSlot, {'B', 3, 2, 1, 0, 1});
}

TEST_F(BypassDescriptor, TheSegmentOfAnOnboardPositionIsOneToFour) {
  for (const char* const tail : {".5)", ".0)", ".-1)", ".)", ".x)", "", ")", ".", "..1)", ".260)"}) {
    expect_error("MCU_SEGMENT", "(B.3.255.7" + std::string(tail), kOnboard, {'B', 3, 255, 7, 0, 0});
  }
  for (int segment = 1; segment <= 4; ++segment) {
    expect_parsed("(B.3.255.7." + std::to_string(segment) + ")", kOnboard, {'B', 3, 255, 7, segment, 1});
  }
  expect_error("MCU_SEGMENT", "(B.3.255.255.5)", kOnboard, {'B', 3, 255, 255, 0, 0});
}

TEST_F(BypassDescriptor, APortWithoutASlotTypeIsReadLikeASystemSlot) {
  expect_parsed("(B.3.2.255.9)", 0, {'B', 3, 2, 255, 0, 1});
}

TEST_F(BypassDescriptor, AWholeNameFieldIsParsed) {
  const std::string padding(238, 'x');
  expect_parsed(padding + "(B.200.255.255)", kSlot, {'B', 200, 255, 255, 0, 1});
}

TEST_F(BypassDescriptor, ErrorsAreSilentWhenErrorMessagesAreOff) {
  for (const char* const name : {"(X.1.2.3)", "(B.1.9.255)", "(B.3.255.255.5)"}) {
    reset_library();
    g_error_message_open = 0;
    DeviceRecord& record = add_device("eth0", name, kOnboard);
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(parse_bypass_descriptor(record), 0); }), "");
    EXPECT_EQ(record.bypass_ctrl_flag, 0);
  }
}

TEST_F(BypassDescriptor, AnErrorKeepsAControlFlagThatWasSet) {
  DeviceRecord& record = add_device("eth0", "(X.1.2.3)", kSlot);
  record.bypass_ctrl_flag = 1;
  static_cast<void>(printed_by([&] { static_cast<void>(parse_bypass_descriptor(record)); }));
  EXPECT_EQ(record.bypass_ctrl_flag, 1);
}

TEST_F(BypassDescriptor, TheSummaryIsTracedOnOneLine) {
  struct Case {
    const char* slot_name;
    int smbios_type;
    const char* summary;
  };
  for (const Case& c :
       {Case{"(B.3.2.255.1)", kOnboard,
             "Advanced LAN Bypass setting: TYPE: B, BUS: 3.2.255, MCU_SEGMENT: 1, smbios type: 41\n"},
        Case{"(B.10.255.0)", kSlot,
             "Advanced LAN Bypass setting: TYPE: B, BUS: 10.255.0, MCU_SEGMENT: 0, smbios type: 9\n"}}) {
    DeviceRecord& record = add_device("eth0", c.slot_name, c.smbios_type);
    EXPECT_EQ(traced_by([&] { static_cast<void>(parse_bypass_descriptor(record)); }), c.summary);
  }
}

TEST_F(BypassDescriptor, AWrongDescriptorHasNoSummary) {
  DeviceRecord& record = add_device("eth0", "(B.1.9.255)", kSlot);
  EXPECT_EQ(traced_by([&] { static_cast<void>(parse_bypass_descriptor(record)); }),
            "SMBIOS data wrong format. (BUS) String: (B.1.9.255)\n");
}

TEST_F(BypassDescriptor, TheBaseboardPathNeverLooksAtTheHostsAdapters) {
  machine_.add_i2c_adapter(5, "SMBus I801 adapter at efa0").add_i2c_adapter(6, "i2c-3-mux (chan_id 2)");
  expect_parsed("(B.3.2.255)", kSlot, {'B', 3, 2, 255, 0, 1});
  EXPECT_EQ(g_x86_i2c_root_port_number, -1);
}

}  // namespace
}  // namespace qorx::test
