#include "discovery/slot_match.h"

#include <algorithm>

#include "lib/bounded_text.h"

namespace qorx {

namespace {

constexpr std::size_t kOwnAddressLength = 8;      // ":03:00.0"
constexpr std::size_t kSearchedPathLength = 100;  // paths on the deepest switch trees are longer; kept as it is

constexpr std::size_t kMissing = std::string_view::npos;

int hex_digit(char digit) {
  if (digit >= '0' && digit <= '9') {
    return digit - '0';
  }
  return digit >= 'a' && digit <= 'f' ? digit - 'a' + 10 : -1;
}

// The length of `value` printed as "%.<digits>x" when `text` begins with it, else kMissing. Values up to 256 (a byte
// and 1) occur.
std::size_t match_hex(std::string_view text, int value, std::size_t digits) {
  char printed[3];
  std::size_t length = 0;
  for (int shift = 8; shift >= 0; shift -= 4) {
    const int nibble = value >> shift & 0xF;
    const std::size_t remaining = static_cast<std::size_t>(shift) / 4 + 1;
    if (length != 0 || nibble != 0 || remaining <= digits) {
      printed[length++] = "0123456789abcdef"[nibble];
    }
  }
  return text.starts_with(std::string_view(printed, length)) ? length : kMissing;
}

// The bus number of the records that can match where `text` begins behind a colon: "03:" names bus 3, or 2 where one
// is added. -1 when there is none.
int bus_at(std::string_view text, int add) {
  if (add == 1 && text.starts_with("100:")) {
    return 255;
  }
  if (text.size() < 3 || text[2] != ':' || hex_digit(text[0]) < 0 || hex_digit(text[1]) < 0) {
    return -1;
  }
  return hex_digit(text[0]) * 16 + hex_digit(text[1]) - add;
}

}  // namespace

SlotMatcher::SlotMatcher(std::span<const SlotRecord> slots) : slots_(slots.first(std::min(slots.size(), kMaxRecords))) {
  first_.fill(kNone);
  for (std::size_t i = slots_.size(); i-- > 0;) {
    next_[i] = first_[slots_[i].bus];
    first_[slots_[i].bus] = static_cast<std::uint16_t>(i);
  }
}

std::string_view SlotMatcher::searched_text(int pass, std::string_view net_path) {
  if (pass == 0) {
    return net_path.substr(net_path.size() - std::min(net_path.size(), kOwnAddressLength));
  }
  return net_path.substr(0, kSearchedPathLength);
}

std::span<const SlotMatcher::Level> SlotMatcher::levels(int pass) {
  static constexpr std::array kOwnAddress{
      Level{3, true, true, 0, 0, 0},
      Level{2, true, false, 0, 0, 0},
      Level{1, false, false, 0, 0, 0},
  };
  static constexpr std::array kBridges{
      Level{6, true, true, 0, 0, 0},  Level{5, true, true, 0, 0, 1},   Level{4, true, false, 0, 0, 0},
      Level{3, true, false, 0, 1, 0}, Level{2, false, false, 0, 0, 0}, Level{1, false, false, 1, 0, 0},
  };
  return pass == 0 ? std::span<const Level>(kOwnAddress) : std::span<const Level>(kBridges);
}

// `text` begins with the device number, behind a matching bus.
bool SlotMatcher::matches_at(std::string_view text, const Level& level, const SlotRecord& slot) {
  if (!level.with_dev) {
    return true;
  }
  const std::size_t length = match_hex(text, slot.dev + level.add_dev, 2);
  if (length == kMissing || !level.with_fun) {
    return length != kMissing;
  }
  text.remove_prefix(length);
  return text.starts_with('.') && match_hex(text.substr(1), slot.fun + level.add_fun, 1) != kMissing;
}

std::size_t SlotMatcher::first_match(const Level& level, std::string_view text) const {
  constexpr std::size_t kBusLength = 3;  // "03:"
  std::size_t best = kNone;
  for (std::size_t colon = text.find(':'); colon != kMissing; colon = text.find(':', colon + 1)) {
    const std::string_view behind = text.substr(colon + 1);
    const int bus = bus_at(behind, level.add_bus);
    if (bus < 0) {
      continue;
    }
    for (std::size_t k = first_[static_cast<std::size_t>(bus)]; k < best; k = next_[k]) {
      if (matches_at(behind.substr(kBusLength), level, slots_[k])) {
        best = k;
      }
    }
  }
  return best;
}

std::optional<SlotMatcher::Match> SlotMatcher::find(int pass, std::string_view text) const {
  for (const Level& level : levels(pass)) {
    if (const std::size_t slot = first_match(level, text); slot != kNone) {
      return Match{slot, level.number};
    }
  }
  return std::nullopt;
}

void SlotMatcher::format_pattern(int pass, int level, const SlotRecord& slot, char (&pattern)[16]) {
  const auto all = levels(pass);
  const Level& wanted = *std::find_if(all.begin(), all.end(), [&](const Level& l) { return l.number == level; });
  const int bus = slot.bus + wanted.add_bus;
  const int dev = slot.dev + wanted.add_dev;
  const int fun = slot.fun + wanted.add_fun;
  if (wanted.with_fun) {
    format_text(pattern, sizeof pattern, ":%.2x:%.2x.%.1x", static_cast<unsigned>(bus), static_cast<unsigned>(dev),
                static_cast<unsigned>(fun));
  } else if (wanted.with_dev) {
    format_text(pattern, sizeof pattern, ":%.2x:%.2x", static_cast<unsigned>(bus), static_cast<unsigned>(dev));
  } else {
    format_text(pattern, sizeof pattern, ":%.2x:", static_cast<unsigned>(bus));
  }
}

}  // namespace qorx
