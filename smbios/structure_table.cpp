#include "smbios/structure_table.h"

#include <algorithm>
#include <array>

#include "base/bounded_text.h"
#include "base/byte_view.h"
#include "base/messages.h"
#include "ident/strings.h"
#include "records/state.h"
#include "smbios/entry_point_check.h"

namespace qorx {

namespace {

constexpr std::uint64_t kNoEnd = 0;

// How many empty structures behind the loaded bytes are traced one by one: all of any version 2 table.
constexpr std::uint64_t kTracedEmptyStructures = 65536;
constexpr std::uint64_t kEmptyStructureLength = 2;  // type 0, length 0: nothing but the two closing NULs

using Designation = char[QORX_NAME_SIZE];

// Total length of the structure at `offset`: formatted area, strings, two NULs. kNoEnd when the table ends first.
// The NULs are looked for before the end of the table is, so a structure at its very end is still found.
std::uint64_t structure_length(const TableBytes& table, std::uint64_t offset, std::uint32_t table_len) {
  const std::uint64_t strings = offset + table.at(offset + kStructureLength);
  for (std::uint64_t j = 0;; ++j) {
    const std::uint64_t i = strings + j;
    if (table.at(i) == 0 && table.at(i + 1) == 0) {
      debug("j 0x%.2x\n", static_cast<unsigned>(j));
      return strings - offset + j + 2;
    }
    if (i + 1 >= table_len) {
      error("SMBIOS structure abnormal! NO valid slot name and panel name can be shown!\n");
      return kNoEnd;
    }
  }
}

// Reads the designation into `text`. Deliberate: the position of the next string is counted from the start of the
// string set, not from the string before it, so strings 1 and 2 are found and higher numbers give what lies at (length
// of the string before + 1); and number 0 leaves `text` as the record before it had it.
void read_designation(ByteView strings, std::uint8_t number, Designation& text) {
  std::size_t position = 0;
  for (int i = 0; i < number; ++i) {
    std::size_t length = 0;
    while (length < sizeof text - 1 && strings.u8(position + length) != 0) {
      text[length] = static_cast<char>(strings.u8(position + length));
      ++length;
    }
    text[length] = '\0';
    position = length + 1;
  }
}

void store_record(const TableBytes& table, std::uint64_t offset, std::uint64_t length, Designation& designation) {
  std::uint32_t& count = qorx_system_environment_info.eth_smbios_t9_t41_number;
  // Every structure behind the 512th overwrites the last record.
  count = std::min<std::uint32_t>(count, kMaxRecords - 1);
  SlotRecord& record = fresh_slot_record(count);
  const auto kept = static_cast<std::size_t>(std::min<std::uint64_t>(length, sizeof record.raw));
  table.copy(offset, std::span(record.raw).first(kept));
  record.length = static_cast<std::uint8_t>(length);
  record.type = table.at(offset + kStructureType);
  const bool is_slot = record.type == QORX_SMBIOS_SYSTEM_SLOT;
  // A structure older than SMBIOS 2.6 has no address fields; what lies there is taken.
  const std::uint8_t device_function = table.at(offset + (is_slot ? kSlotDeviceFunction : kOnboardDeviceFunction));
  record.bus = table.at(offset + (is_slot ? kSlotBus : kOnboardBus));
  record.dev = device_function >> 3;
  record.fun = device_function & 0x07;
  record.str_index = table.at(offset + kStructureDesignation);
  const ByteView raw(std::span(record.raw).first(kept));
  read_designation(raw.from(table.at(offset + kStructureLength)), record.str_index, designation);
  copy_text(record.slot_name, designation);
  ++count;
}

// Number of empty structures from `offset` that need not be walked one by one: behind the present bytes there is
// nothing but zeros, and a table that announces 4 GB must not take 2 billion steps.
std::uint64_t skippable_structures(const TableBytes& table, std::uint64_t offset, std::uint32_t table_len) {
  if (offset < table.present() || offset >= table_len || offset >= table.extent()) {
    return 0;
  }
  const std::uint64_t to_end = (table_len - offset + kEmptyStructureLength - 1) / kEmptyStructureLength;
  return std::min(to_end, (table.extent() - offset) / kEmptyStructureLength);
}

// As if they had been walked.
void trace_empty_structures(std::uint64_t count) {
  for (std::uint64_t i = 0; debugging() && i < std::min(count, kTracedEmptyStructures); ++i) {
    debug("type 0\nstr_offset 0x00\nj 0x00\nlength 0x%.2x\n", static_cast<unsigned>(kEmptyStructureLength));
  }
}

// More zeros than this at the end of a table are those of a device that never ends.
constexpr std::size_t kLongZeros = std::size_t{1} << 20;

}  // namespace

// Zeros at the end are what counts behind the bytes anyway. Many of them are left out, and so not walked one by one.
std::span<const std::uint8_t> TableBytes::without_long_zeros(std::span<const std::uint8_t> bytes) {
  std::size_t size = bytes.size();
  while (size != 0 && bytes[size - 1] == 0) {
    --size;
  }
  return bytes.size() - size > kLongZeros ? bytes.first(size) : bytes;
}

std::int32_t Parse_struct_table(const TableBytes& table, std::uint32_t table_len) {
  qorx_system_environment_info.eth_smbios_t9_t41_number = 0;
  Designation designation{};
  std::uint64_t offset = 0;
  do {
    if (const std::uint64_t skippable = skippable_structures(table, offset, table_len); skippable != 0) {
      trace_empty_structures(skippable);
      offset += skippable * kEmptyStructureLength;
      continue;
    }
    const std::uint8_t type = table.at(offset + kStructureType);
    debug("type %d\n", type);
    debug("str_offset 0x%.2x\n", table.at(offset + kStructureLength));
    const std::uint64_t length = structure_length(table, offset, table_len);
    if (length == kNoEnd) {
      return code_byte(kSmbiosNotFound);
    }
    if (type == QORX_SMBIOS_SYSTEM_SLOT || type == QORX_SMBIOS_ONBOARD_DEVICE) {
      store_record(table, offset, length, designation);
    }
    debug("length 0x%.2x\n", static_cast<unsigned>(length));
    offset += length;
  } while (offset < table_len);
  debug("sum %u\n", static_cast<unsigned>(offset));
  if (offset > table_len) {
    debug("WARNING:sum %u is bigger than table_len %u!\n", static_cast<unsigned>(offset), table_len);
  }
  return 0;
}

void keep_firmware_names() {
  debug("qorx_system_environment_info.eth_smbios_t9_t41_number %d\n",
        static_cast<int>(qorx_system_environment_info.eth_smbios_t9_t41_number));
  for (SlotRecord& slot : slot_records()) {
    str_eliminate_header_space(slot.slot_name);
    str_eliminate_end_space(slot.slot_name);
    copy_text(slot.smbios_slot_name, slot.slot_name);
    if (debugging()) {
      debug("%s\n", slot.smbios_slot_name);
      debug("bus %x dev %x fun %x\n", slot.bus, slot.dev, slot.fun);
    }
  }
}

}  // namespace qorx
