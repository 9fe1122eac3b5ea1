// Why a port is listed as it is: which record, table row or line of a file each value comes from, and what to write
// where something is missing. The stages of the library have noted it as they wrote the values.
#ifndef QORX_INSPECT_EXPLAIN_H
#define QORX_INSPECT_EXPLAIN_H

#include <string>

#include "inspect/explanation.h"
#include "inspect/machine.h"

namespace qorx::inspect {

// The explanation of every port with this interface name, else address, else panel name; of a virtual interface, that
// it is one. Empty when there is none of these.
std::string explain(const Machine& machine, const std::string& wanted);

// Why an interface that the kernel has is no port; empty when the kernel has none of this name.
std::string explain_missing(const std::string& name);

// The parts of an explanation.
void explain_slot(Explanation& text, const Machine& machine, const Port& port);
void explain_panel(Explanation& text, const Port& port);
void explain_feature(Explanation& text, const Machine& machine, const Port& port);
void explain_segment(Explanation& text, const Port& port);
void explain_control_file(Explanation& text, const Port& port);
void explain_model(Explanation& text, const Machine& machine, const Port& port);

// The line that heads a block of the platform file.
std::string block_line(const Port& port);

}  // namespace qorx::inspect

#endif
