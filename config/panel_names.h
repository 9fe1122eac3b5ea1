// The label of a port on the front panel, where nobody has given one.
#ifndef QORX_CONFIG_PANEL_NAMES_H
#define QORX_CONFIG_PANEL_NAMES_H

#include <cstdint>

namespace qorx {

// Gives every port that has a slot and no panel name a default, marked "(*)". Returns 0.
std::int32_t qorx_assign_final_panel_name();

}  // namespace qorx

#endif
