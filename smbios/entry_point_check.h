// What an SMBIOS entry point is, and whether these bytes are one.
#ifndef QORX_SMBIOS_ENTRY_POINT_CHECK_H
#define QORX_SMBIOS_ENTRY_POINT_CHECK_H

#include <cstddef>
#include <cstdint>

#include "base/byte_view.h"

namespace qorx {

// The code of a check that found nothing usable. It has no name among the public codes, deliberately, and prints as an
// unknown one.
inline constexpr std::int32_t kSmbiosNotFound = -111;

// What an entry point says of the structure table.
struct EntryPoint {
  int version = 0;  // 2 or 3 once an anchor was recognised, even if a checksum then failed
  std::uint32_t table_length = 0;
  std::uint64_t table_address = 0;
};

// 8-bit sum of bytes[first] to bytes[last], both included.
std::uint8_t Cal_checksum(ByteView bytes, std::size_t first, std::size_t last);

// Checks the entry point at the start of `bytes` (DMTF DSP0134, 5.2). Returns 0, or as bytes kSmbiosNotFound where no
// anchor is, QORX_ERR_SMBIOS_CHECKSUM after saying which sum is wrong (error level).
std::int32_t Check_SMBIOS_entry_point(ByteView bytes, EntryPoint& entry);

}  // namespace qorx

#endif
