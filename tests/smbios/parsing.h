// Walking a table built in memory.
#ifndef QORX_TESTS_SMBIOS_PARSING_H
#define QORX_TESTS_SMBIOS_PARSING_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "records/state.h"
#include "smbios/structure_table.h"
#include "tests/support/expect.h"
#include "tests/support/smbios_builder.h"

namespace qorx::test {

inline std::span<const std::uint8_t> as_bytes(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

// Walks the file content `file`, of which the entry point announces `table_len` bytes.
inline std::int32_t parse(const std::string& file, std::uint32_t table_len) {
  // Just the bytes, in memory of their own, so that a read past them is noticed.
  const std::vector<std::uint8_t> exact(file.begin(), file.end());
  return Parse_struct_table(TableBytes::loaded(exact, table_len), table_len);
}

// Walks a whole table.
inline std::int32_t parse(const SmbiosTable& table) {
  return parse(table.bytes(), static_cast<std::uint32_t>(table.bytes().size()));
}

// Codes of a search, and what is said with them.
inline constexpr std::int32_t kNotFound = 0x91;
inline constexpr std::int32_t kChecksum = 0x92;
inline constexpr std::int32_t kNoMap = 0x97;
inline const Outcome kNothing{"", kNotFound};
inline const Outcome kAbnormal{"SMBIOS structure abnormal! NO valid slot name and panel name can be shown!\n",
                               kNotFound};
inline const Outcome kWrongSum2{"SMBIOS entry point structure checksum is NOT 0!\n", kChecksum};
inline const Outcome kWrongIntermediate{"SMBIOS entry point structure intermediate checksum is NOT 0!\n", kChecksum};
inline const Outcome kWrongSum3{"SMBIOS3 entry point structure checksum is NOT 0!\n", kChecksum};

// The bytes with one of them a little bigger.
inline std::string spoiled(std::string bytes, std::size_t at) {
  bytes[at] = static_cast<char>(bytes[at] + 1);
  return bytes;
}

// The slot names of the valid slot records.
inline Texts names() {
  return texts_of(slot_records(), &SlotRecord::slot_name);
}

}  // namespace qorx::test

#endif
