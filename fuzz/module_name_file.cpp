// The module name file, -sys_WMX_cfg, and the models it leads to. Input: its text.
#include "config/stages.h"

#include <cstring>

#include "base/bounded_text.h"
#include "fuzz/support.h"
#include "ident/final_model.h"
#include "records/state.h"

namespace qorx::fuzz {

namespace {

// The lists of candidates that the legacy modules have, and models that are none.
constexpr const char* kModels[] = {
    "WMX-1813/2848/8655",
    "WMX-0119/4195/3493",
    "TOBR-4180/WMX-1280/9243",
    "WMX-4180/9556/6264",
    "WMX-9605/4840",
    "WMX-6473",
    "WMX-44C0",
    "",
};

void fill_ports() {
  for (const char* const model : kModels) {
    for (std::uint8_t fun = 0; fun < 2; ++fun) {
      DeviceRecord& record = fresh_device_record(qorx_system_environment_info.eth_device_number++);
      copy_text(record.model, model);
      copy_text(record.slot_name, "WMX Slot 1");
      record.fun = fun;
      record.smbios_type = QORX_SMBIOS_SYSTEM_SLOT;
    }
  }
}

}  // namespace

}  // namespace qorx::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qorx::fuzz;
  static ScratchFile file("wmx_name.cfg");
  file.write({data, size});
  run_at_both_levels([] {
    fill_ports();
    const std::int32_t code = qorx::qorx_check_WMX_name_file(file.path());
    require_code(code, {QORX_ERR_CONF_FILE_FORMAT});
    for (const qorx::DeviceRecord& record : qorx::device_records()) {
      const bool has_candidates = std::strlen(record.model) > std::strlen("WMX-2848");
      require(has_candidates || record.module_name_count == 0, "only a list of candidates is narrowed down");
      require(record.module_name_count != 0 || record.feature == 0, "a feature comes with a name");
    }
    require(qorx::qorx_assign_final_model_name() == 0, "final models can't fail");
    return code;
  });
  return 0;
}
