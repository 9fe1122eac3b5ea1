#include "config/stages.h"

#include "base/bounded_text.h"
#include "base/messages.h"
#include "ident/model_lookup.h"
#include "records/name_column.h"
#include "records/origins.h"
#include "records/state.h"

namespace qorx {

namespace {

void name_slot(SlotRecord& slot) {
  const char* const model =
      qorx_get_model_name_func_for_legacy(slot.vendor_id, slot.device_id, slot.device_id_count, &slot.feature);
  copy_text(slot.model_name, model);
  debug("%s %s\n", slot.slot_name, slot.model_name);
}

// The first slot with the port's slot name that has a model; null when there is none.
const SlotRecord* named_slot(const NameColumn<SlotRecord>& names, const DeviceRecord& record) {
  for (std::size_t i = names.find(record.slot_name); i != kNoRecord; i = names.find_next(i)) {
    if (qorx_smbios_t9_t41_mapping[i].model_name[0] != '\0') {
      return &qorx_smbios_t9_t41_mapping[i];
    }
  }
  return nullptr;
}

}  // namespace

std::int32_t qorx_handle_legacy_WMX() {
  for (SlotRecord& slot : slot_records()) {
    if (slot.type != QORX_SMBIOS_ONBOARD_DEVICE && slot.slot_name[0] != '\0') {
      name_slot(slot);
    }
  }
  const NameColumn<SlotRecord> names(slot_records(), &SlotRecord::slot_name);
  for (DeviceRecord& record : device_records()) {
    // A port that its subsystem ids have named keeps its model and feature.
    if (record.slot_name[0] == '\0' || record.model[0] != '\0') {
      continue;
    }
    if (const SlotRecord* const slot = named_slot(names, record)) {
      copy_text(record.model, slot->model_name);
      record.feature = slot->feature;
      origin_of(record).model = origin_of(record).feature = Writer::kLegacyTable;
    }
  }
  return 0;
}

}  // namespace qorx
