// Expectations of many fields at once. Only what is named is compared; a failure says each field that differs, at the
// line of the test:
//
//   expect_port(port, {.panel_name = "P", .feature = 0x10});
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

#include "records/state.h"
#include "tests/support/fake_machine.h"

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

struct PortFields {
  Text eth_name = {};
  Number bus = {};
  Number dev = {};
  Number fun = {};
  Text slot_name = {};
  Text panel_name = {};
  Text model = {};
  Number feature = {};
  Number bypass_ctrl_flag = {};
  Text net_path = {};
  Number slot_bus = {};
  Number slot_dev = {};
  Number slot_fun = {};
  Number vendor_id = {};
  Number device_id = {};
  Number subsys_vendor_id = {};
  Number subsys_device_id = {};
  Text mac_addr = {};
  Number smbios_type = {};
  Number port_index = {};
  Number seg = {};
  std::optional<Texts> module_names = {};  // the counted ones
  Text usb = {};
  Number bypass_type = {};
  Number bypass_bus = {};
  Number bypass_switch1 = {};
  Number bypass_switch2 = {};
  Number mcu_segment = {};
};

struct SlotFields {
  Number length = {};
  Number bus = {};
  Number dev = {};
  Number fun = {};
  Number type = {};
  Number str_index = {};
  Text slot_name = {};
  Text smbios_slot_name = {};
  Text model_name = {};
  Number feature = {};
  Number port_count = {};
  Number vendor_id = {};
  Number device_id_number = {};
  Text sysfs_path = {};
};

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
