// PCI configuration space, read through sysfs and only the bytes that are needed: on the hardware each dword is
// a slow bus access, and some chips lock up when undefined registers are read. Nothing at or above 0x40 of an
// endpoint is ever read.
#ifndef QORX_DISCOVERY_PCI_CONFIG_H
#define QORX_DISCOVERY_PCI_CONFIG_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "base/path_text.h"
#include "base/system_root.h"
#include "lib/qorx.h"
#include "records/pci_address.h"

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

// One function's configuration space.
class ConfigSpace {
 public:
  // Opens the config file at `path` (sysfs).
  // cppcheck-suppress noExplicitConstructor ; a configuration space is what is at its path
  ConfigSpace(const char* path) : path_{path}, file_(open_system_file(path)) {}

  [[nodiscard]] const char* path() const { return path_.c_str(); }

  // Fills `bytes` from `offset`; bytes that the file does not have stay as they are. False when there is no
  // configuration space: the file can't be opened or is a directory.
  [[nodiscard]] bool read(std::uint32_t offset, std::span<std::uint8_t> bytes) const;

 private:
  PathText path_;
  SystemFile file_;
};

// What a walk along a function's capability list has found, step by step.
struct CapabilityWalk {
  // Real chains hold about a dozen capabilities, and 64 is what fits behind the header; one that has not ended after
  // that runs in a circle.
  static constexpr std::size_t kStepLimit = 64;

  struct Step {
    std::uint8_t offset;
    std::uint8_t capability;
  };

  bool has_list = false;   // by the Status register
  std::uint8_t found = 0;  // offset of the capability, 0 when the list does not have it
  std::uint8_t count = 0;
  std::array<Step, kStepLimit> steps{};
};

// What reading a function's subsystem ids has found: kept, so that it can be traced again without reading again.
struct SubsystemReading {
  std::int32_t code = QORX_ERR_OPEN_FILE;  // of get_pcie_subsystem_vendor_id_device_id
  std::uint8_t header_type = 0;
  CapabilityWalk walk;  // of a bridge
  PciIds ids;
};

// The subsystem ids of functions named by their addresses, each read once in the life of this object.
class PciFunctions {
 public:
  PciFunctions() { first_.fill(kNone); }

  // Valid until the next call.
  const SubsystemReading& subsystem_of(PciAddress address);

 private:
  static constexpr std::size_t kBuckets = 512;
  static constexpr std::size_t kKept = 1024;  // further functions are read every time; no machine has so many bridges
  static constexpr std::uint16_t kNone = 0xFFFF;

  struct Function {
    PciAddress address;
    std::uint16_t next;
    SubsystemReading reading;
  };

  // Room for a function that is not touched before it is used.
  union Room {
    Room() {}  // NOLINT(modernize-use-equals-default): that one would be deleted
    Function function;
  };

  std::array<std::uint16_t, kBuckets> first_;
  std::size_t count_ = 0;
  std::array<Room, kKept + 1> rooms_;
};

// Finds the first capability with the given id. Stores its offset (non-zero) and returns 0; else stores 0 and
// returns -1, or QORX_ERR_OPEN_FILE when the file can't be opened.
std::int32_t get_pcie_capability_offset(const ConfigSpace& config, std::uint8_t capability_id, std::uint8_t* offset);

// Subsystem ids of an endpoint, or of a bridge through its subsystem capability. Returns 0, -1 for a bridge
// without that capability, or QORX_ERR_OPEN_FILE; the ids are unknown then.
std::int32_t get_pcie_subsystem_vendor_id_device_id(const ConfigSpace& config, PciIds& ids);

// The same of the function at an address; one that has been read before is not read again.
std::int32_t read_PCI_subsystem_vendor_id_device_id(PciFunctions& functions, PciAddress address, PciIds& ids);

// Vendor and device id. False when there is no configuration space.
bool read_vendor_device_ids(const ConfigSpace& config, PciIds& ids);

// Reads the four bytes at `offset`, host byte order; 0xFFFFFFFF, what an absent device reads as, where nothing
// was read. Returns 0, or -1 when the file can't be opened.
std::int32_t read_PCI_data(PciAddress address, std::uint32_t offset, std::uint32_t* value);

}  // namespace qorx

#endif
