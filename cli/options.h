// Stripping the option words from the end of a command line.
#ifndef QORX_CLI_OPTIONS_H
#define QORX_CLI_OPTIONS_H

#include <cstddef>
#include <span>
#include <string_view>

namespace qorx {

using Arguments = std::span<const char* const>;

// Takes the options off the end of `arguments` (which begin with the program's name) and sets their flags and file
// names. Options are only known at the end; what is left begins with the operation. Stripping runs from the end, so
// of two equal options the leftmost wins.
Arguments strip_options(Arguments arguments);

// How many words an option takes, itself included; 0 when `word` is no option.
std::size_t option_words(std::string_view word);

}  // namespace qorx

#endif
