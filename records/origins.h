// Where the values of the tables came from. The stages note it as they write them, for programs that explain a
// result; nothing in the library reads it.
#ifndef QORX_RECORDS_ORIGINS_H
#define QORX_RECORDS_ORIGINS_H

#include <cstdint>

namespace qorx {

enum class SlotSource : std::uint8_t {
  kNone,          // no SMBIOS was found or looked for
  kMemory,        // the BIOS area of /dev/mem
  kEfi,           // /dev/mem at the address that the EFI system table gives
  kSysfs,         // the kernel's copy in /sys/firmware/dmi/tables
  kFiles,         // a recorded entry point and table
  kOverrideFile,  // smbios.cfg
};

extern SlotSource g_slot_source;

}  // namespace qorx

#endif
