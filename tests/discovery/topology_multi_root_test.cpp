// A slot wired to several root ports has several slot records of one designation: they become one.
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "discovery/topology.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

using IdCounts = std::vector<std::pair<std::uint32_t, int>>;

SlotRecord& add_counted_slot(const char* name, int type, int port_count,
                             std::initializer_list<IdCounts::value_type> ids) {
  SlotRecord& slot = add_slot(name, type);
  slot.port_count = static_cast<std::uint8_t>(port_count);
  for (const auto& [id, count] : ids) {
    slot.device_id[slot.device_id_number] = id;
    slot.device_id_count[slot.device_id_number] = static_cast<std::uint8_t>(count);
    ++slot.device_id_number;
  }
  return slot;
}

IdCounts ids_of(const SlotRecord& slot) {
  IdCounts ids;
  for (std::size_t i = 0; i < slot.device_id_number; ++i) {
    ids.emplace_back(slot.device_id[i], slot.device_id_count[i]);
  }
  return ids;
}

std::vector<std::string> names() {
  std::vector<std::string> result;
  for (const SlotRecord& slot : slot_records()) {
    result.emplace_back(slot.slot_name);
  }
  return result;
}

using Names = std::vector<std::string>;

class MultiRoot : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }
};

TEST_F(MultiRoot, TwoRecordsOfOneDesignationBecomeOne) {
  const SlotRecord& first = add_counted_slot("S1", 9, 2, {{0x1521, 2}});
  add_counted_slot("S2", 9, 1, {{0x10FB, 1}});
  const SlotRecord& twin = add_counted_slot("S1", 9, 3, {{0x1572, 1}, {0x1521, 2}});
  EXPECT_EQ(qorx_handle_multi_root(), 0);
  EXPECT_EQ(names(), (Names{"S1", "S2", ""}));
  EXPECT_EQ(first.port_count, 5);
  EXPECT_EQ(ids_of(first), (IdCounts{{0x1521, 4}, {0x1572, 1}}));
  EXPECT_STREQ(twin.smbios_slot_name, "S1");
  EXPECT_EQ(slot_records()[1].port_count, 1);
  EXPECT_EQ(slot_records().size(), 3U);
}

TEST_F(MultiRoot, AllLaterTwinsAreMerged) {
  const SlotRecord& first = add_counted_slot("S1", 9, 1, {{0x1521, 1}});
  add_counted_slot("S1", 9, 2, {{0x1521, 2}});
  add_counted_slot("S1", 9, 4, {{0x1521, 4}});
  EXPECT_EQ(qorx_handle_multi_root(), 0);
  EXPECT_EQ(names(), (Names{"S1", "", ""}));
  EXPECT_EQ(first.port_count, 7);
  EXPECT_EQ(ids_of(first), (IdCounts{{0x1521, 7}}));
}

TEST_F(MultiRoot, TheVendorIsTakenFromATwinOnlyWhenThereIsNone) {
  SlotRecord& first = add_slot("S1");
  add_slot("S1").vendor_id = 0x8086;
  add_slot("S1").vendor_id = 0x15B3;
  static_cast<void>(qorx_handle_multi_root());
  EXPECT_EQ(first.vendor_id, 0x8086U);
}

TEST_F(MultiRoot, AFifthDeviceIdIsNotKept) {
  const SlotRecord& first = add_counted_slot("S1", 9, 4, {{0x1, 1}, {0x2, 1}, {0x3, 1}});
  add_counted_slot("S1", 9, 9, {{0x4, 2}, {0x5, 3}, {0x2, 4}});
  EXPECT_EQ(qorx_handle_multi_root(), 0);
  EXPECT_EQ(ids_of(first), (IdCounts{{0x1, 1}, {0x2, 5}, {0x3, 1}, {0x4, 2}}));
  EXPECT_EQ(first.port_count, 13);
}

TEST_F(MultiRoot, RecordsWithoutADesignationStayApart) {
  add_counted_slot("", 9, 1, {});
  add_counted_slot("", 9, 2, {});
  static_cast<void>(qorx_handle_multi_root());
  EXPECT_EQ(slot_records()[0].port_count, 1);
  EXPECT_EQ(slot_records()[1].port_count, 2);
}

TEST_F(MultiRoot, OnlyTheFirstRecordNeedsToBeASystemSlot) {
  add_counted_slot("A", 41, 1, {});
  add_counted_slot("A", 41, 2, {});
  add_counted_slot("B", 9, 4, {});
  add_counted_slot("B", 41, 8, {});
  static_cast<void>(qorx_handle_multi_root());
  EXPECT_EQ(names(), (Names{"A", "A", "B", ""}));
  EXPECT_EQ(slot_records()[0].port_count, 1);
  EXPECT_EQ(slot_records()[2].port_count, 12);
}

TEST_F(MultiRoot, AnEarlierOnboardRecordIsNotMerged) {
  add_counted_slot("A", 41, 1, {});
  add_counted_slot("A", 9, 2, {});
  add_counted_slot("A", 9, 4, {});
  static_cast<void>(qorx_handle_multi_root());
  EXPECT_EQ(names(), (Names{"A", "A", ""}));
  EXPECT_EQ(slot_records()[0].port_count, 1);
  EXPECT_EQ(slot_records()[1].port_count, 6);
}

TEST_F(MultiRoot, DesignationsAreComparedExactly) {
  for (const char* const name : {"Slot 1", "slot 1", "Slot 1 ", "Slot 10"}) {
    add_slot(name);
  }
  static_cast<void>(qorx_handle_multi_root());
  EXPECT_EQ(names(), (Names{"Slot 1", "slot 1", "Slot 1 ", "Slot 10"}));
}

TEST_F(MultiRoot, TheCountIsAByte) {
  const SlotRecord& first = add_counted_slot("S1", 9, 200, {});
  add_counted_slot("S1", 9, 100, {});
  static_cast<void>(qorx_handle_multi_root());
  EXPECT_EQ(first.port_count, 44);
}

TEST_F(MultiRoot, AnEmptyTableIsFine) {
  EXPECT_EQ(qorx_handle_multi_root(), 0);
}

TEST_F(MultiRoot, AFullTableOfOneDesignationBecomesOneRecord) {
  for (std::size_t i = 0; i < kMaxRecords; ++i) {
    add_counted_slot("S1", 9, i < 100 ? 1 : 0, {{0x1521, i < 100 ? 1 : 0}});
  }
  static_cast<void>(qorx_handle_multi_root());
  EXPECT_EQ(slot_records()[0].port_count, 100);
  EXPECT_EQ(ids_of(slot_records()[0]), (IdCounts{{0x1521, 100}}));
  EXPECT_STREQ(slot_records()[511].slot_name, "");
}

}  // namespace
}  // namespace qorx::test
