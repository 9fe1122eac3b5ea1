#include <array>
#include <cstdio>
#include <string_view>

#include "ident/supported_devices.h"
#include "inspect/explain.h"
#include "inspect/text.h"

namespace qorx::inspect {

namespace {

std::string line_of(std::uint32_t line, const char* file) {
  return "line " + std::to_string(line) + " of " + printable(file);
}

std::string ids_text(std::uint32_t vendor, std::uint32_t device) {
  if (vendor >= QORX_ID_UNKNOWN || device >= QORX_ID_UNKNOWN) {
    return "N/A";
  }
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "%.4x %.4x", vendor, device);
  return text.data();
}

std::string subsystem_text(const DeviceRecord& record) {
  return ids_text(record.subsys_vendor_id, record.subsys_device_id);
}

// "row 44 of qorx -support (13fe 301b)"
std::string row_text(const DeviceRecord& record) {
  for (std::size_t i = 0; i < kSupportedDevices.size(); ++i) {
    if (kSupportedDevices[i].subsys_vendor_id == record.subsys_vendor_id &&
        kSupportedDevices[i].subsys_device_id == record.subsys_device_id) {
      return "number " + std::to_string(i) + " of qorx -support, by the subsystem ids " + subsystem_text(record);
    }
  }
  return "the subsystem ids " + subsystem_text(record);
}

std::string neighbour_text(const Machine& machine, const PortOrigin& origin) {
  const Port& first = machine.ports.at(origin.neighbour - std::size_t{1});
  return "from " + printable(first.name) + " at " + first.address.value_or("N/A") +
         ", the first function of the same controller: only that one carries the card's ids";
}

std::string feature_line(const Port& port, const std::string& feature) {
  return "FUNCTION/NAME/FEATURE=\"" + std::to_string(port.record->fun) + "/" + printable(port.panel.value_or("NAME")) +
         "/" + feature + "\"";
}

bool is_in_slot(const Port& port) {
  return port.slot.has_value();
}

void say_feature_writer(Explanation& text, const Machine& machine, const Port& port, const PortOrigin& origin) {
  switch (origin.feature) {
    case Writer::kCardTable:
      return text.say("The default of the card: " + row_text(*port.record) + ".");
    case Writer::kNeighbour:
      return text.say("Taken over " + neighbour_text(machine, origin) + ".");
    case Writer::kBridge:
      return text.say("A bridge above it carries the ids of the module WMX-LH53, which has none.");
    case Writer::kLegacyTable:
      return text.say("-legacy: what the old module has, or nothing when several are possible.");
    case Writer::kModuleFile:
      return text.say("From " + line_of(origin.feature_line, g_WMX_name_file_name) + ".");
    case Writer::kPlatformFile:
      return text.say("From " + line_of(origin.feature_line, g_config_file_name) + ".");
    case Writer::kPortRule:
      return text.say("Ports of this kind on the card have none, whatever the card has.");
    default:
      return text.say("The subsystem ids " + subsystem_text(*port.record) + " are in no list.");
  }
}

void say_missing_feature(Explanation& text, const Port& port, const PortOrigin& origin) {
  if (origin.conflict_line != 0) {
    text.say("But " + line_of(origin.conflict_line, g_WMX_name_file_name) + " disagrees: leave one of the two out.");
  } else if (!is_in_slot(port)) {
    text.say("A port without a slot can't be named in qorx.cfg.");
  } else if (origin.feature == Writer::kLegacyTable && port.model) {
    text.say("Several modules have these controllers: " + printable(*port.model) + ". Say which is fitted.");
    text.write_into("wmx_name.cfg", {printable(port.model->substr(0, port.model->find('/'))) + " FEATURE"});
  } else {
    text.say("Only the maker of the board or card knows; NA says that it has none.");
    text.write_into("qorx.cfg", {block_line(port), feature_line(port, "NA")});
  }
}

void say_mismatch(Explanation& text, const Port& port, const PortOrigin& origin) {
  text.say("(!): " + line_of(origin.refused_line, g_config_file_name) +
           " says another feature; the card wins, and the line's panel name is not taken either.");
  text.say("Correct the line, or insist with -F, which holds for every line of the file.");
  if (port.feature && port.panel) {
    text.write_into(printable(g_config_file_name), {block_line(port), feature_line(port, *port.feature)});
  }
}

// The number that a segment is counted from.
std::string segment_base(const Port& port, int pair) {
  const int rest = *port.segment - pair;
  return rest >= 0 && rest % 4 == 0 ? "slot number " + std::to_string(rest / 4) : "the slot's number, in one byte";
}

bool is_bypass(const Port& port) {
  return port.segment || port.lacks_segment;
}

std::string control_reason(const Port& port, const PortOrigin& origin) {
  const auto code = static_cast<std::uint8_t>(port.record->feature & ~QORX_FEATURE_MISMATCH);
  if (code == QORX_FEATURE_L_BYPASS) {
    return "L_BYPASS has no record.";
  }
  if (port.record->bypass_ctrl_flag != 1) {
    if (port.record->fun % 2 != 0) {
      return "it does not carry the controller of its pair: the even function does.";
    }
    if (origin.feature == Writer::kPlatformFile) {
      return line_of(origin.feature_line, g_config_file_name) + " took the controller away; A_BYPASS-C leaves it.";
    }
    return code == QORX_FEATURE_A_BYPASS_I2C ? "its slot name has no right descriptor, such as (H.1.2.255)."
                                             : "it does not carry the controller of its pair.";
  }
  if (port.has_mismatch) {
    return "its feature is in dispute, see (!).";
  }
  return port.lacks_segment ? "it has no segment number." : "";
}

std::string unknown_model_reason(const Port& port) {
  const DeviceRecord& record = *port.record;
  if (port.is_usb()) {
    return "It is a USB adapter: these have no model.";
  }
  if (record.subsys_vendor_id >= QORX_ID_UNKNOWN || record.subsys_vendor_id == 0) {
    return "Its subsystem ids could not be read: look at /sys/class/net/" + printable(port.name) + "/device/config.";
  }
  if (record.subsys_vendor_id == kMakerVendorId) {
    return "The subsystem ids " + subsystem_text(record) +
           " are the maker's and not in qorx -support: a newer qorx may know them.";
  }
  return "The subsystem ids " + subsystem_text(record) + " are in no list: a card of another maker" +
         (g_legacy_flag == 0 ? ", or an old module, which -legacy can name."
                             : ", and no old module has its controllers.");
}

void say_model_writer(Explanation& text, const Machine& machine, const Port& port, const PortOrigin& origin) {
  switch (origin.model) {
    case Writer::kCardTable:
      return text.say("The card is " + row_text(*port.record) + ".");
    case Writer::kNeighbour:
      return text.say("Taken over " + neighbour_text(machine, origin) + ".");
    case Writer::kBridge:
      return text.say("A bridge above it carries the ids of this module.");
    case Writer::kModuleFile:
      return text.say("-legacy gave candidates; " + line_of(origin.feature_line, g_WMX_name_file_name) +
                      " confirms one.");
    case Writer::kLegacyTable:
      text.say("-legacy: these modules have the controllers found in the slot, " +
               ids_text(port.record->vendor_id, port.record->device_id) + ".");
      if (port.model && port.model->find('/') != std::string::npos) {
        text.write_into("wmx_name.cfg, to say which it is",
                        {printable(port.model->substr(0, port.model->find('/'))) + " FEATURE"});
      }
      return;
    default:
      return text.say(port.place == Place::kOnboard
                          ? "An onboard port whose ids " + subsystem_text(*port.record) + " are in no list."
                          : unknown_model_reason(port));
  }
}

}  // namespace

std::string block_line(const Port& port) {
  return "SLOT_NAME=\"" + printable(port.slot.value_or("")) + "\"";
}

void explain_panel(Explanation& text, const Port& port) {
  const PortOrigin& origin = origin_of(*port.record);
  text.heading("panel", port.panel ? printable(*port.panel) + (port.panel_is_default ? " (*)" : "") : "N/A");
  switch (origin.panel) {
    case Writer::kPlatformFile:
      return text.say("From " + line_of(origin.panel_line, g_config_file_name) + ".");
    case Writer::kSlotName:
      text.say("The name of the onboard position; nobody has named the port.");
      break;
    case Writer::kCounter:
      text.say("Counted: " + std::to_string(origin.panel_number) +
               ", among the ports of this slot that nobody has named, in the order of the table" +
               (port.model == "WMX-9556" ? "; the labels of this module run downwards." : "."));
      break;
    case Writer::kBridge:
      return text.say("The one port of the module WMX-LH53 has no label.");
    default:
      return text.say("A port without a slot has no panel name.");
  }
  text.write_into("qorx.cfg, for the name on the chassis",
                  {block_line(port), "FUNCTION/NAME/BUS_ORDER=\"" + std::to_string(port.record->fun) + "/NAME/" +
                                         (port.record->port_index == 0 ? "L" : "H") + "\""});
}

void explain_feature(Explanation& text, const Machine& machine, const Port& port) {
  const PortOrigin& origin = origin_of(*port.record);
  std::string value = port.feature.value_or("unknown");
  if (port.feature_state == FeatureState::kNone) {
    value = "N/A";
  } else if (port.feature_state == FeatureState::kNeeded) {
    value = "Need cfg";
  }
  text.heading("feature", value + (port.has_mismatch ? "(!)" : ""));
  say_feature_writer(text, machine, port, origin);
  if (port.has_mismatch) {
    say_mismatch(text, port, origin);
  } else if (port.feature_state == FeatureState::kNeeded ||
             (port.feature_state == FeatureState::kUnknown && !port.is_usb())) {
    say_missing_feature(text, port, origin);
  }
}

void explain_segment(Explanation& text, const Port& port) {
  if (!is_bypass(port)) {
    text.heading("segment", "N/A");
    return text.say("Only ports with a bypass have one.");
  }
  text.heading("segment", port.segment ? std::to_string(*port.segment) : "(?)");
  const int place = origin_of(*port.record).segment_place;
  const int pair = (place - 1) / 2;
  if (port.segment && port.place == Place::kOnboard) {
    text.say("Onboard port number " + std::to_string(place) + " in the order of the table: 100 and the pair " +
             std::to_string(pair) + ".");
  } else if (port.segment) {
    text.say("Port number " + std::to_string(place) + " of its slot, " + segment_base(port, pair) +
             ": 4 times the number, and the pair " + std::to_string(pair) + ".");
  } else if (!port.slot) {
    text.say("A port without a slot record has no number: see the slot. qorx -tovix.cfg -F gives numbers from 200.");
  } else {
    text.say("The slot's name does not end in a number. qorx -tovix.cfg -F gives numbers from 200.");
    text.write_into("qorx.cfg", {block_line(port), "CHANGE_NAME=\"WMX Slot N\""});
  }
}

void explain_control_file(Explanation& text, const Port& port) {
  if (!is_bypass(port)) {
    return;
  }
  const std::string reason = control_reason(port, origin_of(*port.record));
  text.heading("tovix.cfg", reason.empty() ? "it has a record" : "no record");
  if (!reason.empty()) {
    text.say("Because " + reason);
  }
}

void explain_model(Explanation& text, const Machine& machine, const Port& port) {
  text.heading("model", printable(port.model.value_or("ID not found")));
  say_model_writer(text, machine, port, origin_of(*port.record));
}

}  // namespace qorx::inspect
