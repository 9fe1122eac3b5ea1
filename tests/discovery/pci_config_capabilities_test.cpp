// The walk along the capability list, and the subsystem ids that a bridge keeps there.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "discovery/pci_config.h"
#include "tests/support/expect.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

constexpr const char* kConfig = "/sys/bus/pci/devices/0000:01:00.0/config";
constexpr std::uint8_t kWanted = 0x0D;
constexpr PciIds kModule{0x13FE, 0x204A};

struct Entry {
  int offset;
  int id;
  int next;
};

// A bridge whose capability list begins at `pointer`.
std::string chain(int pointer, const std::vector<Entry>& entries, std::size_t size = 256) {
  std::string config = bridge_config({});
  config.resize(256);
  config[kPciCapabilitiesPointer] = static_cast<char>(pointer);
  for (const Entry& entry : entries) {
    config[static_cast<std::size_t>(entry.offset)] = static_cast<char>(entry.id);
    config[static_cast<std::size_t>(entry.offset) + 1] = static_cast<char>(entry.next);
  }
  config[kPciStatus] = 0x10;  // a list may lead through the header
  config.resize(size);
  return config;
}

std::string without_list(std::string config) {
  config[kPciStatus] = static_cast<char>(0xEF);
  return config;
}

std::vector<Entry> full_list() {
  std::vector<Entry> entries;
  for (int offset = 0x40; offset < 0xFC; offset += 4) {
    entries.push_back({offset, 0x09, offset + 4});
  }
  entries.push_back({0xFC, kWanted, 0});
  return entries;
}

const std::string kNotFound = "Can't find capability id d in PCIE config space \n";

std::string loop_trace(int pointer, const std::vector<std::string>& steps) {
  char first[20];
  std::snprintf(first, sizeof first, "offset %2x\n", static_cast<unsigned>(pointer));
  std::string trace = first;
  for (std::size_t i = 0; i < 64; ++i) {
    trace += "capa id " + steps[i % steps.size()] + "\n";
  }
  return trace + kNotFound;
}

struct Walk {
  std::string_view rule;
  std::string config;
  int offset;               // 0: not found
  std::string trace = "*";  // any
};

class Capabilities : public RowTest<Walk, MachineTest> {
 protected:
  void write_config(const std::string& config) { machine_.write(kConfig + 1, config); }

  std::int32_t walk() { return get_pcie_capability_offset(kConfig, kWanted, &offset_); }

  std::uint8_t offset_ = 0x77;
  PciIds ids_;
};

TEST_P(Capabilities, AreFound) {
  write_config(row().config);
  const auto files = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
  };
  const auto open_before = files();
  std::int32_t code = 1;
  const std::string trace = traced_by([&] { code = walk(); });
  EXPECT_EQ(code, row().offset == 0 ? -1 : 0);
  EXPECT_EQ(offset_, row().offset);
  EXPECT_EQ(trace, row().trace == "*" ? trace : row().trace);
  EXPECT_EQ(get_pcie_subsystem_vendor_id_device_id(kConfig, ids_), code);
  EXPECT_EQ(files(), open_before);
}

QORX_ROWS(Capabilities,
          {"the walk follows the list to the wanted capability",
           chain(0x40, {{0x40, 0x01, 0x80}, {0x80, 0x10, 0x50}, {0x50, kWanted, 0x60}, {0x60, 0x05, 0}}), 0x50,
           "offset 40\ncapa id  1 at offset 40\ncapa id 10 at offset 80\ncapa id  d at offset 50\n"},
          {"the first of two equal capabilities is taken", chain(0x60, {{0x60, kWanted, 0x40}, {0x40, kWanted, 0}}),
           0x60},
          {"the two low bits of pointers are ignored", chain(0x43, {{0x40, 0x01, 0x52}, {0x50, kWanted, 0}}), 0x50},
          {"the last of a full list is found", chain(0x40, full_list()), 0xFC},
          {"without the status bit there is no list", without_list(chain(0x40, {{0x40, kWanted, 0}})), 0,
           "Not support capabilities list, " + kNotFound},
          {"a pointer of zero is an empty list", chain(0, {}), 0, "No capabilities list, " + kNotFound},
          {"a pointer of low bits is an empty list", chain(3, {}), 0, "No capabilities list, " + kNotFound},
          {"a next pointer of zero ends the list", chain(0x40, {{0x40, 0x05, 0}}), 0,
           "offset 40\ncapa id  5 at offset 40\n" + kNotFound},
          {"a next pointer of low bits ends the list", chain(0x40, {{0x40, 0x05, 2}}), 0,
           "offset 40\ncapa id  5 at offset 40\n" + kNotFound},
          {"a pointer past the end of the file finds nothing", chain(0x80, {}, 64), 0,
           "offset 80\ncapa id  0 at offset 80\n" + kNotFound},
          {"a capability cut in half by the end of the file has no successor",
           chain(0x40, {{0x40, 0x05, 0x50}, {0x50, kWanted, 0}}, 0x41), 0,
           "offset 40\ncapa id  5 at offset 40\n" + kNotFound},
          // A list that loops is abandoned after 64 steps.
          {"a loop of one", chain(0x40, {{0x40, 0x05, 0x40}}), 0, loop_trace(0x40, {" 5 at offset 40"})},
          {"a loop of two", chain(0x40, {{0x40, 0x05, 0x50}, {0x50, 0x10, 0x40}}), 0,
           loop_trace(0x40, {" 5 at offset 40", "10 at offset 50"})},
          {"a loop through the header", chain(0x40, {{0x40, 0x05, 0x04}, {0x04, 0x00, 0x40}}), 0,
           loop_trace(0x40, {" 5 at offset 40", " 0 at offset  4"})});

TEST_F(Capabilities, AnyCapabilityCanBeAskedFor) {
  write_config(chain(0x40, {{0x40, 0x01, 0x50}, {0x50, 0x10, 0}}));
  EXPECT_EQ(get_pcie_capability_offset(kConfig, 0x10, &offset_), 0);
  EXPECT_EQ(offset_, 0x50);
}

TEST_F(Capabilities, AMissingConfigFileIsReported) {
  EXPECT_EQ(traced_by([&] { EXPECT_EQ(walk(), QORX_ERR_OPEN_FILE); }),
            "can't open name /sys/bus/pci/devices/0000:01:00.0/config\n");
  EXPECT_EQ(offset_, 0);
}

TEST_F(Capabilities, ABridgeHasItsSubsystemIdsBehindTheCapabilityHeader) {
  for (const int offset : {0x40, 0x70, 0x94, 0xF8}) {
    write_config(bridge_config({0x10B5, 0x8724, 0x13FE, 0x204A}, static_cast<std::uint8_t>(offset)));
    EXPECT_EQ(get_pcie_subsystem_vendor_id_device_id(kConfig, ids_), 0);
    EXPECT_EQ(ids_, kModule) << offset;
  }
}

TEST_F(Capabilities, IdsBehindACapabilityAtTheVeryEndLieInExtendedSpace) {
  std::string config = chain(0xFC, {{0xFC, kWanted, 0}});
  for (const PciIds& ids : {PciIds{0, 0}, kModule}) {
    write_config(config);
    EXPECT_EQ(get_pcie_subsystem_vendor_id_device_id(kConfig, ids_), 0);
    EXPECT_EQ(ids_, ids);
    config.resize(4096);
    config.replace(0x100, 4, bytes("fe 13 4a 20"));
  }
}

}  // namespace
}  // namespace qorx::test
