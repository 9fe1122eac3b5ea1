#!/usr/bin/env python3
"""qorx-inspect compare: what happened to a machine since it was recorded, line by line."""
import json
import os
import pathlib
import resource
import tempfile
import unittest

import machines
from machines import EDGE, inspect


class Stories(unittest.TestCase):
    def setUp(self):
        self.scratch = tempfile.TemporaryDirectory()
        self.addCleanup(self.scratch.cleanup)
        self.expected = pathlib.Path(self.scratch.name, "expected.json")
        self.expected.write_bytes(inspect("json", EDGE / "root").stdout)

    def compare(self, root, *words, file=None):
        result = inspect(f"compare {file or self.expected}", root, *words)
        self.assertEqual(result.stderr, b"")
        self.assertEqual(result.returncode, 1 if result.stdout else 0)
        return result.stdout.decode().splitlines()

    def test_nothing_happened(self):
        self.assertEqual(self.compare(EDGE / "root"), [])

    def test_a_card_is_missing(self):
        with machines.changed(EDGE) as machine:
            machine.unplug("eth12", "eth13")
            self.assertEqual(self.compare(machine.root), [
                "WMX Slot 2, port 1: expected WMX-4840 with A_BYPASS-C, found no port",
                "WMX Slot 2, port 2: expected WMX-4840 with A_BYPASS, found no port"])

    def test_a_card_came_in_addition(self):
        with machines.changed(EDGE) as machine:
            machine.unplug("eth12", "eth13")
            self.expected.write_bytes(inspect("json", machine.root).stdout)
        self.assertEqual(self.compare(EDGE / "root"), [
            "WMX Slot 2, port 1: expected no port, found WMX-4840 with A_BYPASS-C",
            "WMX Slot 2, port 2: expected no port, found WMX-4840 with A_BYPASS"])

    def test_a_card_is_in_another_slot(self):
        # The card of WMX Slot 2, of which one port came up, in PCIE Slot 1: its number gives segment 4.
        with machines.changed(EDGE) as machine:
            machine.unplug("eth12", "eth13").subsystem(0x13FE, 0x2013, "eth17")
            self.assertEqual(self.compare(machine.root), [
                "WMX Slot 2, port 1: expected WMX-4840 with A_BYPASS-C, found no port",
                "WMX Slot 2, port 2: expected WMX-4840 with A_BYPASS, found no port",
                "PCIE Slot 1, port 1: model: expected none, found WMX-4840",
                "PCIE Slot 1, port 1: feature: expected unknown, found A_BYPASS-C",
                "PCIE Slot 1, port 1: segment: expected none, found 4"])

    def test_a_bypass_card_was_swapped_for_a_plain_one(self):
        with machines.changed(EDGE) as machine:
            machine.subsystem(0x13FE, 0x0037, "eth12", "eth13")
            self.assertEqual(self.compare(machine.root), [
                "WMX Slot 2, port 1: model: expected WMX-4840, found WMX-2248",
                "WMX Slot 2, port 1: feature: expected A_BYPASS-C, found none",
                "WMX Slot 2, port 1: segment: expected 8, found none",
                "WMX Slot 2, port 2: model: expected WMX-4840, found WMX-2248",
                "WMX Slot 2, port 2: feature: expected A_BYPASS, found none",
                "WMX Slot 2, port 2: segment: expected 8, found none"])

    def test_the_last_port_of_a_card_is_dead(self):
        with machines.changed(EDGE) as machine:
            machine.unplug("eth11")
            self.assertEqual(self.compare(machine.root), [
                "WMX Slot 1 (H.1.2.255), port 4: expected WMX-44C0 with A_BYPASS_I2C, found no port"])

    def test_a_dead_port_moves_the_numbers_of_those_behind_it(self):
        # The port that is named as missing is the dead one; the others are recognised by their addresses.
        with machines.changed(EDGE) as machine:
            machine.unplug("eth8")
            self.assertEqual(self.compare(machine.root), [
                "WMX Slot 1 (H.1.2.255), port 1: expected WMX-44C0 with A_BYPASS_I2C, found no port",
                "WMX Slot 1 (H.1.2.255), port 2: panel: expected 2, found 1",
                "WMX Slot 1 (H.1.2.255), port 3: panel: expected 3, found 2",
                "WMX Slot 1 (H.1.2.255), port 3: segment: expected 5, found 4",
                "WMX Slot 1 (H.1.2.255), port 4: panel: expected 4, found 3"])

    def test_a_port_without_a_slot_is_named_by_its_address(self):
        with machines.changed(EDGE) as machine:
            machine.unplug("eth18", "enx00005e005380")
            self.assertEqual(self.compare(machine.root), [
                "port without slot at 00:14.0: expected an unknown model, found no port",
                "port without slot at 65:00.0: expected PCIE-7289BP with A_BYPASS-C, found no port"])

    def test_ports_that_have_neither_slot_nor_address_are_found_by_their_names(self):
        with machines.small_machine() as machine:
            for name in (b"eth3", b"eth5"):
                os.symlink(b"../../devices/platform/soc/net/" + name, machine.root + b"/sys/class/net/" + name)
            root = os.fsdecode(machine.root)
            document = json.loads(inspect("json", root).stdout)
            self.assertEqual([port["address"] for port in document["ports"]], [None, None])
            document["ports"].reverse()
            self.expected.write_text(json.dumps(document))
            self.assertEqual(self.compare(root, "--with", "eth_name"), [])
            document["ports"][0]["name"] = "eth4"
            self.expected.write_text(json.dumps(document))
            self.assertEqual(len(self.compare(root)), 2)

    def test_what_is_compared_can_be_chosen(self):
        with machines.changed(EDGE) as machine:
            (machine.device("eth0") / "net/eth0/address").write_text("00:00:5e:00:53:ff\n")
            self.assertEqual(self.compare(machine.root), [])
            self.assertEqual(self.compare(machine.root, "--ignore", "mac,eth_name"), [])
            self.assertEqual(self.compare(machine.root, "--with", "mac"),
                             ["SFP1: mac: expected 00:00:5e:00:53:00, found 00:00:5e:00:53:ff"])
            machine.subsystem(0x13FE, 0x0037, "eth12", "eth13")
            self.assertEqual(self.compare(machine.root, "--ignore", "model,feature,segment"), [])
            self.assertEqual(self.compare(machine.root, "--ignore", "model,feature,segment", "--with", "ids"), [
                "WMX Slot 2, port 1: ids: expected 8086:1583:13fe:2013, found 8086:1583:13fe:0037",
                "WMX Slot 2, port 2: ids: expected 8086:1583:8086:0000, found 8086:1583:13fe:0037"])

    def test_without_slots_ports_are_found_by_their_addresses(self):
        self.assertEqual(self.compare(EDGE / "root", "-vm", "--ignore", "slot,panel,segment,model,feature"), [])

    def test_a_changed_firmware_name_shows(self):
        lines = self.compare(EDGE / "root", "-vm")
        self.assertIn("SFP1: expected X722_FI with NCSI/1PPS, found no port", lines)
        self.assertIn("port without slot at 03:00.0: expected no port, found X722_FI with NCSI/1PPS", lines)

    def test_names_cannot_change_the_terminal(self):
        document = json.loads(self.expected.read_text())
        document["ports"][1]["slot"] = "\x1b[31mSFP1"
        self.expected.write_text(json.dumps(document))
        self.assertEqual(self.compare(EDGE / "root")[0], "?[31mSFP1, SFP1: expected X722_FI with NCSI/1PPS, found no port")


class WhenItCannotLook(unittest.TestCase):
    def setUp(self):
        self.scratch = tempfile.TemporaryDirectory()
        self.addCleanup(self.scratch.cleanup)
        self.file = pathlib.Path(self.scratch.name, "expected.json")

    def complaint(self, *words, root=EDGE / "root", **more):
        result = inspect(f"compare {self.file}", root, *words, **more)
        self.assertEqual((result.returncode, result.stdout), (2, b""), result.stderr)
        return result.stderr.decode()

    def test_broken_expected_files(self):
        self.assertIn("can't be read: No such file", self.complaint())
        document = json.loads(inspect("json", EDGE / "root").stdout)
        without_slot = json.loads(json.dumps(document))
        del without_slot["ports"][2]["slot"]
        wrong_kind = json.loads(json.dumps(document))
        wrong_kind["ports"][0]["segment"] = "4"
        without_state = json.loads(json.dumps(document))
        without_state["ports"][1]["feature_state"] = None
        for content, reason in (("", "is empty"), ("{", "is not JSON"), ("\x00", "is not JSON"), ("[1]", "is not what"),
                                ("{}", "is not what"), ("nan", "is not JSON"),
                                (json.dumps(document | {"schema": 2}), "has layout 2, this program knows 1"),
                                (json.dumps(document | {"ports": {}}), "is not what"),
                                (json.dumps(without_slot), "has no complete port number 3"),
                                (json.dumps(wrong_kind), "has no complete port number 1"),
                                (json.dumps(without_state), "has no complete port number 2"),
                                (json.dumps(document | {"ports": [None]}), "has no complete port number 1"),
                                (json.dumps(document)[:-10], "is not JSON")):
            with self.subTest(content=content[:40]):
                self.file.write_text(content)
                error = self.complaint()
                self.assertEqual(error.count("\n"), 1)
                self.assertIn(reason, error)

    def test_a_directory(self):
        self.file.mkdir()
        self.assertIn("Is a directory", self.complaint())

    def test_a_file_that_memory_does_not_hold(self):
        if b"__asan_init" in pathlib.Path(machines.INSPECT).read_bytes():
            self.skipTest("the sanitizers need more address space than this")
        room = 64 << 20

        def complaint(size):
            self.file.write_bytes(b'{"comment": "' + b"x" * size + b'"}')
            return self.complaint(preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (room, room)))
        self.assertIn("is not what", complaint(1000))
        self.assertEqual(complaint(room), "qorx-inspect: std::bad_alloc\n")

    def test_unknown_fields_and_a_missing_file_name(self):
        self.file.write_bytes(inspect("json", EDGE / "root").stdout)
        self.assertIn("unknown field 'colour'", self.complaint("--ignore", "mac,colour"))
        self.assertIn("unknown field ''", self.complaint("--with", "mac,"))
        result = inspect("compare", EDGE / "root")
        self.assertEqual((result.returncode, result.stderr.count(b"\n")), (2, 1))

    def test_a_machine_that_cannot_be_identified(self):
        self.file.write_bytes(inspect("json", EDGE / "root").stdout)
        self.assertIn("QORX_ERR_OPEN_DIR (0x98)", self.complaint(root=self.scratch.name))


if __name__ == "__main__":
    unittest.main()
