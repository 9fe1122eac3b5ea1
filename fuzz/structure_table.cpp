// The SMBIOS structure table, against a plain walk over the same bytes.
// Input: options, announced length (4 bytes), the bytes that are there.
#include "smbios/structure_table.h"
#include "smbios/entry_point_check.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "base/messages.h"
#include "fuzz/support.h"
#include "records/state.h"

namespace qorx::fuzz {

namespace {

constexpr std::uint32_t kPlainWalkLimit = 1 << 16;
constexpr std::uint32_t kTracedLimit = 1 << 12;

using Raw = std::array<std::uint8_t, QORX_RAW_SIZE>;

// A type 9 or 41 structure: where it begins, its length, and the designation.
struct Structure {
  std::uint64_t offset;
  std::uint64_t length;
  std::string name;
};

Raw copy_structure(const TableBytes& table, const Structure& structure) {
  Raw raw{};
  for (std::size_t i = 0; i < std::min<std::uint64_t>(structure.length, raw.size()); ++i) {
    raw[i] = table.at(structure.offset + i);
  }
  return raw;
}

// String `number` as the tool has always looked it up: 0 keeps the text of the structure before, and every string
// behind the second is found by the length of the one before it alone.
void look_up(const Raw& raw, std::size_t strings, int number, std::string& text) {
  for (std::size_t position = strings; number > 0; --number) {
    text.clear();
    for (std::size_t i = position; i < raw.size() && raw[i] != 0 && text.size() < QORX_NAME_SIZE - 1; ++i) {
      text += static_cast<char>(raw[i]);
    }
    position = strings + text.size() + 1;
  }
}

// The structures that are kept: the first 511 and the last one.
std::vector<Structure> plain_walk(const TableBytes& table, std::uint64_t table_len, std::int32_t& code) {
  std::vector<Structure> kept;
  std::string name;
  std::uint64_t offset = 0;
  do {
    const std::uint64_t strings = offset + table.at(offset + 1);
    std::uint64_t end = strings;
    while (table.at(end) != 0 || table.at(end + 1) != 0) {
      if (++end >= table_len) {
        code = 0x91;
        return kept;
      }
    }
    Structure structure{offset, end + 2 - offset, {}};
    if (table.at(offset) == 9 || table.at(offset) == 41) {
      look_up(copy_structure(table, structure), strings - offset, table.at(offset + 4), name);
      structure.name = name;
      kept.resize(std::min<std::size_t>(kept.size(), QORX_MAX_RECORDS - 1));
      kept.push_back(structure);
    }
    offset = end + 2;
  } while (offset < table_len);
  code = 0;
  return kept;
}

void check_record(const TableBytes& table, const Structure& structure, const SlotRecord& slot) {
  const std::uint8_t type = table.at(structure.offset);
  const std::uint8_t place = table.at(structure.offset + (type == 9 ? 16 : 10));
  require(slot.type == type && slot.length == structure.length % 256, "a record is the structure found");
  require(slot.bus == table.at(structure.offset + (type == 9 ? 15 : 9)), "the bus is the structure's");
  require(slot.dev == place / 8 && slot.fun == place % 8, "device and function are the structure's");
  require(slot.slot_name == structure.name, "the designation is the one the structure's number gives");
  require(std::ranges::equal(slot.raw, copy_structure(table, structure)), "the structure is kept");
}

void check_against_plain_walk(const TableBytes& table, std::uint32_t length, std::int32_t code) {
  std::int32_t plain_code = 0;
  const std::vector<Structure> plain = plain_walk(table, length, plain_code);
  require(code == plain_code, "the code is that of a plain walk");
  require(plain.size() == slot_records().size(), "as many records as in a plain walk");
  for (std::size_t i = 0; i < plain.size(); ++i) {
    check_record(table, plain[i], slot_records()[i]);
  }
}

}  // namespace

}  // namespace qorx::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qorx::fuzz;
  Input input(data, size);
  const std::uint8_t options = input.byte();
  const std::uint32_t announced = input.u32();
  const Bytes bytes = input.rest();
  const auto length = (options & 1) != 0 ? announced : static_cast<std::uint32_t>(bytes.size());
  // Memory is mapped in whole pages, so that a map reaches behind the table.
  const auto table = (options & 2) != 0 ? qorx::TableBytes::mapped(bytes, (std::uint64_t{length} | 0xFFF) + 1)
                                        : qorx::TableBytes::loaded(bytes, length);
  const auto parse = [&] {
    const std::int32_t code = qorx::Parse_struct_table(table, length);
    require_code(code, {qorx::kSmbiosNotFound});
    if (length <= kPlainWalkLimit) {
      check_against_plain_walk(table, length, code);
    }
    return code;
  };
  if ((options & 0x10) != 0 && length <= kTracedLimit) {
    run_at_both_levels(parse);
  } else {
    const LibraryRun run(1);
    parse();
  }
  return 0;
}
