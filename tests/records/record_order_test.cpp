#include "records/record_order.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "tests/support/expect.h"

namespace qorx {
namespace {

DeviceRecord port(int bus, int dev, int fun, std::string_view eth_name, std::string_view slot_name = "") {
  DeviceRecord record{};
  test::set_port(record, {.eth_name = eth_name, .bus = bus, .dev = dev, .fun = fun, .slot_name = slot_name});
  return record;
}

// Each record sorts behind the one before it, and behind none that follows.
void expect_ascending(const std::vector<DeviceRecord>& records,
                      bool (*is_behind)(const DeviceRecord&, const DeviceRecord&)) {
  for (std::size_t i = 0; i < records.size(); ++i) {
    for (std::size_t j = 0; j < records.size(); ++j) {
      EXPECT_EQ(is_behind(records[i], records[j]), i > j) << i << " " << j;
    }
  }
}

TEST(Compare, GoesByBusThenDeviceThenFunctionThenName) {
  expect_ascending(
      {port(0, 0, 0, "z"), port(0, 0, 1, "y"), port(0, 0, 255, "x"), port(0, 1, 0, "w"), port(0, 255, 255, "v"),
       port(1, 0, 0, "u"), port(127, 0, 0, "t"), port(128, 0, 0, "s"), port(255, 255, 255, "r")},
      Compare);
}

TEST(Compare, NamesOfOneAddressGoBytewise) {
  expect_ascending({port(1, 0, 0, ""), port(1, 0, 0, "Eth0"), port(1, 0, 0, "eth"), port(1, 0, 0, "eth0"),
                    port(1, 0, 0, "eth10"), port(1, 0, 0, "eth2"), port(1, 0, 0, "\xC3")},
                   Compare);
}

TEST(Compare, DoesNotLookAtTheSlotName) {
  EXPECT_FALSE(Compare(port(1, 0, 0, "a", "z"), port(1, 0, 0, "a", "a")));
}

TEST(CompareName, GoesBytewiseBySlotNameAndThenAsCompare) {
  expect_ascending(
      {port(9, 0, 0, "a", ""), port(5, 0, 0, "a", "A 1"), port(5, 0, 0, "b", "A 1"), port(6, 0, 0, "a", "A 1"),
       port(1, 0, 0, "a", "A 10"), port(0, 0, 0, "a", "A 2"), port(0, 0, 0, "a", "a 1"), port(0, 0, 0, "a", "\xC3")},
      Compare_name);
}

// The order is defined by this: the smallest of the rest is exchanged with the record at each place.
void selection_sort(std::vector<DeviceRecord>& records, bool (*is_behind)(const DeviceRecord&, const DeviceRecord&)) {
  for (std::size_t i = 0; i < records.size(); ++i) {
    std::size_t smallest = i;
    for (std::size_t j = i + 1; j < records.size(); ++j) {
      if (is_behind(records[smallest], records[j])) {
        smallest = j;
      }
    }
    if (smallest != i) {
      std::swap(records[i], records[smallest]);
    }
  }
}

std::vector<DeviceRecord> random_ports(std::size_t count, std::mt19937& random) {
  std::vector<DeviceRecord> records;
  for (std::size_t i = 0; i < count; ++i) {
    const auto pick = [&random](unsigned below) { return static_cast<int>(random() % below); };
    records.push_back(port(pick(3), pick(3), pick(3), "eth" + std::to_string(i), "slot " + std::to_string(pick(4))));
    records.back().seg = static_cast<std::uint8_t>(i);  // every byte moves with its record
    std::memset(records.back().module_names, static_cast<int>(i % 251), sizeof records.back().module_names);
  }
  std::shuffle(records.begin(), records.end(), random);
  return records;
}

bool same(const std::vector<DeviceRecord>& a, const std::vector<DeviceRecord>& b) {
  return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(DeviceRecord)) == 0);
}

TEST(SortRecords, BothOrdersAreThoseOfASelectionSort) {
  std::mt19937 random(3);
  for (const std::size_t count : {0U, 1U, 2U, 3U, 10U, 57U, 200U}) {
    SCOPED_TRACE(count);
    std::vector<DeviceRecord> sorted = random_ports(count, random);
    std::vector<DeviceRecord> expected = sorted;
    sort_result_by_bus_dev_function(sorted.data(), sorted.size());
    selection_sort(expected, Compare);
    EXPECT_TRUE(same(sorted, expected));
    sort_result_by_slot_name(sorted.data(), sorted.size());
    selection_sort(expected, Compare_name);
    EXPECT_TRUE(same(sorted, expected));
  }
}

TEST(SortRecords, AFullTableIsSorted) {
  std::mt19937 random(4);
  std::vector<DeviceRecord> records = random_ports(512, random);
  sort_result_by_bus_dev_function(records.data(), records.size());
  for (std::size_t i = 1; i < records.size(); ++i) {
    ASSERT_TRUE(Compare(records[i], records[i - 1])) << i;
  }
}

// The interface names of records that were sorted.
test::Texts names_of(std::vector<DeviceRecord>& records) {
  return test::texts_of(std::span(records), &DeviceRecord::eth_name);
}

TEST(SortRecords, RecordsBehindTheCountStayWhereTheyAre) {
  std::vector<DeviceRecord> records{port(3, 0, 0, "c", "z"), port(2, 0, 0, "b", "y"), port(1, 0, 0, "a", "x")};
  sort_result_by_bus_dev_function(records.data(), 2);
  EXPECT_EQ(names_of(records), (test::Texts{"b", "c", "a"}));
  sort_result_by_slot_name(records.data(), 1);
  EXPECT_EQ(names_of(records), (test::Texts{"b", "c", "a"}));
}

TEST(SortRecords, PortsWithoutASlotComeFirst) {
  std::vector<DeviceRecord> records{port(1, 0, 0, "a", "S"), port(9, 0, 0, "b"), port(8, 0, 0, "c")};
  sort_result_by_slot_name(records.data(), records.size());
  EXPECT_EQ(names_of(records), (test::Texts{"c", "b", "a"}));
}

}  // namespace
}  // namespace qorx
