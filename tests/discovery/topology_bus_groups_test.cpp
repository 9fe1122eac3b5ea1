// The numbers of the PCI buses within a slot.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "discovery/topology.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

struct Port {
  const char* slot;
  int type;
  int bus;
};

constexpr int kUntouched = 77;

using Ports = std::vector<Port>;
using Indexes = std::vector<int>;

// Numbers the ports and returns their port_index fields.
Indexes number(const Ports& ports) {
  for (const Port& port : ports) {
    DeviceRecord& record = add_device("eth", port.slot, port.type);
    record.bus = static_cast<std::uint8_t>(port.bus);
    record.port_index = kUntouched;
  }
  assign_bus_high_low();
  Indexes indexes;
  for (const DeviceRecord& record : device_records()) {
    indexes.push_back(record.port_index);
  }
  return indexes;
}

struct Grouping {
  std::string_view rule;
  Ports ports;
  Indexes indexes;
};

class BusGroups : public RowTest<Grouping> {};

TEST_P(BusGroups, AreNumbered) {
  EXPECT_EQ(number(row().ports), row().indexes);
}

QORX_ROWS(BusGroups, {"ports on one bus share a number", {{"S", 9, 3}, {"S", 9, 3}, {"S", 9, 3}}, {0, 0, 0}},
          {"the number grows with each change of bus",
           {{"S", 9, 3}, {"S", 9, 3}, {"S", 9, 4}, {"S", 9, 6}, {"S", 9, 6}},
           {0, 0, 1, 2, 2}},
          {"a change downwards counts too", {{"S", 9, 6}, {"S", 9, 3}}, {0, 1}},
          {"each slot begins at zero",
           {{"S", 9, 3}, {"S", 9, 4}, {"T", 9, 5}, {"T", 9, 6}, {"U", 9, 6}},
           {0, 1, 0, 1, 0}},
          {"so does one that comes back", {{"S", 9, 3}, {"S", 9, 4}, {"T", 9, 5}, {"S", 9, 6}}, {0, 1, 0, 0}},
          {"only system slots are numbered",
           {{"S", 41, 3}, {"", 0, 4}, {"S", 9, 5}, {"S", 41, 5}, {"S", 9, 5}},
           {kUntouched, kUntouched, 0, kUntouched, 0}},
          {"the next record counts whatever its type", {{"S", 9, 1}, {"S", 41, 2}, {"S", 9, 3}}, {0, kUntouched, 1}},
          {"unless it is of another slot", {{"S", 9, 1}, {"T", 41, 2}, {"S", 9, 3}}, {0, kUntouched, 0}},
          {"an empty name is a name too", {{"", 9, 1}, {"", 9, 2}}, {0, 1}}, {"without ports nothing happens", {}, {}});

TEST_F(BusGroups, OfAFullTableAreNumberedToItsEnd) {
  Ports ports(kMaxRecords, Port{"S", 9, 3});
  ports.back().bus = 4;
  const Indexes indexes = number(ports);
  EXPECT_EQ((Indexes{indexes[510], indexes[511]}), (Indexes{0, 1}));
}

TEST_F(BusGroups, BeginALineForEachSlotInTraces) {
  number({{"S", 9, 3}, {"S", 9, 4}, {"T", 9, 5}, {"T", 9, 5}});
  EXPECT_EQ(traced_by(assign_bus_high_low), "\n0 1 \n0 0 ");
}

}  // namespace
}  // namespace qorx::test
