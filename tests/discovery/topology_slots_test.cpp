// What topology knows of slots: the device behind the port of a PCIe switch, the numbers of the PCI buses within a
// slot, and one slot that is wired to several root ports.
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "base/bounded_text.h"
#include "base/messages.h"
#include "discovery/topology.h"
#include "tests/support/directory_order.h"
#include "tests/support/expect.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

constexpr const char* kPort = "/sys/devices/pci0000:00/0000:00:1c.4";
constexpr const char* kNoSwitch = "Can't find PCIe switch, please check the config file!\n";

class SwitchBus : public MachineTest {
 protected:
  void make_device(const std::string& path) { machine_.make_directory("sys/devices/pci0000:00/" + path); }

  // Steps below the port at address_, which must give `code` and print this, and lead to this address and path.
  void step(int code, const PciAddress& address, const std::string& path, const char* printed = "") {
    EXPECT_EQ(outcome_of([this] { return get_pcie_switch_bus(address_, path_); }), (Outcome{printed, code}));
    EXPECT_EQ(DeviceName(address_).view(), DeviceName(address).view());
    EXPECT_EQ(path_, path);
  }

  const PciAddress start_{0x00, 0x1C, 0x04};
  PciAddress address_ = start_;
  char path_[QORX_NAME_SIZE] = "";
};

TEST_F(SwitchBus, TheDeviceBehindAPortIsFoundAndThePathGrowsByOneLevelWithEachStep) {
  make_device("0000:00:1c.4/0000:0a:1f.7/0000:03:05.1");
  step(1, {0x0A, 0x1F, 7}, kPort);
  step(1, {3, 5, 1}, std::string(kPort) + "/0000:0a:1f.7");
}

TEST_F(SwitchBus, OnlyDevicesOfDomainZeroOtherThanThePortItselfCount) {
  for (const char* const other : {"0000:00:1c.4:pcie001", "0001:05:00.0", "pci_bus", "10000:05:00.0"}) {
    make_device("0000:00:1c.4/" + std::string(other));
  }
  step(0, start_, kPort);
  make_device("0000:00:1c.4/0000:06:00.0");
  path_[0] = '\0';
  step(1, {6, 0, 0}, kPort);
}

TEST_F(SwitchBus, FilesCountLikeDirectories) {
  machine_.write("sys/devices/pci0000:00/0000:00:1c.4/0000:07:00.0", "");
  step(1, {7, 0, 0}, kPort);
}

TEST_F(SwitchBus, OfSeveralDevicesTheFirstInDirectoryOrderIsTaken) {
  for (int dev = 0; dev < 8; ++dev) {
    make_device("0000:00:1c.4/0000:02:0" + std::to_string(dev) + ".0");
  }
  const std::string first = entries_in_order(machine_.root() / (kPort + 1)).at(0);
  step(1, {2, static_cast<std::uint8_t>(first[9] - '0'), 0}, kPort);
}

TEST_F(SwitchBus, APortWithoutADeviceIsNoError) {
  make_device("0000:00:1c.4");
  step(0, start_, kPort);
}

// Nothing there, or a file.
TEST_F(SwitchBus, AMissingPortIsAConfigurationError) {
  step(0x81, start_, kPort, kNoSwitch);
  machine_.write(kPort + 1, "");
  path_[0] = '\0';
  step(0x81, start_, kPort, kNoSwitch);
  g_error_message_open = 0;
  path_[0] = '\0';
  step(0x81, start_, kPort);
}

TEST_F(SwitchBus, NumbersAreWrittenInLowerCaseHexadecimal) {
  address_ = {0xAB, 0xFF, 0xFF};
  make_device("0000:ab:ff.ff/0000:CD:1E.3");
  step(1, {0xCD, 0x1E, 3}, "/sys/devices/pci0000:00/0000:ab:ff.ff");
}

TEST_F(SwitchBus, TracesShowTheDirectoryAndTheFieldsFound) {
  make_device("0000:00:1c.4/0000:0a:1f.7");
  const auto traced = [this] { return traced_by([this] { static_cast<void>(get_pcie_switch_bus(address_, path_)); }); };
  EXPECT_EQ(traced(), "get_pcie_switch_bus\n/sys/devices/pci0000:00/0000:00:1c.4\na\n1f\n7\n");
  EXPECT_EQ(traced(), "get_pcie_switch_bus\n/sys/devices/pci0000:00/0000:00:1c.4/0000:0a:1f.7\n");
}

TEST_F(SwitchBus, APathThatOutgrowsItsFieldIsCut) {
  copy_text(path_, std::string(250, '/'));
  step(0x81, start_, std::string(250, '/') + "/0000", kNoSwitch);
}

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

using IdCounts = std::vector<std::pair<std::uint32_t, int>>;

struct Slot {
  std::string name;
  int type = 9;
  int port_count = 0;
  IdCounts ids = {};
  std::uint32_t vendor_id = 0;

  bool operator==(const Slot&) const = default;
  friend void PrintTo(const Slot& slot, std::ostream* out) {
    *out << '"' << slot.name << "\" type " << slot.type << " ports " << slot.port_count << " vendor " << slot.vendor_id
         << " ids " << testing::PrintToString(slot.ids);
  }
};

using Slots = std::vector<Slot>;

struct Merging {
  std::string_view rule;
  Slots before;
  Slots after;
};

class MultiRoot : public RowTest<Merging> {
 protected:
  static Slots merged(const Slots& slots) {
    for (const Slot& slot : slots) {
      SlotRecord& record = add_slot(slot.name, slot.type);
      record.port_count = static_cast<std::uint8_t>(slot.port_count);
      record.vendor_id = slot.vendor_id;
      for (const auto& [id, count] : slot.ids) {
        record.device_id[record.device_id_number] = id;
        record.device_id_count[record.device_id_number++] = static_cast<std::uint8_t>(count);
      }
    }
    EXPECT_EQ(qorx_handle_multi_root(), 0);
    Slots result;
    for (const SlotRecord& record : slot_records()) {
      result.push_back({record.slot_name, record.type, record.port_count, {}, record.vendor_id});
      for (std::size_t i = 0; i < record.device_id_number; ++i) {
        result.back().ids.emplace_back(record.device_id[i], record.device_id_count[i]);
      }
    }
    return result;
  }
};

// A slot wired to several root ports has several slot records of one designation: they become one. What a record
// without a name keeps is of no account.
TEST_P(MultiRoot, IsOneSlot) {
  Slots result = merged(row().before);
  for (std::size_t i = 0; i < result.size(); ++i) {
    EXPECT_EQ(slot_records()[i].smbios_slot_name, row().before[i].name);
    if (result[i].name.empty() && !row().before[i].name.empty()) {
      result[i] = {""};
    }
  }
  EXPECT_EQ(result, row().after);
}

QORX_ROWS(MultiRoot,
          {"two records of one designation become one",
           {{"S1", 9, 2, {{0x1521, 2}}}, {"S2", 9, 1, {{0x10FB, 1}}}, {"S1", 9, 3, {{0x1572, 1}, {0x1521, 2}}}},
           {{"S1", 9, 5, {{0x1521, 4}, {0x1572, 1}}}, {"S2", 9, 1, {{0x10FB, 1}}}, {""}}},
          {"all later twins are merged",
           {{"S1", 9, 1, {{0x1521, 1}}}, {"S1", 9, 2, {{0x1521, 2}}}, {"S1", 9, 4, {{0x1521, 4}}}},
           {{"S1", 9, 7, {{0x1521, 7}}}, {""}, {""}}},
          {"the vendor is taken from a twin when there is none",
           {{"S1"}, {"S1", 9, 0, {}, 0x8086}, {"S1", 9, 0, {}, 0x15B3}},
           {{"S1", 9, 0, {}, 0x8086}, {""}, {""}}},
          {"only then", {{"S1", 9, 0, {}, 0x15B3}, {"S1", 9, 0, {}, 0x8086}}, {{"S1", 9, 0, {}, 0x15B3}, {""}}},
          {"a fifth device id is not kept",
           {{"S1", 9, 4, {{1, 1}, {2, 1}, {3, 1}}}, {"S1", 9, 9, {{4, 2}, {5, 3}, {2, 4}}}},
           {{"S1", 9, 13, {{1, 1}, {2, 5}, {3, 1}, {4, 2}}}, {""}}},
          {"records without a designation stay apart", {{"", 9, 1}, {"", 9, 2}}, {{"", 9, 1}, {"", 9, 2}}},
          {"the first record is a system slot", {{"A", 41, 1}, {"A", 41, 2}}, {{"A", 41, 1}, {"A", 41, 2}}},
          {"the later one need not be", {{"B", 9, 4}, {"B", 41, 8}}, {{"B", 9, 12}, {""}}},
          {"an earlier onboard record is not merged",
           {{"A", 41, 1}, {"A", 9, 2}, {"A", 9, 4}},
           {{"A", 41, 1}, {"A", 9, 6}, {""}}},
          {"designations are compared exactly",
           {{"Slot 1"}, {"slot 1"}, {"Slot 1 "}, {"Slot 10"}},
           {{"Slot 1"}, {"slot 1"}, {"Slot 1 "}, {"Slot 10"}}},
          {"the count is a byte", {{"S1", 9, 200}, {"S1", 9, 100}}, {{"S1", 9, 44}, {""}}},
          {"an empty table is fine", {}, {}});

TEST_F(MultiRoot, OfAFullTableBecomesOneRecord) {
  Slots slots(kMaxRecords, Slot{"S1", 9, 0, {{0x1521, 0}}});
  std::fill_n(slots.begin(), 100, Slot{"S1", 9, 1, {{0x1521, 1}}});
  const Slots result = merged(slots);
  EXPECT_EQ(result[0], (Slot{"S1", 9, 100, {{0x1521, 100}}}));
  EXPECT_EQ(result[511].name, "");
}

}  // namespace
}  // namespace qorx::test
