// The guard that every reporting call runs first.
#ifndef QORX_LIB_INIT_CHECK_H
#define QORX_LIB_INIT_CHECK_H

#include <cstdint>

namespace qorx {

// 0 after a successful qorx_open; otherwise prints the reason (error level) and returns QORX_ERR_INIT as a byte.
std::int32_t INIT_CHECK();

}  // namespace qorx

#endif
