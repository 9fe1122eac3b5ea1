// A second, plain reading of the SMBIOS entry point (DMTF DSP0134, 5.2), for the fuzzers to compare with.
#ifndef QORX_FUZZ_PLAIN_ENTRY_POINT_H
#define QORX_FUZZ_PLAIN_ENTRY_POINT_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz/support.h"

namespace qorx::fuzz {

struct PlainEntryPoint {
  int version = 0;  // by the anchor; 0 without one
  bool sound = false;
  std::uint64_t length = 0;
  std::uint64_t address = 0;
};

inline std::uint64_t plain_number(Bytes bytes, std::size_t at, std::size_t size) {
  std::uint64_t number = 0;
  for (std::size_t i = size; i-- > 0;) {
    number = number << 8 | (at + i < bytes.size() ? bytes[at + i] : 0U);
  }
  return number;
}

inline bool adds_up(Bytes bytes, std::size_t first, std::size_t last) {
  unsigned sum = 0;
  for (std::size_t i = first; i <= last && i < bytes.size(); ++i) {
    sum += bytes[i];
  }
  return sum % 256 == 0;
}

// The one at the start of `bytes`, zeros behind their end.
inline PlainEntryPoint plain_entry_point(Bytes bytes) {
  const std::string_view text = as_text(bytes);
  if (text.starts_with("_SM_")) {
    return {2, adds_up(bytes, 0, 30) && adds_up(bytes, 16, 30), plain_number(bytes, 22, 2), plain_number(bytes, 24, 4)};
  }
  if (text.starts_with("_SM3_")) {
    return {3, adds_up(bytes, 0, 23), plain_number(bytes, 12, 4), plain_number(bytes, 16, 8)};
  }
  return {};
}

}  // namespace qorx::fuzz

#endif
