#include "ident/model_lookup.h"

#include <array>

#include "base/bounded_text.h"
#include "base/messages.h"
#include "ident/supported_devices.h"

namespace qorx {

char model_name[QORX_NAME_SIZE];

namespace {

constexpr std::uint32_t kIntelVendorId = 0x8086;

// How the second device id behind a slot bears on a legacy module.
enum class SecondId : std::uint8_t { kIgnored, kAbsent, kPresent };

struct LegacyModule {
  std::uint16_t device_id;
  SecondId second_id;
  std::uint8_t count;         // ports with the first device id
  std::uint8_t second_count;  // ports with the second one, where it must be present
  const char* model;
  std::uint8_t feature;
};

// Several old modules share one controller; where the ports can't tell them apart the model is the list of
// candidates. The features need not be those of the same model in the table of known cards (WMX-6473).
constexpr std::array kLegacyModules{
    LegacyModule{0x10E6, SecondId::kIgnored, 2, 0, "TOBR-2542", QORX_FEATURE_NA},
    LegacyModule{0x10E6, SecondId::kIgnored, 4, 0, "TOBR-2542", QORX_FEATURE_NA},
    LegacyModule{0x10FB, SecondId::kIgnored, 2, 0, "TOBR-4180/WMX-1280/9243", QORX_FEATURE_NONE},
    LegacyModule{0x10FB, SecondId::kIgnored, 4, 0, "WMX-7045", QORX_FEATURE_NA},
    LegacyModule{0x10C9, SecondId::kIgnored, 4, 0, "TOBR-9284", QORX_FEATURE_L_BYPASS},
    LegacyModule{0x1572, SecondId::kIgnored, 4, 0, "WMX-4180/9556/6264", QORX_FEATURE_NONE},
    LegacyModule{0x1572, SecondId::kIgnored, 2, 0, "WMX-9582/5506", QORX_FEATURE_NONE},
    LegacyModule{0x1583, SecondId::kIgnored, 2, 0, "WMX-9605/4840", QORX_FEATURE_NONE},
    LegacyModule{0x1521, SecondId::kPresent, 2, 2, "WMX-1658", QORX_FEATURE_L_BYPASS},
    LegacyModule{0x1522, SecondId::kPresent, 2, 2, "WMX-1658", QORX_FEATURE_L_BYPASS},
    LegacyModule{0x1521, SecondId::kPresent, 4, 4, "WMX-0229/6997", QORX_FEATURE_NONE},
    LegacyModule{0x1522, SecondId::kPresent, 4, 4, "WMX-0229/6997", QORX_FEATURE_NONE},
    LegacyModule{0x1521, SecondId::kAbsent, 4, 0, "WMX-1813/2848/8655", QORX_FEATURE_NONE},
    LegacyModule{0x1521, SecondId::kAbsent, 2, 0, "WMX-6473", QORX_FEATURE_NA},
    LegacyModule{0x1521, SecondId::kAbsent, 8, 0, "WMX-0119/4195/3493", QORX_FEATURE_NONE},
    LegacyModule{0x1522, SecondId::kAbsent, 4, 0, "WMX-2248/3529", QORX_FEATURE_NONE},
    LegacyModule{0x1522, SecondId::kAbsent, 2, 0, "WMX-5068", QORX_FEATURE_NA},
    LegacyModule{0x1522, SecondId::kAbsent, 8, 0, "WMX-6471/4459", QORX_FEATURE_NA},
};

bool fits(const LegacyModule& module, std::uint32_t key, const std::uint32_t* device_ids, const std::uint8_t* counts) {
  const std::uint32_t module_key = std::uint32_t{module.device_id} << 16 | kIntelVendorId;
  if (key != module_key || counts[0] != module.count) {
    return false;
  }
  switch (module.second_id) {
    case SecondId::kAbsent:
      return device_ids[1] == 0;
    case SecondId::kPresent:
      return device_ids[1] != 0 && counts[1] == module.second_count;
    case SecondId::kIgnored:
      break;
  }
  return true;
}

}  // namespace

const char* qorx_get_model_name(std::uint32_t subsys_vendor_id, std::uint32_t subsys_device_id) {
  model_name[0] = '\0';
  for (const SupportedDevice& device : kSupportedDevices) {
    if (device.subsys_device_id == subsys_device_id && device.subsys_vendor_id == subsys_vendor_id) {
      copy_text(model_name, device.model);
      return model_name;
    }
  }
  if (subsys_vendor_id != kMakerVendorId) {
    debug("Unknown subsystem_vendor_id (0x%.4x)\n", subsys_vendor_id);
  } else {
    debug("Unknown subsystem_device_id (0x%.4x)\n", subsys_device_id);
  }
  return model_name;
}

const char* qorx_get_model_name_func_for_legacy(std::uint32_t vendor_id, const std::uint32_t* device_ids,
                                                const std::uint8_t* device_id_counts, std::uint8_t* feature) {
  model_name[0] = '\0';
  *feature = QORX_FEATURE_NONE;
  const std::uint32_t key = device_ids[0] << 16 | vendor_id;
  debug("id (0x%.8x)\n", key);
  if (vendor_id != kIntelVendorId) {
    debug("Unknown vendor_id (0x%.4x)\n", vendor_id);
    return model_name;
  }
  for (const LegacyModule& module : kLegacyModules) {
    if (fits(module, key, device_ids, device_id_counts)) {
      copy_text(model_name, module.model);
      *feature = module.feature;
      break;
    }
  }
  return model_name;
}

}  // namespace qorx
