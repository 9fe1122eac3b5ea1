// Finding records by name without comparing every name: a hash index over one text field of a table.
//
// Several stages join the two tables by slot name, 512 by 512 at most. The names lie 2 KB apart in memory; this index
// keeps those joins out of the profile. Records of one bucket are chained in table order, since it is always the first
// record with a name that counts.
#ifndef QORX_RECORDS_NAME_COLUMN_H
#define QORX_RECORDS_NAME_COLUMN_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "records/state.h"

namespace qorx {

// What a search without a result returns.
inline constexpr std::size_t kNoRecord = kMaxRecords;

template <typename Record>
class NameColumn {
 public:
  using Field = char (Record::*)[QORX_NAME_SIZE];

  // Covers `records` (the front of a table) by their text `field`.
  NameColumn(std::span<Record> records, Field field) : field_(field) {
    first_.fill(kEnd);
    cover(records);
  }

  // Call this when the table has grown or shrunk,
  void cover(std::span<Record> records) {
    while (covered_ > records.size()) {
      unlink(--covered_);
    }
    records_ = records;
    while (covered_ < records.size()) {
      link(covered_++);
    }
  }

  // and this when a covered record's text has changed.
  void renew(std::size_t index) {
    if (index < covered_) {
      unlink(index);
      link(index);
    }
  }

  // Index of the first record whose text equals `wanted`; kNoRecord when there is none.
  [[nodiscard]] std::size_t find(std::string_view wanted) const {
    const std::uint32_t print = fingerprint(wanted);
    for (std::size_t i = first_[print % kBuckets]; i != kEnd; i = next_[i]) {
      if (prints_[i] == print && wanted == records_[i].*field_) {
        return i;
      }
    }
    return kNoRecord;
  }

  // The next record with the same text as the one at `index`; kNoRecord when there is none. Ask before that one's text
  // is changed.
  [[nodiscard]] std::size_t find_next(std::size_t index) const {
    for (std::size_t i = next_[index]; i != kEnd; i = next_[i]) {
      if (prints_[i] == prints_[index] && std::string_view(records_[i].*field_) == records_[index].*field_) {
        return i;
      }
    }
    return kNoRecord;
  }

 private:
  static constexpr std::size_t kBuckets = 1024;
  static constexpr std::uint16_t kEnd = kMaxRecords;

  // FNV-1a, 32 bits.
  static std::uint32_t fingerprint(std::string_view text) {
    std::uint32_t hash = 2166136261U;
    for (const char byte : text) {
      hash = (hash ^ static_cast<std::uint8_t>(byte)) * 16777619U;
    }
    return hash;
  }

  void link(std::size_t index) {
    prints_[index] = fingerprint(records_[index].*field_);
    std::uint16_t* place = &first_[prints_[index] % kBuckets];
    while (*place < index) {
      place = &next_[*place];
    }
    next_[index] = *place;
    *place = static_cast<std::uint16_t>(index);
  }

  void unlink(std::size_t index) {
    std::uint16_t* place = &first_[prints_[index] % kBuckets];
    while (*place != index) {
      place = &next_[*place];
    }
    *place = next_[index];
  }

  std::span<Record> records_;
  Field field_;
  std::size_t covered_ = 0;
  std::array<std::uint16_t, kBuckets> first_;      // by bucket: its first record
  std::array<std::uint16_t, kMaxRecords> next_;    // by covered record: the next one of its bucket
  std::array<std::uint32_t, kMaxRecords> prints_;  // by covered record
};

}  // namespace qorx

#endif
