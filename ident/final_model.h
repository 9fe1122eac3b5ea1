// The model text that a port ends with.
#ifndef QORX_IDENT_FINAL_MODEL_H
#define QORX_IDENT_FINAL_MODEL_H

#include <cstdint>

namespace qorx {

// Gives every port its final model ("Onboard", "ID not found", the confirmed names of a legacy module, or what the
// lookups found) and every slot the model of its first port. Returns 0.
std::int32_t qorx_assign_final_model_name();

}  // namespace qorx

#endif
