// The two questions that come before everything else: is this a machine that can be examined, and has it been?
#ifndef QORX_LIB_CHECKS_H
#define QORX_LIB_CHECKS_H

#include <cstdint>

namespace qorx {

// Checks that the kernel lists network interfaces and PCI domain 0000. Returns 0, or QORX_ERR_OPEN_DIR after naming
// the missing directory (error level).
std::int32_t check_environment();

// The guard that every reporting call runs first: 0 after a successful qorx_open; otherwise prints the reason (error
// level) and returns QORX_ERR_INIT as a byte.
std::int32_t INIT_CHECK();

}  // namespace qorx

#endif
