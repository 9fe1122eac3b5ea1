#include "inspect/machine.h"

#include <array>
#include <cstdio>
#include <string_view>

#include "ident/features.h"
#include "output/virtual_interfaces.h"

namespace qorx::inspect {

namespace {

// Texts by which the library says that there is nothing.
constexpr std::string_view kNotAvailable = "N/A";
constexpr std::string_view kUnknownModel = "ID not found";

constexpr std::string_view kDefaultMark = " (*)";

OptionalText text_unless(std::string_view text, std::string_view nothing) {
  return text == nothing ? OptionalText() : OptionalText(text);
}

Place place_of(const DeviceRecord& record) {
  if (record.smbios_type == QORX_SMBIOS_ONBOARD_DEVICE) {
    return Place::kOnboard;
  }
  return record.smbios_type == QORX_SMBIOS_SYSTEM_SLOT ? Place::kSystemSlot : Place::kNone;
}

// A USB adapter on no known module has the text "N/A" for a slot.
OptionalText slot_of(const DeviceRecord& record) {
  const bool is_placeholder = record.usb[0] != '\0' && record.slot_name == kNotAvailable;
  return is_placeholder ? OptionalText() : text_unless(record.slot_name, "");
}

void take_panel(Port& port) {
  std::string_view text = port.record->panel_name;
  if (!port.slot || text == kNotAvailable) {
    return;
  }
  port.panel_is_default = text.ends_with(kDefaultMark);
  if (port.panel_is_default) {
    text.remove_suffix(kDefaultMark.size());
  }
  port.panel = text;
}

bool is_bypass(std::uint8_t feature) {
  return feature == QORX_FEATURE_A_BYPASS || feature == QORX_FEATURE_L_BYPASS || feature == QORX_FEATURE_A_BYPASS_I2C;
}

void take_feature(Port& port) {
  const DeviceRecord& record = *port.record;
  port.has_mismatch = (record.feature & QORX_FEATURE_MISMATCH) != 0;
  const auto code = static_cast<std::uint8_t>(record.feature & ~QORX_FEATURE_MISMATCH);
  const std::string_view word = feature_text(code);
  if (code == QORX_FEATURE_NA) {
    port.feature_state = FeatureState::kNone;
  } else if (code == QORX_FEATURE_NONE && port.place == Place::kOnboard) {
    port.feature_state = FeatureState::kNeeded;
  } else if (feature_code(word, FeatureVocabulary::kTable) == code) {
    port.feature_state = FeatureState::kKnown;
    port.feature = word;
    if (code == QORX_FEATURE_A_BYPASS && record.bypass_ctrl_flag == 1) {
      *port.feature += "-C";
    }
  }
  if (is_bypass(code)) {
    port.lacks_segment = record.seg >= kAbsent;
    port.segment = port.lacks_segment ? std::nullopt : std::optional<int>(record.seg);
  }
}

Port read_port(const DeviceRecord& record) {
  Port port;
  port.record = &record;
  port.name = record.eth_name;
  if (record.fun < kAbsent) {
    port.address = address_text(record.bus, record.dev, record.fun);
  }
  port.mac = text_unless(record.mac_addr, "");
  port.slot = slot_of(record);
  port.place = place_of(record);
  take_panel(port);
  take_feature(port);
  port.model = text_unless(record.model, kUnknownModel);
  return port;
}

void add_virtual_interface(void* machine, const char* name, const char* mac) {
  static_cast<Machine*>(machine)->virtual_interfaces.push_back({name, text_unless(mac, "")});
}

}  // namespace

std::string address_text(std::uint8_t bus, std::uint8_t dev, std::uint8_t fun) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "%.2x:%.2x.%.1x", static_cast<unsigned>(bus), static_cast<unsigned>(dev),
                static_cast<unsigned>(fun));
  return text.data();
}

OptionalText id_text(std::uint32_t id) {
  if (id >= QORX_ID_UNKNOWN) {
    return std::nullopt;
  }
  std::array<char, 8> text{};
  std::snprintf(text.data(), text.size(), "%.4x", id);
  return text.data();
}

const char* feature_state_word(FeatureState state) {
  switch (state) {
    case FeatureState::kKnown:
      return "known";
    case FeatureState::kNone:
      return "none";
    case FeatureState::kNeeded:
      return "needs_configuration";
    case FeatureState::kUnknown:
      break;
  }
  return "unknown";
}

std::int32_t read_machine(Machine& machine) {
  machine.slot_source = g_slot_source;
  for (const DeviceRecord& record : device_records()) {
    machine.ports.push_back(read_port(record));
  }
  for (const SlotRecord& slot : slot_records()) {
    machine.slots.push_back(&slot);
  }
  return g_novlan == 0 ? for_each_virtual_interface(nullptr, add_virtual_interface, &machine) : 0;
}

}  // namespace qorx::inspect
