"""SMBIOS entry points and structure tables for the sample appliances."""

import struct

from machines import Onboard, Slot

END_OF_TABLE = 127

TABLE_ADDRESS = 0xE9000         # where firmware that keeps its table below 1 MiB puts it
ENTRY_POINT_ADDRESS = 0xF0540   # any 16-byte boundary in 0xF0000-0xFFFFF
MEBIBYTE = 0x100000


def parse_address(text):
    """bus:device.function -> (bus, device << 3 | function)"""
    bus, rest = text.split(":")
    device, function = rest.split(".")
    return int(bus, 16), int(device, 16) << 3 | int(function)


def structure(kind, handle, body, strings):
    formatted = struct.pack("<BBH", kind, 4 + len(body), handle) + body
    text = b"".join(s.encode("ascii") + b"\0" for s in strings) or b"\0"
    return formatted + text + b"\0"


def slot_structure(slot, handle):
    # designation, type (PCI Express x8), width, usage, length, id, characteristics 1 and 2
    body = struct.pack("<BBBBBHBB", 1, 0xB2, 0x0B, 0x04, 0x04, handle & 0xFF, 0x0C, 0x01)
    if slot.address:
        bus, device_function = parse_address(slot.address)
        body += struct.pack("<HBB", 0, bus, device_function)
    return structure(9, handle, body, [slot.designation])


def onboard_structure(onboard, handle):
    bus, device_function = parse_address(onboard.address)
    # designation, type (Ethernet, enabled), instance, segment group, bus, device and function
    body = struct.pack("<BBBHBB", onboard.string_number, 0x85, 1, 0, bus, device_function)
    before = ["Onboard Ethernet"] * (onboard.string_number - 1)
    return structure(41, handle, body, before + [onboard.designation])


def structure_table(machine):
    """-> (table, number of structures, size of the largest one)"""
    parts = [
        structure(0, 0, struct.pack("<BBHBB", 1, 2, 0xF000, 3, 0xFF) + bytes(12),
                  ["Velmora", "1.02", "01/01/2020"]),
        structure(1, 1, struct.pack("<BBBB", 1, 2, 0, 0) + bytes(19), ["Velmora", machine.product]),
    ]
    for record in machine.tables:
        make = {Slot: slot_structure, Onboard: onboard_structure}[type(record)]
        parts.append(make(record, 0x10 + len(parts)))
    parts.append(structure(END_OF_TABLE, 0xFEFF, b"", []))
    return b"".join(parts), len(parts), max(map(len, parts))


def sealed(data, position):
    """data with the byte at position chosen so that the sum of all is 0."""
    data = bytearray(data)
    data[position] = 0
    data[position] = -sum(data) & 0xFF
    return bytes(data)


def entry_point_v2(table, count, largest):
    intermediate = sealed(b"_DMI_\0" + struct.pack("<HIHB", len(table), TABLE_ADDRESS, count, 0x26), 5)
    head = b"_SM_\0" + struct.pack("<BBBHB", 0x1F, 2, 6, largest, 0) + bytes(5)
    return sealed(head + intermediate, 4)


def entry_point_v3(table):
    # The size is an upper limit, not the length of the table: firmware rounds it up.
    limit = (len(table) + 0xFF) & ~0xFF
    return sealed(b"_SM3_\0" + struct.pack("<BBBBBBIQ", 0x18, 3, 2, 0, 1, 0, limit, TABLE_ADDRESS), 5)


def firmware_files(machine):
    """-> {path: content} of the files that hold the machine's tables."""
    table, count, largest = structure_table(machine)
    if machine.firmware == "sysfs":
        folder = "sys/firmware/dmi/tables"
        return {f"{folder}/smbios_entry_point": entry_point_v3(table), f"{folder}/DMI": table}
    memory = bytearray(MEBIBYTE)
    memory[TABLE_ADDRESS:TABLE_ADDRESS + len(table)] = table
    entry = entry_point_v2(table, count, largest)
    memory[ENTRY_POINT_ADDRESS:ENTRY_POINT_ADDRESS + len(entry)] = entry
    return {"dev/mem": bytes(memory)}
