// The library, opened with its messages on standard error: standard output belongs to the result.
#ifndef QORX_INSPECT_LIBRARY_SESSION_H
#define QORX_INSPECT_LIBRARY_SESSION_H

#include <cstdint>

#include "inspect/arguments.h"
#include "inspect/machine.h"

namespace qorx::inspect {

// Opens the library with the request's options and reads what it found. Returns 0; or the library's code as a byte,
// whose line has then been printed on standard error, like every message before it.
std::uint8_t open_machine(const Request& request, Machine& machine);

}  // namespace qorx::inspect

#endif
