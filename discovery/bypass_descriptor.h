// The LAN-bypass descriptor that a slot designation may carry, such as "Slot 3 (H.1.255.255)".
#ifndef QORX_DISCOVERY_BYPASS_DESCRIPTOR_H
#define QORX_DISCOVERY_BYPASS_DESCRIPTOR_H

#include <cstdint>

#include "ident/i2c_adapters.h"
#include "records/state.h"

namespace qorx {

// Parses the descriptor in the record's slot name into its bypass fields and, for the host's own I2C bus, corrects
// the bus by the adapters that the kernel has. A wrong descriptor is reported (error level) and keeps what was
// parsed before the wrong field. Returns 0, or the code of a failed search for the host adapter.
std::int32_t parse_bypass_descriptor(I2cAdapters& adapters, DeviceRecord& record);

}  // namespace qorx

#endif
