// A recorded firmware file, brought into memory whole.
#ifndef QORX_SMBIOS_FILE_IMAGE_H
#define QORX_SMBIOS_FILE_IMAGE_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>

namespace qorx {

// The start of a file, brought into memory.
class FileImage {
 public:
  FileImage() = default;

  // Room for `capacity` bytes; not loaded when there is no memory for them.
  explicit FileImage(std::size_t capacity)
      : bytes_(static_cast<std::uint8_t*>(std::malloc(capacity))), capacity_(capacity) {}  // NOLINT

  [[nodiscard]] bool is_loaded() const { return bytes_ != nullptr; }

  // Reads until the file ends or the room is full. False when it can't be read.
  bool fill(int descriptor);

  [[nodiscard]] std::span<const std::uint8_t> bytes() const { return {bytes_.get(), size_}; }

 private:
  struct Free {
    void operator()(void* memory) const { std::free(memory); }  // NOLINT(cppcoreguidelines-no-malloc)
  };
  std::unique_ptr<std::uint8_t, Free> bytes_;
  std::size_t capacity_ = 0;
  std::size_t size_ = 0;
};

// Where a recorded file lies: named by the user, or part of the machine.
enum class FileOrigin : std::uint8_t { kUser, kSystem };

// Loads a file, or its first `limit` bytes. Not loaded when it can't be opened, read or held in memory. At most
// 16 MiB are loaded.
FileImage File_map(const char* path, FileOrigin origin, std::size_t limit);

}  // namespace qorx

#endif
