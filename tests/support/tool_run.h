// Running a program and keeping what it said.
#ifndef QORX_TESTS_SUPPORT_TOOL_RUN_H
#define QORX_TESTS_SUPPORT_TOOL_RUN_H

#include <filesystem>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace qorx::test {

struct ToolRun {
  std::string output;  // standard output
  std::string errors;  // standard error
  int status = -1;     // exit status; 128 + signal when one ended it

  bool operator==(const ToolRun&) const = default;
  friend void PrintTo(const ToolRun& run, std::ostream* out);
};

// A run that said this on standard output and nothing on standard error.
ToolRun said(const std::string& output, int status = 0);

// Runs a program in `directory`. `in_child` runs in the child just before the program starts: to close descriptors,
// set limits, or redirect.
ToolRun run_program(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                    const std::filesystem::path& directory, const std::function<void()>& in_child = {});

// Runs qorx-replay on the machine below `root`, the option words and all as a user would type them.
ToolRun run_replay(const std::filesystem::path& root, const std::filesystem::path& directory,
                   const std::vector<std::string>& arguments, const std::function<void()>& in_child = {});

// Runs qorx-replay while system calls on `path` fail as strace is told: "read:error=EIO:when=2".
ToolRun run_with_fault(const std::filesystem::path& root, const std::filesystem::path& directory,
                       const std::vector<std::string>& arguments, const std::filesystem::path& path,
                       const std::string& fault);

// Whether strace is installed and may trace here.
bool can_plant_faults();

// The built programs.
std::filesystem::path qorx_program();
std::filesystem::path replay_program();

// Reads a whole file; empty when there is none.
std::string read_file(const std::filesystem::path& path);

}  // namespace qorx::test

#endif
