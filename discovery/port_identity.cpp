#include "discovery/port_identity.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "ident/strings.h"
#include "lib/bounded_text.h"
#include "lib/line_reader.h"
#include "lib/messages.h"
#include "lib/text_fields.h"

namespace qorx {

namespace {

constexpr std::string_view kProductKey = "PRODUCT=";

struct InterfacePath {
  char text[QORX_PATH_SIZE];
  InterfacePath(const char* name, const char* file) {
    format_text(text, sizeof text, "/sys/class/net/%s/%s", name, file);
  }
};

// PRODUCT=<vendor>/<product>/<release>, all hexadecimal.
void parse_product_line(std::string_view line, PciIds& ids) {
  const auto fields = split_fields<3>(line, "=/");
  for (std::size_t i = 0; i < fields.count; ++i) {
    debug("%.*s\n", static_cast<int>(fields.at[i].size()), fields.at[i].data());
  }
  if (fields.count == 3) {
    ids.vendor = static_cast<std::uint32_t>(parse_hexadecimal(fields.at[1]));
    ids.device = static_cast<std::uint32_t>(parse_hexadecimal(fields.at[2]));
  }
}

}  // namespace

std::int32_t get_eth_device_mac_address(const char* name, char (&mac)[kMacTextSize]) {
  mac[0] = '\0';
  const InterfacePath path(name, "address");
  const SystemFile file = open_system_file(path.text);
  // A sysfs attribute is at most one page; one read delivers it.
  std::array<char, 4096> page;  // NOLINT(cppcoreguidelines-pro-type-member-init): only what was read is used
  const long count = file.is_open() ? file.read(page) : -1;
  if (count < 0) {
    debug("can't open name %s\n", path.text);
    return QORX_ERR_OPEN_FILE;
  }
  constexpr std::string_view kSpace{" \t\n\v\f\r"};
  std::string_view text(page.data(), static_cast<std::size_t>(count));
  text.remove_prefix(std::min(text.find_first_not_of(kSpace), text.size()));
  text = text.substr(0, text.find_first_of(kSpace));
  copy_text(mac, text.substr(0, text.find('\0')));
  return 0;
}

std::int32_t Search_USB_uevent(const char* path, PciIds& ids) {
  ids = {};
  if (path == nullptr) {
    return code_byte(QORX_ERR_PARAM_NULL_POINTER);
  }
  LineReader lines(open_system_text(path));
  if (!lines.is_open()) {
    error("Error: Open file %s failed.\n", path);
    return code_byte(QORX_ERR_OPEN_FILE);
  }
  for (;;) {
    const bool found = lines.read();
    if (found) {
      str_eliminate_header_space(lines.text());
      str_eliminate_end_space(lines.text());
    }
    // The kernel ends every line; one without a line feed is a torn read.
    if (lines.at_end()) {
      return 0;
    }
    debug("%s\n", lines.text());
    if (std::string_view(lines.text()).starts_with(kProductKey)) {
      parse_product_line(lines.text(), ids);
      return 0;
    }
  }
}

std::int32_t get_eth_device_vendor_id_device_id(const char* name, PciIds& ids) {
  return read_interface_ids(ConfigSpace::of_interface(name), name, ids);
}

std::int32_t read_interface_ids(const ConfigSpace& config, const char* name, PciIds& ids) {
  ids = {};
  if (read_vendor_device_ids(config, ids)) {
    return 0;
  }
  const InterfacePath path(name, "device/uevent");
  if (!open_system_text(path.text)) {
    return code_byte(QORX_ERR_OPEN_FILE);
  }
  static_cast<void>(Search_USB_uevent(path.text, ids));
  return 0;
}

std::int32_t get_eth_device_subsystem_vendor_id_device_id(const char* name, PciIds& ids) {
  return read_interface_subsystem_ids(ConfigSpace::of_interface(name), name, ids);
}

std::int32_t read_interface_subsystem_ids(const ConfigSpace& config, const char* name, PciIds& ids) {
  return read_subsystem_ids(config, InterfacePath(name, "device/config").text, ids);
}

}  // namespace qorx
