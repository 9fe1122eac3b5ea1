// Reading the sources of the manual pages in doc/man.
#ifndef QORX_TESTS_END_TO_END_MANUAL_PAGE_H
#define QORX_TESTS_END_TO_END_MANUAL_PAGE_H

#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/transcript.h"

namespace qorx::test {

using Lines = std::vector<std::string>;

inline std::filesystem::path documents() {
  return std::filesystem::path(QORX_SOURCE_DIR) / "doc";
}

inline Transcript doc_example(const std::string& name) {
  return read_transcript(documents() / "examples" / (name + ".txt"));
}

// Without the blanks at its end: the table's rows end in one, which nobody sees in a manual.
inline std::string trimmed(std::string line) {
  line.erase(line.find_last_not_of(" \t\r") + 1);
  return line;
}

inline Lines page_lines(const std::string& text) {
  std::istringstream stream(text);
  Lines lines;
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(trimmed(line));
  }
  return lines;
}

// The text behind the roff escapes that the pages use. An unknown escape stays, and so fails a comparison.
inline std::string without_escapes(std::string text) {
  static const std::map<std::string_view, std::string_view> escapes{{"\\&", ""},    {"\\-", "-"},    {"\\e", "\\"},
                                                                    {"\\(aq", "'"}, {"\\(dq", "\""}, {"\\(ga", "`"},
                                                                    {"\\(ha", "^"}, {"\\(ti", "~"}};
  for (const auto& [escape, plain] : escapes) {
    for (std::size_t at = text.find(escape); at != std::string::npos; at = text.find(escape, at + plain.size())) {
      text.replace(at, escape.size(), plain);
    }
  }
  return text;
}

// What stands in a directory, in the order of the names.
inline std::vector<std::filesystem::path> entries_of(const std::filesystem::path& directory) {
  const std::filesystem::directory_iterator entries(directory);
  std::vector<std::filesystem::path> paths(begin(entries), end(entries));
  std::sort(paths.begin(), paths.end());
  return paths;
}

inline std::vector<std::filesystem::path> manual_pages() {
  return entries_of(documents() / "man");
}

// A display that is quoted from an example: the comment EXAMPLE <example> <role> [<file>] stands before it.
struct Quotation {
  std::string example;
  std::string role;  // "file", "run" or "written"
  std::string file;
  Lines lines;  // as a reader sees them
};

inline std::vector<Quotation> quotations(const std::filesystem::path& page) {
  constexpr std::string_view kMark = ".\\\" EXAMPLE ";
  const Lines source = page_lines(read_file(page));
  std::vector<Quotation> found;
  for (auto line = source.begin(); line != source.end(); ++line) {
    if (!line->starts_with(kMark)) {
      continue;
    }
    Quotation quotation;
    std::istringstream(line->substr(kMark.size())) >> quotation.example >> quotation.role >> quotation.file;
    const auto begin = line + 1;
    const auto end = std::find(begin, source.end(), ".Ed");
    if (end == source.end() || *begin != ".Bd -literal") {
      throw std::runtime_error(page.string() + ": no display behind " + *line);
    }
    for (auto shown = begin + 1; shown != end; ++shown) {
      quotation.lines.push_back(without_escapes(*shown));
    }
    found.push_back(quotation);
    line = end;
  }
  return found;
}

}  // namespace qorx::test

#endif
