// A descriptor of the host's own I2C bus is corrected by the adapters that the running kernel has.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "base/messages.h"
#include "discovery/bypass_descriptor.h"
#include "tests/support/expect.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

// The descriptor of a machine that has not been asked for its adapters before.
std::int32_t parse_descriptor(DeviceRecord& record) {
  I2cAdapters adapters;
  return parse_bypass_descriptor(adapters, record);
}

constexpr const char* kPch = "SMBus I801 adapter at efa0";

// "4=pch 9=7/4": adapter 4 is the host's, adapter 9 is channel 4 of the multiplexer on adapter 7.
void add_adapters(FakeMachine& machine, const std::string& adapters) {
  std::istringstream words(adapters);
  for (std::string word; words >> word;) {
    const std::string kind = word.substr(word.find('=') + 1);
    const std::size_t slash = kind.find('/');
    std::string name = kind == "atom" ? "Synopsys DesignWare I2C adapter" : "SMBus PIIX4 adapter at 4100";
    if (slash != std::string::npos) {
      name = "i2c-" + kind.substr(0, slash) + "-mux (chan_id " + kind.substr(slash + 1) + ")";
    }
    machine.add_i2c_adapter(std::stoi(word), kind == "pch" ? kPch : name);
  }
}

struct Correction {
  std::string_view rule;
  std::string adapters;
  std::string slot_name;
  std::string path;            // as bus.switch1.switch2
  std::string own_trace = "";  // before the line that sums up
  int smbios_type = 9;
};

class HostBus : public RowTest<Correction, MachineTest> {
 protected:
  HostBus() { machine_.make_directory("sys/class/i2c-adapter"); }

  static Outcome parsed(const std::string& slot_name, int smbios_type = 9) {
    DeviceRecord& record = add_device("eth0", slot_name, smbios_type);
    return outcome_of([&] { return parse_descriptor(record); });
  }

  static void expect_path(const std::string& path) {
    const DeviceRecord& record = device_records().back();
    expect_port(record, {.bypass_ctrl_flag = 1, .bypass_type = 'H'});
    EXPECT_EQ(std::to_string(record.bypass_bus) + "." + std::to_string(record.bypass_switch1) + "." +
                  std::to_string(record.bypass_switch2),
              path);
  }

  // The traces of the descriptor parser itself, without those of the adapter searches.
  static std::string own_traces(const std::string& slot_name, int smbios_type = 9) {
    DeviceRecord& record = add_device("eth0", slot_name, smbios_type);
    std::istringstream lines(traced_by([&] { EXPECT_EQ(parse_descriptor(record), 0); }));
    std::string kept;
    for (std::string line; std::getline(lines, line);) {
      const bool of_search = line.starts_with("/sys/class/i2c-adapter/") || line.starts_with("Root bus: ") ||
                             line.starts_with("Found I2C mux port: ") || line.starts_with("I2C mux port number: ");
      kept += of_search ? "" : line + "\n";
    }
    return kept;
  }
};

TEST_P(HostBus, IsCorrectedAndTraced) {
  add_adapters(machine_, row().adapters);
  EXPECT_EQ(parsed(row().slot_name, row().smbios_type), Outcome{});
  expect_path(row().path);
  const DeviceRecord& record = device_records().back();
  const std::string sum = "Advanced LAN Bypass setting: TYPE: H, BUS: " + row().path +
                          ", MCU_SEGMENT: " + std::to_string(record.mcu_segment) +
                          ", smbios type: " + std::to_string(row().smbios_type) + "\n";
  g_x86_i2c_root_port_number = -1;
  EXPECT_EQ(own_traces(row().slot_name, row().smbios_type), row().own_trace + sum);
  expect_path(row().path);
}

std::string differs(const std::string& host, const std::string& firmware) {
  return "x86 I2C root port number (" + host + ") is different than BIOS assigned value (" + firmware +
         ").\nUse x86 I2C root port number: " + host + "\n";
}

std::string no_host(const std::string& firmware) {
  return "No x86 I2C root port match exist pattern. Use BIOS assigned root port number (" + firmware + ").\n";
}

std::string driven(const std::string& which, const std::string& adapter) {
  return "[eth0] I2C switch driver for switch " + which + " detected. Overwrite root port. (" + adapter + ")\n";
}

// Channels are named by their parent: what stands behind an adapter, whose number may be cut to a byte.
QORX_ROWS(
    HostBus,
    {"the host adapter replaces the firmware's bus", "0=other 4=pch", "(H.1.255.255)", "4.255.255", differs("4", "1")},
    {"traces are silent where the host agrees", "4=pch", "(H.4.255.255)", "4.255.255"},
    {"an onboard position is corrected too", "4=pch", "(H.1.255.255.2)", "4.255.255", differs("4", "1"), 41},
    {"the atom adapter is taken where there is no pch adapter", "6=atom", "(H.1.255.255)", "6.255.255",
     differs("6", "1")},
    {"the pch adapter comes first", "0=atom 1=pch 2=atom", "(H.7.255.255)", "1.255.255", differs("1", "7")},
    {"without a host adapter the firmware's bus stays", "0=other", "(H.7.255.255)", "7.255.255", no_host("7")},
    {"without any adapter too", "", "(H.7.255.255)", "7.255.255", no_host("7")},
    {"a host adapter of number 255 counts as none", "255=pch 3=atom", "(H.7.255.255)", "3.255.255", differs("3", "7")},
    {"its number is cut to a byte where it is stored", "300=pch", "(H.44.255.255)", "44.255.255", differs("300", "44")},
    {"a channel that the kernel drives replaces bus and switch", "0=pch 1=0/2", "(H.0.2.255)", "1.255.255",
     driven("1", "1")},
    {"one that it does not drive stays", "0=pch 1=0/2", "(H.0.3.255)", "0.3.255"},
    {"the first switch sits on the corrected bus", "5=pch 20=1/2 21=5/2", "(H.1.2.255)", "21.255.255",
     differs("5", "1") + driven("1", "21")},
    {"the second switch sits on the first one's channel", "7=pch 73=7/1 80=73/2", "(H.7.1.2)", "80.255.255",
     driven("1", "73") + driven("2", "80")},
    {"only the first is driven", "7=pch 73=7/1 80=73/2", "(H.7.1.3)", "73.255.3", driven("1", "73")},
    {"without a first switch the second sits on the bus", "7=pch 9=7/4", "(H.7.255.4)", "9.255.255", driven("2", "9")},
    // The first switch is still on the way: its port number stands where an adapter number is expected.
    {"behind a first switch without a driver its port is taken for the parent", "7=pch 9=7/4 11=3/4", "(H.7.3.4)",
     "11.3.255", driven("2", "11")},
    {"a channel of number 255 counts as none", "0=pch 255=0/2", "(H.0.2.255)", "0.2.255"},
    {"channels are looked for even without a host adapter", "12=7/0", "(H.7.0.255)", "12.255.255",
     no_host("7") + driven("1", "12")},
    {"a channel's number is cut to a byte where it is stored", "0=pch 1=0/2 300=1/5", "(H.0.2.5)", "44.255.255",
     driven("1", "1") + driven("2", "300")});

TEST_F(HostBus, TheHostAdapterIsSearchedForOnce) {
  machine_.add_i2c_adapter(4, kPch);
  EXPECT_EQ(parsed("(H.1.255.255)"), Outcome{});
  EXPECT_EQ(g_x86_i2c_root_port_number, 4);
  machine_.remove("sys/class/i2c-adapter");
  EXPECT_EQ(parsed("(H.2.255.255)"), Outcome{});
  expect_path("4.255.255");
}

TEST_F(HostBus, ASearchInVainIsNotRepeatedForTheNextPort) {
  EXPECT_EQ(parsed("(H.1.255.255)"), Outcome{});
  EXPECT_EQ(g_x86_i2c_root_port_number, 255);
  machine_.add_i2c_adapter(4, kPch);
  EXPECT_EQ(parsed("(H.2.255.255)"), Outcome{});
  expect_path("2.255.255");
}

// The codes of the channel searches are of no account.
TEST_F(HostBus, MissingAdaptersFailTheFirstSearchOnly) {
  const std::string line = "Error: Cannot access /sys/class/i2c-adapter\n";
  machine_.remove("sys/class/i2c-adapter");
  EXPECT_EQ(parsed("(H.1.0.255)"), (Outcome{line, 0x98}));
  EXPECT_EQ(device_records().back().bypass_ctrl_flag, 1);
  EXPECT_EQ(g_x86_i2c_root_port_number, 255);
  EXPECT_EQ(parsed("(H.1.0.0)"), (Outcome{line + line, 0}));
  expect_path("1.0.0");
}

TEST_F(HostBus, TracesOfTheSearchesStandWhereTheyHappen) {
  machine_.add_i2c_adapter(0, kPch);
  DeviceRecord& record = add_device("eth0", "(H.0.2.5)", 9);
  EXPECT_EQ(traced_by([&] { EXPECT_EQ(parse_descriptor(record), 0); }),
            "/sys/class/i2c-adapter/i2c-0/name, i2c-0\n"
            "Root bus: i2c-0, founded.\n"
            "Found I2C mux port: i2c-0-mux (chan_id 2)\n"
            "/sys/class/i2c-adapter/i2c-0/name, i2c-0\n"
            "I2C mux port number: 255\n"
            "Found I2C mux port: i2c-2-mux (chan_id 5)\n"
            "/sys/class/i2c-adapter/i2c-0/name, i2c-0\n"
            "I2C mux port number: 255\n"
            "Advanced LAN Bypass setting: TYPE: H, BUS: 0.2.5, MCU_SEGMENT: 0, smbios type: 9\n");
}

}  // namespace
}  // namespace qorx::test
