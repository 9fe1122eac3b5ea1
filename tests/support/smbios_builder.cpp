#include "tests/support/smbios_builder.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace qorx::test {

namespace {

void put(std::string& bytes, std::size_t offset, std::uint64_t value, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) {
    bytes[offset + i] = static_cast<char>(value >> (8 * i) & 0xFF);
  }
}

struct Address {
  std::uint8_t bus;
  std::uint8_t device_function;
};

Address parse(std::string_view text) {
  unsigned bus = 0;
  unsigned dev = 0;
  unsigned fun = 0;
  if (std::sscanf(std::string(text).c_str(), "%x:%x.%x", &bus, &dev, &fun) != 3) {
    throw std::invalid_argument("not an address: " + std::string(text));
  }
  return {static_cast<std::uint8_t>(bus), static_cast<std::uint8_t>(dev << 3 | fun)};
}

std::string memory_image(const std::string& entry, std::uint32_t entry_address, const std::string& table,
                         std::uint32_t table_address) {
  std::string image(std::max<std::size_t>(0x100000, table_address + table.size()), '\0');
  image.replace(entry_address, entry.size(), entry);
  image.replace(table_address, table.size(), table);
  return image;
}

}  // namespace

std::string slot_area(std::uint8_t string_number, std::uint8_t bus, std::uint8_t device_function) {
  std::string area(17, '\0');
  area[0] = 9;
  area[1] = 17;
  area[4] = static_cast<char>(string_number);
  area[0x0F] = static_cast<char>(bus);
  area[0x10] = static_cast<char>(device_function);
  return area;
}

std::string onboard_area(std::uint8_t string_number, std::uint8_t bus, std::uint8_t device_function) {
  std::string area(11, '\0');
  area[0] = 41;
  area[1] = 11;
  area[4] = static_cast<char>(string_number);
  area[5] = static_cast<char>(0x85);  // Ethernet, enabled
  area[9] = static_cast<char>(bus);
  area[10] = static_cast<char>(device_function);
  return area;
}

void fix_checksum(std::string& bytes, std::size_t at, std::size_t first, std::size_t last) {
  bytes[at] = 0;
  unsigned sum = 0;
  for (std::size_t i = first; i <= last; ++i) {
    sum += static_cast<unsigned char>(bytes[i]);
  }
  bytes[at] = static_cast<char>(256 - sum % 256);
}

SmbiosTable& SmbiosTable::slot(std::string_view designation, std::string_view address) {
  const Address a = parse(address);
  return structure(slot_area(1, a.bus, a.device_function), {std::string(designation)});
}

SmbiosTable& SmbiosTable::onboard(std::string_view designation, std::string_view address) {
  const Address a = parse(address);
  return structure(onboard_area(1, a.bus, a.device_function), {std::string(designation)});
}

SmbiosTable& SmbiosTable::structure(std::string_view formatted, const std::vector<std::string>& strings) {
  bytes_ += formatted;
  for (const std::string& text : strings) {
    bytes_ += text;
    bytes_ += '\0';
  }
  bytes_ += '\0';
  if (strings.empty()) {
    bytes_ += '\0';
  }
  return *this;
}

SmbiosTable& SmbiosTable::raw(std::string_view bytes) {
  bytes_ += bytes;
  return *this;
}

std::string SmbiosTable::entry_point2(std::uint32_t address) const {
  return entry_point2(address, static_cast<std::uint16_t>(bytes_.size()));
}

std::string SmbiosTable::entry_point2(std::uint32_t address, std::uint16_t length) const {
  std::string entry(31, '\0');
  entry.replace(0, 4, "_SM_");
  entry[5] = 0x1F;
  entry[6] = 2;
  entry[7] = 8;
  entry.replace(16, 5, "_DMI_");
  put(entry, 22, length, 2);
  put(entry, 24, address, 4);
  fix_checksum(entry, 21, 16, 30);
  fix_checksum(entry, 4, 0, 30);
  return entry;
}

std::string SmbiosTable::entry_point3(std::uint64_t address) const {
  return entry_point3(address, static_cast<std::uint32_t>(bytes_.size()));
}

std::string SmbiosTable::entry_point3(std::uint64_t address, std::uint32_t length) const {
  std::string entry(24, '\0');
  entry.replace(0, 5, "_SM3_");
  entry[6] = 0x18;
  entry[7] = 3;
  put(entry, 12, length, 4);
  put(entry, 16, address, 8);
  fix_checksum(entry, 5, 0, 23);
  return entry;
}

std::string SmbiosTable::memory2(std::uint32_t entry_address, std::uint32_t table_address) const {
  return memory_image(entry_point2(table_address), entry_address, bytes_, table_address);
}

std::string SmbiosTable::memory3(std::uint32_t entry_address, std::uint32_t table_address) const {
  return memory_image(entry_point3(table_address), entry_address, bytes_, table_address);
}

}  // namespace qorx::test
