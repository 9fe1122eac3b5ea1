// The walk over the kernel's network interfaces that fills the device record table.
#ifndef QORX_DISCOVERY_INTERFACE_SCAN_H
#define QORX_DISCOVERY_INTERFACE_SCAN_H

#include <cstdint>

namespace qorx {

// Records every physical port with its identity, slot, model and feature, sorted. The slot records must be loaded.
// Returns 0, or the code of a failed search for the host I2C adapter, which ends the scan at once.
std::int32_t get_all_eth_devices_info();

}  // namespace qorx

#endif
