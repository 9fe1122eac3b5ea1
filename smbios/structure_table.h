// The SMBIOS structure table: a walk that copies system slots (type 9) and onboard devices (type 41) into the slot
// record table.
#ifndef QORX_SMBIOS_STRUCTURE_TABLE_H
#define QORX_SMBIOS_STRUCTURE_TABLE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

namespace qorx {

// Offsets within an SMBIOS structure (DMTF DSP0134, 6.1.2, 7.10 and 7.42).
inline constexpr std::size_t kStructureType = 0x00;
inline constexpr std::size_t kStructureLength = 0x01;       // of the formatted area; the strings follow it
inline constexpr std::size_t kStructureDesignation = 0x04;  // string number, types 9 and 41
inline constexpr std::size_t kSlotBus = 0x0F;               // type 9, since SMBIOS 2.6
inline constexpr std::size_t kSlotDeviceFunction = 0x10;
inline constexpr std::size_t kOnboardBus = 0x09;  // type 41
inline constexpr std::size_t kOnboardDeviceFunction = 0x0A;

// The bytes of a structure table as far as they could be brought into memory, and what counts behind them:
// zeros up to `extent`, 0xFF from there on (what absent memory reads as).
class TableBytes {
 public:
  // A table of which `bytes` were loaded and `table_length` announced. One that is shorter than announced is
  // zeros behind its end, however far: normal for version 3 tables, which announce a maximum.
  static TableBytes loaded(std::span<const std::uint8_t> bytes, std::uint64_t table_length) {
    return {bytes, bytes.size() < table_length ? std::numeric_limits<std::uint64_t>::max() : bytes.size()};
  }

  // A table in mapped memory, `extent` bytes of it mapped.
  static TableBytes mapped(std::span<const std::uint8_t> bytes, std::uint64_t extent) { return {bytes, extent}; }

  [[nodiscard]] std::uint8_t at(std::uint64_t offset) const {
    if (offset < bytes_.size()) {
      return bytes_[static_cast<std::size_t>(offset)];
    }
    return offset < extent_ ? 0x00 : 0xFF;
  }

  // Fills `bytes` with the table's from `offset`.
  void copy(std::uint64_t offset, std::span<std::uint8_t> bytes) const {
    const std::uint64_t available = offset < bytes_.size() ? bytes_.size() - offset : 0;
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), available));
    std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(count != 0 ? offset : 0), count, bytes.begin());
    for (std::size_t i = count; i < bytes.size(); ++i) {
      bytes[i] = at(offset + i);
    }
  }

  [[nodiscard]] std::size_t present() const { return bytes_.size(); }
  [[nodiscard]] std::uint64_t extent() const { return extent_; }

 private:
  TableBytes(std::span<const std::uint8_t> bytes, std::uint64_t extent)
      : bytes_(without_long_zeros(bytes)), extent_(extent) {}

  static std::span<const std::uint8_t> without_long_zeros(std::span<const std::uint8_t> bytes);

  std::span<const std::uint8_t> bytes_;
  std::uint64_t extent_;
};

// Replaces the slot records by those of a table of `table_len` bytes. Returns 0, also when the last structure
// overshoots the table, or the byte 0x91 when a structure's strings do not end inside it; the records before it
// stay.
std::int32_t Parse_struct_table(const TableBytes& table, std::uint32_t table_len);

// Trims the designations of the slot records and keeps them as the firmware's names.
void keep_firmware_names();

}  // namespace qorx

#endif
