#include "output/virtual_interfaces.h"

#include <string_view>

#include "base/messages.h"
#include "base/shortage.h"
#include "base/system_root.h"
#include "discovery/port_identity.h"
#include "discovery/topology.h"
#include "output/port_row.h"
#include "records/name_column.h"

namespace qorx {

namespace {

constexpr const char* kInterfaces = "/sys/class/net";

}  // namespace

std::int32_t for_each_virtual_interface(const char* eth_name, TakeVirtualInterface take, void* context) {
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
      char mac[kMacTextSize];
      static_cast<void>(get_eth_device_mac_address(entry, mac));
      take(context, entry, mac);
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
