#include "output/port_row.h"

#include "ident/features.h"
#include "lib/bounded_text.h"

namespace qorx {

namespace {

// One row: name, address, usb mark, PCI ids, subsystem ids, MAC, slot, panel, feature, segment, model.
constexpr const char* kRow = "%-15s %s%s%s%s%-17s  %-25s %-28s %-15s %-3s %s \n";
constexpr const char* kHeader = "%-15s %-11s %-9s %-9s  %-17s  %-25s %-28s %-15s %-3s %-10s \n";

constexpr const char* kNoAddress = "N/A    ";
constexpr const char* kUsbMark = "(u)  ";
constexpr const char* kNoUsbMark = "     ";
constexpr const char* kNoIds = "N/A  N/A  ";
constexpr const char* kNoSubsystemIds = "N/A  N/A   ";
constexpr const char* kNotAvailable = "N/A";

constexpr const char* kLegend =
    "(*) means default, user can use config file to overwrite the panel name.\n"
    "(!) means CFG file feature is not matched with Vlm default feature.\n"
    "(?) means CFG file changed the slot number of slot name or NO matched SMBIOS type9/41 record.\n"
    "    QORX can't identify the slot number to output corresponding seg number.\n"
    "(u) means this NIC device is from USB. The vid and did are from USB.\n"
    "(!!) means there is no valid type 9/41 SMBIOS record. Please contact Velmora.\n"
    "N/A in slot name means it's a USB network device or a virtual network device. It's NOT a PCIE network device.\n";

struct Column {
  char text[32];
};

const char* text_or_na(const char* text) {
  return text[0] != '\0' ? text : kNotAvailable;
}

bool has_address(const DeviceRecord& record) {
  return record.fun < kAbsent;
}

Column address_column(const DeviceRecord& record) {
  Column column;
  if (has_address(record)) {
    format_text(column.text, sizeof column.text, "%.2x:%.2x.%.1x", record.bus, record.dev, record.fun);
  } else {
    copy_text(column.text, kNoAddress);
  }
  return column;
}

// `blanks` keeps the columns apart; the subsystem ids have one more than the ids before them.
Column ids_column(std::uint32_t vendor_id, std::uint32_t device_id, const char* blanks, const char* absent) {
  Column column;
  if (vendor_id < QORX_ID_UNKNOWN && device_id < QORX_ID_UNKNOWN) {
    format_text(column.text, sizeof column.text, "%.4x %.4x%s", vendor_id, device_id, blanks);
  } else {
    copy_text(column.text, absent);
  }
  return column;
}

const char* slot_text(const DeviceRecord& record) {
  if (!has_address(record)) {
    return kNotAvailable;
  }
  return record.slot_name[0] != '\0' ? record.slot_name : "(!!)";
}

Column feature_column(const DeviceRecord& record, bool marked) {
  const bool needs_config = record.feature == QORX_FEATURE_NONE && record.smbios_type == QORX_SMBIOS_ONBOARD_DEVICE;
  const bool has_control = record.feature == QORX_FEATURE_A_BYPASS && record.bypass_ctrl_flag == 1;
  Column column;
  format_text(column.text, sizeof column.text, "%s%s%s", needs_config ? "Need cfg" : feature_text(record.feature),
              has_control ? "-C" : "", marked ? "(!)" : "");
  return column;
}

Column segment_column(const DeviceRecord& record) {
  Column column;
  const bool has_bypass = record.feature == QORX_FEATURE_A_BYPASS || record.feature == QORX_FEATURE_L_BYPASS ||
                          record.feature == QORX_FEATURE_A_BYPASS_I2C;
  if (has_bypass && record.seg < kAbsent) {
    format_text(column.text, sizeof column.text, "%d", record.seg);
  } else {
    copy_text(column.text, has_bypass ? "(?)" : kNotAvailable);
  }
  return column;
}

}  // namespace

void PortTable::print_header() {
  std::fprintf(stream_, kHeader, "eth name", "bus:dev.fun", "vid  did", "svid sdid", "mac address", "slot name",
               "panel name", "feature", "seg", "model");
}

void PortTable::print_port(DeviceRecord& record) {
  if (mark_ == MismatchMark::kRowOnly) {
    marked_ = false;
  }
  if ((record.feature & QORX_FEATURE_MISMATCH) != 0) {
    marked_ = true;
    record.feature = static_cast<std::uint8_t>(record.feature & ~QORX_FEATURE_MISMATCH);
  }
  std::fprintf(
      stream_, kRow, record.eth_name, address_column(record).text, record.usb[0] != '\0' ? kUsbMark : kNoUsbMark,
      ids_column(record.vendor_id, record.device_id, " ", kNoIds).text,
      ids_column(record.subsys_vendor_id, record.subsys_device_id, "  ", kNoSubsystemIds).text,
      text_or_na(record.mac_addr), slot_text(record), record.slot_name[0] != '\0' ? record.panel_name : kNotAvailable,
      feature_column(record, marked_).text, segment_column(record).text, record.model);
}

void PortTable::print_legend() {
  std::fputs(kLegend, stream_);
}

void print_result_vlan_one(const char* name, const char* mac, std::FILE* stream) {
  std::fprintf(stream, kRow, name, kNoAddress, kNoUsbMark, kNoIds, kNoSubsystemIds, text_or_na(mac), kNotAvailable,
               kNotAvailable, "unknown", kNotAvailable, "ID not found");
}

}  // namespace qorx
