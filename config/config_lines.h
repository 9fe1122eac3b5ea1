// The KEY="value" form that the platform file and the SMBIOS override file share.
#ifndef QORX_CONFIG_CONFIG_LINES_H
#define QORX_CONFIG_CONFIG_LINES_H

namespace qorx {

// When `line` begins with `key` (which includes the opening quote) and its last non-blank character is a quote,
// replaces the line by the bare value and returns 1. Otherwise traces the key and returns 0; the end of the line
// may have been trimmed then.
int qorx_is_string_format_correct(char* line, const char* key);

}  // namespace qorx

#endif
