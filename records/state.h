// The tables of qorx.h and the run-wide flags that are not options, with bounded access to the valid records.
#ifndef QORX_RECORDS_STATE_H
#define QORX_RECORDS_STATE_H

#include <cstddef>
#include <cstdint>
#include <span>

#include "lib/qorx.h"

namespace qorx {

using DeviceRecord = qorx_eth_device_record;
using SlotRecord = qorx_slot_record;

inline constexpr std::size_t kMaxRecords = QORX_MAX_RECORDS;
inline constexpr std::uint8_t kAbsent = QORX_ABSENT;

extern std::int32_t g_qorx_init;                 // 0 after a successful qorx_open, else -1
extern std::int32_t g_x86_i2c_root_port_number;  // host I2C adapter; -1 not yet searched, 255 not found
extern std::uint8_t wrong_seg_flag;              // the next plain listing shows only A_BYPASS ports without a segment

// The valid device records, in table order.
std::span<DeviceRecord> device_records();

// The valid slot records, in table order.
std::span<SlotRecord> slot_records();

// Ports work in pairs; the one with the even function carries the bypass controller of both.
inline bool carries_control(const DeviceRecord& record) {
  return record.fun % 2 == 0;
}

// The device record behind the valid ones, cleared, to be filled by the caller, who then counts it. In a full table it
// is the last one.
DeviceRecord& next_device_record();

// A record's place in the table, for traces.
std::size_t index_of(const DeviceRecord& record);

// The slot record at `index` (below kMaxRecords), cleared, to be filled by the caller.
SlotRecord& fresh_slot_record(std::size_t index);

// Zeroes both tables whole, whatever a program has written there, and the counters. Returns 0. Clearing them byte by
// byte would cost more than a whole run: they are 2.3 MB of pages that hardly anybody touches.
std::int32_t clear_tables();

}  // namespace qorx

#endif
