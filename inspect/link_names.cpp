#include "inspect/link_names.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <map>
#include <set>

namespace qorx::inspect {

namespace {

constexpr std::size_t kLongestPrimary = 15;       // IFNAMSIZ without its NUL
constexpr std::size_t kLongestAlternative = 127;  // ALTIFNAMSIZ without its NUL

bool is_digit(char character) {
  return character >= '0' && character <= '9';
}

bool is_letter_or_digit(char character) {
  return is_digit(character) || (character >= 'a' && character <= 'z');
}

// The runs of letters and digits, in lower case. A remark in parentheses, such as the way to a bypass controller, is
// no part of a name.
std::vector<std::string> words_of(std::string_view text) {
  text = text.substr(0, text.find(" ("));
  std::vector<std::string> words;
  bool in_word = false;
  for (const char character : text) {
    const char lower = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    if (!is_letter_or_digit(lower)) {
      in_word = false;
      continue;
    }
    if (!in_word) {
      words.emplace_back();
    }
    words.back() += lower;
    in_word = true;
  }
  return words;
}

// Only numbers that would run into each other are kept apart.
std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) {
    text += !text.empty() && is_digit(text.back()) && is_digit(word.front()) ? "-" : "";
    text += word;
  }
  return text;
}

// "WMX Slot 1" is "wmx1", and a slot that is only called "Slot 3" is "slot3".
std::string slot_part(std::string_view designation) {
  std::vector<std::string> words = words_of(designation);
  std::erase(words, "slot");
  const std::string name = joined(words);
  return name.empty() || is_digit(name.front()) ? "slot" + name : name;
}

// Words that the kernel gives to interfaces, with a number behind them.
constexpr std::array<std::string_view, 24> kKernelWords{
    "bond", "br",  "can",  "dummy", "eth",  "gre",  "ib",  "ifb", "ipvlan", "lo",   "macvlan", "macvtap",
    "ppp",  "sit", "slip", "tap",   "team", "tunl", "tun", "usb", "veth",   "wlan", "wwan",    "vxlan",
};

bool is_kernel_name(std::string_view name) {
  return std::any_of(kKernelWords.begin(), kKernelWords.end(), [&](std::string_view word) {
    return name.starts_with(word) &&
           std::all_of(name.begin() + static_cast<std::ptrdiff_t>(word.size()), name.end(), is_digit);
  });
}

// "0000:03:00.0"
bool is_pci_name(std::string_view component) {
  const std::size_t colon = component.find(':');
  if (colon < 4 || colon > 8 || component.size() < colon + 8) {
    return false;
  }
  constexpr std::string_view kShape = ":xx:xx.x";
  const std::string_view behind = component.substr(colon);
  const auto is_hex = [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; };
  bool fits = behind.size() == kShape.size() &&
              std::all_of(component.begin(), component.begin() + static_cast<std::ptrdiff_t>(colon), is_hex);
  for (std::size_t i = 0; fits && i < kShape.size(); ++i) {
    fits = kShape[i] == 'x' ? is_hex(behind[i]) : behind[i] == kShape[i];
  }
  return fits;
}

// "2-1.4:1.0", an interface of a USB device
bool is_usb_interface(std::string_view component) {
  const std::size_t dash = component.find('-');
  return dash != std::string_view::npos && dash > 0 && component.find(':') != std::string_view::npos &&
         std::all_of(component.begin(), component.begin() + static_cast<std::ptrdiff_t>(dash), is_digit) &&
         component.find_first_not_of("0123456789-.:") == std::string_view::npos;
}

std::string reason_against(const std::string& name, NameKind kind) {
  const std::size_t longest = kind == NameKind::kPrimary ? kLongestPrimary : kLongestAlternative;
  if (name.size() > longest) {
    return "the name " + name + " is longer than " + std::to_string(longest) + " bytes";
  }
  return is_kernel_name(name) ? "the kernel itself gives names such as " + name : "";
}

NamedPort name_port(const Port& port, NameKind kind) {
  NamedPort named{&port, "", udev_path(port.record->net_path), ""};
  if (!port.slot) {
    named.reason = "it has no slot";
  } else if (named.path.empty()) {
    named.reason = "it is not on a PCI bus";
  } else {
    named.name = place_name(port);
    named.reason =
        named.name.empty() ? "nothing in its panel name can stand in a name" : reason_against(named.name, kind);
  }
  return named;
}

// Leaves out the ports that share what should be their own.
void refuse_shared(std::vector<NamedPort>& ports, std::string NamedPort::*member, const std::string& reason) {
  std::map<std::string, int> count;
  for (const NamedPort& named : ports) {
    ++count[named.*member];
  }
  for (NamedPort& named : ports) {
    if (named.reason.empty() && count[named.*member] > 1) {
      named.reason = reason + named.*member;
    }
  }
}

// The name may not be that of another interface of this machine.
void refuse_taken(std::vector<NamedPort>& ports, const Machine& machine) {
  std::set<std::string> taken;
  for (const Port& port : machine.ports) {
    taken.insert(port.name);
  }
  for (const VirtualInterface& interface : machine.virtual_interfaces) {
    taken.insert(interface.name);
  }
  for (NamedPort& named : ports) {
    if (named.reason.empty() && named.name != named.port->name && taken.contains(named.name)) {
      named.reason = "another interface is called " + named.name;
    }
  }
}

}  // namespace

std::string place_name(const Port& port) {
  if (!port.panel) {
    return slot_part(*port.slot);
  }
  const std::string label = joined(words_of(*port.panel));
  if (label.empty()) {
    return "";
  }
  // The default labels of a slot's ports are hexadecimal numbers.
  const bool is_number = is_digit(label.front()) || (port.panel_is_default && port.place == Place::kSystemSlot);
  if (port.place == Place::kOnboard) {
    return (is_number ? "p" : "") + label;
  }
  return slot_part(*port.slot) + (is_number ? "p" : "-") + label;
}

std::string udev_path(std::string_view sysfs_path) {
  std::string pci;
  std::string usb;
  while (!sysfs_path.empty()) {
    const std::size_t slash = std::min(sysfs_path.find('/'), sysfs_path.size());
    const std::string_view component = sysfs_path.substr(0, slash);
    if (is_pci_name(component)) {
      pci = "pci-" + std::string(component);
      usb.clear();
    } else if (is_usb_interface(component)) {
      usb = "-usb-0:" + std::string(component.substr(component.find('-') + 1));
    }
    sysfs_path.remove_prefix(std::min(slash + 1, sysfs_path.size()));
  }
  return pci.empty() ? "" : pci + usb;
}

std::vector<NamedPort> name_ports(const Machine& machine, NameKind kind) {
  std::vector<NamedPort> ports;
  for (const Port& port : machine.ports) {
    ports.push_back(name_port(port, kind));
  }
  refuse_shared(ports, &NamedPort::path, "several ports share the path ");
  refuse_shared(ports, &NamedPort::name, "several ports would be called ");
  refuse_taken(ports, machine);
  return ports;
}

}  // namespace qorx::inspect
