#include "tests/support/reset_library.h"

#include <cstring>

#include "base/messages.h"
#include "ident/model_lookup.h"
#include "ident/supported_devices.h"
#include "records/state.h"

namespace qorx::test {

void reset_library() {
  clear_tables();
  for (std::int32_t* const flag : {&g_config_flag, &g_legacy_flag, &g_WMX_name_flag, &g_smbios_flag, &g_diag,
                                   &g_force_flag, &g_sort_slotname, &g_vm_bypass, &g_novlan}) {
    *flag = 0;
  }
  for (char* const name :
       {g_config_file_name, g_WMX_name_file_name, g_smbios_file_name, g_entry_point_file, g_dmi_file}) {
    std::memset(name, 0, QORX_NAME_SIZE);
  }
  g_qorx_init = -1;
  g_x86_i2c_root_port_number = -1;
  wrong_seg_flag = 0;
  g_error_message_open = 1;
  g_debug_message_open = 0;
  model_name[0] = '\0';
  Velmora_sub_id_number = 0;
  std::memset(DEVICE_MAPPING, 0, sizeof DEVICE_MAPPING);
}

}  // namespace qorx::test
