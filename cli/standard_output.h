// Standard output as a result that is complete or an error.
#ifndef QORX_CLI_STANDARD_OUTPUT_H
#define QORX_CLI_STANDARD_OUTPUT_H

#include <cstdint>

namespace qorx {

// Call it before anything is opened. Keeps a closed standard descriptor from being taken by the next file that is
// opened (the table would end up in it), and makes writing to a closed pipe, or beyond the file size limit, an error
// that is reported instead of a death in the middle of tovix.cfg.
void protect_standard_output();

// Writes what is buffered. Returns QORX_ERR_CLOSE_FILE when any output of the run was lost, else 0.
std::int32_t finish_standard_output();

}  // namespace qorx

#endif
