#include "output/port_row.h"

#include <charconv>

#include "base/path_text.h"
#include "base/print.h"
#include "ident/features.h"

namespace qorx {

namespace {

constexpr const char* kHeader = "%-15s %-11s %-9s %-9s  %-17s  %-25s %-28s %-15s %-3s %-10s \n";

// The columns of a row. Address and ids are printed by their own formats or as one of the texts below.
constexpr const char* kName = "%-15s ";
constexpr const char* kAddress = "%.2x:%.2x.%.1x";
constexpr const char* kIds = "%.4x %.4x ";
constexpr const char* kSubsystemIds = "%.4x %.4x  ";
constexpr const char* kMacSlotPanel = "%-17s  %-25s %-28s ";
constexpr const char* kFeatureSegmentModel = "%-15s %-3s %s \n";

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

using Column = JoinedText<32>;

const char* text_or_na(const char* text) {
  return text[0] != '\0' ? text : kNotAvailable;
}

bool has_address(const DeviceRecord& record) {
  return record.fun < kAbsent;
}

const char* slot_text(const DeviceRecord& record) {
  if (!has_address(record)) {
    return kNotAvailable;
  }
  return record.slot_name[0] != '\0' ? record.slot_name : "(!!)";
}

bool are_known(std::uint32_t vendor_id, std::uint32_t device_id) {
  return vendor_id < QORX_ID_UNKNOWN && device_id < QORX_ID_UNKNOWN;
}

void print_identity(std::FILE* stream, const DeviceRecord& record) {
  print(stream, kName, record.eth_name);
  if (has_address(record)) {
    print(stream, kAddress, record.bus, record.dev, record.fun);
  } else {
    std::fputs(kNoAddress, stream);
  }
  std::fputs(record.usb[0] != '\0' ? kUsbMark : kNoUsbMark, stream);
  if (are_known(record.vendor_id, record.device_id)) {
    print(stream, kIds, record.vendor_id, record.device_id);
  } else {
    std::fputs(kNoIds, stream);
  }
  if (are_known(record.subsys_vendor_id, record.subsys_device_id)) {
    print(stream, kSubsystemIds, record.subsys_vendor_id, record.subsys_device_id);
  } else {
    std::fputs(kNoSubsystemIds, stream);
  }
}

Column feature_column(const DeviceRecord& record, bool marked) {
  const bool needs_config = record.feature == QORX_FEATURE_NONE && record.smbios_type == QORX_SMBIOS_ONBOARD_DEVICE;
  const bool has_control = record.feature == QORX_FEATURE_A_BYPASS && record.bypass_ctrl_flag == 1;
  return {needs_config ? "Need cfg" : feature_text(record.feature), has_control ? "-C" : "", marked ? "(!)" : ""};
}

Column segment_column(const DeviceRecord& record) {
  const bool has_bypass = record.feature == QORX_FEATURE_A_BYPASS || record.feature == QORX_FEATURE_L_BYPASS ||
                          record.feature == QORX_FEATURE_A_BYPASS_I2C;
  if (!has_bypass || record.seg >= kAbsent) {
    return {has_bypass ? "(?)" : kNotAvailable};
  }
  char digits[3];
  const char* const end = std::to_chars(digits, digits + sizeof digits, record.seg).ptr;
  return {std::string_view(digits, static_cast<std::size_t>(end - digits))};
}

}  // namespace

void PortTable::print_header() {
  print(stream_, kHeader, "eth name", "bus:dev.fun", "vid  did", "svid sdid", "mac address", "slot name", "panel name",
        "feature", "seg", "model");
}

void PortTable::print_port(DeviceRecord& record) {
  if (mark_ == MismatchMark::kRowOnly) {
    marked_ = false;
  }
  if ((record.feature & QORX_FEATURE_MISMATCH) != 0) {
    marked_ = true;
    record.feature = static_cast<std::uint8_t>(record.feature & ~QORX_FEATURE_MISMATCH);
  }
  print_identity(stream_, record);
  print(stream_, kMacSlotPanel, text_or_na(record.mac_addr), slot_text(record),
        record.slot_name[0] != '\0' ? record.panel_name : kNotAvailable);
  print(stream_, kFeatureSegmentModel, feature_column(record, marked_).c_str(), segment_column(record).c_str(),
        record.model);
}

void PortTable::print_legend() {
  std::fputs(kLegend, stream_);
}

void print_result_vlan_one(const char* name, const char* mac, std::FILE* stream) {
  stream = stream != nullptr ? stream : stdout;
  print(stream, kName, name);
  std::fputs(kNoAddress, stream);
  std::fputs(kNoUsbMark, stream);
  std::fputs(kNoIds, stream);
  std::fputs(kNoSubsystemIds, stream);
  print(stream, kMacSlotPanel, text_or_na(mac), kNotAvailable, kNotAvailable);
  print(stream, kFeatureSegmentModel, "unknown", kNotAvailable, "ID not found");
}

}  // namespace qorx
