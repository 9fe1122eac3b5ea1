#include "discovery/slot_match.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/rows.h"

namespace qorx::test {
namespace {

constexpr MatchPass kOwn = MatchPass::kOwnAddress;   // the pass over the port's own address
constexpr MatchPass kBridges = MatchPass::kBridges;  // the pass over every bridge above it
constexpr int kNone = -1;

struct Address {
  int bus;
  int dev;
  int fun;
};

constexpr const char* kDirect = "../../devices/pci0000:00/0000:03:04.1";
constexpr const char* kBehindSwitch = "../../devices/pci0000:00/0000:00:1c.4/0000:03:00.0/0000:05:01.0/0000:07:00.1";
constexpr const char* kAny = "../../devices/pci0000:00/0000:12:0a.3/x";

// The level at which a slot of this address matches a path.
struct Level {
  std::string_view rule;
  Address slot;
  MatchPass pass;
  std::string path;
  int level;
};

class SlotMatch : public RowTest<Level> {
 protected:
  static std::optional<SlotMatcher::Match> find(const std::vector<Address>& slots, MatchPass pass,
                                                std::string_view path) {
    reset_library();
    for (const Address& a : slots) {
      add_slot("S", 9, a.bus, a.dev, a.fun);
    }
    return SlotMatcher(slot_records()).find(pass, SlotMatcher::searched_text(pass, path));
  }

  static int index_of(const std::vector<Address>& slots, MatchPass pass, std::string_view path) {
    const auto match = find(slots, pass, path);
    return match ? static_cast<int>(match->slot) : kNone;
  }
};

TEST_P(SlotMatch, IsFoundAtTheLevel) {
  const auto match = find({row().slot}, row().pass, row().path);
  EXPECT_EQ(match ? match->level : kNone, row().level);
}

Level own(std::string_view rule, const Address& slot, int level, const std::string& path = kDirect) {
  return {rule, slot, kOwn, path, level};
}

Level bridges(std::string_view rule, const Address& slot, const std::string& path, int level) {
  return {rule, slot, kBridges, path, level};
}

const std::string k92(92, 'x');

// In the first pass: 3 the whole address, 2 bus and device, 1 the bus. In the second: 6 the whole address, 5 function
// + 1, 4 bus and device, 3 device + 1, 2 the bus, 1 bus + 1.
QORX_ROWS(SlotMatch, own("the whole address", {3, 4, 1}, 3), own("bus and device", {3, 4, 2}, 2),
          own("the bus", {3, 5, 1}, 1), own("another bus", {4, 4, 1}, kNone),
          own("never the bus before it", {2, 4, 1}, kNone), own("never the function before it", {3, 4, 0}, 2),
          own("never the device before it", {3, 3, 1}, 1), own("not a bridge", {0x00, 0x1C, 4}, kNone, kBehindSwitch),
          bridges("a root port", {0x00, 0x1C, 4}, kBehindSwitch, 6),
          bridges("a switch", {0x03, 0x00, 0}, kBehindSwitch, 6),
          bridges("the port itself", {0x07, 0x00, 1}, kBehindSwitch, 6), bridges("level 6", {0x12, 0x0A, 3}, kAny, 6),
          bridges("level 5", {0x12, 0x0A, 2}, kAny, 5), bridges("level 4", {0x12, 0x0A, 7}, kAny, 4),
          bridges("level 3", {0x12, 0x09, 7}, kAny, 3), bridges("level 2", {0x12, 0x1F, 7}, kAny, 2),
          bridges("level 1", {0x11, 0x1F, 7}, kAny, 1), bridges("a later bus", {0x13, 0x0A, 3}, kAny, kNone),
          bridges("an earlier bus", {0x10, 0x0A, 3}, kAny, kNone),
          bridges("a root port matches a port on the bus behind it", {0x04, 0x00, 0}, "/0000:05:00.0", 1),
          bridges("and its neighbour", {0x00, 0x1C, 0}, "../../devices/pci0000:00/0000:00:1d.0/0000:09:00.0", 3),
          bridges("a root complex is no bus zero", {0, 0x1F, 6}, kDirect, kNone),  // "pci0000:00/": no colon behind it
          bridges("a bridge below it is", {0, 0x1F, 6}, kBehindSwitch, 2),
          own("small letters", {0xAB, 0x0C, 1}, 3, "/0000:ab:0c.1"),
          own("not a capital in the bus", {0xAB, 0x0C, 1}, kNone, "/0000:AB:0c.1"),
          own("nor in the device", {0xAB, 0x0C, 1}, 1, "/0000:ab:0C.1"),
          bridges("nor in the function", {0xAB, 0x0C, 0xA}, "/0000:ab:0c.A", 4),
          bridges("a longer function begins with this one", {3, 4, 1}, "/0000:03:04.12", 6),
          bridges("a longer one does not end with it", {3, 4, 0x12}, "/0000:03:04.1", 4),
          bridges("a function of two digits", {3, 4, 0x12}, "/0000:03:04.12", 6),
          bridges("f + 1 has two digits", {3, 4, 0xF}, "/0000:03:04.10", 5),
          bridges("bus and device need nothing behind them", {3, 4, 1}, "/0000:03:045", 4),
          bridges("a device has two digits", {3, 4, 1}, "/0000:03:0", 2),
          bridges("a bus needs its colon", {3, 4, 1}, "/0000:03", kNone),
          bridges("a bus has two digits", {3, 4, 1}, "/0000:3:04.1", kNone),
          bridges("not three digits", {3, 4, 1}, "/0000:003:04.1", kNone),
          bridges("255 + 1 is not bus zero", {255, 0, 0}, "/0000:00:1c.0", kNone),
          bridges("it is bus 100", {255, 0, 0}, "/0000:100:", 1),
          bridges("not device zero", {5, 255, 0}, "/0000:05:00.0", 2),
          bridges("but device 100", {5, 255, 0}, "/0000:05:100", 3),
          bridges("not function zero", {5, 2, 255}, "/0000:05:02.0", 4),
          bridges("but function 100", {5, 2, 255}, "/0000:05:02.100", 5),
          bridges("the highest bytes", {255, 255, 255}, "/0000:ff:ff.ff", 6),
          bridges("the second of two colons", {0x04, 0x05, 1}, ":03:04:05.1", 6),
          bridges("the first of two colons", {0x03, 0x04, 0}, ":03:04:05.1", 4),
          bridges("the last of three colons", {0x03, 0x00, 0}, ":::03:", 2),
          bridges("an address that ends at character 100", {3, 4, 1}, k92 + ":03:04.1", 6),
          bridges("one that ends behind it", {3, 4, 1}, k92 + "x:03:04.1", 4),
          bridges("one whose bus ends behind it", {3, 4, 1}, k92 + "xxxxx:03:04.1", kNone),
          own("the own address at any place", {3, 4, 1}, 3, k92 + "xxxxx:03:04.1"),
          own("no path", {0, 0, 0}, kNone, ""), bridges("no path above", {0, 0, 0}, "", kNone),
          bridges("a path without an address", {0, 0, 0}, "../../devices/platform/eth", kNone));

TEST_F(SlotMatch, TheOwnAddressIsTheLastEightCharacters) {
  EXPECT_EQ(SlotMatcher::searched_text(kOwn, kDirect), ":03:04.1");
  EXPECT_EQ(SlotMatcher::searched_text(kOwn, "/0000:00:03.0/virtio0"), "/virtio0");
  EXPECT_EQ(SlotMatcher::searched_text(kOwn, ":03:04.1"), ":03:04.1");
  EXPECT_EQ(SlotMatcher::searched_text(kOwn, "03:04.1"), "03:04.1");
  EXPECT_EQ(SlotMatcher::searched_text(kOwn, ""), "");
}

TEST_F(SlotMatch, BridgesAreSearchedInTheFirstHundredCharacters) {
  const std::string hundred(100, 'x');
  EXPECT_EQ(SlotMatcher::searched_text(kBridges, hundred), hundred);
  EXPECT_EQ(SlotMatcher::searched_text(kBridges, hundred + "y"), hundred);
  EXPECT_EQ(SlotMatcher::searched_text(kBridges, kDirect), kDirect);
  EXPECT_EQ(SlotMatcher::searched_text(kBridges, ""), "");
}

TEST_F(SlotMatch, TheMoreExactLevelWinsOverTableOrder) {
  EXPECT_EQ(index_of({{3, 9, 0}, {3, 4, 0}, {3, 4, 1}}, kOwn, kDirect), 2);
  EXPECT_EQ(index_of({{3, 9, 0}, {3, 4, 0}}, kOwn, kDirect), 1);
  for (std::vector<Address> slots{{4, 0, 0}, {7, 9, 9}, {5, 1, 7}, {7, 0, 0}, {7, 0, 1}}; !slots.empty();) {
    EXPECT_EQ(index_of(slots, kBridges, kBehindSwitch), static_cast<int>(slots.size()) - 1);
    slots.pop_back();
  }
}

TEST_F(SlotMatch, WithinALevelTheFirstInTheTableWins) {
  EXPECT_EQ(index_of({{9, 0, 0}, {3, 5, 0}, {3, 6, 0}}, kOwn, kDirect), 1);
  EXPECT_EQ(index_of({{7, 0, 1}, {0, 0x1C, 4}}, kBridges, kBehindSwitch), 0);
  EXPECT_EQ(index_of({{0, 0x1C, 4}, {7, 0, 1}}, kBridges, kBehindSwitch), 0);
  EXPECT_EQ(index_of({{3, 4, 1}, {3, 4, 1}}, kOwn, kDirect), 0);
}

TEST_F(SlotMatch, IsNotFoundWithoutSlots) {
  EXPECT_EQ(index_of({}, kOwn, kDirect), kNone);
  EXPECT_EQ(index_of({}, kBridges, kDirect), kNone);
}

TEST_F(SlotMatch, TheLastOfAFullTableIsFound) {
  std::vector<Address> slots(511, {9, 9, 1});
  slots.push_back({3, 4, 1});
  EXPECT_EQ(index_of(slots, kOwn, kDirect), 511);
}

TEST_F(SlotMatch, PatternsAreShownAsTheyAreComparedWith) {
  struct Case {
    MatchPass pass;
    int level;
    const char* pattern;
  };
  const SlotRecord& slot = add_slot("S", 9, 0x0A, 0xFF, 7);
  for (const Case& c : {Case{kOwn, 3, ":0a:ff.7"}, Case{kOwn, 2, ":0a:ff"}, Case{kOwn, 1, ":0a:"},
                        Case{kBridges, 6, ":0a:ff.7"}, Case{kBridges, 5, ":0a:ff.8"}, Case{kBridges, 4, ":0a:ff"},
                        Case{kBridges, 3, ":0a:100"}, Case{kBridges, 2, ":0a:"}, Case{kBridges, 1, ":0b:"}}) {
    char pattern[16];
    SlotMatcher::format_pattern(c.pass, c.level, slot, pattern);
    EXPECT_STREQ(pattern, c.pattern);
  }
}

}  // namespace
}  // namespace qorx::test
