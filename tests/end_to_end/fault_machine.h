// A machine on which every file and directory that the tool opens decides a word of its output.
#ifndef QORX_TESTS_END_TO_END_FAULT_MACHINE_H
#define QORX_TESTS_END_TO_END_FAULT_MACHINE_H

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/expected_table.h"
#include "tests/support/sample_machine.h"

namespace qorx::test {

// The sample machine's onboard, plain and bypass ports, and: a USB adapter; a module that only a bridge above it tells;
// a module whose bypass hangs on the host's I2C behind a switch; a port behind a PCIe switch.
class FaultMachine : public SampleMachine {
 public:
  FaultMachine() {
    add_usb_port("eth5", "0000:00:14.0/usb2/2-1/2-1:1.0", "bda/8153/3000");
    add_port("eth6", "0000:00:1c.2/0000:08:00.0");
    write("sys/devices/pci0000:00/0000:00:1c.2/config",
          bridge_config({.subsys_vendor = 0x13FE, .subsys_device = 0x204A}, 0x40));
    add_port("eth7", "0000:00:1c.3/0000:09:00.0", {.subsys_vendor = 0x13FE, .subsys_device = 0x205D});
    add_port("eth8", "0000:00:1d.0/0000:0a:00.0/0000:0b:03.0/0000:0c:00.0",
             {.subsys_vendor = 0x13FE, .subsys_device = 0x0037});
    add_i2c_adapter(4, "SMBus I801 adapter at efa0").add_i2c_adapter(9, "i2c-4-mux (chan_id 2)");
    smbios(slots());
    user_file("qorx.cfg", "SLOT_NAME=\"SW Slot\"\nPCIe_SW_DEV/WMX_SLOT=\"3-3/WMX Slot 8\"\n");
    user_file("smbios.cfg", "TYPE=\"9\"\nNAME=\"WMX Slot 3\"\nBUS:DEV.FUN=\"03:00.0\"\n");
    user_file("wmx_name.cfg", "WMX-2848 A_BYPASS\n");
  }

  static SmbiosTable slots() {
    return SmbiosTable()
        .slot("WMX Slot 4", "04:00.0")
        .slot("WMX Slot 3", "03:00.0")
        .onboard("LAN 1", "00:1f.6")
        .slot("WMX Slot 5", "08:00.0")
        .slot("WMX Slot 6 (H.1.2.255)", "09:00.0")
        .slot("SW Slot", "00:1d.0");
  }

  // tovix.cfg, with this I2C bus and switches for the module whose bypass hangs on the host.
  static std::string tovix_cfg(const std::string& bus = "9.255.255") {
    return "eth_name: eth3\nSEGMENT: 16\nBUS: 04\nDEV: 00\nFUN: 0\n\n"
           "eth_name: eth7\nSEGMENT: 24\nTYPE: SYS_I2C\nBUS: " +
           bus + "\nMCU_SEGMENT: 1\n\nTYPE:PCIE\n\n";
  }
};

// As many ports and slots as there are records, every second port behind a bridge of its own, all with an I2C bypass.
class LargeMachine : public FakeMachine {
 public:
  LargeMachine() {
    SmbiosTable slots;
    for (int i = 0; i < 512; ++i) {
      const std::string number = std::to_string(i);
      char address[8];
      std::snprintf(address, sizeof address, "%02x:%02x.0", 1 + i % 250, i / 250);
      const std::string function = std::string("0000:") + address;
      add_port("eth" + number, (i % 2 == 0 ? "0000:00:1c.0/" : "") + function, {0x8086, 0x1521, 0x13FE, 0x205D});
      slots.slot("Slot " + number + " (H.1.2.255)", address);
    }
    smbios(slots);
    add_i2c_adapter(1, "SMBus I801 adapter at efa0").add_i2c_adapter(2, "i2c-1-mux (chan_id 2)");
    add_usb_port("eth512", "0000:00:14.0/usb2/2-1/2-1:1.0", "bda/8153/3000");
    user_file("qorx.cfg", "SLOT_NAME=\"Slot 0 (H.1.2.255)\"\nFUNCTION/NAME/FEATURE=\"0/first/A_BYPASS_I2C\"\n");
    user_file("wmx_name.cfg", "WMX-2848 A_BYPASS\n");
    user_file("smbios.cfg", "TYPE=\"9\"\nNAME=\"One\"\nBUS:DEV.FUN=\"01:00.0\"\n");
  }
};

inline const std::string kNoTovixRecords = "TYPE:PCIE\n\n";

// Ids that are not known, or those of configuration space without any byte; no table knows either.
constexpr const char* kUnknownIds = "N/A  N/A ";
constexpr const char* kZeroIds = "0000 0000";

inline void set_ids(TableRow& row, const char* ids) {
  row.ids = row.subsystem_ids = ids;
  row.feature = row.slot == "LAN 1" ? "Need cfg" : "unknown";
  row.model = row.slot == "LAN 1" ? "Onboard" : "ID not found";
  row.seg = "N/A";
}

// The rows of that machine, to be changed to what a fault makes of them.
class Rows {
 public:
  TableRow& operator[](std::string_view eth_name) {
    return *std::find_if(rows_.begin(), rows_.end(), [&](const TableRow& row) { return row.eth_name == eth_name; });
  }
  void remove(std::string_view eth_name) {
    std::erase_if(rows_, [&](const TableRow& row) { return row.eth_name == eth_name; });
  }
  void clear() { rows_.clear(); }
  // A port without address sorts behind all others.
  void move_behind_the_ports(std::string_view eth_name) {
    const TableRow row = (*this)[eth_name];
    remove(eth_name);
    rows_.insert(rows_.end() - 1, row);
  }
  // There is no slot record.
  void lose_slots() {
    for (TableRow& row : rows_) {
      if (row.eth_name != "eth5" && row.eth_name != "br0") {
        row.slot = "(!!)";
        row.panel = "N/A";
        row.seg = row.seg == "N/A" ? "N/A" : "(?)";
      }
    }
  }
  // No file of any port can be read: the links alone tell.
  void lose_identities() {
    for (TableRow& row : rows_) {
      if (row.eth_name != "br0") {
        set_ids(row, kUnknownIds);
        row.mac = "N/A";
      }
    }
    (*this)["eth6"].panel = "1 (*)";
  }
  // Nothing tells the module that only a bridge above it tells: it is a card that no table knows.
  void lose_bridge() {
    (*this)["eth6"].panel = "1 (*)";
    (*this)["eth6"].feature = "unknown";
    (*this)["eth6"].model = "ID not found";
  }
  [[nodiscard]] std::string table() const {
    std::string lines;
    for (const TableRow& row : rows_) {
      lines += table_line(row);
    }
    return table_of(lines);
  }

 private:
  static constexpr std::string_view kCard = "8086 1521";
  std::vector<TableRow> rows_{
      {"eth5", "00:14.0", true, "0bda 8153", "N/A  N/A ", "02:00:00:00:00:06"},
      {"eth2", "00:1f.6", false, "8086 1533", "13fe 3016", "02:00:00:00:00:03", "LAN 1", "LAN 1 (*)", "NCSI", "N/A",
       "I210_CO"},
      {"eth0", "03:00.0", false, kCard, "13fe 0037", "02:00:00:00:00:01", "WMX Slot 3", "1 (*)", "N/A", "N/A",
       "WMX-2248"},
      {"eth1", "03:00.1", false, kCard, "13fe 0037", "02:00:00:00:00:02", "WMX Slot 3", "2 (*)", "N/A", "N/A",
       "WMX-2248"},
      {"eth3", "04:00.0", false, kCard, "13fe 0035", "02:00:00:00:00:04", "WMX Slot 4", "1 (*)", "A_BYPASS-C", "16",
       "WMX-2848"},
      {"eth4", "04:00.1", false, kCard, "13fe 0035", "02:00:00:00:00:05", "WMX Slot 4", "2 (*)", "A_BYPASS", "16",
       "WMX-2848"},
      {"eth6", "08:00.0", false, kCard, "8086 0001", "02:00:00:00:00:07", "WMX Slot 5", "N/A", "N/A", "N/A",
       "WMX-LH53"},
      {"eth7", "09:00.0", false, kCard, "13fe 205d", "02:00:00:00:00:08", "WMX Slot 6 (H.1.2.255)", "1 (*)",
       "A_BYPASS_I2C", "24", "WMX-44C0"},
      {"eth8", "0c:00.0", false, kCard, "13fe 0037", "02:00:00:00:00:09", "SW Slot", "1 (*)", "N/A", "N/A", "WMX-2248"},
      {.eth_name = "br0", .mac = "02:00:00:00:00:99"},
  };
};

inline std::string table_without_slots() {
  Rows rows;
  rows.lose_slots();
  return rows.table();
}

}  // namespace qorx::test

#endif
