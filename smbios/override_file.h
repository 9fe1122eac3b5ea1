// The SMBIOS override file: slot records typed by hand, for machines whose firmware has none that are usable.
#ifndef QORX_SMBIOS_OVERRIDE_FILE_H
#define QORX_SMBIOS_OVERRIDE_FILE_H

#include <cstdint>

namespace qorx {

// Replaces the slot records by those of the file. Returns 0, or QORX_ERR_PARAM_NULL_POINTER, QORX_ERR_OPEN_FILE or
// QORX_ERR_CONF_FILE_FORMAT as a byte; records read before an error stay.
std::int32_t Search_SMBIOS_cfg(const char* file);

}  // namespace qorx

#endif
