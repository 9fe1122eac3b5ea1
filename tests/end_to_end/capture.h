// Recording a machine with qorx-capture, and comparing what qorx says of the machine and of the recording.
#ifndef QORX_TESTS_END_TO_END_CAPTURE_H
#define QORX_TESTS_END_TO_END_CAPTURE_H

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/end_to_end/system_tools.h"
#include "tests/support/fake_machine.h"
#include "tests/support/tool_run.h"

namespace qorx::test {

inline std::filesystem::path capture_program() {
  return std::filesystem::path(QORX_SOURCE_DIR) / "tools/qorx-capture";
}

// The recording of the machine below `tree`.
class Capture {
 public:
  explicit Capture(const std::filesystem::path& tree, const std::vector<std::string>& options = {}) : tree_(tree) {
    run_ = run_program(capture_program(), joined({"--root", tree, "-o", archive()}, options), directory_.path());
    EXPECT_EQ(run_.status, 0) << run_.errors;
    EXPECT_EQ(run_.output, "");
  }

  [[nodiscard]] std::filesystem::path archive() const { return directory_.path() / "machine.tar.gz"; }

  // What could not be read.
  [[nodiscard]] const std::string& complaints() const { return run_.errors; }

  // The archive's contents as a directory.
  [[nodiscard]] std::filesystem::path unpacked() const {
    const std::filesystem::path place = directory_.path() / "unpacked";
    if (std::filesystem::create_directory(place)) {
      output_of({"tar", "-xzf", archive(), "-C", place});
    }
    return place;
  }

  // Runs qorx on the tree and on the recording, in a directory each that holds copies of `files`: output, status and
  // the files in the directories must be the same. Returns the output. The archive is unpacked once for all runs.
  std::string expect_same(const std::vector<std::string>& arguments,
                          const std::vector<std::filesystem::path>& files = {}) const {
    const TemporaryDirectory on_tree;
    const TemporaryDirectory on_archive;
    for (const std::filesystem::path& file : files) {
      std::filesystem::copy_file(file, on_tree.path() / file.filename());
      std::filesystem::copy_file(file, on_archive.path() / file.filename());
    }
    const ToolRun expected = run_replay(tree_, on_tree.path(), arguments);
    const ToolRun replayed = run_replay(unpacked(), on_archive.path(), arguments);
    EXPECT_EQ(replayed, expected);
    EXPECT_EQ(files_below(on_archive.path()), files_below(on_tree.path()));
    for (const std::string& name : files_below(on_tree.path())) {
      EXPECT_EQ(read_file(on_archive.path() / name), read_file(on_tree.path() / name)) << name;
    }
    return expected.output;
  }

 private:
  const std::filesystem::path tree_;
  const TemporaryDirectory directory_;
  ToolRun run_;
};

inline bool holds(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// The slot records as the debug trace lists them once the search for SMBIOS has succeeded: names and addresses.
inline std::string slot_trace(const std::filesystem::path& machine) {
  const TemporaryDirectory work;
  const std::string trace = run_replay(machine, work.path(), {"-sysinfo", "-novlan", "-ML", "2"}).output;
  const std::size_t start = trace.find("qorx_system_environment_info.eth_smbios_t9_t41_number");
  if (start == std::string::npos) {
    return "";
  }
  const std::size_t count = std::stoul(trace.substr(trace.find(' ', start)));
  std::size_t end = trace.find('\n', start) + 1;
  for (std::size_t i = 0; i < count; ++i) {
    end = trace.find("\nbus ", end - 1) + 1;
    end = trace.find('\n', end) + 1;
  }
  return trace.substr(start, end - start);
}

}  // namespace qorx::test

#endif
