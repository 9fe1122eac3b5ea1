#include "ident/subsystem_hooks.h"

#include <algorithm>
#include <string_view>

#include "base/bounded_text.h"
#include "base/messages.h"
#include "base/path_text.h"
#include "base/text_fields.h"
#include "discovery/topology.h"
#include "ident/supported_devices.h"
#include "records/origins.h"

namespace qorx {

namespace {

constexpr std::string_view kModel = "WMX-LH53";
constexpr std::uint32_t kModelDeviceId = 0x204A;
constexpr std::size_t kAddressTextLimit = 16;

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

// The address in a path component, by the first characters behind its domain.
PciAddress parse_component(std::string_view component) {
  const std::string_view text = text_behind(component, kPciDomain.size()).substr(0, kAddressTextLimit);
  if (debugging()) {
    debug("check %.*s\n", static_cast<int>(text.size()), text.data());
    FieldSplitter pieces(text);
    while (const auto piece = pieces.next(kPciAddressDelimiters)) {
      debug("%.*s\n", static_cast<int>(piece->size()), piece->data());
    }
  }
  const PciAddress address = parse_pci_address(text);
  debug("BUS:DEV.FUN: %x %x %x\n", address.bus, address.dev, address.fun);
  return address;
}

bool are_module_ids(PciIds ids) {
  return ids.vendor == kMakerVendorId && ids.device == kModelDeviceId;
}

// Whether the port's own function is known not to carry the module's ids: its last path component is the device behind
// the interface, through which the ids have just been read.
bool is_other_own_function(const DeviceRecord& record, PciAddress address) {
  if (address != PciAddress{record.bus, record.dev, record.fun} || record.subsys_vendor_id >= QORX_ID_UNKNOWN ||
      are_module_ids({record.subsys_vendor_id, record.subsys_device_id})) {
    return false;
  }
  // With the slash, so that "10000:00:0e.0", a function of another domain, is not taken for one of domain 0000.
  const JoinedText<16> component{"/", DeviceName(address).view()};
  return std::string_view(record.net_path).ends_with(component.view());
}

bool carries_module_ids(PciFunctions& functions, const DeviceRecord& record, PciAddress address) {
  const bool is_other = is_other_own_function(record, address);
  if (is_other && !debugging()) {
    return false;  // reading the same registers again would only show in traces
  }
  PciIds ids;
  static_cast<void>(read_PCI_subsystem_vendor_id_device_id(functions, address, ids));
  debug("%d %x %x!\n", static_cast<int>(index_of(record)), ids.vendor, ids.device);
  return !is_other && are_module_ids(ids);
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
  PortOrigin& origin = origin_of(other);
  origin.model = origin.feature = Writer::kNeighbour;
  origin.neighbour = static_cast<std::uint16_t>(index_of(first) + 1);
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

bool qorx_is_WMX_LH53(PciFunctions& functions, DeviceRecord& record) {
  debug("qorx_check_WMX_LH53 Splitting string \"%s\" into tokens:\n", record.net_path);
  const PathTokens tokens = split_path(record.net_path);
  for (std::size_t i = tokens.count; i-- > 0;) {
    if (tokens.at[i].starts_with(kPciDomain) && carries_module_ids(functions, record, parse_component(tokens.at[i]))) {
      copy_text(record.model, kModel);
      copy_text(record.panel_name, "N/A");
      record.feature = QORX_FEATURE_NA;
      PortOrigin& origin = origin_of(record);
      origin.model = origin.feature = origin.panel = Writer::kBridge;
      return true;
    }
  }
  return false;
}

void post_subsystem_id_general_hook() {
  const auto records = device_records();
  for (std::size_t i = 0; i < records.size(); ++i) {
    DeviceRecord& record = records[i];
    share_identity(records, i);
    const std::uint32_t key = controller_of(record);
    if (record.subsys_device_id == kE822Onboard && (key == kE822Copper || key == kE822Fibre)) {
      record.feature = QORX_FEATURE_NA;
      origin_of(record).feature = Writer::kPortRule;
    }
    if (record.subsys_device_id == kI226OnboardBypass) {
      keep_lowest_bus_flag(records, record);
    }
  }
}

}  // namespace qorx
