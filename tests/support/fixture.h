// What a test begins with: the library as it is when a process starts, with or without a machine.
#ifndef QORX_TESTS_SUPPORT_FIXTURE_H
#define QORX_TESTS_SUPPORT_FIXTURE_H

#include <gtest/gtest.h>

#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {

class LibraryTest : public testing::Test {
 protected:
  LibraryTest() { reset_library(); }
  ~LibraryTest() override { reset_library(); }
};

class MachineTest : public LibraryTest {
 protected:
  FakeMachine machine_;
};

}  // namespace qorx::test

#endif
