// The appliance as its front shows it: boxes for the main board and the slots, with their ports, in a grid of four
// columns. The terminal and the picture draw the same.
#ifndef QORX_INSPECT_FRONT_H
#define QORX_INSPECT_FRONT_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "inspect/machine.h"

namespace qorx::inspect {

inline constexpr std::size_t kFrontColumns = 4;

// A port and its place among the others of its box.
struct PortBox {
  const Port* port = nullptr;
  std::string label;    // panel name with the mark of a default, or the mark of a port without a slot
  std::string name;     // the interface
  std::string feature;  // with its mark
  std::string model;
  std::size_t column = 0;
  std::size_t row = 0;
  bool is_joined = false;  // with the port to its right: a bypass pair
  std::string segment;     // written on the join, or in the port where no join is
};

// The main board, a slot, or the ports without a slot.
struct FrontBox {
  std::string title;
  std::string model;  // what sits in a slot
  std::vector<PortBox> ports;
  std::size_t columns = 1;  // of ports, and of the grid
  std::size_t rows = 0;     // of ports; 0: it is empty
  std::size_t column = 0;   // where it begins in the grid
};

// The boxes line by line, as they stand below each other.
struct Front {
  std::vector<std::vector<FrontBox>> lines;
};

Front lay_out(const Machine& machine);

}  // namespace qorx::inspect

#endif
