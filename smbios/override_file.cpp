#include "smbios/override_file.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "base/bounded_text.h"
#include "base/line_reader.h"
#include "base/messages.h"
#include "base/text_fields.h"
#include "config/config_lines.h"
#include "ident/strings.h"
#include "records/origins.h"
#include "records/state.h"

namespace qorx {

namespace {

// The lines of one slot, in their order.
struct ExpectedLine {
  const char* key;
  const char* name;
};
constexpr std::array kExpectedLines{
    ExpectedLine{"TYPE=\"", "TYPE"},
    ExpectedLine{"NAME=\"", "NAME"},
    ExpectedLine{"BUS:DEV.FUN=\"", "BUS:DEV.FUN"},
};

// One slot being read: the values of the lines seen so far.
struct Triple {
  char value[kExpectedLines.size()][LineReader::kLineSize] = {};
  std::size_t lines = 0;  // how many of the three have been read
  bool any = false;       // whether any line was ever accepted
};

std::int32_t format_error() {
  return code_byte(QORX_ERR_CONF_FILE_FORMAT);
}

std::int32_t missing_line(const Triple& triple, const char* file, int line) {
  error("Can't find %s! %s line: %d\n", kExpectedLines[triple.lines].name, file, line);
  return format_error();
}

// Validates a complete triple and appends its slot record.
std::int32_t store_slot(const Triple& triple, const char* file, int line) {
  const std::string_view type = triple.value[0];
  const std::string_view name = triple.value[1];
  const auto address = split_fields<3>(triple.value[2], ":.");
  if (type != "9" && type != "41") {
    error("Wrong TYPE number %s! %s line: %d\n", triple.value[0], file, line);
    return format_error();
  }
  if (name.empty()) {
    error("Empty NAME! %s line: %d\n", file, line);
    return format_error();
  }
  if (address.count < 3) {
    error("Wrong BUS:DEV.FUN! %s line: %d\n", file, line);
    return format_error();
  }
  std::uint32_t& count = qorx_system_environment_info.eth_smbios_t9_t41_number;
  count = std::min<std::uint32_t>(count, kMaxRecords - 1);
  SlotRecord& slot = fresh_slot_record(count);
  slot.type = static_cast<std::uint8_t>(parse_decimal(type));
  copy_text(slot.slot_name, name);
  copy_text(slot.smbios_slot_name, name);
  slot.bus = static_cast<std::uint8_t>(parse_hexadecimal(address.at[0]));
  slot.dev = static_cast<std::uint8_t>(parse_hexadecimal(address.at[1]));
  slot.fun = static_cast<std::uint8_t>(parse_hexadecimal(address.at[2]));
  debug("TYPE: %d\n", slot.type);
  debug("NAME: %s\n", slot.slot_name);
  debug("BUS:DEV.FUN: %x %x %x\n", slot.bus, slot.dev, slot.fun);
  ++count;
  return 0;
}

// Takes the next of the three lines. False when it is another one.
bool take_line(Triple& triple, char* text) {
  if (qorx_is_string_format_correct(text, kExpectedLines[triple.lines].key) == 0) {
    return false;
  }
  debug("%s\n", text);
  copy_text(triple.value[triple.lines], text);
  triple.any = true;
  triple.lines = (triple.lines + 1) % kExpectedLines.size();
  return true;
}

}  // namespace

std::int32_t Search_SMBIOS_cfg(const char* file) {
  FilePtr opened;
  if (const std::int32_t code = open_config_file(file, opened); code != 0) {
    return code;
  }
  LineReader lines(std::move(opened));
  qorx_system_environment_info.eth_smbios_t9_t41_number = 0;
  g_slot_source = SlotSource::kOverrideFile;
  Triple triple;
  std::int32_t code = 0;
  while (code == 0 && lines.read() && !lines.at_end()) {
    str_eliminate_header_space(lines.text());
    str_eliminate_end_space(lines.text());
    if (is_blank_or_comment(lines.text())) {
      continue;
    }
    if (!take_line(triple, lines.text())) {
      code = missing_line(triple, file, lines.line_number());
    } else if (triple.lines == 0) {
      code = store_slot(triple, file, lines.line_number());
    }
  }
  if (code == 0 && lines.failed()) {
    return unreadable_config_file(file);
  }
  const bool is_incomplete = triple.lines != 0;
  if (code == 0 && (!triple.any || is_incomplete)) {
    code = missing_line(triple, file, lines.line_number());
  }
  // Deliberately also after an error that left no slot half read.
  if (!is_incomplete) {
    debug("smbios cfg file read OK!\n");
  }
  return code;
}

}  // namespace qorx
