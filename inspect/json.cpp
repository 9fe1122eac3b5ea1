#include "inspect/json.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

#include "inspect/json_values.h"
#include "lib/version.h"

namespace qorx::inspect {

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
  lines.add_list("ports", machine.ports, json_port);
  lines.add_list("virtual_interfaces", machine.virtual_interfaces, virtual_interface_value);
  lines.add_list("slots", machine.slots, [](const SlotRecord* slot) { return slot_value(*slot); });
  return lines.finish();
}

}  // namespace qorx::inspect
