#include "output/bypass_segments.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "records/state.h"
#include "tests/support/library.h"

namespace qorx {
namespace {

using Segments = std::vector<int>;

class BypassSegments : public testing::Test {
 protected:
  void SetUp() override { test::reset_library(); }
  void TearDown() override { test::reset_library(); }

  static void add_ports(int count, std::string_view slot_name, int type = QORX_SMBIOS_SYSTEM_SLOT) {
    for (int i = 0; i < count; ++i) {
      test::add_device("eth", slot_name, type).seg = 77;
    }
  }

  static Segments assigned() {
    EXPECT_EQ(test::printed_by([] { EXPECT_EQ(qorx_assign_bypass_seg(), 0); }), "");
    Segments segments;
    for (const DeviceRecord& record : device_records()) {
      segments.push_back(record.seg);
    }
    return segments;
  }
};

struct NumberCase {
  const char* text;
  int number;
};

const std::vector<NumberCase> kNumbers{
    {"", -1},
    {"7", 7},
    {"0", 0},
    {"42", 42},
    {"00", 0},
    {"05", 5},
    {"99", 99},
    {"123", 23},
    {"Slot 7", 7},
    {"Slot 10", 10},
    {"Slot 05", 5},
    {"Slot", 255},
    {"Slot 1A", 255},
    {"A1", 1},
    {"1 ", 255},
    {" ", 255},
    {"x", 255},
    {"-1", 1},
    {"a:9", 9},
    {"a/9", 9},
    {"\xB2\xB9"
     "3",
     3},
    {"3\xB2", 255},
};

TEST(Last2CharToNum, ReadsOneOrTwoDigitsAtTheEnd) {
  for (const NumberCase& c : kNumbers) {
    EXPECT_EQ(Last2CharToNum(c.text), c.number) << '"' << c.text << '"';
  }
}

TEST(Last2CharToNum, TracesTextAndResult) {
  for (const NumberCase& c : kNumbers) {
    EXPECT_EQ(test::traced_by([&c] { Last2CharToNum(c.text); }),
              std::string(c.text) + " " + std::to_string(c.number) + "\n");
  }
}

TEST_F(BypassSegments, TwoPortsOfASlotShareASegmentThatTheSlotNumbers) {
  add_ports(5, "WMX Slot 3");
  EXPECT_EQ(assigned(), (Segments{12, 12, 13, 13, 14}));
}

TEST_F(BypassSegments, OnboardPortsAreCountedTogetherFromOneHundred) {
  add_ports(1, "LAN 1", QORX_SMBIOS_ONBOARD_DEVICE);
  add_ports(1, "WMX Slot 1");
  add_ports(2, "LAN 2", QORX_SMBIOS_ONBOARD_DEVICE);
  add_ports(1, "", QORX_SMBIOS_ONBOARD_DEVICE);
  EXPECT_EQ(assigned(), (Segments{100, 4, 100, 101, 101}));
}

TEST_F(BypassSegments, WithoutASlotRecordThereIsNoNumber) {
  add_ports(1, "", 0);
  add_ports(1, "WMX Slot 1", 0);
  EXPECT_EQ(assigned(), (Segments{255, 255}));
}

TEST_F(BypassSegments, AnyOtherTypeKeepsWhatItHas) {
  add_ports(1, "WMX Slot 1", 8);
  add_ports(1, "WMX Slot 1", 42);
  EXPECT_EQ(assigned(), (Segments{77, 77}));
}

TEST_F(BypassSegments, ARemarkInParenthesesIsNotPartOfTheNumber) {
  struct Case {
    const char* name;
    int segment;
  };
  for (const Case& c :
       {Case{"Slot 12 (left)", 48}, Case{"Slot 7 (H.1.255.255)", 28}, Case{"Slot 7  (x)", 255}, Case{"Slot 7(2)", 255},
        Case{"Slot (5", 255}, Case{"Slot 3 (a) (b)", 12}, Case{" (x)", 255}, Case{"(5) (x)", 255},
        Case{"Slot 2(a) (b)", 255}, Case{"Slot 23(a) (b)", 8}, Case{"Slot 4 (9", 16}, Case{"Slot (x) 5", 255}}) {
    test::reset_library();
    add_ports(1, c.name);
    EXPECT_EQ(assigned(), Segments{c.segment}) << c.name;
  }
}

TEST_F(BypassSegments, ASlotWithoutATrailingNumberHasNoSegments) {
  add_ports(3, "WMX Slot A");
  EXPECT_EQ(assigned(), (Segments{255, 255, 255}));
}

TEST_F(BypassSegments, FromSlot64OnTheByteWraps) {
  struct Case {
    const char* name;
    int segment;
  };
  for (const Case& c : {Case{"Slot 0", 0}, Case{"Slot 1", 4}, Case{"Slot 63", 252}, Case{"Slot 64", 0},
                        Case{"Slot 65", 4}, Case{"Slot 99", 140}}) {
    test::reset_library();
    add_ports(1, c.name);
    EXPECT_EQ(assigned(), Segments{c.segment}) << c.name;
  }
}

// 63 * 4 + 3 is the value that means "none"; the pair behind it wraps.
TEST_F(BypassSegments, TheLastPairsOfSlot63MeetTheSentinelAndWrap) {
  add_ports(10, "Slot 63");
  EXPECT_EQ(assigned(), (Segments{252, 252, 253, 253, 254, 254, 255, 255, 0, 0}));
}

TEST_F(BypassSegments, PositionsCountEveryPortWhateverItsFeature) {
  add_ports(4, "Slot 1");
  qorx_eth_device_mapping[0].feature = QORX_FEATURE_NA;
  qorx_eth_device_mapping[2].feature = QORX_FEATURE_A_BYPASS;
  EXPECT_EQ(assigned(), (Segments{4, 4, 5, 5}));
}

TEST_F(BypassSegments, PortsOfOtherTypesDoNotEndASlot) {
  add_ports(1, "Slot 1");
  add_ports(1, "LAN", QORX_SMBIOS_ONBOARD_DEVICE);
  add_ports(1, "", 0);
  add_ports(2, "Slot 1");
  EXPECT_EQ(assigned(), (Segments{4, 100, 255, 4, 5}));
}

TEST_F(BypassSegments, ASlotThatComesAgainCountsAnew) {
  add_ports(3, "Slot 1");
  add_ports(1, "Slot 2");
  add_ports(1, "Slot 1");
  EXPECT_EQ(assigned(), (Segments{4, 4, 5, 8, 4}));
}

TEST_F(BypassSegments, AnEmptySlotNameHasNoNumberAtTheStartAndBehindASlot) {
  add_ports(1, "");
  add_ports(1, "Slot 1");
  add_ports(1, "");
  EXPECT_EQ(assigned(), (Segments{255, 4, 255}));
}

// 312 onboard ports reach 100 + 155 = 255, and the next pair wraps.
TEST_F(BypassSegments, OnboardNumbersAreABytesToo) {
  add_ports(313, "LAN", QORX_SMBIOS_ONBOARD_DEVICE);
  const Segments segments = assigned();
  EXPECT_EQ(segments[309], 254);
  EXPECT_EQ(segments[310], 255);
  EXPECT_EQ(segments[312], 0);
}

TEST_F(BypassSegments, AFullSlotCountsOnPastAByte) {
  add_ports(512, "Slot 0");
  const Segments segments = assigned();
  EXPECT_EQ(segments[255], 127);
  EXPECT_EQ(segments[256], 128);
  EXPECT_EQ(segments[511], 255);
}

TEST_F(BypassSegments, TheWalkIsTraced) {
  add_ports(1, "LAN", QORX_SMBIOS_ONBOARD_DEVICE);
  add_ports(2, "Slot 3 (x)");
  add_ports(1, "", 0);
  add_ports(1, "");
  EXPECT_EQ(test::traced_by([] { qorx_assign_bypass_seg(); }),
            "seg number 100\n"
            "Slot 3 3\n"
            "\n"
            "seg number 12 slot number 3\n"
            "seg number 12 slot number 3\n"
            " -1\n"
            "\n"
            "seg number 255 slot number 255\n");
}

}  // namespace
}  // namespace qorx
