#include "records/record_order.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>

#include "records/origins.h"

namespace qorx {

namespace {

using Comparator = bool (*)(const DeviceRecord&, const DeviceRecord&);

std::uint32_t address_key(const DeviceRecord& record) {
  return record.bus * 65536U + record.dev * 256U + record.fun;
}

// Orders indexes first and then moves every record once: records have 2 KB, and interface names are unique, so the
// order is the same whatever algorithm finds it.
void sort_records(DeviceRecord* records, std::size_t count, Comparator is_behind) {
  std::array<std::uint16_t, kMaxRecords> storage;  // NOLINT(cppcoreguidelines-pro-type-member-init): iota fills it
  const std::span order = std::span(storage).first(std::min(count, kMaxRecords));
  std::iota(order.begin(), order.end(), std::uint16_t{0});
  std::sort(order.begin(), order.end(),
            [&](std::uint16_t a, std::uint16_t b) { return is_behind(records[b], records[a]); });
  if (records == qorx_eth_device_mapping) {
    reorder_origins(order);
  }
  for (std::size_t start = 0; start < order.size(); ++start) {
    if (order[start] == start) {
      continue;
    }
    // order[i] says which record belongs at i: follow the circle of moves with one record held aside.
    const DeviceRecord held = records[start];
    std::size_t hole = start;
    while (order[hole] != start) {
      const std::size_t source = order[hole];
      records[hole] = records[source];
      order[hole] = static_cast<std::uint16_t>(hole);
      hole = source;
    }
    records[hole] = held;
    order[hole] = static_cast<std::uint16_t>(hole);
  }
}

}  // namespace

bool Compare(const DeviceRecord& a, const DeviceRecord& b) {
  const std::uint32_t key_a = address_key(a);
  const std::uint32_t key_b = address_key(b);
  if (key_a != key_b) {
    return key_a > key_b;
  }
  return std::strncmp(a.eth_name, b.eth_name, sizeof a.eth_name) > 0;
}

bool Compare_name(const DeviceRecord& a, const DeviceRecord& b) {
  const int order = std::strncmp(a.slot_name, b.slot_name, sizeof a.slot_name);
  return order != 0 ? order > 0 : Compare(a, b);
}

void sort_result_by_bus_dev_function(DeviceRecord* records, std::size_t count) {
  sort_records(records, count, Compare);
}

void sort_result_by_slot_name(DeviceRecord* records, std::size_t count) {
  sort_records(records, count, Compare_name);
}

}  // namespace qorx
