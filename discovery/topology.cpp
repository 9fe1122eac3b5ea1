#include "discovery/topology.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "base/bounded_text.h"
#include "base/messages.h"
#include "base/path_text.h"
#include "base/text_fields.h"
#include "discovery/port_identity.h"
#include "records/device_ids.h"
#include "records/name_column.h"
#include "records/state.h"

namespace qorx {

namespace {

constexpr std::string_view kVirtualDevices = "/devices/virtual/";
constexpr std::size_t kFirstDeviceToken = 2;  // behind the two parent-directory steps of a link

// Nearly every path of a port is told by its missing 'u', without a comparison at each of its slashes.
bool leads_to_virtual_device(std::string_view link) {
  return link.find('u') != std::string_view::npos && link.find(kVirtualDevices) != std::string_view::npos;
}

std::uint8_t hexadecimal_byte(std::string_view text) {
  return static_cast<std::uint8_t>(parse_hexadecimal(text));
}

// Index of the last token that begins with `prefix`, not below the first device token; 0 when there is none.
std::size_t last_token(const PathTokens& tokens, std::string_view prefix) {
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

// The address in a path component "0000:bb:dd.f", by its last characters, whatever stands before them. A function above
// 7 is none: deliberate, and unlike parse_pci_address.
PciAddress parse_last_component(std::string_view token) {
  const std::size_t length = token.size();
  const char digit = token[length - 1];
  PciAddress address;
  address.fun = digit >= '0' && digit <= '7' ? hexadecimal_byte(token.substr(length - 1)) : kAbsent;
  address.dev = hexadecimal_byte(token.substr(length - 4, 2));
  address.bus = hexadecimal_byte(token.substr(length - 7, 2));
  if (debugging()) {
    debug("%c %c fun:%x\n", token[length - 2], digit, address.fun);
    debug("%c %c dev:%x\n", token[length - 4], token[length - 3], address.dev);
    debug("%c %c bus:%x\n", token[length - 7], token[length - 6], address.bus);
  }
  return address;
}

// Sets bus, dev, fun and usb from net_path.
void fill_place(DeviceRecord& record) {
  constexpr std::size_t kShortestAddress = 7;  // "bb:dd.f"
  debug("Splitting string \"%s\" into tokens:\n", record.net_path);
  const PathTokens tokens = split_path(record.net_path);
  const std::size_t pci = last_token(tokens, kPciDomain);
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
  const NetworkInterface interface(name);
  PciIds subsystem;
  static_cast<void>(get_eth_device_subsystem_vendor_id_device_id(interface, subsystem));
  record.subsys_vendor_id = subsystem.vendor;
  record.subsys_device_id = subsystem.device;
  if (debugging()) {
    debug("sub vendor id: %x\n", subsystem.vendor);
    debug("sub device id: %x\n", subsystem.device);
  }
  PciIds device;
  static_cast<void>(get_eth_device_vendor_id_device_id(interface, device));
  record.vendor_id = device.vendor;
  record.device_id = device.device;
  if (debugging()) {
    debug("vendor id: %x\n", device.vendor);
    debug("device id: %x\n", device.device);
  }
}

void trace_place(const DeviceRecord& record) {
  debug("eth name: %s\n", record.eth_name);
  debug("net_path: %s\n", record.net_path);
  debug("bus: %x\n", record.bus);
  debug("dev: %x\n", record.dev);
  debug("fun: %x\n", record.fun);
}

void fill_record(DeviceRecord& record, const char* name, std::string_view link) {
  const std::size_t tail = std::string_view("/net/").size() + std::string_view(name).size();
  copy_text(record.net_path, link.substr(0, link.size() - std::min(tail, link.size())));
  copy_text(record.eth_name, name);
  fill_place(record);
  if (debugging()) {
    trace_place(record);
  }
  fill_ids(record, name);
  char mac[kMacTextSize];
  static_cast<void>(get_eth_device_mac_address(name, mac));
  copy_text(record.mac_addr, mac);
  debug("addr: %s\n", record.mac_addr);
}

std::int32_t missing_switch() {
  error("Can't find PCIe switch, please check the config file!\n");
  return code_byte(QORX_ERR_CONF_FILE_FORMAT);
}

}  // namespace

PathTokens split_path(const char* net_path) {
  PathTokens tokens;
  for (const char* at = net_path; tokens.count < kMaxPathTokens && *at != '\0';) {
    const char* const first = at;
    while (*at != '/' && *at != '\0') {
      ++at;
    }
    if (at != first) {
      tokens.at[tokens.count++] = {first, static_cast<std::size_t>(at - first)};
    }
    at += *at == '/' ? 1 : 0;
  }
  for (std::size_t i = 0; debugging() && i < tokens.count; ++i) {
    debug("%.*s\n", static_cast<int>(tokens.at[i].size()), tokens.at[i].data());
  }
  return tokens;
}

std::int8_t get_eth_device_pcie_info(const char* name, DeviceRecord* record) {
  const PathText path{"/sys/class/net/", name};
  std::array<char, QORX_PATH_SIZE - 1> buffer;  // NOLINT(cppcoreguidelines-pro-type-member-init): readlink fills
  const long length = read_system_link(path.c_str(), buffer);
  const auto status = static_cast<std::int8_t>(length);
  if (status == -1) {
    debug("can't readlink %s\n", path.c_str());
    return status;
  }
  const std::string_view link(buffer.data(), static_cast<std::size_t>(length));
  if (leads_to_virtual_device(link)) {
    debug("found vlan %s\n", name);
    return kVirtualInterface;
  }
  if (record != nullptr) {
    fill_record(*record, name, link);
    if (status < 0) {
      *record = {};  // an interface that is left out leaves nothing behind
    }
  }
  return status;
}

std::int32_t get_pcie_switch_bus(PciAddress& address, char (&path)[QORX_NAME_SIZE]) {
  const DeviceName own_name(address);
  if (path[0] == '\0') {
    copy_text(path, "/sys/devices/pci0000:00");
  }
  append_text(path, "/");
  append_text(path, own_name.view());
  debug("get_pcie_switch_bus\n%s\n", path);
  SystemDirectory directory = open_system_directory(path);
  if (!directory.is_open()) {
    return missing_switch();
  }
  while (const char* const entry = directory.next_entry()) {
    const std::string_view name = entry;
    // The port's own services (0000:00:1c.0:pcie001 and the like) lie beside the devices behind it.
    if (name.starts_with(kPciDomain) && !name.starts_with(own_name.view())) {
      address = parse_pci_address(text_behind(name, kPciDomain.size()));
      debug("%x\n%x\n%x\n", address.bus, address.dev, address.fun);
      return 1;
    }
  }
  return directory.failed() ? missing_switch() : 0;
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
      slots[j].slot_name[0] = '\0';
      add_ports_of(slots[j], slot);
      names.renew(j);
    }
  }
  return 0;
}

}  // namespace qorx
