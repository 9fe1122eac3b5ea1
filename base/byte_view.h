// Bounded little-endian reads from bytes that nobody checked: past the end it answers 0, it never reads.
#ifndef QORX_BASE_BYTE_VIEW_H
#define QORX_BASE_BYTE_VIEW_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace qorx {

class ByteView {
 public:
  // cppcheck-suppress noExplicitConstructor ; a view is what its bytes are
  constexpr ByteView(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  [[nodiscard]] constexpr std::size_t size() const { return bytes_.size(); }

  [[nodiscard]] constexpr std::uint8_t u8(std::size_t offset) const {
    return offset < bytes_.size() ? bytes_[offset] : std::uint8_t{0};
  }
  [[nodiscard]] constexpr std::uint16_t u16(std::size_t offset) const {
    return static_cast<std::uint16_t>(u8(offset) | u8(offset + 1) << 8);
  }
  [[nodiscard]] constexpr std::uint32_t u32(std::size_t offset) const {
    return u16(offset) | static_cast<std::uint32_t>(u16(offset + 2)) << 16;
  }
  [[nodiscard]] constexpr std::uint64_t u64(std::size_t offset) const {
    return u32(offset) | static_cast<std::uint64_t>(u32(offset + 4)) << 32;
  }

  [[nodiscard]] constexpr bool starts_with(std::string_view text) const {
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (i >= bytes_.size() || bytes_[i] != static_cast<std::uint8_t>(text[i])) {
        return false;
      }
    }
    return true;
  }

  // The bytes from `offset` to the end; empty when `offset` is past it.
  [[nodiscard]] constexpr ByteView from(std::size_t offset) const {
    return offset < bytes_.size() ? ByteView(bytes_.subspan(offset)) : ByteView(bytes_.first(0));
  }

 private:
  std::span<const std::uint8_t> bytes_;
};

}  // namespace qorx

#endif
