// The numbers of the PCI buses within a slot.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "discovery/topology.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

struct Port {
  const char* slot;
  int type;
  int bus;
};

constexpr int kUntouched = 77;

// Numbers the ports and returns their port_index fields.
std::vector<int> number(const std::vector<Port>& ports) {
  reset_library();
  for (const Port& port : ports) {
    DeviceRecord& record = add_device("eth", port.slot, port.type);
    record.bus = static_cast<std::uint8_t>(port.bus);
    record.port_index = kUntouched;
  }
  assign_bus_high_low();
  std::vector<int> indexes;
  for (const DeviceRecord& record : device_records()) {
    indexes.push_back(record.port_index);
  }
  return indexes;
}

using Indexes = std::vector<int>;

TEST(BusGroups, PortsOnOneBusShareANumber) {
  EXPECT_EQ(number({{"S1", 9, 3}, {"S1", 9, 3}, {"S1", 9, 3}}), (Indexes{0, 0, 0}));
}

TEST(BusGroups, TheNumberGrowsWithEachChangeOfBus) {
  EXPECT_EQ(number({{"S1", 9, 3}, {"S1", 9, 3}, {"S1", 9, 4}, {"S1", 9, 6}, {"S1", 9, 6}}), (Indexes{0, 0, 1, 2, 2}));
}

TEST(BusGroups, AChangeDownwardsCountsToo) {
  EXPECT_EQ(number({{"S1", 9, 6}, {"S1", 9, 3}}), (Indexes{0, 1}));
}

TEST(BusGroups, EachSlotBeginsAtZero) {
  EXPECT_EQ(number({{"S1", 9, 3}, {"S1", 9, 4}, {"S2", 9, 5}, {"S2", 9, 6}, {"S3", 9, 6}}), (Indexes{0, 1, 0, 1, 0}));
}

TEST(BusGroups, ASlotThatComesBackBeginsAtZeroAgain) {
  EXPECT_EQ(number({{"S1", 9, 3}, {"S1", 9, 4}, {"S2", 9, 5}, {"S1", 9, 6}}), (Indexes{0, 1, 0, 0}));
}

TEST(BusGroups, OnlySystemSlotsAreNumbered) {
  EXPECT_EQ(number({{"S1", 41, 3}, {"", 0, 4}, {"S1", 9, 5}, {"S1", 41, 5}, {"S1", 9, 5}}),
            (Indexes{kUntouched, kUntouched, 0, kUntouched, 0}));
}

TEST(BusGroups, TheNextRecordCountsWhateverItsType) {
  EXPECT_EQ(number({{"S1", 9, 1}, {"S1", 41, 2}, {"S1", 9, 3}}), (Indexes{0, kUntouched, 1}));
  EXPECT_EQ(number({{"S1", 9, 1}, {"S2", 41, 2}, {"S1", 9, 3}}), (Indexes{0, kUntouched, 0}));
}

TEST(BusGroups, AnEmptyNameIsANameToo) {
  EXPECT_EQ(number({{"", 9, 1}, {"", 9, 2}}), (Indexes{0, 1}));
}

TEST(BusGroups, WithoutPortsNothingHappens) {
  EXPECT_EQ(number({}), Indexes{});
}

TEST(BusGroups, AFullTableIsNumberedToItsEnd) {
  std::vector<Port> ports(kMaxRecords, Port{"S1", 9, 3});
  ports.back().bus = 4;
  const Indexes indexes = number(ports);
  EXPECT_EQ(indexes[510], 0);
  EXPECT_EQ(indexes[511], 1);
}

TEST(BusGroups, TracesBeginALineForEachSlot) {
  static_cast<void>(number({{"S1", 9, 3}, {"S1", 9, 4}, {"S2", 9, 5}, {"S2", 9, 5}}));
  EXPECT_EQ(traced_by(assign_bus_high_low), "\n0 1 \n0 0 ");
}

}  // namespace
}  // namespace qorx::test
