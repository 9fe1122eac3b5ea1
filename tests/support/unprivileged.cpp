#include "tests/support/unprivileged.h"

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace qorx::test {

namespace {

constexpr unsigned kNobody = 65534;

bool give_up_root() {
  return geteuid() != 0 || (setgroups(0, nullptr) == 0 && setresgid(kNobody, kNobody, kNobody) == 0 &&
                            setresuid(kNobody, kNobody, kNobody) == 0);
}

}  // namespace

bool holds_without_root(const FakeMachine& machine, const std::function<bool()>& check) {
  for (const std::filesystem::path& directory : {machine.root(), machine.work()}) {
    std::filesystem::permissions(directory, std::filesystem::perms{0755});
  }
  const pid_t child = fork();
  if (child == 0) {
    _exit(give_up_root() && check() ? 0 : 1);
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child) {
    throw std::runtime_error("can't start a process without root's rights");
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace qorx::test
