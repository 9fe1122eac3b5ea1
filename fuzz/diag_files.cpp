// The file pair of -diag, against a plain check of the one and a straight walk over the other.
// Input: options, length of the entry point file, its bytes, the table file's bytes.
#include <vector>

#include "base/messages.h"
#include "fuzz/plain_entry_point.h"
#include "fuzz/support.h"
#include "records/state.h"
#include "smbios/entry_point.h"
#include "smbios/entry_point_check.h"
#include "smbios/structure_table.h"

namespace qorx::fuzz {

namespace {

// The code of the pair; the slots are left in the table.
std::int32_t read_plainly(Bytes entry_file, Bytes table_file) {
  const PlainEntryPoint entry = plain_entry_point(entry_file);
  if (!entry.sound) {
    return code_byte(entry.version == 0 ? kSmbiosNotFound : QORX_ERR_SMBIOS_CHECKSUM);
  }
  const std::int32_t code =
      Parse_struct_table(TableBytes::loaded(table_file, entry.length), static_cast<std::uint32_t>(entry.length));
  if (code == 0) {
    keep_firmware_names();
  }
  return code;
}

void check_designations() {
  for (const SlotRecord& slot : slot_records()) {
    const std::string_view name = slot.slot_name;
    require(name == slot.smbios_slot_name, "a designation starts as the firmware's");
    require(name.empty() || (name.front() != ' ' && name.back() != ' '), "designations are trimmed");
  }
}

}  // namespace

}  // namespace qorx::fuzz

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
  std::int32_t expected_code = 0;
  std::size_t expected = 0;
  {
    const LibraryRun run(0);
    expected_code = read_plainly(entry, input.rest());
    expected = slot_fingerprint();
  }
  const LibraryRun run((options & 6) == 6 ? 2 : 1);
  g_diag = 1;
  const std::int32_t code = qorx::Search_SMBIOS_entry_point(entry_file.path(), table_file.path());
  require_code(code, {qorx::kSmbiosNotFound, QORX_ERR_SMBIOS_CHECKSUM});
  require(code == expected_code, "the pair is refused where a plain check refuses it");
  require(slot_fingerprint() == expected, "the slots are those of a straight walk over the table");
  if (code == 0) {
    check_designations();
  }
  return 0;
}
