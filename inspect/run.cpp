#include "inspect/run.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#include "base/messages.h"
#include "base/system_root.h"
#include "cli/standard_output.h"
#include "inspect/arguments.h"
#include "inspect/compare.h"
#include "inspect/draw.h"
#include "inspect/explain.h"
#include "inspect/json.h"
#include "inspect/library_session.h"
#include "inspect/link_files.h"
#include "inspect/machine.h"
#include "inspect/text.h"
#include "tools/archive.h"
#include "tools/recorded_order.h"

namespace qorx::inspect {

namespace {

int complain(const std::string& text) {
  std::fprintf(stderr, "qorx-inspect: %s\n", text.c_str());
  return kTrouble;
}

void print(const std::string& text) {
  static_cast<void>(std::fwrite(text.data(), 1, text.size(), stdout));
}

// Makes the recorded machine that the user named the one to look at. False when it can't be used, and that has been
// said.
bool use_root(const std::string& name, UnpackedArchive& archive) {
  std::string root = name;
  if (is_archive(name.c_str())) {
    if (!archive.unpack(name.c_str())) {
      return false;
    }
    root = archive.directory();
  }
  if (root.empty() || !set_system_root(root) || !is_system_directory("/")) {
    complain("--root " + name + ": no directory or archive that can be read");
    return false;
  }
  follow_recorded_order(root.c_str());
  return true;
}

int print_comparison(const Request& request, const Machine& machine) {
  const Comparison comparison = compare_with_file(machine, request.operand, choose_fields(request).fields);
  if (!comparison.complaint.empty()) {
    return complain(comparison.complaint);
  }
  for (const std::string& line : comparison.differences) {
    print(line + "\n");
  }
  return comparison.differences.empty() ? 0 : 1;
}

int draw(const Request& request, const Machine& machine) {
  const Front front = lay_out(machine);
  if (!request.output) {
    print(draw_on_terminal(front, terminal_style()));
    return 0;
  }
  std::ofstream file(*request.output, std::ios::binary | std::ios::trunc);
  file << draw_as_svg(front);
  file.close();
  return file ? 0 : complain(printable(*request.output) + " can't be written: " + std::strerror(errno));
}

int print_explanation(const Request& request, const Machine& machine) {
  const std::string text = explain(machine, request.operand);
  if (text.empty()) {
    const std::string why = explain_missing(request.operand);
    return complain(!why.empty() ? why
                                 : "no port has the name, address or panel name '" + printable(request.operand) + "'");
  }
  print(text);
  return 0;
}

int report(const Request& request, const Machine& machine) {
  switch (request.command) {
    case Command::kJson:
      print(json_text(machine));
      return 0;
    case Command::kCompare:
      return print_comparison(request, machine);
    case Command::kLink:
      return write_link_files(request, machine);
    case Command::kDraw:
      return draw(request, machine);
    case Command::kExplain:
      return print_explanation(request, machine);
    default:
      return kTrouble;
  }
}

int inspect_machine(const Request& request) {
  if (const std::string complaint = choose_fields(request).complaint; !complaint.empty()) {
    return complain(complaint);
  }
  UnpackedArchive archive;
  if (request.root && !use_root(*request.root, archive)) {
    return kTrouble;
  }
  Machine machine;
  machine.root = request.root;
  if (const std::uint8_t code = open_machine(request, machine); code != 0) {
    // For compare every failure to look is the same.
    return request.command == Command::kCompare ? kTrouble : code;
  }
  return report(request, machine);
}

int run_request(const Request& request) {
  switch (request.command) {
    case Command::kHelp:
      print(kUsage);
      return 0;
    case Command::kVersion:
      print("qorx-inspect version: " + version_text(kToolVersion) + "\n");
      return 0;
    default:
      return inspect_machine(request);
  }
}

}  // namespace

int run(int argc, const char* const* argv) {
  protect_standard_output();
  const ParsedArguments parsed = parse_arguments(Arguments(argv, static_cast<std::size_t>(argc)));
  if (!parsed.complaint.empty()) {
    return complain(parsed.complaint);
  }
  const int status = run_request(parsed.request);
  if (finish_standard_output() != 0) {
    return complain("standard output can't be written completely");
  }
  return status;
}

}  // namespace qorx::inspect
