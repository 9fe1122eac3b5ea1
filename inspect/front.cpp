#include "inspect/front.h"

#include <algorithm>
#include <string_view>
#include <tuple>
#include <utility>

#include "inspect/text.h"

namespace qorx::inspect {

namespace {

std::string label_of(const Port& port) {
  if (port.panel) {
    const std::string label = printable(*port.panel);
    // The way to a bypass controller is no label.
    return port.panel_is_default ? label.substr(0, label.find(" (")) + " (*)" : label;
  }
  return port.is_usb() ? "(u)" : "(!!)";
}

std::string feature_of(const Port& port) {
  const std::string mark = port.has_mismatch ? "(!)" : "";
  switch (port.feature_state) {
    case FeatureState::kKnown:
      return *port.feature + mark;
    case FeatureState::kNone:
      return "-" + mark;
    case FeatureState::kNeeded:
      return "Need cfg" + mark;
    case FeatureState::kUnknown:
      break;
  }
  return "unknown" + mark;
}

PortBox port_box(const Port& port) {
  PortBox box;
  box.port = &port;
  box.label = label_of(port);
  box.name = printable(port.name);
  box.feature = feature_of(port);
  box.model = printable(port.model.value_or(""));
  if (port.segment) {
    box.segment = std::to_string(*port.segment);
  } else if (port.lacks_segment) {
    box.segment = "(?)";
  }
  return box;
}

bool are_pair(const PortBox& first, const PortBox& second) {
  return first.port->segment && first.port->segment == second.port->segment;
}

// Places the ports from left to right, a pair never across the end of a row.
void place_ports(FrontBox& box) {
  std::size_t column = 0;
  std::size_t row = 0;
  bool is_second = false;  // of a pair
  for (std::size_t i = 0; i < box.ports.size(); ++i) {
    PortBox& port = box.ports[i];
    port.is_joined = !is_second && i + 1 < box.ports.size() && are_pair(port, box.ports[i + 1]);
    if (column + (port.is_joined ? 2 : 1) > kFrontColumns) {
      column = 0;
      ++row;
    }
    port.column = column++;
    port.row = row;
    box.columns = std::max(box.columns, column);
    if (is_second) {
      port.segment.clear();  // it stands on the join
    }
    is_second = port.is_joined;
  }
  box.rows = box.ports.empty() ? 0 : row + 1;
}

bool panel_less(const PortBox& a, const PortBox& b) {
  return natural_less(a.port->panel.value_or(""), b.port->panel.value_or(""));
}

FrontBox box_of(std::string title, const Machine& machine, auto&& belongs) {
  FrontBox box;
  box.title = std::move(title);
  for (const Port& port : machine.ports) {
    if (belongs(port)) {
      box.ports.push_back(port_box(port));
    }
  }
  std::stable_sort(box.ports.begin(), box.ports.end(), panel_less);
  place_ports(box);
  return box;
}

// The appliance's own module slots come first.
bool slot_less(const SlotRecord* a, const SlotRecord* b) {
  const auto is_other = [](const SlotRecord* slot) { return !std::string_view(slot->slot_name).starts_with("WMX"); };
  return std::tuple(is_other(a)) < std::tuple(is_other(b)) ||
         (is_other(a) == is_other(b) && natural_less(a->slot_name, b->slot_name));
}

// Each designation once: records of one name are one slot.
std::vector<const SlotRecord*> named_slots(const Machine& machine) {
  std::vector<const SlotRecord*> slots;
  for (const SlotRecord* const slot : machine.slots) {
    const std::string_view name = slot->slot_name;
    const bool is_known =
        std::any_of(slots.begin(), slots.end(), [&](const SlotRecord* s) { return s->slot_name == name; });
    if (slot->type == QORX_SMBIOS_SYSTEM_SLOT && !name.empty() && !is_known) {
      slots.push_back(slot);
    }
  }
  std::stable_sort(slots.begin(), slots.end(), slot_less);
  return slots;
}

std::vector<FrontBox> all_boxes(const Machine& machine) {
  std::vector<FrontBox> boxes;
  boxes.push_back(
      box_of("Main board", machine, [](const Port& port) { return port.slot && port.place == Place::kOnboard; }));
  for (const SlotRecord* const slot : named_slots(machine)) {
    FrontBox& box = boxes.emplace_back(box_of(printable(slot->slot_name), machine, [&](const Port& port) {
      return port.place == Place::kSystemSlot && port.slot == slot->slot_name;
    }));
    const bool has_model = !box.ports.empty() && slot->model_name != std::string_view("ID not found");
    box.model = has_model ? printable(slot->model_name) : "";
  }
  FrontBox rest = box_of("Without a slot", machine, [](const Port& port) { return !port.slot; });
  if (!rest.ports.empty()) {
    boxes.push_back(std::move(rest));
  }
  return boxes;
}

}  // namespace

Front lay_out(const Machine& machine) {
  Front front;
  std::size_t column = kFrontColumns;
  for (FrontBox& box : all_boxes(machine)) {
    if (column + box.columns > kFrontColumns) {
      front.lines.emplace_back();
      column = 0;
    }
    box.column = column;
    column += box.columns;
    front.lines.back().push_back(std::move(box));
  }
  return front;
}

}  // namespace qorx::inspect
