#include "tests/faults/failing_call.h"

#include <dirent.h>
#include <fcntl.h>
#include <locale.h>  // NOLINT(modernize-deprecated-headers): newlocale
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>

namespace qorx::test {
namespace {

std::string_view g_name;
int g_error;
int g_left;  // calls until it fails, 0 once it has

bool fails(std::string_view name) {
  if (name != g_name || g_left == 0 || --g_left != 0) {
    return false;
  }
  errno = g_error;
  return true;
}

}  // namespace

FailingCall::FailingCall(std::string_view name, int error, int number) {
  g_name = name;
  g_error = error;
  g_left = number;
}

FailingCall::~FailingCall() {
  g_name = {};
}

bool FailingCall::has_failed() {
  return g_left == 0;
}

}  // namespace qorx::test

// What the linker calls the real function, and ours in its place.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
#define QORX_CALL(result, name, failure, parameters, arguments)                               \
  extern "C" result __real_##name parameters;                                                 \
  extern "C" result __wrap_##name parameters;                                                 \
  result __wrap_##name parameters {                                                           \
    return qorx::test::fails(#name) ? static_cast<result>(failure) : __real_##name arguments; \
  }

QORX_CALL(int, fstat, -1, (int descriptor, struct stat* status), (descriptor, status))
QORX_CALL(int, ftruncate, -1, (int descriptor, off_t size), (descriptor, size))
QORX_CALL(int, madvise, -1, (void* start, std::size_t size, int advice), (start, size, advice))
QORX_CALL(int, fchmod, -1, (int descriptor, mode_t mode), (descriptor, mode))
QORX_CALL(int, fsync, -1, (int descriptor), (descriptor))
QORX_CALL(int, rename, -1, (const char* from, const char* to), (from, to))
QORX_CALL(int, pipe, -1, (int* ends), (ends))
QORX_CALL(int, posix_spawnp, EAGAIN,
          (pid_t * process, const char* file, const posix_spawn_file_actions_t* actions,
           const posix_spawnattr_t* attributes, char* const* words, char* const* environment),
          (process, file, actions, attributes, words, environment))
QORX_CALL(pid_t, fork, -1, (), ())
QORX_CALL(pid_t, waitpid, -1, (pid_t process, int* status, int options), (process, status, options))
QORX_CALL(locale_t, newlocale, nullptr, (int mask, const char* name, locale_t base), (mask, name, base))
QORX_CALL(ssize_t, read, -1, (int descriptor, void* bytes, std::size_t size), (descriptor, bytes, size))
QORX_CALL(ssize_t, readlinkat, -1, (int folder, const char* path, char* text, std::size_t size),
          (folder, path, text, size))
// Without an error, nothing is written.
QORX_CALL(ssize_t, write, errno == 0 ? 0 : -1, (int descriptor, const void* bytes, std::size_t size),
          (descriptor, bytes, size))
QORX_CALL(ssize_t, pread, -1, (int descriptor, void* bytes, std::size_t size, off_t offset),
          (descriptor, bytes, size, offset))
QORX_CALL(void*, mmap, MAP_FAILED, (void* start, std::size_t size, int protection, int flags, int file, off_t offset),
          (start, size, protection, flags, file, offset))
QORX_CALL(void*, malloc, nullptr, (std::size_t size), (size))
QORX_CALL(void*, realloc, nullptr, (void* memory, std::size_t size), (memory, size))
QORX_CALL(std::FILE*, fdopen, nullptr, (int descriptor, const char* mode), (descriptor, mode))
QORX_CALL(std::FILE*, fopencookie, nullptr, (void* cookie, const char* mode, cookie_io_functions_t calls),
          (cookie, mode, calls))
QORX_CALL(std::int32_t, qorx_get_lib_version, -103, (std::uint8_t * major, std::uint8_t* minor), (major, minor))

// A close that fails has closed all the same.
extern "C" int __real_close(int descriptor);
extern "C" int __wrap_close(int descriptor);
int __wrap_close(int descriptor) {
  const int result = __real_close(descriptor);
  return qorx::test::fails("close") ? -1 : result;
}

// Weak: a program that follows a recording's order of entries has one of its own, which does not fail.
extern "C" dirent* __real_readdir(DIR* directory);
extern "C" [[gnu::weak]] dirent* __wrap_readdir(DIR* directory);
dirent* __wrap_readdir(DIR* directory) {
  return qorx::test::fails("readdir") ? nullptr : __real_readdir(directory);
}

extern "C" int __real_fclose(std::FILE* stream);
extern "C" int __wrap_fclose(std::FILE* stream);
int __wrap_fclose(std::FILE* stream) {
  const int result = __real_fclose(stream);
  return qorx::test::fails("fclose") ? EOF : result;
}

extern "C" int __real_open(const char* path, int flags, ...);
extern "C" int __wrap_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return qorx::test::fails("open") ? -1 : __real_open(path, flags, mode);
}

extern "C" int __real_openat(int folder, const char* path, int flags, ...);
extern "C" int __wrap_openat(int folder, const char* path, int flags, ...);
int __wrap_openat(int folder, const char* path, int flags, ...) {
  return qorx::test::fails("openat") ? -1 : __real_openat(folder, path, flags);  // nothing is created with it
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
