#include "inspect/compared_port.h"

#include "inspect/text.h"

namespace qorx::inspect {

namespace {

Value text_value(std::string_view bytes) {
  if (is_utf8(bytes)) {
    return {Value::Kind::kText, std::string(bytes)};
  }
  return {Value::Kind::kText, as_utf8(bytes), hexadecimal(bytes)};
}

Value optional_value(const OptionalText& text) {
  return text ? text_value(*text) : null_value();
}

Value segment_value(const std::optional<int>& segment) {
  return segment ? Value{Value::Kind::kInteger, std::to_string(*segment)} : null_value();
}

}  // namespace

// As json_port() writes them.
ComparedPort compared_port(const Port& port) {
  const DeviceRecord& record = *port.record;
  ComparedPort values;
  values[kSlot] = optional_value(port.slot);
  values[kModel] = optional_value(port.model);
  values[kFeature] = optional_value(port.feature);
  values[kFeatureState] = text_value(feature_state_word(port.feature_state));
  values[kPanel] = optional_value(port.panel);
  values[kSegment] = segment_value(port.segment);
  values[kName] = text_value(port.name);
  values[kAddress] = optional_value(port.address);
  values[kVendorId] = optional_value(id_text(record.vendor_id));
  values[kDeviceId] = optional_value(id_text(record.device_id));
  values[kSubsystemVendorId] = optional_value(id_text(record.subsys_vendor_id));
  values[kSubsystemDeviceId] = optional_value(id_text(record.subsys_device_id));
  values[kMac] = optional_value(port.mac);
  return values;
}

}  // namespace qorx::inspect
