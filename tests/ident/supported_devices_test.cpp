#include "ident/supported_devices.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "lib/qorx.h"
#include "tests/ident/known_cards.h"
#include "tests/support/expect.h"
#include "tests/support/fixture.h"

namespace qorx::test {
namespace {

using SupportedDevices = LibraryTest;

void expect_entry(std::size_t index, std::uint32_t vendor, std::uint32_t device, int feature) {
  SCOPED_TRACE(index);
  EXPECT_EQ(DEVICE_MAPPING[index].subsys_vendor_id, vendor);
  EXPECT_EQ(DEVICE_MAPPING[index].subsys_device_id, device);
  EXPECT_EQ(DEVICE_MAPPING[index].feature, feature);
}

// Whatever stood there before.
TEST_F(SupportedDevices, TheTableHoldsTheKnownCardsInTheirOrderAndZeroesBehindThem) {
  std::memset(DEVICE_MAPPING, 0xA5, sizeof DEVICE_MAPPING);
  Velmora_sub_id_number = 140;
  EXPECT_EQ(device_mapping_init(), 0);
  EXPECT_EQ(Velmora_sub_id_number, std::size(kCards));
  EXPECT_EQ(std::size(DEVICE_MAPPING), 150U);
  for (std::size_t i = 0; i < std::size(kCards); ++i) {
    expect_entry(i, kCards[i].subsys_vendor_id, kCards[i].subsys_device_id, kCards[i].feature);
  }
  for (std::size_t i = std::size(kCards); i < std::size(DEVICE_MAPPING); ++i) {
    expect_entry(i, 0, 0, 0);
  }
}

TEST_F(SupportedDevices, NoPairOccursTwice) {
  device_mapping_init();
  std::set<std::pair<std::uint32_t, std::uint32_t>> pairs;
  for (std::size_t i = 0; i < Velmora_sub_id_number; ++i) {
    EXPECT_TRUE(pairs.emplace(DEVICE_MAPPING[i].subsys_vendor_id, DEVICE_MAPPING[i].subsys_device_id).second) << i;
  }
}

TEST_F(SupportedDevices, APairHasTheFeatureOfItsEntryOnceTheTableIsFilled) {
  EXPECT_EQ(default_feature(0x13FE, 0x0038), 0);
  device_mapping_init();
  for (const Card& card : kCards) {
    EXPECT_EQ(default_feature(card.subsys_vendor_id, card.subsys_device_id), card.feature) << card.subsys_device_id;
  }
}

TEST_F(SupportedDevices, AnUnknownPairHasFeature0) {
  device_mapping_init();
  const std::vector<std::pair<std::uint32_t, std::uint32_t>> unknown{
      {0x13FE, 0x9999}, {0x15B3, 0x0038}, {0x13FE, 0x2049}, {0x8086, 0x2015}, {0x10000, 0x10000}, {0, 0}};
  for (const auto& [vendor, device] : unknown) {
    EXPECT_EQ(default_feature(vendor, device), 0) << device;
  }
}

const std::map<int, const char*> kWords{{1, "POE"},   {2, "A_BYPASS"}, {4, "L_BYPASS"},   {8, "N/A"},
                                        {16, "NCSI"}, {32, "1PPS"},    {48, "NCSI/1PPS"}, {64, "A_BYPASS_I2C"}};

// A header and a row for each card.
std::string listing() {
  std::string text = "model              feature        svid sdid index  \n";
  int index = 0;
  for (const Card& card : kCards) {
    char row[80];
    std::snprintf(row, sizeof row, "%-19s%-15s%04x %04x %d\n", card.model, kWords.at(card.feature),
                  card.subsys_vendor_id, card.subsys_device_id, index++);
    text += row;
  }
  return text;
}

using SupportedListing = MachineTest;

TEST_F(SupportedListing, ListsEveryKnownCardAsOneRowWhateverTheMachineHas) {
  const std::string rows = listing();
  EXPECT_NE(rows.find("\nWMX-1813           L_BYPASS       13fe 0038 0\n"), std::string::npos);
  EXPECT_NE(rows.find("\nI226_CO            A_BYPASS_I2C   13fe 3043 98\n"), std::string::npos);
  expect_run(machine_, {"-support"}, rows);
  machine_.add_port("eth0", "0000:00:1c.0/0000:03:00.0", {0x8086, 0x1521, 0x13FE, 0x0038});
  expect_run(machine_, {"-support", "-novlan", "-vm"}, rows);
}

TEST_F(SupportedListing, DebugMessagesEndWithTheTwoCounts) {
  ASSERT_EQ(qorx_open(), 0);
  EXPECT_EQ(traced_by([] { EXPECT_EQ(qorx_print_supported_WMX(), 0); }),
            listing() + "Total: " + std::to_string(std::size(kCards)) + "\nMAXIMUM_DEVICE_MAPPING_NUMBER: 150\n");
}

TEST_F(SupportedListing, IsRefusedWhileTheLibraryIsNotOpen) {
  EXPECT_EQ(outcome_of(qorx_print_supported_WMX),
            (Outcome{"qorx library needs to be initialized before function call.\n", 0x95}));
  qorx_set_message_level(0);
  EXPECT_EQ(outcome_of(qorx_print_supported_WMX), (Outcome{"", 0x95}));
}

TEST_F(SupportedListing, AFailedOpenEndsItWithTheOpensError) {
  machine_.remove("sys/devices");
  expect_run(machine_, {"-support"},
             "/sys/devices/pci0000:00 folder do not exist or can't access. Please check your environment\n"
             "Error: QORX_ERR_OPEN_DIR (0x98)\n",
             0x98);
}

}  // namespace
}  // namespace qorx::test
