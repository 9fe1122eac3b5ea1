// The one door to the machine: every access to /sys and /dev/mem goes through here.
//
// Paths are absolute and used exactly as they stand. A recorded machine is read by setting the directory that
// holds its sys/ and dev/ as the root; everything else runs the same code. Files that the user names never come
// through here.
#ifndef QORX_BASE_SYSTEM_ROOT_H
#define QORX_BASE_SYSTEM_ROOT_H

#include <dirent.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

#include "base/line_reader.h"

namespace qorx {

// Sets the directory below which /sys and /dev are looked up; empty (the default) is the machine itself.
// Returns false when the name is too long to be used; the root is then unchanged.
bool set_system_root(std::string_view directory);

// An open file of the machine, closed when it goes out of scope.
class SystemFile {
 public:
  SystemFile() = default;
  explicit SystemFile(int descriptor) : descriptor_(descriptor) {}
  SystemFile(SystemFile&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  SystemFile& operator=(SystemFile&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  SystemFile(const SystemFile&) = delete;
  SystemFile& operator=(const SystemFile&) = delete;
  ~SystemFile();

  [[nodiscard]] bool is_open() const { return descriptor_ >= 0; }

  // What a read returns instead of a count.
  static constexpr long kUnreadable = -1;
  static constexpr long kIsDirectory = -2;

  // Reads the bytes at `offset` into `bytes`, and nothing else. Returns how many were there, or one of the above.
  [[nodiscard]] long read_at(std::uint64_t offset, std::span<std::uint8_t> bytes) const;

  // Reads on from the current position, to the end of `bytes` or of the file. Returns the same.
  [[nodiscard]] long read(std::span<char> bytes) const;

  [[nodiscard]] int descriptor() const { return descriptor_; }

  // Gives up the descriptor.
  int release() { return std::exchange(descriptor_, -1); }

 private:
  int descriptor_ = -1;
};

// An open directory of the machine.
class SystemDirectory {
 public:
  explicit SystemDirectory(DIR* directory) : directory_(directory) {}

  [[nodiscard]] bool is_open() const { return directory_ != nullptr; }

  // The next entry name in the order the directory returns them, without "." and ".."; null at the end. Valid
  // until the next call.
  const char* next_entry();

  // True when the directory could not be read to its end: what was listed may be half of it.
  [[nodiscard]] bool failed() const { return failed_; }

 private:
  struct Closer {
    void operator()(DIR* directory) const { closedir(directory); }
  };
  std::unique_ptr<DIR, Closer> directory_;
  bool failed_ = false;
};

// Keeps a folder open as long as it lives: files and links below it are then reached from there, which spares the
// kernel the way to it for each of them. Where the process may open no more files it is closed early: it only spares
// time. They go in the reverse of the order in which they came.
class KeptFolder {
 public:
  // `path` must outlive it.
  explicit KeptFolder(const char* path);
  KeptFolder(const KeptFolder&) = delete;
  KeptFolder& operator=(const KeptFolder&) = delete;
  ~KeptFolder();

  // The part of `path` below this folder; null where it does not lie below.
  [[nodiscard]] const char* part_below(const char* path) const;

  [[nodiscard]] int descriptor() const { return folder_.descriptor(); }
  [[nodiscard]] KeptFolder* outer() const { return outer_; }

  // Closes the folder. False when it is closed already.
  bool give_up();

 private:
  std::string_view path_;
  SystemFile folder_;
  KeptFolder* outer_;  // kept when this one came
};

// A read-only piece of /dev/mem.
class MemoryMap {
 public:
  MemoryMap() = default;
  MemoryMap(void* address, std::size_t present, std::uint64_t extent)
      : address_(address), present_(present), extent_(extent) {}
  MemoryMap(MemoryMap&& other) noexcept
      : address_(std::exchange(other.address_, nullptr)), present_(other.present_), extent_(other.extent_) {}
  MemoryMap& operator=(MemoryMap&&) = delete;
  MemoryMap(const MemoryMap&) = delete;
  MemoryMap& operator=(const MemoryMap&) = delete;
  ~MemoryMap();

  [[nodiscard]] bool is_mapped() const { return extent_ != 0; }

  // The bytes that are there to be read.
  [[nodiscard]] std::span<const std::uint8_t> bytes() const {
    return {static_cast<const std::uint8_t*>(address_), present_};
  }

  // How far the map goes, in bytes: whole pages. Where fewer are present, the bytes from there to here count as 0x00.
  [[nodiscard]] std::uint64_t extent() const { return extent_; }

 private:
  void* address_ = nullptr;
  std::size_t present_ = 0;
  std::uint64_t extent_ = 0;
};

SystemFile open_system_file(const char* path);

// For content that is read from its start. Not open when the file can't be opened or is a directory.
SystemFile open_system_content(const char* path);

// The same for text that is read in lines. Null on failure.
FilePtr open_system_text(const char* path);

// Whether `path` is a directory that can be opened.
bool is_system_directory(const char* path);

SystemDirectory open_system_directory(const char* path);

// Reads at most buffer.size() bytes of a link's target, without a NUL. Returns their number, -1 on failure.
long read_system_link(const char* path, std::span<char> buffer);

// Whether /dev/mem is a regular file: the recorded memory of a machine, not this machine's own.
bool is_memory_recorded();

// Maps `length` bytes of /dev/mem from `base`, a multiple of the page size; of more than 64 MiB only the front, and
// what lies behind counts as 0x00. Not mapped on failure.
MemoryMap map_system_memory(std::uint64_t base, std::uint64_t length);

}  // namespace qorx

#endif
