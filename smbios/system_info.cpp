#include "smbios/system_info.h"

#include <cstdio>

#include "base/messages.h"
#include "base/print.h"
#include "lib/checks.h"
#include "records/state.h"

namespace qorx {

namespace {

bool is_onboard(const DeviceRecord& record) {
  return record.smbios_type == QORX_SMBIOS_ONBOARD_DEVICE && record.slot_name[0] != '\0';
}

bool is_named_slot(const SlotRecord& slot) {
  return slot.type == QORX_SMBIOS_SYSTEM_SLOT && slot.slot_name[0] != '\0';
}

void trace_slot(const SlotRecord& slot) {
  debug("%-20s %-4d %.2x:%.2x.%.2x   0x%.2x        ", slot.slot_name, slot.type, slot.bus, slot.dev, slot.fun,
        slot.port_count);
  for (std::size_t k = 0; k < slot.device_id_number && k < QORX_MAX_DEVICE_IDS; ++k) {
    if (k != 0) {
      debug("\n %-48s", "");
    }
    debug("%.4x  %.4x  %-4d  ", slot.vendor_id, slot.device_id[k], slot.device_id_count[k]);
  }
  debug("%-20s\n", slot.model_name);
}

}  // namespace

std::int32_t qorx_get_system_info() {
  qorx_environment_info& info = qorx_system_environment_info;
  info.eth_onboard_number = 0;
  info.smbios_t9_slot_number = 0;
  for (const DeviceRecord& record : device_records()) {
    info.eth_onboard_number += is_onboard(record) ? 1U : 0U;
  }
  for (const SlotRecord& slot : slot_records()) {
    info.smbios_t9_slot_number += is_named_slot(slot) ? 1U : 0U;
  }
  return 0;
}

void Debugout_smbios_array() {
  if (!debugging()) {
    return;
  }
  debug("%-20s type root port: port count: vid:  did:  cnt:  model name:  \n", "slot name:");
  for (const SlotRecord& slot : slot_records()) {
    trace_slot(slot);
  }
}

}  // namespace qorx

std::int32_t qorx_print_system_info() {
  using namespace qorx;
  if (const std::int32_t code = INIT_CHECK(); code != 0) {
    return code;
  }
  Debugout_smbios_array();
  print(stdout, "Onboard_cnt: %u\n", qorx_system_environment_info.eth_onboard_number);
  print(stdout, "Slot_cnt: %u\n", qorx_system_environment_info.smbios_t9_slot_number);
  for (const DeviceRecord& record : device_records()) {
    if (is_onboard(record)) {
      print(stdout, "%s: %s\n", record.slot_name, record.model[0] != '\0' ? record.model : "Onboard");
    }
  }
  for (const SlotRecord& slot : slot_records()) {
    if (is_named_slot(slot)) {
      print(stdout, "%s: %s\n", slot.slot_name, slot.model_name);
    }
  }
  return 0;
}
