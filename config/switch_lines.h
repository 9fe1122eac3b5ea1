// The platform file's first pass: slots that the firmware names wrongly, and the ports of PCIe switches.
#ifndef QORX_CONFIG_SWITCH_LINES_H
#define QORX_CONFIG_SWITCH_LINES_H

#include <cstdint>

namespace qorx {

// Applies the rename and switch lines to the slot records, before the interfaces are scanned. Every block must name
// a slot record. Changes made before an error stay. Codes of read_platform_file.
std::int32_t qorx_check_conf_file_SW(const char* conf_file);

}  // namespace qorx

#endif
