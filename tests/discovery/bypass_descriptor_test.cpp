// The LAN-bypass descriptor in a slot designation: its grammar, its errors, and how a descriptor of the host's own I2C
// bus is corrected by the adapters that the running kernel has.
#include "discovery/bypass_descriptor.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "base/messages.h"
#include "tests/support/expect.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

constexpr int kSlot = 9;
constexpr int kOnboard = 41;

// What a port's record holds of its descriptor: path, bus, both switch ports, segment, and the flag of the control.
std::string descriptor_of(const DeviceRecord& port) {
  std::string text(1, port.bypass_type == 0 ? '0' : port.bypass_type);
  for (const int field : {port.bypass_bus, port.bypass_switch1, port.bypass_switch2, port.mcu_segment}) {
    text += "." + std::to_string(field);
  }
  return text + " flag " + std::to_string(port.bypass_ctrl_flag);
}

// Parses the descriptor of the last port, on a machine that has not been asked for its adapters before.
std::int32_t parse_last() {
  I2cAdapters adapters;
  return parse_bypass_descriptor(adapters, device_records().back());
}

Outcome parsed(const std::string& slot_name, int smbios_type = kSlot) {
  add_device("eth0", slot_name, smbios_type);
  return outcome_of(parse_last);
}

std::string traced(const std::string& slot_name, int smbios_type = kSlot) {
  add_device("eth0", slot_name, smbios_type);
  return traced_by([] { EXPECT_EQ(parse_last(), 0); });
}

void expect_descriptor(const std::string& expected) {
  EXPECT_EQ(descriptor_of(device_records().back()), expected);
}

struct Descriptor {
  std::string_view rule;
  std::vector<std::string> slot_names;  // each of them
  std::string descriptor;
  const char* wrong_area = nullptr;  // named in the message about it
  int smbios_type = kSlot;
};

class BypassDescriptor : public RowTest<Descriptor, MachineTest> {};

// Whether an error is printed or not, it is the same.
TEST_P(BypassDescriptor, Gives) {
  for (const std::string& name : row().slot_names) {
    SCOPED_TRACE(name);
    const std::string error =
        row().wrong_area == nullptr
            ? ""
            : "SMBIOS data wrong format. (" + std::string(row().wrong_area) + ") String: " + name + "\n";
    for (const bool is_printed : {true, false}) {
      g_error_message_open = is_printed ? 1 : 0;
      EXPECT_EQ(parsed(name, row().smbios_type), (Outcome{is_printed ? error : ""}));
      expect_descriptor(row().descriptor);
    }
  }
}

std::vector<std::string> around(const std::string& head, std::vector<std::string> texts, const std::string& tail) {
  for (std::string& text : texts) {
    text.insert(0, head).append(tail);
  }
  return texts;
}

const std::vector<std::string> kWrongPorts{"8", "9", "100", "254", "256", "263", "-1", "511"};

QORX_ROWS(
    BypassDescriptor,
    {"a system slot has path, bus and two switch ports", {"Slot 1 (B.3.2.255)"}, "B.3.2.255.0 flag 1"},
    {"zero is a bus and a port", {"(B.0.0.7)"}, "B.0.0.7.0 flag 1"},
    {"255 is a bus and means no switch", {"(B.255.255.255)"}, "B.255.255.255.0 flag 1"},
    {"an onboard position has a segment too", {"LAN1 (B.3.2.255.1)"}, "B.3.2.255.1 flag 1", nullptr, kOnboard},
    {"text may follow an onboard position", {"LAN1 (B.3.2.255.4) rear"}, "B.3.2.255.4 flag 1", nullptr, kOnboard},
    {"the closing parenthesis may be missing", {"(B.3.2.255.2"}, "B.3.2.255.2 flag 1", nullptr, kOnboard},
    {"a system slot ignores what follows the second switch",
     {"(B.3.2.1.9)", "(B.3.2.1) x", "(B.3.2.1"},
     "B.3.2.1.0 flag 1"},
    {"a port without a slot type is read like a system slot", {"(B.3.2.255.9)"}, "B.3.2.255.0 flag 1", nullptr, 0},
    {"a name without a parenthesis has none", {"", "Slot 1", "B.3.2.255)", "[B.3.2.255]"}, "0.0.0.0.0 flag 0"},
    {"onboard too", {"", "Slot 1", "B.3.2.255)", "[B.3.2.255]"}, "0.0.0.0.0 flag 0", nullptr, kOnboard},
    {"the first field is the path and nothing else",
     {"(X.1.2.3)", "Slot (A) (B.3.2.255)", "(h.1.2.3)", "(H1.1.2.3)", "( H.1.2.3)", "((H.1.2.3)", "(HB.1.2.3)", "(",
      "()", "(.H.1.2.3)", "(.B.1.2.3)", "(1.2.3)", "x(b.1.2.3)"},
     "0.0.0.0.0 flag 0",
     "H/B area"},
    {"the bus is below 256", {"(B.256.2.3)", "(B.999.2.3)", "(B", "(B."}, "B.0.0.0.0 flag 0", "BUS"},
    {"a negative bus is below 256", {"(B.-1.2.3)"}, "B.255.2.3.0 flag 1"},
    {"the first port is zero to seven or 255", around("(B.3.", kWrongPorts, ".255)"), "B.3.0.0.0 flag 0", "BUS"},
    {"so is the second", around("(B.3.2.", kWrongPorts, ")"), "B.3.2.0.0 flag 0", "BUS"},
    {"a missing first port is a bus error", {"(B.3)"}, "B.3.0.0.0 flag 0", "BUS"},
    {"a missing second port is a bus error", {"(B.3.2)", "(B.3.2."}, "B.3.2.0.0 flag 0", "BUS"},
    {"a field without digits is zero", {"(B.x.y.z)"}, "B.0.0.0.0 flag 1"},
    {"a number ends at another character", {"(B. 3.2x.1)"}, "B.3.2.1.0 flag 1"},
    {"runs of dots count as one", {"(B..3...2.1)"}, "B.3.2.1.0 flag 1"},
    {"the segment of an onboard position is one to four",
     around("(B.3.255.7", {".5)", ".0)", ".-1)", ".)", ".x)", "", ")", ".", "..1)", ".260)"}, ""), "B.3.255.7.0 flag 0",
     "MCU_SEGMENT", kOnboard},
    {"a whole name field is parsed", {std::string(238, 'x') + "(B.200.255.255)"}, "B.200.255.255.0 flag 1"});

using BypassPorts = MachineTest;

TEST_F(BypassPorts, SwitchPortsAndSegmentsThatExistAreTaken) {
  for (const char* const port : {"0", "1", "2", "3", "4", "5", "6", "7"}) {
    EXPECT_EQ(parsed(std::string("(B.3.") + port + ".255)"), Outcome{});
    expect_descriptor(std::string("B.3.") + port + ".255.0 flag 1");
    EXPECT_EQ(parsed(std::string("(B.3.255.") + port + ")"), Outcome{});
    expect_descriptor(std::string("B.3.255.") + port + ".0 flag 1");
  }
  for (const char* const segment : {"1", "2", "3", "4"}) {
    EXPECT_EQ(parsed(std::string("(B.3.255.7.") + segment + ")", kOnboard), Outcome{});
    expect_descriptor(std::string("B.3.255.7.") + segment + " flag 1");
  }
}

TEST_F(BypassPorts, AnErrorKeepsAControlFlagThatWasSet) {
  add_device("eth0", "(X.1.2.3)", kSlot).bypass_ctrl_flag = 1;
  EXPECT_EQ(outcome_of(parse_last).code, 0);
  expect_descriptor("0.0.0.0.0 flag 1");
}

TEST_F(BypassPorts, OnlyADescriptorWithoutErrorIsSummedUpInATrace) {
  EXPECT_EQ(traced("(B.3.2.255.1)", kOnboard),
            "Advanced LAN Bypass setting: TYPE: B, BUS: 3.2.255, MCU_SEGMENT: 1, smbios type: 41\n");
  EXPECT_EQ(traced("(B.10.255.0)"),
            "Advanced LAN Bypass setting: TYPE: B, BUS: 10.255.0, MCU_SEGMENT: 0, smbios type: 9\n");
  EXPECT_EQ(traced("(B.1.9.255)"), "SMBIOS data wrong format. (BUS) String: (B.1.9.255)\n");
}

TEST_F(BypassPorts, TheBaseboardPathNeverLooksAtTheHostsAdapters) {
  machine_.add_i2c_adapter(5, "SMBus I801 adapter at efa0").add_i2c_adapter(6, "i2c-3-mux (chan_id 2)");
  EXPECT_EQ(parsed("(B.3.2.255)"), Outcome{});
  expect_descriptor("B.3.2.255.0 flag 1");
  EXPECT_EQ(g_x86_i2c_root_port_number, -1);
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
  int smbios_type = kSlot;
};

class HostBus : public RowTest<Correction, MachineTest> {
 protected:
  HostBus() { machine_.make_directory("sys/class/i2c-adapter"); }

  static void expect_path(const std::string& path, const std::string& segment = "0") {
    expect_descriptor("H." + path + "." + segment + " flag 1");
  }

  // The traces of the descriptor parser itself, without those of the adapter searches.
  static std::string own_traces() {
    std::istringstream lines(traced(row().slot_name, row().smbios_type));
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
  const std::string segment = row().smbios_type == kOnboard ? "2" : "0";
  add_adapters(machine_, row().adapters);
  EXPECT_EQ(parsed(row().slot_name, row().smbios_type), Outcome{});
  expect_path(row().path, segment);
  g_x86_i2c_root_port_number = -1;
  EXPECT_EQ(own_traces(), row().own_trace + "Advanced LAN Bypass setting: TYPE: H, BUS: " + row().path +
                              ", MCU_SEGMENT: " + segment + ", smbios type: " + std::to_string(row().smbios_type) +
                              "\n");
  expect_path(row().path, segment);
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
    {"an onboard position is corrected too", "4=pch", "(H.1.255.255.2)", "4.255.255", differs("4", "1"), kOnboard},
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
  EXPECT_EQ(traced("(H.0.2.5)"),
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
