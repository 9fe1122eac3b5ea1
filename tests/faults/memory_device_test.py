#!/usr/bin/env python3
"""The branch of /dev/mem that an appliance runs: a character device, played by a library loaded before the program.

Usage: memory_device_test.py REPLAY-PROGRAM DEVICE-LIBRARY [REALDATA-DIRECTORY]

The same memory is given once as a regular file, which is read, and once as a device, which is mapped: what is printed
must be the same, traces included. Where the slots lie is known from the table itself, walked here a second time.
"""
import os
import pathlib
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(__file__).resolve().parents[2]
EDGE = SOURCE / "examples/appliances/edge/root"
LEGACY_AREA, LEGACY_LAST = 0xF0000, 0xFFFE0
REPLAY = LIBRARY = REALDATA = None


def checksum(data):
    return -sum(data) & 0xFF


def entry_point_2(address, length):
    """DSP0134 5.2.1, 31 bytes: length at 22, address at 24, checksums at 21 (from 16) and 4."""
    entry = bytearray(b"_SM_\0\x1f\x02\x08" + bytes(8) + b"_DMI_\0" + struct.pack("<HIHB", length, address, 0, 0x28))
    entry[21] = checksum(entry[16:31])
    entry[4] = checksum(entry)
    return bytes(entry)


def entry_point_3(address, length):
    """DSP0134 5.2.2, 24 bytes: maximum size at 12, address at 16, checksum at 5."""
    entry = bytearray(b"_SM3_\0\x18\x03\x02\0\x01\0" + struct.pack("<IQ", length, address))
    entry[5] = checksum(entry)
    return bytes(entry)


def slot_types(table):
    """The types 9 and 41 among the structures of a table, in order."""
    found, offset = [], 0
    while offset + 2 <= len(table):
        end = table.find(b"\0\0", offset + table[offset + 1])
        if end < 0:
            break
        if table[offset] in (9, 41):
            found.append(table[offset])
        offset = end + 2
    return found


def tables():
    """Name and bytes of the tables to try: those of the samples, and the recorded ones where there are any."""
    yield "edge", (EDGE / "sys/firmware/dmi/tables/DMI").read_bytes()
    folders = sorted(pathlib.Path(REALDATA, "smbios").iterdir()) if REALDATA else []
    for folder in folders:
        yield folder.name, (folder / "DMI").read_bytes()


class MemoryDevice(unittest.TestCase):
    maxDiff = 2000

    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory()
        cls.root = pathlib.Path(cls.scratch.name, "root")
        shutil.copytree(EDGE, cls.root, symlinks=True)
        shutil.rmtree(cls.root / "sys/firmware")
        (cls.root / "dev").mkdir(exist_ok=True)
        cls.empty = pathlib.Path(cls.scratch.name, "empty")
        cls.empty.mkdir()

    @classmethod
    def tearDownClass(cls):
        cls.scratch.cleanup()

    def lay(self, pieces, end=None, systab=None):
        """Writes the memory: {address: bytes}, holes between them, cut or stretched to `end`."""
        with open(self.root / "dev/mem", "wb") as memory:
            for address, piece in pieces.items():
                memory.seek(address)
                memory.write(piece)
            memory.truncate(end if end is not None else max(0x100000, memory.seek(0, os.SEEK_END)))
        shutil.rmtree(self.root / "sys/firmware", ignore_errors=True)
        if systab:
            (self.root / "sys/firmware/efi").mkdir(parents=True)
            (self.root / "sys/firmware/efi/systab").write_text(systab)

    def run_tool(self, device, refuses="", words=("-sysinfo", "-ML", "2")):
        environment = dict(os.environ)
        if device:
            environment |= {"LD_PRELOAD": LIBRARY, "QORX_MEMORY": str(self.root / "dev/mem"),
                            "QORX_MEMORY_REFUSES": refuses}
        return subprocess.run([REPLAY, self.root, "--", *words], env=environment, stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, errors="replace", timeout=60, check=False,
                              cwd=self.empty)

    def expect_same(self, table, address, entry_kind, source):
        """From a file and from a device: the same, found at `source`, with every slot of the table."""
        file, device = self.run_tool(False), self.run_tool(True)
        self.assertEqual((device.returncode, device.stderr), (0, ""))
        self.assertEqual(device.stdout, file.stdout)
        self.assertIn(f"{entry_kind}\nstructure table lenght: {len(table)}\nstructure table address: {address:x}\n",
                      device.stdout)
        self.assertEqual("Can't find by legacy method." in device.stdout, source == "efi")
        count = min(len(slot_types(table)), 512)
        self.assertIn(f"qorx_system_environment_info.eth_smbios_t9_t41_number {count}\n", device.stdout)

    def test_every_table_wherever_it_lies(self):
        for name, table in tables():
            for entry_at, table_at in ((LEGACY_AREA, 0xE0000 - 0x40000), (0xF4AA0, 0x8FF01), (LEGACY_LAST, 0x100000)):
                if table_at + len(table) > LEGACY_AREA and table_at < 0x100000:
                    continue
                with self.subTest(table=name, entry=hex(entry_at), at=hex(table_at)):
                    self.lay({entry_at: entry_point_3(table_at, len(table)), table_at: table})
                    self.expect_same(table, table_at, "entry_v3", "legacy")

    def test_the_older_entry_point(self):
        for name, table in tables():
            if len(table) > 0xFFFF:
                continue
            with self.subTest(table=name):
                self.lay({0xF0010: entry_point_2(0x90003, len(table)), 0x90003: table})
                self.expect_same(table, 0x90003, "entry_v2", "legacy")

    def test_the_efi_system_table_leads_above_four_gibibytes(self):
        for name, table in list(tables())[:8]:
            with self.subTest(table=name):
                self.lay({0x7F123450: entry_point_3(0x1_2345_6789, len(table)), 0x1_2345_6789: table},
                         systab="ACPI20=0x7f000000\nSMBIOS3=0x7f123450\n")
                self.expect_same(table, 0x1_2345_6789, "entry_v3", "efi")

    def test_memory_that_ends_inside_a_page(self):
        table = (EDGE / "sys/firmware/dmi/tables/DMI").read_bytes()
        for at in (0x100000 - 16, 0x100FFF, 0x101000, 0x101000 - len(table)):
            with self.subTest(at=hex(at)):
                end = at + len(table)
                # An entry point that stands after the table would be overwritten where they overlap; none does.
                self.lay({0xF0000: entry_point_3(at, len(table)), at: table}, end=end)
                self.expect_same(table, at, "entry_v3", "legacy")

    def test_memory_that_may_only_be_read_is_used(self):
        table = (EDGE / "sys/firmware/dmi/tables/DMI").read_bytes()
        self.lay({0xF0000: entry_point_3(0x90000, len(table)), 0x90000: table})
        self.assertEqual(self.run_tool(True, "writing").stdout, self.run_tool(True).stdout)

    def test_memory_is_opened_for_writing_too_where_that_is_allowed(self):
        table = (EDGE / "sys/firmware/dmi/tables/DMI").read_bytes()
        self.lay({0xF0000: entry_point_3(0x90000, len(table)), 0x90000: table})
        self.assertEqual(self.run_tool(True, "only reading").stdout, self.run_tool(True).stdout)
        self.assertIn("Can't find by legacy method.", self.run_tool(True, "only reading, writing").stdout)

    def test_memory_that_is_refused_leaves_the_tables_of_the_kernel(self):
        table = (EDGE / "sys/firmware/dmi/tables/DMI").read_bytes()
        for refused in ("opening", "mapping"):
            with self.subTest(refused=refused):
                self.lay({0xF0000: entry_point_3(0x90000, 0), 0x90000: b"\x09\x02\0\0"})
                shutil.copytree(EDGE / "sys/firmware", self.root / "sys/firmware")
                run = self.run_tool(True, refused)
                self.assertEqual(run.returncode, 0, run.stdout)
                self.assertIn("\nsysfs\n", run.stdout)
                self.assertIn(f"eth_smbios_t9_t41_number {len(slot_types(table))}\n", run.stdout)

    def test_the_table_of_ports_is_the_same(self):
        table = (EDGE / "sys/firmware/dmi/tables/DMI").read_bytes()
        self.lay({0xF0000: entry_point_3(0x90000, len(table)), 0x90000: table})
        device = self.run_tool(True, words=("-a",))
        self.assertEqual(device.returncode, 0)
        self.assertIn("WMX Slot 2", device.stdout)
        self.assertEqual(device.stdout, self.run_tool(False, words=("-a",)).stdout)


if __name__ == "__main__":
    REPLAY, LIBRARY = (os.path.abspath(name) for name in sys.argv[1:3])
    REALDATA = sys.argv[3] if len(sys.argv) > 3 and sys.argv[3] else None
    unittest.main(argv=sys.argv[:1], verbosity=2)
