#include "smbios/entry_point_check.h"

#include <string_view>

#include "base/messages.h"
#include "lib/qorx.h"

namespace qorx {

namespace {

// Entry point layout (DMTF DSP0134, 5.2.1 and 5.2.2). The checksummed lengths are fixed: version 2.1 of the standard
// gave a wrong value for the entry point's length byte.
constexpr std::string_view kAnchor2 = "_SM_";
constexpr std::size_t kEntry2Last = 30;
constexpr std::size_t kEntry2Intermediate = 16;
constexpr std::size_t kEntry2TableLength = 22;
constexpr std::size_t kEntry2TableAddress = 24;
constexpr std::string_view kAnchor3 = "_SM3_";
constexpr std::size_t kEntry3Last = 23;
constexpr std::size_t kEntry3TableLength = 12;
constexpr std::size_t kEntry3TableAddress = 16;

std::int32_t wrong_checksum(const char* sum) {
  error("%s checksum is NOT 0!\n", sum);
  return code_byte(QORX_ERR_SMBIOS_CHECKSUM);
}

}  // namespace

std::uint8_t Cal_checksum(ByteView bytes, std::size_t first, std::size_t last) {
  std::uint8_t sum = 0;
  for (std::size_t i = first; i <= last; ++i) {
    sum = static_cast<std::uint8_t>(sum + bytes.u8(i));
  }
  return sum;
}

std::int32_t Check_SMBIOS_entry_point(ByteView bytes, EntryPoint& entry) {
  entry = {};
  if (bytes.starts_with(kAnchor2)) {
    entry = {2, bytes.u16(kEntry2TableLength), bytes.u32(kEntry2TableAddress)};
    if (Cal_checksum(bytes, 0, kEntry2Last) != 0) {
      return wrong_checksum("SMBIOS entry point structure");
    }
    if (Cal_checksum(bytes, kEntry2Intermediate, kEntry2Last) != 0) {
      return wrong_checksum("SMBIOS entry point structure intermediate");
    }
    return 0;
  }
  if (bytes.starts_with(kAnchor3)) {
    entry = {3, bytes.u32(kEntry3TableLength), bytes.u64(kEntry3TableAddress)};
    return Cal_checksum(bytes, 0, kEntry3Last) == 0 ? 0 : wrong_checksum("SMBIOS3 entry point structure");
  }
  return code_byte(kSmbiosNotFound);
}

}  // namespace qorx
