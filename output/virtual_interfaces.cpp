#include "output/virtual_interfaces.h"

#include <string_view>

#include "base/messages.h"
#include "base/shortage.h"
#include "base/system_root.h"
#include "discovery/port_identity.h"
#include "discovery/topology.h"
#include "output/port_row.h"
#include "records/name_column.h"
#include "records/virtual_names.h"

namespace qorx {

namespace {

constexpr const char* kInterfaces = "/sys/class/net";

void take_one(const char* name, TakeVirtualInterface take, void* context) {
  char mac[kMacTextSize];
  static_cast<void>(get_eth_device_mac_address(name, mac));
  take(context, name, mac);
}

std::int32_t take_those_of_scan(const char* eth_name, TakeVirtualInterface take, void* context) {
  for (const char* name = g_virtual_names.next(nullptr); name != nullptr; name = g_virtual_names.next(name)) {
    if (eth_name == nullptr || std::string_view(name) == eth_name) {
      take_one(name, take, context);
    }
  }
  return take_shortage() ? QORX_ERR_OPEN_FILE : 0;
}

}  // namespace

std::int32_t for_each_virtual_interface(const char* eth_name, TakeVirtualInterface take, void* context) {
  if (g_virtual_names.are_known() && !debugging()) {
    return take_those_of_scan(eth_name, take, context);  // looking for them again would only show in traces
  }
  const NameColumn<DeviceRecord> ports(device_records(), &DeviceRecord::eth_name);
  SystemDirectory interfaces = open_system_directory(kInterfaces);
  while (const char* const entry = interfaces.is_open() ? interfaces.next_entry() : nullptr) {
    const std::string_view name = entry;
    const bool is_wanted = (eth_name == nullptr || name == eth_name) && ports.find(name) == kNoRecord;
    // Asking about a port that the scan has recorded, or about one that is filtered out, only shows in traces.
    if (name == "lo" || !(is_wanted || debugging())) {
      continue;
    }
    const bool is_virtual = get_eth_device_pcie_info(entry, nullptr) == kVirtualInterface;
    if (is_wanted && is_virtual) {
      take_one(entry, take, context);
    }
  }
  if (take_shortage()) {
    return QORX_ERR_OPEN_FILE;
  }
  if (!interfaces.is_open() || interfaces.failed()) {
    report_inaccessible_folder(kInterfaces);
    return QORX_ERR_OPEN_DIR;
  }
  return 0;
}

std::int32_t get_all_virtual_eth_devices_info(const char* eth_name, std::FILE* stream) {
  return for_each_virtual_interface(
      eth_name,
      [](void* context, const char* name, const char* mac) {
        print_result_vlan_one(name, mac, static_cast<std::FILE*>(context));
      },
      stream);
}

}  // namespace qorx
