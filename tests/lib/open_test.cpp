// What qorx_open does, stage by stage, and the version that lib/open.cpp tells.
#include <gtest/gtest.h>

#include <string>

#include "base/bounded_text.h"
#include "base/messages.h"
#include "records/state.h"
#include "tests/support/expect.h"
#include "tests/support/sample_machine.h"

namespace qorx {
namespace {

using test::Outcome;

const qorx_environment_info& kInfo = qorx_system_environment_info;
const Outcome kOpened{"", 0};

class Open : public test::SampleTest {
 protected:
  // Sets an option and its file's name, to that of a file with this text.
  void use(std::int32_t& option, char (&name)[QORX_NAME_SIZE], const std::string& text) {
    option = 1;
    copy_text(name, machine_.user_file("F", text));
  }

  // What an open says, which calls the file "F", and its code.
  Outcome open() {
    Outcome outcome = test::outcome_of(qorx_open);
    const std::string name = machine_.work() / "F";
    if (const std::size_t at = outcome.printed.find(name); at != std::string::npos) {
      outcome.printed.replace(at, name.size(), "F");
    }
    EXPECT_EQ(g_qorx_init, outcome.code == 0 ? 0 : -1);
    return outcome;
  }

  // The port's record after an open.
  static const DeviceRecord& port(std::string_view name) {
    for (const DeviceRecord& record : device_records()) {
      if (name == record.eth_name) {
        return record;
      }
    }
    ADD_FAILURE() << "no port " << name;
    return qorx_eth_device_mapping[0];
  }
};

TEST_F(Open, IsSilentAndLeavesTheLibraryInitialised) {
  EXPECT_EQ(open(), kOpened);
  EXPECT_EQ(qorx_close(), 0);
  EXPECT_EQ(g_qorx_init, -1);
}

TEST_F(Open, FillsTablesAndCounters) {
  EXPECT_EQ(open(), kOpened);
  EXPECT_EQ(kInfo.eth_device_number, 5U);
  EXPECT_EQ(kInfo.eth_smbios_t9_t41_number, 3U);
  EXPECT_EQ(kInfo.eth_onboard_number, 1U);
  EXPECT_EQ(kInfo.smbios_t9_slot_number, 2U);
}

TEST_F(Open, ASecondOpenStartsFromNothing) {
  EXPECT_EQ(open(), kOpened);
  copy_text(qorx_eth_device_mapping[0].panel_name, "left over");
  EXPECT_EQ(open(), kOpened);
  EXPECT_STREQ(qorx_eth_device_mapping[0].panel_name, "LAN 1 (*)");
  EXPECT_EQ(kInfo.eth_device_number, 5U);
  EXPECT_EQ(kInfo.eth_smbios_t9_t41_number, 3U);
  for (const SlotRecord& slot : slot_records()) {
    EXPECT_LE(slot.port_count, 2);
  }
}

TEST_F(Open, AMissingDirectoryFailsBeforeTheTablesAreCleared) {
  EXPECT_EQ(open(), kOpened);
  machine_.remove("sys/devices/pci0000:00");
  EXPECT_EQ(
      open(),
      (Outcome{"/sys/devices/pci0000:00 folder do not exist or can't access. Please check your environment\n", 0x98}));
  EXPECT_EQ(kInfo.eth_device_number, 5U);
}

TEST_F(Open, VmLeavesTheSlotTableEmpty) {
  g_vm_bypass = 1;
  EXPECT_EQ(open(), kOpened);
  EXPECT_EQ(kInfo.eth_smbios_t9_t41_number, 0U);
  EXPECT_EQ(kInfo.eth_device_number, 5U);
  EXPECT_STREQ(port("eth0").slot_name, "");
}

TEST_F(Open, AWrongOverrideFileEndsIt) {
  use(g_smbios_flag, g_smbios_file_name, "NAME=\"S 1\"\n");
  EXPECT_EQ(open(), (Outcome{"Can't find TYPE! F line: 1\n", 0x81}));
  EXPECT_EQ(kInfo.eth_device_number, 0U);
}

TEST_F(Open, RecordedFilesComeBeforeTheOverrideFileAndCantFail) {
  g_smbios_flag = 1;
  copy_text(g_smbios_file_name, "missing");
  use(g_diag, g_entry_point_file, std::string(31, 'x'));
  EXPECT_EQ(open(), (Outcome{"Can't find SMBIOS!\n", 0}));
  EXPECT_EQ(kInfo.eth_smbios_t9_t41_number, 0U);
}

TEST_F(Open, AWrongPlatformFileFailsBeforeTheScan) {
  use(g_config_flag, g_config_file_name, "nonsense\n");
  EXPECT_EQ(open(), (Outcome{"Can't find SLOT_NAME! F line: 1\n", 0x81}));
  EXPECT_EQ(kInfo.eth_device_number, 0U);
  EXPECT_EQ(kInfo.eth_smbios_t9_t41_number, 3U);
}

TEST_F(Open, SwitchLinesAreAppliedBeforeTheScan) {
  use(g_config_flag, g_config_file_name, "SLOT_NAME=\"WMX Slot 3\"\nCHANGE_NAME=\"Renamed 9\"\n");
  EXPECT_EQ(open(), kOpened);
  test::expect_port(port("eth0"), {.slot_name = "Renamed 9", .seg = 36});  // numbered from the new name
}

TEST_F(Open, AWrongFeatureLineFailsBehindTheScan) {
  use(g_config_flag, g_config_file_name, "SLOT_NAME=\"LAN 1\"\nFUNCTION/NAME/FEATURE=\"6/MGMT/none\"\n");
  EXPECT_EQ(open(), (Outcome{"Not supported feature! F line: 2\n", 0x81}));
  EXPECT_EQ(kInfo.eth_device_number, 5U);
  EXPECT_STREQ(port("eth2").panel_name, "");  // the stages behind did not run
}

TEST_F(Open, AFailingScanEndsIt) {
  machine_.add_port("eth9", "0000:00:1c.2/0000:05:00.0", {.subsys_vendor = 0x13FE, .subsys_device = 0x205D});
  machine_.smbios(test::SmbiosTable().slot("WMX Slot 5 (H.1.255.255)", "05:00.0"));
  EXPECT_EQ(open(), (Outcome{"Error: Cannot access /sys/class/i2c-adapter\n", 0x98}));
}

TEST_F(Open, TheModuleNameFileIsReadOnlyWithLegacy) {
  use(g_WMX_name_flag, g_WMX_name_file_name, "WMX-2848 wrong\n");
  EXPECT_EQ(open(), kOpened);
  g_legacy_flag = 1;
  EXPECT_EQ(open(), (Outcome{"Not supported feature for WMX in F line 1\n", 0x81}));
}

// The model stage calls an unnamed USB adapter's slot and panel "N/A"; a panel stage before it would number it.
TEST_F(Open, ModelsAreNamedBeforePanels) {
  machine_.add_usb_port("usb0", "0000:00:14.0/usb2/2-1/2-1:1.0", "bda/8153/3000");
  ASSERT_EQ(open(), kOpened);
  test::expect_port(port("usb0"), {.slot_name = "N/A", .panel_name = "N/A", .seg = 255});
}

// Four ports of one slot that fit three old modules, of which only one, numbered from right to left, is fitted.
TEST_F(Open, PanelsAreNumberedByTheFinalModel) {
  g_legacy_flag = 1;
  use(g_WMX_name_flag, g_WMX_name_file_name, "WMX-9556 NA\n");
  for (const char* const function : {"0", "1", "2", "3"}) {
    machine_.add_port(std::string("sfp") + function, std::string("0000:00:1c.2/0000:05:00.") + function,
                      {.device = 0x1572});
  }
  machine_.smbios(test::SmbiosTable().slot("WMX Slot 5", "05:00.0"));
  ASSERT_EQ(open(), kOpened);
  test::expect_port(port("sfp0"), {.panel_name = "4 (*)", .model = "WMX-9556"});
  test::expect_port(port("sfp3"), {.panel_name = "1 (*)"});
}

// Copper and fibre on one module: the fibre ports are known only once the module has its name.
TEST_F(Open, HybridModulesAreHandledBehindTheirNames) {
  g_legacy_flag = 1;
  use(g_WMX_name_flag, g_WMX_name_file_name, "WMX-6997 A_BYPASS\n");
  for (int i = 0; i < 8; ++i) {
    machine_.add_port("mod" + std::to_string(i), "0000:00:1c.2/0000:05:00." + std::to_string(i),
                      {.device = static_cast<std::uint16_t>(i < 4 ? 0x1521 : 0x1522)});
  }
  machine_.smbios(test::SmbiosTable().slot("WMX Slot 5", "05:00.0"));
  ASSERT_EQ(open(), kOpened);
  test::expect_port(port("mod0"), {.model = "WMX-6997", .feature = QORX_FEATURE_A_BYPASS});
  test::expect_port(port("mod7"), {.model = "WMX-6997", .feature = QORX_FEATURE_NA});
}

// Two ports behind each of two root ports are a module of four.
TEST_F(Open, SlotsAreMergedBeforeOldModulesAreNamed) {
  g_legacy_flag = 1;
  for (const char* const address : {"05:00.0", "05:00.1", "06:00.0", "06:00.1"}) {
    machine_.add_port(std::string("old") + address[1] + address[6], std::string("0000:00:1c.2/0000:") + address);
  }
  machine_.smbios(test::SmbiosTable().slot("WMX Slot 5", "05:00.0").slot("WMX Slot 5", "06:00.0"));
  ASSERT_EQ(open(), kOpened);
  EXPECT_STREQ(port("old50").model, "WMX-1813/2848/8655");
  EXPECT_STREQ(port("old61").model, "WMX-1813/2848/8655");
}

// Merging empties the second record's name, and the counters come last.
TEST_F(Open, SlotsAreMergedBeforeTheyAreCounted) {
  machine_.smbios(test::SmbiosTable().slot("WMX Slot 3", "03:00.0").slot("WMX Slot 3", "04:00.0"));
  ASSERT_EQ(open(), kOpened);
  EXPECT_EQ(kInfo.smbios_t9_slot_number, 1U);
  EXPECT_EQ(slot_records()[0].port_count, 4);
}

TEST_F(Open, AnUnparsablePathHasNoAddress) {
  machine_.add_raw_interface("soc0", "../../devices/platform/soc/net/soc0");
  ASSERT_EQ(open(), kOpened);
  test::expect_port(port("soc0"), {.bus = 255, .dev = 255, .fun = 255});
}

TEST_F(Open, A513thPortIsNotRecorded) {
  for (int i = 0; i < 513; ++i) {
    machine_.add_raw_interface("p" + std::to_string(i), "../../devices/x/net/p" + std::to_string(i));
  }
  EXPECT_EQ(open(), kOpened);
  EXPECT_EQ(kInfo.eth_device_number, 512U);
  EXPECT_STRNE(qorx_eth_device_mapping[511].eth_name, "");
}

using LibraryVersion = test::LibraryTest;

TEST_F(LibraryVersion, IsOneThirtySix) {
  std::uint8_t major = 0;
  std::uint8_t minor = 0;
  EXPECT_EQ(qorx_get_lib_version(&major, &minor), 0);
  EXPECT_EQ(major, 1);
  EXPECT_EQ(minor, 36);
}

TEST_F(LibraryVersion, NeedsBothPointers) {
  std::uint8_t number = 77;
  for (const std::string message : {"Error: *major, *minor is NULL pointer\n", ""}) {
    const Outcome refused{message, 0x94};
    EXPECT_EQ(test::outcome_of([&] { return qorx_get_lib_version(nullptr, &number); }), refused);
    EXPECT_EQ(test::outcome_of([&] { return qorx_get_lib_version(&number, nullptr); }), refused);
    EXPECT_EQ(test::outcome_of([] { return qorx_get_lib_version(nullptr, nullptr); }), refused);
    qorx_set_message_level(0);
  }
  EXPECT_EQ(number, 77);
}

}  // namespace
}  // namespace qorx
