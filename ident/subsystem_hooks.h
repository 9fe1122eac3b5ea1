// Corrections by what a port's own subsystem ids do not say.
#ifndef QORX_IDENT_SUBSYSTEM_HOOKS_H
#define QORX_IDENT_SUBSYSTEM_HOOKS_H

#include "discovery/pci_config.h"
#include "records/state.h"

namespace qorx {

// Whether a port sits on the WMX-LH53 module, whose ids are on a bridge above its controllers; if so sets model,
// panel name and feature. The record's own ids must have been read.
bool qorx_is_WMX_LH53(PciFunctions& functions, DeviceRecord& record);

// Fixes the ports of multi-function controllers of which only the first function carries the ids. The records must
// be sorted by address.
void post_subsystem_id_general_hook();

}  // namespace qorx

#endif
