// Bytes at a physical address, mapped from /dev/mem in whole pages.
#ifndef QORX_SMBIOS_PHYSICAL_MEMORY_H
#define QORX_SMBIOS_PHYSICAL_MEMORY_H

#include <cstdint>
#include <span>

#include "base/system_root.h"

namespace qorx {

class PhysicalMemory {
 public:
  // Maps `length` bytes at `address`. Not mapped when the system refuses it.
  PhysicalMemory(std::uint64_t address, std::uint64_t length);

  [[nodiscard]] bool is_mapped() const { return map_.is_mapped(); }

  // The bytes from the address on that are there, possibly more than `length` (the rest of the last page) or
  // fewer (a recorded machine whose file ends).
  [[nodiscard]] std::span<const std::uint8_t> bytes() const;

  // Number of bytes from the address to the end of the last page.
  [[nodiscard]] std::uint64_t extent() const { return map_.extent() - delta_; }

 private:
  std::uint64_t delta_;  // of the address within its page
  MemoryMap map_;
};

}  // namespace qorx

#endif
