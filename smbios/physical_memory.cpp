#include "smbios/physical_memory.h"

#include <unistd.h>

#include <algorithm>

namespace qorx {

namespace {

std::uint64_t offset_in_page(std::uint64_t address) {
  return address % static_cast<std::uint64_t>(getpagesize());
}

}  // namespace

PhysicalMemory::PhysicalMemory(std::uint64_t address, std::uint64_t length)
    : delta_(offset_in_page(address)), map_(map_system_memory(address - delta_, delta_ + length)) {}

std::span<const std::uint8_t> PhysicalMemory::bytes() const {
  return map_.bytes().subspan(static_cast<std::size_t>(std::min<std::uint64_t>(delta_, map_.bytes().size())));
}

}  // namespace qorx
