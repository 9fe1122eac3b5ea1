#include "smbios/entry_point.h"

#include <string_view>

#include "base/line_reader.h"
#include "base/messages.h"
#include "base/system_root.h"
#include "base/text_fields.h"
#include "lib/qorx.h"
#include "records/origins.h"
#include "smbios/entry_point_check.h"
#include "smbios/physical_memory.h"
#include "smbios/structure_table.h"

namespace qorx {

namespace {

// Of the entry point file; both kinds of entry point are shorter.
constexpr std::size_t kEntrySize = 32;

#if defined(__x86_64__) || defined(__i386__)
constexpr bool kHasLegacyArea = true;
#else
constexpr bool kHasLegacyArea = false;
#endif
constexpr std::uint64_t kLegacyArea = 0xF0000;
constexpr std::uint64_t kScanLength = 0x10000;
constexpr std::uint64_t kScanStep = 16;
constexpr std::uint64_t kScanLast = kScanLength - 0x18;

constexpr const char* kSystab = "/sys/firmware/efi/systab";
constexpr const char* kSysfsEntryPoint = "/sys/firmware/dmi/tables/smbios_entry_point";
constexpr const char* kSysfsTable = "/sys/firmware/dmi/tables/DMI";

// The walk looks at most this far behind the announced end: one formatted area and the closing NULs.
constexpr std::size_t kTableSlack = 512;

void trace_entry(const EntryPoint& entry) {
  debug("entry_v%d\n", entry.version);
  debug("structure table lenght: %d\n", static_cast<int>(entry.table_length));
  debug("structure table address: %lx\n", static_cast<unsigned long>(entry.table_address));
}

std::int32_t find_entry_point(std::uint64_t physical_address, EntryPoint& entry) {
  const PhysicalMemory memory(physical_address, kScanLength);
  if (!memory.is_mapped()) {
    return code_byte(QORX_ERR_MMAP);
  }
  const ByteView area(memory.bytes());
  std::int32_t code = code_byte(kSmbiosNotFound);
  for (std::uint64_t offset = 0; offset <= kScanLast; offset += kScanStep) {
    code = Check_SMBIOS_entry_point(area.from(static_cast<std::size_t>(offset)), entry);
    if (code == 0) {
      trace_entry(entry);
      break;
    }
  }
  return code;
}

// The address behind `key` when `line` begins with it, else 0.
std::uint64_t address_behind(std::string_view line, std::string_view key) {
  return line.starts_with(key) ? parse_address(line.substr(key.size())) : 0;
}

// The entry point's address in the EFI system table: the first SMBIOS line of either kind.
std::uint64_t read_systab(LineReader& lines) {
  constexpr std::string_view kKey3 = "SMBIOS3=";
  constexpr std::string_view kKey2 = "SMBIOS=";
  while (lines.read() && !lines.at_end()) {
    const std::string_view line = lines.text();
    const bool is_whole = line.ends_with('\n');  // a longer line comes in pieces
    debug(is_whole ? "%.*s\n" : "%.*s", static_cast<int>(line.size()) - (is_whole ? 1 : 0), line.data());
    if (line.starts_with(kKey3)) {
      return address_behind(line, kKey3);
    }
    if (line.starts_with(kKey2)) {
      return address_behind(line, kKey2);
    }
  }
  return 0;
}

// Elsewhere than on x86 this is no BIOS area, and touching it can reset the machine. A recording is read everywhere.
std::int32_t search_legacy_area() {
  return kHasLegacyArea || is_memory_recorded() ? Search_SMBIOS_entry_point_mem1(kLegacyArea)
                                                : code_byte(kSmbiosNotFound);
}

}  // namespace

std::int32_t Search_SMBIOS_entry_point_mem1(std::uint64_t physical_address) {
  EntryPoint entry;
  if (const std::int32_t code = find_entry_point(physical_address, entry); code != 0) {
    return code;
  }
  const PhysicalMemory memory(entry.table_address, entry.table_length);
  if (!memory.is_mapped()) {
    return code_byte(QORX_ERR_MMAP);
  }
  const bool is_whole = memory.bytes().size() >= entry.table_length;
  return Parse_struct_table(is_whole ? TableBytes::mapped(memory.bytes(), memory.extent())
                                     : TableBytes::loaded(memory.bytes(), entry.table_length),
                            entry.table_length);
}

std::int32_t Search_SMBIOS_entry_point_mem() {
  g_slot_source = SlotSource::kMemory;
  const std::int32_t legacy_code = search_legacy_area();
  if (legacy_code == 0) {
    return 0;
  }
  debug("Can't find by legacy method.\n");
  LineReader lines(open_system_text(kSystab));
  if (!lines.is_open()) {
    debug("Can't open %s\n", kSystab);
    return code_byte(-1);
  }
  std::int32_t code = legacy_code;
  if (const std::uint64_t address = read_systab(lines); address != 0) {
    debug("%x\n", static_cast<unsigned>(address));
    debug("From %s\n", kSystab);
    g_slot_source = SlotSource::kEfi;
    code = Search_SMBIOS_entry_point_mem1(address);
  }
  if (code != 0) {
    debug("Can't find by UEFI systab!\n");
  }
  return code;
}

std::int32_t Search_SMBIOS_entry_point_sysfs_diag(const char* entry_point_file, const char* table_file,
                                                  FileOrigin origin) {
  EntryPoint entry;
  {
    const FileImage image = File_map(entry_point_file, origin, kEntrySize);
    if (!image.is_loaded()) {
      error("1Can't get %s\n", entry_point_file);
      return code_byte(QORX_ERR_MMAP);
    }
    if (const std::int32_t code = Check_SMBIOS_entry_point(image.bytes(), entry); code != 0) {
      if (code == code_byte(kSmbiosNotFound)) {
        error("Can't find SMBIOS!\n");
      }
      return code;
    }
  }
  trace_entry(entry);
  const FileImage table = File_map(table_file, origin, std::size_t{entry.table_length} + kTableSlack);
  if (!table.is_loaded()) {
    error("2Can't get %s\n", table_file);
    return code_byte(QORX_ERR_MMAP);
  }
  return Parse_struct_table(TableBytes::loaded(table.bytes(), entry.table_length), entry.table_length);
}

std::int32_t Search_SMBIOS_entry_point_sysfs() {
  return Search_SMBIOS_entry_point_sysfs_diag(kSysfsEntryPoint, kSysfsTable, FileOrigin::kSystem);
}

int Is_SMBIOS_sysfs() {
  for (const char* const path : {kSysfsEntryPoint, kSysfsTable}) {
    if (!open_system_content(path).is_open()) {
      debug("%s is NOT found.\n", path);
      return 0;
    }
    debug("%s is found.\n", path);
  }
  return 1;
}

std::int32_t Search_SMBIOS_entry_point(const char* entry_point_file, const char* table_file) {
  std::int32_t code = 0;
  if (g_diag != 0) {
    debug("diag\n");
    g_slot_source = SlotSource::kFiles;
    code = Search_SMBIOS_entry_point_sysfs_diag(entry_point_file, table_file, FileOrigin::kUser);
  } else {
    debug("mem\n");
    code = Search_SMBIOS_entry_point_mem();
    // Deliberately second: the memory of the running machine is asked before the kernel's copy.
    if (code_byte(code) != 0 && Is_SMBIOS_sysfs() == 1) {
      debug("sysfs\n");
      g_slot_source = SlotSource::kSysfs;
      code = Search_SMBIOS_entry_point_sysfs();
    }
  }
  if (code_byte(code) != 0) {
    g_slot_source = SlotSource::kNone;
    return code;
  }
  keep_firmware_names();
  return 0;
}

}  // namespace qorx
