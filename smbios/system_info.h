// What sits where, slot by slot.
#ifndef QORX_SMBIOS_SYSTEM_INFO_H
#define QORX_SMBIOS_SYSTEM_INFO_H

#include <cstdint>

namespace qorx {

// Counts the onboard ports and the named slots. Returns 0.
std::int32_t qorx_get_system_info();

// Traces the slot record table.
void Debugout_smbios_array();

}  // namespace qorx

#endif
