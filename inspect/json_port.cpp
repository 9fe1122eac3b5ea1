#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

#include "inspect/json_values.h"

namespace qorx::inspect {

namespace {

template <typename Number>
Json unless(Number value, Number absent) {
  return value == absent ? Json() : Json(value);
}

// In the order of the table's columns.
Json marks_of(const Port& port) {
  Json marks = Json::array();
  const std::array<std::pair<bool, const char*>, 5> all{{{port.is_usb(), "usb"},
                                                         {port.lacks_slot_record(), "no_slot_record"},
                                                         {port.panel_is_default, "default_panel"},
                                                         {port.has_mismatch, "feature_mismatch"},
                                                         {port.lacks_segment, "no_segment"}}};
  for (const auto& [is_set, word] : all) {
    if (is_set) {
      marks.push_back(word);
    }
  }
  return marks;
}

Json bypass_path(const DeviceRecord& record) {
  if (record.bypass_type == '\0') {
    return nullptr;
  }
  Json switches = Json::array();
  for (const std::uint8_t port : {record.bypass_switch1, record.bypass_switch2}) {
    if (port != kAbsent) {
      switches.push_back(port);
    }
  }
  return {{"owner", record.bypass_type == 'H' ? "host" : "baseboard_controller"},
          {"bus", record.bypass_bus},
          {"switches", std::move(switches)},
          {"mcu_segment", unless<int>(record.mcu_segment, 0)}};
}

std::vector<std::string_view> module_names(const DeviceRecord& record) {
  return {std::begin(record.module_names),
          std::begin(record.module_names) + std::min<int>(record.module_name_count, QORX_MAX_MODULE_NAMES)};
}

// The record of the library, field by field under the names of qorx.h.
Json raw_record(const DeviceRecord& record) {
  TextObject raw;
  raw.put_text("eth_name", record.eth_name);
  raw.put("bus", record.bus);
  raw.put("dev", record.dev);
  raw.put("fun", record.fun);
  raw.put_text("slot_name", record.slot_name);
  raw.put_text("panel_name", record.panel_name);
  raw.put_text("model", record.model);
  raw.put("feature", record.feature);
  raw.put("bypass_ctrl_flag", record.bypass_ctrl_flag);
  raw.put_text("net_path", record.net_path);
  raw.put("slot_bus", record.slot_bus);
  raw.put("slot_dev", record.slot_dev);
  raw.put("slot_fun", record.slot_fun);
  raw.put("vendor_id", record.vendor_id);
  raw.put("device_id", record.device_id);
  raw.put("subsys_vendor_id", record.subsys_vendor_id);
  raw.put("subsys_device_id", record.subsys_device_id);
  raw.put_text("mac_addr", record.mac_addr);
  raw.put("smbios_type", record.smbios_type);
  raw.put("port_index", record.port_index);
  raw.put("seg", record.seg);
  raw.put_texts("module_names", module_names(record));
  raw.put("module_name_count", record.module_name_count);
  raw.put_text("usb", record.usb);
  raw.put("bypass_type", static_cast<std::uint8_t>(record.bypass_type));
  raw.put("bypass_bus", record.bypass_bus);
  raw.put("bypass_switch1", record.bypass_switch1);
  raw.put("bypass_switch2", record.bypass_switch2);
  raw.put("mcu_segment", record.mcu_segment);
  return raw.finish();
}

}  // namespace

Json json_port(const Port& port) {
  const DeviceRecord& record = *port.record;
  const bool has_slot = port.place != Place::kNone;
  TextObject object;
  object.put_text("name", port.name);
  object.put_optional("address", port.address);
  object.put("vendor_id", id_value(record.vendor_id));
  object.put("device_id", id_value(record.device_id));
  object.put("subsystem_vendor_id", id_value(record.subsys_vendor_id));
  object.put("subsystem_device_id", id_value(record.subsys_device_id));
  object.put_optional("mac", port.mac);
  object.put_optional("slot", port.slot);
  object.put("slot_type", place_value(record.smbios_type));
  object.put("slot_address", has_slot ? Json(address_text(record.slot_bus, record.slot_dev, record.slot_fun)) : Json());
  object.put("bus_group", port.place == Place::kSystemSlot ? Json(record.port_index) : Json());
  object.put_optional("panel", port.panel);
  object.put_optional("feature", port.feature);
  object.put("feature_state", feature_state_word(port.feature_state));
  object.put("bypass_controller", record.bypass_ctrl_flag == 1);
  object.put("bypass_path", bypass_path(record));
  object.put("segment", port.segment ? Json(*port.segment) : Json());
  object.put_optional("model", port.model);
  object.put_texts("candidates", module_names(record));
  object.put("marks", marks_of(port));
  object.put_name("sysfs_path", record.net_path);
  object.put("raw", raw_record(record));
  return object.finish();
}

}  // namespace qorx::inspect
