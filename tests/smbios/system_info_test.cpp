#include "smbios/system_info.h"

#include <gtest/gtest.h>

#include <string>

#include "base/bounded_text.h"
#include "base/messages.h"
#include "records/state.h"
#include "tests/support/expect.h"
#include "tests/support/fixture.h"

namespace qorx::test {
namespace {

constexpr const char* kHeader = "slot name:           type root port: port count: vid:  did:  cnt:  model name:  \n";

class SystemInfo : public LibraryTest {
 protected:
  static std::string report() {
    g_qorx_init = 0;
    EXPECT_EQ(qorx_get_system_info(), 0);
    return printed_by([] { EXPECT_EQ(qorx_print_system_info(), 0); });
  }
};

TEST_F(SystemInfo, IsRefusedBeforeTheLibraryIsOpen) {
  add_slot("S1");
  EXPECT_EQ(outcome_of(qorx_print_system_info),
            (Outcome{"qorx library needs to be initialized before function call.\n", 0x95}));
  g_error_message_open = 0;
  EXPECT_EQ(outcome_of(qorx_print_system_info), (Outcome{"", 0x95}));
}

TEST_F(SystemInfo, AMachineWithoutSlotRecordsPrintsTheTwoCounts) {
  EXPECT_EQ(report(), "Onboard_cnt: 0\nSlot_cnt: 0\n");
}

TEST_F(SystemInfo, CountsNamedOnboardPortsAndNamedSlots) {
  add_device("eth0", "LAN1", 41);
  add_device("eth1", "LAN1", 41);
  add_device("eth2", "", 41);
  add_device("eth3", "S1", 9);
  add_device("eth4", "other", 0);
  add_slot("S1", 9);
  add_slot("", 9);
  add_slot("LAN1", 41);
  add_slot("S2", 9);
  add_slot("S2", 9);
  qorx_system_environment_info.eth_onboard_number = 77;
  qorx_system_environment_info.smbios_t9_slot_number = 77;
  EXPECT_EQ(qorx_get_system_info(), 0);
  EXPECT_EQ(qorx_system_environment_info.eth_onboard_number, 2U);
  EXPECT_EQ(qorx_system_environment_info.smbios_t9_slot_number, 3U);
}

TEST_F(SystemInfo, ListsEveryOnboardPortThenEverySlot) {
  copy_text(add_slot("S1", 9).model_name, "WMX-0119");
  add_slot("LAN1", 41);
  add_slot("", 9);  // merged into another record
  add_slot("S2", 9);
  copy_text(add_device("eth0", "LAN1", 41).model, "");
  copy_text(add_device("eth1", "S1", 9).model, "not listed");
  copy_text(add_device("eth2", "LAN2", 41).model, "I");
  add_device("eth3", "LAN1", 41);
  add_device("eth4", "", 41);
  EXPECT_EQ(report(),
            "Onboard_cnt: 3\nSlot_cnt: 2\n"
            "LAN1: Onboard\nLAN2: I\nLAN1: Onboard\n"
            "S1: WMX-0119\nS2: \n");
}

TEST_F(SystemInfo, TheReportPrintsAtEveryMessageLevel) {
  add_slot("S1", 9);
  g_error_message_open = 0;
  EXPECT_EQ(report(), "Onboard_cnt: 0\nSlot_cnt: 1\nS1: \n");
}

TEST_F(SystemInfo, TheDumpIsADebugTraceAndThatOfNoRecordsIsItsHeader) {
  EXPECT_EQ(traced_by(Debugout_smbios_array), kHeader);
  add_slot("S1");
  EXPECT_EQ(printed_by(Debugout_smbios_array), "");
}

TEST_F(SystemInfo, TheDumpHasARowPerSlotRecord) {
  add_slot("S1", 9, 0x3, 0x1F, 7).port_count = 0x12;
  copy_text(add_slot("A name of more than twenty characters", 41, 0xAB).model_name, "I210");
  add_slot("", 9);
  EXPECT_EQ(traced_by(Debugout_smbios_array),
            std::string(kHeader) + "S1                   9    03:1f.07   0x12        " + std::string(20, ' ') + "\n" +
                "A name of more than twenty characters 41   ab:00.00   0x00        I210                \n" +
                std::string(21, ' ') + "9    00:00.00   0x00        " + std::string(20, ' ') + "\n");
}

TEST_F(SystemInfo, TheDumpListsEveryDeviceId) {
  SlotRecord& slot = add_slot("S1", 9, 1);
  for (const auto& [id, ports] : {std::pair{0x1521U, 2}, {0x37U, 255}, {0x10000U, 1}}) {
    add_ports(slot, id, ports);
  }
  slot.port_count = 3;
  copy_text(slot.model_name, "M");
  const std::string indent = "\n " + std::string(48, ' ');
  EXPECT_EQ(traced_by(Debugout_smbios_array),
            std::string(kHeader) + "S1                   9    01:00.00   0x03        8086  1521  2     " + indent +
                "8086  0037  255   " + indent + "8086  10000  1     " + "M                   \n");
}

TEST_F(SystemInfo, TheReportBeginsWithTheDump) {
  add_slot("S1", 9);
  g_debug_message_open = 1;
  const std::string traces = report();
  EXPECT_TRUE(traces.starts_with(kHeader));
  EXPECT_TRUE(traces.ends_with("\nOnboard_cnt: 0\nSlot_cnt: 1\nS1: \n"));
}

using SystemInfoCommand = MachineTest;

TEST_F(SystemInfoCommand, ReportsAWholeMachine) {
  machine_.smbios(SmbiosTable().slot("SLOT1", "03:00.0").slot("SLOT2", "05:00.0").onboard("LAN1", "00:1f.6"));
  machine_.add_port("eth0", "0000:00:1f.6").add_port("eth1", "0000:00:1c.0/0000:03:00.0");
  expect_run(machine_, {"-sysinfo"}, "Onboard_cnt: 1\nSlot_cnt: 2\nLAN1: Onboard\nSLOT1: ID not found\nSLOT2: \n");
}

// A slot wired to two root ports has two records of one name; the later one is merged into the first.
TEST_F(SystemInfoCommand, ASlotWithTwoRootPortsIsOneSlot) {
  machine_.smbios(SmbiosTable().slot("SLOT1", "03:00.0").slot("SLOT1", "05:00.0"));
  expect_run(machine_, {"-sysinfo"}, "Onboard_cnt: 0\nSlot_cnt: 1\nSLOT1: \n");
}

}  // namespace
}  // namespace qorx::test
