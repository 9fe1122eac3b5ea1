#include "discovery/slot_match.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/library.h"

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

class SlotMatch : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  // Finds the slot of `path` among slots with these addresses: its index and level.
  static std::optional<SlotMatcher::Match> find(const std::vector<Address>& slots, MatchPass pass,
                                                std::string_view path) {
    reset_library();
    for (const Address& a : slots) {
      add_slot("S", 9, a.bus, a.dev, a.fun);
    }
    return SlotMatcher(slot_records()).find(pass, SlotMatcher::searched_text(pass, path));
  }

  static int level_of(const Address& slot, MatchPass pass, std::string_view path) {
    const auto match = find({slot}, pass, path);
    return match ? match->level : kNone;
  }

  static int index_of(const std::vector<Address>& slots, MatchPass pass, std::string_view path) {
    const auto match = find(slots, pass, path);
    return match ? static_cast<int>(match->slot) : kNone;
  }
};

constexpr const char* kDirect = "../../devices/pci0000:00/0000:03:04.1";
constexpr const char* kBehindSwitch = "../../devices/pci0000:00/0000:00:1c.4/0000:03:00.0/0000:05:01.0/0000:07:00.1";

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

TEST_F(SlotMatch, TheOwnAddressMatchesAtThreeLevels) {
  EXPECT_EQ(level_of({3, 4, 1}, kOwn, kDirect), 3);
  EXPECT_EQ(level_of({3, 4, 2}, kOwn, kDirect), 2);
  EXPECT_EQ(level_of({3, 5, 1}, kOwn, kDirect), 1);
  EXPECT_EQ(level_of({4, 4, 1}, kOwn, kDirect), kNone);
}

TEST_F(SlotMatch, TheOwnAddressIsNeverComparedWithNeighbours) {
  EXPECT_EQ(level_of({2, 4, 1}, kOwn, kDirect), kNone);
  EXPECT_EQ(level_of({3, 4, 0}, kOwn, kDirect), 2);
  EXPECT_EQ(level_of({3, 3, 1}, kOwn, kDirect), 1);
}

TEST_F(SlotMatch, ABridgeOnThePathMatchesInTheSecondPass) {
  EXPECT_EQ(level_of({0x00, 0x1C, 4}, kOwn, kBehindSwitch), kNone);
  EXPECT_EQ(level_of({0x00, 0x1C, 4}, kBridges, kBehindSwitch), 6);
  EXPECT_EQ(level_of({0x03, 0x00, 0}, kBridges, kBehindSwitch), 6);
  EXPECT_EQ(level_of({0x07, 0x00, 1}, kBridges, kBehindSwitch), 6);
}

TEST_F(SlotMatch, TheSecondPassHasSixLevels) {
  const char* const path = "../../devices/pci0000:00/0000:12:0a.3/x";
  EXPECT_EQ(level_of({0x12, 0x0A, 3}, kBridges, path), 6);
  EXPECT_EQ(level_of({0x12, 0x0A, 2}, kBridges, path), 5);  // function + 1
  EXPECT_EQ(level_of({0x12, 0x0A, 7}, kBridges, path), 4);  // bus and device
  EXPECT_EQ(level_of({0x12, 0x09, 7}, kBridges, path), 3);  // device + 1
  EXPECT_EQ(level_of({0x12, 0x1F, 7}, kBridges, path), 2);  // bus
  EXPECT_EQ(level_of({0x11, 0x1F, 7}, kBridges, path), 1);  // bus + 1
  EXPECT_EQ(level_of({0x13, 0x0A, 3}, kBridges, path), kNone);
  EXPECT_EQ(level_of({0x10, 0x0A, 3}, kBridges, path), kNone);
}

TEST_F(SlotMatch, ARootPortMatchesAPortOnTheBusBehindIt) {
  EXPECT_EQ(level_of({0x04, 0x00, 0}, kBridges, "/0000:05:00.0"), 1);
  EXPECT_EQ(level_of({0x00, 0x1C, 0}, kBridges, "../../devices/pci0000:00/0000:00:1d.0/0000:09:00.0"), 3);
}

TEST_F(SlotMatch, TheMoreExactLevelWinsOverTableOrder) {
  EXPECT_EQ(index_of({{3, 9, 0}, {3, 4, 0}, {3, 4, 1}}, kOwn, kDirect), 2);
  EXPECT_EQ(index_of({{3, 9, 0}, {3, 4, 0}}, kOwn, kDirect), 1);
  EXPECT_EQ(index_of({{4, 0, 0}, {7, 9, 9}, {5, 1, 7}, {7, 0, 0}, {7, 0, 1}}, kBridges, kBehindSwitch), 4);
  EXPECT_EQ(index_of({{4, 0, 0}, {7, 9, 9}, {5, 1, 7}, {7, 0, 0}}, kBridges, kBehindSwitch), 3);
  EXPECT_EQ(index_of({{4, 0, 0}, {7, 9, 9}, {5, 1, 7}}, kBridges, kBehindSwitch), 2);
  EXPECT_EQ(index_of({{4, 0, 0}, {7, 9, 9}}, kBridges, kBehindSwitch), 1);
  EXPECT_EQ(index_of({{4, 0, 0}}, kBridges, kBehindSwitch), 0);
}

TEST_F(SlotMatch, WithinALevelTheFirstInTheTableWins) {
  EXPECT_EQ(index_of({{9, 0, 0}, {3, 5, 0}, {3, 6, 0}}, kOwn, kDirect), 1);
  EXPECT_EQ(index_of({{7, 0, 1}, {0, 0x1C, 4}}, kBridges, kBehindSwitch), 0);
  EXPECT_EQ(index_of({{0, 0x1C, 4}, {7, 0, 1}}, kBridges, kBehindSwitch), 0);
  EXPECT_EQ(index_of({{3, 4, 1}, {3, 4, 1}}, kOwn, kDirect), 0);
}

TEST_F(SlotMatch, BusZeroIsFoundBehindAnyRootComplex) {
  EXPECT_EQ(level_of({0, 0x1F, 6}, kBridges, kDirect), kNone);  // "pci0000:00/": no colon behind it
  EXPECT_EQ(level_of({0, 0x1F, 6}, kBridges, kBehindSwitch), 2);
}

TEST_F(SlotMatch, OnlyLowerCaseDigitsMatch) {
  EXPECT_EQ(level_of({0xAB, 0x0C, 1}, kOwn, "/0000:ab:0c.1"), 3);
  EXPECT_EQ(level_of({0xAB, 0x0C, 1}, kOwn, "/0000:AB:0c.1"), kNone);
  EXPECT_EQ(level_of({0xAB, 0x0C, 1}, kOwn, "/0000:ab:0C.1"), 1);
  EXPECT_EQ(level_of({0xAB, 0x0C, 0xA}, kBridges, "/0000:ab:0c.A"), 4);
}

TEST_F(SlotMatch, NumbersOfTheAddressAreMatchedAsText) {
  EXPECT_EQ(level_of({3, 4, 1}, kBridges, "/0000:03:04.12"), 6);    // a longer function begins with this one
  EXPECT_EQ(level_of({3, 4, 0x12}, kBridges, "/0000:03:04.1"), 4);  // and this one is longer
  EXPECT_EQ(level_of({3, 4, 0x12}, kBridges, "/0000:03:04.12"), 6);
  EXPECT_EQ(level_of({3, 4, 0xF}, kBridges, "/0000:03:04.10"), 5);  // 0xf + 1
  EXPECT_EQ(level_of({3, 4, 1}, kBridges, "/0000:03:045"), 4);      // bus and device need nothing behind them
  EXPECT_EQ(level_of({3, 4, 1}, kBridges, "/0000:03:0"), 2);
  EXPECT_EQ(level_of({3, 4, 1}, kBridges, "/0000:03"), kNone);  // a bus needs its colon
  EXPECT_EQ(level_of({3, 4, 1}, kBridges, "/0000:3:04.1"), kNone);
  EXPECT_EQ(level_of({3, 4, 1}, kBridges, "/0000:003:04.1"), kNone);
}

TEST_F(SlotMatch, OneMoreThan255IsThreeDigits) {
  EXPECT_EQ(level_of({255, 0, 0}, kBridges, "/0000:00:1c.0"), kNone);
  EXPECT_EQ(level_of({255, 0, 0}, kBridges, "/0000:100:"), 1);
  EXPECT_EQ(level_of({5, 255, 0}, kBridges, "/0000:05:00.0"), 2);
  EXPECT_EQ(level_of({5, 255, 0}, kBridges, "/0000:05:100"), 3);
  EXPECT_EQ(level_of({5, 2, 255}, kBridges, "/0000:05:02.0"), 4);
  EXPECT_EQ(level_of({5, 2, 255}, kBridges, "/0000:05:02.100"), 5);
  EXPECT_EQ(level_of({255, 255, 255}, kBridges, "/0000:ff:ff.ff"), 6);
}

TEST_F(SlotMatch, OverlappingColonsAreAllTried) {
  EXPECT_EQ(level_of({0x04, 0x05, 1}, kBridges, ":03:04:05.1"), 6);
  EXPECT_EQ(level_of({0x03, 0x04, 0}, kBridges, ":03:04:05.1"), 4);
  EXPECT_EQ(level_of({0x03, 0x00, 0}, kBridges, ":::03:"), 2);
}

TEST_F(SlotMatch, AnAddressBehindTheHundredthCharacterIsNotFound) {
  const std::string padding(92, 'x');
  EXPECT_EQ(level_of({3, 4, 1}, kBridges, padding + ":03:04.1"), 6);
  EXPECT_EQ(level_of({3, 4, 1}, kBridges, padding + "x:03:04.1"), 4);
  EXPECT_EQ(level_of({3, 4, 1}, kBridges, padding + "xxxxx:03:04.1"), kNone);
  EXPECT_EQ(level_of({3, 4, 1}, kOwn, padding + "xxxxx:03:04.1"), 3);
}

TEST_F(SlotMatch, WithoutSlotsOrWithoutAPathNothingMatches) {
  EXPECT_EQ(index_of({}, kOwn, kDirect), kNone);
  EXPECT_EQ(index_of({}, kBridges, kDirect), kNone);
  EXPECT_EQ(index_of({{0, 0, 0}}, kOwn, ""), kNone);
  EXPECT_EQ(index_of({{0, 0, 0}}, kBridges, ""), kNone);
  EXPECT_EQ(index_of({{0, 0, 0}}, kBridges, "../../devices/platform/eth"), kNone);
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
