// The table on the screen, and its filters.
#include <cstdio>
#include <string_view>

#include "base/bounded_text.h"
#include "ident/features.h"
#include "ident/strings.h"
#include "lib/checks.h"
#include "output/port_row.h"
#include "output/virtual_interfaces.h"
#include "records/state.h"
#include "smbios/system_info.h"

namespace qorx {

namespace {

// A filter text, upper-cased. A longer one than the field matches nothing, cut or not.
struct UpperText {
  char text[QORX_NAME_SIZE];
  explicit UpperText(const char* source) {
    copy_text(text, source);
    str_upper_case(text);
  }
};

void print_by_name(PortTable& table, std::string_view eth_name) {
  for (DeviceRecord& record : device_records()) {
    if (eth_name == record.eth_name) {
      table.print_port(record);
      return;
    }
  }
}

bool has_feature(const DeviceRecord& record, std::uint8_t code) {
  return code == QORX_FEATURE_NCSI_1PPS ? record.feature == code : (record.feature & code) != 0;
}

void print_by_feature(PortTable& table, std::uint8_t code) {
  for (DeviceRecord& record : device_records()) {
    if (has_feature(record, code)) {
      table.print_port(record);
    }
  }
}

// The function may be written with one digit or with two.
bool has_address(const DeviceRecord& record, std::string_view bdf) {
  char one_digit[16];
  char two_digits[16];
  format_text(one_digit, sizeof one_digit, "%.2X:%.2X.%.1X", record.bus, record.dev, record.fun);
  format_text(two_digits, sizeof two_digits, "%.2X:%.2X.%.2X", record.bus, record.dev, record.fun);
  return bdf == one_digit || bdf == two_digits;
}

void print_by_address(PortTable& table, std::string_view bdf) {
  for (DeviceRecord& record : device_records()) {
    if (has_address(record, bdf)) {
      table.print_port(record);
      return;
    }
  }
}

void print_all(PortTable& table) {
  for (DeviceRecord& record : device_records()) {
    if (wrong_seg_flag == 0 || (record.feature == QORX_FEATURE_A_BYPASS && record.seg >= kAbsent)) {
      table.print_port(record);
    }
  }
}

}  // namespace

}  // namespace qorx

std::int32_t qorx_print_scan_result(const char* eth_name, const char* feature, const char* bdf) {
  using namespace qorx;
  if (const std::int32_t code = INIT_CHECK(); code != 0) {
    return code;
  }
  const std::uint8_t feature_bits = feature != nullptr
                                        ? feature_code(UpperText(feature).text, FeatureVocabulary::kTable).value_or(0)
                                        : std::uint8_t{0};
  Debugout_smbios_array();
  PortTable table(stdout, MismatchMark::kRowOnly);
  table.print_header();
  if (eth_name != nullptr) {
    print_by_name(table, eth_name);
  } else if (feature != nullptr) {
    print_by_feature(table, feature_bits);
  } else if (bdf != nullptr) {
    print_by_address(table, UpperText(bdf).text);
  } else {
    print_all(table);
  }
  if (g_novlan == 0 && feature_bits == 0 && bdf == nullptr) {
    if (const std::int32_t code = get_all_virtual_eth_devices_info(eth_name, stdout); code != 0) {
      return code;
    }
  }
  table.print_legend();
  return 0;
}
