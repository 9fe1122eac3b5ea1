#include "config/stages.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "base/bounded_text.h"
#include "base/messages.h"
#include "base/path_text.h"
#include "base/text_fields.h"
#include "config/platform_lines.h"
#include "discovery/topology.h"
#include "records/name_column.h"
#include "records/origins.h"
#include "records/state.h"

namespace qorx {

namespace {

// Appended records never count beyond this: the last one is then overwritten.
constexpr std::uint32_t kAppendLimit = kMaxRecords - 1;

class SlotPass final : public PlatformPass {
 public:
  std::int32_t begin_block(const char* slot_name, const char* file, int line_number) override;

  std::int32_t take_line(const PlatformLine& line) override {
    if (line.key == PlatformKey::kRename) {
      rename(line);
      return 0;
    }
    return line.key == PlatformKey::kSwitch ? take_switch(line) : 0;
  }

 private:
  void rename(const PlatformLine& line);
  bool rename_all(const NameColumn<SlotRecord>& names, const PlatformLine& line);
  std::int32_t take_switch(const PlatformLine& line);
  std::int32_t find_switch(const PlatformLine& line);
  void retire_slot(const PlatformLine& line);
  std::int32_t append_ports(const PlatformLine& line);
  void append_port(std::string_view slot_name, std::uint8_t dev, int line_number);

  NameColumn<SlotRecord> firmware_names_{slot_records(), &SlotRecord::smbios_slot_name};
  NameColumn<SlotRecord> names_{slot_records(), &SlotRecord::slot_name};

  char block_name_[QORX_NAME_SIZE] = {};
  std::size_t block_slot_ = 0;             // index of the slot record that the block names
  bool is_first_switch_line_ = true;       // of the block
  bool switch_found_ = false;              // by the block's first switch line
  PciAddress switch_{};                    // upstream port of the switch
  char switch_path_[QORX_NAME_SIZE] = {};  // its directory
};

std::int32_t SlotPass::begin_block(const char* slot_name, const char* file, int line_number) {
  copy_text(block_name_, slot_name);
  is_first_switch_line_ = true;
  block_slot_ = firmware_names_.find(block_name_);
  if (block_slot_ == kNoRecord) {
    block_slot_ = names_.find(block_name_);
  }
  if (block_slot_ == kNoRecord) {
    error("Can't find SLOT_NAME in SMBIOS type9/41 record! %s line: %d\n", file, line_number);
    return code_byte(QORX_ERR_CONF_FILE_FORMAT);
  }
  return 0;
}

bool SlotPass::rename_all(const NameColumn<SlotRecord>& names, const PlatformLine& line) {
  bool found = false;
  for (std::size_t i = names.find(block_name_), next = kNoRecord; i != kNoRecord; i = next) {
    next = names.find_next(i);
    SlotRecord& slot = qorx_smbios_t9_t41_mapping[i];
    copy_text(slot.slot_name, line.value);
    origin_of(slot).rename_line = static_cast<std::uint32_t>(line.number);
    names_.renew(i);
    found = true;
  }
  return found;
}

// The block keeps its old name: later lines of it still find the slot by the firmware's name.
void SlotPass::rename(const PlatformLine& line) {
  debug("%s\n", line.value);
  if (!rename_all(firmware_names_, line)) {
    rename_all(names_, line);
  }
}

std::int32_t SlotPass::take_switch(const PlatformLine& line) {
  if (is_first_switch_line_) {
    is_first_switch_line_ = false;
    if (const std::int32_t code = find_switch(line); code != 0) {
      return code;
    }
    retire_slot(line);
  }
  return switch_found_ ? append_ports(line) : 0;
}

std::int32_t SlotPass::find_switch(const PlatformLine& line) {
  SlotRecord& slot = qorx_smbios_t9_t41_mapping[block_slot_];
  switch_ = {slot.bus, slot.dev, slot.fun};
  const std::int32_t result = get_pcie_switch_bus(switch_, slot.sysfs_path);
  if (result == code_byte(QORX_ERR_CONF_FILE_FORMAT)) {
    return wrong_format(line);
  }
  switch_found_ = result == 1;
  copy_text(switch_path_, slot.sysfs_path);
  append_text(switch_path_, "/");
  append_text(switch_path_, DeviceName({switch_.bus, 0, 0}).view());
  return 0;
}

// The slot that holds the switch gives way to the switch's ports. A slot that was renamed before is no longer found.
void SlotPass::retire_slot(const PlatformLine& line) {
  for (std::size_t i = names_.find(block_name_), next = kNoRecord; i != kNoRecord; i = next) {
    next = names_.find_next(i);
    SlotRecord& slot = qorx_smbios_t9_t41_mapping[i];
    slot.slot_name[0] = '\0';
    slot.smbios_slot_name[0] = '\0';
    slot.bus = kAbsent;
    slot.dev = kAbsent;
    slot.fun = kAbsent;
    origin_of(slot).retired_line = static_cast<std::uint32_t>(line.number);
    firmware_names_.renew(i);
    names_.renew(i);
  }
}

// <first device>-<last device>/<slot name>, numbers hexadecimal, in either order.
std::int32_t SlotPass::append_ports(const PlatformLine& line) {
  const auto value = split_fields<3>(line.value, "/");
  const auto range = split_fields<2>(value.at[0], "/-");
  if (value.count < 2 || range.count < 2) {
    return wrong_format(line);
  }
  long first = parse_hexadecimal(range.at[0]);
  long last = parse_hexadecimal(range.at[1]);
  if (last < first) {
    std::swap(first, last);
  }
  for (long dev = first;; ++dev) {
    // In a full table each port overwrites the one before: only the last is left to see.
    if (qorx_system_environment_info.eth_smbios_t9_t41_number == kAppendLimit) {
      dev = last;
    }
    append_port(value.at[1], static_cast<std::uint8_t>(dev), line.number);
    if (dev == last) {
      return 0;
    }
  }
}

void SlotPass::append_port(std::string_view slot_name, std::uint8_t dev, int line_number) {
  std::uint32_t& count = qorx_system_environment_info.eth_smbios_t9_t41_number;
  const std::size_t index = std::min(count, kAppendLimit);
  SlotRecord& slot = fresh_slot_record(index);
  origin_of(slot).switch_line = static_cast<std::uint32_t>(line_number);
  copy_text(slot.slot_name, slot_name);
  slot.type = QORX_SMBIOS_SYSTEM_SLOT;
  slot.bus = static_cast<std::uint8_t>(switch_.bus + 1);
  slot.dev = dev;
  slot.fun = 0;
  copy_text(slot.sysfs_path, switch_path_);
  debug("smbios path %s\n", slot.sysfs_path);
  count = std::min(count + 1, kAppendLimit);

  firmware_names_.cover(slot_records());
  firmware_names_.renew(index);
  names_.cover(slot_records());
  names_.renew(index);
}

}  // namespace

std::int32_t qorx_check_conf_file_SW(const char* conf_file) {
  SlotPass pass;
  return read_platform_file(conf_file, pass);
}

}  // namespace qorx
