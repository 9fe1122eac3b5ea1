#include "cli/standard_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

#include "lib/qorx.h"

namespace qorx {

void protect_standard_output() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) < 0) {
      // The lowest free descriptor is this one. A directory opens everywhere and can't be written.
      static_cast<void>(open("/", O_RDONLY | O_DIRECTORY));
    }
  }
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
  static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
}

std::int32_t finish_standard_output() {
  const bool flushed = std::fflush(stdout) == 0;
  return flushed && std::ferror(stdout) == 0 ? 0 : QORX_ERR_CLOSE_FILE;
}

}  // namespace qorx
