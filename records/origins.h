// Where the values of the tables came from. The stages note it as they write them, for programs that explain a
// result; nothing in the library reads it.
#ifndef QORX_RECORDS_ORIGINS_H
#define QORX_RECORDS_ORIGINS_H

#include <cstdint>
#include <span>

#include "lib/qorx.h"

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

// Who wrote a value last.
enum class Writer : std::uint8_t {
  kNobody,
  kCardTable,     // by the port's subsystem ids
  kNeighbour,     // from another function of the same controller
  kBridge,        // by the ids of a bridge above the port
  kLegacyTable,   // by the controllers in the slot
  kModuleFile,    // wmx_name.cfg
  kPlatformFile,  // qorx.cfg
  kPortRule,      // a rule for this kind of port
  kSlotName,      // the designation itself
  kCounter,       // the port's position in its slot
};

// All zero: nothing was written. Lines count from 1.
struct PortOrigin {
  std::uint16_t slot;        // the matched slot record's index and 1
  std::uint8_t match_pass;   // 0: by its own address, 1: by a bridge
  std::uint8_t match_level;  // as SlotMatcher numbers them
  Writer model;
  Writer feature;
  Writer panel;
  std::uint16_t neighbour;      // the index and 1 of the port that lent model and feature
  std::uint16_t panel_number;   // counted
  std::uint16_t segment_place;  // position among the ports that are counted for segments
  std::uint32_t feature_line;   // of the file that wrote the feature
  std::uint32_t refused_line;   // of the platform file: its feature was not taken
  std::uint32_t conflict_line;  // of the module name file: it disagrees with an earlier line
  std::uint32_t panel_line;     // of the platform file
};

// Lines of the platform file.
struct SlotOrigin {
  std::uint32_t rename_line;   // gave the slot its name
  std::uint32_t switch_line;   // made this record
  std::uint32_t retired_line;  // split this slot
};

// The origins of a record of the tables. A record elsewhere shares one that nobody reads.
PortOrigin& origin_of(const qorx_eth_device_record& record);
SlotOrigin& origin_of(const qorx_slot_record& record);

// Follows a sort of the device records: `order` says which record comes where.
void reorder_origins(std::span<const std::uint16_t> order);

}  // namespace qorx

#endif
