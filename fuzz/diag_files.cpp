// The file pair of -diag. Input: options, length of the entry point file, its bytes, the table file's bytes.
#include <string>

#include "base/messages.h"
#include "fuzz/support.h"
#include "records/state.h"
#include "smbios/entry_point.h"
#include "smbios/entry_point_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qorx::fuzz;
  static ScratchFile entry_file("entry");
  static ScratchFile table_file("table");
  Input input(data, size);
  const std::uint8_t options = input.byte();
  const Bytes entry_bytes = input.take(input.byte());
  std::vector<std::uint8_t> entry(entry_bytes.begin(), entry_bytes.end());
  if ((options & 1) != 0) {
    repair_checksums(entry);
  }
  entry_file.write(entry);
  table_file.write(input.rest());

  const LibraryRun run((options & 6) == 6 ? 2 : 1);
  g_diag = 1;
  const std::int32_t code = qorx::Search_SMBIOS_entry_point(entry_file.path(), table_file.path());
  require_code(code, {qorx::kSmbiosNotFound, QORX_ERR_SMBIOS_CHECKSUM});
  for (const qorx::SlotRecord& slot : qorx::slot_records()) {
    const std::string name = slot.slot_name;
    require(code != 0 || name == slot.smbios_slot_name, "a designation starts as the firmware's");
    require(code != 0 || name.empty() || (name.front() != ' ' && name.back() != ' '), "designations are trimmed");
  }
  return 0;
}
