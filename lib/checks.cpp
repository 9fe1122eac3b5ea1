#include "lib/checks.h"

#include "base/messages.h"
#include "base/print.h"
#include "base/system_root.h"
#include "records/state.h"

namespace qorx {

std::int32_t check_environment() {
  look_at_standard_output();
  for (const char* const path : {"/sys/class/net", "/sys/devices/pci0000:00"}) {
    if (!is_system_directory(path)) {
      report_inaccessible_folder(path);
      return QORX_ERR_OPEN_DIR;
    }
    debug("Folder %s exist\n", path);
  }
  return 0;
}

std::int32_t INIT_CHECK() {
  look_at_standard_output();
  if (g_qorx_init == 0) {
    return 0;
  }
  error("qorx library needs to be initialized before function call.\n");
  return code_byte(QORX_ERR_INIT);
}

}  // namespace qorx
