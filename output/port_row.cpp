#include "output/port_row.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "base/path_text.h"
#include "base/print.h"
#include "base/text_fields.h"
#include "ident/features.h"
#include "records/pci_address.h"

namespace qorx {

namespace {

// The columns, as printf writes them: %-<width>s and the blanks behind. Below the header, the address, which is as wide
// as the text that stands for it where there is none, and the model, which is the last, have no padding.
struct ColumnFormat {
  std::size_t width;
  std::size_t blanks;
};
constexpr ColumnFormat kName{15, 1};
constexpr ColumnFormat kAddressTitle{11, 1};
constexpr ColumnFormat kIds{9, 1};
constexpr ColumnFormat kSubsystemIds{9, 2};
constexpr ColumnFormat kMac{17, 2};
constexpr ColumnFormat kSlot{25, 1};
constexpr ColumnFormat kPanel{28, 1};
constexpr ColumnFormat kFeature{15, 1};
constexpr ColumnFormat kSegment{3, 1};
constexpr ColumnFormat kModelTitle{10, 1};
constexpr ColumnFormat kModel{0, 1};
constexpr ColumnFormat kUnpadded{0, 0};

constexpr std::string_view kNoAddress = "N/A    ";
constexpr std::string_view kUsbMark = "(u)  ";
constexpr std::string_view kNoUsbMark = "     ";
constexpr std::string_view kNoIds = "N/A  N/A ";
constexpr std::string_view kNotAvailable = "N/A";

constexpr const char* kLegend =
    "(*) means default, user can use config file to overwrite the panel name.\n"
    "(!) means CFG file feature is not matched with Vlm default feature.\n"
    "(?) means CFG file changed the slot number of slot name or NO matched SMBIOS type9/41 record.\n"
    "    QORX can't identify the slot number to output corresponding seg number.\n"
    "(u) means this NIC device is from USB. The vid and did are from USB.\n"
    "(!!) means there is no valid type 9/41 SMBIOS record. Please contact Velmora.\n"
    "N/A in slot name means it's a USB network device or a virtual network device. It's NOT a PCIE network device.\n";

using Column = JoinedText<32>;

// One row, put together here and printed at once: a conversion of printf per column costs more than reading the port.
class Row {
 public:
  void add(std::string_view text, ColumnFormat format) {
    put(text);
    pad(format.width - std::min(text.size(), format.width) + format.blanks);
  }

  void print_on(std::FILE* stream) const { print_line(stream, {text_.data(), length_}); }

 private:
  void put(std::string_view text) {
    const std::size_t count = std::min(text.size(), text_.size() - length_);
    std::copy_n(text.data(), count, text_.data() + length_);
    length_ += count;
  }

  void pad(std::size_t count) {
    count = std::min(count, text_.size() - length_);
    std::fill_n(text_.data() + length_, count, ' ');
    length_ += count;
  }

  // Four names and what stands between them.
  std::array<char, std::size_t{4} * QORX_NAME_SIZE + 256> text_;
  std::size_t length_ = 0;
};

std::string_view text_or_na(std::string_view text) {
  return !text.empty() ? text : kNotAvailable;
}

bool has_address(const DeviceRecord& record) {
  return record.fun < kAbsent;
}

std::string_view slot_text(const DeviceRecord& record) {
  if (!has_address(record)) {
    return kNotAvailable;
  }
  return record.slot_name[0] != '\0' ? record.slot_name : "(!!)";
}

// "8086 1521", or what stands for ids that are not known.
Column ids_column(std::uint32_t vendor_id, std::uint32_t device_id) {
  if (vendor_id >= QORX_ID_UNKNOWN || device_id >= QORX_ID_UNKNOWN) {
    return {kNoIds};
  }
  char text[9];
  for (int digit = 0; digit < 4; ++digit) {
    text[digit] = "0123456789abcdef"[vendor_id >> (12 - 4 * digit) & 0xF];
    text[5 + digit] = "0123456789abcdef"[device_id >> (12 - 4 * digit) & 0xF];
  }
  text[4] = ' ';
  return {std::string_view(text, sizeof text)};
}

void add_identity(Row& row, const DeviceRecord& record) {
  row.add(record.eth_name, kName);
  const DeviceName name({record.bus, record.dev, record.fun});
  row.add(has_address(record) ? text_behind(name.view(), kPciDomain.size()) : kNoAddress, kUnpadded);
  row.add(record.usb[0] != '\0' ? kUsbMark : kNoUsbMark, kUnpadded);
  row.add(ids_column(record.vendor_id, record.device_id).view(), kIds);
  row.add(ids_column(record.subsys_vendor_id, record.subsys_device_id).view(), kSubsystemIds);
}

Column feature_column(const DeviceRecord& record, bool marked) {
  const bool needs_config = record.feature == QORX_FEATURE_NONE && record.smbios_type == QORX_SMBIOS_ONBOARD_DEVICE;
  const bool has_control = record.feature == QORX_FEATURE_A_BYPASS && record.bypass_ctrl_flag == 1;
  return {needs_config ? "Need cfg" : feature_text(record.feature), has_control ? "-C" : "", marked ? "(!)" : ""};
}

Column decimal_column(std::uint8_t number) {
  return {Digits(number).view()};
}

Column segment_column(const DeviceRecord& record) {
  const bool has_bypass = record.feature == QORX_FEATURE_A_BYPASS || record.feature == QORX_FEATURE_L_BYPASS ||
                          record.feature == QORX_FEATURE_A_BYPASS_I2C;
  if (!has_bypass || record.seg >= kAbsent) {
    return {has_bypass ? "(?)" : kNotAvailable};
  }
  return decimal_column(record.seg);
}

}  // namespace

void PortTable::print_header() {
  Row row;
  row.add("eth name", kName);
  row.add("bus:dev.fun", kAddressTitle);
  row.add("vid  did", kIds);
  row.add("svid sdid", kSubsystemIds);
  row.add("mac address", kMac);
  row.add("slot name", kSlot);
  row.add("panel name", kPanel);
  row.add("feature", kFeature);
  row.add("seg", kSegment);
  row.add("model", kModelTitle);
  row.print_on(stream_);
}

void PortTable::print_port(DeviceRecord& record) {
  if (mark_ == MismatchMark::kRowOnly) {
    marked_ = false;
  }
  if ((record.feature & QORX_FEATURE_MISMATCH) != 0) {
    marked_ = true;
    record.feature = static_cast<std::uint8_t>(record.feature & ~QORX_FEATURE_MISMATCH);
  }
  Row row;
  add_identity(row, record);
  row.add(text_or_na(record.mac_addr), kMac);
  row.add(slot_text(record), kSlot);
  row.add(record.slot_name[0] != '\0' ? record.panel_name : kNotAvailable, kPanel);
  row.add(feature_column(record, marked_).view(), kFeature);
  row.add(segment_column(record).view(), kSegment);
  row.add(record.model, kModel);
  row.print_on(stream_);
}

void PortTable::print_legend() {
  std::fputs(kLegend, stream_);
}

void print_result_vlan_one(const char* name, const char* mac, std::FILE* stream) {
  Row row;
  row.add(name, kName);
  row.add(kNoAddress, kUnpadded);
  row.add(kNoUsbMark, kUnpadded);
  row.add(kNoIds, kIds);
  row.add(kNoIds, kSubsystemIds);
  row.add(text_or_na(mac), kMac);
  row.add(kNotAvailable, kSlot);
  row.add(kNotAvailable, kPanel);
  row.add("unknown", kFeature);
  row.add(kNotAvailable, kSegment);
  row.add("ID not found", kModel);
  row.print_on(stream != nullptr ? stream : stdout);
}

}  // namespace qorx
