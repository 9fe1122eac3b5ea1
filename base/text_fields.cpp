#include "base/text_fields.h"

#include <algorithm>
#include <cstdlib>

#include "base/bounded_text.h"

namespace qorx {

namespace {

// Every text that holds a number here comes from one line or one sysfs path, both shorter than this.
struct NumberText {
  char text[1024];
  explicit NumberText(std::string_view source) { copy_text(text, source); }
};

// One or two delimiters: comparing is faster than a call that searches them.
bool is_one_of(char character, std::string_view delimiters) {
  return std::ranges::any_of(delimiters, [character](char delimiter) { return character == delimiter; });
}

std::size_t find_delimiter(std::string_view text, std::string_view delimiters) {
  if (delimiters.size() == 1) {
    return std::min(text.find(delimiters[0]), text.size());
  }
  std::size_t end = 0;
  while (end < text.size() && !is_one_of(text[end], delimiters)) {
    ++end;
  }
  return end;
}

// The short numbers of PCI addresses: nothing but digits, and too few to overflow.
std::optional<long> parse_plain_hexadecimal(std::string_view text) {
  if (text.empty() || text.size() > 4) {
    return std::nullopt;
  }
  long value = 0;
  for (const char character : text) {
    const int digit = hexadecimal_digit(character);
    if (digit < 0) {
      return std::nullopt;
    }
    value = value * 16 + digit;
  }
  return value;
}

}  // namespace

std::optional<std::string_view> FieldSplitter::next(std::string_view delimiters) {
  std::size_t first = 0;
  while (first < rest_.size() && is_one_of(rest_[first], delimiters)) {
    ++first;
  }
  const std::size_t end = first + find_delimiter(text_behind(rest_, first), delimiters);
  const std::string_view field = text_behind(rest_, first).substr(0, end - first);
  rest_.remove_prefix(end < rest_.size() ? end + 1 : end);
  return field.empty() ? std::nullopt : std::optional(field);
}

long parse_hexadecimal(std::string_view text) {
  const std::optional<long> plain = parse_plain_hexadecimal(text);
  return plain ? *plain : std::strtol(NumberText(text).text, nullptr, 16);
}

int parse_decimal(std::string_view text) {
  return static_cast<int>(std::strtol(NumberText(text).text, nullptr, 10));
}

std::uint64_t parse_address(std::string_view text) {
  return std::strtoull(NumberText(text).text, nullptr, 16);
}

}  // namespace qorx
