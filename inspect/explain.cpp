#include "inspect/explain.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

#include "base/path_text.h"
#include "base/system_root.h"
#include "inspect/text.h"

namespace qorx::inspect {

namespace {

std::string lower_case(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

template <typename Fits>
std::vector<const Port*> ports_that(const Machine& machine, Fits fits) {
  std::vector<const Port*> found;
  for (const Port& port : machine.ports) {
    if (fits(port)) {
      found.push_back(&port);
    }
  }
  return found;
}

std::vector<const Port*> find_ports(const Machine& machine, const std::string& wanted) {
  auto found = ports_that(machine, [&](const Port& port) { return port.name == wanted; });
  if (found.empty()) {
    found = ports_that(machine, [&](const Port& port) { return port.address == lower_case(wanted); });
  }
  if (found.empty()) {
    found = ports_that(machine, [&](const Port& port) { return port.panel == wanted; });
  }
  return found;
}

std::string explain_port(const Machine& machine, const Port& port) {
  Explanation text;
  text.heading("port", printable(port.name) + (port.address ? " at " + *port.address : ""));
  text.say(printable(port.record->net_path));
  explain_slot(text, machine, port);
  explain_panel(text, port);
  explain_feature(text, machine, port);
  explain_segment(text, port);
  explain_control_file(text, port);
  explain_model(text, machine, port);
  return text.text();
}

}  // namespace

std::string explain(const Machine& machine, const std::string& wanted) {
  std::string text;
  for (const Port* const port : find_ports(machine, wanted)) {
    text += (text.empty() ? "" : "\n") + explain_port(machine, *port);
  }
  const bool is_virtual = std::any_of(machine.virtual_interfaces.begin(), machine.virtual_interfaces.end(),
                                      [&](const VirtualInterface& interface) { return interface.name == wanted; });
  if (text.empty() && is_virtual) {
    text = printable(wanted) + " is a virtual interface: no hardware stands behind it, so it has no place.\n";
  }
  return text;
}

std::string explain_missing(const std::string& name) {
  constexpr long kLongestLink = 127;
  const PathText path{"/sys/class/net/", name};
  std::array<char, QORX_PATH_SIZE> target{};
  const long length = read_system_link(path.c_str(), target);
  if (length > kLongestLink) {
    return printable(name) + " is left out: its path below /sys has " + std::to_string(length) +
           " bytes, and only up to " + std::to_string(kLongestLink) + " are known to be a port's";
  }
  return length >= 0 ? printable(name) + " is no physical port" : "";
}

}  // namespace qorx::inspect
