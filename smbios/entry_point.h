// Finding the SMBIOS structure table: legacy memory area, EFI system table, sysfs, or two recorded files.
// Codes are bytes: 0, 0x91 (not found), QORX_ERR_SMBIOS_CHECKSUM, QORX_ERR_MMAP, 0xFF (no EFI system table).
#ifndef QORX_SMBIOS_ENTRY_POINT_H
#define QORX_SMBIOS_ENTRY_POINT_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <span>

#include "base/byte_view.h"

namespace qorx {

// What an entry point says of the structure table.
struct EntryPoint {
  int version = 0;  // 2 or 3 once an anchor was recognised, even if a checksum then failed
  std::uint32_t table_length = 0;
  std::uint64_t table_address = 0;
};

// 8-bit sum of bytes[first] to bytes[last], both included.
std::uint8_t Cal_checksum(ByteView bytes, std::size_t first, std::size_t last);

// Checks the entry point at the start of `bytes` (DMTF DSP0134, 5.2).
std::int32_t Check_SMBIOS_entry_point(ByteView bytes, EntryPoint& entry);

// The start of a file, brought into memory.
class FileImage {
 public:
  FileImage() = default;

  // Room for `capacity` bytes; not loaded when there is no memory for them.
  explicit FileImage(std::size_t capacity)
      : bytes_(static_cast<std::uint8_t*>(std::malloc(capacity))), capacity_(capacity) {}  // NOLINT

  [[nodiscard]] bool is_loaded() const { return bytes_ != nullptr; }

  // Reads until the file ends or the room is full.
  void fill(std::FILE* file) { size_ = std::fread(bytes_.get(), 1, capacity_, file); }

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

// Loads a file, or its first `limit` bytes. Not loaded when it can't be opened, read or held in memory.
FileImage File_map(const char* path, FileOrigin origin, std::size_t limit);

// Looks for an entry point in the 64 KiB at a physical address and parses its table.
std::int32_t Search_SMBIOS_entry_point_mem1(std::uint64_t physical_address);

// The legacy BIOS area first, then the address that the EFI system table gives.
std::int32_t Search_SMBIOS_entry_point_mem();

// Entry point and table from two files. The table address in the entry point is not used.
std::int32_t Search_SMBIOS_entry_point_sysfs_diag(const char* entry_point_file, const char* table_file,
                                                  FileOrigin origin);

// The same on the files that the kernel exports.
std::int32_t Search_SMBIOS_entry_point_sysfs();

// 1 when both of those files can be opened, else 0.
int Is_SMBIOS_sysfs();

// The whole search, in its order, and the trimmed designations. With the -diag option the two files are read and
// nothing else.
std::int32_t Search_SMBIOS_entry_point(const char* entry_point_file, const char* table_file);

}  // namespace qorx

#endif
