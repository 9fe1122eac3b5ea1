#include <unistd.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <tuple>

#include "base/text_fields.h"
#include "discovery/slot_match.h"
#include "inspect/explain.h"
#include "inspect/text.h"

namespace qorx::inspect {

namespace {

constexpr std::size_t kMostOthers = 4;

// How well a slot record fits a path: the first pass that finds it, and the level.
struct Fit {
  MatchPass pass;
  int level;
};

std::optional<Fit> fit_of(const SlotRecord& slot, std::string_view path) {
  const SlotMatcher matcher(std::span(&slot, 1));
  for (const MatchPass pass : kMatchPasses) {
    if (const auto match = matcher.find(pass, SlotMatcher::searched_text(pass, path))) {
      return Fit{pass, match->level};
    }
  }
  return std::nullopt;
}

const char* source_text(const Machine& machine) {
  switch (machine.slot_source) {
    case SlotSource::kMemory:
      return "the firmware's table in /dev/mem";
    case SlotSource::kEfi:
      return "the firmware's table in /dev/mem, found through EFI";
    case SlotSource::kSysfs:
      return "the firmware's table in /sys/firmware/dmi/tables";
    case SlotSource::kFiles:
      return "the files of -diag";
    case SlotSource::kOverrideFile:
      return static_cast<const char*>(g_smbios_file_name);
    case SlotSource::kNone:
      break;
  }
  return "nowhere";
}

std::string handle_text(const SlotRecord& slot) {
  constexpr std::size_t kHandle = 2;
  const bool has_structure =
      std::any_of(std::begin(slot.raw), std::end(slot.raw), [](std::uint8_t b) { return b != 0; });
  if (!has_structure) {
    return "";
  }
  const std::array<char, 2> bytes{static_cast<char>(slot.raw[kHandle + 1]), static_cast<char>(slot.raw[kHandle])};
  return ", handle 0x" + hexadecimal({bytes.data(), bytes.size()});
}

std::string record_text(const SlotRecord& slot, const std::string& address) {
  const std::string name = printable(slot.smbios_slot_name[0] != '\0' ? slot.smbios_slot_name : slot.slot_name);
  // A record whose name another one has taken over.
  const std::string shown = name.empty() ? "merged or split" : "\"" + name + "\"";
  return "type " + std::to_string(slot.type) + " " + shown + " at " + address + handle_text(slot);
}

std::string pass_text(MatchPass pass) {
  return pass == MatchPass::kOwnAddress ? "pass 0 (its own address)" : "pass 1 (the bridges above it)";
}

// What of the record's address a level compares.
std::string level_text(MatchPass pass, int level) {
  static constexpr std::array kOwn{"", "the bus", "bus and device", "bus, device and function"};
  static constexpr std::array kBridge{"",
                                      "the bus behind the record's",
                                      "the bus",
                                      "bus and the device behind the record's",
                                      "bus and device",
                                      "bus, device and the function behind the record's",
                                      "bus, device and function"};
  const auto index = static_cast<std::size_t>(level);
  return pass == MatchPass::kOwnAddress ? kOwn.at(index) : kBridge.at(index);
}

// The component of the path in which the record's address was found.
std::string met_component(const Port& port, MatchPass pass, int level) {
  SlotRecord as_matched{};
  as_matched.bus = port.record->slot_bus;
  as_matched.dev = port.record->slot_dev;
  as_matched.fun = port.record->slot_fun;
  char pattern[16];
  SlotMatcher::format_pattern(pass, level, as_matched, pattern);
  const std::string_view path = port.record->net_path;
  const std::string_view searched = SlotMatcher::searched_text(pass, path);
  const std::size_t found = searched.find(pattern);
  if (found == std::string_view::npos) {
    return "";
  }
  const std::size_t at = static_cast<std::size_t>(searched.data() - path.data()) + found;
  const std::size_t start = path.rfind('/', at) + 1;
  return printable(path.substr(start, path.find('/', at) - start));
}

void say_others(Explanation& text, const Machine& machine, const Port& port, const SlotRecord* matched) {
  std::vector<std::tuple<int, int, const SlotRecord*>> others;
  for (const SlotRecord* const slot : machine.slots) {
    if (const auto fit = slot != matched ? fit_of(*slot, port.record->net_path) : std::nullopt) {
      others.emplace_back(static_cast<int>(fit->pass), -fit->level, slot);
    }
  }
  std::sort(others.begin(), others.end());
  for (std::size_t i = 0; i < others.size() && i < kMostOthers; ++i) {
    const auto& [pass, level, slot] = others[i];
    text.say("Less close: " + record_text(*slot, address_text(slot->bus, slot->dev, slot->fun)) + ": " +
             pass_text(static_cast<MatchPass>(pass)) + ", level " + std::to_string(-level) + ".");
  }
  if (others.size() > kMostOthers) {
    text.say("And " + std::to_string(others.size() - kMostOthers) + " more.");
  }
}

std::vector<std::string> record_lines(const Port& port) {
  return {"TYPE=\"9\"", "NAME=\"WMX Slot N\"", "BUS:DEV.FUN=\"" + port.address.value_or("") + "\""};
}

constexpr const char* kOverrideFile = "smbios.cfg, with a record for every other slot and onboard port";

void say_match(Explanation& text, const Machine& machine, const Port& port, const PortOrigin& origin) {
  const SlotRecord& slot = *machine.slots.at(origin.slot - std::size_t{1});
  const auto pass = static_cast<MatchPass>(origin.match_pass);
  const DeviceRecord& record = *port.record;
  const SlotOrigin& slot_origin = origin_of(slot);
  text.say("Component " + met_component(port, pass, origin.match_level) + " of its path met the record " +
           record_text(slot, address_text(record.slot_bus, record.slot_dev, record.slot_fun)) + ".");
  text.say("In " + pass_text(pass) + ", at level " + std::to_string(origin.match_level) + ": " +
           level_text(pass, origin.match_level) + ".");
  const std::string config = printable(g_config_file_name);
  if (slot_origin.switch_line != 0) {
    text.say("Line " + std::to_string(slot_origin.switch_line) + " of " + config +
             " made this record, for a port of a switch.");
  } else {
    text.say(std::string("The record comes from ") + printable(source_text(machine)) + ".");
  }
  if (slot_origin.rename_line != 0) {
    text.say("Line " + std::to_string(slot_origin.rename_line) + " of " + config + " gave it this name.");
  }
  say_others(text, machine, port, &slot);
  constexpr int kBusOnly = 2;
  if (pass == MatchPass::kBridges && origin.match_level <= kBusOnly) {
    text.say("Only a bus agrees. If the port is not there, it has no record of its own.");
    text.write_into(kOverrideFile, record_lines(port));
  }
}

void say_no_records(Explanation& text) {
  if (g_vm_bypass != 0 && g_diag == 0 && g_smbios_flag == 0) {
    text.say("There are no slot records: -vm was given.");
  } else {
    text.say(std::string("There are no slot records: no SMBIOS table was found.") +
             (geteuid() != 0 ? " Only root may read it." : ""));
  }
}

void say_no_match(Explanation& text, const Machine& machine, const Port& port) {
  if (machine.slots.empty()) {
    say_no_records(text);
  } else {
    text.say("None of the " + std::to_string(machine.slots.size()) +
             " slot records has the address of a component of its path:");
    text.say(printable(port.record->net_path));
  }
  text.write_into(kOverrideFile, record_lines(port));
}

}  // namespace

void explain_slot(Explanation& text, const Machine& machine, const Port& port) {
  text.heading("slot", port.slot ? printable(*port.slot) : (port.lacks_slot_record() ? "(!!)" : "N/A"));
  const PortOrigin& origin = origin_of(*port.record);
  if (origin.slot != 0) {
    say_match(text, machine, port, origin);
  } else if (port.is_usb()) {
    text.say("It is a USB adapter: these have no slot.");
  } else if (!port.address) {
    text.say("No PCI address is in its path, so no record is looked for.");
  } else {
    say_no_match(text, machine, port);
  }
}

}  // namespace qorx::inspect
