#include "config/stages.h"

#include <string_view>

#include "records/origins.h"
#include "records/state.h"

namespace qorx {

namespace {

constexpr std::uint32_t kFibrePortDeviceId = 0x1522;

bool is_hybrid(std::string_view model) {
  return model == "WMX-1658" || model == "WMX-6997";
}

}  // namespace

std::int32_t qorx_handle_hybrid_WMX() {
  for (DeviceRecord& record : device_records()) {
    if (record.device_id == kFibrePortDeviceId && is_hybrid(record.model)) {
      record.feature = QORX_FEATURE_NA;
      origin_of(record).feature = Writer::kPortRule;
    }
  }
  return 0;
}

}  // namespace qorx
