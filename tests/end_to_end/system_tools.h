// Programs of the system that these tests use, and what kind of build they look at.
#ifndef QORX_TESTS_END_TO_END_SYSTEM_TOOLS_H
#define QORX_TESTS_END_TO_END_SYSTEM_TOOLS_H

#include <csignal>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/tool_run.h"

namespace qorx::test {

#if defined(__has_feature)
#define QORX_HAS_FEATURE(feature) __has_feature(feature)
#else
#define QORX_HAS_FEATURE(feature) 0
#endif

#if defined(__SANITIZE_ADDRESS__) || QORX_HAS_FEATURE(address_sanitizer)
inline constexpr bool kSanitizedBuild = true;
#else
inline constexpr bool kSanitizedBuild = false;
#endif

inline constexpr bool kReleaseBuild = std::string_view(QORX_BUILD_TYPE) == "Release";

// In a child: what is started in the background may have been told to ignore them.
inline void stop_ignoring_signals() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    std::signal(signal, SIG_DFL);
  }
}

// Runs a command found in PATH, after `VARIABLE=value` words.
inline ToolRun run_command(std::vector<std::string> words, const std::filesystem::path& directory = "/") {
  return run_program("/usr/bin/env", words, directory);
}

inline bool has_command(const std::string& name) {
  return run_command({"sh", "-c", "command -v " + name}).status == 0;
}

inline std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

// The paths of the files and links below a directory, relative to it.
inline std::set<std::string> files_below(const std::filesystem::path& directory) {
  std::set<std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
    if (entry.is_symlink() || !entry.is_directory()) {
      files.insert(entry.path().lexically_relative(directory).string());
    }
  }
  return files;
}

}  // namespace qorx::test

#define QORX_SKIP_WITHOUT(command)                  \
  if (!has_command(command)) {                      \
    GTEST_SKIP() << "there is no " command " here"; \
  }                                                 \
  static_assert(true)

#endif
