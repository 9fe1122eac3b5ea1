// The PCI devices behind a slot: which device ids, and how many ports with each.
#ifndef QORX_RECORDS_DEVICE_IDS_H
#define QORX_RECORDS_DEVICE_IDS_H

#include <cstdint>

#include "records/state.h"

namespace qorx {

// Counts one port behind a slot. A device id that the slot's list does not have is appended to it while there is room,
// and the port's vendor becomes the slot's, room or not.
void count_port(SlotRecord& slot, std::uint32_t vendor_id, std::uint32_t device_id);

// Adds what was counted behind `other`. Device ids for which there is no room are left out; the vendor is taken only
// where the slot has none yet.
void add_ports_of(const SlotRecord& other, SlotRecord& slot);

}  // namespace qorx

#endif
