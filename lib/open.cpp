// qorx_open: the whole identification, stage by stage; and qorx_close.
#include "base/messages.h"
#include "config/hybrid_modules.h"
#include "config/legacy_modules.h"
#include "config/module_name_file.h"
#include "config/panel_names.h"
#include "config/platform_file.h"
#include "config/switch_lines.h"
#include "discovery/interface_scan.h"
#include "discovery/topology.h"
#include "ident/final_model.h"
#include "lib/environment.h"
#include "lib/init_check.h"
#include "output/bypass_segments.h"
#include "records/state.h"
#include "smbios/entry_point.h"
#include "smbios/override_file.h"
#include "smbios/system_info.h"

namespace qorx {

namespace {

constexpr std::uint8_t kVersionMajor = 1;
constexpr std::uint8_t kVersionMinor = 36;

// Slot records from exactly one source. A machine without SMBIOS simply has none, so that search can't fail.
std::uint8_t load_slot_records() {
  if (g_diag != 0) {
    static_cast<void>(Search_SMBIOS_entry_point(g_entry_point_file, g_dmi_file));
  } else if (g_smbios_flag != 0) {
    return code_byte(Search_SMBIOS_cfg(g_smbios_file_name));
  } else if (g_vm_bypass == 0) {
    static_cast<void>(Search_SMBIOS_entry_point(nullptr, nullptr));
  }
  return 0;
}

std::uint8_t apply_switch_lines() {
  return g_config_flag != 0 ? code_byte(qorx_check_conf_file_SW(g_config_file_name)) : std::uint8_t{0};
}

std::uint8_t apply_platform_file() {
  return g_config_flag != 0 ? code_byte(qorx_check_conf_file(g_config_file_name)) : std::uint8_t{0};
}

std::uint8_t name_legacy_modules() {
  if (g_legacy_flag == 0) {
    return 0;
  }
  static_cast<void>(qorx_handle_legacy_WMX());
  return g_WMX_name_flag != 0 ? code_byte(qorx_check_WMX_name_file(g_WMX_name_file_name)) : std::uint8_t{0};
}

std::uint8_t scan_interfaces() {
  return code_byte(get_all_eth_devices_info());
}

std::uint8_t merge_multi_root_slots() {
  static_cast<void>(qorx_handle_multi_root());
  return 0;
}

std::uint8_t environment() {
  return code_byte(check_environment());
}

}  // namespace

}  // namespace qorx

std::int32_t qorx_open() {
  using namespace qorx;
  g_qorx_init = -1;
  if (const std::uint8_t code = environment(); code != 0) {
    return code;
  }
  clear_tables();
  for (const auto stage : {load_slot_records, apply_switch_lines, scan_interfaces, apply_platform_file,
                           merge_multi_root_slots, name_legacy_modules}) {
    if (const std::uint8_t code = stage(); code != 0) {
      return code;
    }
  }
  static_cast<void>(qorx_assign_final_model_name());
  static_cast<void>(qorx_assign_final_panel_name());
  static_cast<void>(qorx_handle_hybrid_WMX());
  static_cast<void>(qorx_assign_bypass_seg());
  static_cast<void>(qorx_get_system_info());
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
  *major = kVersionMajor;
  *minor = kVersionMinor;
  return 0;
}
