// SMBIOS structure tables and entry points, built from readable lines.
#ifndef QORX_TESTS_SUPPORT_SMBIOS_BUILDER_H
#define QORX_TESTS_SUPPORT_SMBIOS_BUILDER_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qorx::test {

class SmbiosTable {
 public:
  // A type 9 or 41 structure of today's layout with one string; `address` is "bb:dd.f", hexadecimal.
  SmbiosTable& slot(std::string_view designation, std::string_view address);
  SmbiosTable& onboard(std::string_view designation, std::string_view address);

  // Any structure: `formatted` is the formatted area with type and length bytes, `strings` follow it.
  SmbiosTable& structure(std::string_view formatted, const std::vector<std::string>& strings);

  // Bytes as they are.
  SmbiosTable& raw(std::string_view bytes);

  [[nodiscard]] const std::string& bytes() const { return bytes_; }

  // An entry point for this table with right checksums; `length` is what it announces, by default the table's.
  [[nodiscard]] std::string entry_point2(std::uint32_t address = 0) const;
  [[nodiscard]] std::string entry_point2(std::uint32_t address, std::uint16_t length) const;
  [[nodiscard]] std::string entry_point3(std::uint64_t address = 0) const;
  [[nodiscard]] std::string entry_point3(std::uint64_t address, std::uint32_t length) const;

  // A /dev/mem image: the entry point at `entry_address`, the table at `table_address`.
  [[nodiscard]] std::string memory2(std::uint32_t entry_address, std::uint32_t table_address) const;
  [[nodiscard]] std::string memory3(std::uint32_t entry_address, std::uint32_t table_address) const;

 private:
  std::string bytes_;
};

// The formatted area of a type 9 (17 bytes) or type 41 (11 bytes) structure.
std::string slot_area(std::uint8_t string_number, std::uint8_t bus, std::uint8_t device_function);
std::string onboard_area(std::uint8_t string_number, std::uint8_t bus, std::uint8_t device_function);

// Sets bytes[at] so that the sum of bytes[first..last] is 0.
void fix_checksum(std::string& bytes, std::size_t at, std::size_t first, std::size_t last);

}  // namespace qorx::test

#endif
