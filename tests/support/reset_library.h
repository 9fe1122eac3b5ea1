// The library as a process finds it when it starts. For tests and fuzzers.
#ifndef QORX_TESTS_SUPPORT_RESET_LIBRARY_H
#define QORX_TESTS_SUPPORT_RESET_LIBRARY_H

namespace qorx::test {

// Puts every table, counter, option and flag back to what it is when a process starts.
void reset_library();

}  // namespace qorx::test

#endif
