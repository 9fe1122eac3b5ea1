// Slot matching, against the rule in its plain form: for every level and every slot print the pattern and search it.
// Input: number of slots, their addresses (3 bytes each), a path.
#include "discovery/slot_match.h"

#include <cstdio>
#include <string>

#include "fuzz/support.h"

namespace qorx::fuzz {

namespace {

std::string print(const char* format, int bus, int dev, int fun) {
  char text[32];
  std::snprintf(text, sizeof text, format, bus, dev, fun);
  return text;
}

std::string plain_pattern(int pass, int level, const SlotRecord& slot) {
  constexpr const char* kAll = ":%.2x:%.2x.%.1x";
  constexpr const char* kBusDevice = ":%.2x:%.2x";
  constexpr const char* kBus = ":%.2x:";
  if (pass == 0) {
    return print(level == 3 ? kAll : level == 2 ? kBusDevice : kBus, slot.bus, slot.dev, slot.fun);
  }
  switch (level) {
    case 6:
      return print(kAll, slot.bus, slot.dev, slot.fun);
    case 5:
      return print(kAll, slot.bus, slot.dev, slot.fun + 1);
    case 4:
      return print(kBusDevice, slot.bus, slot.dev, 0);
    case 3:
      return print(kBusDevice, slot.bus, slot.dev + 1, 0);
    case 2:
      return print(kBus, slot.bus, 0, 0);
    default:
      return print(kBus, slot.bus + 1, 0, 0);
  }
}

std::optional<SlotMatcher::Match> plain_find(int pass, const std::string& text, std::span<const SlotRecord> slots) {
  for (int level = pass == 0 ? 3 : 6; level > 0; --level) {
    for (std::size_t i = 0; i < slots.size(); ++i) {
      if (text.find(plain_pattern(pass, level, slots[i])) != std::string::npos) {
        return SlotMatcher::Match{i, level};
      }
    }
  }
  return std::nullopt;
}

void compare(const SlotMatcher& matcher, MatchPass match_pass, const std::string& path) {
  const int pass = static_cast<int>(match_pass);
  const std::string text =
      pass == 0 ? path.substr(path.size() - std::min<std::size_t>(path.size(), 8)) : path.substr(0, 100);
  require(SlotMatcher::searched_text(match_pass, path) == text, "a pass searches its part of the path");
  const auto plain = plain_find(pass, text, slot_records());
  const auto found = matcher.find(match_pass, text);
  require(found.has_value() == plain.has_value(), "a slot is found when a pattern occurs");
  if (!found) {
    return;
  }
  require(found->slot == plain->slot && found->level == plain->level, "the best level's first slot wins");
  char pattern[16];
  const SlotRecord& slot = slot_records()[found->slot];
  SlotMatcher::format_pattern(match_pass, found->level, slot, pattern);
  require(pattern == plain_pattern(pass, found->level, slot), "the traced pattern is the one that matched");
}

}  // namespace

}  // namespace qorx::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qorx::fuzz;
  Input input(data, size);
  const LibraryRun run(1);
  const std::size_t count = input.byte() % 64U;
  for (std::size_t i = 0; i < count; ++i) {
    qorx::SlotRecord& slot = qorx::fresh_slot_record(i);
    slot.bus = input.byte();
    slot.dev = input.byte();
    slot.fun = input.byte();
    qorx_system_environment_info.eth_smbios_t9_t41_number = static_cast<std::uint32_t>(i + 1);
  }
  const std::string path(as_text(input.rest()));
  const qorx::SlotMatcher matcher(qorx::slot_records());
  for (const qorx::MatchPass pass : qorx::kMatchPasses) {
    compare(matcher, pass, path);
  }
  return 0;
}
