// The two orders of the device record table.
#ifndef QORX_RECORDS_RECORD_ORDER_H
#define QORX_RECORDS_RECORD_ORDER_H

#include <cstddef>

#include "records/state.h"

namespace qorx {

// Whether a sorts behind b: by PCI address, then by interface name, bytewise.
bool Compare(const DeviceRecord& a, const DeviceRecord& b);

// Whether a sorts behind b: by slot name, bytewise, then as above. Ports without a slot come first.
bool Compare_name(const DeviceRecord& a, const DeviceRecord& b);

// Sort the first `count` records (at most kMaxRecords) in place.
void sort_result_by_bus_dev_function(DeviceRecord* records, std::size_t count);
void sort_result_by_slot_name(DeviceRecord* records, std::size_t count);

}  // namespace qorx

#endif
