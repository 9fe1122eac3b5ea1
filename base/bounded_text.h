// The one bounded copy into a fixed text field, and printf into one.
#ifndef QORX_BASE_BOUNDED_TEXT_H
#define QORX_BASE_BOUNDED_TEXT_H

#include <cstddef>
#include <string_view>

namespace qorx {

// Copies `text` into `field` of `size` bytes, cut to size - 1 bytes and always ended by NUL. `text` may lie
// inside `field`.
void copy_text(char* field, std::size_t size, std::string_view text);

template <std::size_t Size>
void copy_text(char (&field)[Size], std::string_view text) {
  copy_text(field, Size, text);
}

// Appends `text` to the text in `field`, cut the same way.
template <std::size_t Size>
void append_text(char (&field)[Size], std::string_view text) {
  const std::size_t length = std::string_view{field}.size();
  copy_text(field + length, Size - length, text);
}

// printf into `field`, cut the same way.
[[gnu::format(printf, 3, 4)]] void format_text(char* field, std::size_t size, const char* format, ...);

}  // namespace qorx

#endif
