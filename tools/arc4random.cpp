// The C library's arc4random for older C libraries: libstdc++ refers to it, and only glibc 2.36 and later have it.
// Programs that carry libstdc++ would not start with an older one, although none of them calls it.
#include <sys/random.h>

#include <cstdint>

// <cstdlib> may declare it already, and differently.
// NOLINTNEXTLINE(misc-definitions-in-headers,readability-identifier-naming)
extern "C" [[gnu::visibility("hidden")]] std::uint32_t arc4random() {
  std::uint32_t number = 0;
  while (getrandom(&number, sizeof number, 0) != static_cast<ssize_t>(sizeof number)) {
  }
  return number;
}
