#include "discovery/slot_match.h"

#include <algorithm>

#include "base/bounded_text.h"
#include "base/text_fields.h"

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

// The number that the first two characters spell, -1 when they are not two digits.
int two_digits(std::string_view text) {
  if (text.size() < 2 || hex_digit(text[0]) < 0 || hex_digit(text[1]) < 0) {
    return -1;
  }
  return hex_digit(text[0]) * 16 + hex_digit(text[1]);
}

// The length of `value` printed as "%.<digits>x" when `text` begins with it, else kMissing. Values up to 256 (a byte
// and 1) occur.
std::size_t match_hex(std::string_view text, int value, std::size_t digits) {
  char printed[3];
  std::size_t length = 0;
  for (std::size_t nibble = 3; nibble-- > 0;) {
    const int digit = value >> (4 * nibble) & 0xF;
    if (length != 0 || digit != 0 || nibble < digits) {
      printed[length++] = "0123456789abcdef"[digit];
    }
  }
  return text.starts_with(std::string_view(printed, length)) ? length : kMissing;
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
    return text_behind(net_path, net_path.size() - std::min(net_path.size(), kOwnAddressLength));
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

// False where no pattern can begin.
bool SlotMatcher::read_place(std::string_view behind_colon, Place& place) {
  constexpr std::string_view kPastLastBus = "100:";  // what a level makes of bus 255 and 1
  if (behind_colon.starts_with(kPastLastBus)) {
    place = {256, -1, {}};
    return true;
  }
  if (behind_colon.size() < 3 || behind_colon[2] != ':') {
    return false;
  }
  place = {two_digits(behind_colon), two_digits(text_behind(behind_colon, 3)), text_behind(behind_colon, 3)};
  return place.bus >= 0;
}

bool SlotMatcher::matches_at(const Place& place, const Level& level, const SlotRecord& slot) {
  if (!level.with_dev) {
    return true;
  }
  const int dev = slot.dev + level.add_dev;
  // Three digits, where 1 was added to device 255, are the only number that the place has not read.
  if (dev != place.dev && (dev <= 0xFF || match_hex(place.behind_bus, dev, 2) == kMissing)) {
    return false;
  }
  if (!level.with_fun) {
    return true;
  }
  const std::string_view behind_dev = text_behind(place.behind_bus, dev > 0xFF ? 3 : 2);
  return behind_dev.starts_with('.') && match_hex(text_behind(behind_dev, 1), slot.fun + level.add_fun, 1) != kMissing;
}

std::size_t SlotMatcher::first_match(const Level& level, std::span<const Place> places) const {
  std::size_t best = kNone;
  for (const Place& place : places) {
    const int bus = place.bus - level.add_bus;
    if (bus < 0 || bus > 0xFF) {
      continue;
    }
    for (std::size_t k = first_[static_cast<std::size_t>(bus)]; k < best; k = next_[k]) {
      if (matches_at(place, level, slots_[k])) {
        best = k;
      }
    }
  }
  return best;
}

std::optional<SlotMatcher::Match> SlotMatcher::find(int pass, std::string_view text) const {
  std::array<Place, kSearchedPathLength> storage;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled below
  std::size_t count = 0;
  for (std::size_t colon = text.find(':'); colon != kMissing && count < storage.size();
       colon = text.find(':', colon + 1)) {
    count += read_place(text_behind(text, colon + 1), storage[count]) ? 1U : 0U;
  }
  const std::span places = std::span(storage).first(count);
  for (const Level& level : levels(pass)) {
    if (const std::size_t slot = first_match(level, places); slot != kNone) {
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
