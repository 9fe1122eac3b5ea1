// qorx-replay: runs qorx against a recorded machine. /sys and /dev/mem are looked up below a directory ROOT, or in
// an archive that qorx-capture wrote; files that the user names, and tovix.cfg, stay where they are. Needs no
// privilege.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <string_view>
#include <vector>

#include "base/system_root.h"
#include "cli/command_line.h"
#include "cli/standard_output.h"
#include "lib/qorx.h"
#include "tools/archive.h"
#include "tools/recorded_order.h"

namespace {

constexpr const char* kHelp =
    "Usage: qorx-replay MACHINE [--] OPERATION [OPTION...]\n"
    "\n"
    "Runs qorx on a machine that was recorded. MACHINE is an archive that\n"
    "qorx-capture wrote, or a directory with the recorded sys and dev in it.\n"
    "Everything behind it is the command line of qorx(8).\n"
    "\n"
    "  --help  Show a short text on the use and do nothing else.\n";

constexpr int kBadUsage = 2;

int complain(const char* name, const char* reason) {
  std::fprintf(stderr, "qorx-replay: %s: %s\n", name, reason);
  return kBadUsage;
}

// The order of a recording is kept in memory that the system may refuse; there is nothing to unwind then.
void report_no_memory() {
  std::fflush(stdout);
  std::printf("Error: QORX_ERR_OPEN_FILE (0x%02x)\n", QORX_ERR_OPEN_FILE & 0xFF);
  std::fflush(stdout);
  _exit(QORX_ERR_OPEN_FILE & 0xFF);
}

int replay(const char* root, int argc, char** argv) {
  if (!qorx::set_system_root(root)) {
    return complain(root, "the name is too long");
  }
  qorx::follow_recorded_order(root);
  const int first = argc > 2 && std::string_view(argv[2]) == "--" ? 3 : 2;
  std::vector<const char*> arguments{"qorx"};
  arguments.insert(arguments.end(), argv + first, argv + argc);
  return qorx::run_command_line(static_cast<int>(arguments.size()), arguments.data());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fputs("Usage: qorx-replay MACHINE [--] OPERATION [OPTION...]\n", stderr);
    return kBadUsage;
  }
  std::set_new_handler(report_no_memory);
  qorx::protect_standard_output();
  if (std::string_view(argv[1]) == "--help") {
    std::fputs(kHelp, stdout);
    return 0;
  }
  const char* const machine = argv[1];
  struct stat status {};
  if (stat(machine, &status) != 0) {
    return complain(machine, std::strerror(errno));
  }
  if (S_ISDIR(status.st_mode)) {
    return replay(machine, argc, argv);
  }
  return qorx::use_archive(machine, [&](const char* root) { return replay(root, argc, argv); }).value_or(kBadUsage);
}
