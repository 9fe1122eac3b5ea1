// What can stop the scan: a host whose I2C adapters can't be listed, and a list of interfaces that can't be read to its
// end, for what it names may be half of them.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "discovery/interface_scan.h"
#include "tests/support/expect.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

constexpr Ids kI2cBypass{0x8086, 0x1521, 0x13FE, 0x205D};
const std::string kNoAdapters = "Error: Cannot access /sys/class/i2c-adapter\n";
const std::string kNoList = "/sys/class/net folder do not exist or can't access. Please check your environment\n";
const std::string kFailed = "Error: QORX_ERR_OPEN_DIR (0x98)\n";

// A run on a machine with one I2C bypass card in a slot of this designation.
struct Run {
  std::string_view rule;
  const char* designation;
  int status = 0;
  const char* in_their_place = "";  // of the adapters: a "file" or a "directory"
  const char* address = "03:00.0";
};

class ScanFailure : public RowTest<Run, MachineTest> {};

TEST_P(ScanFailure, EndsTheRun) {
  machine_.add_port("eth0", "0000:" + std::string(row().address), kI2cBypass)
      .smbios(SmbiosTable().slot(row().designation, row().address));
  if (*row().in_their_place == 'f') {
    machine_.write("sys/class/i2c-adapter", "");
  } else if (*row().in_their_place == 'd') {
    machine_.make_directory("sys/class/i2c-adapter");
  }
  if (row().status == 0) {
    EXPECT_EQ(machine_.run({"-a"}).status, 0);
  } else {
    expect_run(machine_, {"-a"}, kNoAdapters + kFailed, 0x98);
    expect_run(machine_, {"-a", "-ML", "0"}, kFailed, 0x98);
  }
}

QORX_ROWS(ScanFailure, {"missing adapters", "Slot 1 (H.1.255.255)", 0x98},
          {"a file in their place", "Slot 1 (H.1.255.255)", 0x98, "file"},
          {"not an empty list", "Slot 1 (H.1.255.255)", 0, "directory"},
          {"not for an odd port", "Slot 1 (H.1.255.255)", 0, "", "03:00.1"},
          {"not on the baseboard's path", "Slot 1 (B.1.255.255)"}, {"not without a descriptor", "Slot 1"},
          {"not with a wrong path", "Slot 1 (X.1.2.3)"}, {"not with a wrong switch", "Slot 1 (H.1.9.255)"});

TEST_F(ScanFailure, ThePortThatFailsIsNotCounted) {
  machine_.add_port("eth0", "0000:03:00.0", kI2cBypass);
  add_slot("Slot 1 (H.1.255.255)", 9, 3, 0, 0);
  EXPECT_EQ(outcome_of(get_all_eth_devices_info), (Outcome{kNoAdapters, 0x98}));
  EXPECT_EQ(qorx_system_environment_info.eth_device_number, 0U);
}

TEST_F(ScanFailure, NothingIsSortedOrNumberedAfterIt) {
  // Whichever is listed first: either nothing was counted, or one port of slot 2, which is then not numbered.
  machine_.add_port("eth0", "0000:03:00.0", kI2cBypass)
      .add_port("eth1", "0000:04:00.0", {0x8086, 0x1521, 0x13FE, 0x3031});
  add_slot("Slot 1 (H.1.255.255)", 9, 3, 0, 0);
  add_slot("Slot 2", 9, 4, 0, 0);
  const std::string trace = traced_by([] { EXPECT_EQ(get_all_eth_devices_info() & 0xFF, 0x98); });
  EXPECT_LE(qorx_system_environment_info.eth_device_number, 1U);
  // The numbering would be the last trace of all.
  EXPECT_TRUE(trace.ends_with(kNoAdapters)) << trace;
}

TEST_F(ScanFailure, IsNotWhatAWrongDescriptorGives) {
  machine_.add_port("eth0", "0000:03:00.0", kI2cBypass)
      .add_port("eth1", "0000:04:00.0", kI2cBypass)
      .add_port("eth2", "0000:05:00.0", kI2cBypass);
  add_slot("Slot 1 (X.1.2.3)", 9, 3, 0, 0);
  add_slot("Slot 2 (B.1.9.255)", 9, 4, 0, 0);
  add_slot("LAN 3 (B.3.255.255.5)", 41, 5, 0, 0);
  const Outcome outcome = outcome_of(get_all_eth_devices_info);
  EXPECT_EQ(outcome.code, 0);
  ASSERT_EQ(qorx_system_environment_info.eth_device_number, 3U);
  for (const char* const line : {"SMBIOS data wrong format. (H/B area) String: Slot 1 (X.1.2.3)\n",
                                 "SMBIOS data wrong format. (BUS) String: Slot 2 (B.1.9.255)\n",
                                 "SMBIOS data wrong format. (MCU_SEGMENT) String: LAN 3 (B.3.255.255.5)\n"}) {
    EXPECT_NE(outcome.printed.find(line), std::string::npos) << outcome.printed;
  }
  expect_port(device_records()[1], {.bypass_bus = 1});
  expect_port(device_records()[2], {.bypass_bus = 3});
}

TEST_F(ScanFailure, IsNotWhereTheHostsAdaptersCorrectARun) {
  machine_.add_port("eth0", "0000:03:00.0", kI2cBypass)
      .add_i2c_adapter(0, "SMBus I801 adapter at efa0")
      .add_i2c_adapter(1, "i2c-0-mux (chan_id 2)");
  add_slot("Slot 1 (H.0.2.255)", 9, 3, 0, 0);
  EXPECT_EQ(get_all_eth_devices_info(), 0);
  expect_port(device_records()[0], {.bypass_bus = 1, .bypass_switch1 = 255});
}

class InterfaceList : public MachineTest {
 protected:
  InterfaceList() { machine_.add_port("eth0", "0000:03:00.0").add_port("eth1", "0000:03:00.1").add_virtual("br0", ""); }
};

TEST_F(InterfaceList, ThatCannotBeOpenedEndsTheScan) {
  machine_.remove("sys/class/net");
  EXPECT_EQ(outcome_of(get_all_eth_devices_info), (Outcome{kNoList, 0x98}));
}

class InterfaceListRead : public InterfaceList {
 protected:
  void SetUp() override {
    if (!can_plant_faults()) {
      GTEST_SKIP() << "strace is not installed or may not trace here";
    }
  }

  // Runs the tool while the n-th reading of the list fails. The scan reads it twice, to its end; with traces, the
  // listing of the virtual interfaces after it.
  ToolRun run_with_failure(int reading, const Texts& words) const {
    return run_with_fault(machine_.root(), machine_.work(), words, machine_.root() / "sys/class/net",
                          "getdents64:error=EIO:when=" + std::to_string(reading));
  }
};

TEST_F(InterfaceListRead, ThatFailsInTheScanEndsTheRun) {
  for (const int reading : {1, 2}) {
    for (const char* const operation : {"-a", "-tovix.cfg", "-sysinfo"}) {
      EXPECT_EQ(run_with_failure(reading, {operation}), said(kNoList + kFailed, 0x98)) << operation;
    }
  }
  EXPECT_FALSE(std::filesystem::exists(machine_.work() / "tovix.cfg"));
}

TEST_F(InterfaceListRead, ThatFailsInARecordingWithItsOrderEndsTheRun) {
  machine_.write("order", "sys/class/net/eth1\nsys/class/net/eth0\n");
  EXPECT_EQ(run_with_failure(1, {"-a"}), said(kNoList + kFailed, 0x98));
}

TEST_F(InterfaceListRead, ThatFailsForTheVirtualInterfacesEndsTheOutput) {
  const ToolRun run = run_with_failure(3, {"-a", "-ML", "2"});
  EXPECT_TRUE(run.output.ends_with(kNoList + kFailed)) << run.output;
  EXPECT_EQ(run.status, 0x98);
  EXPECT_EQ(run_with_failure(3, {"-o", "result.txt", "-ML", "2"}).status, 0x98);
  EXPECT_FALSE(std::filesystem::exists(machine_.work() / "result.txt"));
  EXPECT_EQ(run_with_failure(3, {"-a", "-novlan", "-ML", "2"}).status, 0);
  EXPECT_EQ(run_with_failure(3, {"-a"}).status, 0) << "the list is not read again";
}

}  // namespace
}  // namespace qorx::test
