#include "records/origins.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>

namespace qorx {

SlotSource g_slot_source;

namespace {

// One more than there are records: the last is shared by records outside of the tables.
std::array<PortOrigin, QORX_MAX_RECORDS + 1> g_port_origins;
std::array<SlotOrigin, QORX_MAX_RECORDS + 1> g_slot_origins;

template <typename Record>
std::size_t index_in(const Record (&table)[QORX_MAX_RECORDS], const Record& record) {
  const Record* const begin = &table[0];
  const bool is_inside = !std::less<>()(&record, begin) && std::less<>()(&record, begin + QORX_MAX_RECORDS);
  return is_inside ? static_cast<std::size_t>(&record - begin) : std::size_t{QORX_MAX_RECORDS};
}

}  // namespace

PortOrigin& origin_of(const qorx_eth_device_record& record) {
  return g_port_origins[index_in(qorx_eth_device_mapping, record)];
}

SlotOrigin& origin_of(const qorx_slot_record& record) {
  return g_slot_origins[index_in(qorx_smbios_t9_t41_mapping, record)];
}

void reorder_origins(std::span<const std::uint16_t> order) {
  static std::array<PortOrigin, QORX_MAX_RECORDS> moved;  // of a stack, all its pages would be touched
  std::transform(order.begin(), order.end(), moved.begin(), [](std::uint16_t from) { return g_port_origins[from]; });
  std::copy_n(moved.begin(), order.size(), g_port_origins.begin());
}

}  // namespace qorx
