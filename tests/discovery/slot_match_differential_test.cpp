// The prepared search against the plain one: every slot record's pattern printed and looked for, level by level.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "discovery/slot_match.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

using Match = SlotMatcher::Match;
using Random = std::mt19937;  // the same numbers everywhere

std::string address(const char* format, int bus, int dev, int fun) {
  char text[32];
  std::snprintf(text, sizeof text, format, bus, dev, fun);
  return text;
}

std::string plain_pattern(int pass, int level, const SlotRecord& slot) {
  constexpr const char* kAddress = ":%.2x:%.2x.%.1x";
  constexpr const char* kDevice = ":%.2x:%.2x";
  constexpr const char* kBus = ":%.2x:";
  struct Pattern {
    const char* format;
    int add_bus = 0;
    int add_dev = 0;
    int add_fun = 0;
  };
  static const std::vector<std::vector<Pattern>> kPatterns{
      {{""}, {kBus}, {kDevice}, {kAddress}},
      {{""}, {kBus, 1}, {kBus}, {kDevice, 0, 1}, {kDevice}, {kAddress, 0, 0, 1}, {kAddress}}};
  const Pattern& p = kPatterns.at(static_cast<std::size_t>(pass)).at(static_cast<std::size_t>(level));
  return address(p.format, slot.bus + p.add_bus, slot.dev + p.add_dev, slot.fun + p.add_fun);
}

std::string plain_text(int pass, const std::string& path) {
  return pass == 0 ? path.substr(path.size() < 8 ? 0 : path.size() - 8) : path.substr(0, 100);
}

std::optional<Match> plain_find(int pass, const std::string& path) {
  const std::string text = plain_text(pass, path);
  const auto slots = slot_records();
  for (int level = pass == 0 ? 3 : 6; level >= 1; --level) {
    for (std::size_t k = 0; k < slots.size(); ++k) {
      if (std::strstr(text.c_str(), plain_pattern(pass, level, slots[k]).c_str()) != nullptr) {
        return Match{k, level};
      }
    }
  }
  return std::nullopt;
}

int up_to(Random& random, int limit) {
  return static_cast<int>(random() % static_cast<unsigned>(limit + 1));
}

template <typename T, std::size_t Size>
const T& one_of(Random& random, const std::array<T, Size>& choices) {
  return choices[random() % Size];
}

// Numbers that meet each other often, and the edges.
int number(Random& random) {
  static constexpr std::array kNumbers{0, 0, 1, 1, 2, 3, 4, 9, 0x0A, 0x0F, 0x10, 0x1C, 0x1F, 0xFE, 0xFF, 0xFF};
  return up_to(random, 3) == 0 ? up_to(random, 255) : one_of(random, kNumbers);
}

void fill_slots(Random& random) {
  reset_library();
  static constexpr std::array kSizes{0, 1, 2, 5, 20, 60};
  const int size = one_of(random, kSizes);
  for (int i = 0; i < size; ++i) {
    const int bus = number(random);
    const int dev = number(random);
    add_slot("S", 9, bus, dev, up_to(random, 3) == 0 ? number(random) : up_to(random, 7));
  }
}

// The address of one of the slot records, or one near it.
std::string slot_address(Random& random) {
  const auto slots = slot_records();
  const SlotRecord& slot = slots[random() % slots.size()];
  const int bus = slot.bus + up_to(random, 5) / 5;
  const int dev = slot.dev + up_to(random, 5) / 5;
  const int fun = slot.fun + up_to(random, 5) / 5;
  return address("/0000:%02x:%02x.%x", bus, dev, fun);
}

std::string component(Random& random) {
  static constexpr std::array kOdd{":100:", ":100:00.0", ":05:100.100", ":ff:100", ":1",   ":", "::",       ":0:",
                                   "0000:", ":00",       ":ffff:",      "usb2",    "net",  ".", "",         ":0A:1F.0",
                                   ":000:", ":01:1.0",   ":1c:04.",     ":10:0",   ":01:", "x", ":001:02.3"};
  if (up_to(random, 4) == 0) {
    return one_of(random, kOdd);
  }
  static constexpr std::array kFormats{"0000:%02x:%02x.%x", "0000:%02x:%02x.%x", "0000:%02x:%02x.%x",
                                       "0000:%02X:%02X.%X", "0001:%02x:%02x.%x", "pci%02x:%02x.%x:"};
  const int bus = number(random);
  const int dev = number(random);
  const int fun = up_to(random, 8);
  return address(one_of(random, kFormats), bus, dev, fun);
}

std::string path(Random& random) {
  std::string result = up_to(random, 5) == 0 ? "" : "../../devices/pci0000:00";
  for (int count = up_to(random, 9); count > 0; --count) {
    result += up_to(random, 9) == 0 ? "" : "/";
    result += component(random);
  }
  if (up_to(random, 7) == 0) {
    result.resize(static_cast<std::size_t>(up_to(random, 12)));  // padded with NUL where it grows
    result.resize(std::strlen(result.c_str()));
  }
  if (up_to(random, 3) == 0 && !slot_records().empty()) {
    result += slot_address(random);
  }
  static constexpr std::string_view kCharacters = "0123456789abcdefABCDEF:./";
  for (int changes = up_to(random, 8) - 5; changes > 0 && !result.empty(); --changes) {
    result[random() % result.size()] = kCharacters[random() % kCharacters.size()];
  }
  return result;
}

std::string printed(const std::optional<Match>& match) {
  return match ? "record " + std::to_string(match->slot) + " at level " + std::to_string(match->level) : "none";
}

struct Coverage {
  std::array<std::array<int, 7>, kMatchPasses.size()> by_level{};  // [pass][level], level 0: none
  int short_paths = 0;
  int long_paths = 0;
};

void compare(const SlotMatcher& matcher, const std::string& net_path, Coverage& coverage) {
  coverage.short_paths += net_path.size() < 8 ? 1 : 0;
  coverage.long_paths += net_path.size() > 100 ? 1 : 0;
  for (const MatchPass match_pass : kMatchPasses) {
    const int pass = static_cast<int>(match_pass);
    const auto expected = plain_find(pass, net_path);
    ++coverage.by_level.at(static_cast<std::size_t>(pass)).at(expected ? static_cast<std::size_t>(expected->level) : 0);
    ASSERT_EQ(SlotMatcher::searched_text(match_pass, net_path), plain_text(pass, net_path)) << net_path;
    const auto found = matcher.find(match_pass, SlotMatcher::searched_text(match_pass, net_path));
    ASSERT_EQ(printed(found), printed(expected)) << "pass " << pass << " of " << net_path;
    if (found) {
      char pattern[16];
      SlotMatcher::format_pattern(match_pass, found->level, slot_records()[found->slot], pattern);
      ASSERT_EQ(pattern, plain_pattern(pass, found->level, slot_records()[found->slot]));
    }
  }
}

class SlotMatchDifferential : public testing::TestWithParam<unsigned> {};

TEST_P(SlotMatchDifferential, FindsWhatThePlainSearchFinds) {
  Random random(GetParam());
  Coverage coverage;
  for (int table = 0; table < 250; ++table) {
    fill_slots(random);
    const SlotMatcher matcher(slot_records());
    for (int i = 0; i < 20; ++i) {
      ASSERT_NO_FATAL_FAILURE(compare(matcher, path(random), coverage)) << "table " << table;
    }
  }
  // Every outcome was among them.
  for (std::size_t level = 0; level <= 6; ++level) {
    EXPECT_GT(coverage.by_level[1][level], 5) << level;
    EXPECT_TRUE(level > 3 || coverage.by_level[0][level] > 5) << level;
  }
  EXPECT_GT(coverage.short_paths, 20);
  EXPECT_GT(coverage.long_paths, 20);
}

INSTANTIATE_TEST_SUITE_P(Seeds, SlotMatchDifferential, testing::Values(1U, 2U, 3U, 20240917U));

// Every bus with its successor, on a path that names each of them.
TEST(SlotMatchDifferential, AllBusesWithAllBuses) {
  reset_library();
  for (int bus = 0; bus < 256; ++bus) {
    add_slot("S", 9, bus ^ 0x55, 255, 255);
  }
  const SlotMatcher matcher(slot_records());
  Coverage coverage;
  for (int bus = 0; bus <= 256; ++bus) {
    char net_path[64];
    std::snprintf(net_path, sizeof net_path, "../../devices/pci0000:00/0000:%02x:00.0", bus);
    ASSERT_NO_FATAL_FAILURE(compare(matcher, net_path, coverage));
  }
  EXPECT_EQ(coverage.by_level[0][1], 256);
  EXPECT_EQ(coverage.by_level[1][2], 256);
  EXPECT_EQ(coverage.by_level[1][1], 1);
}

}  // namespace
}  // namespace qorx::test
