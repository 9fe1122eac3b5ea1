#include "discovery/pci_config.h"

#include <array>
#include <cstring>

#include "base/byte_view.h"
#include "base/messages.h"
#include "base/path_text.h"

namespace qorx {

namespace {

// Real chains hold about a dozen capabilities, and 64 is what fits behind the header; one that has not ended
// after that runs in a circle.
constexpr int kCapabilityStepLimit = 63;

PathText config_path(PciAddress address) {
  return {"/sys/bus/pci/devices/", DeviceName(address.bus, address.dev, address.fun).view(), "/config"};
}

std::uint8_t read_byte(const ConfigSpace& config, std::uint8_t offset) {
  std::array<std::uint8_t, 1> byte{};
  static_cast<void>(config.read(offset, byte));
  return byte[0];
}

// Two little-endian ids that follow each other. False when there is no configuration space.
bool read_ids(const ConfigSpace& config, std::uint32_t offset, PciIds& ids) {
  std::array<std::uint8_t, 4> bytes{};
  if (!config.read(offset, bytes)) {
    return false;
  }
  const ByteView view(bytes);
  ids = {view.u16(0), view.u16(2)};
  return true;
}

// Offset of the capability, 0 when the list does not have it.
std::uint8_t find_capability(const ConfigSpace& config, std::uint8_t capability_id) {
  if ((read_byte(config, kPciStatus) & kPciStatusCapabilitiesList) == 0) {
    debug("Not support capabilities list, Can't find capability id %x in PCIE config space \n", capability_id);
    return 0;
  }
  std::uint8_t pointer = read_byte(config, kPciCapabilitiesPointer) & kPciCapabilityPointerMask;
  if (pointer == 0) {
    debug("No capabilities list, Can't find capability id %x in PCIE config space \n", capability_id);
    return 0;
  }
  debug("offset %2x\n", pointer);
  for (int steps = 0; steps <= kCapabilityStepLimit && pointer != 0; ++steps) {
    std::array<std::uint8_t, 2> entry{};  // capability id, pointer to the next one
    static_cast<void>(config.read(pointer, entry));
    debug("capa id %2x at offset %2x\n", entry[0], pointer);
    if (entry[0] == capability_id) {
      return pointer;
    }
    pointer = entry[1] & kPciCapabilityPointerMask;
  }
  debug("Can't find capability id %x in PCIE config space \n", capability_id);
  return 0;
}

}  // namespace

ConfigSpace ConfigSpace::of_interface(const char* eth_name) {
  return ConfigSpace(interface_path(eth_name).c_str());
}

PathText ConfigSpace::interface_path(const char* eth_name) {
  return {"/sys/class/net/", eth_name, "/device/config"};
}

bool ConfigSpace::read(std::uint32_t offset, std::span<std::uint8_t> bytes) const {
  return file_.is_open() && file_.read_at(offset, bytes) != SystemFile::kIsDirectory;
}

std::int32_t get_pcie_capability_offset(const char* path, std::uint8_t capability_id, std::uint8_t* offset) {
  *offset = 0;
  const ConfigSpace config(path);
  if (std::array<std::uint8_t, 1> probe{}; !config.read(kPciStatus, probe)) {
    debug("can't open name %s\n", path);
    return QORX_ERR_OPEN_FILE;
  }
  *offset = find_capability(config, capability_id);
  return *offset != 0 ? 0 : -1;
}

std::int32_t read_subsystem_ids(const ConfigSpace& config, PciIds& ids) {
  ids = {};
  std::array<std::uint8_t, 1> header_type{};
  if (!config.read(kPciHeaderType, header_type)) {
    return QORX_ERR_OPEN_FILE;
  }
  const int type = header_type[0] & kPciHeaderTypeMask;
  if (type == 0) {
    static_cast<void>(read_ids(config, kPciSubsystemVendorId, ids));
    return 0;
  }
  const std::uint8_t capability = find_capability(config, kPciCapabilityBridgeSubsystem);
  if (capability == 0) {
    debug("Can't find subsystem id in PCIE type %d config space \n", type);
    return -1;
  }
  const auto offset = static_cast<std::uint32_t>(capability) + kPciBridgeSubsystemIds;
  static_cast<void>(read_ids(config, offset, ids));
  return 0;
}

std::int32_t get_pcie_subsystem_vendor_id_device_id(const char* path, PciIds& ids) {
  const std::int32_t code = read_subsystem_ids(ConfigSpace(path), ids);
  if (code == QORX_ERR_OPEN_FILE) {
    debug("can't open name %s\n", path);
  }
  return code;
}

std::int32_t read_PCI_subsystem_vendor_id_device_id(PciAddress address, PciIds& ids) {
  return get_pcie_subsystem_vendor_id_device_id(config_path(address).c_str(), ids);
}

bool read_vendor_device_ids(const ConfigSpace& config, PciIds& ids) {
  return read_ids(config, kPciVendorId, ids);
}

std::int32_t read_PCI_data(PciAddress address, std::uint32_t offset, std::uint32_t* value) {
  *value = 0xFFFFFFFF;
  const PathText path = config_path(address);
  std::array<std::uint8_t, 4> bytes{};
  std::memcpy(bytes.data(), value, bytes.size());
  if (!ConfigSpace(path.c_str()).read(offset, bytes)) {
    error("Can't open %s.\n", path.c_str());
    return -1;
  }
  std::memcpy(value, bytes.data(), bytes.size());
  return 0;
}

}  // namespace qorx
