#include "config/platform_lines.h"

#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "base/line_reader.h"
#include "base/messages.h"
#include "config/config_lines.h"
#include "ident/strings.h"
#include "lib/qorx.h"

namespace qorx {

namespace {

constexpr const char* kSlotNameKey = "SLOT_NAME=\"";

// In the order in which a line is tested, by PlatformKey.
constexpr std::array kBlockKeys{
    "PCIe_SW_DEV/WMX_SLOT=\"",
    "CHANGE_NAME=\"",
    "FUNCTION/NAME/FEATURE=\"",
    "FUNCTION/NAME/BUS_ORDER=\"",
};

std::int32_t missing_slot_name(const char* file, int line_number) {
  error("Can't find SLOT_NAME! %s line: %d\n", file, line_number);
  return code_byte(QORX_ERR_CONF_FILE_FORMAT);
}

// Reads up to the first line that carries data. False when the file ends before or with it.
bool skip_leading_lines(LineReader& lines) {
  for (;;) {
    if (lines.read()) {
      str_eliminate_header_space(lines.text());
      str_eliminate_end_space(lines.text());
    }
    if (lines.at_end()) {
      return false;
    }
    if (!is_blank_or_comment(lines.text())) {
      return true;
    }
  }
}

// The key of a block line, which becomes its value. Every key is tested, so that each that is not found is traced;
// the first that is found decides.
std::optional<PlatformKey> take_key(char* text) {
  std::optional<PlatformKey> found;
  for (std::size_t i = 0; i < kBlockKeys.size(); ++i) {
    if (found) {
      debug("can't find %s\n", kBlockKeys[i]);
    } else if (qorx_is_string_format_correct(text, kBlockKeys[i]) == 1) {
      found = static_cast<PlatformKey>(i);
    }
  }
  return found;
}

// Within a block only a bare line feed is a blank line: one that holds anything else, a carriage return say, ends the
// block. Deliberate.
bool is_skipped_in_block(std::string_view text) {
  return text == "\n" || (!text.empty() && is_blank_or_comment(text));
}

// Hands the lines of one block to the pass, up to the first that is none of a block's; the reader then stands on it.
std::int32_t read_block(LineReader& lines, const char* file, PlatformPass& pass) {
  while (!lines.at_end() && lines.read()) {
    str_eliminate_header_space(lines.text());
    if (is_skipped_in_block(lines.text())) {
      continue;
    }
    const std::optional<PlatformKey> key = take_key(lines.text());
    if (!key) {
      return 0;
    }
    if (const std::int32_t code = pass.take_line({*key, lines.text(), file, lines.line_number()}); code != 0) {
      return code;
    }
  }
  return 0;
}

}  // namespace

std::int32_t wrong_format(const PlatformLine& line) {
  error("Wrong %s format! %s line: %d\n", kBlockKeys[static_cast<std::size_t>(line.key)], line.file, line.number);
  return code_byte(QORX_ERR_CONF_FILE_FORMAT);
}

std::int32_t read_platform_file(const char* file, PlatformPass& pass) {
  FilePtr opened;
  if (const std::int32_t code = open_config_file(file, opened); code != 0) {
    return code;
  }
  LineReader lines(std::move(opened));
  if (!skip_leading_lines(lines)) {
    return lines.failed() ? unreadable_config_file(file) : missing_slot_name(file, lines.line_number());
  }
  while (!lines.at_end()) {
    if (qorx_is_string_format_correct(lines.text(), kSlotNameKey) == 0) {
      return missing_slot_name(file, lines.line_number());
    }
    debug("%s\n", lines.text());
    std::int32_t code = pass.begin_block(lines.text(), file, lines.line_number());
    if (code == 0) {
      code = read_block(lines, file, pass);
    }
    if (code != 0) {
      return code;
    }
  }
  return lines.failed() ? unreadable_config_file(file) : 0;
}

}  // namespace qorx
