// Short texts put together from pieces, for the paths that are opened once per port: printf costs more than the
// system call that follows.
#ifndef QORX_BASE_PATH_TEXT_H
#define QORX_BASE_PATH_TEXT_H

#include <cstddef>
#include <cstdint>
#include <initializer_list>
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

// A PCI address with its domain, as sysfs names devices: "0000:03:00.1". A function above 15 takes two digits.
class DeviceName {
 public:
  DeviceName(std::uint8_t bus, std::uint8_t dev, std::uint8_t fun) {
    put_two_digits(5, bus);
    put_two_digits(8, dev);
    length_ = fun > 0xF ? 13 : 12;
    put_two_digits(11, fun);
    if (fun <= 0xF) {
      text_[11] = text_[12];
    }
    text_[length_] = '\0';
  }

  [[nodiscard]] const char* c_str() const { return text_; }
  [[nodiscard]] std::string_view view() const { return {text_, length_}; }

 private:
  void put_two_digits(std::size_t at, std::uint8_t value) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    text_[at] = kDigits[value >> 4];
    text_[at + 1] = kDigits[value & 0xF];
  }

  std::size_t length_ = 0;
  char text_[14] = "0000:xx:xx.ff";
};

}  // namespace qorx

#endif
