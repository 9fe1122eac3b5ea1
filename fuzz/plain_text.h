// Text handling for the second, plain readings that the fuzzers compare with: strings and the C library, nothing of
// the product.
#ifndef QORX_FUZZ_PLAIN_TEXT_H
#define QORX_FUZZ_PLAIN_TEXT_H

#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qorx::fuzz {

// What fgets with a 1,024-byte buffer reads, each line up to its first NUL. `ends_open`: the last one has no line feed
// and met the end of the file.
struct PlainLines {
  std::vector<std::string> at;
  bool ends_open = false;
};

inline PlainLines plain_lines(std::string_view file) {
  constexpr std::size_t kMost = 1023;
  PlainLines lines;
  while (!file.empty()) {
    const std::size_t end = file.substr(0, kMost).find('\n');
    lines.ends_open = end == std::string_view::npos && file.size() < kMost;
    const std::string_view line = file.substr(0, end == std::string_view::npos ? kMost : end + 1);
    lines.at.emplace_back(line.substr(0, line.find('\0')));
    file.remove_prefix(line.size());
  }
  return lines;
}

inline std::string plain_trim_front(std::string line) {
  line.erase(0, line.find_first_not_of(" \t"));
  return line;
}

inline std::string plain_trim(std::string line) {
  line = plain_trim_front(std::move(line));
  line.erase(line.find_last_not_of(" \t\r\n") + 1);
  return line;
}

// At most `limit` fields as strtok gives them.
inline std::vector<std::string> plain_split(std::string text, const char* delimiters, std::size_t limit) {
  std::vector<std::string> fields;
  char* rest = nullptr;
  for (char* field = strtok_r(text.data(), delimiters, &rest); field != nullptr && fields.size() < limit;
       field = strtok_r(nullptr, delimiters, &rest)) {
    fields.emplace_back(field);
  }
  return fields;
}

// The text between a key, which ends in a quote, and the quote at the end of the line.
inline std::optional<std::string> plain_value(const std::string& line, std::string_view key) {
  const std::string trimmed = line.substr(0, line.find_last_not_of(" \t\r\n") + 1);
  if (!line.starts_with(key) || trimmed.empty() || trimmed.back() != '"') {
    return std::nullopt;
  }
  return trimmed.size() <= key.size() ? std::string() : trimmed.substr(key.size(), trimmed.size() - key.size() - 1);
}

}  // namespace qorx::fuzz

#endif
