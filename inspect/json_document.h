// A port as a JSON value in memory.
#ifndef QORX_INSPECT_JSON_DOCUMENT_H
#define QORX_INSPECT_JSON_DOCUMENT_H

#include <nlohmann/json.hpp>

#include "inspect/machine.h"

namespace qorx::inspect {

using Json = nlohmann::ordered_json;

// As qorx-inspect-1.schema.json describes it.
Json json_port(const Port& port);

}  // namespace qorx::inspect

#endif
