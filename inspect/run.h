// One run of qorx-inspect.
#ifndef QORX_INSPECT_RUN_H
#define QORX_INSPECT_RUN_H

namespace qorx::inspect {

inline constexpr int kTrouble = 2;  // the exit status when the command line or a file of the user is wrong

// Runs the command line and returns the exit status.
int run(int argc, const char* const* argv);

}  // namespace qorx::inspect

#endif
