#include "discovery/bypass_descriptor.h"

#include <array>
#include <optional>
#include <string_view>

#include "base/messages.h"
#include "base/text_fields.h"

namespace qorx {

namespace {

constexpr std::string_view kDot = ".";
constexpr int kLastSwitchPort = 7;
constexpr int kAdapterNotFound = 255;

// The host's I2C adapter, on the platforms that carry the bypass controller: Intel PCH, then Atom SoC.
constexpr std::array kHostAdapters{"SMBus I801", "Synopsys DesignWare I2C adapter"};

enum class Outcome : std::uint8_t { kNoDescriptor, kWrong, kParsed };

// Takes the next field as a number, missing when there is no field.
std::optional<int> take_number(FieldSplitter& fields) {
  const auto field = fields.next(kDot);
  return field ? std::optional(parse_decimal(*field)) : std::nullopt;
}

// Takes an I2C switch port: 0 to 7, or 255 for none.
bool take_switch(FieldSplitter& fields, std::uint8_t& switch_port) {
  const auto number = take_number(fields);
  if (!number || ((*number < 0 || *number > kLastSwitchPort) && *number != kAbsent)) {
    return false;
  }
  switch_port = static_cast<std::uint8_t>(*number);
  return true;
}

// Takes the bus. Only numbers above 255 are refused; a negative one is cut to its low byte.
bool take_bus(FieldSplitter& fields, std::uint8_t& bus) {
  const auto number = take_number(fields);
  if (!number || *number > 255) {
    return false;
  }
  bus = static_cast<std::uint8_t>(*number);
  return true;
}

bool take_mcu_segment(const FieldSplitter& fields, DeviceRecord& record) {
  const std::string_view rest = fields.rest();
  const int number = parse_decimal(rest.substr(0, rest.find(')')));
  if (number < 1 || number > 4) {
    return false;
  }
  record.mcu_segment = static_cast<std::uint8_t>(number);
  return true;
}

Outcome parse_fields(DeviceRecord& record) {
  const std::string_view name = record.slot_name;
  const std::size_t start = name.find('(');
  if (start == std::string_view::npos) {
    return Outcome::kNoDescriptor;
  }
  FieldSplitter fields(text_behind(name, start));
  const std::string_view path = fields.next(kDot).value_or("");
  if (path != "(H" && path != "(B") {
    error("SMBIOS data wrong format. (H/B area) String: %s\n", record.slot_name);
    return Outcome::kWrong;
  }
  record.bypass_type = path[1];
  if (!take_bus(fields, record.bypass_bus) || !take_switch(fields, record.bypass_switch1) ||
      !take_switch(fields, record.bypass_switch2)) {
    error("SMBIOS data wrong format. (BUS) String: %s\n", record.slot_name);
    return Outcome::kWrong;
  }
  if (record.smbios_type == QORX_SMBIOS_ONBOARD_DEVICE && !take_mcu_segment(fields, record)) {
    error("SMBIOS data wrong format. (MCU_SEGMENT) String: %s\n", record.slot_name);
    return Outcome::kWrong;
  }
  return Outcome::kParsed;
}

// Searches for the host adapter, once in the life of the process.
std::int32_t find_host_adapter(I2cAdapters& adapters, const DeviceRecord& record) {
  if (g_x86_i2c_root_port_number != -1) {
    return 0;
  }
  g_x86_i2c_root_port_number = kAdapterNotFound;
  for (const char* const pattern : kHostAdapters) {
    auto port = static_cast<std::uint32_t>(g_x86_i2c_root_port_number);
    if (const std::int32_t code = get_x86_i2c_port_number(adapters, &port, pattern); code != 0) {
      return code;
    }
    g_x86_i2c_root_port_number = static_cast<std::int32_t>(port);
    if (g_x86_i2c_root_port_number != kAdapterNotFound) {
      break;
    }
  }
  if (g_x86_i2c_root_port_number == kAdapterNotFound) {
    debug("No x86 I2C root port match exist pattern. Use BIOS assigned root port number (%d).\n", record.bypass_bus);
  } else if (g_x86_i2c_root_port_number != record.bypass_bus) {
    debug("x86 I2C root port number (%d) is different than BIOS assigned value (%d).\n", g_x86_i2c_root_port_number,
          record.bypass_bus);
    debug("Use x86 I2C root port number: %d\n", g_x86_i2c_root_port_number);
  }
  return 0;
}

// Where the kernel drives a switch, its channel has an adapter of its own: that becomes the bus, and the switch is
// no longer on the way.
// Deliberately no error where the adapters can't be listed; only where reading them fails, which could hide that
// adapter.
std::int32_t resolve_switch(I2cAdapters& adapters, DeviceRecord& record, int number, std::uint8_t parent,
                            std::uint8_t& switch_port) {
  std::uint32_t port = kAdapterNotFound;
  const std::int32_t code = get_i2c_mux_port_number(adapters, &port, parent, switch_port);
  if (port != kAdapterNotFound) {
    debug("[%s] I2C switch driver for switch %d detected. Overwrite root port. (%d)\n", record.eth_name, number,
          static_cast<int>(port));
    record.bypass_bus = static_cast<std::uint8_t>(port);
    switch_port = kAbsent;
  }
  return adapters.failed() ? code : 0;
}

std::int32_t correct_host_bus(I2cAdapters& adapters, DeviceRecord& record) {
  if (const std::int32_t code = find_host_adapter(adapters, record); code != 0) {
    return code;
  }
  if (g_x86_i2c_root_port_number != kAdapterNotFound) {
    record.bypass_bus = static_cast<std::uint8_t>(g_x86_i2c_root_port_number);
  }
  std::int32_t code = 0;
  if (record.bypass_switch1 < kAbsent) {
    code = resolve_switch(adapters, record, 1, record.bypass_bus, record.bypass_switch1);
  }
  if (code == 0 && record.bypass_switch2 < kAbsent) {
    // With switch 1 still on the way its port number is passed where an adapter is expected: deliberate, and kept.
    const std::uint8_t parent = record.bypass_switch1 == kAbsent ? record.bypass_bus : record.bypass_switch1;
    code = resolve_switch(adapters, record, 2, parent, record.bypass_switch2);
  }
  return code;
}

}  // namespace

std::int32_t parse_bypass_descriptor(I2cAdapters& adapters, DeviceRecord& record) {
  if (parse_fields(record) != Outcome::kParsed) {
    return 0;
  }
  record.bypass_ctrl_flag = 1;
  if (record.bypass_type == 'H') {
    if (const std::int32_t code = correct_host_bus(adapters, record); code != 0) {
      return code;
    }
  }
  debug("Advanced LAN Bypass setting: TYPE: %c, BUS: %d.%d.%d, MCU_SEGMENT: %d, smbios type: %d\n", record.bypass_type,
        record.bypass_bus, record.bypass_switch1, record.bypass_switch2, record.mcu_segment, record.smbios_type);
  return 0;
}

}  // namespace qorx
