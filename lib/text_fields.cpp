#include "lib/text_fields.h"

#include <cstdlib>

#include "lib/bounded_text.h"

namespace qorx {

namespace {

// Every text that holds a number here comes from one line or one sysfs path, both shorter than this.
struct NumberText {
  char text[1024];
  explicit NumberText(std::string_view source) { copy_text(text, source); }
};

}  // namespace

std::optional<std::string_view> FieldSplitter::next(std::string_view delimiters) {
  const std::size_t first = rest_.find_first_not_of(delimiters);
  if (first == std::string_view::npos) {
    rest_ = {};
    return std::nullopt;
  }
  rest_.remove_prefix(first);
  const std::size_t end = rest_.find_first_of(delimiters);
  const std::string_view field = rest_.substr(0, end);
  rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
  return field;
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
