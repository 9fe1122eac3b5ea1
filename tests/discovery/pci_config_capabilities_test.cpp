// The walk along the capability list, and the subsystem ids that a bridge keeps there.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "discovery/pci_config.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

constexpr const char* kConfig = "/sys/bus/pci/devices/0000:01:00.0/config";
constexpr std::uint8_t kWanted = 0x0D;

struct Entry {
  std::uint8_t offset;
  std::uint8_t id;
  std::uint8_t next;
};

// A bridge whose capability list begins at `pointer`.
std::string chain(std::uint8_t pointer, const std::vector<Entry>& entries, std::size_t size = 256) {
  std::string config = bridge_config({});
  config.resize(size);
  config[kPciStatus] = 0x10;
  config[kPciCapabilitiesPointer] = static_cast<char>(pointer);
  for (const Entry& entry : entries) {
    config[entry.offset] = static_cast<char>(entry.id);
    config[entry.offset + 1U] = static_cast<char>(entry.next);
  }
  return config;
}

std::ptrdiff_t open_files() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

class Capabilities : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  void write_config(const std::string& config) { machine_.write(kConfig + 1, config); }

  std::int32_t walk() { return get_pcie_capability_offset(kConfig, kWanted, &offset_); }

  void expect_not_found(const std::string& trace) {
    offset_ = 0x77;
    std::int32_t code = 0;
    EXPECT_EQ(traced_by([&] { code = walk(); }), trace);
    EXPECT_EQ(code, -1);
    EXPECT_EQ(offset_, 0);
  }

  FakeMachine machine_;
  std::uint8_t offset_ = 0x77;
  PciIds ids_;
};

TEST_F(Capabilities, TheWalkFollowsTheListToTheWantedCapability) {
  write_config(chain(0x40, {{0x40, 0x01, 0x80}, {0x80, 0x10, 0x50}, {0x50, kWanted, 0x60}, {0x60, 0x05, 0}}));
  std::int32_t code = -1;
  const std::string trace = traced_by([&] { code = walk(); });
  EXPECT_EQ(code, 0);
  EXPECT_EQ(offset_, 0x50);
  EXPECT_EQ(trace, "offset 40\ncapa id  1 at offset 40\ncapa id 10 at offset 80\ncapa id  d at offset 50\n");
}

TEST_F(Capabilities, TheFirstOfTwoEqualCapabilitiesIsTaken) {
  write_config(chain(0x60, {{0x60, kWanted, 0x40}, {0x40, kWanted, 0}}));
  EXPECT_EQ(walk(), 0);
  EXPECT_EQ(offset_, 0x60);
}

TEST_F(Capabilities, TheTwoLowBitsOfPointersAreIgnored) {
  write_config(chain(0x43, {{0x40, 0x01, 0x52}, {0x50, kWanted, 0}}));
  EXPECT_EQ(walk(), 0);
  EXPECT_EQ(offset_, 0x50);
}

TEST_F(Capabilities, WithoutTheStatusBitThereIsNoList) {
  std::string config = chain(0x40, {{0x40, kWanted, 0}});
  config[kPciStatus] = static_cast<char>(0xEF);
  write_config(config);
  expect_not_found("Not support capabilities list, Can't find capability id d in PCIE config space \n");
}

TEST_F(Capabilities, APointerOfZeroIsAnEmptyList) {
  for (const int pointer : {0x00, 0x03}) {
    SCOPED_TRACE(pointer);
    write_config(chain(static_cast<std::uint8_t>(pointer), {}));
    expect_not_found("No capabilities list, Can't find capability id d in PCIE config space \n");
  }
}

TEST_F(Capabilities, ANextPointerOfZeroEndsTheList) {
  for (const int next : {0x00, 0x02}) {
    SCOPED_TRACE(next);
    write_config(chain(0x40, {{0x40, 0x05, static_cast<std::uint8_t>(next)}}));
    expect_not_found("offset 40\ncapa id  5 at offset 40\nCan't find capability id d in PCIE config space \n");
  }
}

TEST_F(Capabilities, APointerPastTheEndOfTheFileFindsNothing) {
  write_config(chain(0x80, {}, 64));
  expect_not_found("offset 80\ncapa id  0 at offset 80\nCan't find capability id d in PCIE config space \n");
}

TEST_F(Capabilities, ACapabilityCutInHalfByTheEndOfTheFileHasNoSuccessor) {
  std::string config = chain(0x40, {{0x40, 0x05, 0x50}, {0x50, kWanted, 0}});
  config.resize(0x41);
  write_config(config);
  expect_not_found("offset 40\ncapa id  5 at offset 40\nCan't find capability id d in PCIE config space \n");
}

TEST_F(Capabilities, AListThatLoopsIsAbandonedAfter64Steps) {
  struct Case {
    const char* name;
    std::vector<Entry> entries;
  };
  for (const Case& c : {Case{"itself", {{0x40, 0x05, 0x40}}}, Case{"two", {{0x40, 0x05, 0x50}, {0x50, 0x10, 0x40}}},
                        Case{"back to the header", {{0x40, 0x05, 0x04}, {0x04, 0x00, 0x40}}}}) {
    SCOPED_TRACE(c.name);
    std::string config = chain(0x40, c.entries);
    config[kPciStatus] = 0x10;
    write_config(config);
    std::int32_t code = 0;
    const std::string trace = traced_by([&] { code = walk(); });
    EXPECT_EQ(code, -1);
    EXPECT_EQ(offset_, 0);
    EXPECT_EQ(std::count(trace.begin(), trace.end(), '\n'), 1 + 64 + 1) << trace;
    EXPECT_TRUE(trace.ends_with("\nCan't find capability id d in PCIE config space \n"));
  }
}

TEST_F(Capabilities, TheLastOfAFullListIsFound) {
  std::vector<Entry> entries;
  for (int offset = 0x40; offset < 0xFC; offset += 4) {
    entries.push_back({static_cast<std::uint8_t>(offset), 0x09, static_cast<std::uint8_t>(offset + 4)});
  }
  entries.push_back({0xFC, kWanted, 0});
  write_config(chain(0x40, entries));
  EXPECT_EQ(walk(), 0);
  EXPECT_EQ(offset_, 0xFC);
}

TEST_F(Capabilities, AnyCapabilityCanBeAskedFor) {
  write_config(chain(0x40, {{0x40, 0x01, 0x50}, {0x50, 0x10, 0}}));
  EXPECT_EQ(get_pcie_capability_offset(kConfig, 0x10, &offset_), 0);
  EXPECT_EQ(offset_, 0x50);
}

TEST_F(Capabilities, AMissingConfigFileIsReported) {
  std::int32_t code = 0;
  const std::string trace = traced_by([&] { code = walk(); });
  EXPECT_EQ(code, QORX_ERR_OPEN_FILE);
  EXPECT_EQ(offset_, 0);
  EXPECT_EQ(trace, "can't open name /sys/bus/pci/devices/0000:01:00.0/config\n");
}

TEST_F(Capabilities, ABridgeHasItsSubsystemIdsBehindTheCapabilityHeader) {
  for (const int offset : {0x40, 0x70, 0x94, 0xF8}) {
    SCOPED_TRACE(offset);
    write_config(bridge_config({0x10B5, 0x8724, 0x13FE, 0x204A}, static_cast<std::uint8_t>(offset)));
    EXPECT_EQ(get_pcie_subsystem_vendor_id_device_id(kConfig, ids_), 0);
    EXPECT_EQ(ids_.vendor, 0x13FEU);
    EXPECT_EQ(ids_.device, 0x204AU);
  }
}

TEST_F(Capabilities, IdsBehindACapabilityAtTheVeryEndLieInExtendedSpace) {
  std::string config = chain(0xFC, {{0xFC, kWanted, 0}});
  write_config(config);
  EXPECT_EQ(get_pcie_subsystem_vendor_id_device_id(kConfig, ids_), 0);
  EXPECT_EQ(ids_.vendor, 0U);
  EXPECT_EQ(ids_.device, 0U);
  config.resize(4096);
  config.replace(0x100, 4, bytes("fe 13 4a 20"));
  write_config(config);
  EXPECT_EQ(get_pcie_subsystem_vendor_id_device_id(kConfig, ids_), 0);
  EXPECT_EQ(ids_.vendor, 0x13FEU);
  EXPECT_EQ(ids_.device, 0x204AU);
}

TEST_F(Capabilities, NoWalkLeavesAFileOpen) {
  const std::ptrdiff_t before = open_files();
  write_config(chain(0x40, {{0x40, 0x05, 0x40}}));
  EXPECT_EQ(walk(), -1);
  EXPECT_EQ(get_pcie_subsystem_vendor_id_device_id(kConfig, ids_), -1);
  write_config(chain(0, {}));
  EXPECT_EQ(walk(), -1);
  EXPECT_EQ(open_files(), before);
}

}  // namespace
}  // namespace qorx::test
