#include "cli/standard_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

#include "lib/qorx.h"

namespace qorx {

namespace {

// What a file on another machine could not keep shows when it is closed; closing a duplicate tells, and leaves the
// descriptor to the end of the process.
bool closes_well(int descriptor) {
  const int duplicate = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
  return duplicate < 0 || close(duplicate) == 0;
}

}  // namespace

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
  return flushed && std::ferror(stdout) == 0 && closes_well(STDOUT_FILENO) ? 0 : QORX_ERR_CLOSE_FILE;
}

}  // namespace qorx
