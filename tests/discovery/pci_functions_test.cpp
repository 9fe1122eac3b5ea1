// A function's subsystem ids are read once in the life of the object that keeps them.
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

#include "discovery/pci_config.h"
#include "tests/support/fixture.h"

namespace qorx::test {
namespace {

std::string config_file(PciAddress address) {
  return "sys/bus/pci/devices/" + std::string(DeviceName(address).view()) + "/config";
}

class PciFunctionsTest : public MachineTest {
 protected:
  PciIds read(PciAddress address) {
    PciIds ids;
    code_ = read_PCI_subsystem_vendor_id_device_id(*functions_, address, ids);
    return ids;
  }

  std::unique_ptr<PciFunctions> functions_ = std::make_unique<PciFunctions>();
  std::int32_t code_ = 1;
};

TEST_F(PciFunctionsTest, IsReadOnceAndTracedAsOften) {
  machine_.write(config_file({1, 2, 3}), bridge_config({0x8086, 0x1234, 0x13FE, 0x204A}, 0x50));
  const std::string first = traced_by([&] { read({1, 2, 3}); });
  EXPECT_EQ(first, "offset 50\ncapa id  d at offset 50\n");
  machine_.remove("sys/bus/pci/devices");
  EXPECT_EQ(traced_by([&] { read({1, 2, 3}); }), first);
  EXPECT_EQ(code_, 0);
  EXPECT_EQ(read({1, 2, 3}).device, 0x204AU);
}

TEST_F(PciFunctionsTest, ThatIsMissingIsAskedForOnceToo) {
  const std::string first = traced_by([&] { read({1, 2, 3}); });
  EXPECT_EQ(first, "can't open name /sys/bus/pci/devices/0000:01:02.3/config\n");
  EXPECT_EQ(code_, QORX_ERR_OPEN_FILE);
  machine_.write(config_file({1, 2, 3}), endpoint_config({}));
  EXPECT_EQ(traced_by([&] { read({1, 2, 3}); }), first);
  EXPECT_EQ(read({1, 2, 3}).vendor, QORX_ID_UNKNOWN);
}

TEST_F(PciFunctionsTest, IsNeverTakenForAnother) {
  for (const PciAddress address : {PciAddress{0, 1, 0}, {0, 0, 8}, {1, 0, 0}, {0, 4, 5}, {37, 0, 0}}) {
    machine_.write(config_file(address), endpoint_config({0, 0, address.bus, address.dev}));
    EXPECT_EQ(read(address).vendor, address.bus);
    EXPECT_EQ(read(address).device, address.dev);
  }
}

TEST_F(PciFunctionsTest, IsReadRightHoweverManyThereAre) {
  constexpr int kCount = 1100;
  const auto address_of = [](int i) {
    return PciAddress{static_cast<std::uint8_t>(i / 8), static_cast<std::uint8_t>(i % 8), 1};
  };
  for (int i = 0; i < kCount; ++i) {
    machine_.write(config_file(address_of(i)), endpoint_config({0, 0, 0x13FE, static_cast<std::uint16_t>(i)}));
  }
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < kCount; ++i) {
      ASSERT_EQ(read(address_of(i)).device, static_cast<std::uint32_t>(i)) << round;
    }
  }
}

}  // namespace
}  // namespace qorx::test
