// The platform file, -config: both passes over filled tables. Input: options, the file's text.
#include <algorithm>
#include <string>

#include "base/bounded_text.h"
#include "config/stages.h"
#include "fuzz/support.h"
#include "records/state.h"

namespace qorx::fuzz {

namespace {

constexpr std::uint8_t kForce = 1;
constexpr std::uint8_t kFullTable = 2;

constexpr std::size_t kPorts = 48;

// Names that the corpus uses; the slots and ports behind the first ones repeat them with numbers.
constexpr const char* kNames[] = {"LAN1", "WMX Slot 1", "WMX Slot 2 (H.1.2.255)", "SW Slot 3", "", "PCIE Slot 4"};

std::string name_of(std::size_t i) {
  const std::string name = kNames[i % std::size(kNames)];
  return i < std::size(kNames) ? name : name + '.' + std::to_string(i);
}

std::uint8_t type_of(std::size_t i) {
  return i % std::size(kNames) == 0 ? QORX_SMBIOS_ONBOARD_DEVICE : QORX_SMBIOS_SYSTEM_SLOT;
}

void fill_slots(std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    SlotRecord& slot = fresh_slot_record(i);
    copy_text(slot.slot_name, name_of(i));
    copy_text(slot.smbios_slot_name, slot.slot_name);
    slot.type = type_of(i);
    slot.dev = static_cast<std::uint8_t>(i);
  }
  qorx_system_environment_info.eth_smbios_t9_t41_number = static_cast<std::uint32_t>(count);
}

// Eight ports in each slot, some with a feature of their own, half of them on a second bus.
void fill_ports() {
  for (std::size_t i = 0; i < kPorts; ++i) {
    DeviceRecord& record = fresh_device_record(i);
    copy_text(record.slot_name, name_of(i / 8));
    record.smbios_type = type_of(i / 8);
    record.fun = static_cast<std::uint8_t>(i % 4);
    record.port_index = static_cast<std::uint8_t>(i / 4 % 2);
    record.feature = static_cast<std::uint8_t>(i % 3 == 0 ? QORX_FEATURE_A_BYPASS : QORX_FEATURE_NONE);
    record.bypass_ctrl_flag = i % 3 == 0 ? 1 : 0;
  }
  qorx_system_environment_info.eth_device_number = kPorts;
}

// Switch ports: a slot with a switch behind it, one with a port service only.
bool make_switches() {
  for (const char* const path : {"0000:00:03.0/0000:01:00.0/0000:02:04.0", "0000:00:01.0/0000:00:01.0:pcie001"}) {
    ScratchFile(std::string("root/sys/devices/pci0000:00/") + path + "/config").write({});
  }
  return true;
}

}  // namespace

}  // namespace qorx::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qorx::fuzz;
  static ScratchFile file("qorx.cfg");
  [[maybe_unused]] static const bool once = make_switches();
  Input input(data, size);
  const std::uint8_t options = input.byte();
  file.write(input.rest());
  run_at_both_levels([&] {
    g_force_flag = options & kForce;
    const std::size_t count = (options & kFullTable) != 0 ? qorx::kMaxRecords : std::size(kNames);
    fill_slots(count);
    fill_ports();
    const std::size_t devices = device_fingerprint();
    const std::int32_t slot_code = qorx::qorx_check_conf_file_SW(file.path());
    require_code(slot_code, {QORX_ERR_CONF_FILE_FORMAT});
    require(devices == device_fingerprint(), "the first pass leaves the ports alone");
    require(qorx::slot_records().size() >= std::min(count, qorx::kMaxRecords - 1), "no slot record is lost");
    const std::size_t slots = slot_fingerprint();
    const std::int32_t port_code = qorx::qorx_check_conf_file(file.path());
    require_code(port_code, {QORX_ERR_CONF_FILE_FORMAT});
    require(slots == slot_fingerprint(), "the second pass leaves the slots alone");
    require(qorx::device_records().size() == kPorts, "and adds no port");
    return slot_code << 8 | port_code;
  });
  return 0;
}
