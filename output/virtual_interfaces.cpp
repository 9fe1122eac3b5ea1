#include "output/virtual_interfaces.h"

#include <string_view>

#include "discovery/port_identity.h"
#include "discovery/topology.h"
#include "lib/system_root.h"
#include "output/port_row.h"

namespace qorx {

std::int32_t get_all_virtual_eth_devices_info(const char* eth_name, std::FILE* stream) {
  SystemDirectory interfaces = open_system_directory("/sys/class/net");
  while (const char* const entry = interfaces.is_open() ? interfaces.next_entry() : nullptr) {
    const std::string_view name = entry;
    if (name == "lo" || get_eth_device_pcie_info(entry, PortReading::kClassifyOnly) != kVirtualInterface ||
        (eth_name != nullptr && name != eth_name)) {
      continue;
    }
    char mac[kMacTextSize];
    static_cast<void>(get_eth_device_mac_address(entry, mac));
    print_result_vlan_one(entry, mac, stream != nullptr ? stream : stdout);
  }
  return 0;
}

}  // namespace qorx
