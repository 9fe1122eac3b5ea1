#include "base/shortage.h"

#include <cerrno>
#include <utility>

namespace qorx {

namespace {

bool g_is_short;

}  // namespace

void note_error(int error) {
  if (error == EMFILE || error == ENFILE || error == ENOMEM) {
    g_is_short = true;
  }
}

bool read_status(int descriptor, struct stat& status) {
  const bool worked = fstat(descriptor, &status) == 0;
  if (!worked) {
    note_error(errno);
  }
  return worked;
}

bool take_shortage() {
  return std::exchange(g_is_short, false);
}

}  // namespace qorx
