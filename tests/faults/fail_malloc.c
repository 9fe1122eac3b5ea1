/* Loaded before a program: makes its k-th allocation fail. QORX_FAIL_MALLOC is "K:once" or "K:on" (from then on). */
#define _GNU_SOURCE
#include <errno.h>
#include <stddef.h>
#include <stdlib.h>
#include <string.h>

extern void* __libc_malloc(size_t size);
extern void* __libc_calloc(size_t count, size_t size);
extern void* __libc_realloc(void* memory, size_t size);

static long calls;

static int fails(void) {
  static long wanted = -1;
  static int lasting;
  if (wanted < 0) {
    const char* const text = getenv("QORX_FAIL_MALLOC");
    wanted = text != NULL ? strtol(text, NULL, 10) : 0;
    lasting = text != NULL && strstr(text, ":on") != NULL;
  }
  ++calls;
  if (wanted > 0 && (calls == wanted || (lasting && calls > wanted))) {
    errno = ENOMEM;
    return 1;
  }
  return 0;
}

void* malloc(size_t size) {
  return fails() ? NULL : __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
  return fails() ? NULL : __libc_calloc(count, size);
}

void* realloc(void* memory, size_t size) {
  return fails() ? NULL : __libc_realloc(memory, size);
}
