"""Recorded machines of any size for the benchmark, from the same parts as the sample appliances.

Cards of four ports sit as they do in appliances: behind a root port, behind a bridge of their own, behind a switch, or
both. Their bridges carry the capability chains of real chips, every fourth card has its bypass controlled over I2C,
and the slot records beyond the cards name addresses where nothing is.
"""

import struct
import sys
from dataclasses import dataclass
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "examples" / "appliances"))

from machines import Bridge, Machine, Port, Slot  # noqa: E402
from make_appliances import wanted_files, write  # noqa: E402

PORTS_PER_CARD = 4
SUBSYSTEMS = ("13fe:205d", "13fe:203d", "13fe:201d", "8086:0001")  # by card; the first has I2C bypass
WITHOUT_I2C = "13fe:201a"
HOST_ADAPTER = "SMBus I801 adapter at efa0"
VIRTUAL = ("br0", "bond0", "eth0.100", "tun0")
CARDS_PER_GROUP = 8
LAST_BUS = 255

# Capability chains, as (capability, offset) from the pointer in the header on; the last one may be 0x0D, which holds
# the bridge's subsystem ids. A root port, and a switch.
ROOT_PORT_CHAIN = ((0x10, 0x40), (0x05, 0x80), (0x0D, 0x90), (0x01, 0xA0))
SWITCH_CHAIN = ((0x01, 0x40), (0x05, 0x48), (0x10, 0x68), (0x0D, 0xA4))


@dataclass(frozen=True)
class Size:
    ports: int
    slots: int
    i2c_cards: int = 4          # every n-th card has I2C bypass; 0: none, 1: all
    adapters: int = 9
    virtual: int = 4
    bridges: int = 4            # most bridges above a port, 1 to 4
    slots_on_one_bus: bool = False


def chained(config, chain):
    """A bridge's configuration space with these capabilities instead of its own."""
    space = bytearray(config[:0x40] + bytes(0xC0))
    subsystem = bytes(4)
    if config[0x88] == 0x0D:
        subsystem = config[0x8C:0x90]
    space[0x34] = chain[0][1]
    for (capability, offset), following in zip(chain, (*chain[1:], (0, 0))):
        space[offset:offset + 2] = struct.pack("BB", capability, following[1])
        if capability == 0x0D:
            space[offset + 4:offset + 8] = subsystem
    return bytes(space)


class Builder:
    """Hands out root ports and bus numbers, and remembers where each card's slot is."""

    def __init__(self, size):
        self.size = size
        self.root_ports = 0
        self.buses = 0
        self.cards = 0
        self.slot_addresses = []
        self.switches = set()

    def bus(self):
        self.buses += 1
        assert self.buses <= LAST_BUS, "more buses than a PCI domain has"
        return self.buses

    def root_port(self, make_below):
        address = f"00:{1 + self.root_ports // 8:02x}.{self.root_ports % 8}"
        self.root_ports += 1
        return self.bridge(address, make_below, root=True)

    def bridge(self, address, make_below, root=False):
        if not root:
            self.switches.add(address)
        bus = self.bus()
        return Bridge(address, "8086:6f02" if root else "10b5:8713", bus, subsystem="8086:0000" if root else "10b5:8713",
                      below=make_below(bus))

    def ports(self, bus):
        size, number = self.size, self.cards
        self.cards += 1
        has_i2c = size.i2c_cards and number % size.i2c_cards == 0
        subsystem = SUBSYSTEMS[0] if has_i2c else (WITHOUT_I2C, *SUBSYSTEMS[1:])[number % len(SUBSYSTEMS)]
        count = min(PORTS_PER_CARD, size.ports - number * PORTS_PER_CARD)
        return tuple(
            Port(f"{bus:02x}:00.{function}", f"eth{number * PORTS_PER_CARD + function}", f"{function:02x}", "8086:1521",
                 subsystem) for function in range(count))

    def at(self, address):
        self.slot_addresses.append(address)
        return address

    def card(self, bus):
        return self.ports(bus)

    def bridged_card(self, bus):
        return (self.bridge(f"{bus:02x}:00.0", self.ports),)

    def group(self, cards):
        """A root port each for the first half, one of two cards with a bridge of its own; a switch for the others."""
        things = []
        direct = [0, 1, 0, 1][:cards]
        switched = [0, 0, 0, 1][:max(0, cards - 4)]
        most = self.size.bridges
        for own_bridge in direct:
            things.append(self.root_port(self.bridged_card if own_bridge and most > 1 else self.card))
            self.at(things[-1].address)
        if most < 3:
            for own_bridge in switched:
                things.append(self.root_port(self.bridged_card if own_bridge and most > 1 else self.card))
                self.at(things[-1].address)
        elif switched:
            things.append(self.root_port(lambda bus: (self.bridge(f"{bus:02x}:00.0", lambda inner: tuple(
                self.bridge(self.at(f"{inner:02x}:{number:02x}.0"),
                            self.bridged_card if own_bridge and most > 3 else self.card)
                for number, own_bridge in enumerate(switched, 1))),)))
        return things

    def all_cards(self):
        left = -(-self.size.ports // PORTS_PER_CARD)
        things = []
        while left > 0:
            things += self.group(min(left, CARDS_PER_GROUP))
            left -= CARDS_PER_GROUP
        return tuple(things)

    def slot(self, number):
        """The first ones name what a card is plugged into, as firmware does; the others are empty slots."""
        has_i2c = self.size.i2c_cards and number % self.size.i2c_cards == 0
        name = f"WMX Slot {number + 1}" + (f" (H.0.{number % 8}.255)" if has_i2c else "")
        if self.size.slots_on_one_bus:
            return Slot(name, f"00:{number // 8 % 32:02x}.{number % 8}")
        if number < len(self.slot_addresses):
            return Slot(name, self.slot_addresses[number])
        spare = number - len(self.slot_addresses)
        return Slot(f"PCIE Slot {number + 1}", f"{LAST_BUS - spare // 32:02x}:{spare % 32:02x}.0")


def adapters(count):
    """The host's adapter, the channels of a multiplexer on it, and further multiplexers behind those."""
    names = {0: HOST_ADAPTER}
    for number in range(1, count):
        names[number] = f"i2c-{(number - 1) // 8}-mux (chan_id {(number - 1) % 8})"
    return names if count else {}


def with_real_chains(files, switches):
    for path, content in files.items():
        if path.endswith("/config") and content[0x0E] & 0x7F == 1:
            address = path.split("/")[-2].removeprefix("0000:")
            files[path] = chained(content, SWITCH_CHAIN if address in switches else ROOT_PORT_CHAIN)
    return files


def build(root, size):
    """Writes the machine's tree; returns the builder, which knows its slots."""
    builder = Builder(size)
    below = builder.all_cards()
    machine = Machine(name="bench", product="Bench", firmware="sysfs", host_bridges={0: below},
                      virtual={"lo": "", **{name: "aa" for name in VIRTUAL[:size.virtual]}},
                      i2c=adapters(size.adapters), tables=tuple(builder.slot(i) for i in range(size.slots)))
    write(Path(root), with_real_chains(wanted_files(machine), builder.switches))
    return builder


def platform_file(builder):
    """One block a slot record: a feature line and a bus-order line."""
    blocks = []
    for i in range(builder.size.slots):
        name = builder.slot(i).designation
        blocks.append(f'SLOT_NAME="{name}"\nFUNCTION/NAME/FEATURE="0/P{i}/A_BYPASS-C"\n'
                      f'FUNCTION/NAME/BUS_ORDER="1/Q{i}/L"\n')
    return "".join(blocks)


def module_name_file(lines):
    """As many lines as a file made by a script may have; few of the modules are fitted."""
    return "".join(f"WMX-{number % 10000:04d} {'A_BYPASS' if number % 2 else 'N/A'}\n" for number in range(lines))
