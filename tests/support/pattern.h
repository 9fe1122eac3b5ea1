// Regular expressions behind plain functions: std::regex takes seconds to compile in each file that includes it.
#ifndef QORX_TESTS_SUPPORT_PATTERN_H
#define QORX_TESTS_SUPPORT_PATTERN_H

#include <string>
#include <vector>

namespace qorx::test {

bool holds_pattern(const std::string& text, const std::string& pattern);

// All of the text and the groups in it; nothing unless all of it fits.
std::vector<std::string> match_whole(const std::string& text, const std::string& pattern);

// What these groups take, match after match: 0 is the match, -1 what lies between matches.
std::vector<std::string> matches_in(const std::string& text, const std::string& pattern,
                                    const std::vector<int>& groups = {0});

std::string replace_pattern(const std::string& text, const std::string& pattern, const std::string& replacement);

}  // namespace qorx::test

#endif
