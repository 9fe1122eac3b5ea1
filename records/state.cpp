#include "records/state.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "records/origins.h"
#include "records/virtual_names.h"

qorx_eth_device_record qorx_eth_device_mapping[QORX_MAX_RECORDS];
qorx_slot_record qorx_smbios_t9_t41_mapping[QORX_MAX_RECORDS];
qorx_environment_info qorx_system_environment_info;

std::int32_t g_config_flag;
char g_config_file_name[QORX_NAME_SIZE];
std::int32_t g_legacy_flag;
std::int32_t g_WMX_name_flag;
char g_WMX_name_file_name[QORX_NAME_SIZE];
std::int32_t g_smbios_flag;
char g_smbios_file_name[QORX_NAME_SIZE];
std::int32_t g_diag;
char g_entry_point_file[QORX_NAME_SIZE];
char g_dmi_file[QORX_NAME_SIZE];
std::int32_t g_force_flag;
std::int32_t g_sort_slotname;
std::int32_t g_vm_bypass;
std::int32_t g_novlan;

namespace qorx {

std::int32_t g_qorx_init = -1;
std::int32_t g_x86_i2c_root_port_number = -1;
std::uint8_t wrong_seg_flag;

namespace {

// One more than the highest index handed out since the last clear.
std::size_t g_devices_touched;
std::size_t g_slots_touched;

// Asks the system for the pages of the next records at once, which costs less than a fault for each of them. Small
// machines never come to it.
template <typename Record>
void prepare_pages(Record* table, std::size_t index) {
#ifdef MADV_POPULATE_WRITE
  constexpr std::size_t kStep = 32;
  constexpr std::size_t kFirst = 40;
  if (index < kFirst || (index - kFirst) % kStep != 0 || index >= kMaxRecords) {
    return;
  }
  const auto page = static_cast<std::size_t>(getpagesize());
  void* start = table + index;
  std::size_t size = std::min(kStep, kMaxRecords - index) * sizeof(Record);
  if (std::align(page, page, start, size) != nullptr) {
    static_cast<void>(madvise(start, size - size % page, MADV_POPULATE_WRITE));
  }
#else
  static_cast<void>(table);
  static_cast<void>(index);
#endif
}

template <typename Record>
Record& fresh_record(Record* table, std::size_t index, std::size_t& touched) {
  Record& record = table[std::min(index, kMaxRecords - 1)];
  if (index < touched) {
    std::memset(&record, 0, sizeof record);
  }
  if (index >= touched) {
    prepare_pages(table, index);
  }
  touched = std::max(touched, index + 1);
  return record;
}

// Zeroes `size` bytes at `start`. Whole pages go back to the system, which then has zeros there: pages that nobody has
// touched stay untouched.
void zero(void* start, std::size_t size) {
  const auto page = static_cast<std::size_t>(getpagesize());
  void* inside = start;
  std::size_t room = size;
  const bool has_pages = std::align(page, page, inside, room) != nullptr;
  const std::size_t behind = room % page;
  if (!has_pages || madvise(inside, room - behind, MADV_DONTNEED) != 0) {
    std::memset(start, 0, size);  // a program may have locked its memory
    return;
  }
  std::memset(start, 0, size - room);
  std::memset(static_cast<char*>(start) + size - behind, 0, behind);
}

}  // namespace

std::span<DeviceRecord> device_records() {
  return {qorx_eth_device_mapping, std::min<std::size_t>(qorx_system_environment_info.eth_device_number, kMaxRecords)};
}

std::span<SlotRecord> slot_records() {
  return {qorx_smbios_t9_t41_mapping,
          std::min<std::size_t>(qorx_system_environment_info.eth_smbios_t9_t41_number, kMaxRecords)};
}

DeviceRecord& next_device_record() {
  DeviceRecord& record =
      fresh_record(qorx_eth_device_mapping, qorx_system_environment_info.eth_device_number, g_devices_touched);
  origin_of(record) = {};
  return record;
}

std::size_t index_of(const DeviceRecord& record) {
  return static_cast<std::size_t>(&record - qorx_eth_device_mapping);
}

SlotRecord& fresh_slot_record(std::size_t index) {
  SlotRecord& record = fresh_record(qorx_smbios_t9_t41_mapping, index, g_slots_touched);
  origin_of(record) = {};
  return record;
}

std::int32_t clear_tables() {
  zero(qorx_eth_device_mapping, sizeof qorx_eth_device_mapping);
  zero(qorx_smbios_t9_t41_mapping, sizeof qorx_smbios_t9_t41_mapping);
  g_devices_touched = 0;
  g_slots_touched = 0;
  qorx_system_environment_info = {};
  g_slot_source = SlotSource::kNone;
  g_virtual_names.forget();
  return 0;
}

}  // namespace qorx
