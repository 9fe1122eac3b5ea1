// Model names: of a card by its PCI subsystem ids, and of an older module by the PCI devices behind its slot.
#ifndef QORX_IDENT_MODEL_LOOKUP_H
#define QORX_IDENT_MODEL_LOOKUP_H

#include <cstdint>

#include "lib/qorx.h"

namespace qorx {

// Result of the last lookup of either kind; copy it before the next one.
extern char model_name[QORX_NAME_SIZE];

// The model of a pair of subsystem ids; empty when it is not known. Returns model_name.
const char* qorx_get_model_name(std::uint32_t subsys_vendor_id, std::uint32_t subsys_device_id);

// The model, or the list of possible models, of a module without subsystem ids. `device_ids` and
// `device_id_counts` are a slot record's lists; their first two entries are read. Stores the module's default
// feature, 0 when it has none. Returns model_name, empty when nothing fits.
const char* qorx_get_model_name_func_for_legacy(std::uint32_t vendor_id, const std::uint32_t* device_ids,
                                                const std::uint8_t* device_id_counts, std::uint8_t* feature);

}  // namespace qorx

#endif
