#include "tests/support/library.h"

#include <unistd.h>

#include <cstdio>
#include <stdexcept>

#include "base/bounded_text.h"
#include "base/messages.h"
#include "records/device_ids.h"
#include "tests/support/fake_machine.h"

namespace qorx::test {

std::string printed_by(const std::function<void()>& action) {
  const TemporaryDirectory captured;
  const std::string file = captured.path() / "out";
  std::fflush(stdout);
  const int kept = dup(STDOUT_FILENO);
  std::FILE* const redirected = std::fopen(file.c_str(), "w");
  if (kept < 0 || redirected == nullptr || dup2(fileno(redirected), STDOUT_FILENO) < 0) {
    throw std::runtime_error("can't redirect standard output");
  }
  std::fclose(redirected);
  action();
  std::fflush(stdout);
  dup2(kept, STDOUT_FILENO);
  close(kept);
  return read_file(file);
}

std::string traced_by(const std::function<void()>& action) {
  g_debug_message_open = 1;
  std::string traces = printed_by(action);
  g_debug_message_open = 0;
  return traces;
}

DeviceRecord& add_device(std::string_view eth_name, std::string_view slot_name, int smbios_type) {
  DeviceRecord& record = next_device_record();
  ++qorx_system_environment_info.eth_device_number;
  copy_text(record.eth_name, eth_name);
  copy_text(record.slot_name, slot_name);
  record.smbios_type = static_cast<std::uint8_t>(smbios_type);
  return record;
}

SlotRecord& add_slot(std::string_view slot_name, int type, int bus, int dev, int fun) {
  SlotRecord& slot = fresh_slot_record(qorx_system_environment_info.eth_smbios_t9_t41_number++);
  copy_text(slot.slot_name, slot_name);
  copy_text(slot.smbios_slot_name, slot_name);
  slot.type = static_cast<std::uint8_t>(type);
  slot.bus = static_cast<std::uint8_t>(bus);
  slot.dev = static_cast<std::uint8_t>(dev);
  slot.fun = static_cast<std::uint8_t>(fun);
  return slot;
}

void add_ports(SlotRecord& slot, std::uint32_t device_id, int count) {
  for (int i = 0; i < count; ++i) {
    count_port(slot, 0x8086, device_id);
  }
}

}  // namespace qorx::test
