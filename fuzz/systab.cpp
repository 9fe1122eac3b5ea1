// The text of the EFI system table. The machine's memory holds entry points at a few addresses for it to find.
#include <algorithm>
#include <cstdlib>
#include <limits>
#include <string>

#include "base/messages.h"
#include "fuzz/support.h"
#include "records/state.h"
#include "smbios/entry_point.h"
#include "smbios/entry_point_check.h"

namespace qorx::fuzz {

namespace {

constexpr std::uint8_t kTableAddress = 0x40;  // in units of 256
constexpr std::size_t kMemorySize = 0x5000;
constexpr std::uint64_t kScanLength = 0x10000;

// A version 3 entry point at 0x1000, a version 2 one at 0x2010, one with wrong sums at 0x3000 and a table with two
// records at 0x4000.
std::vector<std::uint8_t> make_memory() {
  std::vector<std::uint8_t> memory(kMemorySize);
  const auto put = [&](std::size_t at, Bytes bytes) {
    std::ranges::copy(bytes, memory.begin() + static_cast<long>(at));
  };
  const std::string_view table("\x29\x0b\0\0\x01\x85\x01\0\0\x03\0LAN1\0\0\x29\x0b\0\0\x01\x85\x01\0\0\x04\0LAN2\0\0",
                               34);
  std::vector<std::uint8_t> entry{'_', 'S', 'M', '3', '_', 0, 0x18, 3, 2, 0, 1, 0, 34, 0, 0, 0, 0, kTableAddress};
  entry.resize(24);
  put(0x3000, entry);
  repair_checksums(entry);
  put(0x1000, entry);
  entry = {'_', 'S', 'M', '_', 0,   0x1F, 2,   8,   0, 0,  0, 0, 0,
           0,   0,   0,   '_', 'D', 'M',  'I', '_', 0, 34, 0, 0, kTableAddress};
  repair_checksums(entry);
  put(0x2010, entry);
  put(std::size_t{kTableAddress} << 8, as_bytes(table));
  return memory;
}

// The address that the first SMBIOS line gives.
std::uint64_t plain_address(std::string_view text) {
  for (const std::string& line : complete_lines(text)) {
    for (const std::string_view key : {"SMBIOS3=", "SMBIOS="}) {
      if (line.starts_with(key)) {
        return std::strtoull(line.c_str() + key.size(), nullptr, 16);
      }
    }
  }
  return 0;
}

void check_result(std::int32_t code, std::uint64_t address) {
  constexpr std::uint64_t kFileEnd = std::numeric_limits<std::int64_t>::max();
  // From any such address on, one of the two sound entry points is a multiple of 16 away.
  const bool is_there = address != 0 && address <= 0x2010 && address % 16 == 0;
  require((code == 0) == is_there, "an entry point in the 64 KiB behind the address is found, and no other");
  require(!is_there || qorx_system_environment_info.eth_smbios_t9_t41_number == 2, "its table is read");
  require(address < kFileEnd - kScanLength || code == code_byte(QORX_ERR_MMAP), "no map reaches behind a file's end");
}

}  // namespace

}  // namespace qorx::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qorx::fuzz;
  static ScratchFile systab("root/sys/firmware/efi/systab");
  [[maybe_unused]] static const bool once = (ScratchFile("root/dev/mem").write(make_memory()), true);
  const Bytes text(data, size);
  systab.write(text);
  run_at_both_levels([&] {
    const std::int32_t code = qorx::code_byte(qorx::Search_SMBIOS_entry_point_mem());
    require_code(code, {qorx::kSmbiosNotFound, QORX_ERR_SMBIOS_CHECKSUM, QORX_ERR_MMAP});
    check_result(code, plain_address(as_text(text)));
    return code;
  });
  return 0;
}
