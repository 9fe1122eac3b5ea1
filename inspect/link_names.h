// Names for the ports after their places: "wmx1p3" for port 3 of WMX Slot 1, "lan4" for the onboard port LAN4.
#ifndef QORX_INSPECT_LINK_NAMES_H
#define QORX_INSPECT_LINK_NAMES_H

#include <string>
#include <string_view>
#include <vector>

#include "inspect/machine.h"

namespace qorx::inspect {

// A port with its name, or with the reason why it gets none.
struct NamedPort {
  const Port* port = nullptr;
  std::string name;
  std::string path;    // what udev calls ID_PATH: the same for every card in this place
  std::string reason;  // why it is left out; empty when it is not
};

enum class NameKind { kAlternative, kPrimary };

// The ports in table order. Ports whose names or paths are not their own are left out, all of them.
std::vector<NamedPort> name_ports(const Machine& machine, NameKind kind);

// The name for a port in a slot, before anything is known of other ports.
std::string place_name(const Port& port);

// udev's ID_PATH for a device path below /sys/devices; empty where the device is not on a PCI bus.
std::string udev_path(std::string_view sysfs_path);

}  // namespace qorx::inspect

#endif
