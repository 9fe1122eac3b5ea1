// A small appliance that shows one port of each common kind, and the rows it is listed with.
#ifndef QORX_TESTS_SUPPORT_SAMPLE_MACHINE_H
#define QORX_TESTS_SUPPORT_SAMPLE_MACHINE_H

#include <string>

#include "tests/support/expected_table.h"
#include "tests/support/fake_machine.h"
#include "tests/support/fixture.h"

namespace qorx::test {

// An onboard port with NC-SI, a plain two-port module in slot 3, a two-port bypass module in slot 4, and a bridge.
struct SampleMachine : FakeMachine {
  SampleMachine() {
    add_port("eth0", "0000:00:1c.0/0000:03:00.0", {.subsys_vendor = 0x13FE, .subsys_device = 0x0037});
    add_port("eth1", "0000:00:1c.0/0000:03:00.1", {.subsys_vendor = 0x13FE, .subsys_device = 0x0037});
    add_port("eth2", "0000:00:1f.6", {.device = 0x1533, .subsys_vendor = 0x13FE, .subsys_device = 0x3016});
    add_port("eth3", "0000:00:1c.1/0000:04:00.0", {.subsys_vendor = 0x13FE, .subsys_device = 0x0035});
    add_port("eth4", "0000:00:1c.1/0000:04:00.1", {.subsys_vendor = 0x13FE, .subsys_device = 0x0035});
    add_virtual("br0", "02:00:00:00:00:99");
    smbios(SmbiosTable().slot("WMX Slot 4", "04:00.0").slot("WMX Slot 3", "03:00.0").onboard("LAN 1", "00:1f.6"));
  }
};

class SampleTest : public LibraryTest {
 protected:
  SampleMachine machine_;
};

// In the order of the columns.
namespace sample {

inline const std::string kEth0 = table_line({"eth0", "03:00.0", false, "8086 1521", "13fe 0037", "02:00:00:00:00:01",
                                             "WMX Slot 3", "1 (*)", "N/A", "N/A", "WMX-2248"});
inline const std::string kEth1 = table_line({"eth1", "03:00.1", false, "8086 1521", "13fe 0037", "02:00:00:00:00:02",
                                             "WMX Slot 3", "2 (*)", "N/A", "N/A", "WMX-2248"});
inline const std::string kEth2 = table_line({"eth2", "00:1f.6", false, "8086 1533", "13fe 3016", "02:00:00:00:00:03",
                                             "LAN 1", "LAN 1 (*)", "NCSI", "N/A", "I210_CO"});
// Slot 4: segments from 4 * 4.
inline const std::string kEth3 = table_line({"eth3", "04:00.0", false, "8086 1521", "13fe 0035", "02:00:00:00:00:04",
                                             "WMX Slot 4", "1 (*)", "A_BYPASS-C", "16", "WMX-2848"});
inline const std::string kEth4 = table_line({"eth4", "04:00.1", false, "8086 1521", "13fe 0035", "02:00:00:00:00:05",
                                             "WMX Slot 4", "2 (*)", "A_BYPASS", "16", "WMX-2848"});
inline const std::string kBr0 = table_line({.eth_name = "br0", .mac = "02:00:00:00:00:99"});

// Sorted by address: the onboard port is on bus 0.
inline const std::string kPorts = kEth2 + kEth0 + kEth1 + kEth3 + kEth4;
inline const std::string kWholeTable = table_of(kPorts + kBr0);

inline const std::string kTovixCfg =
    "eth_name: eth3\n"
    "SEGMENT: 16\n"
    "BUS: 04\n"
    "DEV: 00\n"
    "FUN: 0\n"
    "\n"
    "TYPE:PCIE\n"
    "\n";

}  // namespace sample

}  // namespace qorx::test

#endif
