// Finding records by name without comparing every name: one 32-bit fingerprint per record, kept together.
//
// Several stages join the two tables by slot name, 512 by 512 at most. The names lie 2 KB apart in memory;
// comparing fingerprints first touches 2 KB in all and keeps those joins out of the profile.
#ifndef QORX_LIB_NAME_COLUMN_H
#define QORX_LIB_NAME_COLUMN_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "lib/state.h"

namespace qorx {

// What a search without a result returns.
inline constexpr std::size_t kNoRecord = kMaxRecords;

template <typename Record>
class NameColumn {
 public:
  using Field = char (Record::*)[QORX_NAME_SIZE];

  // Covers `records` (the front of a table) by their text `field`.
  NameColumn(std::span<Record> records, Field field) : field_(field) { cover(records); }

  // Call this when the table has grown or shrunk,
  void cover(std::span<Record> records) {
    const std::size_t known = records_.size();
    records_ = records;
    for (std::size_t i = known; i < records_.size(); ++i) {
      renew(i);
    }
  }

  // and this when a covered record's text has changed.
  void renew(std::size_t index) {
    if (index < records_.size()) {
      prints_[index] = fingerprint(name(index));
    }
  }

  // Index of the first record at or behind `from` whose text equals `wanted`; kNoRecord when there is none.
  [[nodiscard]] std::size_t find(std::string_view wanted, std::size_t from = 0) const {
    const std::uint32_t print = fingerprint(wanted);
    for (std::size_t i = from; i < records_.size(); ++i) {
      if (prints_[i] == print && name(i) == wanted) {
        return i;
      }
    }
    return kNoRecord;
  }

 private:
  [[nodiscard]] std::string_view name(std::size_t index) const { return records_[index].*field_; }

  // FNV-1a, 32 bits.
  static std::uint32_t fingerprint(std::string_view text) {
    std::uint32_t hash = 2166136261U;
    for (const char byte : text) {
      hash = (hash ^ static_cast<std::uint8_t>(byte)) * 16777619U;
    }
    return hash;
  }

  std::span<Record> records_;
  Field field_;
  std::array<std::uint32_t, kMaxRecords> prints_;  // only the covered records' entries are set
};

}  // namespace qorx

#endif
