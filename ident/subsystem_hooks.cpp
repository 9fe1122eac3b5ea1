#include "ident/subsystem_hooks.h"

#include <algorithm>
#include <bitset>
#include <string_view>

#include "base/bounded_text.h"
#include "base/messages.h"
#include "base/path_text.h"
#include "base/text_fields.h"
#include "discovery/pci_config.h"
#include "ident/supported_devices.h"

namespace qorx {

namespace {

constexpr std::string_view kDomain = "0000:";
constexpr std::string_view kModel = "WMX-LH53";
constexpr std::uint32_t kModelDeviceId = 0x204A;
constexpr std::size_t kMaxPathTokens = 30;
constexpr std::size_t kAddressTextLimit = 16;
constexpr std::uint8_t kLastDevice = 31;
constexpr std::uint8_t kLastFunction = 7;

// Controllers, as device id and vendor id.
constexpr std::uint32_t controller(std::uint32_t vendor_id, std::uint32_t device_id) {
  return vendor_id | device_id << 16;
}
constexpr std::uint32_t kX710 = controller(0x8086, 0x1572);
constexpr std::uint32_t kXl710 = controller(0x8086, 0x1583);
constexpr std::uint32_t kX710Copper = controller(0x8086, 0x1589);
constexpr std::uint32_t kE822Copper = controller(0x8086, 0x1898);
constexpr std::uint32_t kE822Fibre = controller(0x8086, 0x1892);

// Subsystem ids with a rule of their own.
constexpr std::uint32_t kFirstPortOnly1pps = 0x3031;
constexpr std::uint32_t kE822Onboard = 0x3037;
constexpr std::uint32_t kI226OnboardBypass = 0x3043;

constexpr std::size_t kSharedControllerPorts = 4;

// Functions already visited in this scan, by bus, device and function. Reading a bridge's ids again for every port
// behind it would be a bus access that nobody can see.
std::bitset<65536> g_visited;
std::bitset<65536> g_carries_module_ids;

bool read_carries_module_ids(std::uint32_t index, PciAddress address) {
  PciIds ids;
  static_cast<void>(read_PCI_subsystem_vendor_id_device_id(address, ids));
  debug("%d %x %x!\n", static_cast<int>(index), ids.vendor, ids.device);
  return ids.vendor == kMakerVendorId && ids.device == kModelDeviceId;
}

std::size_t visit_key(PciAddress address) {
  return std::size_t{address.bus} << 8 | static_cast<std::size_t>(address.dev << 3) | address.fun;
}

bool carries_module_ids(std::uint32_t index, PciAddress address) {
  // Traces show every visit; and an address outside the PCI ranges names no function to remember.
  if (debugging() || address.dev > kLastDevice || address.fun > kLastFunction) {
    return read_carries_module_ids(index, address);
  }
  const std::size_t key = visit_key(address);
  if (!g_visited[key]) {
    g_visited[key] = true;
    g_carries_module_ids[key] = read_carries_module_ids(index, address);
  }
  return g_carries_module_ids[key];
}

// The address in a path component behind its domain.
PciAddress parse_component(std::string_view text) {
  debug("check %.*s\n", static_cast<int>(text.size()), text.data());
  const auto pieces = split_fields<kAddressTextLimit>(text, ":.");
  for (std::size_t i = 0; i < pieces.count; ++i) {
    debug("%.*s\n", static_cast<int>(pieces.at[i].size()), pieces.at[i].data());
  }
  const auto byte = [](std::string_view piece) { return static_cast<std::uint8_t>(parse_hexadecimal(piece)); };
  const PciAddress address{byte(pieces.at[0]), byte(pieces.at[1]), byte(pieces.at[2])};
  debug("BUS:DEV.FUN: %x %x %x\n", address.bus, address.dev, address.fun);
  return address;
}

std::uint32_t controller_of(const DeviceRecord& record) {
  return controller(record.vendor_id, record.device_id);
}

// Whether only the first function of this controller carries the subsystem ids.
bool is_shared_controller(std::uint32_t key) {
  return key == kX710 || key == kXl710 || key == kX710Copper;
}

void copy_identity(const DeviceRecord& first, DeviceRecord& other) {
  copy_text(other.model, first.model);
  if (first.subsys_device_id == kFirstPortOnly1pps) {
    other.feature = QORX_FEATURE_NA;
    return;
  }
  other.feature = first.feature;
  if (first.feature == QORX_FEATURE_A_BYPASS) {
    other.bypass_ctrl_flag = carries_control(other) ? 1 : 0;
  }
}

void share_identity(std::span<DeviceRecord> records, std::size_t i) {
  const DeviceRecord& first = records[i];
  const std::uint32_t key = controller_of(first);
  if (!is_shared_controller(key) || first.subsys_device_id == 0) {
    return;
  }
  const std::size_t end = std::min(i + kSharedControllerPorts, records.size());
  for (std::size_t j = i + 1; j < end; ++j) {
    DeviceRecord& other = records[j];
    if (controller_of(other) != key || other.bus != first.bus) {
      break;
    }
    if (other.subsys_device_id == 0) {
      copy_identity(first, other);
    }
  }
}

bool same_bypass_controller(const DeviceRecord& a, const DeviceRecord& b) {
  return a.bypass_bus == b.bypass_bus && a.bypass_switch1 == b.bypass_switch1 && a.bypass_switch2 == b.bypass_switch2 &&
         a.mcu_segment == b.mcu_segment;
}

// Of the ports that share one bypass controller only those on the lowest bus keep the controller flag.
void keep_lowest_bus_flag(std::span<const DeviceRecord> records, DeviceRecord& record) {
  for (const DeviceRecord& other : records) {
    if (same_bypass_controller(record, other) && record.bypass_ctrl_flag == 1 && record.bus > other.bus) {
      record.bypass_ctrl_flag = 0;
    }
  }
}

}  // namespace

bool qorx_is_WMX_LH53(std::uint32_t index) {
  DeviceRecord& record = qorx_eth_device_mapping[std::min<std::size_t>(index, kMaxRecords - 1)];
  debug("qorx_check_WMX_LH53 Splitting string \"%s\" into tokens:\n", record.net_path);
  const auto tokens = split_fields<kMaxPathTokens>(record.net_path, "/");
  for (std::size_t i = 0; i < tokens.count; ++i) {
    debug("%.*s\n", static_cast<int>(tokens.at[i].size()), tokens.at[i].data());
  }
  for (std::size_t i = tokens.count; i-- > 0;) {
    if (!tokens.at[i].starts_with(kDomain)) {
      continue;
    }
    const PciAddress address = parse_component(tokens.at[i].substr(kDomain.size(), kAddressTextLimit));
    if (carries_module_ids(index, address)) {
      copy_text(record.model, kModel);
      copy_text(record.panel_name, "N/A");
      record.feature = QORX_FEATURE_NA;
      return true;
    }
  }
  return false;
}

void note_own_function(const DeviceRecord& record) {
  const bool carries_ids = record.subsys_vendor_id == kMakerVendorId && record.subsys_device_id == kModelDeviceId;
  const PciAddress own{record.bus, record.dev, record.fun};
  // With the slash, so that "10000:00:0e.0", a function of another domain, is not taken for one of domain 0000.
  const JoinedText<16> component{"/", DeviceName(own.bus, own.dev, own.fun).view()};
  if (own.fun <= kLastFunction && own.dev <= kLastDevice && record.subsys_vendor_id < QORX_ID_UNKNOWN && !carries_ids &&
      std::string_view(record.net_path).ends_with(component.view())) {
    g_visited[visit_key(own)] = true;
  }
}

void forget_visited_functions() {
  g_visited.reset();
  g_carries_module_ids.reset();
}

void post_subsystem_id_general_hook() {
  const auto records = device_records();
  for (std::size_t i = 0; i < records.size(); ++i) {
    DeviceRecord& record = records[i];
    share_identity(records, i);
    const std::uint32_t key = controller_of(record);
    if (record.subsys_device_id == kE822Onboard && (key == kE822Copper || key == kE822Fibre)) {
      record.feature = QORX_FEATURE_NA;
    }
    if (record.subsys_device_id == kI226OnboardBypass) {
      keep_lowest_bus_flag(records, record);
    }
  }
}

}  // namespace qorx
