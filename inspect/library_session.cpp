#include "inspect/library_session.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "base/messages.h"
#include "lib/qorx.h"

namespace qorx::inspect {

namespace {

// While it lives, what is printed on standard output goes to standard error.
class OutputOnStandardError {
 public:
  OutputOnStandardError() : saved_(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0)) { point_output_to(STDERR_FILENO); }
  OutputOnStandardError(const OutputOnStandardError&) = delete;
  OutputOnStandardError& operator=(const OutputOnStandardError&) = delete;
  ~OutputOnStandardError() {
    point_output_to(saved_);
    close(saved_);
    std::clearerr(stdout);  // messages that nobody could read are no lost result
  }

 private:
  static void point_output_to(int descriptor) {
    static_cast<void>(std::fflush(stdout));
    static_cast<void>(dup2(descriptor, STDOUT_FILENO));
  }

  int saved_;
};

void set_options(const Request& request) {
  std::vector<const char*> words{"qorx-inspect"};
  words.insert(words.end(), request.library_words.begin(), request.library_words.end());
  // -novlan is an option only behind another word.
  words.insert(words.begin(), "");
  static_cast<void>(strip_options(words));
}

}  // namespace

std::uint8_t open_machine(const Request& request, Machine& machine) {
  const OutputOnStandardError redirection;
  set_options(request);
  std::int32_t code = qorx_open();
  if (code == 0) {
    code = read_machine(machine);
  }
  if (code != 0) {
    qorx_print_error_message(code);
  }
  return code_byte(code);
}

}  // namespace qorx::inspect
