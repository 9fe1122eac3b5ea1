#include "inspect/text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <tuple>

namespace qorx::inspect {

namespace {

std::uint8_t byte_at(std::string_view text, std::size_t index) {
  return index < text.size() ? static_cast<std::uint8_t>(text[index]) : std::uint8_t{0};
}

bool is_continuation(std::uint8_t byte) {
  return (byte & 0xC0U) == 0x80U;
}

// How long the UTF-8 character at the start of the text is; 0 when none stands there (Unicode standard, table 3-7).
std::size_t character_length(std::string_view text) {
  const std::uint8_t first = byte_at(text, 0);
  const std::uint8_t second = byte_at(text, 1);
  if (first < 0x80) {
    return 1;
  }
  if (first < 0xC2 || first > 0xF4 || !is_continuation(second)) {
    return 0;
  }
  if (first < 0xE0) {
    return 2;
  }
  const bool is_overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
  const bool is_no_character = (first == 0xED && second >= 0xA0) || (first == 0xF4 && second >= 0x90);
  if (is_overlong || is_no_character || !is_continuation(byte_at(text, 2))) {
    return 0;
  }
  if (first < 0xF0) {
    return 3;
  }
  return is_continuation(byte_at(text, 3)) ? 4 : 0;
}

// The number of a well-formed character.
std::uint32_t code_point(std::string_view character) {
  const std::uint8_t first = byte_at(character, 0);
  std::uint32_t number = character.size() == 1 ? first : first & (0x7FU >> character.size());
  for (std::size_t i = 1; i < character.size(); ++i) {
    number = number << 6U | (byte_at(character, i) & 0x3FU);
  }
  return number;
}

struct CharacterRange {
  std::uint32_t first;
  std::uint32_t last;
};

// The blocks that matter for names on a front panel; not the whole of Unicode's table.
constexpr std::array kWideRanges{
    CharacterRange{0x1100, 0x115F},   CharacterRange{0x2E80, 0xA4CF},   CharacterRange{0xAC00, 0xD7A3},
    CharacterRange{0xF900, 0xFAFF},   CharacterRange{0xFE30, 0xFE6F},   CharacterRange{0xFF00, 0xFF60},
    CharacterRange{0xFFE0, 0xFFE6},   CharacterRange{0x1F300, 0x1F64F}, CharacterRange{0x1F900, 0x1F9FF},
    CharacterRange{0x20000, 0x3FFFD},
};
constexpr std::array kCombiningRanges{
    CharacterRange{0x0300, 0x036F}, CharacterRange{0x200B, 0x200F}, CharacterRange{0x20D0, 0x20FF},
    CharacterRange{0xFE00, 0xFE0F}, CharacterRange{0xFE20, 0xFE2F},
};

template <typename Ranges>
bool is_in(std::uint32_t number, const Ranges& ranges) {
  return std::any_of(ranges.begin(), ranges.end(),
                     [&](const CharacterRange& range) { return number >= range.first && number <= range.last; });
}

std::size_t width_of(std::uint32_t number) {
  if (is_in(number, kCombiningRanges)) {
    return 0;
  }
  return is_in(number, kWideRanges) ? 2 : 1;
}

bool is_ascii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<std::uint8_t>(c) < 0x80; });
}

bool is_ascii_control(char character) {
  const auto byte = static_cast<std::uint8_t>(character);
  return byte < 0x20 || byte == 0x7F;
}

bool is_digit(char character) {
  return character >= '0' && character <= '9';
}

void skip_blanks(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
}

// Takes a number off the front of the text, without its leading zeros.
std::string_view take_number(std::string_view& text) {
  const auto* const end = std::find_if_not(text.begin(), text.end(), is_digit);
  std::string_view number = text.substr(0, static_cast<std::size_t>(end - text.begin()));
  text.remove_prefix(number.size());
  number.remove_prefix(std::min(number.find_first_not_of('0'), number.size()));
  return number;
}

}  // namespace

bool is_utf8(std::string_view bytes) {
  // Nearly all are ASCII.
  if (is_ascii(bytes)) {
    return true;
  }
  while (!bytes.empty()) {
    const std::size_t length = character_length(bytes);
    if (length == 0) {
      return false;
    }
    bytes.remove_prefix(length);
  }
  return true;
}

std::string as_utf8(std::string_view bytes) {
  if (is_utf8(bytes)) {
    return std::string(bytes);
  }
  std::string text;
  for (const char character : bytes) {
    const auto byte = static_cast<std::uint8_t>(character);
    if (byte < 0x80) {
      text += character;
    } else {
      text += static_cast<char>(0xC0U | byte >> 6U);
      text += static_cast<char>(0x80U | (byte & 0x3FU));
    }
  }
  return text;
}

std::string hexadecimal(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  text.reserve(2 * bytes.size());
  for (const char character : bytes) {
    const auto byte = static_cast<std::uint8_t>(character);
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 0xFU];
  }
  return text;
}

std::size_t columns_of(std::string_view utf8) {
  if (is_ascii(utf8)) {
    return utf8.size();
  }
  std::size_t columns = 0;
  while (!utf8.empty()) {
    const std::size_t length = std::max<std::size_t>(character_length(utf8), 1);
    columns += width_of(code_point(utf8.substr(0, length)));
    utf8.remove_prefix(std::min(length, utf8.size()));
  }
  return columns;
}

std::vector<std::string> characters_of(std::string_view utf8) {
  std::vector<std::string> characters;
  while (!utf8.empty()) {
    const std::string_view character = utf8.substr(0, std::max<std::size_t>(character_length(utf8), 1));
    if (width_of(code_point(character)) == 0 && !characters.empty()) {
      characters.back() += character;
    } else {
      characters.emplace_back(character);
    }
    utf8.remove_prefix(character.size());
  }
  return characters;
}

std::string shortened(std::string_view utf8, std::size_t columns, std::string_view mark) {
  if (columns_of(utf8) <= columns) {
    return std::string(utf8);
  }
  const std::size_t room = columns - std::min(columns, columns_of(mark));
  std::string text;
  std::size_t taken = 0;
  for (const std::string& character : characters_of(utf8)) {
    taken += columns_of(character);
    if (taken > room) {
      break;
    }
    text += character;
  }
  return text + std::string(columns != 0 ? mark : "");
}

std::string printable(std::string_view bytes) {
  if (is_ascii(bytes) && std::none_of(bytes.begin(), bytes.end(), is_ascii_control)) {
    return std::string(bytes);
  }
  std::string text = as_utf8(bytes);
  std::string shown;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::uint8_t byte = byte_at(text, i);
    const bool is_upper_control = byte == 0xC2 && byte_at(text, i + 1) < 0xA0;  // U+0080 to U+009F
    if (byte < 0x20 || byte == 0x7F || is_upper_control) {
      shown += '?';
      i += is_upper_control ? 1 : 0;
    } else {
      shown += text[i];
    }
  }
  return shown;
}

bool natural_less(std::string_view a, std::string_view b) {
  for (;;) {
    skip_blanks(a);
    skip_blanks(b);
    if (a.empty() || b.empty()) {
      return a.size() < b.size();
    }
    if (is_digit(a.front()) && is_digit(b.front())) {
      const std::string_view left = take_number(a);
      const std::string_view right = take_number(b);
      if (left != right) {
        return std::tuple(left.size(), left) < std::tuple(right.size(), right);
      }
      continue;
    }
    const int left = std::tolower(byte_at(a, 0));
    const int right = std::tolower(byte_at(b, 0));
    if (left != right) {
      return left < right;
    }
    a.remove_prefix(1);
    b.remove_prefix(1);
  }
}

std::string version_text(const Version& version) {
  std::array<char, 8> text{};
  std::snprintf(text.data(), text.size(), "%02d.%02d", version.major, version.minor);
  return text.data();
}

}  // namespace qorx::inspect
