// tovix.cfg: its records, who gets none, the warning about ports without a segment number, and forced numbers.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "records/state.h"
#include "tests/support/expect.h"
#include "tests/support/expected_table.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

const std::string kEnd = "TYPE:PCIE\n\n";
const std::string kWarning =
    "Warning! These segments can't be assigned seg number automatically!\n"
    "Please add these segments into tovix.cfg manually!\n"
    "Or you can add -tovix.cfg -F command, and this command will assign those segments from segment number 200!\n";

struct Port {
  std::string eth_name;
  int feature;
  int seg = 255;
  int ctrl_flag = 1;
  int smbios_type = 9;
  char bypass_type = 0;
  int fun = 0;
};

// The library is open, and the machine's working directory is the process's own: tovix.cfg is written there.
class TovixFile : public MachineTest {
 protected:
  TovixFile() {
    g_qorx_init = 0;
    std::filesystem::current_path(machine_.work());
  }
  ~TovixFile() override { std::filesystem::current_path(before_); }

  static DeviceRecord& add(const Port& port) {
    DeviceRecord& record = add_device(port.eth_name, "S", port.smbios_type);
    set_port(record, {.bypass_bus = 3, .bypass_switch1 = 2, .bypass_switch2 = 255, .mcu_segment = 4});
    set_port(record, {.fun = port.fun, .feature = port.feature, .bypass_ctrl_flag = port.ctrl_flag});
    return set_port(record, {.seg = port.seg, .bypass_type = port.bypass_type});
  }

  static void add_bypass_ports(int count) {
    for (int i = 0; i < count; ++i) {
      add({"eth" + std::to_string(i), QORX_FEATURE_A_BYPASS});
    }
  }

  static std::string printed() {
    return printed_by([] { EXPECT_EQ(qorx_output_tovix_cfg(), 0); });
  }

  [[nodiscard]] std::string file() const { return read_file(machine_.work() / "tovix.cfg"); }

  // The file of a run that prints nothing.
  [[nodiscard]] std::string written() const {
    EXPECT_EQ(printed(), "");
    return file();
  }

 private:
  const std::filesystem::path before_ = std::filesystem::current_path();
};

std::string record(const std::string& name, int segment, const std::string& lines = "BUS: 00\nDEV: 00\nFUN: 0\n") {
  return "eth_name: " + name + "\nSEGMENT: " + std::to_string(segment) + "\n" + lines + "\n";
}

struct Content {
  std::string_view rule;
  std::vector<Port> ports;
  std::string records;
  int force = 0;
};

class TovixRecords : public RowTest<Content, TovixFile> {};

TEST_P(TovixRecords, AreWrittenSilently) {
  g_force_flag = row().force;
  for (const Port& port : row().ports) {
    add(port);
  }
  EXPECT_EQ(written(), row().records + kEnd);
}

std::vector<Port> ports_of_all_other_features() {
  std::vector<Port> ports;
  for (int feature = 0; feature < 256; ++feature) {
    if (feature != QORX_FEATURE_A_BYPASS && feature != QORX_FEATURE_A_BYPASS_I2C) {
      ports.push_back({"eth", feature, 12});
    }
  }
  return ports;
}

Content i2c(std::string_view rule, char type, int smbios_type, int fun, const std::string& lines) {
  return {rule, {{"eth0", 64, 101, 1, smbios_type, type, fun}}, record("eth0", 101, lines)};
}

QORX_ROWS(TovixRecords, {"without ports only the end is written", {}, ""},
          {"records follow the table", {{"eth1", 2, 0}, {"eth0", 2, 254}}, record("eth1", 0) + record("eth0", 254)},
          {"a port without the controller has none", {{"eth0", 2, 12, 0}, {"eth1", 64, 12, 0}}, ""},
          {"only the value one says that it has it", {{"eth0", 2, 12, 2}, {"eth1", 64, 12, 2}}, ""},
          // Among them 0x82 and 0xC0: the mark of a mismatch keeps a port out.
          {"other features have none", ports_of_all_other_features(), ""},
          {"an i2c port without a number is left out silently", {{"eth0", 64}}, ""},
          i2c("the host's path, first pair", 'H', 9, 0, "TYPE: SYS_I2C\nBUS: 3.2.255\nMCU_SEGMENT: 1\n"),
          i2c("the baseboard's path, first pair", 'B', 9, 1, "TYPE: BMC.0.IPMI\nBUS: 3.2.255\nMCU_SEGMENT: 1\n"),
          i2c("no path, second pair", 0, 9, 2, "BUS: 3.2.255\nMCU_SEGMENT: 2\n"),
          i2c("the last port of the second pair", 'H', 9, 3, "TYPE: SYS_I2C\nBUS: 3.2.255\nMCU_SEGMENT: 2\n"),
          i2c("no third pair", 'H', 9, 4, "TYPE: SYS_I2C\nBUS: 3.2.255\n"),
          i2c("no function", 'H', 9, 255, "TYPE: SYS_I2C\nBUS: 3.2.255\n"),
          i2c("another letter is no path", 'h', 9, 0, "BUS: 3.2.255\nMCU_SEGMENT: 1\n"),
          i2c("an onboard port has the segment of its slot", 'B', 41, 5,
              "TYPE: BMC.0.IPMI\nBUS: 3.2.255\nMCU_SEGMENT: 4\n"),
          i2c("a port of no slot has none", 'B', 0, 0, "TYPE: BMC.0.IPMI\nBUS: 3.2.255\n"),
          {"forced numbers count from 200 over both kinds",
           {{"eth0", 2}, {"eth1", 2, 4}, {"eth2", 64}, {"eth3", 2, 255, 0}, {"eth4", 4}, {"eth5", 2}},
           record("eth0", 200) + record("eth1", 4) + record("eth2", 201, "BUS: 3.2.255\nMCU_SEGMENT: 1\n") +
               record("eth5", 202),
           1});

TEST_F(TovixFile, AControllingPortHasARecord) {
  DeviceRecord& port = add({"eth0", QORX_FEATURE_A_BYPASS, 12, 1, 9, 0, 2});
  port.bus = 0x5E;
  port.dev = 0x0A;
  EXPECT_EQ(written(), "eth_name: eth0\nSEGMENT: 12\nBUS: 5e\nDEV: 0a\nFUN: 2\n\nTYPE:PCIE\n\n");
}

TEST_F(TovixFile, AMismatchMarkIsLeftAlone) {
  add({"eth0", 0x82, 12});
  EXPECT_EQ(written(), kEnd);
  EXPECT_EQ(qorx_eth_device_mapping[0].feature, 0x82);
}

TEST_F(TovixFile, AnOlderFileIsReplaced) {
  machine_.user_file("tovix.cfg", std::string(5000, 'x'));
  EXPECT_EQ(written(), kEnd);
}

TEST_F(TovixFile, AFileThatCantBeCreatedOrWrittenFailsWithoutAWarning) {
  add({"eth0", QORX_FEATURE_A_BYPASS});
  std::filesystem::create_directory(machine_.work() / "tovix.cfg");
  EXPECT_EQ(traced_by([] { EXPECT_EQ(qorx_output_tovix_cfg(), QORX_ERR_OPEN_FILE); }), "");
  std::filesystem::remove(machine_.work() / "tovix.cfg");
  std::filesystem::create_symlink("/dev/full", machine_.work() / "tovix.cfg");
  EXPECT_EQ(printed_by([] { EXPECT_EQ(qorx_output_tovix_cfg(), QORX_ERR_CLOSE_FILE); }), "");
  EXPECT_EQ(wrong_seg_flag, 0);
}

TEST_F(TovixFile, WhenTheLibraryIsNotOpenTheFileIsNotTouchedAndTheFlagIsCleared) {
  machine_.user_file("tovix.cfg", "as it was");
  g_qorx_init = -1;
  wrong_seg_flag = 1;
  EXPECT_EQ(outcome_of(qorx_output_tovix_cfg),
            (Outcome{"qorx library needs to be initialized before function call.\n", 0x95}));
  EXPECT_EQ(file(), "as it was");
  EXPECT_EQ(wrong_seg_flag, 0);
}

std::string row_of(std::string_view name, std::string_view feature, std::string_view seg) {
  return table_line({name, "00:00.0", false, "0000 0000", "0000 0000", "N/A", "S", "", feature, seg, ""});
}

// The warning about one port that carries the control.
std::string warning(std::string_view name) {
  return kWarning + table_of(row_of(name, "A_BYPASS-C", "(?)"));
}

std::string whole_table() {
  return printed_by([] { qorx_print_scan_result(nullptr, nullptr, nullptr); });
}

TEST_F(TovixFile, APortWithoutANumberIsWarnedAboutWithTheTableOfSuchPorts) {
  machine_.add_virtual("br0", "02:00:00:00:00:99");
  for (const Port& port :
       {Port{"eth0", 2, 4}, {"eth1", 2}, {"eth2", 2, 255, 0}, {"eth3", 4}, {"eth4", 64}, {"eth5", 8}}) {
    add(port);
  }
  EXPECT_EQ(printed(), kWarning + table_of(row_of("eth1", "A_BYPASS-C", "(?)") + row_of("eth2", "A_BYPASS", "(?)") +
                                           table_line({.eth_name = "br0", .mac = "02:00:00:00:00:99"})));
  EXPECT_EQ(file(), record("eth0", 4) + kEnd);
}

TEST_F(TovixFile, TheWarningPrintsAtLevelZeroTooAndTheNextTableIsWhole) {
  add_bypass_ports(1);
  qorx_set_message_level(0);
  EXPECT_EQ(printed(), warning("eth0"));
  EXPECT_EQ(wrong_seg_flag, 0);
  add({"eth1", QORX_FEATURE_NA, 0});
  EXPECT_EQ(whole_table(), table_of(row_of("eth0", "A_BYPASS-C", "(?)") + row_of("eth1", "N/A", "N/A")));
}

TEST_F(TovixFile, OnlyTheValueOneForces) {
  g_force_flag = 2;
  add_bypass_ports(1);
  EXPECT_EQ(printed(), warning("eth0"));
}

TEST_F(TovixFile, ForcedNumbersStayInTheTableAndEveryRunForcesFrom200) {
  g_force_flag = 1;
  add_bypass_ports(1);
  for (int run = 0; run < 2; ++run) {
    qorx_eth_device_mapping[0].seg = 255;
    EXPECT_EQ(written(), record("eth0", 200) + kEnd);
    EXPECT_EQ(whole_table(), table_of(row_of("eth0", "A_BYPASS-C", "200")));
  }
}

// Numbers 200 to 254 are 55; the next would be 255, which means none. The counter is no byte, the field is: behind
// 255 come 0, 1, ...
TEST_F(TovixFile, The56thForcedNumberCantBeWrittenAndBehindItTheyWrap) {
  g_force_flag = 1;
  add_bypass_ports(58);
  EXPECT_EQ(printed(), warning("eth55"));
  EXPECT_TRUE(file().ends_with(record("eth54", 254) + record("eth56", 0) + record("eth57", 1) + kEnd));
}

TEST_F(TovixFile, The56thForcedNumberOfAnI2cPortIsLeftOutSilently) {
  g_force_flag = 1;
  add_bypass_ports(55);
  add({"eth55", QORX_FEATURE_A_BYPASS_I2C});
  EXPECT_TRUE(written().ends_with(record("eth53", 253) + record("eth54", 254) + kEnd)) << file();
}

}  // namespace
}  // namespace qorx::test
