// Bypass segment numbers: two neighbouring ports are one segment, numbered from the number in their slot's name.
#ifndef QORX_OUTPUT_BYPASS_SEGMENTS_H
#define QORX_OUTPUT_BYPASS_SEGMENTS_H

#include <cstdint>
#include <string_view>

namespace qorx {

// The number that the last one or two characters of `text` spell, 0 to 99; 255 when it does not end in a digit, -1
// when it is empty.
int Last2CharToNum(std::string_view text);

// Gives every port its segment number. Returns 0.
std::int32_t qorx_assign_bypass_seg();

}  // namespace qorx

#endif
