#include "config/stages.h"

#include <string_view>

#include "base/bounded_text.h"
#include "base/path_text.h"
#include "records/origins.h"
#include "records/state.h"

namespace qorx {

namespace {

// The one module whose ports are labelled from right to left.
constexpr std::string_view kDescendingModel = "WMX-9556";
constexpr std::uint8_t kDescendingStart = 4;
constexpr std::uint8_t kAscendingStart = 1;
constexpr std::string_view kCounted = " (*)";

}  // namespace

std::int32_t qorx_assign_final_panel_name() {
  std::string_view slot_name;
  std::uint8_t counter = kAscendingStart;
  for (DeviceRecord& record : device_records()) {
    if (record.slot_name[0] == '\0' || record.panel_name[0] != '\0') {
      continue;
    }
    if (record.smbios_type == QORX_SMBIOS_ONBOARD_DEVICE) {
      copy_text(record.panel_name, record.slot_name);
      append_text(record.panel_name, kCounted);
      origin_of(record).panel = Writer::kSlotName;
      continue;
    }
    const bool descending = record.model == kDescendingModel;
    if (slot_name != record.slot_name) {
      slot_name = record.slot_name;
      counter = descending ? kDescendingStart : kAscendingStart;
    }
    copy_text(record.panel_name, JoinedText<8>{Digits(counter, 16).view(), kCounted}.view());
    origin_of(record).panel = Writer::kCounter;
    origin_of(record).panel_number = counter;
    counter = static_cast<std::uint8_t>(descending ? counter - 1 : counter + 1);
  }
  return 0;
}

}  // namespace qorx
