// Whether this is a machine that can be examined at all.
#ifndef QORX_LIB_ENVIRONMENT_H
#define QORX_LIB_ENVIRONMENT_H

#include <cstdint>

namespace qorx {

// Checks that the kernel lists network interfaces and PCI domain 0000. Returns 0, or QORX_ERR_OPEN_DIR after naming
// the missing directory (error level).
std::int32_t check_environment();

}  // namespace qorx

#endif
