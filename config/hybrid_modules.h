// Modules with both copper ports, which have bypass, and fibre ports, which have not.
#ifndef QORX_CONFIG_HYBRID_MODULES_H
#define QORX_CONFIG_HYBRID_MODULES_H

#include <cstdint>

namespace qorx {

// Takes the feature from the fibre ports of hybrid modules, whatever was configured for them. Returns 0.
std::int32_t qorx_handle_hybrid_WMX();

}  // namespace qorx

#endif
