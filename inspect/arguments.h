// The command line of qorx-inspect: a command, its operand and words, and the option words of qorx.
#ifndef QORX_INSPECT_ARGUMENTS_H
#define QORX_INSPECT_ARGUMENTS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/options.h"

namespace qorx::inspect {

enum class Command : std::uint8_t { kHelp, kVersion, kJson, kCompare, kLink, kDraw, kExplain };

struct Request {
  Command command = Command::kHelp;
  std::string operand;                     // of compare and explain
  std::optional<std::string> root;         // --root: a recorded machine
  std::optional<std::string> output;       // -o
  std::vector<std::string> ignored;        // --ignore: fields that compare leaves out
  std::vector<std::string> added;          // --with: fields that compare takes in
  bool primary = false;                    // --primary
  bool dry_run = false;                    // --dry-run
  std::vector<const char*> library_words;  // the option words of qorx, as strip_options() takes them
};

// Reads the command line. When it is wrong, the request's place is taken by a line that says why.
struct ParsedArguments {
  Request request;
  std::string complaint;
};
ParsedArguments parse_arguments(Arguments arguments);

extern const char* const kUsage;

}  // namespace qorx::inspect

#endif
