#include "output/bypass_segments.h"

#include "base/messages.h"
#include "records/origins.h"
#include "records/state.h"

namespace qorx {

namespace {

constexpr int kFirstOnboardSegment = 100;
constexpr int kSegmentsPerSlot = 4;
constexpr int kPortsPerSegment = 2;

bool is_digit(char character) {
  return character >= '0' && character <= '9';
}

int last_number(std::string_view text) {
  if (text.empty()) {
    return -1;
  }
  const char last = text.back();
  if (!is_digit(last)) {
    return kAbsent;
  }
  const char before = text.size() > 1 ? text[text.size() - 2] : ' ';
  return (is_digit(before) ? (before - '0') * 10 : 0) + (last - '0');
}

// The slot number at the end of a designation, or before a remark in parentheses. A byte: no number gives 255.
std::uint8_t slot_number(std::string_view slot_name) {
  if (slot_name.find(" (") != std::string_view::npos) {
    slot_name = slot_name.substr(0, slot_name.find('('));
    slot_name = slot_name.substr(0, slot_name.empty() ? 0 : slot_name.size() - 1);
  }
  return static_cast<std::uint8_t>(Last2CharToNum(slot_name));
}

// Where the walk over the table stands.
struct Position {
  std::string_view slot_name;
  std::uint8_t slot_number = kAbsent;  // a slot without a name at the start of the table has none
  int in_slot = 0;
  int onboard = 0;
};

void assign_onboard(DeviceRecord& record, Position& position) {
  record.seg = static_cast<std::uint8_t>(position.onboard / kPortsPerSegment + kFirstOnboardSegment);
  origin_of(record).segment_place = static_cast<std::uint16_t>(position.onboard + 1);
  ++position.onboard;
  debug("seg number %d\n", record.seg);
}

void assign_in_slot(DeviceRecord& record, Position& position) {
  if (position.slot_name != record.slot_name) {
    position.slot_name = record.slot_name;
    position.in_slot = 0;
    position.slot_number = slot_number(position.slot_name);
    debug("\n");
  }
  record.seg = kAbsent;
  if (position.slot_number < kAbsent) {
    record.seg =
        static_cast<std::uint8_t>(position.in_slot / kPortsPerSegment + position.slot_number * kSegmentsPerSlot);
  }
  origin_of(record).segment_place = static_cast<std::uint16_t>(position.in_slot + 1);
  ++position.in_slot;
  debug("seg number %d slot number %d\n", record.seg, position.slot_number);
}

}  // namespace

int Last2CharToNum(std::string_view text) {
  const int number = last_number(text);
  debug("%.*s %d\n", static_cast<int>(text.size()), text.data(), number);
  return number;
}

std::int32_t qorx_assign_bypass_seg() {
  Position position;
  for (DeviceRecord& record : device_records()) {
    if (record.smbios_type == 0) {
      record.seg = kAbsent;
    } else if (record.smbios_type == QORX_SMBIOS_ONBOARD_DEVICE) {
      assign_onboard(record, position);
    } else if (record.smbios_type == QORX_SMBIOS_SYSTEM_SLOT) {
      assign_in_slot(record, position);
    }
  }
  return 0;
}

}  // namespace qorx
