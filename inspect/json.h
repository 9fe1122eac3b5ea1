// The machine as JSON, as qorx-inspect-1.schema.json describes it.
#ifndef QORX_INSPECT_JSON_H
#define QORX_INSPECT_JSON_H

#include <string>

#include "inspect/machine.h"

namespace qorx::inspect {

// The number of the layout: raised when a key changes its meaning or goes away, not when one is added.
inline constexpr int kSchema = 1;

// ASCII only, so that it can be shown anywhere; ends in a line feed.
std::string json_text(const Machine& machine);

}  // namespace qorx::inspect

#endif
