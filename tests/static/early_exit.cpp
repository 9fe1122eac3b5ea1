// Tests that end as run_suite_test.py needs them to.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

namespace {

TEST(Suite, Passes) {}

TEST(Suite, Fails) {
  FAIL();
}

TEST(Suite, IsSkipped) {
  GTEST_SKIP() << "no need";
}

TEST(Suite, EndsByExit) {
  std::exit(0);
}

TEST(Suite, EndsByUnderscoreExit) {
  _exit(0);
}

TEST(Suite, EndsByExitWith3) {
  std::exit(3);
}

}  // namespace
