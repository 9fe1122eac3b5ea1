// Calling the library in this process: a clean state, and what it prints.
#ifndef QORX_TESTS_SUPPORT_LIBRARY_H
#define QORX_TESTS_SUPPORT_LIBRARY_H

#include <functional>
#include <string>
#include <string_view>

#include "records/state.h"
#include "tests/support/reset_library.h"

namespace qorx::test {

// What `action` prints on standard output.
std::string printed_by(const std::function<void()>& action);

// printed_by with debug traces on, and off again.
std::string traced_by(const std::function<void()>& action);

// Appends a record to the device or slot table and counts it. Returns it for more to be set.
DeviceRecord& add_device(std::string_view eth_name, std::string_view slot_name = "", int smbios_type = 0);
SlotRecord& add_slot(std::string_view slot_name, int type = 9, int bus = 0, int dev = 0, int fun = 0);

// Counts ports of one device behind a slot.
void add_ports(SlotRecord& slot, std::uint32_t device_id, int count);

}  // namespace qorx::test

#endif
