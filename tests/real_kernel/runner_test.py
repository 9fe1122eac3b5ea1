"""The runner itself, without a guest: what it calls right and wrong, and that no guest outlives it."""

import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))

import debian_packages
import hot_plug
import transcript
from appliance import Onboard, Port, Slot, device_arguments, record
from appliances import RACK
from virtual_machine import Hung, VirtualMachine


class Transcripts(unittest.TestCase):
    TEXT = """\
# first
$ one
a\x20
[any order]
b
c
[legend]
# between
$ two
[status 147]
"""

    def setUp(self):
        self.one, self.two = transcript.parse(self.TEXT)

    def test_has_commands_with_outputs_and_statuses(self):
        self.assertEqual((self.one.command, self.one.status, self.one.line), ("one", 0, 2))
        self.assertEqual("".join(self.one.expected), "a \nb\nc\n" + transcript.LEGEND)
        self.assertEqual((self.two.command, self.two.expected, self.two.status), ("two", [], 147))

    def test_the_same_output_and_status_are_right(self):
        self.assertEqual(transcript.difference(self.one, "a \nb\nc\n" + transcript.LEGEND, 0), "")
        self.assertEqual(transcript.difference(self.two, "", 147), "")

    def test_only_lines_that_may_come_in_any_order_do(self):
        self.assertEqual(transcript.difference(self.one, "a \nc\nb\n" + transcript.LEGEND, 0), "")
        self.assertNotEqual(transcript.difference(self.one, "b\na \nc\n" + transcript.LEGEND, 0), "")

    def test_each_byte_and_the_status_count(self):
        self.assertIn("-a |", transcript.difference(self.one, "a\nb\nc\n" + transcript.LEGEND, 0))
        self.assertIn("+more|", transcript.difference(self.two, "more\n", 147))
        self.assertIn("+[status 0]|", transcript.difference(self.two, "", 0))
        self.assertNotEqual(transcript.difference(self.one, "a \nb\nc\n" + transcript.LEGEND[:-1], 0), "")

    def test_output_without_a_command_is_refused(self):
        with self.assertRaises(ValueError):
            transcript.parse("output\n$ command\n")


class Descriptions(unittest.TestCase):
    def test_records_are_those_of_the_standard(self):
        self.assertEqual(record(Slot("A", "0b:1f.7"), 0x0901),
                         bytes.fromhex("09 11 0109 01 b2 0b 04 04 0100 0c 02 0000 0b ff 41 00 00"))
        self.assertEqual(record(Onboard("B", "00:02.0"), 0x0902),
                         bytes.fromhex("29 0b 0209 01 85 01 0000 00 10 42 00 00"))

    def test_a_card_of_several_functions_says_so_in_function_0(self):
        arguments = device_arguments(RACK)
        card = [words for words in arguments if "bus=at00_1c_0" in words]
        self.assertEqual(card, [
            "e1000e,id=at01_00_0,bus=at00_1c_0,addr=00.0,multifunction=on,netdev=net02,mac=00:00:5e:00:53:02,"
            "romfile=,subsys_ven=0x13fe,subsys=0x201a",
            "e1000e,id=at01_00_1,bus=at00_1c_0,addr=00.1,netdev=net03,mac=00:00:5e:00:53:03,"
            "romfile=,subsys_ven=0x13fe,subsys=0x201a"])

    def test_no_two_ports_share_an_address_of_either_kind(self):
        from appliance import ports
        found = list(ports(RACK.bus_0))
        self.assertEqual(len({port.mac for port in found}), len(found))
        addresses = [port.address for port in found if isinstance(port, Port)]
        self.assertEqual(len(set(addresses)), len(addresses))


class HotPlug(unittest.TestCase):
    HEADER = "eth name        bus:dev.fun\n"
    STAYS = "eth0            00:02.0     8086 10d3 13fe 301a  00:00:5e:00:53:00  " + "LAN1".ljust(26) + \
        "LAN1 (*)".ljust(29) + "N/A             N/A I210_CO \n"
    MOVES = "eth6            09:00.0     8086 10d3 13fe 3008  00:00:5e:00:53:06  " + "PCIE Slot 4".ljust(26) + \
        "1 (*)".ljust(29) + "A_BYPASS-C      16  PCIE-5238BP \n"

    def check(self, *rows, end=transcript.LEGEND):
        hot_plug.check_table(self.HEADER + "".join(rows) + end, [self.STAYS, self.MOVES], {"09:00.0"}, "here")

    def test_a_card_may_be_there_or_not_or_come_under_another_name(self):
        self.check(self.STAYS, self.MOVES)
        self.check(self.STAYS)
        self.check(self.STAYS, self.MOVES.replace("eth6", "eth7"))

    def test_what_a_port_on_its_way_lacks_is_not_known(self):
        self.check(self.STAYS, self.MOVES.replace("00:00:5e:00:53:06", "N/A              "))
        self.check(self.STAYS, self.MOVES.replace("13fe 3008", "N/A  N/A ").replace(
            "A_BYPASS-C      16  PCIE-5238BP", "unknown         N/A ID not found"))

    def test_what_it_has_is_not_something_else(self):
        for wrong in (self.MOVES.replace("53:06", "53:07"), self.MOVES.replace("3008", "3009"),
                      self.MOVES.replace("5238BP", "6922"), self.MOVES.replace("PCIE Slot 4", "PCIE Slot 3")):
            with self.assertRaises(ValueError):
                self.check(self.STAYS, wrong)

    def test_a_port_that_stays_is_there(self):
        with self.assertRaises(ValueError):
            self.check(self.MOVES)

    def test_a_table_is_whole(self):
        with self.assertRaises(ValueError):
            self.check(self.STAYS, end=transcript.LEGEND[:-2])

    def test_a_tovix_cfg_is_whole(self):
        whole = "eth_name: eth2\nSEGMENT: 4\nBUS: 01\nDEV: 00\nFUN: 0\n\nTYPE:PCIE\n\n"
        hot_plug.check_tovix(whole, "here")
        for wrong in ("", whole[:-1], whole.replace("DEV: 00\n", ""), whole[9:]):
            with self.assertRaises(ValueError):
                hot_plug.check_tovix(wrong, "here")


def is_running(process):
    try:
        os.kill(process, 0)
    except ProcessLookupError:
        return False
    return "\nState:\tZ" not in Path(f"/proc/{process}/status").read_text(encoding="ascii")


class Guests(unittest.TestCase):
    def test_one_that_hangs_is_ended(self):
        with tempfile.TemporaryDirectory() as folder:
            with self.assertRaises(Hung):
                with VirtualMachine(["sleep", "60"], Path(folder), limit=0.2) as machine:
                    machine.wait()
            self.assertFalse(is_running(machine.process.pid))

    def test_none_outlives_its_runner(self):
        code = ("import sys, time; from pathlib import Path; from virtual_machine import VirtualMachine\n"
                "machine = VirtualMachine(['sleep', '60'], Path(sys.argv[1]), 60)\n"
                "print(machine.process.pid, flush=True)\ntime.sleep(60)\n")
        with tempfile.TemporaryDirectory() as folder:
            with subprocess.Popen([sys.executable, "-B", "-c", code, folder], cwd=HERE,
                                  stdout=subprocess.PIPE) as runner:
                guest = int(runner.stdout.readline())
                self.assertTrue(is_running(guest))
                runner.send_signal(signal.SIGKILL)
                runner.wait()
                for _ in range(100):
                    if not is_running(guest):
                        break
                    time.sleep(0.05)
                self.assertFalse(is_running(guest))


class Preparations(unittest.TestCase):
    def test_busybox_is_taken_from_where_its_package_has_it(self):
        if not shutil.which("dpkg-deb"):
            self.skipTest("there is no dpkg-deb")
        for place in ("bin", "usr/bin"):
            with self.subTest(place), tempfile.TemporaryDirectory() as scratch:
                tree, package, folder = (Path(scratch) / name for name in ("tree", "one.deb", "folder"))
                (tree / "DEBIAN").mkdir(parents=True)
                (tree / "DEBIAN" / "control").write_text(
                    "Package: one\nVersion: 1\nArchitecture: all\nMaintainer: nobody\nDescription: one\n", encoding="ascii")
                (tree / place).mkdir(parents=True)
                (tree / place / "busybox").write_bytes(place.encode())
                subprocess.run(["dpkg-deb", "--build", tree, package], stdout=subprocess.DEVNULL, check=True)
                folder.mkdir()
                debian_packages.unpack_busybox(package, folder)
                self.assertEqual((folder / "busybox").read_bytes(), place.encode())

    def test_without_an_emulator_nothing_is_fetched(self):
        with tempfile.TemporaryDirectory() as scratch:
            done = subprocess.run([sys.executable, HERE / "run", "bios"], capture_output=True, text=True,
                                  env={"PATH": scratch, "HOME": scratch}, check=False)
            self.assertEqual((done.returncode, os.listdir(scratch)), (77, []), done.stderr)
            self.assertIn("bios: skipped: no QEMU: there is no qemu-system-x86_64", done.stdout)


if __name__ == "__main__":
    unittest.main()
