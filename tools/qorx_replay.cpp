// qorx-replay: runs qorx against a recorded machine. /sys and /dev/mem are looked up below a directory; files that
// the user names, and tovix.cfg, stay where they are. Needs no privilege.
#include <array>
#include <cstdio>
#include <string_view>
#include <vector>

#include "cli/command_line.h"
#include "lib/system_root.h"

int main(int argc, char** argv) {
  constexpr int kBadUsage = 2;
  if (argc < 2) {
    std::fputs("Usage: qorx-replay ROOT [--] ARGS...\n", stderr);
    return kBadUsage;
  }
  if (argv[1][0] == '\0' || !qorx::set_system_root(argv[1])) {
    std::fputs("qorx-replay: unusable directory name\n", stderr);
    return kBadUsage;
  }
  const int first = argc > 2 && std::string_view(argv[2]) == "--" ? 3 : 2;
  std::vector<const char*> arguments{"qorx"};
  arguments.insert(arguments.end(), argv + first, argv + argc);
  return qorx::run_command_line(static_cast<int>(arguments.size()), arguments.data());
}
