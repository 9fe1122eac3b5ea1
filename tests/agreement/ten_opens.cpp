// Identifies a recorded machine ten times in one process and writes the table after the first, the second and the
// tenth: ten_opens ROOT OPTION... Prints the codes of the ten opens.
#include <cstdio>
#include <vector>

#include "base/system_root.h"
#include "cli/options.h"
#include "lib/qorx.h"

int main(int argc, char** argv) {
  if (argc < 2 || !qorx::set_system_root(argv[1])) {
    return 2;
  }
  std::vector<const char*> words{"ten_opens", "-a"};
  words.insert(words.end(), argv + 2, argv + argc);
  if (qorx::strip_options(words).size() != 2) {
    return 2;
  }
  qorx_set_message_level(0);
  for (int i = 1; i <= 10; ++i) {
    const int code = qorx_open();
    std::printf("%d\n", code & 0xFF);
    if (code == 0 && (i <= 2 || i == 10)) {
      char name[16];
      std::snprintf(name, sizeof name, "table %d", i);
      if (qorx_fprint_scan_result(name) != 0) {
        return 2;
      }
    }
    qorx_close();
  }
  return 0;
}
