#include "ident/supported_devices.h"

namespace qorx {

DeviceMapping DEVICE_MAPPING[MAXIMUM_DEVICE_MAPPING_NUMBER];
std::uint32_t Velmora_sub_id_number;

namespace {

constexpr bool has_unique_pairs() {
  for (std::size_t i = 0; i < kSupportedDevices.size(); ++i) {
    for (std::size_t j = i + 1; j < kSupportedDevices.size(); ++j) {
      if (kSupportedDevices[i].subsys_vendor_id == kSupportedDevices[j].subsys_vendor_id &&
          kSupportedDevices[i].subsys_device_id == kSupportedDevices[j].subsys_device_id) {
        return false;
      }
    }
  }
  return true;
}

static_assert(kSupportedDevices.size() == 99);
static_assert(kSupportedDevices.size() < MAXIMUM_DEVICE_MAPPING_NUMBER, "one zero entry must follow the last one");
static_assert(has_unique_pairs());
static_assert(kSupportedDevices[51].subsys_vendor_id == kSecondMakerVendorId, "printed indexes must not move");
static_assert(kSupportedDevices[98].subsys_device_id == 0x3043, "printed indexes must not move");

}  // namespace

int device_mapping_init() {
  Velmora_sub_id_number = 0;
  for (DeviceMapping& entry : DEVICE_MAPPING) {
    entry = {};
  }
  for (const SupportedDevice& device : kSupportedDevices) {
    DEVICE_MAPPING[Velmora_sub_id_number++] = {device.subsys_vendor_id, device.subsys_device_id, device.feature};
  }
  return 0;
}

std::uint8_t default_feature(std::uint32_t subsys_vendor_id, std::uint32_t subsys_device_id) {
  for (std::uint32_t i = 0; i < Velmora_sub_id_number; ++i) {
    const DeviceMapping& entry = DEVICE_MAPPING[i];
    if (entry.subsys_device_id == subsys_device_id && entry.subsys_vendor_id == subsys_vendor_id) {
      return entry.feature;
    }
  }
  return QORX_FEATURE_NONE;
}

}  // namespace qorx
