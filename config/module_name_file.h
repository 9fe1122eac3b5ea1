// The module name file: which of the possible models of a legacy module are really fitted.
#ifndef QORX_CONFIG_MODULE_NAME_FILE_H
#define QORX_CONFIG_MODULE_NAME_FILE_H

#include <cstdint>

namespace qorx {

// Records, for every port with a list of candidates, which of them the file names, and their feature. A null name
// reads nothing. Returns 0, or QORX_ERR_OPEN_FILE or QORX_ERR_CONF_FILE_FORMAT as a byte; changes made before an
// error stay.
std::int32_t qorx_check_WMX_name_file(const char* name_file);

}  // namespace qorx

#endif
