/* Loaded before a program: whatever it opens as ".../dev/mem" is a character device, the machine's memory, as an
 * appliance has it. The device serves the file that QORX_MEMORY names, and QORX_MEMORY_REFUSES says what it refuses:
 * "writing" (open for writing: EACCES), "only reading" (open for reading alone: EACCES), "opening" (EPERM), "mapping"
 * (EPERM, as a locked-down kernel does). A read is a failed test, since reading such a device byte by byte is not what
 * an appliance is asked for: it ends the process.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

enum { kDescriptors = 1024 };
static unsigned char is_memory[kDescriptors];

static int refuses(const char* what) {
  const char* const text = getenv("QORX_MEMORY_REFUSES");
  return text != NULL && strstr(text, what) != NULL;
}

static int is_memory_path(const char* path) {
  const size_t length = strlen(path);
  const char* const name = "/dev/mem";
  return length >= strlen(name) && strcmp(path + length - strlen(name), name) == 0;
}

static int open_memory(int flags) {
  const int only_reads = (flags & O_ACCMODE) == O_RDONLY;
  if (refuses("opening") || refuses(only_reads ? "only reading" : "writing")) {
    errno = refuses("opening") ? EPERM : EACCES;
    return -1;
  }
  int (*const next)(const char*, int, ...) = (int (*)(const char*, int, ...))dlsym(RTLD_NEXT, "open");
  const int descriptor = next(getenv("QORX_MEMORY"), O_RDONLY | O_CLOEXEC);
  if (descriptor >= 0 && descriptor < kDescriptors) {
    is_memory[descriptor] = 1;
  }
  return descriptor;
}

static mode_t mode_of(int flags, va_list arguments) {
  return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

#define OPEN(name)                                                                                      \
  int name(const char* path, int flags, ...) {                                                          \
    va_list arguments;                                                                                  \
    va_start(arguments, flags);                                                                         \
    const mode_t mode = mode_of(flags, arguments);                                                      \
    va_end(arguments);                                                                                  \
    if (is_memory_path(path)) {                                                                         \
      return open_memory(flags);                                                                        \
    }                                                                                                   \
    int (*const next)(const char*, int, ...) = (int (*)(const char*, int, ...))dlsym(RTLD_NEXT, #name); \
    return next(path, flags, mode);                                                                     \
  }
OPEN(open)
OPEN(open64)

#define OPENAT(name)                                                                                              \
  int name(int folder, const char* path, int flags, ...) {                                                        \
    va_list arguments;                                                                                            \
    va_start(arguments, flags);                                                                                   \
    const mode_t mode = mode_of(flags, arguments);                                                                \
    va_end(arguments);                                                                                            \
    if (is_memory_path(path)) {                                                                                   \
      return open_memory(flags);                                                                                  \
    }                                                                                                             \
    int (*const next)(int, const char*, int, ...) = (int (*)(int, const char*, int, ...))dlsym(RTLD_NEXT, #name); \
    return next(folder, path, flags, mode);                                                                       \
  }
OPENAT(openat)
OPENAT(openat64)

int close(int descriptor) {
  if (descriptor >= 0 && descriptor < kDescriptors) {
    is_memory[descriptor] = 0;
  }
  int (*const next)(int) = (int (*)(int))dlsym(RTLD_NEXT, "close");
  return next(descriptor);
}

static int is_open_memory(int descriptor) {
  return descriptor >= 0 && descriptor < kDescriptors && is_memory[descriptor] != 0;
}

#define FSTAT(name, type)                                                                       \
  int name(int descriptor, struct type* status) {                                               \
    int (*const next)(int, struct type*) = (int (*)(int, struct type*))dlsym(RTLD_NEXT, #name); \
    const int result = next(descriptor, status);                                                \
    if (result == 0 && is_open_memory(descriptor)) {                                            \
      status->st_mode = S_IFCHR | 0640;                                                         \
      status->st_rdev = makedev(1, 1);                                                          \
      status->st_size = 0;                                                                      \
    }                                                                                           \
    return result;                                                                              \
  }
FSTAT(fstat, stat)
FSTAT(fstat64, stat64)

#define MMAP(name, offset_type)                                                                             \
  void* name(void* address, size_t length, int protection, int flags, int descriptor, offset_type offset) { \
    void* (*const next)(void*, size_t, int, int, int, offset_type) =                                        \
        (void* (*)(void*, size_t, int, int, int, offset_type))dlsym(RTLD_NEXT, #name);                      \
    if (is_open_memory(descriptor) && (refuses("mapping") || (protection & PROT_WRITE) != 0)) {             \
      errno = EPERM;                                                                                        \
      return MAP_FAILED;                                                                                    \
    }                                                                                                       \
    return next(address, length, protection, flags, descriptor, offset);                                    \
  }
MMAP(mmap, off_t)
MMAP(mmap64, off64_t)

ssize_t pread(int descriptor, void* bytes, size_t count, off_t offset) {
  if (is_open_memory(descriptor)) {
    static const char kText[] = "the memory device was read instead of mapped\n";
    (void)!write(STDERR_FILENO, kText, sizeof kText - 1);
    abort();
  }
  ssize_t (*const next)(int, void*, size_t, off_t) = (ssize_t(*)(int, void*, size_t, off_t))dlsym(RTLD_NEXT, "pread");
  return next(descriptor, bytes, count, offset);
}
