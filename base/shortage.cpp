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

bool take_shortage() {
  return std::exchange(g_is_short, false);
}

}  // namespace qorx
