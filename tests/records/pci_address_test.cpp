#include "records/pci_address.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace qorx {
namespace {

TEST(DeviceName, IsTheAddressInTheKernelsForm) {
  EXPECT_STREQ(DeviceName({0, 0, 0}).c_str(), "0000:00:00.0");
  EXPECT_STREQ(DeviceName({0x5E, 0x1F, 7}).c_str(), "0000:5e:1f.7");
}

TEST(DeviceName, IsWhatPrintfMakesOfEveryByte) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    const auto value = static_cast<std::uint8_t>(byte);
    char printed[20];
    std::snprintf(printed, sizeof printed, "0000:%.2x:%.2x.%.1x", byte, byte, byte);
    ASSERT_STREQ(DeviceName({value, value, value}).c_str(), printed);
  }
}

TEST(PciAddressText, IsThreeHexadecimalNumbersCutToAByteEach) {
  EXPECT_EQ(parse_pci_address("5e:1f.7"), (PciAddress{0x5E, 0x1F, 7}));
  EXPECT_EQ(parse_pci_address("5E:1F.7"), (PciAddress{0x5E, 0x1F, 7}));
  EXPECT_EQ(parse_pci_address("10a:21f.107"), (PciAddress{0x0A, 0x1F, 7}));
  EXPECT_EQ(parse_pci_address("3:0x4.-1"), (PciAddress{3, 4, 255}));
}

TEST(PciAddressText, IsSplitAtRunsOfEitherDelimiter) {
  EXPECT_EQ(parse_pci_address(":0a::1f..7"), (PciAddress{0x0A, 0x1F, 7}));
  EXPECT_EQ(parse_pci_address("0a.1f:7"), (PciAddress{0x0A, 0x1F, 7}));
}

TEST(PciAddressText, IsNotSplitAtAnythingElse) {
  EXPECT_EQ(parse_pci_address("0a;1f.7"), (PciAddress{0x0A, 7, 0}));
  EXPECT_EQ(parse_pci_address("0a:1f;7"), (PciAddress{0x0A, 0x1F, 0}));
  EXPECT_EQ(parse_pci_address("0a:1f.g"), (PciAddress{0x0A, 0x1F, 0}));
}

TEST(PciAddressText, EndsEachNumberAtTheFirstCharacterThatIsNoDigit) {
  EXPECT_EQ(parse_pci_address("1g:1f.7"), (PciAddress{1, 0x1F, 7}));
  EXPECT_EQ(parse_pci_address("g1:1f.7"), (PciAddress{0, 0x1F, 7}));
  EXPECT_EQ(parse_pci_address("0a:1g.7"), (PciAddress{0x0A, 1, 7}));
  EXPECT_EQ(parse_pci_address("0a:g1.7"), (PciAddress{0x0A, 0, 7}));
}

TEST(PciAddressText, EndsWithTheThirdNumber) {
  EXPECT_EQ(parse_pci_address("0a:1f.7:pcie001"), (PciAddress{0x0A, 0x1F, 7}));
  EXPECT_EQ(parse_pci_address("0a:1f.7-more"), (PciAddress{0x0A, 0x1F, 7}));
}

TEST(PciAddressText, GivesZeroForWhatIsNotThere) {
  EXPECT_EQ(parse_pci_address(""), PciAddress{});
  EXPECT_EQ(parse_pci_address("::.."), PciAddress{});
  EXPECT_EQ(parse_pci_address("0a"), (PciAddress{0x0A, 0, 0}));
  EXPECT_EQ(parse_pci_address("0a:zz"), (PciAddress{0x0A, 0, 0}));
}

}  // namespace
}  // namespace qorx
