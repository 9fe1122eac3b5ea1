#include "discovery/slot_match.h"

#include <algorithm>

#include "base/bounded_text.h"
#include "base/text_fields.h"

namespace qorx {

namespace {

constexpr std::size_t kOwnAddressLength = 8;      // ":03:00.0"
constexpr std::size_t kSearchedPathLength = 100;  // paths on the deepest switch trees are longer; kept as it is

constexpr std::uint16_t kNone = kMaxRecords;
constexpr std::size_t kMissing = std::string_view::npos;

constexpr std::array kOwnAddressLevels{
    MatchLevel{.number = 3, .part = AddressPart::kFunction},
    MatchLevel{.number = 2, .part = AddressPart::kDevice},
    MatchLevel{.number = 1, .part = AddressPart::kBus},
};

constexpr std::array kBridgesLevels{
    MatchLevel{.number = 6, .part = AddressPart::kFunction},
    MatchLevel{.number = 5, .part = AddressPart::kFunction, .add_fun = 1},
    MatchLevel{.number = 4, .part = AddressPart::kDevice},
    MatchLevel{.number = 3, .part = AddressPart::kDevice, .add_dev = 1},
    MatchLevel{.number = 2, .part = AddressPart::kBus},
    MatchLevel{.number = 1, .part = AddressPart::kBus, .add_bus = 1},
};

std::span<const MatchLevel> levels(MatchPass pass) {
  return pass == MatchPass::kOwnAddress ? std::span<const MatchLevel>(kOwnAddressLevels)
                                        : std::span<const MatchLevel>(kBridgesLevels);
}

int hex_digit(char digit) {
  if (digit >= '0' && digit <= '9') {
    return digit - '0';
  }
  return digit >= 'a' && digit <= 'f' ? digit - 'a' + 10 : -1;
}

// A number at the front of a text.
struct Number {
  int value;
  std::size_t length;  // digits
};

// The numbers that a text begins with when they are printed as "%.<digits>x": one with that many digits, and longer
// ones that do not begin with 0. Three digits occur too: a byte and 1 can be 100.
struct Numbers {
  static constexpr std::size_t kMostDigits = 3;
  static constexpr int kHighest = 0x100;

  Numbers(std::string_view text, std::size_t digits) {
    int value = 0;
    for (std::size_t length = 1; length <= std::min(text.size(), kMostDigits); ++length) {
      const int digit = hex_digit(text[length - 1]);
      value = value * 16 + digit;
      if (digit < 0 || value > kHighest) {
        return;
      }
      if (length == digits || (length > digits && text[0] != '0')) {
        at[count++] = {value, length};
      }
    }
  }

  [[nodiscard]] const Number* begin() const { return at.data(); }
  [[nodiscard]] const Number* end() const { return at.data() + count; }

  std::array<Number, kMostDigits> at;
  std::size_t count = 0;
};

std::size_t bucket_of(PciAddress address, std::size_t buckets) {
  return (address.bus * 37U + address.dev * 8U + address.fun) % buckets;
}

bool is_byte(int number) {
  return number >= 0 && number <= 0xFF;
}

}  // namespace

SlotMatcher::Index::Index(std::span<const SlotRecord> slots, AddressPart part) : slots_(slots), part_(part) {
  first_.fill(kNone);
  for (std::size_t i = 0; i < slots.size(); ++i) {
    const PciAddress address = compared(slots[i]);
    if (find(address.bus, address.dev, address.fun) == kNone) {
      std::uint16_t& first = first_[bucket_of(address, kBuckets)];
      next_[i] = first;
      first = static_cast<std::uint16_t>(i);
    }
  }
}

PciAddress SlotMatcher::Index::compared(const SlotRecord& slot) const {
  PciAddress address{.bus = slot.bus};
  if (part_ != AddressPart::kBus) {
    address.dev = slot.dev;
  }
  if (part_ == AddressPart::kFunction) {
    address.fun = slot.fun;
  }
  return address;
}

std::size_t SlotMatcher::Index::find(int bus, int dev, int fun) const {
  if (!is_byte(bus) || !is_byte(dev) || !is_byte(fun)) {
    return kNone;
  }
  const PciAddress wanted{static_cast<std::uint8_t>(bus), static_cast<std::uint8_t>(dev),
                          static_cast<std::uint8_t>(fun)};
  std::size_t i = first_[bucket_of(wanted, kBuckets)];
  while (i != kNone && compared(slots_[i]) != wanted) {
    i = next_[i];
  }
  return i;
}

SlotMatcher::SlotMatcher(std::span<const SlotRecord> slots)
    : indexes_{Index(slots, AddressPart::kBus), Index(slots, AddressPart::kDevice),
               Index(slots, AddressPart::kFunction)} {}

std::string_view SlotMatcher::searched_text(MatchPass pass, std::string_view net_path) {
  if (pass == MatchPass::kOwnAddress) {
    return text_behind(net_path, net_path.size() - std::min(net_path.size(), kOwnAddressLength));
  }
  return net_path.substr(0, kSearchedPathLength);
}

// The first record of which the level's text begins at the place.
std::size_t SlotMatcher::first_at(std::string_view text, const Place& place, const MatchLevel& level) const {
  const Index& index = indexes_[static_cast<std::size_t>(level.part)];
  const int bus = place.bus - level.add_bus;
  if (level.part == AddressPart::kBus) {
    return index.find(bus, 0, 0);
  }
  if (!place.has_slots) {
    return kNone;
  }
  std::size_t first = kNone;
  const std::string_view behind_bus = text_behind(text, place.behind_bus);
  for (const Number& dev : Numbers(behind_bus, 2)) {
    if (level.part == AddressPart::kDevice) {
      first = std::min(first, index.find(bus, dev.value - level.add_dev, 0));
      continue;
    }
    const std::string_view behind_dev = text_behind(behind_bus, dev.length);
    if (!behind_dev.starts_with('.')) {
      continue;
    }
    for (const Number& fun : Numbers(text_behind(behind_dev, 1), 1)) {
      first = std::min(first, index.find(bus, dev.value - level.add_dev, fun.value - level.add_fun));
    }
  }
  return first;
}

std::optional<SlotMatcher::Match> SlotMatcher::find(MatchPass pass, std::string_view text) const {
  std::array<Place, kSearchedPathLength> storage;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled below
  std::size_t count = 0;
  for (std::size_t colon = text.find(':'); colon != kMissing && count < storage.size();) {
    const std::string_view behind = text_behind(text, colon + 1);
    const std::size_t length = behind.find(':');
    for (const Number& bus : Numbers(length <= Numbers::kMostDigits ? behind.substr(0, length) : "", 2)) {
      if (bus.length == length) {
        storage[count++] = {.bus = bus.value,
                            .has_slots = indexes_[0].find(bus.value, 0, 0) != kNone,
                            .behind_bus = colon + 1 + length + 1};
      }
    }
    colon = length != kMissing ? colon + 1 + length : kMissing;
  }
  for (const MatchLevel& level : levels(pass)) {
    std::size_t first = kNone;
    for (const Place& place : std::span(storage).first(count)) {
      first = std::min(first, first_at(text, place, level));
    }
    if (first != kNone) {
      return Match{first, level.number};
    }
  }
  return std::nullopt;
}

void SlotMatcher::format_pattern(MatchPass pass, int number, const SlotRecord& slot, char (&pattern)[16]) {
  const auto all = levels(pass);
  const MatchLevel& level = all[all.size() - static_cast<std::size_t>(number)];
  const auto bus = static_cast<unsigned>(slot.bus + level.add_bus);
  const auto dev = static_cast<unsigned>(slot.dev + level.add_dev);
  const auto fun = static_cast<unsigned>(slot.fun + level.add_fun);
  switch (level.part) {
    case AddressPart::kFunction:
      return format_text(pattern, sizeof pattern, ":%.2x:%.2x.%.1x", bus, dev, fun);
    case AddressPart::kDevice:
      return format_text(pattern, sizeof pattern, ":%.2x:%.2x", bus, dev);
    case AddressPart::kBus:
      return format_text(pattern, sizeof pattern, ":%.2x:", bus);
  }
}

}  // namespace qorx
