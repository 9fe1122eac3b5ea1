#include "discovery/topology.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "base/bounded_text.h"
#include "base/messages.h"
#include "base/path_text.h"
#include "base/text_fields.h"
#include "discovery/port_identity.h"
#include "records/name_column.h"
#include "records/state.h"

namespace qorx {

namespace {

constexpr std::string_view kDomain = "0000:";
constexpr std::string_view kVirtualDevices = "/devices/virtual/";
constexpr std::size_t kMaxPathTokens = 30;
constexpr std::size_t kFirstDeviceToken = 2;  // behind the two parent-directory steps of a link

std::uint8_t hexadecimal_byte(std::string_view text) {
  return static_cast<std::uint8_t>(parse_hexadecimal(text));
}

// Index of the last token that begins with `prefix`, not below the first device token; 0 when there is none.
std::size_t last_token(const Fields<kMaxPathTokens>& tokens, std::string_view prefix) {
  for (std::size_t i = tokens.count; i-- > kFirstDeviceToken;) {
    if (tokens.at[i].starts_with(prefix)) {
      return i;
    }
  }
  return 0;
}

void store_address(DeviceRecord& record, PciAddress address) {
  record.bus = address.bus;
  record.dev = address.dev;
  record.fun = address.fun;
}

// The address in a path component "0000:bb:dd.f", counted from its end.
PciAddress parse_last_component(std::string_view token) {
  const std::size_t length = token.size();
  const char digit = token[length - 1];
  PciAddress address;
  address.fun = digit >= '0' && digit <= '7' ? hexadecimal_byte(token.substr(length - 1)) : kAbsent;
  debug("%c %c fun:%x\n", token[length - 2], digit, address.fun);
  address.dev = hexadecimal_byte(token.substr(length - 4, 2));
  debug("%c %c dev:%x\n", token[length - 4], token[length - 3], address.dev);
  address.bus = hexadecimal_byte(token.substr(length - 7, 2));
  debug("%c %c bus:%x\n", token[length - 7], token[length - 6], address.bus);
  return address;
}

// Sets bus, dev, fun and usb from net_path.
void fill_place(DeviceRecord& record) {
  constexpr std::size_t kShortestAddress = 7;  // "bb:dd.f"
  debug("Splitting string \"%s\" into tokens:\n", record.net_path);
  const auto tokens = split_fields<kMaxPathTokens>(record.net_path, "/");
  for (std::size_t i = 0; i < tokens.count; ++i) {
    debug("%.*s\n", static_cast<int>(tokens.at[i].size()), tokens.at[i].data());
  }
  const std::size_t pci = last_token(tokens, kDomain);
  if (pci == 0) {
    debug("Can't find valid BDF for %s\n", record.eth_name);
  }
  if (last_token(tokens, "usb") != 0) {
    copy_text(record.usb, "usb");
  }
  PciAddress address{kAbsent, kAbsent, kAbsent};
  if (pci != 0) {
    debug("last: %.*s\n", static_cast<int>(tokens.at[pci].size()), tokens.at[pci].data());
  }
  if (pci == 0 || tokens.at[pci].size() < kShortestAddress) {
    debug("Can't find valid BDF for %s\n", record.eth_name);
  } else {
    address = parse_last_component(tokens.at[pci]);
  }
  store_address(record, address);
}

void fill_ids(DeviceRecord& record, const char* name) {
  const ConfigSpace config = ConfigSpace::of_interface(name);
  PciIds subsystem;
  static_cast<void>(read_interface_subsystem_ids(config, name, subsystem));
  record.subsys_vendor_id = subsystem.vendor;
  record.subsys_device_id = subsystem.device;
  debug("sub vendor id: %x\n", subsystem.vendor);
  debug("sub device id: %x\n", subsystem.device);
  PciIds device;
  static_cast<void>(read_interface_ids(config, name, device));
  record.vendor_id = device.vendor;
  record.device_id = device.device;
  debug("vendor id: %x\n", device.vendor);
  debug("device id: %x\n", device.device);
}

void fill_record(DeviceRecord& record, const char* name, std::string_view link) {
  const std::size_t tail = std::string_view("/net/").size() + std::string_view(name).size();
  copy_text(record.net_path, link.substr(0, link.size() - std::min(tail, link.size())));
  copy_text(record.eth_name, name);
  fill_place(record);
  debug("eth name: %s\n", record.eth_name);
  debug("net_path: %s\n", record.net_path);
  debug("bus: %x\n", record.bus);
  debug("dev: %x\n", record.dev);
  debug("fun: %x\n", record.fun);
  fill_ids(record, name);
  char mac[kMacTextSize];
  static_cast<void>(get_eth_device_mac_address(name, mac));
  copy_text(record.mac_addr, mac);
  debug("addr: %s\n", record.mac_addr);
}

void merge_slot(SlotRecord& slot, SlotRecord& twin) {
  twin.slot_name[0] = '\0';
  slot.port_count = static_cast<std::uint8_t>(slot.port_count + twin.port_count);
  if (slot.vendor_id == 0) {
    slot.vendor_id = twin.vendor_id;
  }
  for (std::size_t k = 0; k < twin.device_id_number; ++k) {
    static_cast<void>(add_device_id(slot, twin.device_id[k], twin.device_id_count[k]));
  }
}

}  // namespace

std::int8_t get_eth_device_pcie_info(const char* name, PortReading mode) {
  const PathText path{"/sys/class/net/", name};
  std::array<char, QORX_PATH_SIZE - 1> buffer;  // NOLINT(cppcoreguidelines-pro-type-member-init): readlink fills
  const long length = read_system_link(path.c_str(), buffer);
  const auto status = static_cast<std::int8_t>(length);
  if (status == -1) {
    debug("can't readlink %s\n", path.c_str());
    return status;
  }
  const std::string_view link(buffer.data(), static_cast<std::size_t>(length));
  if (link.find(kVirtualDevices) != std::string_view::npos) {
    debug("found vlan %s\n", name);
    return kVirtualInterface;
  }
  if (mode == PortReading::kFillRecord) {
    const std::size_t index = device_records().size();
    fill_record(fresh_device_record(index), name, link);
    if (status < 0) {
      fresh_device_record(index);  // an interface that is left out leaves nothing behind
    }
  }
  return status;
}

PciAddress parse_device_name(const char* name_behind_domain) {
  const auto fields = split_fields<3>(name_behind_domain, ":.");
  return {hexadecimal_byte(fields.at[0]), hexadecimal_byte(fields.at[1]), hexadecimal_byte(fields.at[2])};
}

std::int32_t get_pcie_switch_bus(PciAddress& address, char (&path)[QORX_NAME_SIZE]) {
  const DeviceName own_name(address.bus, address.dev, address.fun);
  if (path[0] == '\0') {
    copy_text(path, "/sys/devices/pci0000:00");
  }
  append_text(path, "/");
  append_text(path, own_name.view());
  debug("get_pcie_switch_bus\n%s\n", path);
  SystemDirectory directory = open_system_directory(path);
  if (!directory.is_open()) {
    error("Can't find PCIe switch, please check the config file!\n");
    return code_byte(QORX_ERR_CONF_FILE_FORMAT);
  }
  while (const char* const entry = directory.next_entry()) {
    const std::string_view name = entry;
    // The port's own services (0000:00:1c.0:pcie001 and the like) lie beside the devices behind it.
    if (name.starts_with(kDomain) && !name.starts_with(own_name.view())) {
      address = parse_device_name(entry + kDomain.size());
      debug("%x\n%x\n%x\n", address.bus, address.dev, address.fun);
      return 1;
    }
  }
  return 0;
}

void assign_bus_high_low() {
  const auto records = device_records();
  std::string_view slot_name;
  std::uint8_t index = 0;
  for (std::size_t i = 0; i < records.size(); ++i) {
    DeviceRecord& record = records[i];
    if (record.smbios_type != QORX_SMBIOS_SYSTEM_SLOT) {
      continue;
    }
    if (slot_name != record.slot_name) {
      slot_name = record.slot_name;
      index = 0;
      debug("\n");
    }
    record.port_index = index;
    debug("%d ", index);
    const bool has_next = i + 1 < records.size();
    if (has_next && slot_name == records[i + 1].slot_name && records[i + 1].bus != record.bus) {
      ++index;
    }
  }
}

bool add_device_id(SlotRecord& slot, std::uint32_t device_id, std::uint8_t count) {
  for (std::size_t k = 0; k < slot.device_id_number; ++k) {
    if (slot.device_id[k] == device_id) {
      slot.device_id_count[k] = static_cast<std::uint8_t>(slot.device_id_count[k] + count);
      return false;
    }
  }
  if (slot.device_id_number >= QORX_MAX_DEVICE_IDS) {
    return false;
  }
  slot.device_id[slot.device_id_number] = device_id;
  slot.device_id_count[slot.device_id_number] = count;
  ++slot.device_id_number;
  return true;
}

std::int32_t qorx_handle_multi_root() {
  const auto slots = slot_records();
  NameColumn<SlotRecord> names(slots, &SlotRecord::slot_name);
  for (std::size_t i = 0; i < slots.size(); ++i) {
    SlotRecord& slot = slots[i];
    if (slot.type != QORX_SMBIOS_SYSTEM_SLOT || slot.slot_name[0] == '\0') {
      continue;
    }
    for (std::size_t j = names.find_next(i), next = kNoRecord; j != kNoRecord; j = next) {
      next = names.find_next(j);
      merge_slot(slot, slots[j]);
      names.renew(j);
    }
  }
  return 0;
}

}  // namespace qorx
