#include "base/messages.h"

#include <cstdarg>
#include <cstdio>

namespace qorx {

std::int32_t g_error_message_open = 1;
std::int32_t g_debug_message_open = 0;

void debug(const char* format, ...) {
  if (g_debug_message_open == 0) {
    return;
  }
  va_list arguments;
  va_start(arguments, format);
  std::vprintf(format, arguments);
  va_end(arguments);
}

void error(const char* format, ...) {
  if (g_error_message_open == 0) {
    return;
  }
  va_list arguments;
  va_start(arguments, format);
  std::vprintf(format, arguments);
  va_end(arguments);
}

}  // namespace qorx
