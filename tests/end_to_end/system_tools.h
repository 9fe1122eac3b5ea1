// Programs of the system that these tests use, and what kind of build they look at.
#ifndef QORX_TESTS_END_TO_END_SYSTEM_TOOLS_H
#define QORX_TESTS_END_TO_END_SYSTEM_TOOLS_H

#include <gtest/gtest.h>

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

using Words = std::vector<std::string>;

inline Words joined(Words words, const Words& more) {
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

// Runs a command found in PATH, after `VARIABLE=value` words.
inline ToolRun run_command(const Words& words, const std::filesystem::path& directory = "/") {
  return run_program("/usr/bin/env", words, directory);
}

// The output of a command that must succeed.
inline std::string output_of(const Words& words, const std::filesystem::path& directory = "/") {
  const ToolRun run = run_command(words, directory);
  EXPECT_EQ(run.status, 0) << testing::PrintToString(words) << "\n" << run.output << run.errors;
  return run.output;
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

#define QORX_SKIP_IF(condition, reason) \
  if (condition) {                      \
    GTEST_SKIP() << (reason);           \
  }                                     \
  static_assert(true)

#define QORX_SKIP_WITHOUT(command) QORX_SKIP_IF(!has_command(command), "there is no " command " here")

#endif
