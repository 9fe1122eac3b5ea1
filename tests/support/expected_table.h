// The table as its readers see it, put together from words: what a test expects on the screen or in the result file.
#ifndef QORX_TESTS_SUPPORT_EXPECTED_TABLE_H
#define QORX_TESTS_SUPPORT_EXPECTED_TABLE_H

#include <string>
#include <string_view>

namespace qorx::test {

inline const std::string kTableHeader =
    "eth name        bus:dev.fun vid  did  svid sdid  mac address        slot name                 "
    "panel name                   feature         seg model      \n";

inline const std::string kTableLegend =
    "(*) means default, user can use config file to overwrite the panel name.\n"
    "(!) means CFG file feature is not matched with Vlm default feature.\n"
    "(?) means CFG file changed the slot number of slot name or NO matched SMBIOS type9/41 record.\n"
    "    QORX can't identify the slot number to output corresponding seg number.\n"
    "(u) means this NIC device is from USB. The vid and did are from USB.\n"
    "(!!) means there is no valid type 9/41 SMBIOS record. Please contact Velmora.\n"
    "N/A in slot name means it's a USB network device or a virtual network device. It's NOT a PCIE network device.\n";

// The words of one row. As they stand they are those of a virtual interface without a MAC address.
struct TableRow {
  std::string_view eth_name;
  std::string_view address = "N/A    ";
  bool usb = false;
  std::string_view ids = "N/A  N/A ";
  std::string_view subsystem_ids = "N/A  N/A ";
  std::string_view mac = "N/A";
  std::string_view slot = "N/A";
  std::string_view panel = "N/A";
  std::string_view feature = "unknown";
  std::string_view seg = "N/A";
  std::string_view model = "ID not found";
};

inline std::string padded(std::string_view text, std::size_t width) {
  std::string column(text);
  column.resize(column.size() < width ? width : column.size(), ' ');
  return column;
}

inline std::string table_line(const TableRow& row) {
  return padded(row.eth_name, 15) + " " + std::string(row.address) + (row.usb ? "(u)  " : "     ") +
         padded(row.ids, 9) + " " + padded(row.subsystem_ids, 9) + "  " + padded(row.mac, 17) + "  " +
         padded(row.slot, 25) + " " + padded(row.panel, 28) + " " + padded(row.feature, 15) + " " + padded(row.seg, 3) +
         " " + std::string(row.model) + " \n";
}

// A whole table with these rows.
inline std::string table_of(std::string_view rows) {
  return kTableHeader + std::string(rows) + kTableLegend;
}

}  // namespace qorx::test

#endif
