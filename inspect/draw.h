// Drawings of the front: for a terminal and as a picture.
#ifndef QORX_INSPECT_DRAW_H
#define QORX_INSPECT_DRAW_H

#include <string>

#include "inspect/arguments.h"
#include "inspect/front.h"

namespace qorx::inspect {

struct TerminalStyle {
  bool is_utf8 = false;  // box characters; else ASCII
  bool is_coloured = false;
};

// At most 80 columns wide.
std::string draw_on_terminal(const Front& front, const TerminalStyle& style);

// One SVG document, without scripts and without fonts of its own.
std::string draw_as_svg(const Front& front);

// The style for standard output: its locale, and colours on a terminal unless NO_COLOR is set.
TerminalStyle terminal_style();

}  // namespace qorx::inspect

#endif
