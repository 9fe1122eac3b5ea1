// The ports and places of recorded machines.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "base/bounded_text.h"
#include "base/system_root.h"
#include "records/state.h"
#include "tests/end_to_end/realdata.h"
#include "tests/end_to_end/system_tools.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test::realdata {
namespace {

void unpack(const fs::path& archive, const fs::path& directory) {
  ASSERT_EQ(run_command({"tar", "-xJf", archive, "-C", directory}), said(""));
}

// What the table shows of one port.
struct PortRow {
  std::string address, usb, vendor_device, subsystem, mac;

  friend bool operator==(const PortRow&, const PortRow&) = default;
  friend void PrintTo(const PortRow& row, std::ostream* stream) {
    *stream << row.address << ' ' << row.usb << ' ' << row.vendor_device << ' ' << row.subsystem << ' ' << row.mac;
  }
};

using PortRows = std::map<std::string, PortRow>;

// One line of a .nics.txt file: interface, kind, PCI address, vendor:device, subsystem, MAC, link.
PortRow expected_row(const Row& nic) {
  const auto shown_ids = [](std::string ids) {
    std::replace(ids.begin(), ids.end(), ':', ' ');
    return ids == "-" ? "N/A N/A" : ids;
  };
  // The address is the last component of the link in domain 0000; other domains are not known.
  const std::string& link = nic.at(6);
  const std::size_t at = link.rfind("/0000:");
  const std::string address = at == std::string::npos ? "N/A" : link.substr(at + 6, 7);
  if (nic.at(1) == "pci" && nic.at(2).starts_with("0000:")) {
    EXPECT_EQ(nic.at(2), "0000:" + address);
  }
  return {address, nic.at(1) == "usb" ? "(u)" : "", shown_ids(nic.at(3)), shown_ids(nic.at(4)),
          nic.at(5).substr(0, 17)};
}

PortRows expected_rows(const fs::path& listing) {
  PortRows rows;
  for (const Row& nic : read_listing(listing)) {
    // The low byte of the link's length is the scan's result: negative means that there is no port.
    const std::size_t link_length = nic.at(6).size() % 256;
    if (nic.at(1) != "virtual" && link_length < 128) {
      rows[nic.at(0)] = expected_row(nic);
    }
  }
  return rows;
}

// The rows between the header and the legend.
PortRows printed_rows(const std::string& output) {
  PortRows rows;
  std::istringstream lines(output);
  std::string line;
  while (std::getline(lines, line) && !line.starts_with("eth name")) {
  }
  while (std::getline(lines, line) && !line.starts_with("(*)")) {
    std::istringstream words(line);
    std::string name, vendor, device, subsystem_vendor, subsystem_device;
    PortRow row;
    words >> name >> row.address >> vendor >> device >> subsystem_vendor >> subsystem_device >> row.mac;
    if (row.address.ends_with("(u)")) {  // right behind the seven characters of the address
      row.usb = "(u)";
      row.address.erase(row.address.size() - row.usb.size());
    }
    row.vendor_device = vendor + " " + device;
    row.subsystem = subsystem_vendor + " " + subsystem_device;
    EXPECT_TRUE(rows.emplace(name, row).second) << name << " is listed twice";
  }
  return rows;
}

class RealTree : public RealMachine {};

TEST_P(RealTree, ListsExactlyItsPhysicalPorts) {
  const TemporaryDirectory tree;
  ASSERT_NO_FATAL_FAILURE(unpack(path(".tar.xz"), tree.path()));
  const ToolRun run = run_replay(tree.path(), tree.path(), {"-a", "-novlan"});
  if (!fs::is_directory(tree.path() / "sys/devices/pci0000:00")) {
    EXPECT_EQ(run, said("/sys/devices/pci0000:00 folder do not exist or can't access. Please check your environment\n"
                        "Error: QORX_ERR_OPEN_DIR (0x98)\n",
                        152));
    return;
  }
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(printed_rows(run.output), expected_rows(path(".nics.txt")));
}

INSTANTIATE_TEST_SUITE_P(RealData, RealTree, testing::ValuesIn(recordings("sysfs", ".tar.xz")), kNamedByRecording);

// Trees that have a table of their own machine, or of one of the same model with the same onboard addresses.
class RealPlaces : public RealMachine {};

std::string pattern(const char* format, unsigned bus, unsigned dev, unsigned fun) {
  char text[32];
  std::snprintf(text, sizeof text, format, bus, dev, fun);
  return text;
}

// The slot of a port, found the slow way: level by level, each with all slots in table order.
const ExpectedSlot* place_of(const std::string& net_path, const std::vector<ExpectedSlot>& slots) {
  const std::string own = net_path.substr(net_path.size() - std::min<std::size_t>(net_path.size(), 8));
  const std::string way = net_path.substr(0, 100);
  constexpr const char* kFunction = ":%.2x:%.2x.%.1x";
  constexpr const char* kDevice = ":%.2x:%.2x";
  constexpr const char* kBus = ":%.2x:";
  const struct {
    const std::string& text;
    const char* format;
    unsigned more_bus, more_dev, more_fun;
  } levels[] = {{own, kFunction, 0, 0, 0}, {own, kDevice, 0, 0, 0},   {own, kBus, 0, 0, 0},
                {way, kFunction, 0, 0, 0}, {way, kFunction, 0, 0, 1}, {way, kDevice, 0, 0, 0},
                {way, kDevice, 0, 1, 0},   {way, kBus, 0, 0, 0},      {way, kBus, 1, 0, 0}};
  for (const auto& level : levels) {
    for (const ExpectedSlot& slot : slots) {
      const std::string wanted =
          pattern(level.format, slot.bus + level.more_bus, (slot.device_function >> 3) + level.more_dev,
                  (slot.device_function & 7) + level.more_fun);
      if (level.text.find(wanted) != std::string::npos) {
        return &slot;
      }
    }
  }
  return nullptr;
}

TEST_P(RealPlaces, EveryPortGetsTheSlotThatItsPathLeadsThrough) {
  const std::string tree_name = "sysfs/" + path().filename().string();
  const TemporaryDirectory tree;
  ASSERT_NO_FATAL_FAILURE(unpack(kRealData / (tree_name + ".tar.xz"), tree.path()));
  ASSERT_TRUE(set_system_root(tree.path().string()));
  g_diag = 1;
  copy_text(g_entry_point_file, (path() / "smbios_entry_point").string());
  copy_text(g_dmi_file, (path() / "DMI").string());
  EXPECT_EQ(qorx_open(), 0);
  set_system_root("");
  const std::vector<ExpectedSlot> slots = expected_slots(path());
  std::map<std::string, Row> nics;
  for (const Row& nic : read_listing(kRealData / (tree_name + ".nics.txt"))) {
    nics[nic.at(0)] = nic;
  }
  std::size_t placed = 0;
  for (const DeviceRecord& port : device_records()) {
    SCOPED_TRACE(port.eth_name);
    const Row& nic = nics.at(port.eth_name);
    const std::string net_path = nic.at(6).substr(0, nic.at(6).rfind("/net/"));
    const bool is_usb = nic.at(1) == "usb";  // such a port has no slot, and says so
    const ExpectedSlot* const slot = is_usb ? nullptr : place_of(net_path, slots);
    EXPECT_EQ(port.slot_name, slot != nullptr ? trimmed(slot->designation) : is_usb ? "N/A" : "");
    EXPECT_EQ(port.smbios_type, slot == nullptr ? 0 : slot->type);
    placed += slot == nullptr ? 0U : 1U;
  }
  EXPECT_GE(placed, 4U);
}

std::vector<std::string> machines_with_tree_and_table() {
  if (kRealData.empty()) {
    return {""};
  }
  return {"smbios-rebuilt/lenovo-x3550-m5", "smbios-rebuilt/sophos-sg", "smbios-rebuilt/dell-poweredge-r910",
          "smbios/dell-poweredge-r730"};
}

INSTANTIATE_TEST_SUITE_P(RealData, RealPlaces, testing::ValuesIn(machines_with_tree_and_table()), kNamedByRecording);

}  // namespace
}  // namespace qorx::test::realdata
