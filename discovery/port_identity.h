// The identity files of one network interface: MAC address, and the ids of a USB adapter, which has no PCI
// configuration space.
#ifndef QORX_DISCOVERY_PORT_IDENTITY_H
#define QORX_DISCOVERY_PORT_IDENTITY_H

#include <cstddef>
#include <cstdint>

#include "discovery/pci_config.h"

namespace qorx {

// A word of an address file, with its NUL: an InfiniBand address has 59 characters.
inline constexpr std::size_t kMacTextSize = 65;

// Stores the MAC address as the kernel prints it; empty when the file holds no word. Returns 0, or
// QORX_ERR_OPEN_FILE when there is no such file.
std::int32_t get_eth_device_mac_address(const char* name, char (&mac)[kMacTextSize]);

// A network interface, with the configuration space of the device behind it opened once for all that is asked of it.
class NetworkInterface {
 public:
  // cppcheck-suppress noExplicitConstructor ; an interface is known by its name
  NetworkInterface(const char* name);

  [[nodiscard]] const char* name() const { return name_; }
  [[nodiscard]] const ConfigSpace& config() const { return config_; }

 private:
  const char* name_;
  ConfigSpace config_;
};

// The ids in the PRODUCT= line of a USB interface's uevent file; unknown when there is none. Returns 0, or
// QORX_ERR_PARAM_NULL_POINTER or QORX_ERR_OPEN_FILE as a byte.
std::int32_t Search_USB_uevent(const char* path, PciIds& ids);

// Vendor and device id of the device behind an interface, PCI or USB. Returns 0, or QORX_ERR_OPEN_FILE as a byte
// for an interface without a device; the ids are unknown then.
std::int32_t get_eth_device_vendor_id_device_id(const NetworkInterface& interface, PciIds& ids);

// Subsystem ids of the device behind an interface; codes of get_pcie_subsystem_vendor_id_device_id.
std::int32_t get_eth_device_subsystem_vendor_id_device_id(const NetworkInterface& interface, PciIds& ids);

}  // namespace qorx

#endif
