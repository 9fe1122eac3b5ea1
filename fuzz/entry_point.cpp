// The SMBIOS entry point: checked directly, or found in the legacy BIOS area of a machine's memory with its table.
// Input: options, position in the area (2 bytes, in steps of 16), the bytes there.
#include "smbios/entry_point.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "base/messages.h"
#include "fuzz/plain_entry_point.h"
#include "fuzz/support.h"
#include "lib/qorx.h"
#include "smbios/entry_point_check.h"
#include "smbios/structure_table.h"

namespace qorx::fuzz {

namespace {

constexpr std::size_t kLegacyArea = 0xF0000;
constexpr std::uint64_t kPage = 0x1000;
constexpr std::int32_t kNoSystab = -1;

void check_directly(Bytes bytes) {
  const LibraryRun run(1);
  const PlainEntryPoint plain = plain_entry_point(bytes);
  EntryPoint entry;
  const std::int32_t code = Check_SMBIOS_entry_point(ByteView(bytes), entry);
  require(entry.version == plain.version, "the anchor decides the version");
  require(code == code_byte(plain.version == 0 ? kSmbiosNotFound
                            : plain.sound      ? 0
                                               : QORX_ERR_SMBIOS_CHECKSUM),
          "an entry point is taken when its sums are 0");
  require(code != 0 || (entry.table_length == plain.length && entry.table_address == plain.address),
          "length and address are those of its version");
}

// Parses the table that an entry point announces, straight from the memory as far as it goes. False where that fails.
bool parse_plainly(Bytes memory, const PlainEntryPoint& entry) {
  const std::uint64_t mapped = entry.address % kPage + entry.length;
  if (mapped == 0 || entry.address > std::numeric_limits<std::int64_t>::max() - mapped - kPage) {
    return false;
  }
  // Whole pages are mapped.
  const std::uint64_t extent = (mapped + kPage - 1) / kPage * kPage - entry.address % kPage;
  const Bytes behind = memory.subspan(std::min<std::uint64_t>(entry.address, memory.size()));
  const Bytes table = behind.first(std::min<std::uint64_t>(behind.size(), extent));
  const auto bytes =
      table.size() >= entry.length ? TableBytes::mapped(table, extent) : TableBytes::loaded(table, entry.length);
  if (Parse_struct_table(bytes, static_cast<std::uint32_t>(entry.length)) != 0) {
    return false;
  }
  keep_firmware_names();
  return true;
}

// The first sound entry point on a 16-byte boundary of the area decides.
bool read_plainly(Bytes memory) {
  const Bytes area = memory.subspan(kLegacyArea).first(std::min<std::size_t>(memory.size() - kLegacyArea, 0x10000));
  for (std::size_t offset = 0; offset <= 0xFFE0 && offset < area.size(); offset += 16) {
    if (const PlainEntryPoint entry = plain_entry_point(area.subspan(offset)); entry.sound) {
      return parse_plainly(memory, entry);
    }
  }
  return false;
}

// Through the search, and straight: the same slots.
void check_in_memory(Bytes bytes, std::size_t position, int message_level) {
  static ScratchFile memory("root/dev/mem");
  memory.write(bytes, static_cast<long>(kLegacyArea + position));
  std::vector<std::uint8_t> image(kLegacyArea + position + bytes.size());
  std::ranges::copy(bytes, image.begin() + static_cast<std::ptrdiff_t>(kLegacyArea + position));
  std::size_t expected = 0;
  bool found = false;
  {
    const LibraryRun run(0);
    found = read_plainly(image);
    expected = slot_fingerprint();
  }
  const LibraryRun run(message_level);
  const std::int32_t code = Search_SMBIOS_entry_point(nullptr, nullptr);
  require_code(code, {kNoSystab});
  require((code == 0) == found, "the first sound entry point of the area is taken, and no other");
  require(!found || slot_fingerprint() == expected, "the slots are those of its table");
}

}  // namespace

}  // namespace qorx::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qorx::fuzz;
  Input input(data, size);
  const std::uint8_t options = input.byte();
  const std::size_t position = std::size_t{16} * (input.u16() % 4096);
  std::vector<std::uint8_t> bytes(input.rest().begin(), input.rest().end());
  bytes.shrink_to_fit();
  if ((options & 1) != 0) {
    repair_checksums(bytes);
  }
  if ((options & 2) == 0) {
    check_directly(bytes);
  } else {
    check_in_memory(bytes, position, (options & 12) == 12 ? 2 : 1);
  }
  return 0;
}
