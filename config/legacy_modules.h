// Modules that carry no usable subsystem ids.
#ifndef QORX_CONFIG_LEGACY_MODULES_H
#define QORX_CONFIG_LEGACY_MODULES_H

#include <cstdint>

namespace qorx {

// Names every slot's module by the PCI devices behind it, and with it the ports that have no model yet. Returns 0.
std::int32_t qorx_handle_legacy_WMX();

}  // namespace qorx

#endif
