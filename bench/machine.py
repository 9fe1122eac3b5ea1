"""Recorded machines of any size for the benchmark, from the same parts as the sample appliances.

Ports sit four to a card behind a root port of their own; slot records name the root ports, and beyond those
addresses where nothing is.
"""

import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "examples" / "appliances"))

from machines import Bridge, Machine, Port, Slot  # noqa: E402
from make_appliances import wanted_files, write  # noqa: E402

PORTS_PER_CARD = 4
SUBSYSTEMS = ("13fe:201a", "13fe:203d", "13fe:201d", "8086:0001")


def card(number, ports):
    bus = number + 1
    root_port = f"00:{1 + number // 8:02x}.{number % 8}"
    below = tuple(
        Port(f"{bus:02x}:00.{function}", f"eth{number * PORTS_PER_CARD + function}", f"{function:02x}", "8086:1521",
             SUBSYSTEMS[number % len(SUBSYSTEMS)])
        for function in range(ports))
    return Bridge(root_port, "8086:6f02", bus, subsystem="8086:0000", below=below)


def slot(number):
    """The first ones name root ports, as firmware does; the others are empty slots on buses of their own."""
    if number < 128:
        return Slot(f"WMX Slot {number + 1}", f"00:{1 + number // 8:02x}.{number % 8}")
    spare = number - 128
    return Slot(f"PCIE Slot {number + 1}", f"{129 + spare // 32:02x}:{spare % 32:02x}.0")


def machine(ports, slots):
    cards = [card(i, min(PORTS_PER_CARD, ports - i * PORTS_PER_CARD)) for i in range(-(-ports // PORTS_PER_CARD))]
    return Machine(name="bench", product="Bench", firmware="sysfs", host_bridges={0: tuple(cards)},
                   virtual={"lo": ""}, i2c={}, tables=tuple(slot(i) for i in range(slots)))


def platform_file(slots):
    """One block a slot record: a feature line and a bus-order line."""
    blocks = []
    for i in range(slots):
        name = slot(i).designation
        blocks.append(f'SLOT_NAME="{name}"\nFUNCTION/NAME/FEATURE="0/P{i}/A_BYPASS-C"\n'
                      f'FUNCTION/NAME/BUS_ORDER="1/Q{i}/L"\n')
    return "".join(blocks)


def build(root, ports, slots):
    write(Path(root), wanted_files(machine(ports, slots)))
