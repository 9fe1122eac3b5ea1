// Finding the SMBIOS structure table: legacy memory area, EFI system table, sysfs, or two recorded files.
// Codes are bytes: 0, 0x91 (not found), QORX_ERR_SMBIOS_CHECKSUM, QORX_ERR_MMAP, 0xFF (no EFI system table).
#ifndef QORX_SMBIOS_ENTRY_POINT_H
#define QORX_SMBIOS_ENTRY_POINT_H

#include <cstdint>

#include "smbios/file_image.h"

namespace qorx {

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
