#include "base/bounded_text.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace qorx {

void copy_text(char* field, std::size_t size, std::string_view text) {
  if (size == 0) {
    return;
  }
  const std::size_t length = std::min(text.size(), size - 1);
  if (length != 0) {
    std::memmove(field, text.data(), length);
  }
  field[length] = '\0';
}

void format_text(char* field, std::size_t size, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(field, size, format, arguments);
  va_end(arguments);
}

}  // namespace qorx
