// A machine with one file and a memory, for tests of calls that fail: no test may leave a descriptor open.
#ifndef QORX_TESTS_FAULTS_FAILING_CALLS_H
#define QORX_TESTS_FAULTS_FAILING_CALLS_H

#include <gtest/gtest.h>
#include <unistd.h>

#include "base/shortage.h"
#include "tests/faults/failing_call.h"
#include "tests/support/fixture.h"

namespace qorx::test {

class FailingCalls : public MachineTest {
 protected:
  FailingCalls() {
    static_cast<void>(take_shortage());
    machine_.write("sys/file", "text").write("dev/mem", "memory");
  }
  ~FailingCalls() override { EXPECT_EQ(next_descriptor(), first_descriptor_); }

  // The lowest one that is free.
  static int next_descriptor() {
    const int descriptor = dup(STDIN_FILENO);
    close(descriptor);
    return descriptor;
  }

 private:
  const int first_descriptor_ = next_descriptor();
};

}  // namespace qorx::test

#endif
