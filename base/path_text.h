// Short texts put together from pieces, for the paths that are opened once per port: printf costs more than the
// system call that follows.
#ifndef QORX_BASE_PATH_TEXT_H
#define QORX_BASE_PATH_TEXT_H

#include <charconv>
#include <cstddef>
#include <initializer_list>
#include <limits>
#include <string_view>

#include "base/bounded_text.h"

namespace qorx {

// The pieces joined, cut to Size - 1 bytes.
template <std::size_t Size>
class JoinedText {
 public:
  JoinedText(std::initializer_list<std::string_view> pieces) {
    for (const std::string_view piece : pieces) {
      copy_text(text_ + length_, Size - length_, piece);
      length_ += piece.size() < Size - length_ ? piece.size() : Size - length_ - 1;
    }
  }

  [[nodiscard]] const char* c_str() const { return text_; }
  [[nodiscard]] std::string_view view() const { return {text_, length_}; }

 private:
  std::size_t length_ = 0;
  char text_[Size];
};

using PathText = JoinedText<1024>;

// The digits of a number.
class Digits {
 public:
  explicit Digits(int number, int base = 10)
      : length_(static_cast<std::size_t>(std::to_chars(text_, text_ + sizeof text_, number, base).ptr - text_)) {}

  [[nodiscard]] std::string_view view() const { return {text_, length_}; }

 private:
  char text_[std::numeric_limits<int>::digits + 2] = {};  // of base 2, and the sign
  std::size_t length_;
};

}  // namespace qorx

#endif
