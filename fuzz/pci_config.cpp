// PCI configuration space: capability walk, subsystem ids and single reads, against plain reads of the same bytes.
// Input: wanted capability, offset of a read (2 bytes), the bytes of the config file.
#include "discovery/pci_config.h"

#include <cstring>

#include "fuzz/support.h"

namespace qorx::fuzz {

namespace {

constexpr const char* kPath = "/sys/bus/pci/devices/0000:02:03.1/config";
constexpr PciAddress kAddress{2, 3, 1};

std::uint8_t byte_at(Bytes config, std::size_t offset) {
  return offset < config.size() ? config[offset] : std::uint8_t{0};
}

std::uint32_t id_at(Bytes config, std::size_t offset) {
  return static_cast<std::uint32_t>(byte_at(config, offset) | byte_at(config, offset + 1) << 8);
}

std::uint8_t plain_walk(Bytes config, std::uint8_t wanted) {
  std::uint8_t pointer = (byte_at(config, 6) & 0x10) != 0 ? byte_at(config, 0x34) & 0xFC : 0;
  for (int steps = 0; steps < 64 && pointer != 0; ++steps) {
    if (byte_at(config, pointer) == wanted) {
      return pointer;
    }
    pointer = byte_at(config, pointer + 1U) & 0xFC;
  }
  return 0;
}

void check_capability(Bytes config, std::uint8_t wanted) {
  std::uint8_t offset = 1;
  const std::int32_t code = get_pcie_capability_offset(kPath, wanted, &offset);
  require(offset == plain_walk(config, wanted), "the capability is where a plain walk finds it");
  require(code == (offset != 0 ? 0 : -1), "the code says whether it was found");
}

void check_subsystem_ids(Bytes config) {
  const bool bridge = (byte_at(config, 0x0E) & 0x7F) != 0;
  const std::uint8_t capability = plain_walk(config, 0x0D);
  const std::size_t at = bridge ? capability + 4U : 0x2C;
  const bool has_ids = !bridge || capability != 0;
  PciIds ids;
  PciFunctions functions;
  const std::int32_t code = read_PCI_subsystem_vendor_id_device_id(functions, kAddress, ids);
  require(code == (has_ids ? 0 : -1), "only a bridge without the capability has no subsystem ids");
  require(ids.vendor == (has_ids ? id_at(config, at) : QORX_ID_UNKNOWN) &&
              ids.device == (has_ids ? id_at(config, at + 2) : QORX_ID_UNKNOWN),
          "the ids are those of the header type");
}

void check_data(Bytes config, std::uint16_t offset) {
  std::uint8_t expected[4] = {0xFF, 0xFF, 0xFF, 0xFF};
  for (std::size_t i = 0; i < sizeof expected && offset + i < config.size(); ++i) {
    expected[i] = config[offset + i];
  }
  std::uint32_t value = 0;
  require(read_PCI_data(kAddress, offset, &value) == 0, "a file that is there can be read");
  require(std::memcmp(&value, expected, sizeof expected) == 0, "bytes that are not there read as 0xFF");
}

}  // namespace

}  // namespace qorx::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qorx::fuzz;
  static ScratchFile file(std::string("root") + kPath);
  Input input(data, size);
  const std::uint8_t wanted = input.byte();
  const std::uint16_t offset = input.u16();
  const Bytes config = input.rest();
  file.write(config);
  run_at_both_levels([&] {
    check_capability(config, wanted);
    check_subsystem_ids(config);
    check_data(config, offset);
    return 0;
  });
  return 0;
}
