// systemd .link files that give the ports the names of their places.
#ifndef QORX_INSPECT_LINK_FILES_H
#define QORX_INSPECT_LINK_FILES_H

#include "inspect/arguments.h"
#include "inspect/machine.h"

namespace qorx::inspect {

// Writes a file for each port into the directory of -o, removes the files of earlier runs that have no port any
// more, and reports on standard output and standard error. With --dry-run it prints what it would do. Returns the
// exit status.
int write_link_files(const Request& request, const Machine& machine);

}  // namespace qorx::inspect

#endif
