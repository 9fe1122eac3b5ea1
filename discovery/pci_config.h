// PCI configuration space, read through sysfs and only the bytes that are needed: on the hardware each dword is
// a slow bus access, and some chips lock up when undefined registers are read. Nothing at or above 0x40 of an
// endpoint is ever read.
#ifndef QORX_DISCOVERY_PCI_CONFIG_H
#define QORX_DISCOVERY_PCI_CONFIG_H

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/path_text.h"
#include "base/system_root.h"
#include "lib/qorx.h"

namespace qorx {

// Byte offsets in the configuration space header (PCI Local Bus 3.0, chapter 6).
inline constexpr std::uint8_t kPciVendorId = 0x00;
inline constexpr std::uint8_t kPciStatus = 0x06;
inline constexpr std::uint8_t kPciHeaderType = 0x0E;
inline constexpr std::uint8_t kPciSubsystemVendorId = 0x2C;  // header type 0 only
inline constexpr std::uint8_t kPciCapabilitiesPointer = 0x34;

inline constexpr std::uint8_t kPciStatusCapabilitiesList = 0x10;  // bit 4 of Status
inline constexpr std::uint8_t kPciHeaderTypeMask = 0x7F;          // bit 7 only says "multi-function"
inline constexpr std::uint8_t kPciCapabilityPointerMask = 0xFC;   // the two low bits are reserved
inline constexpr std::uint8_t kPciCapabilityBridgeSubsystem = 0x0D;
inline constexpr std::uint8_t kPciBridgeSubsystemIds = 4;  // offset of the ids within that capability

// A vendor id and a device id; QORX_ID_UNKNOWN until they are read.
struct PciIds {
  std::uint32_t vendor = QORX_ID_UNKNOWN;
  std::uint32_t device = QORX_ID_UNKNOWN;
};

// A PCI address in domain 0000.
struct PciAddress {
  std::uint8_t bus = 0;
  std::uint8_t dev = 0;
  std::uint8_t fun = 0;

  friend bool operator==(const PciAddress&, const PciAddress&) = default;
};

// One function's configuration space.
class ConfigSpace {
 public:
  // Opens the config file at `path` (sysfs).
  explicit ConfigSpace(const char* path) : file_(open_system_file(path)) {}

  // The config file of the device behind a network interface.
  static ConfigSpace of_interface(const char* eth_name);
  static PathText interface_path(const char* eth_name);

  // Fills `bytes` from `offset`; bytes that the file does not have stay as they are. False when there is no
  // configuration space: the file can't be opened or is a directory.
  [[nodiscard]] bool read(std::uint32_t offset, std::span<std::uint8_t> bytes) const;

 private:
  SystemFile file_;
};

// Finds the first capability with the given id. Stores its offset (non-zero) and returns 0; else stores 0 and
// returns -1, or QORX_ERR_OPEN_FILE when the file can't be opened.
std::int32_t get_pcie_capability_offset(const char* path, std::uint8_t capability_id, std::uint8_t* offset);

// Subsystem ids of an endpoint, or of a bridge through its subsystem capability. Returns 0, -1 for a bridge
// without that capability, or QORX_ERR_OPEN_FILE; the ids are unknown then.
std::int32_t get_pcie_subsystem_vendor_id_device_id(const char* path, PciIds& ids);
std::int32_t read_PCI_subsystem_vendor_id_device_id(PciAddress address, PciIds& ids);

// The same on an open configuration space, without the trace of one that can't be opened.
std::int32_t read_subsystem_ids(const ConfigSpace& config, PciIds& ids);

// Vendor and device id. False when there is no configuration space.
bool read_vendor_device_ids(const ConfigSpace& config, PciIds& ids);

// Reads the four bytes at `offset`, host byte order; 0xFFFFFFFF, what an absent device reads as, where nothing
// was read. Returns 0, or -1 when the file can't be opened.
std::int32_t read_PCI_data(PciAddress address, std::uint32_t offset, std::uint32_t* value);

}  // namespace qorx

#endif
