#include "cli/command_line.h"

int main(int argc, char** argv) {
  return qorx::run_command_line(argc, argv);
}
