#include "output/bypass_segments.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/rows.h"

namespace qorx {
namespace {

using Numbers = std::vector<std::pair<const char*, int>>;

const Numbers kNumbers{
    {"", -1},      {"7", 7},      {"0", 0},        {"42", 42},     {"00", 0},     {"05", 5},        {"99", 99},
    {"123", 23},   {"Slot 7", 7}, {"Slot 10", 10}, {"Slot 05", 5}, {"Slot", 255}, {"Slot 1A", 255}, {"A1", 1},
    {"1 ", 255},   {" ", 255},    {"x", 255},      {"-1", 1},      {"a:9", 9},    {"a/9", 9},       {"\xB2\xB9\x33", 3},
    {"3\xB2", 255}};

TEST(Last2CharToNum, ReadsOneOrTwoDigitsAtTheEndAndTracesTextAndResult) {
  for (const auto& [text, number] : kNumbers) {
    int read = -2;
    EXPECT_EQ(test::traced_by([&read, digits = text] { read = Last2CharToNum(digits); }),
              std::string(text) + " " + std::to_string(number) + "\n");
    EXPECT_EQ(read, number);
  }
  EXPECT_EQ(Last2CharToNum(std::string_view("47").substr(1)), 7) << "what is before the text does not count";
}

using Segments = std::vector<int>;

struct Ports {
  int count;
  std::string slot_name;
  int smbios_type = 9;
};

struct Numbering {
  std::string_view rule;
  std::vector<Ports> ports;
  Segments segments;
};

class BypassSegments : public test::RowTest<Numbering> {
 protected:
  static Segments assigned(const std::vector<Ports>& groups) {
    for (const Ports& group : groups) {
      for (int i = 0; i < group.count; ++i) {
        DeviceRecord& record = test::add_device("eth", group.slot_name, group.smbios_type);
        record.seg = 77;
        record.feature = static_cast<std::uint8_t>(i % 3 == 0 ? QORX_FEATURE_NA : QORX_FEATURE_A_BYPASS);
      }
    }
    EXPECT_EQ(test::printed_by([] { EXPECT_EQ(qorx_assign_bypass_seg(), 0); }), "");
    Segments segments;
    for (const DeviceRecord& record : device_records()) {
      segments.push_back(record.seg);
    }
    return segments;
  }
};

TEST_P(BypassSegments, Are) {
  EXPECT_EQ(assigned(row().ports), row().segments);
}

// The ports have features of all kinds: each counts.
QORX_ROWS(BypassSegments,
          {"two ports of a slot share a segment that the slot numbers", {{5, "WMX Slot 3"}}, {12, 12, 13, 13, 14}},
          {"onboard ports are counted together from 100",
           {{1, "LAN 1", 41}, {1, "WMX Slot 1"}, {2, "LAN 2", 41}, {1, "", 41}},
           {100, 4, 100, 101, 101}},
          {"without a slot record there is no number", {{1, "", 0}, {1, "WMX Slot 1", 0}}, {255, 255}},
          {"any other type keeps what it has", {{1, "WMX Slot 1", 8}, {1, "WMX Slot 1", 42}}, {77, 77}},
          {"a slot without a trailing number has no segments", {{3, "WMX Slot A"}}, {255, 255, 255}},
          // 63 * 4 + 3 is the value that means "none"; the pair behind it wraps.
          {"the last pairs of slot 63 meet the sentinel and wrap",
           {{10, "Slot 63"}},
           {252, 252, 253, 253, 254, 254, 255, 255, 0, 0}},
          {"ports of other types do not end a slot",
           {{1, "Slot 1"}, {1, "LAN", 41}, {1, "", 0}, {2, "Slot 1"}},
           {4, 100, 255, 4, 5}},
          {"a slot that comes again counts anew", {{3, "Slot 1"}, {1, "Slot 2"}, {1, "Slot 1"}}, {4, 4, 5, 8, 4}},
          {"an empty name has no number at the start nor behind a slot",
           {{1, ""}, {1, "Slot 1"}, {1, ""}},
           {255, 4, 255}});

// From slot 64 on the byte wraps. A remark in parentheses is not part of the number, but only one behind a blank is a
// remark.
const Numbers kFirstSegments{
    {"Slot 0", 0},        {"Slot 1", 4},       {"Slot 63", 252},       {"Slot 64", 0},
    {"Slot 65", 4},       {"Slot 99", 140},    {"Slot 12 (left)", 48}, {"Slot 7 (H.1.255.255)", 28},
    {"Slot 7  (x)", 255}, {"Slot 7(2)", 255},  {"Slot (5", 255},       {"Slot 3 (a) (b)", 12},
    {" (x)", 255},        {"(5) (x)", 255},    {"Slot 2(a) (b)", 255}, {"Slot 23(a) (b)", 8},
    {"Slot 4 (9", 16},    {"Slot (x) 5", 255}, {"Slot(8", 32},         {"Slot 6(9", 36},
    {"Slot\t(8", 32}};

// Each slot has a name of its own, so each begins at its own first segment.
TEST_F(BypassSegments, AreNumberedByTheNameOfTheSlot) {
  for (const auto& [name, segment] : kFirstSegments) {
    test::reset_library();
    EXPECT_EQ(assigned({{1, name}}), Segments{segment}) << name;
  }
}

// 312 onboard ports reach 100 + 155 = 255, and the next pair wraps; a full slot counts on past a byte.
TEST_F(BypassSegments, AreBytesHoweverManyPortsThereAre) {
  Segments segments = assigned({{313, "LAN", 41}});
  EXPECT_EQ((Segments{segments[309], segments[310], segments[312]}), (Segments{254, 255, 0}));
  test::reset_library();
  segments = assigned({{512, "Slot 0"}});
  EXPECT_EQ((Segments{segments[255], segments[256], segments[511]}), (Segments{127, 128, 255}));
}

TEST_F(BypassSegments, AreTraced) {
  assigned({{1, "LAN", 41}, {2, "Slot 3 (x)"}, {1, "", 0}, {1, ""}});
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
