#include "tests/support/pattern.h"

#include <map>
#include <regex>

namespace qorx::test {
namespace {

// Kept: some patterns are asked for on each of thousands of lines.
const std::regex& compiled(const std::string& pattern) {
  static std::map<std::string, std::regex> known;
  return known.try_emplace(pattern, pattern).first->second;
}

}  // namespace

bool holds_pattern(const std::string& text, const std::string& pattern) {
  return std::regex_search(text, compiled(pattern));
}

std::vector<std::string> match_whole(const std::string& text, const std::string& pattern) {
  std::smatch groups;
  return std::regex_match(text, groups, compiled(pattern)) ? std::vector<std::string>(groups.begin(), groups.end())
                                                           : std::vector<std::string>();
}

std::vector<std::string> matches_in(const std::string& text, const std::string& pattern,
                                    const std::vector<int>& groups) {
  return {std::sregex_token_iterator(text.begin(), text.end(), compiled(pattern), groups),
          std::sregex_token_iterator()};
}

std::string replace_pattern(const std::string& text, const std::string& pattern, const std::string& replacement) {
  return std::regex_replace(text, compiled(pattern), replacement);
}

}  // namespace qorx::test
