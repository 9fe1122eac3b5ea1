// One process that identifies several machines, or one that failed: nothing is left of the one before.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

#include "base/messages.h"
#include "records/state.h"
#include "tests/end_to_end/faults.h"

namespace qorx::test {
namespace {

template <typename Record>
bool is_empty(const Record& record) {
  static const Record kEmpty{};
  return std::memcmp(&record, &kEmpty, sizeof record) == 0;
}

class Reopen : public RunsHere {
 protected:
  void SetUp() override {
    RunsHere::SetUp();
    reset_library();
  }

  // A machine of the largest size.
  static void fill(FakeMachine& machine) {
    SmbiosTable slots;
    for (int i = 0; i < 512; ++i) {
      char address[8];
      std::snprintf(address, sizeof address, "%02x:%02x.%d", 16 + i % 128, i / 128, i % 2);
      machine.add_port("big" + std::to_string(i), std::string("0000:00:01.0/0000:") + address);
      slots.slot(std::string("Big slot ") + address, address);
    }
    machine.smbios(slots);
  }

  static std::int32_t open(const FakeMachine& machine) {
    machine.use();
    std::int32_t code = -1;
    const std::size_t before = open_descriptors();
    printed_by([&] { code = qorx_open(); });
    EXPECT_EQ(open_descriptors(), before);
    return code;
  }

  static std::string listing() {
    return printed_by([] {
      EXPECT_EQ(qorx_print_scan_result(nullptr, nullptr, nullptr), 0);
      EXPECT_EQ(qorx_print_system_info(), 0);
    });
  }

  static void expect_no_other_records(std::size_t devices, std::size_t slots) {
    EXPECT_EQ(device_records().size(), devices);
    EXPECT_EQ(slot_records().size(), slots);
    for (std::size_t i = devices; i < kMaxRecords; ++i) {
      ASSERT_TRUE(is_empty(qorx_eth_device_mapping[i])) << i << " " << qorx_eth_device_mapping[i].eth_name;
    }
    for (std::size_t i = slots; i < kMaxRecords; ++i) {
      ASSERT_TRUE(is_empty(qorx_smbios_t9_t41_mapping[i])) << i << " " << qorx_smbios_t9_t41_mapping[i].slot_name;
    }
  }

  static constexpr std::size_t kDevices = 9;
  static constexpr std::size_t kSlots = 6;
  FaultMachine machine_;
};

TEST_F(Reopen, ASecondOpenSaysTheSame) {
  ASSERT_EQ(open(machine_), 0);
  const std::string first = listing();
  EXPECT_EQ(qorx_close(), 0);
  ASSERT_EQ(open(machine_), 0);
  EXPECT_EQ(listing(), first);
  expect_no_other_records(kDevices, kSlots);
}

TEST_F(Reopen, NothingIsLeftOfALargerMachine) {
  ASSERT_EQ(open(machine_), 0);
  const std::string alone = listing();
  FakeMachine large;
  fill(large);
  ASSERT_EQ(open(large), 0);
  ASSERT_EQ(device_records().size(), kMaxRecords);
  ASSERT_EQ(slot_records().size(), kMaxRecords);
  ASSERT_EQ(open(machine_), 0);
  EXPECT_EQ(listing(), alone);
  expect_no_other_records(kDevices, kSlots);
}

TEST_F(Reopen, NothingIsLeftOfMachinesWithoutPortsOrSlots) {
  ASSERT_EQ(open(machine_), 0);
  const FakeMachine empty;
  ASSERT_EQ(open(empty), 0);
  EXPECT_EQ(listing(), table_of("") + "Onboard_cnt: 0\nSlot_cnt: 0\n");
  expect_no_other_records(0, 0);
}

// Each stage that can fail, after a larger machine was open.
struct Failure {
  const char* name;
  std::function<void(FaultMachine&)> cause;
  int code;
};

std::vector<Failure> failures() {
  const auto platform_file = [](FaultMachine& machine, const char* text) {
    g_config_flag = 1;
    std::strcpy(g_config_file_name, machine.user_file("wrong.cfg", text).c_str());
  };
  return {
      {"no interfaces", [](FaultMachine& machine) { machine.remove("sys/class/net"); }, 0x98},
      {"override file",
       [](FaultMachine& machine) {
         g_smbios_flag = 1;
         std::strcpy(g_smbios_file_name, machine.user_file("wrong.cfg", "TYPE=\"9\"\nNAME=\"x\"\n").c_str());
       },
       0x81},
      {"switch line",
       [platform_file](FaultMachine& machine) {
         platform_file(machine, "SLOT_NAME=\"SW Slot\"\nPCIe_SW_DEV/WMX_SLOT=\"3-6/A\"\nPCIe_SW_DEV/WMX_SLOT=\"3\"\n");
       },
       0x81},
      {"adapters", [](FaultMachine& machine) { machine.remove("sys/class/i2c-adapter"); }, 0x98},
      {"feature line",
       [platform_file](FaultMachine& machine) {
         platform_file(machine,
                       "SLOT_NAME=\"LAN 1\"\nFUNCTION/NAME/FEATURE=\"6/x/POE\"\nFUNCTION/NAME/FEATURE=\"6\"\n");
       },
       0x81},
      {"module names",
       [](FaultMachine& machine) {
         g_legacy_flag = g_WMX_name_flag = 1;
         std::strcpy(g_WMX_name_file_name, machine.user_file("wrong.cfg", "WMX-2848 TURBO\n").c_str());
       },
       0x81},
  };
}

TEST_F(Reopen, NothingIsLeftOfAnOpenThatFailed) {
  ASSERT_EQ(open(machine_), 0);
  const std::string alone = listing();
  FakeMachine large;
  fill(large);
  for (const Failure& failure : failures()) {
    SCOPED_TRACE(failure.name);
    reset_library();
    ASSERT_EQ(open(large), 0);
    FaultMachine broken;
    failure.cause(broken);
    EXPECT_EQ(code_byte(open(broken)), failure.code);
    printed_by([] { EXPECT_EQ(code_byte(qorx_print_scan_result(nullptr, nullptr, nullptr)), 0x95); });
    g_config_flag = g_smbios_flag = g_legacy_flag = g_WMX_name_flag = 0;
    ASSERT_EQ(open(machine_), 0);
    EXPECT_EQ(listing(), alone);
    expect_no_other_records(kDevices, kSlots);
  }
}

}  // namespace
}  // namespace qorx::test
