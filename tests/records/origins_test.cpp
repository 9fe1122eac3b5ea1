#include "records/origins.h"

#include <gtest/gtest.h>

#include <initializer_list>

#include "lib/qorx.h"
#include "records/record_order.h"
#include "records/state.h"
#include "tests/support/fixture.h"

namespace qorx {
namespace {

class Origins : public test::LibraryTest {
 protected:
  // A port with an address, noted as the only port that lent its identity to number `mark`.
  static void add(std::uint8_t bus, std::uint16_t mark) {
    DeviceRecord& record = test::add_device("");
    record.bus = bus;
    origin_of(record).neighbour = mark;
  }
};

TEST_F(Origins, FollowTheirPortsThroughASort) {
  for (const std::uint8_t bus : std::initializer_list<std::uint8_t>{9, 3, 7, 1}) {
    add(bus, bus * 10);
  }
  sort_result_by_bus_dev_function(qorx_eth_device_mapping, 4);
  for (const DeviceRecord& record : device_records()) {
    EXPECT_EQ(origin_of(record).neighbour, record.bus * 10);
  }
}

TEST_F(Origins, OfARecordOutsideOfTheTablesAreNobodys) {
  add(3, 30);
  DeviceRecord elsewhere{};
  origin_of(elsewhere).neighbour = 99;
  EXPECT_EQ(origin_of(qorx_eth_device_mapping[0]).neighbour, 30);
  SlotRecord slot{};
  origin_of(slot).rename_line = 99;
  EXPECT_EQ(origin_of(qorx_smbios_t9_t41_mapping[0]).rename_line, 0U);
}

TEST_F(Origins, AreForgottenWithTheRecord) {
  add(3, 30);
  origin_of(fresh_slot_record(0)).rename_line = 7;
  test::reset_library();
  EXPECT_EQ(origin_of(next_device_record()).neighbour, 0);
  EXPECT_EQ(origin_of(fresh_slot_record(0)).rename_line, 0U);
}

}  // namespace
}  // namespace qorx
