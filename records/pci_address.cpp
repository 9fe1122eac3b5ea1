#include "records/pci_address.h"

#include "base/text_fields.h"

namespace qorx {

PciAddress parse_pci_address(std::string_view text) {
  const auto fields = split_fields<3>(text, kPciAddressDelimiters);
  const auto byte = [](std::string_view field) { return static_cast<std::uint8_t>(parse_hexadecimal(field)); };
  return {byte(fields.at[0]), byte(fields.at[1]), byte(fields.at[2])};
}

}  // namespace qorx
