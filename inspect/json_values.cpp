#include "inspect/json_values.h"

namespace qorx::inspect {

Json id_value(std::uint32_t id) {
  const OptionalText text = id_text(id);
  return text ? Json(*text) : Json();
}

Json place_value(std::uint8_t smbios_type) {
  switch (smbios_type) {
    case QORX_SMBIOS_SYSTEM_SLOT:
      return "system_slot";
    case QORX_SMBIOS_ONBOARD_DEVICE:
      return "onboard_device";
    default:
      return nullptr;
  }
}

}  // namespace qorx::inspect
