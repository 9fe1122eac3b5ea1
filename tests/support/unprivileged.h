// What a user without root's rights meets, also when the tests run as root.
#ifndef QORX_TESTS_SUPPORT_UNPRIVILEGED_H
#define QORX_TESTS_SUPPORT_UNPRIVILEGED_H

#include <functional>
#include <string>

#include "tests/support/fake_machine.h"

namespace qorx::test {

// Temporary files go into a directory of their own in which every user may write: TMPDIR may be root's alone.
class EveryonesTemporaryDirectory {
 public:
  EveryonesTemporaryDirectory();
  ~EveryonesTemporaryDirectory();
  EveryonesTemporaryDirectory(const EveryonesTemporaryDirectory&) = delete;
  EveryonesTemporaryDirectory& operator=(const EveryonesTemporaryDirectory&) = delete;

 private:
  const std::string before_;
  const TemporaryDirectory directory_;
};

// Runs `check` in a child process that has given up root's rights and may enter the machine's directories.
bool holds_without_root(const FakeMachine& machine, const std::function<bool()>& check);

}  // namespace qorx::test

#endif
