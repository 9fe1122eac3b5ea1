#include "ident/i2c_adapters.h"

#include <array>
#include <string_view>

#include "base/bounded_text.h"
#include "base/messages.h"
#include "base/system_root.h"
#include "base/text_fields.h"
#include "lib/qorx.h"

namespace qorx {

namespace {

constexpr const char* kAdapters = "/sys/class/i2c-adapter";
constexpr std::size_t kNameSize = 100;  // of an adapter's name, with its NUL

// The first line of an adapter's name file; empty when it can't be read.
std::string_view read_adapter_name(const char* path, std::array<char, kNameSize - 1>& buffer) {
  const SystemFile file = open_system_file(path);
  const long count = file.is_open() ? file.read(buffer) : 0;
  const std::string_view text(buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
  const std::size_t end = text.find_first_of(std::string_view("\n\0", 2));
  return text.substr(0, end);
}

}  // namespace

std::int32_t get_x86_i2c_port_number(std::uint32_t* port, const char* pattern) {
  SystemDirectory adapters = open_system_directory(kAdapters);
  if (!adapters.is_open()) {
    error("Error: Cannot access %s\n", kAdapters);
    return code_byte(QORX_ERR_OPEN_DIR);
  }
  while (const char* const entry = adapters.next_entry()) {
    char path[1001];
    format_text(path, sizeof path, "%s/%s/%s", kAdapters, entry, "name");
    debug("%s, %s\n", path, entry);
    std::array<char, kNameSize - 1> buffer;  // NOLINT(cppcoreguidelines-pro-type-member-init): read fills it
    const std::string_view name = read_adapter_name(path, buffer);
    if (name.empty() || name.find(pattern) == std::string_view::npos) {
      continue;
    }
    debug("Root bus: %s, founded.\n", entry);
    const std::string_view entry_name = entry;
    if (const std::size_t dash = entry_name.rfind('-'); dash != std::string_view::npos) {
      *port = static_cast<std::uint32_t>(parse_decimal(text_behind(entry_name, dash + 1)));
    }
    break;
  }
  return 0;
}

std::int32_t get_i2c_mux_port_number(std::uint32_t* port, std::uint32_t parent, std::uint32_t channel) {
  char name[kNameSize];
  format_text(name, sizeof name, "i2c-%d-mux (chan_id %d)", static_cast<int>(parent), static_cast<int>(channel));
  debug("Found I2C mux port: %s\n", name);
  const std::int32_t code = get_x86_i2c_port_number(port, name);
  debug("I2C mux port number: %d\n", static_cast<int>(*port));
  return code;
}

}  // namespace qorx
