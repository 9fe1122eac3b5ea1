// Where a port sits in the PCIe tree, from its sysfs path.
#ifndef QORX_DISCOVERY_TOPOLOGY_H
#define QORX_DISCOVERY_TOPOLOGY_H

#include <cstddef>
#include <cstdint>

#include "base/text_fields.h"
#include "lib/qorx.h"
#include "records/pci_address.h"
#include "records/state.h"

namespace qorx {

// The components of a port's path; what follows the thirtieth is not looked at. Traces each.
inline constexpr std::size_t kMaxPathTokens = 30;
using PathTokens = Fields<kMaxPathTokens>;
PathTokens split_path(const char* net_path);

inline constexpr std::int8_t kVirtualInterface = -2;

// Fills *record with what the machine says about an interface; a null record only tells physical from virtual.
// Returns the low byte of the length of the interface's link text, as a signed number: kVirtualInterface for a
// virtual one, -1 when the link can't be read; a negative result is no physical port. A link text of 128 to 254
// bytes gives a negative result too and its port is left out: deliberate, and kept.
std::int8_t get_eth_device_pcie_info(const char* name, DeviceRecord* record);

// Finds the device behind a PCIe switch port. `address` is the port's own; it becomes that of the first device
// behind it. `path` is the directory that holds the port (empty: the root complex) and becomes the port's own.
// Returns 1 when a device was found, 0 when there is none, QORX_ERR_CONF_FILE_FORMAT as a byte when the port does
// not exist.
std::int32_t get_pcie_switch_bus(PciAddress& address, char (&path)[QORX_NAME_SIZE]);

// Numbers the PCI buses within each type 9 slot: sets port_index. The records must be sorted by address.
void assign_bus_high_low();

// Merges type 9 records of one designation (a slot wired to several root ports) into the first. Returns 0.
std::int32_t qorx_handle_multi_root();

}  // namespace qorx

#endif
