"""The sysfs side of the sample appliances: PCI devices, network interfaces, I2C adapters."""

import posixpath
import struct

from machines import Bridge, Function, Port, UsbPort
from smbios_tables import parse_address

ETHERNET = 0x020000
PCI_BRIDGE = 0x060400

# capabilities of a bridge, chained in this order
PCI_EXPRESS_AT = 0x40
SUBSYSTEM_AT = 0x88


class Link(str):
    """A file that is a symbolic link to this text."""


def two_ids(text):
    first, second = text.split(":")
    return struct.pack("<HH", int(first, 16), int(second, 16))


def header(ids, pci_class, header_type, capabilities):
    space = bytearray(0x40)
    space[0x00:0x04] = two_ids(ids)
    space[0x04:0x08] = struct.pack("<HH", 0x0006, 0x0010 if capabilities else 0)
    space[0x09:0x0C] = struct.pack("<I", pci_class)[:3]
    space[0x0E] = header_type
    return space


def endpoint_config(ids, subsystem, pci_class, several):
    space = header(ids, pci_class, 0x80 if several else 0x00, True)
    space[0x2C:0x30] = two_ids(subsystem)
    space[0x34] = 0x40
    return bytes(space)


def bridge_config(bridge):
    space = header(bridge.ids, PCI_BRIDGE, 0x01, True) + bytes(0xC0)
    last = max([bridge.to_bus] + [inner.to_bus for inner in bridge.below if isinstance(inner, Bridge)])
    space[0x18:0x1B] = bytes([parse_address(bridge.address)[0], bridge.to_bus, last])
    space[0x34] = PCI_EXPRESS_AT
    space[PCI_EXPRESS_AT:PCI_EXPRESS_AT + 2] = bytes([0x10, SUBSYSTEM_AT if bridge.subsystem else 0])
    if bridge.subsystem:
        space[SUBSYSTEM_AT:SUBSYSTEM_AT + 2] = bytes([0x0D, 0])
        space[SUBSYSTEM_AT + 4:SUBSYSTEM_AT + 8] = two_ids(bridge.subsystem)
    return bytes(space)


class Tree:
    """Collects {path: content}; a content is bytes or a Link."""

    def __init__(self):
        self.files = {}

    def text(self, path, content):
        self.files[path] = content.encode("ascii")

    def link(self, path, target):
        self.files[path] = Link(posixpath.relpath(target, posixpath.dirname(path)))

    def pci_device(self, folder, address, config, driver):
        self.files[f"{folder}/config"] = config
        self.text(f"{folder}/uevent", f"DRIVER={driver}\nPCI_SLOT_NAME=0000:{address}\n")
        self.link(f"sys/bus/pci/devices/0000:{address}", folder)

    def interface(self, folder, name, mac):
        """folder: the directory of the device that has the interface."""
        self.text(f"{folder}/net/{name}/address", f"00:00:5e:00:53:{mac}\n" if mac else "00:00:00:00:00:00\n")
        self.link(f"sys/class/net/{name}", f"{folder}/net/{name}")

    def device_interface(self, folder, name, mac):
        self.interface(folder, name, mac)
        self.link(f"{folder}/net/{name}/device", folder)

    def add(self, parent, thing, several=False):
        if isinstance(thing, UsbPort):
            folder = f"{parent}/{thing.path}"
            self.text(f"{folder}/uevent",
                      f"DEVTYPE=usb_interface\nDRIVER=usbnet\nPRODUCT={thing.product}\nTYPE=0/0/0\n")
            self.device_interface(folder, thing.name, thing.mac)
            return
        folder = f"{parent}/0000:{thing.address}"
        if isinstance(thing, Port):
            config = endpoint_config(thing.ids, thing.subsystem, ETHERNET, several)
            self.pci_device(folder, thing.address, config, "nic")
            self.device_interface(folder, thing.name, thing.mac)
        elif isinstance(thing, Function):
            config = endpoint_config(thing.ids, thing.subsystem, thing.pci_class, False)
            self.pci_device(folder, thing.address, config, "host")
            self.add_all(folder, thing.below)
        else:
            self.pci_device(folder, thing.address, bridge_config(thing), "pcieport")
            if thing.service:
                self.text(f"{folder}/0000:{thing.address}:pcie001/uevent", "DRIVER=pcie_pme\n")
            self.add_all(folder, thing.below)

    def add_all(self, parent, things):
        ports = sum(isinstance(thing, Port) for thing in things)
        for thing in things:
            self.add(parent, thing, several=ports > 1)

    def add_i2c(self, adapters):
        host = "sys/devices/pci0000:00/0000:00:1f.4"
        for number, name in adapters.items():
            folder = f"{host}/i2c-{number}"
            self.text(f"{folder}/name", name + "\n")
            self.link(f"sys/class/i2c-adapter/i2c-{number}", folder)


def sysfs_files(machine):
    tree = Tree()
    for bus, things in machine.host_bridges.items():
        tree.add_all(f"sys/devices/pci0000:{bus:02x}", things)
    for name, mac in machine.virtual.items():
        tree.interface("sys/devices/virtual", name, mac)
    tree.add_i2c(machine.i2c)
    return tree.files
