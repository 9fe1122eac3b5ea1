#include "discovery/port_identity.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "base/bounded_text.h"
#include "base/line_reader.h"
#include "base/messages.h"
#include "base/path_text.h"
#include "base/text_fields.h"
#include "ident/strings.h"

namespace qorx {

namespace {

constexpr std::string_view kProductKey = "PRODUCT=";

PathText interface_file(const char* name, std::string_view file) {
  return {"/sys/class/net/", name, "/", file};
}

bool is_space(char character) {
  return character == ' ' || (character >= '\t' && character <= '\r');
}

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
  const PathText path = interface_file(name, "address");
  const SystemFile file = open_system_file(path.c_str());
  // A sysfs attribute is at most one page; one read delivers it.
  std::array<char, 4096> page;  // NOLINT(cppcoreguidelines-pro-type-member-init): only what was read is used
  const long count = file.is_open() ? file.read(page) : -1;
  if (count < 0) {
    debug("can't open name %s\n", path.c_str());
    return QORX_ERR_OPEN_FILE;
  }
  const std::string_view text(page.data(), static_cast<std::size_t>(count));
  const auto* const first = std::find_if_not(text.begin(), text.end(), is_space);
  const auto* const end = std::find_if(first, text.end(), [](char c) { return is_space(c) || c == '\0'; });
  copy_text(mac, {first, static_cast<std::size_t>(end - first)});
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

NetworkInterface::NetworkInterface(const char* name)
    : name_(name), config_(interface_file(name, "device/config").c_str()) {}

std::int32_t get_eth_device_vendor_id_device_id(const NetworkInterface& interface, PciIds& ids) {
  ids = {};
  if (read_vendor_device_ids(interface.config(), ids)) {
    return 0;
  }
  const PathText path = interface_file(interface.name(), "device/uevent");
  if (!open_system_content(path.c_str()).is_open()) {
    return code_byte(QORX_ERR_OPEN_FILE);
  }
  static_cast<void>(Search_USB_uevent(path.c_str(), ids));
  return 0;
}

std::int32_t get_eth_device_subsystem_vendor_id_device_id(const NetworkInterface& interface, PciIds& ids) {
  return get_pcie_subsystem_vendor_id_device_id(interface.config(), ids);
}

}  // namespace qorx
