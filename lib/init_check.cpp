#include "lib/init_check.h"

#include "base/messages.h"
#include "records/state.h"

namespace qorx {

std::int32_t INIT_CHECK() {
  if (g_qorx_init == 0) {
    return 0;
  }
  error("qorx library needs to be initialized before function call.\n");
  return code_byte(QORX_ERR_INIT);
}

}  // namespace qorx
