#include "discovery/interface_scan.h"

#include <optional>
#include <string_view>

#include "base/bounded_text.h"
#include "base/messages.h"
#include "base/system_root.h"
#include "discovery/bypass_descriptor.h"
#include "discovery/slot_match.h"
#include "discovery/topology.h"
#include "ident/model_lookup.h"
#include "ident/subsystem_hooks.h"
#include "ident/supported_devices.h"
#include "records/device_ids.h"
#include "records/origins.h"
#include "records/record_order.h"
#include "records/state.h"
#include "records/virtual_names.h"

namespace qorx {

namespace {

constexpr const char* kInterfaces = "/sys/class/net";
constexpr std::uint32_t kNoControlPort = 0x302E;  // an A_BYPASS controller whose ports never carry the control

// What one scan needs, and forgets with its end.
struct Scan {
  // Not defaulted: that one would be zeroed first, and most of it is filled only as it is used.
  Scan() {}  // NOLINT(modernize-use-equals-default)

  SlotMatcher matcher{slot_records()};
  PciFunctions functions;
  I2cAdapters adapters;
  KeptFolder interfaces{kInterfaces};
  KeptFolder pci_devices{"/sys/bus/pci/devices"};
};

void trace_match(MatchPass pass, const SlotMatcher::Match& match, const SlotRecord& slot, std::string_view text) {
  if (!debugging()) {
    return;
  }
  char pattern[16];
  SlotMatcher::format_pattern(pass, match.level, slot, pattern);
  const int number = static_cast<int>(pass);
  debug("%d %d match str:%s\n", number, match.level, pattern);
  debug("%d %d match str_path:%.*s\n", number, match.level, static_cast<int>(text.size()), text.data());
}

// Counts the port in its slot and copies the slot's data to it.
void join_slot(DeviceRecord& record, SlotRecord& slot) {
  count_port(slot, record.vendor_id, record.device_id);
  copy_text(record.slot_name, slot.slot_name);
  debug("%s slot: %s\n", record.eth_name, record.slot_name);
  record.slot_bus = slot.bus;
  record.slot_dev = slot.dev;
  record.slot_fun = slot.fun;
  record.smbios_type = slot.type;
}

void note_match(const DeviceRecord& record, MatchPass pass, const SlotMatcher::Match& match) {
  PortOrigin& origin = origin_of(record);
  origin.slot = static_cast<std::uint16_t>(match.slot + 1);
  origin.match_pass = static_cast<std::uint8_t>(pass);
  origin.match_level = static_cast<std::uint8_t>(match.level);
}

// Finds the port's slot. Returns whether the port sits on the module that is recognised by a bridge above it, the
// only USB ports that get a slot.
bool match_slot(Scan& scan, DeviceRecord& record) {
  const bool is_bridged_module = qorx_is_WMX_LH53(scan.functions, record);
  for (const MatchPass pass : kMatchPasses) {
    if (pass != MatchPass::kOwnAddress && debugging()) {
      static_cast<void>(
          qorx_is_WMX_LH53(scan.functions, record));  // the answer is the same, and is traced in each pass
    }
    if (!is_bridged_module && record.usb[0] != '\0') {
      break;
    }
    const std::string_view text = SlotMatcher::searched_text(pass, record.net_path);
    if (const auto match = scan.matcher.find(pass, text)) {
      SlotRecord& slot = slot_records()[match->slot];
      trace_match(pass, *match, slot, text);
      join_slot(record, slot);
      note_match(record, pass, *match);
      break;
    }
  }
  return is_bridged_module;
}

// Model and feature by the subsystem ids.
std::int32_t identify(Scan& scan, DeviceRecord& record) {
  copy_text(record.model, qorx_get_model_name(record.subsys_vendor_id, record.subsys_device_id));
  record.feature = default_feature(record.subsys_vendor_id, record.subsys_device_id);
  origin_of(record).model = record.model[0] != '\0' ? Writer::kCardTable : Writer::kNobody;
  origin_of(record).feature = record.feature != QORX_FEATURE_NONE ? Writer::kCardTable : Writer::kNobody;
  if (record.feature == QORX_FEATURE_A_BYPASS && carries_control(record) && record.subsys_device_id != kNoControlPort) {
    record.bypass_ctrl_flag = 1;
  }
  if (record.feature == QORX_FEATURE_A_BYPASS_I2C && carries_control(record)) {
    return parse_bypass_descriptor(scan.adapters, record);
  }
  return 0;
}

// Records one interface, if it is a physical port.
std::int32_t scan_interface(Scan& scan, const char* name) {
  DeviceRecord& record = next_device_record();
  const std::int8_t status = get_eth_device_pcie_info(name, &record);
  if (status == kVirtualInterface) {
    g_virtual_names.note(name);
  }
  if (status < 0) {
    return 0;
  }
  if (!match_slot(scan, record)) {
    if (const std::int32_t code = identify(scan, record); code != 0) {
      return code;
    }
  }
  ++qorx_system_environment_info.eth_device_number;
  return 0;
}

// A list that is silently short would be worse than none.
std::int32_t unreadable_list() {
  report_inaccessible_folder(kInterfaces);
  return QORX_ERR_OPEN_DIR;
}

std::int32_t scan_interfaces(Scan& scan) {
  SystemDirectory interfaces = open_system_directory(kInterfaces);
  if (!interfaces.is_open()) {
    return unreadable_list();
  }
  debug("Get all eth device under /sys/class/net\n");
  while (const char* const name = interfaces.next_entry()) {
    if (std::string_view(name) == "lo") {
      continue;
    }
    if (const std::int32_t code = scan_interface(scan, name); code != 0) {
      return code;
    }
    if (qorx_system_environment_info.eth_device_number > kMaxRecords - 1) {
      debug("Detect physical NIC ports are reaching max support number %d.\n", static_cast<int>(kMaxRecords));
      return 0;
    }
  }
  if (interfaces.failed()) {
    return unreadable_list();
  }
  g_virtual_names.complete();
  return 0;
}

}  // namespace

std::int32_t get_all_eth_devices_info() {
  static std::optional<Scan> scan;  // too large for the stack
  device_mapping_init();
  g_virtual_names.forget();
  const std::int32_t code = scan_interfaces(scan.emplace());
  scan.reset();
  if (code != 0) {
    return code;
  }
  const auto records = device_records();
  sort_result_by_bus_dev_function(records.data(), records.size());
  if (g_sort_slotname != 0) {
    sort_result_by_slot_name(records.data(), records.size());
  }
  assign_bus_high_low();
  post_subsystem_id_general_hook();
  return 0;
}

}  // namespace qorx
