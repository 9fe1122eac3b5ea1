#include "records/pci_address.h"

#include <optional>

#include "base/text_fields.h"

namespace qorx {

namespace {

constexpr int kNoDigits = -1;

// Two hexadecimal digits, or kNoDigits.
int two_digits(const char* text) {
  const int high = hexadecimal_digit(text[0]);
  const int low = hexadecimal_digit(text[1]);
  return high < 0 || low < 0 ? kNoDigits : high * 16 + low;
}

// "bb:dd.f", as the kernel prints it, and nothing behind it.
std::optional<PciAddress> parse_plain_address(std::string_view text) {
  if (text.size() != std::string_view("bb:dd.f").size() || text[2] != ':' || text[5] != '.') {
    return std::nullopt;
  }
  const int bus = two_digits(text.data());
  const int dev = two_digits(text.data() + 3);
  const int fun = hexadecimal_digit(text[6]);
  if (bus < 0 || dev < 0 || fun < 0) {
    return std::nullopt;
  }
  return PciAddress{static_cast<std::uint8_t>(bus), static_cast<std::uint8_t>(dev), static_cast<std::uint8_t>(fun)};
}

}  // namespace

PciAddress parse_pci_address(std::string_view text) {
  if (const std::optional<PciAddress> plain = parse_plain_address(text)) {
    return *plain;
  }
  const auto fields = split_fields<3>(text, kPciAddressDelimiters);
  const auto byte = [](std::string_view field) { return static_cast<std::uint8_t>(parse_hexadecimal(field)); };
  return {byte(fields.at[0]), byte(fields.at[1]), byte(fields.at[2])};
}

}  // namespace qorx
