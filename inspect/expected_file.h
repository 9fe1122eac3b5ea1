// The file of `compare`: a machine as qorx-inspect json printed it.
#ifndef QORX_INSPECT_EXPECTED_FILE_H
#define QORX_INSPECT_EXPECTED_FILE_H

#include <string>
#include <vector>

#include "inspect/compared_port.h"

namespace qorx::inspect {

// Reads the ports of a recorded machine. Returns why the file is none, as "is not JSON"; empty when it is one.
std::string read_expected_file(const std::string& file, std::vector<ComparedPort>& ports);

}  // namespace qorx::inspect

#endif
