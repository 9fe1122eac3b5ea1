// The bypass descriptor in a slot's designation. Input: options, the designation, and behind a line feed each the
// names of three I2C adapters.
#include "discovery/bypass_descriptor.h"

#include <string>

#include "base/bounded_text.h"
#include "fuzz/support.h"

namespace qorx::fuzz {

namespace {

constexpr std::uint8_t kOnboard = 1;
constexpr const char* kAdapters[] = {"i2c-0", "i2c-17", "i2c-300"};

std::string_view take_line(std::string_view& text) {
  const std::string_view line = text.substr(0, text.find('\n'));
  text.remove_prefix(std::min(text.size(), line.size() + 1));
  return line;
}

bool is_switch_port(std::uint8_t port) {
  return port <= 7 || port == QORX_ABSENT;
}

void check_record(const DeviceRecord& record) {
  const std::string_view name = record.slot_name;
  const bool has_descriptor = name.find("(H") != name.npos || name.find("(B") != name.npos;
  require(record.bypass_type == 0 || has_descriptor, "no path without a descriptor");
  require(record.bypass_ctrl_flag == 0 || record.bypass_type != 0, "no control without a path");
  require(is_switch_port(record.bypass_switch1) && is_switch_port(record.bypass_switch2), "a switch has ports 0 to 7");
  require(record.mcu_segment <= 4, "there are four segments");
  require(record.mcu_segment == 0 || record.smbios_type == QORX_SMBIOS_ONBOARD_DEVICE, "and only onboard ones");
}

}  // namespace

}  // namespace qorx::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qorx::fuzz;
  const auto name_file = [](const char* adapter) {
    return std::string("root/sys/class/i2c-adapter/") + adapter + "/name";
  };
  static ScratchFile names[] = {ScratchFile(name_file(kAdapters[0])), ScratchFile(name_file(kAdapters[1])),
                                ScratchFile(name_file(kAdapters[2]))};
  Input input(data, size);
  const std::uint8_t options = input.byte();
  std::string_view text = as_text(input.rest());
  const std::string_view designation = take_line(text);
  for (ScratchFile& file : names) {
    file.write(as_bytes(take_line(text)));
  }
  run_at_both_levels([&] {
    qorx::DeviceRecord& record = qorx::fresh_device_record(0);
    qorx_system_environment_info.eth_device_number = 1;
    qorx::copy_text(record.eth_name, "eth0");
    qorx::copy_text(record.slot_name, designation.substr(0, designation.find('\0')));
    record.smbios_type = (options & kOnboard) != 0 ? QORX_SMBIOS_ONBOARD_DEVICE : QORX_SMBIOS_SYSTEM_SLOT;
    require(qorx::parse_bypass_descriptor(record) == 0, "a descriptor can't fail where adapters are listed");
    check_record(record);
    return 0;
  });
  return 0;
}
