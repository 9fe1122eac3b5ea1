#include "records/device_ids.h"

#include <cstddef>

namespace qorx {

namespace {

// Returns whether the list did not have the id.
bool add_device_id(SlotRecord& slot, std::uint32_t device_id, std::uint8_t count) {
  for (std::size_t k = 0; k < slot.device_id_number; ++k) {
    if (slot.device_id[k] == device_id) {
      slot.device_id_count[k] = static_cast<std::uint8_t>(slot.device_id_count[k] + count);
      return false;
    }
  }
  if (slot.device_id_number < QORX_MAX_DEVICE_IDS) {
    slot.device_id[slot.device_id_number] = device_id;
    slot.device_id_count[slot.device_id_number] = count;
    ++slot.device_id_number;
  }
  return true;
}

}  // namespace

void count_port(SlotRecord& slot, std::uint32_t vendor_id, std::uint32_t device_id) {
  ++slot.port_count;
  if (add_device_id(slot, device_id, 1)) {
    slot.vendor_id = vendor_id;
  }
}

void add_ports_of(const SlotRecord& other, SlotRecord& slot) {
  slot.port_count = static_cast<std::uint8_t>(slot.port_count + other.port_count);
  if (slot.vendor_id == 0) {
    slot.vendor_id = other.vendor_id;
  }
  for (std::size_t k = 0; k < other.device_id_number; ++k) {
    static_cast<void>(add_device_id(slot, other.device_id[k], other.device_id_count[k]));
  }
}

}  // namespace qorx
