// The listing of known cards.
#include <cstdio>

#include "base/messages.h"
#include "ident/features.h"
#include "ident/model_lookup.h"
#include "ident/supported_devices.h"
#include "lib/checks.h"

std::int32_t qorx_print_supported_WMX() {
  using namespace qorx;
  if (const std::int32_t code = INIT_CHECK(); code != 0) {
    return code;
  }
  std::printf("%-18s %-15s%-9s  \n", "model", "feature", "svid sdid index");
  for (std::uint32_t i = 0; i < Velmora_sub_id_number; ++i) {
    const DeviceMapping& entry = DEVICE_MAPPING[i];
    std::printf("%-18s %-15s%.4x %.4x %d\n", qorx_get_model_name(entry.subsys_vendor_id, entry.subsys_device_id),
                feature_text(entry.feature), entry.subsys_vendor_id, entry.subsys_device_id, static_cast<int>(i));
  }
  debug("Total: %d\n", static_cast<int>(Velmora_sub_id_number));
  debug("MAXIMUM_DEVICE_MAPPING_NUMBER: %d\n", static_cast<int>(MAXIMUM_DEVICE_MAPPING_NUMBER));
  return 0;
}
