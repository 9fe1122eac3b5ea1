#!/usr/bin/env python3
"""qorx-inspect explain: it says what happened, and its advice helps."""
import json
import os
import pathlib
import re
import shutil
import tempfile
import unittest

import machines
from machines import EDGE, LEGACY, inspect, run

GUIDE = machines.SOURCE / "doc/troubleshooting.md"
APPLIANCES = {"edge": EDGE, "legacy": LEGACY}


def explain(port, root, *words, **more):
    return run(machines.INSPECT, "explain", port, "--root", os.fsdecode(root), *words, **more)


def explained(port, root, *words, **more):
    result = explain(port, root, *words, **more)
    return result.stdout.decode("utf-8", "surrogateescape")


def part(text, heading):
    """The heading's value, and the lines below it."""
    match = re.search(rf"^{re.escape(heading)}: (.*)\n((?:    .*\n)*)", text, re.MULTILINE)
    return (match[1], [line[4:] for line in match[2].splitlines()]) if match else (None, [])


def guide_examples():
    """(section, machine, words, expected lines) of every example in the guide."""
    section, machine, block = None, None, []
    for line in GUIDE.read_text().splitlines() + ["## end"]:
        if line.startswith("## "):
            yield section, None, None, None
            section = line[3:]
        elif line.startswith("<!-- EXAMPLE "):
            machine, block = line.split()[2], []
        elif machine and line.startswith("    "):
            block.append(line[4:])
        elif machine and block:
            yield section, machine, block[0].split()[2:], block[1:]
            machine = None


def quotes(shown, actual):
    """Whether the lines are the actual ones, with lines left out where "..." stands."""
    at = 0
    may_skip = False
    for line in shown:
        if line == "...":
            may_skip = True
            continue
        found = next((i for i in range(at, len(actual)) if actual[i] == line), None)
        if found is None or (found != at and not may_skip):
            return False
        at, may_skip = found + 1, False
    return may_skip or at == len(actual)


class Guide(unittest.TestCase):
    def test_every_paragraph_has_an_example(self):
        sections, with_example = set(), set()
        for section, machine, _, _ in guide_examples():
            sections.add(section)
            if machine:
                with_example.add(section)
        sections.discard(None)
        self.assertEqual(with_example, sections)
        self.assertGreater(len(sections), 8)

    def test_the_examples_are_what_the_program_says(self):
        checked = 0
        for section, machine, words, expected in guide_examples():
            if not machine:
                continue
            with self.subTest(section=section, words=words):
                result = run(machines.INSPECT, *words, "--root", str(APPLIANCES[machine] / "root"), cwd=APPLIANCES[machine])
                actual = (result.stdout if result.returncode == 0 else result.stderr).decode().splitlines()
                self.assertTrue(quotes(expected, actual), "\n".join(actual))
                checked += 1
        self.assertGreater(checked, 10)


class WhatHappened(unittest.TestCase):
    def test_pass_and_level_are_those_of_the_trace(self):
        compared = 0
        for name, root, options, directory in machines.samples():
            trace = run(machines.REPLAY, root, "--", "-a", *options, "-ML", "2", cwd=directory).stdout.decode("latin-1")
            matches = re.findall(r"^(\d) (\d) match str:(.*)\n.*\n(\S+) slot: ", trace, re.MULTILINE)
            for match_pass, level, pattern, port in matches:
                with self.subTest(machine=name, port=port):
                    _, lines = part(explained(port, root, *options, cwd=directory), "slot")
                    if not lines:
                        continue  # the run ends with an error of a file
                    self.assertRegex(lines[1], rf"^In pass {match_pass} .*, at level {level}: ")
                    component = re.match(r"Component (\S+) of", lines[0])[1]
                    self.assertIn(pattern.strip(":"), component)
                    compared += 1
        self.assertGreater(compared, 200)

    def check_headings(self, root, options, directory, most):
        document = inspect("json", os.fsdecode(root), *options, cwd=directory)
        if document.returncode:
            return 0
        ports = json.loads(document.stdout)["ports"]
        for port in ports[:most]:
            name = bytes.fromhex(port["bytes"]["name"]) if "name" in port["bytes"] else port["name"].encode()
            if name.startswith(b"-"):
                continue
            result = explain(name, root, *options, cwd=directory)
            self.assertEqual(result.returncode, 0, result.stderr)
            text = result.stdout.decode()
            self.assertNotRegex(text, r"[\x00-\x09\x0b-\x1f\x7f]")
            if port["feature"] is not None:
                mark = "(!)" if "feature_mismatch" in port["marks"] else ""
                self.assertEqual(part(text, "feature")[0], port["feature"] + mark)
            if port["segment"] is not None:
                self.assertEqual(part(text, "segment")[0], str(port["segment"]))
            for heading in ("slot", "panel", "feature", "segment", "model"):
                value, lines = part(text, heading)
                self.assertIsNotNone(value)
                self.assertTrue(lines, f"{heading} is not explained")
        return len(ports)

    def test_every_port_of_the_samples(self):
        for name, root, options, directory in machines.samples():
            with self.subTest(machine=name):
                self.check_headings(root, options, directory, 512)

    def test_machines_from_fuzz_bytes(self):
        checked = 0
        for name, data in machines.fuzz_inputs(40):
            with self.subTest(machine=name), machines.fuzz_machine(data) as machine:
                options = machines.options_among(machine.words)
                checked += self.check_headings(machine.root, options, machine.work, 5)
        self.assertGreater(checked, 50)

    def test_lines_of_files(self):
        # The numbers of the lines in the sample's platform file, found by what stands in them.
        lines = (EDGE / "qorx.cfg").read_text().splitlines()
        number = {text: i for i, text in enumerate(lines, 1)}
        words = ("-config", "qorx.cfg")
        for port, heading, line in (
                ("eth3", "panel", 'FUNCTION/NAME/FEATURE="0/MGMT/NA"'),
                ("eth3", "feature", 'FUNCTION/NAME/FEATURE="0/MGMT/NA"'),
                ("eth4", "feature", 'FUNCTION/NAME/FEATURE="0/LAN 3/L_BYPASS"'),
                ("eth9", "panel", 'FUNCTION/NAME/BUS_ORDER="1/1-B/L"'),
                ("eth12", "slot", 'CHANGE_NAME="WMX Slot 4"'),
                ("eth15", "slot", 'PCIe_SW_DEV/WMX_SLOT="1-2/WMX Slot 3"')):
            with self.subTest(port=port, heading=heading):
                _, text = part(explained(port, EDGE / "root", *words, cwd=EDGE), heading)
                self.assertRegex(" ".join(text), rf"[Ll]ine {number[line]} of qorx\.cfg")
        forced = explained("eth4", EDGE / "root", *words, "-F", cwd=EDGE)
        self.assertEqual(part(forced, "feature")[0], "L_BYPASS")
        line = number['FUNCTION/NAME/FEATURE="0/LAN 3/L_BYPASS"']
        self.assertEqual(part(forced, "feature")[1], [f"From line {line} of qorx.cfg."])

    def test_lines_of_the_module_name_file(self):
        lines = (LEGACY / "wmx_name.cfg").read_text().splitlines()
        number = next(i for i, text in enumerate(lines, 1) if text.startswith("WMX-9556"))
        words = ("-legacy", "-sys_WMX_cfg", "wmx_name.cfg")
        text = explained("eth10", LEGACY / "root", *words, cwd=LEGACY)
        self.assertEqual(part(text, "model"),
                         ("WMX-9556", [f"-legacy gave candidates; line {number} of wmx_name.cfg confirms one."]))
        self.assertEqual(part(text, "feature")[1], [f"From line {number} of wmx_name.cfg."])

    def test_lent_identities_and_bridges(self):
        text = explained("eth13", EDGE / "root")
        self.assertIn("Taken over from eth12 at 0a:00.0", part(text, "model")[1][0])
        text = explained("eth16", EDGE / "root")
        self.assertIn("A bridge above it", part(text, "model")[1][0])

    def test_with_other_orders_the_same(self):
        # The origins follow their ports when these are sorted.
        for port in ("eth0", "eth8", "eth12", "eth18"):
            plain = explained(port, EDGE / "root")
            self.assertEqual(part(explained(port, EDGE / "root", "-sort_slotname"), "slot"), part(plain, "slot"))

    def test_records_that_fit_less(self):
        # By pass, level and place in the table. The one on another bus does not fit at all.
        with machines.small_machine() as machine:
            machine.port("eth0", "03:00.0")
            for name, address in (("C", "03:01.0"), ("other", "07:00.0"), ("A", "03:00.0"), ("B", "03:00.1")):
                machine.onboard(name, address)
            less = [f"Less close: type 41 \"{name}\" at {address}, handle {handle}: pass 0 (its own address), level {level}."
                    for name, address, handle, level in (("B", "03:00.1", "0x0004", 2), ("C", "03:01.0", "0x0001", 1))]
            self.assertEqual(part(explained("eth0", machine.root), "slot")[1][3:], less)
            for number in (2, 3, 4):
                machine.slot(f"S{number}", f"03:0{number}.0")
            less += [f'Less close: type 9 "S{number}" at 03:0{number}.0, handle 0x000{number + 3}: '
                     "pass 0 (its own address), level 1." for number in (2, 3)]
            self.assertEqual(part(explained("eth0", machine.root), "slot")[1][3:], [*less, "And 1 more."])

    def test_records_of_an_override_file_have_no_handle(self):
        with machines.small_machine() as machine, tempfile.TemporaryDirectory() as directory:
            machine.port("eth0", "03:00.0")
            pathlib.Path(directory, "smbios.cfg").write_text('TYPE="9"\nNAME="S"\nBUS:DEV.FUN="03:00.0"\n')
            text = explained("eth0", machine.root, "-smbios_cfg", "smbios.cfg", cwd=directory)
            self.assertEqual(part(text, "slot")[1][0],
                             'Component 0000:03:00.0 of its path met the record type 9 "S" at 03:00.0.')

    def test_no_records_at_all(self):
        self.assertIn("-vm was given", part(explained("eth0", EDGE / "root", "-vm"), "slot")[1][0])
        with machines.small_machine() as machine:
            machine.port("eth0", "03:00.0")
            self.assertIn("no SMBIOS table was found", part(explained("eth0", machine.root), "slot")[1][0])


class Advice(unittest.TestCase):
    """Following it makes the mark go away."""

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.directory = pathlib.Path(scratch.name)
        for file in ("qorx.cfg", "wmx_name.cfg"):
            shutil.copy(EDGE / file, self.directory / file)

    def advised(self, port, heading, *words, root=EDGE / "root"):
        _, lines = part(explained(port, root, *words, cwd=self.directory), heading)
        return [line.strip() for line in lines if line.startswith("    ")]

    def port(self, name, *words, root=EDGE / "root"):
        document = json.loads(inspect("json", root, *words, cwd=self.directory).stdout)
        return next(port for port in document["ports"] if port["name"] == name)

    def write(self, file, lines):
        (self.directory / file).write_text("\n".join(lines) + "\n")

    def test_need_cfg(self):
        self.write("advice.cfg", self.advised("eth3", "feature"))
        port = self.port("eth3", "-config", "advice.cfg")
        self.assertEqual((port["feature_state"], port["panel"]), ("none", "LAN2"))

    def test_unknown(self):
        self.write("advice.cfg", self.advised("eth17", "feature"))
        self.assertEqual(self.port("eth17", "-config", "advice.cfg")["feature_state"], "none")

    def test_mismatch(self):
        self.assertIn("feature_mismatch", self.port("eth4", "-config", "qorx.cfg")["marks"])
        self.write("advice.cfg", self.advised("eth4", "feature", "-config", "qorx.cfg"))
        port = self.port("eth4", "-config", "advice.cfg")
        self.assertEqual((port["marks"], port["feature"]), ([], "A_BYPASS-C"))

    def test_panel_name(self):
        self.write("advice.cfg", [line.replace("NAME/L", "Port 7/L") for line in self.advised("eth12", "panel")])
        port = self.port("eth12", "-config", "advice.cfg")
        self.assertEqual((port["panel"], port["marks"], port["feature"]), ("Port 7", [], "A_BYPASS-C"))

    def test_no_slot_record(self):
        self.write("smbios.cfg", [line.replace("Slot N", "Slot 8") for line in self.advised("eth18", "slot")])
        port = self.port("eth18", "-smbios_cfg", "smbios.cfg")
        self.assertEqual((port["slot"], port["segment"]), ("WMX Slot 8", 32))

    def test_no_number_in_the_slot_name(self):
        with machines.small_machine() as machine:
            machine.port("eth0", "03:00.0", (0x8086, 0x1521, 0x13FE, 0x0035)).slot("Expansion", "03:00.0")
            root = os.fsdecode(machine.root)
            self.assertEqual(self.port("eth0", root=root)["marks"], ["default_panel", "no_segment"])
            lines = self.advised("eth0", "segment", root=root)
            self.write("advice.cfg", [line.replace("Slot N", "Slot 5") for line in lines])
            self.assertEqual(self.port("eth0", "-config", "advice.cfg", root=root)["segment"], 20)

    def test_candidates(self):
        lines = self.advised("eth0", "feature", "-legacy", root=LEGACY / "root")
        self.write("names.cfg", [line.replace("FEATURE", "L_BYPASS") for line in lines])
        port = self.port("eth0", "-legacy", "-sys_WMX_cfg", "names.cfg", root=LEGACY / "root")
        self.assertEqual((port["model"], port["feature"]), ("WMX-1813", "L_BYPASS"))

    def test_the_bypass_utility_agrees(self):
        for appliance in (EDGE, LEGACY):
            for options in ([], ["-legacy"], ["-vm"]):
                work = tempfile.mkdtemp(dir=self.directory)
                run(machines.REPLAY, appliance / "root", "--", "-tovix.cfg", *options, cwd=work)
                written = re.findall(r"^eth_name: (.*)$", pathlib.Path(work, "tovix.cfg").read_text(), re.MULTILINE)
                document = json.loads(inspect("json", appliance / "root", *options).stdout)
                for port in document["ports"]:
                    value, _ = part(explained(port["name"], appliance / "root", *options), "tovix.cfg")
                    self.assertEqual(value == "it has a record", port["name"] in written, (options, port["name"]))


class Finding(unittest.TestCase):
    def test_by_name_address_and_panel_name(self):
        by_name = explained("eth4", EDGE / "root")
        self.assertTrue(by_name.startswith("port: eth4 at 06:00.0\n"))
        self.assertEqual(explained("06:00.0", EDGE / "root"), by_name)
        self.assertEqual(explained("LAN3", EDGE / "root"), by_name)
        self.assertTrue(explained("0A:00.1", EDGE / "root").startswith("port: eth13 at 0a:00.1\n"))

    def test_a_panel_name_that_several_have(self):
        text = explained("1", EDGE / "root")
        self.assertEqual(re.findall(r"^port: (\S+)", text, re.MULTILINE), ["eth8", "eth12", "eth14", "eth17"])

    def complaint(self, port, root=EDGE / "root"):
        result = explain(port, root)
        self.assertEqual((result.returncode, result.stdout, result.stderr.count(b"\n")), (2, b"", 1))
        return result.stderr.decode()

    def test_what_is_not_there(self):
        self.assertIn("no port has the name, address or panel name 'eth99'", self.complaint("eth99"))
        self.assertIn("'?[31m'", self.complaint("\x1b[31m"))

    def test_a_port_that_is_left_out(self):
        with machines.small_machine() as machine:
            path = b"../../devices/pci0000:00/" + b"0000:00:01.0/" * 8 + b"net/far"
            os.symlink(path, machine.root + b"/sys/class/net/far")
            self.assertGreater(len(path), 127)
            self.assertIn(f"far is left out: its path below /sys has {len(path)} bytes",
                          self.complaint("far", os.fsdecode(machine.root)))


if __name__ == "__main__":
    unittest.main()
