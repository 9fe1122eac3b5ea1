// The driver behind the command: options, operation, exit status.
#ifndef QORX_CLI_COMMAND_LINE_H
#define QORX_CLI_COMMAND_LINE_H

namespace qorx {

// Runs the command line. Returns the process's exit status: 0, or the low byte of the code that was printed.
int run_command_line(int argc, const char* const* argv);

}  // namespace qorx

#endif
