// The SMBIOS entry point: checked directly, or found in the legacy BIOS area of a machine's memory with its table.
// Input: options, position in the area (2 bytes, in steps of 16), the bytes there.
#include "smbios/entry_point.h"
#include "smbios/entry_point_check.h"

#include "base/messages.h"
#include "fuzz/support.h"
#include "lib/qorx.h"

namespace qorx::fuzz {

namespace {

constexpr long kLegacyArea = 0xF0000;
constexpr std::int32_t kNoSystab = -1;

std::uint8_t plain_sum(Bytes bytes, std::size_t first, std::size_t last) {
  unsigned sum = 0;
  for (std::size_t i = first; i <= last && i < bytes.size(); ++i) {
    sum += bytes[i];
  }
  return static_cast<std::uint8_t>(sum);
}

void check_directly(Bytes bytes) {
  const LibraryRun run(1);
  EntryPoint entry;
  const std::int32_t code = Check_SMBIOS_entry_point(ByteView(bytes), entry);
  const std::string_view text = as_text(bytes);
  const int version = text.starts_with("_SM_") ? 2 : text.starts_with("_SM3_") ? 3 : 0;
  const bool sound =
      version == 2 ? plain_sum(bytes, 0, 30) == 0 && plain_sum(bytes, 16, 30) == 0 : plain_sum(bytes, 0, 23) == 0;
  require(entry.version == version, "the anchor decides the version");
  require(code == code_byte(version == 0 ? kSmbiosNotFound
                            : sound      ? 0
                                         : QORX_ERR_SMBIOS_CHECKSUM),
          "an entry point is taken when its sums are 0");
}

}  // namespace

}  // namespace qorx::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qorx::fuzz;
  Input input(data, size);
  const std::uint8_t options = input.byte();
  const long position = 16L * (input.u16() % 4096);
  std::vector<std::uint8_t> bytes(input.rest().begin(), input.rest().end());
  bytes.shrink_to_fit();
  if ((options & 1) != 0) {
    repair_checksums(bytes);
  }
  if ((options & 2) == 0) {
    check_directly(bytes);
    return 0;
  }
  static ScratchFile memory("root/dev/mem");
  memory.write(bytes, kLegacyArea + position);
  const LibraryRun run((options & 12) == 12 ? 2 : 1);
  require_code(qorx::Search_SMBIOS_entry_point(nullptr, nullptr), {kNoSystab});
  return 0;
}
