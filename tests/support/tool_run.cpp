#include "tests/support/tool_run.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "tests/support/fake_machine.h"

namespace qorx::test {

namespace fs = std::filesystem;

namespace {

constexpr int kCantStart = 127;

void redirect(const fs::path& file, int descriptor) {
  const int opened = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (opened < 0 || dup2(opened, descriptor) < 0) {
    _exit(kCantStart);
  }
  close(opened);
}

[[noreturn]] void start_program(const fs::path& program, const std::vector<std::string>& arguments,
                                const fs::path& directory, const fs::path& captured,
                                const std::function<void()>& in_child) {
  redirect(captured / "out", STDOUT_FILENO);
  redirect(captured / "err", STDERR_FILENO);
  std::vector<char*> words;
  for (const std::string& argument : arguments) {
    words.push_back(const_cast<char*>(argument.c_str()));
  }
  words.push_back(nullptr);
  if (chdir(directory.c_str()) != 0) {
    _exit(kCantStart);
  }
  if (in_child) {
    in_child();
  }
  execv(program.c_str(), words.data());
  _exit(kCantStart);
}

}  // namespace

void PrintTo(const ToolRun& run, std::ostream* out) {
  *out << "status " << run.status << "\n" << run.output << run.errors;
}

ToolRun said(const std::string& output, int status) {
  return {output, "", status};
}

ToolRun run_program(const fs::path& program, const std::vector<std::string>& arguments, const fs::path& directory,
                    const std::function<void()>& in_child) {
  const TemporaryDirectory captured;
  std::vector<std::string> words{program.filename().string()};
  words.insert(words.end(), arguments.begin(), arguments.end());
  const pid_t child = fork();
  if (child == 0) {
    start_program(program, words, directory, captured.path(), in_child);
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child) {
    throw std::runtime_error("can't run " + program.string());
  }
  ToolRun run;
  run.output = read_file(captured.path() / "out");
  run.errors = read_file(captured.path() / "err");
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return run;
}

ToolRun run_replay(const fs::path& root, const fs::path& directory, const std::vector<std::string>& arguments,
                   const std::function<void()>& in_child) {
  std::vector<std::string> words{root.string(), "--"};
  words.insert(words.end(), arguments.begin(), arguments.end());
  return run_program(replay_program(), words, directory, in_child);
}

ToolRun run_with_fault(const std::filesystem::path& root, const std::filesystem::path& directory,
                       const std::vector<std::string>& arguments, const std::filesystem::path& path,
                       const std::string& fault) {
  std::vector<std::string> words{"strace",         "-o", "calls", "-P", std::filesystem::canonical(path), "-e",
                                 "inject=" + fault};
  words.insert(words.end(), {replay_program(), root, "--"});
  words.insert(words.end(), arguments.begin(), arguments.end());
  return run_program("/usr/bin/env", words, directory, [] { setenv("ASAN_OPTIONS", "detect_leaks=0", 1); });
}

bool can_plant_faults() {
  return std::system("strace -o /dev/null /bin/true >/dev/null 2>&1") == 0;
}

fs::path qorx_program() {
  return QORX_PROGRAM;
}

fs::path replay_program() {
  return QORX_REPLAY_PROGRAM;
}

std::string read_file(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

}  // namespace qorx::test
