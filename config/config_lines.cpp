#include "config/config_lines.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "base/messages.h"
#include "ident/strings.h"
#include "lib/qorx.h"

namespace qorx {

std::int32_t open_config_file(const char* path, FilePtr& file) {
  if (path == nullptr) {
    error("Error: *conf_file is NULL pointer.\n");
    return code_byte(QORX_ERR_PARAM_NULL_POINTER);
  }
  file = open_text_file(path);
  return file ? 0 : unreadable_config_file(path);
}

std::int32_t unreadable_config_file(const char* path) {
  error("Error: Open file %s failed.\n", path);
  return code_byte(QORX_ERR_OPEN_FILE);
}

int qorx_is_string_format_correct(char* line, const char* key) {
  const std::string_view wanted = key;
  if (std::string_view(line).starts_with(wanted)) {
    str_eliminate_end_space(line);
    const std::string_view text = line;
    if (text.ends_with('"')) {
      // A line that ends at the key's own quote has an empty value.
      const std::size_t start = std::min(wanted.size(), text.size() - 1);
      const std::size_t length = text.size() - 1 - start;
      std::memmove(line, line + start, length);
      line[length] = '\0';
      return 1;
    }
  }
  debug("can't find %s\n", key);
  return 0;
}

}  // namespace qorx
