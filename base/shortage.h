// What a run may not pass over: that the system had no descriptor or no memory left when a file was to be read. What is
// absent counts as absent; what only could not be opened now would make a wrong result look right.
//
// Everything that opens or reads a file notes its errors here; who answers for a result asks before he gives it.
#ifndef QORX_BASE_SHORTAGE_H
#define QORX_BASE_SHORTAGE_H

#include <sys/stat.h>

namespace qorx {

// Notes the error (errno) of a call that failed, if it is EMFILE, ENFILE or ENOMEM.
void note_error(int error);

// fstat that notes its error. False on failure.
bool read_status(int descriptor, struct stat& status);

// Whether one of them was noted since the last time that this was asked.
bool take_shortage();

}  // namespace qorx

#endif
