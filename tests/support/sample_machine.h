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

namespace sample {

inline const std::string kEth0 = table_line({.eth_name = "eth0",
                                             .address = "03:00.0",
                                             .ids = "8086 1521",
                                             .subsystem_ids = "13fe 0037",
                                             .mac = "02:00:00:00:00:01",
                                             .slot = "WMX Slot 3",
                                             .panel = "1 (*)",
                                             .feature = "N/A",
                                             .model = "WMX-2248"});
inline const std::string kEth1 = table_line({.eth_name = "eth1",
                                             .address = "03:00.1",
                                             .ids = "8086 1521",
                                             .subsystem_ids = "13fe 0037",
                                             .mac = "02:00:00:00:00:02",
                                             .slot = "WMX Slot 3",
                                             .panel = "2 (*)",
                                             .feature = "N/A",
                                             .model = "WMX-2248"});
inline const std::string kEth2 = table_line({.eth_name = "eth2",
                                             .address = "00:1f.6",
                                             .ids = "8086 1533",
                                             .subsystem_ids = "13fe 3016",
                                             .mac = "02:00:00:00:00:03",
                                             .slot = "LAN 1",
                                             .panel = "LAN 1 (*)",
                                             .feature = "NCSI",
                                             .model = "I210_CO"});
// Slot 4: segments from 4 * 4.
inline const std::string kEth3 = table_line({.eth_name = "eth3",
                                             .address = "04:00.0",
                                             .ids = "8086 1521",
                                             .subsystem_ids = "13fe 0035",
                                             .mac = "02:00:00:00:00:04",
                                             .slot = "WMX Slot 4",
                                             .panel = "1 (*)",
                                             .feature = "A_BYPASS-C",
                                             .seg = "16",
                                             .model = "WMX-2848"});
inline const std::string kEth4 = table_line({.eth_name = "eth4",
                                             .address = "04:00.1",
                                             .ids = "8086 1521",
                                             .subsystem_ids = "13fe 0035",
                                             .mac = "02:00:00:00:00:05",
                                             .slot = "WMX Slot 4",
                                             .panel = "2 (*)",
                                             .feature = "A_BYPASS",
                                             .seg = "16",
                                             .model = "WMX-2848"});
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
