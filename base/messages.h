// Everything that is printed besides results: error texts and debug traces, each kind with its switch. All of it goes
// to standard output; a code is returned whether or not its text was printed.
#ifndef QORX_BASE_MESSAGES_H
#define QORX_BASE_MESSAGES_H

#include <cstdint>

namespace qorx {

extern std::int32_t g_error_message_open;  // non-zero: print error texts (on at start)
extern std::int32_t g_debug_message_open;  // non-zero: print debug traces

// The form in which codes travel between the stages: the low eight bits.
constexpr std::uint8_t code_byte(std::int32_t code) {
  return static_cast<std::uint8_t>(code);
}

inline bool debugging() {
  return g_debug_message_open != 0;
}

// printf to standard output when debug traces are on.
[[gnu::format(printf, 1, 2)]] void debug(const char* format, ...);

// printf to standard output when error messages are on.
[[gnu::format(printf, 1, 2)]] void error(const char* format, ...);

// The error line of a folder of the machine that can't be opened or read to its end.
void report_inaccessible_folder(const char* path);

}  // namespace qorx

#endif
