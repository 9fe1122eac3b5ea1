#include "base/system_root.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>

#include "base/bounded_text.h"
#include "base/interrupted.h"
#include "base/shortage.h"

namespace qorx {

namespace {

constexpr std::size_t kPathLimit = 4096;

// As much of a table is brought into memory; what lies behind counts as not there.
constexpr std::uint64_t kMapLimit = std::uint64_t{64} << 20;

char g_rooted[2 * kPathLimit];  // begins with the root, if one is set
std::size_t g_root_length;
KeptFolder* g_kept_folder;  // the last one that came

// The path below the root, valid until the next call; the path itself where no root is set.
const char* rooted(const char* path) {
  if (g_root_length == 0) {
    return path;
  }
  copy_text(g_rooted + g_root_length, sizeof g_rooted - g_root_length, path);
  return g_rooted;
}

// Calls `call` with a folder and the path from there: a kept folder where there is one above the path.
template <typename Call>
auto from_folder(const char* path, Call call) {
  for (const KeptFolder* folder = g_kept_folder; folder != nullptr; folder = folder->outer()) {
    if (const char* const part = folder->part_below(path)) {
      return call(folder->descriptor(), part);
    }
  }
  return call(AT_FDCWD, rooted(path));
}

bool give_up_kept_folders() {
  bool any = false;
  for (KeptFolder* folder = g_kept_folder; folder != nullptr; folder = folder->outer()) {
    any = folder->give_up() || any;
  }
  return any;
}

// Calls `open_one`, and once more without the kept folders when it fails because too many files are open.
template <typename Open>
int retried(Open open_one) {
  const int descriptor = open_one();
  const bool too_many = descriptor < 0 && (errno == EMFILE || errno == ENFILE);
  return too_many && give_up_kept_folders() ? open_one() : descriptor;
}

// Non-blocking, so that a pipe in a recorded tree can't stop the tool; sysfs does not care.
// With a mode, which nobody looks at, this is one call of the C library whatever the compiler knows of the flags.
int try_open(const char* path, int flags) {
  return from_folder(path, [flags](int folder, const char* part) {
    return retry_interrupted(-1, [&] { return openat(folder, part, flags | O_CLOEXEC | O_NONBLOCK, 0); });
  });
}

int open_rooted(const char* path, int flags) {
  const int descriptor = retried([&] { return try_open(path, flags); });
  if (descriptor < 0) {
    note_error(errno);
  }
  return descriptor;
}

// A recorded machine's memory is copied rather than mapped: a file that shrinks under a map kills its reader.
MemoryMap load_regular_file(const SystemFile& file, std::uint64_t file_size, std::uint64_t base, std::uint64_t extent) {
  const auto present = static_cast<std::size_t>(std::min({extent, kMapLimit, file_size > base ? file_size - base : 0}));
  if (present == 0) {
    return {nullptr, 0, extent};
  }
  void* const memory = mmap(nullptr, present, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) {
    note_error(errno);
    return {};
  }
  const long count = file.read_at(base, {static_cast<std::uint8_t*>(memory), present});
  if (count < 0) {
    munmap(memory, present);
    return {};
  }
  return {memory, present, extent};
}

// What a read returns that has just failed.
long read_failure() {
  note_error(errno);
  return errno == EISDIR ? SystemFile::kIsDirectory : SystemFile::kUnreadable;
}

}  // namespace

SystemFile::~SystemFile() {
  if (descriptor_ >= 0) {
    close(descriptor_);
  }
}

long SystemFile::read_at(std::uint64_t offset, std::span<std::uint8_t> bytes) const {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t count = retry_interrupted(ssize_t{-1}, [&] {
      return pread(descriptor_, bytes.data() + done, bytes.size() - done, static_cast<off_t>(offset + done));
    });
    if (count < 0 && done == 0) {
      return read_failure();
    }
    if (count <= 0) {
      break;
    }
    done += static_cast<std::size_t>(count);
  }
  return static_cast<long>(done);
}

long SystemFile::read(std::span<char> bytes) const {
  const ssize_t count = retry_interrupted(ssize_t{-1}, [&] { return ::read(descriptor_, bytes.data(), bytes.size()); });
  return count < 0 ? read_failure() : count;
}

const char* SystemDirectory::next_entry() {
  for (;;) {
    const dirent* const entry =
        retry_interrupted(static_cast<dirent*>(nullptr), [this] { return readdir(directory_.get()); });
    if (entry == nullptr) {
      failed_ = errno != 0;
      note_error(errno);
      return nullptr;
    }
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") {
      return entry->d_name;
    }
  }
}

MemoryMap::~MemoryMap() {
  if (address_ != nullptr) {
    munmap(address_, present_);
  }
}

bool set_system_root(std::string_view directory) {
  if (directory.size() >= kPathLimit) {
    return false;
  }
  copy_text(g_rooted, directory);
  g_root_length = directory.size();
  return true;
}

KeptFolder::KeptFolder(const char* path)
    : path_(path), folder_(try_open(path, O_PATH | O_DIRECTORY)), outer_(g_kept_folder) {
  g_kept_folder = this;
}

KeptFolder::~KeptFolder() {
  g_kept_folder = outer_;
}

bool KeptFolder::give_up() {
  const bool was_open = folder_.is_open();
  folder_ = SystemFile();
  return was_open;
}

const char* KeptFolder::part_below(const char* path) const {
  const bool is_below = folder_.is_open() && std::strncmp(path, path_.data(), path_.size()) == 0 &&
                        path[path_.size()] == '/' && path[path_.size() + 1] != '\0';
  return is_below ? path + path_.size() + 1 : nullptr;
}

SystemFile open_system_file(const char* path) {
  return SystemFile(open_rooted(path, O_RDONLY));
}

SystemFile open_system_content(const char* path) {
  SystemFile file = open_system_file(path);
  struct stat status {};
  if (!file.is_open() || !read_status(file.descriptor(), status) || S_ISDIR(status.st_mode)) {
    return {};
  }
  return file;
}

FilePtr open_system_text(const char* path) {
  SystemFile file = open_system_content(path);
  if (!file.is_open()) {
    return nullptr;
  }
  FilePtr stream(fdopen(file.descriptor(), "r"));
  if (stream) {
    file.release();
  } else {
    note_error(errno);
  }
  return stream;
}

bool is_system_directory(const char* path) {
  return SystemFile(open_rooted(path, O_RDONLY | O_DIRECTORY)).is_open();
}

SystemDirectory open_system_directory(const char* path) {
  DIR* directory = nullptr;
  static_cast<void>(retried([&] {
    directory = retry_interrupted(static_cast<DIR*>(nullptr), [path] { return opendir(rooted(path)); });
    return directory != nullptr ? 0 : -1;
  }));
  if (directory == nullptr) {
    note_error(errno);
  }
  return SystemDirectory(directory);
}

long read_system_link(const char* path, std::span<char> buffer) {
  const long length = from_folder(path, [buffer](int folder, const char* part) {
    return retry_interrupted(ssize_t{-1}, [&] { return readlinkat(folder, part, buffer.data(), buffer.size()); });
  });
  if (length < 0) {
    note_error(errno);
  }
  return length;
}

bool is_memory_recorded() {
  const SystemFile file(open_rooted("/dev/mem", O_RDONLY));
  struct stat status {};
  return file.is_open() && read_status(file.descriptor(), status) && S_ISREG(status.st_mode);
}

MemoryMap map_system_memory(std::uint64_t base, std::uint64_t length) {
  const auto page_size = static_cast<std::uint64_t>(getpagesize());
  constexpr std::uint64_t kFileEnd = std::numeric_limits<off_t>::max();
  if (length == 0 || base > kFileEnd || length > kFileEnd - base) {
    return {};
  }
  const std::uint64_t extent = (length + page_size - 1) / page_size * page_size;
  if (extent > kFileEnd - base) {
    return {};
  }
  // Deliberately read-write first, though nothing is ever written: a machine that refuses it may still allow reading.
  SystemFile file(open_rooted("/dev/mem", O_RDWR));
  if (!file.is_open()) {
    file = SystemFile(open_rooted("/dev/mem", O_RDONLY));
  }
  struct stat status {};
  if (!file.is_open() || !read_status(file.descriptor(), status)) {
    return {};
  }
  if (S_ISREG(status.st_mode)) {
    return load_regular_file(file, static_cast<std::uint64_t>(status.st_size), base, extent);
  }
  // Mapping anything else, /dev/zero say, can succeed and kill the reader at the first byte.
  const bool is_memory = S_ISCHR(status.st_mode) && status.st_rdev == makedev(1, 1);
  if (!is_memory) {
    return {};
  }
  const auto present = static_cast<std::size_t>(std::min(extent, kMapLimit));
  void* const memory = mmap(nullptr, static_cast<std::size_t>(std::min<std::uint64_t>(length, present)), PROT_READ,
                            MAP_SHARED, file.descriptor(), static_cast<off_t>(base));
  if (memory == MAP_FAILED) {
    note_error(errno);
    return {};
  }
  return {memory, present, extent};
}

}  // namespace qorx
