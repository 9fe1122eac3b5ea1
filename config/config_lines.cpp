#include "config/config_lines.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "ident/strings.h"
#include "lib/messages.h"

namespace qorx {

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
