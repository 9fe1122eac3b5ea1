#include "tests/support/unprivileged.h"

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace qorx::test {

namespace {

constexpr unsigned kNobody = 65534;

bool give_up_root() {
  return geteuid() != 0 || (setgroups(0, nullptr) == 0 && setresgid(kNobody, kNobody, kNobody) == 0 &&
                            setresuid(kNobody, kNobody, kNobody) == 0);
}

// Nothing may be thrown: the child would go on with the tests behind this one.
bool holds_in_child(const std::function<bool()>& check) noexcept {
  return give_up_root() && check();
}

}  // namespace

EveryonesTemporaryDirectory::EveryonesTemporaryDirectory() : before_(std::filesystem::temp_directory_path()) {
  std::filesystem::permissions(directory_.path(), std::filesystem::perms{01777});
  setenv("TMPDIR", directory_.path().c_str(), 1);
}

EveryonesTemporaryDirectory::~EveryonesTemporaryDirectory() {
  setenv("TMPDIR", before_.c_str(), 1);
}

bool holds_without_root(const FakeMachine& machine, const std::function<bool()>& check) {
  for (const std::filesystem::path& directory : {machine.root(), machine.work()}) {
    std::filesystem::permissions(directory, std::filesystem::perms{0755});
  }
  const EveryonesTemporaryDirectory temporary;
  const pid_t child = fork();
  if (child == 0) {
    _exit(holds_in_child(check) ? 0 : 1);
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child) {
    throw std::runtime_error("can't start a process without root's rights");
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace qorx::test
