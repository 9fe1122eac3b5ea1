// The platform file's second pass: panel names and features of ports.
#ifndef QORX_CONFIG_PLATFORM_FILE_H
#define QORX_CONFIG_PLATFORM_FILE_H

#include <cstdint>

namespace qorx {

// Applies the feature and bus-order lines to the device records, which must be filled and sorted. Changes made
// before an error stay. Codes of read_platform_file.
std::int32_t qorx_check_conf_file(const char* conf_file);

}  // namespace qorx

#endif
