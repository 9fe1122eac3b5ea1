// printf for results and messages: a terminal is shown no control characters that come from the machine or from a file,
// where they could move the cursor or hide what stands before them.
#ifndef QORX_BASE_PRINT_H
#define QORX_BASE_PRINT_H

#include <cstdarg>
#include <cstdio>
#include <string_view>

namespace qorx {

// Looks whether standard output is a terminal now. Until the first look it counts as none.
void look_at_standard_output();

// printf to `stream`. On standard output that is a terminal, control characters (0x00 to 0x1F, 0x7F) in what the
// conversions print become '?'; those of the format itself stay. Conversions: %c, %d, %s, %u, %x, with flags, width,
// a precision or .*, and l.
[[gnu::format(printf, 2, 3)]] void print(std::FILE* stream, const char* format, ...);
void print_arguments(std::FILE* stream, const char* format, std::va_list arguments);

// Prints a text that was put together before, and a line feed, with the same care.
void print_line(std::FILE* stream, std::string_view text);

// What print does on a terminal.
void print_cleaned(std::FILE* stream, const char* format, std::va_list arguments);

}  // namespace qorx

#endif
