// Addresses that differ in one number, and records that stand in no table.
#include <gtest/gtest.h>

#include "records/origins.h"
#include "records/pci_address.h"
#include "records/state.h"

namespace qorx {
namespace {

TEST(PciAddresses, AreEqualInAllTheirNumbers) {
  const PciAddress address{1, 2, 3};
  EXPECT_EQ(address, (PciAddress{1, 2, 3}));
  for (const PciAddress other : {PciAddress{0, 2, 3}, PciAddress{1, 0, 3}, PciAddress{1, 2, 0}}) {
    EXPECT_NE(address, other);
  }
}

const qorx_eth_device_record g_constant{};  // constants lie before the tables, the stack behind

TEST(RecordsElsewhere, ShareOriginsThatAreNoneOfTheTables) {
  const qorx_eth_device_record local{};
  EXPECT_EQ(&origin_of(g_constant), &origin_of(local));
  for (const auto* const record : {&qorx_eth_device_mapping[0], &qorx_eth_device_mapping[QORX_MAX_RECORDS - 1]}) {
    EXPECT_NE(&origin_of(*record), &origin_of(local));
  }
}

}  // namespace
}  // namespace qorx
