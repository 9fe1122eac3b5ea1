#include "base/print.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "base/bounded_text.h"

namespace qorx {

namespace {

bool g_is_terminal;

// No text that is printed is longer: lines have 1,023 characters at most, as have paths.
using Piece = std::array<char, 4096>;

bool is_control(char character) {
  const auto byte = static_cast<unsigned char>(character);
  return byte < 0x20 || byte == 0x7F;
}

void put_cleaned(std::FILE* stream, std::string_view text) {
  for (const char character : text) {
    std::fputc(is_control(character) ? '?' : character, stream);
  }
}

// One conversion of a format, "%-4.*s", and what it takes from the arguments.
struct Conversion {
  char text[24];
  bool takes_precision;
  bool is_long;
  char kind;
};

// Takes a conversion off the front of `format`.
Conversion take_conversion(std::string_view& format) {
  const std::size_t end = std::min(format.find_first_of("cdsux%", 1), format.size() - 1);
  const std::string_view text = format.substr(0, end + 1);
  Conversion conversion{
      {}, text.find('*') != std::string_view::npos, text.find('l') != std::string_view::npos, text.back()};
  copy_text(conversion.text, text);
  format.remove_prefix(text.size());
  return conversion;
}

// The text that the conversion makes of the next arguments.
std::string_view convert(const Conversion& conversion, std::va_list* arguments, Piece& piece) {
  int length = 0;
  const int precision = conversion.takes_precision ? va_arg(*arguments, int) : 0;
  const auto format_value = [&](auto value) {
    length = conversion.takes_precision ? std::snprintf(piece.data(), piece.size(), conversion.text, precision, value)
                                        : std::snprintf(piece.data(), piece.size(), conversion.text, value);
  };
  if (conversion.kind == '%') {
    return "%";
  }
  if (conversion.kind == 's') {
    format_value(va_arg(*arguments, const char*));
  } else if (conversion.is_long) {
    format_value(va_arg(*arguments, long));
  } else {
    format_value(va_arg(*arguments, int));
  }
  return {piece.data(), std::min(static_cast<std::size_t>(std::max(length, 0)), piece.size() - 1)};
}

}  // namespace

void look_at_standard_output() {
  g_is_terminal = isatty(STDOUT_FILENO) == 1;
}

void print_cleaned(std::FILE* stream, const char* format, std::va_list arguments) {
  std::va_list rest;
  va_copy(rest, arguments);
  std::string_view left = format;
  while (!left.empty()) {
    if (left.front() != '%') {
      std::fputc(left.front(), stream);
      left.remove_prefix(1);
      continue;
    }
    Piece piece;  // NOLINT(cppcoreguidelines-pro-type-member-init): the conversion fills it
    put_cleaned(stream, convert(take_conversion(left), &rest, piece));
  }
  va_end(rest);
}

void print_arguments(std::FILE* stream, const char* format, std::va_list arguments) {
  if (g_is_terminal && stream == stdout) {
    print_cleaned(stream, format, arguments);
  } else {
    std::vfprintf(stream, format, arguments);
  }
}

void print_line(std::FILE* stream, std::string_view text) {
  if (g_is_terminal && stream == stdout) {
    put_cleaned(stream, text);
  } else {
    std::fwrite(text.data(), 1, text.size(), stream);
  }
  std::fputc('\n', stream);
}

void print(std::FILE* stream, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  print_arguments(stream, format, arguments);
  va_end(arguments);
}

}  // namespace qorx
