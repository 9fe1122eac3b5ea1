#include "inspect/json.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

#include "inspect/json_document.h"
#include "inspect/text.h"
#include "lib/version.h"

namespace qorx::inspect {

namespace {

template <typename Values, typename Convert>
Json list_of(const Values& values, Convert convert) {
  Json list = Json::array();
  for (const auto& value : values) {
    list.push_back(convert(value));
  }
  return list;
}

// An object with texts. Those that are no UTF-8 stand in it as if they were Latin-1, and under "bytes" in hexadecimal.
class TextObject {
 public:
  TextObject() { members().reserve(kManyKeys); }

  // The keys of an object are different: they need not be searched for.
  void put(const char* key, Json value) { members().emplace_back(key, std::move(value)); }

  void put_text(const char* key, std::string_view bytes) {
    if (is_utf8(bytes)) {
      put(key, bytes);
      return;
    }
    put(key, as_utf8(bytes));
    bytes_.push_back({key, hexadecimal(bytes)});
  }

  void put_optional(const char* key, const OptionalText& bytes) {
    if (bytes) {
      put_text(key, std::string_view(*bytes));
    } else {
      put(key, nullptr);
    }
  }

  void put_texts(const char* key, const std::vector<std::string_view>& all) {
    put(key, list_of(all, as_utf8));
    if (!std::all_of(all.begin(), all.end(), is_utf8)) {
      bytes_.push_back({key, list_of(all, hexadecimal)});
    }
  }

  // A text that is absent when it is empty.
  void put_name(const char* key, std::string_view bytes) {
    put_optional(key, bytes.empty() ? OptionalText() : OptionalText(bytes));
  }

  Json finish() {
    put("bytes", std::move(bytes_));
    return std::move(json_);
  }

 private:
  static constexpr std::size_t kManyKeys = 32;

  Json::object_t::Container& members() { return json_.get_ref<Json::object_t&>(); }

  Json json_ = Json::object();
  Json bytes_ = Json::object();
};

// PCI and USB ids are written as everywhere: four hexadecimal digits.
Json id_value(std::uint32_t id) {
  if (id >= QORX_ID_UNKNOWN) {
    return nullptr;
  }
  std::array<char, 8> text{};
  std::snprintf(text.data(), text.size(), "%.4x", id);
  return text.data();
}

template <typename Number>
Json unless(Number value, Number absent) {
  return value == absent ? Json() : Json(value);
}

Json place_value(std::uint8_t smbios_type) {
  switch (smbios_type) {
    case QORX_SMBIOS_SYSTEM_SLOT:
      return "system_slot";
    case QORX_SMBIOS_ONBOARD_DEVICE:
      return "onboard_device";
    default:
      return nullptr;
  }
}

const char* feature_state_word(FeatureState state) {
  switch (state) {
    case FeatureState::kKnown:
      return "known";
    case FeatureState::kNone:
      return "none";
    case FeatureState::kNeeded:
      return "needs_configuration";
    case FeatureState::kUnknown:
      break;
  }
  return "unknown";
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

Json json_port(const Port& port, PortDetail detail) {
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
  if (detail == PortDetail::kAll) {
    object.put("raw", raw_record(record));
  }
  return object.finish();
}

namespace {

// The SMBIOS structure as far as it is kept, without the zeros behind it: its strings end in two NULs.
std::string_view structure_of(const SlotRecord& slot) {
  const auto* const begin = reinterpret_cast<const char*>(std::data(slot.raw));  // NOLINT: bytes as text
  std::string_view bytes(begin, std::size(slot.raw));
  const std::size_t last = bytes.find_last_not_of('\0');
  return last == std::string_view::npos ? std::string_view() : bytes.substr(0, std::min(last + 3, bytes.size()));
}

Json handle_of(const SlotRecord& slot) {
  constexpr std::size_t kHandle = 2;
  return structure_of(slot).empty() ? Json() : Json(slot.raw[kHandle] | slot.raw[kHandle + 1] << 8);
}

Json devices_of(const SlotRecord& slot) {
  Json devices = Json::array();
  for (std::size_t i = 0; i < slot.device_id_number && i < QORX_MAX_DEVICE_IDS; ++i) {
    devices.push_back({{"device_id", id_value(slot.device_id[i])}, {"count", slot.device_id_count[i]}});
  }
  return devices;
}

Json slot_value(const SlotRecord& slot) {
  const std::string_view structure = structure_of(slot);
  TextObject object;
  object.put_name("name", slot.slot_name);
  object.put_name("firmware_name", slot.smbios_slot_name);
  object.put("type", place_value(slot.type));
  object.put("address", address_text(slot.bus, slot.dev, slot.fun));
  object.put_name("model", slot.model_name);
  object.put("port_count", slot.port_count);
  object.put("vendor_id", slot.device_id_number != 0 ? id_value(slot.vendor_id) : Json());
  object.put("devices", devices_of(slot));
  object.put("legacy_feature", slot.feature);
  object.put_name("sysfs_path", slot.sysfs_path);
  object.put("handle", handle_of(slot));
  object.put("string_number", structure.empty() ? Json() : Json(slot.str_index));
  object.put("structure_length", structure.empty() ? Json() : Json(slot.length));
  object.put("structure", structure.empty() ? Json() : Json(hexadecimal(structure)));
  return object.finish();
}

Json slot_source_value(SlotSource source) {
  switch (source) {
    case SlotSource::kMemory:
      return "memory";
    case SlotSource::kEfi:
      return "efi";
    case SlotSource::kSysfs:
      return "sysfs";
    case SlotSource::kFiles:
      return "files";
    case SlotSource::kOverrideFile:
      return "override_file";
    case SlotSource::kNone:
      break;
  }
  return nullptr;
}

OptionalText file_of(std::int32_t flag, const char* name) {
  return flag != 0 ? OptionalText(name) : OptionalText();
}

// What was read, and how: the files by the names that the user gave them.
Json sources_value(const Machine& machine) {
  TextObject object;
  object.put_optional("root", machine.root);
  object.put("slot_records", slot_source_value(machine.slot_source));
  object.put_optional("config", file_of(g_config_flag, g_config_file_name));
  object.put_optional("smbios_cfg", file_of(g_smbios_flag, g_smbios_file_name));
  object.put_optional("sys_WMX_cfg", file_of(g_WMX_name_flag, g_WMX_name_file_name));
  object.put_optional("diag_entry_point", file_of(g_diag, g_entry_point_file));
  object.put_optional("diag_table", file_of(g_diag, g_dmi_file));
  return object.finish();
}

Json options_value() {
  return {{"legacy", g_legacy_flag != 0},
          {"force", g_force_flag != 0},
          {"sort_slotname", g_sort_slotname != 0},
          {"vm", g_vm_bypass != 0},
          {"novlan", g_novlan != 0}};
}

Json counts_value(const Machine& machine) {
  const qorx_environment_info& info = qorx_system_environment_info;
  return {{"ports", machine.ports.size()},
          {"onboard_ports", info.eth_onboard_number},
          {"slots", info.smbios_t9_slot_number},
          {"slot_records", machine.slots.size()},
          {"virtual_interfaces", machine.virtual_interfaces.size()}};
}

Json virtual_interface_value(const VirtualInterface& interface) {
  TextObject object;
  object.put_text("name", interface.name);
  object.put_optional("mac", interface.mac);
  return object.finish();
}

// The document, a line for each key, port and slot. Each value is printed as soon as it is made: machines with hundreds
// of ports have a megabyte of it.
class Lines {
 public:
  explicit Lines(std::size_t expected) { text_.reserve(kLongLine * expected); }

  void add(const char* key, const Json& value) {
    begin(key);
    text_ += printed(value);
  }

  template <typename Values, typename Convert>
  void add_list(const char* key, const Values& values, Convert convert) {
    begin(key);
    text_ += '[';
    const char* between = "\n    ";
    for (const auto& value : values) {
      text_ += between;
      text_ += printed(convert(value));
      between = ",\n    ";
    }
    text_ += values.empty() ? "]" : "\n  ]";
  }

  std::string finish() { return std::move(text_) + "\n}\n"; }

 private:
  static constexpr std::size_t kLongLine = 1600;

  static std::string printed(const Json& value) { return value.dump(-1, ' ', true); }

  void begin(const char* key) {
    text_ += text_.empty() ? "{\n  \"" : ",\n  \"";
    text_ += key;
    text_ += "\": ";
  }

  std::string text_;
};

}  // namespace

std::string json_text(const Machine& machine) {
  Lines lines(machine.ports.size() + machine.slots.size());
  lines.add("schema", kSchema);
  lines.add("versions", {{"qorx", version_text(kToolVersion)}, {"libqorx", version_text(kLibraryVersion)}});
  lines.add("options", options_value());
  lines.add("sources", sources_value(machine));
  lines.add("counts", counts_value(machine));
  lines.add_list("ports", machine.ports, [](const Port& port) { return json_port(port, PortDetail::kAll); });
  lines.add_list("virtual_interfaces", machine.virtual_interfaces, virtual_interface_value);
  lines.add_list("slots", machine.slots, [](const SlotRecord* slot) { return slot_value(*slot); });
  return lines.finish();
}

}  // namespace qorx::inspect
