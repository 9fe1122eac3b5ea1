#include "ident/final_model.h"

#include <algorithm>
#include <string_view>

#include "base/bounded_text.h"
#include "records/name_column.h"
#include "records/state.h"

namespace qorx {

namespace {

constexpr std::string_view kUnknownModel = "ID not found";
constexpr std::size_t kFamilyPrefix = 4;  // "WMX-"

void name_unknown_port(DeviceRecord& record) {
  const bool onboard = record.smbios_type == QORX_SMBIOS_ONBOARD_DEVICE;
  copy_text(record.model, onboard ? "Onboard" : kUnknownModel);
  if (record.usb[0] != '\0') {
    copy_text(record.slot_name, "N/A");
    copy_text(record.panel_name, "N/A");
    copy_text(record.model, kUnknownModel);
  }
}

// Joins the confirmed names: "WMX-1813/8655". The prefix that is left out has four characters whatever the family,
// so TOBR-2542 and TOBR-9284 give TOBR-2542/-9284: deliberate.
void join_module_names(DeviceRecord& record) {
  const std::string_view first = record.module_names[0];
  copy_text(record.model, first);
  for (std::size_t k = 1; k < record.module_name_count && k < QORX_MAX_MODULE_NAMES; ++k) {
    std::string_view name = record.module_names[k];
    if (name.substr(0, kFamilyPrefix) == first.substr(0, kFamilyPrefix)) {
      name.remove_prefix(std::min(kFamilyPrefix, name.size()));
    }
    append_text(record.model, "/");
    append_text(record.model, name);
  }
}

void name_slots() {
  const auto devices = device_records();
  const NameColumn<DeviceRecord> names(devices, &DeviceRecord::slot_name);
  for (SlotRecord& slot : slot_records()) {
    if (slot.slot_name[0] == '\0') {
      continue;
    }
    if (const std::size_t i = names.find(slot.slot_name); i != kNoRecord) {
      copy_text(slot.model_name, devices[i].model);
    }
  }
}

}  // namespace

std::int32_t qorx_assign_final_model_name() {
  for (DeviceRecord& record : device_records()) {
    if (record.model[0] == '\0') {
      name_unknown_port(record);
    } else if (record.module_name_count != 0) {
      join_module_names(record);
    }
  }
  name_slots();
  return 0;
}

}  // namespace qorx
