// Expectations of many fields at once. Only what is named is compared; a failure says each field that differs, at the
// line of the test:
//
//   expect_port(port, {.panel_name = "P", .feature = 0x10});
//
// Fields are set in the same way.
#ifndef QORX_TESTS_SUPPORT_EXPECT_H
#define QORX_TESTS_SUPPORT_EXPECT_H

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "discovery/pci_config.h"
#include "records/state.h"
#include "tests/support/fake_machine.h"

namespace qorx {

inline bool operator==(const PciIds& left, const PciIds& right) {
  return left.vendor == right.vendor && left.device == right.device;
}
void PrintTo(const PciIds& ids, std::ostream* out);

}  // namespace qorx

namespace qorx::test {

using Texts = std::vector<std::string>;

// The line of a test.
struct Where {
  const char* file;
  int line;
  static constexpr Where here(const char* file = __builtin_FILE(), int line = __builtin_LINE()) { return {file, line}; }
};

using Text = std::optional<std::string_view>;
using Number = std::optional<std::int64_t>;

// clang-format off
#define QORX_PORT_FIELDS(TEXT, NUMBER)                                                                               \
  TEXT(eth_name) NUMBER(bus) NUMBER(dev) NUMBER(fun) TEXT(slot_name) TEXT(panel_name) TEXT(model) NUMBER(feature)    \
  NUMBER(bypass_ctrl_flag) TEXT(net_path) NUMBER(slot_bus) NUMBER(slot_dev) NUMBER(slot_fun) NUMBER(vendor_id)       \
  NUMBER(device_id) NUMBER(subsys_vendor_id) NUMBER(subsys_device_id) TEXT(mac_addr) NUMBER(smbios_type)             \
  NUMBER(port_index) NUMBER(seg) TEXT(usb) NUMBER(bypass_type) NUMBER(bypass_bus) NUMBER(bypass_switch1)             \
  NUMBER(bypass_switch2) NUMBER(mcu_segment)
#define QORX_SLOT_FIELDS(TEXT, NUMBER)                                                                               \
  NUMBER(length) NUMBER(bus) NUMBER(dev) NUMBER(fun) NUMBER(type) NUMBER(str_index) TEXT(slot_name)                  \
  TEXT(smbios_slot_name) TEXT(model_name) NUMBER(feature) NUMBER(port_count) NUMBER(vendor_id)                       \
  NUMBER(device_id_number) TEXT(sysfs_path)
// clang-format on

#define QORX_TEXT_MEMBER(field) Text field = {};
#define QORX_NUMBER_MEMBER(field) Number field = {};

// The fields of a port's record, in its order; of the module names the counted ones, at the end.
struct PortFields {
  QORX_PORT_FIELDS(QORX_TEXT_MEMBER, QORX_NUMBER_MEMBER)
  std::optional<Texts> module_names = {};
};

// Those of a slot's.
struct SlotFields {
  QORX_SLOT_FIELDS(QORX_TEXT_MEMBER, QORX_NUMBER_MEMBER)
};

// Sets the fields that are named, or appends a record that has them.
DeviceRecord& set_port(DeviceRecord& port, const PortFields& fields);
DeviceRecord& add_port(const PortFields& fields);

void expect_port(const DeviceRecord& actual, const PortFields& expected, Where where = Where::here());
void expect_slot(const SlotRecord& actual, const SlotFields& expected, Where where = Where::here());

// One text field of every record: texts_of(device_records(), &DeviceRecord::panel_name).
template <class Record, std::size_t Size>
Texts texts_of(std::span<Record> records, char (Record::*field)[Size]) {
  Texts texts;
  for (const Record& record : records) {
    texts.emplace_back(record.*field);
  }
  return texts;
}

// What a call printed, and its result as the byte that the exit status is.
struct Outcome {
  std::string printed;
  int code = 0;
  bool operator==(const Outcome&) const = default;
};
void PrintTo(const Outcome& outcome, std::ostream* out);

// EXPECT_EQ(outcome_of([&] { return qorx_open(); }), (Outcome{"Error: …\n", 0x95}));
Outcome outcome_of(const std::function<std::int32_t()>& call);

// Runs the command line on the machine; nothing may come on standard error.
void expect_run(const FakeMachine& machine, const std::vector<std::string>& words, std::string_view output,
                int status = 0, Where where = Where::here());

}  // namespace qorx::test

#endif
