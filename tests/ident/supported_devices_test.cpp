#include "ident/supported_devices.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <iterator>

#include "tests/support/library.h"

namespace qorx {
namespace {

struct Card {
  std::uint32_t subsys_vendor_id;
  std::uint32_t subsys_device_id;
  int feature;
};

// In the order of the -support listing.
constexpr Card kCards[] = {
    {0x13FE, 0x0038, 4},  {0x13FE, 0x0037, 8},  {0x13FE, 0x2042, 4},  {0x13FE, 0x2043, 8},  {0x13FE, 0x2044, 4},
    {0x13FE, 0x2045, 4},  {0x13FE, 0x2046, 8},  {0x13FE, 0x002A, 2},  {0x13FE, 0x002B, 2},  {0x13FE, 0x0035, 2},
    {0x13FE, 0x0036, 8},  {0x13FE, 0x201F, 2},  {0x13FE, 0x203F, 4},  {0x13FE, 0x203A, 8},  {0x13FE, 0x0034, 4},
    {0x13FE, 0x2041, 8},  {0x13FE, 0x2040, 8},  {0x13FE, 0x0032, 2},  {0x13FE, 0x0033, 8},  {0x13FE, 0x201A, 2},
    {0x13FE, 0x203D, 4},  {0x13FE, 0x201D, 8},  {0x13FE, 0x204B, 2},  {0x13FE, 0x204C, 4},  {0x13FE, 0x204D, 8},
    {0x13FE, 0x201B, 2},  {0x13FE, 0x203E, 4},  {0x13FE, 0x201E, 8},  {0x13FE, 0x204E, 2},  {0x13FE, 0x204F, 4},
    {0x13FE, 0x2050, 8},  {0x13FE, 0x201C, 8},  {0x13FE, 0x2051, 8},  {0x13FE, 0x2017, 8},  {0x13FE, 0x0031, 8},
    {0x13FE, 0x0028, 2},  {0x13FE, 0x0029, 2},  {0x13FE, 0x200C, 8},  {0x13FE, 0x200D, 2},  {0x13FE, 0x2019, 8},
    {0x13FE, 0x205A, 8},  {0x13FE, 0x2018, 8},  {0x13FE, 0x0030, 8},  {0x13FE, 0x002F, 8},  {0x13FE, 0x002E, 8},
    {0x13FE, 0x2058, 8},  {0x13FE, 0x0027, 2},  {0x13FE, 0x0026, 2},  {0x13FE, 0x2013, 2},  {0x13FE, 0x2056, 2},
    {0x13FE, 0x2014, 8},  {0x15B3, 0x2015, 8},  {0x13FE, 0x2015, 8},  {0x13FE, 0x2048, 8},  {0x13FE, 0x2016, 1},
    {0x13FE, 0x2047, 1},  {0x13FE, 0x204A, 8},  {0x13FE, 0x205D, 64}, {0x13FE, 0x205E, 8},  {0x13FE, 0x205F, 8},
    {0x13FE, 0x2061, 64}, {0x13FE, 0x2065, 8},  {0x13FE, 0x205B, 8},  {0x13FE, 0x0011, 2},  {0x13FE, 0x3008, 2},
    {0x13FE, 0x3009, 8},  {0x13FE, 0x300A, 8},  {0x13FE, 0x2052, 2},  {0x13FE, 0x3007, 8},  {0x13FE, 0x302B, 2},
    {0x13FE, 0x302E, 2},  {0x13FE, 0x301C, 8},  {0x13FE, 0x301A, 8},  {0x13FE, 0x3016, 16}, {0x13FE, 0x3023, 1},
    {0x13FE, 0x3022, 8},  {0x13FE, 0x3027, 1},  {0x13FE, 0x301E, 2},  {0x13FE, 0x3017, 8},  {0x13FE, 0x301B, 2},
    {0x13FE, 0x3026, 2},  {0x13FE, 0x3024, 8},  {0x13FE, 0x3018, 1},  {0x13FE, 0x3025, 8},  {0x13FE, 0x302C, 8},
    {0x13FE, 0x3031, 32}, {0x13FE, 0x3029, 8},  {0x13FE, 0x302F, 32}, {0x13FE, 0x301F, 8},  {0x13FE, 0x3028, 8},
    {0x13FE, 0x301D, 16}, {0x13FE, 0x3030, 48}, {0x13FE, 0x3032, 8},  {0x13FE, 0x3033, 64}, {0x13FE, 0x3034, 8},
    {0x13FE, 0x3035, 8},  {0x13FE, 0x3037, 2},  {0x13FE, 0x303C, 8},  {0x13FE, 0x3043, 64},
};

class SupportedDevices : public ::testing::Test {
 protected:
  void SetUp() override { test::reset_library(); }
};

TEST_F(SupportedDevices, TheTableHoldsTheKnownCardsInTheirOrder) {
  static_assert(std::size(kCards) == 99);
  EXPECT_EQ(device_mapping_init(), 0);
  ASSERT_EQ(Velmora_sub_id_number, 99U);
  for (std::size_t i = 0; i < std::size(kCards); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(DEVICE_MAPPING[i].subsys_vendor_id, kCards[i].subsys_vendor_id);
    EXPECT_EQ(DEVICE_MAPPING[i].subsys_device_id, kCards[i].subsys_device_id);
    EXPECT_EQ(DEVICE_MAPPING[i].feature, kCards[i].feature);
  }
}

TEST_F(SupportedDevices, TheTableHasRoomFor150EntriesAndTheSpareOnesAreZero) {
  EXPECT_EQ(std::size(DEVICE_MAPPING), 150U);
  device_mapping_init();
  for (std::size_t i = Velmora_sub_id_number; i < std::size(DEVICE_MAPPING); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(DEVICE_MAPPING[i].subsys_vendor_id, 0U);
    EXPECT_EQ(DEVICE_MAPPING[i].subsys_device_id, 0U);
    EXPECT_EQ(DEVICE_MAPPING[i].feature, 0);
  }
}

TEST_F(SupportedDevices, EveryFillStartsAfresh) {
  std::memset(DEVICE_MAPPING, 0xA5, sizeof DEVICE_MAPPING);
  Velmora_sub_id_number = 140;
  EXPECT_EQ(device_mapping_init(), 0);
  EXPECT_EQ(Velmora_sub_id_number, 99U);
  EXPECT_EQ(DEVICE_MAPPING[0].subsys_device_id, 0x0038U);
  EXPECT_EQ(DEVICE_MAPPING[99].subsys_device_id, 0U);
  EXPECT_EQ(DEVICE_MAPPING[149].feature, 0);
}

TEST_F(SupportedDevices, NoPairOccursTwice) {
  device_mapping_init();
  for (std::uint32_t i = 0; i < Velmora_sub_id_number; ++i) {
    for (std::uint32_t j = i + 1; j < Velmora_sub_id_number; ++j) {
      EXPECT_FALSE(DEVICE_MAPPING[i].subsys_vendor_id == DEVICE_MAPPING[j].subsys_vendor_id &&
                   DEVICE_MAPPING[i].subsys_device_id == DEVICE_MAPPING[j].subsys_device_id)
          << i << " and " << j;
    }
  }
}

TEST_F(SupportedDevices, TheDefaultFeatureOfAPairIsThatOfItsEntry) {
  device_mapping_init();
  for (const Card& card : kCards) {
    SCOPED_TRACE(card.subsys_device_id);
    EXPECT_EQ(default_feature(card.subsys_vendor_id, card.subsys_device_id), card.feature);
  }
}

TEST_F(SupportedDevices, AnUnknownPairHasFeature0) {
  device_mapping_init();
  constexpr std::array<std::array<std::uint32_t, 2>, 6> kUnknown{{
      {0x13FE, 0x9999},
      {0x15B3, 0x0038},
      {0x13FE, 0x2049},
      {0x8086, 0x2015},
      {0x10000, 0x10000},
      {0, 0},
  }};
  for (const auto& [vendor, device] : kUnknown) {
    SCOPED_TRACE(device);
    EXPECT_EQ(default_feature(vendor, device), 0);
  }
}

TEST_F(SupportedDevices, BeforeTheTableIsFilledEveryPairHasFeature0) {
  EXPECT_EQ(default_feature(0x13FE, 0x0038), 0);
}

}  // namespace
}  // namespace qorx
