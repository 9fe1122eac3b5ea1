// Corrections by what a port's own subsystem ids do not say.
#ifndef QORX_IDENT_SUBSYSTEM_HOOKS_H
#define QORX_IDENT_SUBSYSTEM_HOOKS_H

#include <cstdint>

#include "records/state.h"

namespace qorx {

// Whether a port sits on the WMX-LH53 module, whose ids are on a bridge above its controllers; if so sets model,
// panel name and feature.
bool qorx_is_WMX_LH53(std::uint32_t index);

// Notes that a port's own function does not carry those ids, when the scan has just read its ids through the
// interface: the last component of the port's path is the device behind the interface, so visiting it would read the
// same registers again.
void note_own_function(const DeviceRecord& record);

// Forgets which functions were found to carry that module's ids. Call it before a scan.
void forget_visited_functions();

// Fixes the ports of multi-function controllers of which only the first function carries the ids. The records must
// be sorted by address.
void post_subsystem_id_general_hook();

}  // namespace qorx

#endif
