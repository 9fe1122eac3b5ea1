// Calls of the C library, and of the library itself, that fail when a test says so. The linker sends the product's
// calls to failing_call.cpp (tests/CMakeLists.txt lists them).
#ifndef QORX_TESTS_FAULTS_FAILING_CALL_H
#define QORX_TESTS_FAULTS_FAILING_CALL_H

#include <string_view>

namespace qorx::test {

// As long as it lives, one call of this name, the `number`-th from now, fails with this error.
class FailingCall {
 public:
  FailingCall(std::string_view name, int error, int number = 1);
  ~FailingCall();
  FailingCall(const FailingCall&) = delete;
  FailingCall& operator=(const FailingCall&) = delete;

  // Whether it was that call's turn.
  [[nodiscard]] static bool has_failed();
};

}  // namespace qorx::test

#endif
