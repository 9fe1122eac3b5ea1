// A slot wired to several root ports has several slot records of one designation: they become one.
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "discovery/topology.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

using IdCounts = std::vector<std::pair<std::uint32_t, int>>;

struct Slot {
  std::string name;
  int type = 9;
  int port_count = 0;
  IdCounts ids = {};
  std::uint32_t vendor_id = 0;

  bool operator==(const Slot&) const = default;
  friend void PrintTo(const Slot& slot, std::ostream* out) {
    *out << '"' << slot.name << "\" type " << slot.type << " ports " << slot.port_count << " vendor " << slot.vendor_id
         << " ids " << testing::PrintToString(slot.ids);
  }
};

using Slots = std::vector<Slot>;

struct Merging {
  std::string_view rule;
  Slots before;
  Slots after;
};

class MultiRoot : public RowTest<Merging> {
 protected:
  static Slots merged(const Slots& slots) {
    for (const Slot& slot : slots) {
      SlotRecord& record = add_slot(slot.name, slot.type);
      record.port_count = static_cast<std::uint8_t>(slot.port_count);
      record.vendor_id = slot.vendor_id;
      for (const auto& [id, count] : slot.ids) {
        record.device_id[record.device_id_number] = id;
        record.device_id_count[record.device_id_number++] = static_cast<std::uint8_t>(count);
      }
    }
    EXPECT_EQ(qorx_handle_multi_root(), 0);
    Slots result;
    for (const SlotRecord& record : slot_records()) {
      result.push_back({record.slot_name, record.type, record.port_count, {}, record.vendor_id});
      for (std::size_t i = 0; i < record.device_id_number; ++i) {
        result.back().ids.emplace_back(record.device_id[i], record.device_id_count[i]);
      }
    }
    return result;
  }
};

// What a record without a name keeps is of no account.
TEST_P(MultiRoot, IsOneSlot) {
  Slots result = merged(row().before);
  for (std::size_t i = 0; i < result.size(); ++i) {
    EXPECT_EQ(slot_records()[i].smbios_slot_name, row().before[i].name);
    if (result[i].name.empty() && !row().before[i].name.empty()) {
      result[i] = {""};
    }
  }
  EXPECT_EQ(result, row().after);
}

QORX_ROWS(MultiRoot,
          {"two records of one designation become one",
           {{"S1", 9, 2, {{0x1521, 2}}}, {"S2", 9, 1, {{0x10FB, 1}}}, {"S1", 9, 3, {{0x1572, 1}, {0x1521, 2}}}},
           {{"S1", 9, 5, {{0x1521, 4}, {0x1572, 1}}}, {"S2", 9, 1, {{0x10FB, 1}}}, {""}}},
          {"all later twins are merged",
           {{"S1", 9, 1, {{0x1521, 1}}}, {"S1", 9, 2, {{0x1521, 2}}}, {"S1", 9, 4, {{0x1521, 4}}}},
           {{"S1", 9, 7, {{0x1521, 7}}}, {""}, {""}}},
          {"the vendor is taken from a twin when there is none",
           {{"S1"}, {"S1", 9, 0, {}, 0x8086}, {"S1", 9, 0, {}, 0x15B3}},
           {{"S1", 9, 0, {}, 0x8086}, {""}, {""}}},
          {"only then", {{"S1", 9, 0, {}, 0x15B3}, {"S1", 9, 0, {}, 0x8086}}, {{"S1", 9, 0, {}, 0x15B3}, {""}}},
          {"a fifth device id is not kept",
           {{"S1", 9, 4, {{1, 1}, {2, 1}, {3, 1}}}, {"S1", 9, 9, {{4, 2}, {5, 3}, {2, 4}}}},
           {{"S1", 9, 13, {{1, 1}, {2, 5}, {3, 1}, {4, 2}}}, {""}}},
          {"records without a designation stay apart", {{"", 9, 1}, {"", 9, 2}}, {{"", 9, 1}, {"", 9, 2}}},
          {"the first record is a system slot", {{"A", 41, 1}, {"A", 41, 2}}, {{"A", 41, 1}, {"A", 41, 2}}},
          {"the later one need not be", {{"B", 9, 4}, {"B", 41, 8}}, {{"B", 9, 12}, {""}}},
          {"an earlier onboard record is not merged",
           {{"A", 41, 1}, {"A", 9, 2}, {"A", 9, 4}},
           {{"A", 41, 1}, {"A", 9, 6}, {""}}},
          {"designations are compared exactly",
           {{"Slot 1"}, {"slot 1"}, {"Slot 1 "}, {"Slot 10"}},
           {{"Slot 1"}, {"slot 1"}, {"Slot 1 "}, {"Slot 10"}}},
          {"the count is a byte", {{"S1", 9, 200}, {"S1", 9, 100}}, {{"S1", 9, 44}, {""}}},
          {"an empty table is fine", {}, {}});

TEST_F(MultiRoot, OfAFullTableBecomesOneRecord) {
  Slots slots(kMaxRecords, Slot{"S1", 9, 0, {{0x1521, 0}}});
  std::fill_n(slots.begin(), 100, Slot{"S1", 9, 1, {{0x1521, 1}}});
  const Slots result = merged(slots);
  EXPECT_EQ(result[0], (Slot{"S1", 9, 100, {{0x1521, 100}}}));
  EXPECT_EQ(result[511].name, "");
}

}  // namespace
}  // namespace qorx::test
