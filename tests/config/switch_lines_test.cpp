#include "config/stages.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "base/bounded_text.h"
#include "records/state.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"
#include "tests/support/result_rows.h"

namespace qorx {
namespace {

using test::add_slot;
using test::FakeMachine;
using test::row_of;
using test::ToolRun;

const std::string kRootPort = "/sys/devices/pci0000:00/0000:00:1c.0";
const std::string kUpstreamPort = kRootPort + "/0000:02:00.0";

std::uint32_t slot_count() {
  return qorx_system_environment_info.eth_smbios_t9_t41_number;
}

const SlotRecord& slot_at(std::size_t index) {
  return qorx_smbios_t9_t41_mapping[index];
}

// "<name> <bus>:<device>.<function>" of the records from `first` on.
std::vector<std::string> places(std::size_t first) {
  std::vector<std::string> result;
  for (std::size_t i = first; i < slot_count(); ++i) {
    char text[QORX_NAME_SIZE];
    format_text(text, sizeof text, "%.100s %x:%x.%x", slot_at(i).slot_name, slot_at(i).bus, slot_at(i).dev,
                slot_at(i).fun);
    result.emplace_back(text);
  }
  return result;
}

using Places = std::vector<std::string>;

// A machine with a root port that leads to a switch: its upstream port is 02:00.0, its downstream ports are on bus 3.
class SwitchLines : public ::testing::Test {
 protected:
  void SetUp() override {
    test::reset_library();
    machine_.make_directory("sys/devices/pci0000:00/0000:00:1c.0/0000:02:00.0/0000:03:01.0/0000:04:00.0");
    machine_.make_directory("sys/devices/pci0000:00/0000:00:1c.0/0000:00:1c.0:pcie001");
    machine_.make_directory("sys/devices/pci0000:00/0000:00:1c.0/power");
    machine_.make_directory("sys/devices/pci0000:00/0000:00:1d.0/0000:00:1d.0:pcie001");
  }

  static SlotRecord& switch_slot() { return add_slot("J1", 9, 0, 0x1C, 0); }

  // Applies a file with this text; it must be accepted. Returns what was printed.
  std::string apply(const std::string& text) {
    const std::string path = machine_.user_file("qorx.cfg", text);
    return test::printed_by([&] { EXPECT_EQ(qorx_check_conf_file_SW(path.c_str()), 0); });
  }

  std::string apply_switch(const std::string& value) {
    return apply("SLOT_NAME=\"J1\"\nPCIe_SW_DEV/WMX_SLOT=\"" + value + "\"\n");
  }

  FakeMachine machine_;
};

TEST_F(SwitchLines, ARangeBecomesOneSlotPerDownstreamPort) {
  const SlotRecord& old = switch_slot();
  EXPECT_EQ(apply_switch("1-3/WMX Slot 1"), "");
  EXPECT_EQ(places(1), (Places{"WMX Slot 1 3:1.0", "WMX Slot 1 3:2.0", "WMX Slot 1 3:3.0"}));
  for (std::size_t i = 1; i < 4; ++i) {
    EXPECT_EQ(slot_at(i).type, 9);
    EXPECT_STREQ(slot_at(i).smbios_slot_name, "");
    EXPECT_EQ(slot_at(i).sysfs_path, kUpstreamPort);
  }
  EXPECT_STREQ(old.slot_name, "");
  EXPECT_STREQ(old.smbios_slot_name, "");
  EXPECT_EQ(old.bus, 0xFF);
  EXPECT_EQ(old.dev, 0xFF);
  EXPECT_EQ(old.fun, 0xFF);
  EXPECT_EQ(old.sysfs_path, kRootPort);
}

TEST_F(SwitchLines, ARangeMayBeWrittenInEitherOrder) {
  switch_slot();
  apply_switch("5-2/S");
  EXPECT_EQ(places(1), (Places{"S 3:2.0", "S 3:3.0", "S 3:4.0", "S 3:5.0"}));
}

TEST_F(SwitchLines, NumbersAreHexadecimalAndOnesWithoutDigitsAre0) {
  const std::vector<std::pair<const char*, Places>> cases{
      {"9-b/S", {"S 3:9.0", "S 3:a.0", "S 3:b.0"}},
      {"0x1E-1F/S", {"S 3:1e.0", "S 3:1f.0"}},
      {"3-3/S", {"S 3:3.0"}},
      {"x-1/S", {"S 3:0.0", "S 3:1.0"}},
      {"ff-100/S", {"S 3:ff.0", "S 3:0.0"}},
      {"1 2- 3 /S", {"S 3:1.0", "S 3:2.0", "S 3:3.0"}},
  };
  for (const auto& [value, expected] : cases) {
    SCOPED_TRACE(value);
    test::reset_library();
    switch_slot();
    apply_switch(value);
    EXPECT_EQ(places(1), expected);
  }
}

TEST_F(SwitchLines, RunsOfSlashesAndDashesCountAsOneAndAThirdFieldIsIgnored) {
  switch_slot();
  apply_switch("/-1--2-9//WMX-7045/more/");
  EXPECT_EQ(places(1), (Places{"WMX-7045 3:1.0", "WMX-7045 3:2.0"}));
}

TEST_F(SwitchLines, SeveralLinesOfABlockShareTheSwitch) {
  switch_slot();
  apply(
      "SLOT_NAME=\"J1\"\n"
      "PCIe_SW_DEV/WMX_SLOT=\"1-1/A\"\n"
      "FUNCTION/NAME/FEATURE=\"wrong in the other pass only\"\n"
      "# c\n"
      "PCIe_SW_DEV/WMX_SLOT=\"4-5/B\"");
  EXPECT_EQ(places(1), (Places{"A 3:1.0", "B 3:4.0", "B 3:5.0"}));
  for (std::size_t i = 1; i < 4; ++i) {
    EXPECT_EQ(slot_at(i).sysfs_path, kUpstreamPort);
  }
}

TEST_F(SwitchLines, EverySlotOfTheNameIsRetired) {
  switch_slot();
  const SlotRecord& twin = add_slot("J1", 9, 7, 1, 1);
  SlotRecord& renamed = add_slot("J1", 9, 8, 1, 1);
  std::strcpy(renamed.slot_name, "J2");
  apply_switch("1-1/S");
  EXPECT_EQ(places(0), (Places{" ff:ff.ff", " ff:ff.ff", "J2 8:1.1", "S 3:1.0"}));
  EXPECT_STREQ(twin.smbios_slot_name, "");
  EXPECT_STREQ(renamed.smbios_slot_name, "J1");
}

TEST_F(SwitchLines, ASlotWithoutASwitchIsRetiredAndItsLinesAreIgnored) {
  add_slot("J1", 9, 0, 0x1D, 0);
  EXPECT_EQ(apply("SLOT_NAME=\"J1\"\nPCIe_SW_DEV/WMX_SLOT=\"1-2/S\"\nPCIe_SW_DEV/WMX_SLOT=\"no range\"\n"), "");
  EXPECT_EQ(places(0), (Places{" ff:ff.ff"}));
  EXPECT_STREQ(slot_at(0).smbios_slot_name, "");
}

TEST_F(SwitchLines, ASwitchThatWasNotFoundIsNotTakenForTheOneBefore) {
  switch_slot();
  add_slot("J2", 9, 0, 0x1D, 0);
  apply(
      "SLOT_NAME=\"J1\"\nPCIe_SW_DEV/WMX_SLOT=\"1-1/A\"\n"
      "SLOT_NAME=\"J2\"\nPCIe_SW_DEV/WMX_SLOT=\"1-1/B\"\n");
  EXPECT_EQ(places(0), (Places{" ff:ff.ff", " ff:ff.ff", "A 3:1.0"}));
}

TEST_F(SwitchLines, ASwitchBehindASwitchIsReachedByItsNewSlotName) {
  machine_.make_directory("sys/devices/pci0000:00/0000:00:1c.0/0000:02:00.0/0000:03:01.0/0000:04:00.0/0000:05:02.0");
  switch_slot();
  apply(
      "SLOT_NAME=\"J1\"\nPCIe_SW_DEV/WMX_SLOT=\"1-1/Inner\"\nPCIe_SW_DEV/WMX_SLOT=\"2-2/Outer 2\"\n"
      "SLOT_NAME=\"Inner\"\nPCIe_SW_DEV/WMX_SLOT=\"2-3/Inner 2\"\n");
  EXPECT_EQ(places(0), (Places{" ff:ff.ff", " ff:ff.ff", "Outer 2 3:2.0", "Inner 2 5:2.0", "Inner 2 5:3.0"}));
  EXPECT_EQ(slot_at(1).sysfs_path, kUpstreamPort + "/0000:03:01.0");
  EXPECT_EQ(slot_at(4).sysfs_path, kUpstreamPort + "/0000:03:01.0/0000:04:00.0");
}

TEST_F(SwitchLines, TheBusBehindBus255Is0) {
  machine_.make_directory("sys/devices/pci0000:00/0000:00:1e.0/0000:ff:00.0");
  add_slot("J1", 9, 0, 0x1E, 0);
  apply_switch("1-1/S");
  EXPECT_EQ(places(1), (Places{"S 0:1.0"}));
  EXPECT_STREQ(slot_at(1).sysfs_path, "/sys/devices/pci0000:00/0000:00:1e.0/0000:ff:00.0");
}

TEST_F(SwitchLines, SlotNamesAreCutTo255Characters) {
  switch_slot();
  apply_switch("1-1/" + std::string(255, 'a'));
  EXPECT_EQ(slot_at(1).slot_name, std::string(255, 'a'));
  test::reset_library();
  switch_slot();
  apply_switch("1-1/" + std::string(256, 'b'));
  EXPECT_EQ(slot_at(1).slot_name, std::string(255, 'b'));
}

TEST_F(SwitchLines, ANameTooLongForItsFieldFindsTheCutOne) {
  add_slot(std::string(255, 'n'));
  EXPECT_EQ(apply("SLOT_NAME=\"" + std::string(256, 'n') + "\"\nCHANGE_NAME=\"" + std::string(900, 'm') + "\"\n"), "");
  EXPECT_EQ(slot_at(0).slot_name, std::string(255, 'm'));
  EXPECT_EQ(slot_at(0).smbios_slot_name, std::string(255, 'n'));
}

TEST_F(SwitchLines, DebugMessagesShowTheSearchAndEveryNewSlot) {
  switch_slot();
  const std::string path = machine_.user_file("qorx.cfg", "SLOT_NAME=\"J1\"\nPCIe_SW_DEV/WMX_SLOT=\"1-2/S\"\n");
  const std::string traces = test::traced_by([&] { qorx_check_conf_file_SW(path.c_str()); });
  const std::size_t value = traces.find("\nJ1\n");
  ASSERT_NE(value, std::string::npos);
  EXPECT_EQ(traces.substr(value + 1),
            "J1\n"
            "check head char of !PCIe_SW_DEV/WMX_SLOT=\"1-2/S\"\n!\n"
            "check tail char of !PCIe_SW_DEV/WMX_SLOT=\"1-2/S\"\n!\n"
            "remove tail 1 char !PCIe_SW_DEV/WMX_SLOT=\"1-2/S\"!\n"
            "can't find CHANGE_NAME=\"\n"
            "can't find FUNCTION/NAME/FEATURE=\"\n"
            "can't find FUNCTION/NAME/BUS_ORDER=\"\n"
            "get_pcie_switch_bus\n" +
                kRootPort + "\n2\n0\n0\n" + "smbios path " + kUpstreamPort + "\nsmbios path " + kUpstreamPort + "\n");
}

TEST_F(SwitchLines, APortBehindASwitchTakesItsSlotFromTheFile) {
  machine_.smbios(test::SmbiosTable().slot("J1", "00:1c.0"));
  machine_.add_port("eth0", "0000:00:1c.0/0000:02:00.0/0000:03:01.0/0000:04:00.0");
  machine_.add_port("eth1", "0000:00:1c.0/0000:02:00.0/0000:03:05.0/0000:06:00.0");
  machine_.user_file("qorx.cfg",
                     "SLOT_NAME=\"J1\"\n"
                     "PCIe_SW_DEV/WMX_SLOT=\"1-1/WMX Slot 1\"\n"
                     "PCIe_SW_DEV/WMX_SLOT=\"5-5/WMX Slot 2\"\n"
                     "SLOT_NAME=\"WMX Slot 2\"\n"
                     "FUNCTION/NAME/FEATURE=\"0/P/POE\"\n");
  const ToolRun run = machine_.run({"-a", "-config", "qorx.cfg"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(row_of(run.output, "eth0").slot, "WMX Slot 1");
  EXPECT_EQ(row_of(run.output, "eth1").slot, "WMX Slot 2");
  EXPECT_EQ(row_of(run.output, "eth1").panel, "P");
  EXPECT_EQ(row_of(machine_.run({"-a"}).output, "eth0").slot, "J1");
}

}  // namespace
}  // namespace qorx
