// What the linker puts in the place of _exit in a build with coverage counters.
#include <gcov.h>

void __real__exit(int status) __attribute__((noreturn));
void __wrap__exit(int status) __attribute__((noreturn));

void __wrap__exit(int status) {
  __gcov_dump();
  __real__exit(status);
}
