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

}  // namespace

std::optional<std::string_view> FieldSplitter::next(std::string_view delimiters) {
  std::size_t first = 0;
  while (first < rest_.size() && is_one_of(rest_[first], delimiters)) {
    ++first;
  }
  std::size_t end = first;
  while (end < rest_.size() && !is_one_of(rest_[end], delimiters)) {
    ++end;
  }
  const std::string_view field = text_behind(rest_, first).substr(0, end - first);
  rest_.remove_prefix(end < rest_.size() ? end + 1 : end);
  return field.empty() ? std::nullopt : std::optional(field);
}

long parse_hexadecimal(std::string_view text) {
  return std::strtol(NumberText(text).text, nullptr, 16);
}

int parse_decimal(std::string_view text) {
  return static_cast<int>(std::strtol(NumberText(text).text, nullptr, 10));
}

std::uint64_t parse_address(std::string_view text) {
  return std::strtoull(NumberText(text).text, nullptr, 16);
}

}  // namespace qorx
