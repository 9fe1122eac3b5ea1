// The machine against a recorded one: for the production line and for monitoring.
#ifndef QORX_INSPECT_COMPARE_H
#define QORX_INSPECT_COMPARE_H

#include <string>
#include <vector>

#include "inspect/arguments.h"
#include "inspect/machine.h"

namespace qorx::inspect {

// Which fields are compared, or why they can't be.
struct FieldChoice {
  std::vector<std::string> fields;
  std::string complaint;
};

// The default fields without those of --ignore and with those of --with.
FieldChoice choose_fields(const Request& request);

// A recorded machine, or why the file is none.
struct Comparison {
  std::vector<std::string> differences;  // one line each
  std::string complaint;
};

// Compares the ports. A port is the same one when it is in the same slot at the same address, else when it is in
// the same slot behind the same label.
Comparison compare_with_file(const Machine& machine, const std::string& file, const std::vector<std::string>& fields);

}  // namespace qorx::inspect

#endif
