// qorx_open: the whole identification, stage by stage; and qorx_close.
#include <array>

#include "base/messages.h"
#include "base/shortage.h"
#include "config/stages.h"
#include "discovery/interface_scan.h"
#include "discovery/topology.h"
#include "ident/final_model.h"
#include "lib/checks.h"
#include "lib/version.h"
#include "output/bypass_segments.h"
#include "records/state.h"
#include "smbios/entry_point.h"
#include "smbios/override_file.h"
#include "smbios/system_info.h"

namespace qorx {

namespace {

// Slot records from exactly one source. A machine without SMBIOS simply has none, so that search can't fail.
std::int32_t load_slot_records() {
  if (g_diag != 0) {
    static_cast<void>(Search_SMBIOS_entry_point(g_entry_point_file, g_dmi_file));
  } else if (g_smbios_flag != 0) {
    return Search_SMBIOS_cfg(g_smbios_file_name);
  } else if (g_vm_bypass == 0) {
    static_cast<void>(Search_SMBIOS_entry_point(nullptr, nullptr));
  }
  return 0;
}

std::int32_t apply_module_names() {
  return g_WMX_name_flag != 0 ? qorx_check_WMX_name_file(g_WMX_name_file_name) : 0;
}

// A stage of the identification, run where its option (if it has one) is set.
struct Stage {
  std::int32_t (*run)();
  const std::int32_t* option = nullptr;
};

constexpr std::array kStages{
    Stage{check_environment},
    Stage{clear_tables},
    Stage{load_slot_records},
    Stage{[] { return qorx_check_conf_file_SW(g_config_file_name); }, &g_config_flag},
    Stage{get_all_eth_devices_info},
    Stage{[] { return qorx_check_conf_file(g_config_file_name); }, &g_config_flag},
    Stage{qorx_handle_multi_root},
    Stage{qorx_handle_legacy_WMX, &g_legacy_flag},
    Stage{apply_module_names, &g_legacy_flag},
    Stage{qorx_assign_final_model_name},
    Stage{qorx_assign_final_panel_name},
    Stage{qorx_handle_hybrid_WMX},
    Stage{qorx_assign_bypass_seg},
    Stage{qorx_get_system_info},
};

}  // namespace

}  // namespace qorx

// Runs the stages in their order, up to the first that fails, or that might have said something else with more
// descriptors or memory.
std::int32_t qorx_open() {
  using namespace qorx;
  g_qorx_init = -1;
  for (const Stage& stage : kStages) {
    const bool is_wanted = stage.option == nullptr || *stage.option != 0;
    const std::uint8_t code = is_wanted ? code_byte(stage.run()) : std::uint8_t{0};
    if (take_shortage()) {
      return code_byte(QORX_ERR_OPEN_FILE);
    }
    if (code != 0) {
      return code;
    }
  }
  g_qorx_init = 0;
  return 0;
}

std::int32_t qorx_close() {
  using namespace qorx;
  const std::int32_t code = INIT_CHECK();
  g_qorx_init = -1;
  return code;
}

std::int32_t qorx_get_lib_version(std::uint8_t* major, std::uint8_t* minor) {
  using namespace qorx;
  if (major == nullptr || minor == nullptr) {
    error("Error: *major, *minor is NULL pointer\n");
    return code_byte(QORX_ERR_PARAM_NULL_POINTER);
  }
  *major = kLibraryVersion.major;
  *minor = kLibraryVersion.minor;
  return 0;
}
