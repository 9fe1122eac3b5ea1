// What the library found out about a machine, as values: what is absent is absent, never a text that says so.
#ifndef QORX_INSPECT_MACHINE_H
#define QORX_INSPECT_MACHINE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "records/origins.h"
#include "records/state.h"

namespace qorx::inspect {

using OptionalText = std::optional<std::string>;

enum class Place : std::uint8_t { kNone, kSystemSlot, kOnboard };

enum class FeatureState : std::uint8_t {
  kKnown,    // the port has one
  kNone,     // the port is known to have none
  kNeeded,   // an onboard port of which only the platform file can know: "Need cfg"
  kUnknown,  // nothing is known
};

// One physical port, in table order.
struct Port {
  const DeviceRecord* record = nullptr;
  std::string name;
  OptionalText address;  // "03:00.0"
  OptionalText mac;
  OptionalText slot;  // the designation
  Place place = Place::kNone;
  OptionalText panel;  // the label, without the mark of a default
  bool panel_is_default = false;
  OptionalText feature;  // the word, with "-C" where the port carries the controller of its pair
  FeatureState feature_state = FeatureState::kUnknown;
  bool has_mismatch = false;   // the platform file disagrees: "(!)"
  std::optional<int> segment;  // of a bypass port
  bool lacks_segment = false;  // a bypass port without a number: "(?)"
  OptionalText model;

  [[nodiscard]] bool is_usb() const { return record->usb[0] != '\0'; }
  [[nodiscard]] bool lacks_slot_record() const { return address && record->slot_name[0] == '\0'; }  // "(!!)"
};

// An interface without hardware behind it.
struct VirtualInterface {
  std::string name;
  OptionalText mac;
};

struct Machine {
  std::vector<Port> ports;
  std::vector<const SlotRecord*> slots;
  std::vector<VirtualInterface> virtual_interfaces;
  SlotSource slot_source = SlotSource::kNone;
  OptionalText root;  // of a recorded machine, as the user named it
};

// Takes over the tables of the opened library, which must stay open. Returns 0, or the library's code.
std::int32_t read_machine(Machine& machine);

// "03:00.0"
std::string address_text(std::uint8_t bus, std::uint8_t dev, std::uint8_t fun);

// PCI and USB ids are written as everywhere: four hexadecimal digits.
OptionalText id_text(std::uint32_t id);

// "needs_configuration"
const char* feature_state_word(FeatureState state);

}  // namespace qorx::inspect

#endif
