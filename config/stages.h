// What the text files and the rules of the modules change: this room's stages, in the order in which qorx_open runs
// them. Codes are bytes. Changes made before an error stay.
#ifndef QORX_CONFIG_STAGES_H
#define QORX_CONFIG_STAGES_H

#include <cstdint>

namespace qorx {

// The platform file's first pass, before the interfaces are scanned: applies the rename and switch lines to the slot
// records. Every block must name one. Codes of read_platform_file.
std::int32_t qorx_check_conf_file_SW(const char* conf_file);

// The platform file's second pass: applies the feature and bus-order lines to the device records, which must be filled
// and sorted. Codes of read_platform_file.
std::int32_t qorx_check_conf_file(const char* conf_file);

// Modules without usable subsystem ids: names every slot's module by the PCI devices behind it, and with it the ports
// that have no model yet. Returns 0.
std::int32_t qorx_handle_legacy_WMX();

// The module name file: records, for every port with a list of candidates, which of them the file names, and their
// feature. A null name reads nothing. Returns 0, QORX_ERR_OPEN_FILE or QORX_ERR_CONF_FILE_FORMAT.
std::int32_t qorx_check_WMX_name_file(const char* name_file);

// Gives every port that has a slot and no panel name a default, marked "(*)". Returns 0.
std::int32_t qorx_assign_final_panel_name();

// Takes the feature from the fibre ports of hybrid modules, whose copper ports have bypass, whatever was configured
// for them. Returns 0.
std::int32_t qorx_handle_hybrid_WMX();

}  // namespace qorx

#endif
