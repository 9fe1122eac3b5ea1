// PCI addresses: one type, one parser, one printer.
#ifndef QORX_RECORDS_PCI_ADDRESS_H
#define QORX_RECORDS_PCI_ADDRESS_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qorx {

// A PCI address in domain 0000.
struct PciAddress {
  std::uint8_t bus = 0;
  std::uint8_t dev = 0;
  std::uint8_t fun = 0;

  friend bool operator==(const PciAddress&, const PciAddress&) = default;
};

// What every device name of that domain begins with in sysfs.
inline constexpr std::string_view kPciDomain = "0000:";

// What a PCI address is split at.
inline constexpr std::string_view kPciAddressDelimiters = ":.";

// The address in the text behind the domain of a sysfs device name, "bb:dd.f": three hexadecimal numbers, each cut to
// its low byte. Fields that are not there are 0, and what follows the third is not looked at.
PciAddress parse_pci_address(std::string_view text);

// A PCI address with its domain, as sysfs names devices: "0000:03:00.1". A function above 15 takes two digits.
class DeviceName {
 public:
  explicit DeviceName(PciAddress address) {
    put_two_digits(5, address.bus);
    put_two_digits(8, address.dev);
    length_ = address.fun > 0xF ? 13 : 12;
    put_two_digits(11, address.fun);
    if (address.fun <= 0xF) {
      text_[11] = text_[12];
    }
    text_[length_] = '\0';
  }

  [[nodiscard]] const char* c_str() const { return text_; }
  [[nodiscard]] std::string_view view() const { return {text_, length_}; }

 private:
  void put_two_digits(std::size_t at, std::uint8_t value) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    text_[at] = kDigits[value >> 4];
    text_[at + 1] = kDigits[value & 0xF];
  }

  std::size_t length_ = 0;
  char text_[14] = "0000:xx:xx.ff";
};

}  // namespace qorx

#endif
