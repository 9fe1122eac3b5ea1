"""The sample appliances, as data: what is plugged in where, and what the firmware says about it.

make_appliances.py turns these descriptions into the trees below edge/root and legacy/root.
All MAC addresses are from the range reserved for documentation (00:00:5e:00:53:xx).
"""

from dataclasses import dataclass


@dataclass(frozen=True)
class Port:
    """One PCI function with a network interface."""
    address: str            # bus:device.function
    name: str
    mac: str                # last byte of the MAC address
    ids: str                # vendor:device
    subsystem: str          # subsystem vendor:device


@dataclass(frozen=True)
class UsbPort:
    """A USB network adapter; it sits below the USB controller that holds it."""
    name: str
    mac: str
    path: str               # below the controller
    product: str            # PRODUCT= of its uevent file


@dataclass(frozen=True)
class Function:
    """Any other PCI function; USB adapters may hang below it."""
    address: str
    ids: str
    subsystem: str
    pci_class: int
    below: tuple = ()


@dataclass(frozen=True)
class Bridge:
    """A root port, a switch port or a PCI bridge."""
    address: str
    ids: str
    to_bus: int             # the bus on its other side
    subsystem: str = ""     # capability 0x0D; without it the bridge names no subsystem
    service: bool = False   # the kernel's port service directory stands beside the devices
    below: tuple = ()


@dataclass(frozen=True)
class Slot:
    """Type 9. Without an address the structure is as short as firmware before 2.6 wrote it."""
    designation: str
    address: str = ""


@dataclass(frozen=True)
class Onboard:
    """Type 41. The designation is the string_number-th string of the structure."""
    designation: str
    address: str
    string_number: int = 1


@dataclass(frozen=True)
class Machine:
    name: str
    product: str
    firmware: str           # "sysfs": version 3 tables as the kernel exports them; "memory": version 2 below 1 MiB
    host_bridges: dict      # root bus -> what hangs on it
    virtual: dict           # interface -> last byte of its MAC address
    i2c: dict               # adapter number -> name
    tables: tuple           # type 9 and 41 structures in table order


def quad(bus, first, ids, subsystems, mac):
    """The functions 0, 1, ... of one controller, with interfaces eth<first>, eth<first + 1>, ..."""
    return tuple(
        Port(f"{bus:02x}:00.{n}", f"eth{first + n}", f"{mac + n:02x}", ids, subsystem)
        for n, subsystem in enumerate(subsystems))


USB3_HOST = 0x0C0330
USB2_HOST = 0x0C0320
SMBUS = 0x0C0500

EDGE = Machine(
    name="edge",
    product="Edge appliance",
    firmware="sysfs",
    host_bridges={
        0x00: (
            Bridge("00:06.0", "8086:7270", 0x03, "8086:7270", below=(
                Port("03:00.0", "eth0", "00", "8086:37d0", "13fe:3030"),
                Port("03:00.1", "eth1", "01", "8086:37d0", "13fe:301d"))),
            Bridge("00:08.0", "8086:7270", 0x04, "8086:7270", below=(
                Port("04:00.0", "eth2", "02", "8086:1533", "13fe:3023"),)),
            Bridge("00:09.0", "8086:7270", 0x05, "8086:7270", below=(
                Port("05:00.0", "eth3", "03", "8086:1533", "8086:0000"),)),
            Bridge("00:0a.0", "8086:7270", 0x06, "8086:7270", below=quad(
                0x06, 4, "8086:15e4", ["13fe:301b", "13fe:301b"], 0x04)),
            Bridge("00:0b.0", "8086:7270", 0x07, "8086:7270", below=(
                Port("07:00.0", "eth6", "06", "8086:125c", "13fe:3043"),)),
            Bridge("00:0c.0", "8086:7270", 0x08, "8086:7270", below=(
                Port("08:00.0", "eth7", "07", "8086:125c", "13fe:3043"),)),
            # WMX Slot 1: a module whose bypass is controlled over I2C
            Bridge("00:10.0", "8086:7270", 0x09, "8086:7270", below=quad(
                0x09, 8, "8086:1521", ["13fe:205d"] * 4, 0x08)),
            # WMX Slot 2: only the first function of the controller carries the maker's ids
            Bridge("00:11.0", "8086:7270", 0x0a, "8086:7270", below=quad(
                0x0a, 12, "8086:1583", ["13fe:2013", "8086:0000"], 0x0c)),
            # PCIE Slot 1: a card that nobody knows; PCIE Slot 2 is empty
            Bridge("00:12.0", "8086:7270", 0x11, "8086:7270", below=(
                Port("11:00.0", "eth17", "11", "15b3:1015", "15b3:0003"),)),
            Bridge("00:13.0", "8086:7270", 0x12, "8086:7270"),
            Function("00:14.0", "8086:a1af", "8086:7270", USB3_HOST, below=(
                UsbPort("enx00005e005380", "80", "usb1/1-2/1-2:1.0", "bda/8153/3000"),)),
            # SW Slot 3: a switch; one module uses its first two ports, the third leads to an empty slot
            Bridge("00:1c.0", "8086:a190", 0x0b, "8086:7270", service=True, below=(
                Bridge("0b:00.0", "10b5:8713", 0x0c, below=(
                    Bridge("0c:01.0", "10b5:8713", 0x0d, below=(
                        Port("0d:00.0", "eth14", "0e", "8086:1533", "13fe:2045"),)),
                    Bridge("0c:02.0", "10b5:8713", 0x0e, below=(
                        Port("0e:00.0", "eth15", "0f", "8086:1533", "13fe:2045"),)),
                    Bridge("0c:03.0", "10b5:8713", 0x13))),)),
            # WMX Slot 5: the module's bridge carries the maker's ids, its port is behind a USB controller
            Bridge("00:1d.0", "8086:a198", 0x0f, "8086:7270", below=(
                Bridge("0f:00.0", "10b5:8603", 0x10, "13fe:204a", below=(
                    Function("10:00.0", "1912:0014", "1912:0014", USB3_HOST, below=(
                        UsbPort("eth16", "10", "usb3/3-1/3-1:1.0", "b95/1790/100"),)),)),)),
            Function("00:1f.4", "8086:a1a3", "8086:7270", SMBUS),
        ),
        # the second host bridge: the firmware forgot the slot behind it
        0x64: (
            Bridge("64:02.0", "8086:2032", 0x65, "8086:0000", below=(
                Port("65:00.0", "eth18", "12", "8086:1521", "13fe:0011"),)),
        ),
    },
    virtual={"lo": None, "br0": "00"},
    i2c={
        0: "SMBus I801 adapter at efa0",
        3: "i2c-0-mux (chan_id 0)",
        4: "i2c-0-mux (chan_id 1)",
        5: "i2c-0-mux (chan_id 2)",
        6: "i2c-0-mux (chan_id 3)",
        8: "i2c-6-mux (chan_id 0)",
        9: "i2c-6-mux (chan_id 1)",
    },
    tables=(
        Slot("WMX Slot 1 (H.1.2.255)", "09:00.0"),
        Slot("WMX Slot 2", "0a:00.0"),
        Slot("SW Slot 3", "00:1c.0"),
        Slot("WMX Slot 5", "0f:00.0"),
        Slot("PCIE Slot 1", "00:12.0"),
        Slot("PCIE Slot 2", "00:13.0"),
        Onboard("SFP1", "03:00.0"),
        Onboard("SFP2", "03:00.1"),
        Onboard("LAN1", "04:00.0"),
        Onboard("LAN2", "05:00.0", string_number=2),
        Onboard("LAN3", "06:00.0"),
        Onboard("LAN4", "06:00.1"),
        Onboard("LAN5 (B.3.2.255.1)", "07:00.0"),
        Onboard("LAN6 (B.3.2.255.1)", "08:00.0"),
    ),
)

LEGACY = Machine(
    name="legacy",
    product="Older appliance",
    firmware="memory",
    host_bridges={
        0x00: (
            # WMX Slot 1 and 2: two root ports that differ in the function number only
            Bridge("00:01.0", "8086:0e02", 0x01, "8086:0000", below=quad(
                0x01, 0, "8086:1521", ["8086:0000"] * 4, 0x20)),
            Bridge("00:01.1", "8086:0e03", 0x02, "8086:0000", below=quad(
                0x02, 4, "8086:10fb", ["8086:000c"] * 2, 0x24)),
            # WMX Slot 3: two copper and two fibre ports of one controller
            Bridge("00:03.0", "8086:0e08", 0x03, "8086:0000", below=(
                Port("03:00.0", "eth6", "26", "8086:1521", "8086:0000"),
                Port("03:00.1", "eth7", "27", "8086:1521", "8086:0000"),
                Port("03:00.2", "eth8", "28", "8086:1522", "8086:0000"),
                Port("03:00.3", "eth9", "29", "8086:1522", "8086:0000"))),
            # WMX Slot 4: wired to two root ports
            Bridge("00:05.0", "8086:0e0a", 0x04, "8086:0000", below=quad(
                0x04, 10, "8086:1572", ["8086:0000"] * 2, 0x2a)),
            Bridge("00:06.0", "8086:0e0c", 0x05, "8086:0000", below=quad(
                0x05, 12, "8086:1572", ["8086:0000"] * 2, 0x2c)),
            Bridge("00:1c.0", "8086:1d10", 0x06, below=(
                Port("06:00.0", "eth14", "2e", "8086:10d3", "8086:0000"),)),
            Bridge("00:1c.1", "8086:1d12", 0x07, below=(
                Port("07:00.0", "eth15", "2f", "8086:10d3", "8086:0000"),)),
            Bridge("00:1c.4", "8086:1d18", 0x08, below=quad(
                0x08, 16, "8086:10e6", ["8086:0000"] * 2, 0x30)),
            Bridge("00:1c.6", "8086:1d1c", 0x0a),
            Function("00:1d.0", "8086:1d26", "8086:0000", USB2_HOST, below=(
                UsbPort("usb0", "81", "usb2/2-1/2-1:1.0", "b95/772b/1"),)),
            # a plain PCI card that no slot record names
            Bridge("00:1e.0", "8086:244e", 0x09, below=(
                Port("09:02.0", "eth18", "32", "8086:100e", "8086:001e"),)),
        ),
    },
    virtual={"lo": None, "eth14.100": "2e"},
    i2c={},
    tables=(
        Slot("PCI 1"),
        Slot("Mini PCIe", "00:1c.6"),
        Slot("WMX Slot 1      ", "00:01.0"),
        Slot("WMX Slot 2      ", "00:01.1"),
        Slot("WMX Slot 3      ", "00:03.0"),
        Slot("WMX Slot 4      ", "00:05.0"),
        Slot("  WMX Slot 4", "00:06.0"),
        Slot("PCIE Slot 5     ", "00:1c.4"),
        Onboard("LAN1", "06:00.0"),
        Onboard("LAN2", "07:00.0"),
    ),
)

MACHINES = (EDGE, LEGACY)
