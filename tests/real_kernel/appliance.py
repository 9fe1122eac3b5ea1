"""What an appliance is made of, and the QEMU arguments and firmware records that make it so."""

import struct
from dataclasses import dataclass

MAC_PREFIX = "00:00:5e:00:53:"      # reserved for documentation


@dataclass(frozen=True)
class Port:
    """One PCI function with a network interface."""
    address: str                    # bus:device.function, as the firmware numbers it
    mac: str                        # last byte of the MAC address
    subsystem: str = ""             # subsystem vendor:device, where the model of the card can be told one
    card: str = "e1000e"


@dataclass(frozen=True)
class UsbPort:
    """A USB network adapter, on the controller that holds it."""
    mac: str
    card: str = "usb-net"


@dataclass(frozen=True)
class Bridge:
    """A root port, a port of a switch, a bridge to PCI, or a controller; its cards are on the bus behind it."""
    address: str
    card: str
    below: tuple = ()


def root_port(address, *below):
    return Bridge(address, "pcie-root-port", below)


def switch(address, *below):
    return Bridge(address, "x3130-upstream", below)


def switch_port(address, *below):
    return Bridge(address, "xio3130-downstream", below)


def pci_bridge(address, *below):
    return Bridge(address, "pcie-pci-bridge", below)


def host_bridge(address, *below):
    """A second host bridge, as a second processor has one; the address is QEMU's own place for it."""
    return Bridge(address, "pxb-pcie", below)


def usb_controller(address, *below):
    return Bridge(address, "qemu-xhci", below)


@dataclass(frozen=True)
class Slot:
    """The firmware's record of a slot (type 9)."""
    designation: str
    address: str


@dataclass(frozen=True)
class Onboard:
    """The firmware's record of a device on the board (type 41)."""
    designation: str
    address: str


@dataclass(frozen=True)
class Appliance:
    name: str
    bus_0: tuple                    # what hangs on the root complex
    records: tuple = ()             # of the firmware, in table order
    root_bus: str = "pcie.0"


def parse_address(text):
    """bus:device.function -> (bus, device, function)"""
    bus, rest = text.split(":")
    device, function = rest.split(".")
    return int(bus, 16), int(device, 16), int(function, 16)


def everything(things):
    """These things and all that is below them, in the order of the description."""
    for thing in things:
        yield thing
        if isinstance(thing, Bridge):
            yield from everything(thing.below)


def ports(things):
    """Every port among them."""
    return (thing for thing in everything(things) if not isinstance(thing, Bridge))


# ---- QEMU's arguments ----

def identifier(thing):
    """QEMU's name of a device: that of a port is what hot-plugging calls it by."""
    kind = "usb" if isinstance(thing, UsbPort) else "at"
    place = thing.mac if isinstance(thing, UsbPort) else thing.address
    return kind + place.replace(":", "_").replace(".", "_")


def place(thing, siblings):
    """Where on its bus a PCI function sits; function 0 tells whether there are others."""
    bus, device, function = parse_address(thing.address)
    neighbours = [other for other in siblings
                  if not isinstance(other, UsbPort) and parse_address(other.address)[:2] == (bus, device)]
    options = {"addr": f"{device:02x}.{function}"}
    if function == 0 and len(neighbours) > 1:
        options["multifunction"] = "on"
    return options


def properties(thing, bus, siblings):
    """-> QEMU's properties of a device, in the order in which they are written."""
    options = {"driver": thing.card, "id": identifier(thing), "bus": bus}
    if not isinstance(thing, UsbPort):
        options |= place(thing, siblings)
    if isinstance(thing, Bridge):
        if thing.card == "pxb-pcie":
            options["bus_nr"] = str(parse_address(thing.below[0].address)[0])
        if thing.card in ("pcie-root-port", "xio3130-downstream"):
            number = parse_address(thing.address)
            options["chassis"] = str(number[0] + 1)
            options["slot"] = str(number[1] * 8 + number[2])
        return options
    options["netdev"] = "net" + thing.mac
    options["mac"] = MAC_PREFIX + thing.mac
    if not isinstance(thing, UsbPort):
        options["romfile"] = ""
        if thing.subsystem:
            vendor, device = thing.subsystem.split(":")
            options |= {"subsys_ven": "0x" + vendor, "subsys": "0x" + device}
    return options


def bus_name(bridge):
    """QEMU's name of the bus behind a bridge."""
    return identifier(bridge) + (".0" if bridge.card == "qemu-xhci" else "")


def devices(things, bus):
    """-> the properties of every device, parents first."""
    for thing in things:
        yield thing, properties(thing, bus, things)
        if isinstance(thing, Bridge):
            yield from devices(thing.below, bus_name(thing))


def device_arguments(appliance):
    arguments = []
    for thing, options in devices(appliance.bus_0, appliance.root_bus):
        if not isinstance(thing, Bridge):
            arguments += ["-netdev", f"user,id={options['netdev']},restrict=on"]
        driver, *rest = [value if key == "driver" else f"{key}={value}" for key, value in options.items()]
        arguments += ["-device", ",".join([driver, *rest])]
    return arguments


def card_in(appliance, bus):
    """The properties of the devices on the bus behind the bridge at an address: what is pulled and plugged together."""
    found = {}
    for thing, options in devices(appliance.bus_0, appliance.root_bus):
        found.setdefault(options["bus"], []).append(options)
    return found["at" + bus.replace(":", "_").replace(".", "_")]


# ---- the firmware's records ----

def structure(kind, handle, body, designation):
    return struct.pack("<BBH", kind, 4 + len(body), handle) + body + designation.encode("ascii") + b"\0\0"


def record(thing, handle, instance=1):
    bus, device, function = parse_address(thing.address)
    where = struct.pack("<HBB", 0, bus, device << 3 | function)
    if isinstance(thing, Slot):
        # designation, PCI Express x8, 8 lanes, in use, long, slot id, 3.3 V, hot-plug
        return structure(9, handle, struct.pack("<BBBBBHBB", 1, 0xB2, 0x0B, 4, 4, handle & 0xFF, 0x0C, 0x02) + where,
                         thing.designation)
    # designation, Ethernet and enabled, which one of this kind (udev makes names of it, so they must differ)
    return structure(41, handle, struct.pack("<BBB", 1, 0x85, instance) + where, thing.designation)


def record_arguments(appliance, folder):
    """Writes the records into files in the folder; -> the arguments that give them to the firmware."""
    arguments = []
    onboard = 0
    for number, thing in enumerate(appliance.records):
        onboard += isinstance(thing, Onboard)
        path = folder / f"record{number}"
        path.write_bytes(record(thing, 0x0900 + number, onboard))
        arguments += ["-smbios", f"file={path}"]
    return arguments
