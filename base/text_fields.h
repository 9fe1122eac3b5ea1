// Splitting a text at delimiters, and the numbers that its fields hold.
#ifndef QORX_BASE_TEXT_FIELDS_H
#define QORX_BASE_TEXT_FIELDS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace qorx {

// `text` without its first `count` characters; empty where it has fewer. Unlike substr it needs no exception, and so
// none of the C++ run-time in a program that has to start quickly and to link from C.
constexpr std::string_view text_behind(std::string_view text, std::size_t count) {
  text.remove_prefix(count < text.size() ? count : text.size());
  return text;
}

// Takes fields off the front of a text, like strtok but without writing into it: runs of delimiters count as
// one, leading ones are skipped, so no field is empty.
class FieldSplitter {
 public:
  explicit FieldSplitter(std::string_view text) : rest_(text) {}

  // The next field, or nothing when only delimiters are left.
  std::optional<std::string_view> next(std::string_view delimiters);

  // What lies behind the last field and the one delimiter that ended it.
  [[nodiscard]] std::string_view rest() const { return rest_; }

 private:
  std::string_view rest_;
};

// The first Limit fields of a text; what follows them is ignored.
template <std::size_t Limit>
struct Fields {
  std::array<std::string_view, Limit> at{};
  std::size_t count = 0;
};

template <std::size_t Limit>
Fields<Limit> split_fields(std::string_view text, std::string_view delimiters) {
  Fields<Limit> fields;
  FieldSplitter splitter(text);
  while (fields.count < Limit) {
    const std::optional<std::string_view> field = splitter.next(delimiters);
    if (!field) {
      break;
    }
    fields.at[fields.count++] = *field;
  }
  return fields;
}

// The value of a hexadecimal digit; -1 of anything else.
constexpr int hexadecimal_digit(char digit) {
  if (digit >= '0' && digit <= '9') {
    return digit - '0';
  }
  const char lower = static_cast<char>(digit | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// The number at the front of `text` as strtol(text, 16) and atoi read it; 0 when there is none.
long parse_hexadecimal(std::string_view text);
int parse_decimal(std::string_view text);

// The same for a physical address, strtoull(text, 16).
std::uint64_t parse_address(std::string_view text);

}  // namespace qorx

#endif
