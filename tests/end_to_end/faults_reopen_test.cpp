// One process that identifies several machines, or one that failed: nothing is left of the one before.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>

#include "base/bounded_text.h"
#include "tests/end_to_end/faults.h"
#include "tests/support/expect.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

class Reopen : public RunsHere {
 protected:
  static std::int32_t open(const FakeMachine& machine) {
    machine.use();
    const std::size_t before = open_descriptors();
    const Outcome outcome = outcome_of(qorx_open);
    EXPECT_EQ(open_descriptors(), before);
    return outcome.code;
  }

  static std::string listing() {
    return printed_by([] {
      EXPECT_EQ(qorx_print_scan_result(nullptr, nullptr, nullptr), 0);
      EXPECT_EQ(qorx_print_system_info(), 0);
    });
  }

  // What stands in the tables behind their records.
  template <typename Record>
  static void expect_nothing_behind(const Record (&table)[kMaxRecords], std::size_t count) {
    static const Record kEmpty{};
    for (std::size_t i = count; i < kMaxRecords; ++i) {
      ASSERT_EQ(std::memcmp(&table[i], &kEmpty, sizeof kEmpty), 0) << i << " " << table[i].slot_name;
    }
  }
  static void expect_no_other_records(std::size_t devices, std::size_t slots) {
    EXPECT_EQ(device_records().size(), devices);
    EXPECT_EQ(slot_records().size(), slots);
    expect_nothing_behind(qorx_eth_device_mapping, devices);
    expect_nothing_behind(qorx_smbios_t9_t41_mapping, slots);
  }

  // Opens the machine, which lists what it listed when nothing was before it.
  void expect_as_if_alone() const {
    ASSERT_EQ(open(machine_), 0);
    EXPECT_EQ(listing(), Rows().table() +
                             "Onboard_cnt: 1\nSlot_cnt: 5\nLAN 1: I210_CO\nWMX Slot 4: WMX-2848\n"
                             "WMX Slot 3: WMX-2248\nWMX Slot 5: WMX-LH53\nWMX Slot 6 (H.1.2.255): WMX-44C0\n"
                             "SW Slot: WMX-2248\n");
    expect_no_other_records(9, 6);
  }

  const FaultMachine machine_;
};

TEST_F(Reopen, ASecondOpenSaysTheSame) {
  expect_as_if_alone();
  EXPECT_EQ(qorx_close(), 0);
  expect_as_if_alone();
}

TEST_F(Reopen, NothingIsLeftOfALargerMachine) {
  const LargeMachine large;
  ASSERT_EQ(open(large), 0);
  expect_no_other_records(kMaxRecords, kMaxRecords);
  expect_as_if_alone();
}

TEST_F(Reopen, NothingIsLeftOfMachinesWithoutPortsOrSlots) {
  expect_as_if_alone();
  const FakeMachine empty;
  ASSERT_EQ(open(empty), 0);
  EXPECT_EQ(listing(), table_of("") + "Onboard_cnt: 0\nSlot_cnt: 0\n");
  expect_no_other_records(0, 0);
}

// A stage that can fail, with the file that makes it fail.
struct Failure {
  std::string_view rule;
  int code;
  std::function<void(FaultMachine&, const std::string& file)> cause;
  const char* text = "";
};

class FailedOpen : public RowTest<Failure, Reopen> {};

TEST_P(FailedOpen, LeavesNothing) {
  const LargeMachine large;
  ASSERT_EQ(open(large), 0);
  FaultMachine broken;
  row().cause(broken, broken.user_file("wrong.cfg", row().text));
  EXPECT_EQ(open(broken), row().code);
  EXPECT_EQ(outcome_of([] { return qorx_print_scan_result(nullptr, nullptr, nullptr); }).code, 0x95);
  g_config_flag = g_smbios_flag = g_legacy_flag = g_WMX_name_flag = 0;
  expect_as_if_alone();
}

void wrong_platform_file(FaultMachine& /*machine*/, const std::string& file) {
  g_config_flag = 1;
  copy_text(g_config_file_name, file);
}

void wrong_override_file(FaultMachine& /*machine*/, const std::string& file) {
  g_smbios_flag = 1;
  copy_text(g_smbios_file_name, file);
}

void wrong_name_file(FaultMachine& /*machine*/, const std::string& file) {
  g_legacy_flag = g_WMX_name_flag = 1;
  copy_text(g_WMX_name_file_name, file);
}

QORX_ROWS(FailedOpen,
          Failure{"no interfaces", 0x98, [](FaultMachine& machine, const auto&) { machine.remove("sys/class/net"); }},
          Failure{"adapters", 0x98,
                  [](FaultMachine& machine, const auto&) {
                    g_x86_i2c_root_port_number = -1;  // searched for once in the life of the process
                    machine.remove("sys/class/i2c-adapter");
                  }},
          Failure{"override file", 0x81, wrong_override_file, "TYPE=\"9\"\nNAME=\"x\"\n"},
          Failure{"switch line", 0x81, wrong_platform_file,
                  "SLOT_NAME=\"SW Slot\"\nPCIe_SW_DEV/WMX_SLOT=\"3-6/A\"\nPCIe_SW_DEV/WMX_SLOT=\"3\"\n"},
          Failure{"feature line", 0x81, wrong_platform_file,
                  "SLOT_NAME=\"LAN 1\"\nFUNCTION/NAME/FEATURE=\"6/x/POE\"\nFUNCTION/NAME/FEATURE=\"6\"\n"},
          Failure{"module names", 0x81, wrong_name_file, "WMX-2848 TURBO\n"});

}  // namespace
}  // namespace qorx::test
