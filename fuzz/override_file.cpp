// The SMBIOS override file, -smbios_cfg. Input: its text.
#include "smbios/override_file.h"

#include <cstring>

#include "fuzz/support.h"
#include "records/state.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qorx::fuzz;
  static ScratchFile file("smbios.cfg");
  file.write({data, size});
  const std::int32_t code = run_at_both_levels([] {
    const std::int32_t result = qorx::Search_SMBIOS_cfg(file.path());
    require_code(result, {QORX_ERR_CONF_FILE_FORMAT});
    for (const qorx::SlotRecord& slot : qorx::slot_records()) {
      require(slot.type == 9 || slot.type == 41, "a slot record is a slot or an onboard device");
      require(slot.slot_name[0] != '\0', "every record of the file has a name");
      require(std::strcmp(slot.slot_name, slot.smbios_slot_name) == 0, "and starts with it as the firmware's");
    }
    require(result != 0 || !qorx::slot_records().empty(), "a file without a record is an error");
    return result;
  });
  require(code != 0 || size != 0, "an empty file is an error");
  return 0;
}
