#include "discovery/pci_config.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/byte_view.h"
#include "base/messages.h"
#include "base/path_text.h"

namespace qorx {

namespace {

PathText config_path(PciAddress address) {
  return {"/sys/bus/pci/devices/", DeviceName(address).view(), "/config"};
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

void walk_capabilities(const ConfigSpace& config, std::uint8_t wanted, CapabilityWalk& walk) {
  walk.has_list = (read_byte(config, kPciStatus) & kPciStatusCapabilitiesList) != 0;
  if (!walk.has_list) {
    return;
  }
  std::uint8_t pointer = read_byte(config, kPciCapabilitiesPointer) & kPciCapabilityPointerMask;
  while (walk.count < CapabilityWalk::kStepLimit && pointer != 0) {
    std::array<std::uint8_t, 2> entry{};  // capability id, pointer to the next one
    static_cast<void>(config.read(pointer, entry));
    walk.steps[walk.count++] = {.offset = pointer, .capability = entry[0]};
    if (entry[0] == wanted) {
      walk.found = pointer;
      return;
    }
    pointer = entry[1] & kPciCapabilityPointerMask;
  }
}

void trace_walk(const CapabilityWalk& walk, std::uint8_t wanted) {
  if (!walk.has_list) {
    debug("Not support capabilities list, Can't find capability id %x in PCIE config space \n", wanted);
    return;
  }
  if (walk.count == 0) {
    debug("No capabilities list, Can't find capability id %x in PCIE config space \n", wanted);
    return;
  }
  debug("offset %2x\n", walk.steps[0].offset);
  for (std::size_t i = 0; i < walk.count; ++i) {
    debug("capa id %2x at offset %2x\n", walk.steps[i].capability, walk.steps[i].offset);
  }
  if (walk.found == 0) {
    debug("Can't find capability id %x in PCIE config space \n", wanted);
  }
}

void read_subsystem(const ConfigSpace& config, SubsystemReading& reading) {
  std::array<std::uint8_t, 1> header_type{};
  if (!config.read(kPciHeaderType, header_type)) {
    return;
  }
  reading.code = 0;
  reading.header_type = header_type[0] & kPciHeaderTypeMask;
  std::uint32_t offset = kPciSubsystemVendorId;
  if (reading.header_type != 0) {
    walk_capabilities(config, kPciCapabilityBridgeSubsystem, reading.walk);
    if (reading.walk.found == 0) {
      reading.code = -1;
      return;
    }
    offset = static_cast<std::uint32_t>(reading.walk.found) + kPciBridgeSubsystemIds;
  }
  static_cast<void>(read_ids(config, offset, reading.ids));
}

void trace_reading(const SubsystemReading& reading, const char* path) {
  if (reading.code == QORX_ERR_OPEN_FILE) {
    debug("can't open name %s\n", path);
  } else if (reading.header_type != 0) {
    trace_walk(reading.walk, kPciCapabilityBridgeSubsystem);
    if (reading.code != 0) {
      debug("Can't find subsystem id in PCIE type %d config space \n", reading.header_type);
    }
  }
}

}  // namespace

bool ConfigSpace::read(std::uint32_t offset, std::span<std::uint8_t> bytes) const {
  return file_.is_open() && file_.read_at(offset, bytes) != SystemFile::kIsDirectory;
}

const SubsystemReading& PciFunctions::subsystem_of(PciAddress address) {
  std::uint16_t& first = first_[(address.bus * 37U + address.dev * 8U + address.fun) % kBuckets];
  for (std::size_t i = first; i != kNone; i = rooms_[i].function.next) {
    if (rooms_[i].function.address == address) {
      return rooms_[i].function.reading;
    }
  }
  Function& function = rooms_[count_].function;
  function = {.address = address, .next = kNone, .reading = {}};
  read_subsystem(ConfigSpace(config_path(address).c_str()), function.reading);
  if (count_ < kKept) {
    function.next = first;
    first = static_cast<std::uint16_t>(count_++);
  }
  return function.reading;
}

std::int32_t get_pcie_capability_offset(const ConfigSpace& config, std::uint8_t capability_id, std::uint8_t* offset) {
  *offset = 0;
  if (std::array<std::uint8_t, 1> probe{}; !config.read(kPciStatus, probe)) {
    debug("can't open name %s\n", config.path());
    return QORX_ERR_OPEN_FILE;
  }
  CapabilityWalk walk;
  walk_capabilities(config, capability_id, walk);
  trace_walk(walk, capability_id);
  *offset = walk.found;
  return walk.found != 0 ? 0 : -1;
}

std::int32_t get_pcie_subsystem_vendor_id_device_id(const ConfigSpace& config, PciIds& ids) {
  SubsystemReading reading;
  read_subsystem(config, reading);
  if (debugging()) {
    trace_reading(reading, config.path());
  }
  ids = reading.ids;
  return reading.code;
}

std::int32_t read_PCI_subsystem_vendor_id_device_id(PciFunctions& functions, PciAddress address, PciIds& ids) {
  const SubsystemReading& reading = functions.subsystem_of(address);
  if (debugging()) {
    trace_reading(reading, config_path(address).c_str());
  }
  ids = reading.ids;
  return reading.code;
}

bool read_vendor_device_ids(const ConfigSpace& config, PciIds& ids) {
  return read_ids(config, kPciVendorId, ids);
}

std::int32_t read_PCI_data(PciAddress address, std::uint32_t offset, std::uint32_t* value) {
  *value = 0xFFFFFFFF;
  const ConfigSpace config(config_path(address).c_str());
  std::array<std::uint8_t, 4> bytes{};
  std::memcpy(bytes.data(), value, bytes.size());
  if (!config.read(offset, bytes)) {
    error("Can't open %s.\n", config.path());
    return -1;
  }
  std::memcpy(value, bytes.data(), bytes.size());
  return 0;
}

}  // namespace qorx
