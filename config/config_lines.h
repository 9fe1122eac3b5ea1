// The KEY="value" form that the platform file and the SMBIOS override file share.
#ifndef QORX_CONFIG_CONFIG_LINES_H
#define QORX_CONFIG_CONFIG_LINES_H

#include <cstdint>
#include <string_view>

#include "base/line_reader.h"

namespace qorx {

// Opens a configuration file. Returns 0, or, after saying so (error level), QORX_ERR_PARAM_NULL_POINTER for a null
// name or QORX_ERR_OPEN_FILE, as bytes.
std::int32_t open_config_file(const char* path, FilePtr& file);

// What a file that can't be opened, or opened and not be read to its end, ends with: says so (error level) and returns
// QORX_ERR_OPEN_FILE as a byte.
std::int32_t unreadable_config_file(const char* path);

// Whether a line without blanks around it says nothing.
constexpr bool is_blank_or_comment(std::string_view line) {
  return line.empty() || line.starts_with('#');
}

// When `line` begins with `key` (which includes the opening quote) and its last non-blank character is a quote,
// replaces the line by the bare value and returns 1. Otherwise traces the key and returns 0; the end of the line
// may have been trimmed then.
int qorx_is_string_format_correct(char* line, const char* key);

}  // namespace qorx

#endif
