#include "base/messages.h"

#include <cstdarg>
#include <cstdio>

#include "base/print.h"

namespace qorx {

std::int32_t g_error_message_open = 1;
std::int32_t g_debug_message_open = 0;

void debug(const char* format, ...) {
  if (g_debug_message_open == 0) {
    return;
  }
  va_list arguments;
  va_start(arguments, format);
  print_arguments(stdout, format, arguments);
  va_end(arguments);
}

void error(const char* format, ...) {
  if (g_error_message_open == 0) {
    return;
  }
  va_list arguments;
  va_start(arguments, format);
  print_arguments(stdout, format, arguments);
  va_end(arguments);
}

void report_inaccessible_folder(const char* path) {
  error("%s folder do not exist or can't access. Please check your environment\n", path);
}

}  // namespace qorx
