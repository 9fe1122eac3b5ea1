#include "records/device_ids.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace qorx {
namespace {

using IdCounts = std::vector<std::pair<std::uint32_t, int>>;

IdCounts ids_of(const SlotRecord& slot) {
  IdCounts ids;
  for (std::size_t i = 0; i < slot.device_id_number; ++i) {
    ids.emplace_back(slot.device_id[i], slot.device_id_count[i]);
  }
  return ids;
}

// Ports of one vendor, counted behind a slot.
void count_ports(SlotRecord& slot, std::uint32_t vendor_id, const std::vector<std::uint32_t>& ids) {
  for (const std::uint32_t id : ids) {
    count_port(slot, vendor_id, id);
  }
}

TEST(DeviceIds, EachIdIsListedOnceWithItsPorts) {
  SlotRecord slot{};
  count_ports(slot, 0x8086, {0x1521, 0x1522, 0x1521});
  EXPECT_EQ(slot.port_count, 3);
  EXPECT_EQ(ids_of(slot), (IdCounts{{0x1521, 2}, {0x1522, 1}}));
}

TEST(DeviceIds, TheSlotsVendorIsThatOfTheLastPortWithAnIdThatWasNotListed) {
  SlotRecord slot{};
  count_port(slot, 0x8086, 0x1521);
  count_port(slot, 0x15B3, 0x1015);
  count_port(slot, 0x1234, 0x1521);
  EXPECT_EQ(slot.vendor_id, 0x15B3U);
}

TEST(DeviceIds, AFifthIdIsNotListedButItsVendorIsTheSlots) {
  SlotRecord slot{};
  count_ports(slot, 0x8086, {1, 2, 3, 4});
  count_port(slot, 0x15B3, 5);
  EXPECT_EQ(slot.port_count, 5);
  EXPECT_EQ(slot.vendor_id, 0x15B3U);
  EXPECT_EQ(ids_of(slot), (IdCounts{{1, 1}, {2, 1}, {3, 1}, {4, 1}}));
  count_port(slot, 0x1234, 4);
  EXPECT_EQ(slot.vendor_id, 0x15B3U);
}

TEST(DeviceIds, AddingASlotsPortsAddsCountsAndListsNewIdsWhileThereIsRoom) {
  SlotRecord slot{};
  SlotRecord other{};
  count_ports(slot, 0x8086, {1, 2, 3});
  count_ports(other, 0x15B3, {4, 2, 5});
  add_ports_of(other, slot);
  EXPECT_EQ(slot.port_count, 6);
  EXPECT_EQ(slot.vendor_id, 0x8086U);
  EXPECT_EQ(ids_of(slot), (IdCounts{{1, 1}, {2, 2}, {3, 1}, {4, 1}}));
}

TEST(DeviceIds, ASlotWithoutAVendorTakesThatOfTheOther) {
  SlotRecord slot{};
  SlotRecord other{};
  count_port(other, 0x15B3, 1);
  add_ports_of(other, slot);
  EXPECT_EQ(slot.vendor_id, 0x15B3U);
}

}  // namespace
}  // namespace qorx
