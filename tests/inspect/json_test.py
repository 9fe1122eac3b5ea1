#!/usr/bin/env python3
"""qorx-inspect json: valid for its schema on every machine, and enough to print the table of qorx again."""
import json
import os
import re
import unittest

import machines
from machines import inspect, run

try:
    import jsonschema
except ImportError:
    jsonschema = None

SCHEMA_FILE = machines.SOURCE / "inspect/qorx-inspect-1.schema.json"
CHANGED_INPUTS = int(os.environ.get("QORX_INSPECT_FUZZ_MACHINES", "60"))


def strict(schema):
    """The schema with a complaint about every key that it does not name."""
    if isinstance(schema, dict):
        schema = {key: strict(value) for key, value in schema.items()}
        if "properties" in schema:
            schema["additionalProperties"] = False
    elif isinstance(schema, list):
        schema = [strict(value) for value in schema]
    return schema


def original(text, key, container):
    """The bytes behind a text of the document."""
    return bytes.fromhex(container["bytes"][key]) if key in container["bytes"] else text.encode()


def column(port, key, absent):
    return absent if port[key] is None else original(port[key], key, port)


def pair(first, second, absent):
    return absent if first is None or second is None else f"{first} {second}".encode()


def panel_column(port):
    if port["slot"] is None:
        return b"N/A"
    return column(port, "panel", b"N/A") + (b" (*)" if "default_panel" in port["marks"] else b"")


def feature_column(port):
    texts = {"none": "N/A", "needs_configuration": "Need cfg", "unknown": "unknown"}
    return (texts.get(port["feature_state"], port["feature"]) +
            ("(!)" if "feature_mismatch" in port["marks"] else "")).encode()


def segment_column(port):
    if "no_segment" in port["marks"]:
        return b"(?)"
    return b"N/A" if port["segment"] is None else str(port["segment"]).encode()


ROW = b"%-15s %-7s%-5s%-9s %-9s  %-17s  %-25s %-28s %-15s %-3s %s \n"


def port_row(port):
    absent_slot = b"(!!)" if "no_slot_record" in port["marks"] else b"N/A"
    return ROW % (
        column(port, "name", b""), column(port, "address", b"N/A"), b"(u)" if "usb" in port["marks"] else b"",
        pair(port["vendor_id"], port["device_id"], b"N/A  N/A"),
        pair(port["subsystem_vendor_id"], port["subsystem_device_id"], b"N/A  N/A"), column(port, "mac", b"N/A"),
        b"N/A" if port["address"] is None else column(port, "slot", absent_slot), panel_column(port), feature_column(port), segment_column(port),
        column(port, "model", b"ID not found"))


def virtual_row(interface):
    return ROW % (column(interface, "name", b""), b"N/A", b"", b"N/A  N/A", b"N/A  N/A",
                  column(interface, "mac", b"N/A"), b"N/A", b"N/A", b"unknown", b"N/A", b"ID not found")


HEADER = (b"eth name        bus:dev.fun vid  did  svid sdid  mac address        slot name                 "
          b"panel name                   feature         seg model      \n")
LEGEND = b"""\
(*) means default, user can use config file to overwrite the panel name.
(!) means CFG file feature is not matched with Vlm default feature.
(?) means CFG file changed the slot number of slot name or NO matched SMBIOS type9/41 record.
    QORX can't identify the slot number to output corresponding seg number.
(u) means this NIC device is from USB. The vid and did are from USB.
(!!) means there is no valid type 9/41 SMBIOS record. Please contact Velmora.
N/A in slot name means it's a USB network device or a virtual network device. It's NOT a PCIE network device.
"""


def table(document):
    return (HEADER + b"".join(map(port_row, document["ports"])) +
            b"".join(map(virtual_row, document["virtual_interfaces"])) + LEGEND)


def raw_agrees(port):
    """Whether the two forms of a port say the same."""
    raw = port["raw"]
    checks = [port["name"] == raw["eth_name"],
              port["address"] in (None, f"{raw['bus']:02x}:{raw['dev']:02x}.{raw['fun']:x}"),
              (port["address"] is None) == (raw["fun"] == 255),
              port["vendor_id"] == (f"{raw['vendor_id']:04x}" if raw["vendor_id"] < 0x10000 else None),
              port["slot"] in (None, raw["slot_name"]), port["model"] in (None, raw["model"]),
              port["panel"] is None or raw["panel_name"] in (port["panel"], port["panel"] + " (*)"),
              port["segment"] in (None, raw["seg"]), ("feature_mismatch" in port["marks"]) == (raw["feature"] >= 128),
              ("usb" in port["marks"]) == (raw["usb"] != ""), port["sysfs_path"] in (None, raw["net_path"])]
    return all(checks)


class OnEveryMachine(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        schema = json.loads(SCHEMA_FILE.read_text())
        cls.validator = None
        if jsonschema:
            jsonschema.Draft202012Validator.check_schema(schema)
            cls.validator = jsonschema.Draft202012Validator(strict(schema))

    def check(self, root, options, directory):
        expected = run(machines.REPLAY, root, "--", "-a", *options, cwd=directory)
        actual = inspect("json", os.fsdecode(root), *options, cwd=directory)
        self.assertEqual(actual.returncode, expected.returncode, actual.stderr)
        if expected.returncode != 0:
            self.assertEqual(actual.stdout, b"")
            self.assertEqual(actual.stderr, expected.stdout, "the lines of qorx, on standard error")
            return None
        self.assertTrue(actual.stdout.isascii())
        document = json.loads(actual.stdout)
        before, header, rest = expected.stdout.partition(HEADER)
        self.assertEqual(table(document), header + rest)
        self.assertEqual(actual.stderr, before, "what the library says before the table")
        self.assertTrue(all(map(raw_agrees, document["ports"])))
        self.assertEqual(document["counts"]["ports"], len(document["ports"]))
        self.assertEqual(document["counts"]["slot_records"], len(document["slots"]))
        if self.validator:
            errors = [f"{list(error.path)}: {error.message}" for error in self.validator.iter_errors(document)]
            self.assertEqual(errors, [])
        return document

    def check_all(self, some):
        checked = 0
        for name, root, options, directory in some:
            with self.subTest(machine=name):
                self.check(root, options, directory)
                checked += 1
        return checked

    def test_samples(self):
        self.assertEqual(self.check_all(machines.samples()), 18)

    def test_recorded_machines(self):
        if not machines.REALDATA:
            self.skipTest("no recorded machines: QORX_REALDATA_DIR is not set")
        self.assertGreater(self.check_all(machines.recorded()), 30)

    def test_an_archive(self):
        with machines.small_machine() as machine, machines.tempfile.TemporaryDirectory() as directory:
            machine.port("eth0", "03:00.0").slot("WMX Slot 3", "03:00.0")
            archive = os.path.join(directory, "machine.tar.gz")
            machines.subprocess.run(["tar", "-czf", archive, "-C", machine.root, "sys"], check=True)
            document = self.check(archive, [], directory)
            self.assertEqual(document["sources"]["root"], archive)
            self.assertEqual(document["ports"][0]["slot"], "WMX Slot 3")

    def test_machines_from_fuzz_bytes(self):
        opened = 0
        for name, data in machines.fuzz_inputs(CHANGED_INPUTS):
            with self.subTest(machine=name), machines.fuzz_machine(data) as machine:
                options = machines.options_among(machine.words)
                opened += self.check(machine.root, options, machine.work) is not None
        self.assertGreater(opened, 30)

    def test_names_of_every_kind_of_byte(self):
        names = [b'"quoted"', b"back\\slash", b"control\x01\x1b[31m", b"latin\xe9", "é".encode(), b"cut\xe2\x82",
                 b"surrogate\xed\xa0\x80", b"overlong\xc0\x80", "\U0001f600".encode(), b"del\x7f", b"nel\xc2\x85",
                 b"line\nfeed", b"\xff" * 40]
        with machines.small_machine() as machine:
            for number, name in enumerate(names):
                machine.port(name, f"{number + 1:02x}:00.0").slot(b"Slot " + name, f"{number + 1:02x}:00.0")
            machine.virtual(b"br\xfe0")
            document = self.check(machine.root, [], machine.root)
            ports = document["ports"]
            self.assertEqual([original(p["name"], "name", p) for p in ports], names)
            self.assertEqual([original(p["slot"], "slot", p) for p in ports], [b"Slot " + n for n in names])
            self.assertEqual(ports[3]["name"], "latin\u00e9")
            self.assertEqual(ports[3]["bytes"]["name"], b"latin\xe9".hex())
            self.assertEqual((ports[4]["name"], ports[4]["bytes"]), ("\u00e9", {}))

    def test_as_many_ports_as_there_is_room_for(self):
        with machines.small_machine() as machine:
            for number in range(513):
                machine.port(f"p{number}", f"{number >> 3:02x}:{number & 7:02x}.0")
            self.assertEqual(len(self.check(machine.root, [], machine.root)["ports"]), 512)

    def test_a_machine_without_ports(self):
        with machines.small_machine() as machine:
            document = self.check(machine.root, [], machine.root)
            self.assertEqual((document["ports"], document["slots"]), ([], []))


class Document(unittest.TestCase):
    """What stands in it for the sample machine, worked out from the machine's description."""

    @classmethod
    def setUpClass(cls):
        cls.document = json.loads(inspect("json", machines.EDGE / "root").stdout)
        cls.ports = {port["name"]: port for port in cls.document["ports"]}

    def shown(self, name, *keys):
        return tuple(self.ports[name][key] for key in keys)

    def test_versions_and_layout(self):
        self.assertEqual(self.document["schema"], 1)
        tool, library = run(machines.REPLAY, machines.EDGE / "root", "--", "-V").stdout.decode().splitlines()[::-1]
        self.assertEqual(tool, "qorx version: " + self.document["versions"]["qorx"])
        self.assertEqual(library, "libqorx version: " + self.document["versions"]["libqorx"])

    def test_counts(self):
        # The README of the machine: twenty ports, eight onboard, six slots, one bridge.
        self.assertEqual(self.document["counts"], {"ports": 20, "onboard_ports": 8, "slots": 6, "slot_records": 14,
                                                   "virtual_interfaces": 1})

    def test_an_onboard_port(self):
        self.assertEqual(self.shown("eth0", "address", "slot", "slot_type", "panel", "feature", "model", "marks"),
                         ("03:00.0", "SFP1", "onboard_device", "SFP1", "NCSI/1PPS", "X722_FI", ["default_panel"]))

    def test_a_port_that_needs_configuration(self):
        self.assertEqual(self.shown("eth3", "feature", "feature_state", "model"),
                         (None, "needs_configuration", "Onboard"))

    def test_a_bypass_pair(self):
        self.assertEqual(self.shown("eth4", "feature", "bypass_controller", "segment"), ("A_BYPASS-C", True, 102))
        self.assertEqual(self.shown("eth5", "feature", "bypass_controller", "segment"), ("A_BYPASS", False, 102))

    def test_a_bypass_controller_on_the_host_bus(self):
        # WMX Slot 1 (H.1.2.255): behind switch port 2 of the adapter, to which the kernel gave a bus of its own.
        path = self.ports["eth8"]["bypass_path"]
        self.assertEqual((path["owner"], path["mcu_segment"]), ("host", None))
        # LAN5 (B.3.2.255.1)
        self.assertEqual(self.ports["eth6"]["bypass_path"],
                         {"owner": "baseboard_controller", "bus": 3, "switches": [2], "mcu_segment": 1})
        self.assertIsNone(self.ports["eth0"]["bypass_path"])

    def test_a_port_without_a_slot_record(self):
        self.assertEqual(self.shown("eth18", "slot", "slot_type", "slot_address", "panel", "segment", "marks"),
                         (None, None, None, None, None, ["no_slot_record", "no_segment"]))

    def test_a_usb_adapter(self):
        self.assertEqual(self.shown("enx00005e005380", "slot", "panel", "model", "subsystem_vendor_id", "marks"),
                         (None, None, None, None, ["usb"]))

    def test_the_slots(self):
        slots = {slot["name"]: slot for slot in self.document["slots"]}
        slot = slots["WMX Slot 2"]
        self.assertEqual((slot["type"], slot["address"], slot["model"], slot["port_count"]),
                         ("system_slot", "0a:00.0", "WMX-4840", 2))
        structure = bytes.fromhex(slot["structure"])
        self.assertEqual(structure[0], 9)
        self.assertEqual(int.from_bytes(structure[2:4], "little"), slot["handle"])
        self.assertTrue(structure.endswith(b"WMX Slot 2\0\0"))
        self.assertEqual(len(structure), slot["structure_length"])

    def test_sources(self):
        self.assertEqual(self.document["sources"]["slot_records"], "sysfs")
        legacy = json.loads(inspect("json", machines.LEGACY / "root").stdout)
        self.assertEqual(legacy["sources"]["slot_records"], "memory")
        for option, file, key, source in (("-smbios_cfg", "smbios.cfg", "smbios_cfg", "override_file"),
                                          ("-config", "qorx.cfg", "config", "sysfs")):
            given = json.loads(inspect("json", machines.EDGE / "root", option, file, cwd=machines.EDGE).stdout)
            self.assertEqual((given["sources"]["slot_records"], given["sources"][key]), (source, file))
        files = [f"root/sys/firmware/dmi/tables/{name}" for name in ("smbios_entry_point", "DMI")]
        given = json.loads(inspect("json", machines.EDGE / "root", "-diag", *files, cwd=machines.EDGE).stdout)["sources"]
        self.assertEqual([given[key] for key in ("slot_records", "diag_entry_point", "diag_table")], ["files", *files])
        self.assertIsNone(json.loads(inspect("json", machines.EDGE / "root", "-vm").stdout)["sources"]["slot_records"])


class ManualPage(unittest.TestCase):
    def test_it_names_every_key_and_no_other(self):
        page = (machines.SOURCE / "doc/man/qorx-inspect.json.5").read_text()
        named = set()
        for line in page.splitlines():
            if line.startswith((".Sy ", ".It Sy ")):
                named.update(line.split("Sy ")[1].replace(" ,", " ").replace(" .", " ").split())
        schema = json.loads(SCHEMA_FILE.read_text())
        keys = set()

        def collect(part):
            if isinstance(part, dict):
                keys.update(part.get("properties", {}))
                for name, value in part.items():
                    if name != "port_record":  # named and described in qorx.h
                        collect(value)
            elif isinstance(part, list):
                for value in part:
                    collect(value)

        collect(schema)
        self.assertEqual(named, keys)

    def test_the_record_has_the_fields_of_the_header(self):
        header = (machines.SOURCE / "lib/qorx.h").read_text()
        record = header.split("struct qorx_eth_device_record {")[1].split("};")[0]
        fields = re.findall(r"^  (?:char|uint8_t|uint32_t) (\w+)[;[]", record, re.MULTILINE)
        schema = json.loads(SCHEMA_FILE.read_text())
        self.assertEqual(list(schema["$defs"]["port_record"]["properties"]), fields + ["bytes"])


class CommandLine(unittest.TestCase):
    def complaint(self, *words, cwd=None):
        result = run(machines.INSPECT, *words, cwd=cwd)
        self.assertEqual((result.returncode, result.stdout), (2, b""))
        self.assertEqual(result.stderr.count(b"\n"), 1, result.stderr)
        self.assertTrue(result.stderr.startswith(b"qorx-inspect: "), result.stderr)
        return result.stderr.decode()

    def test_words_that_are_not_known(self):
        root = str(machines.EDGE / "root")
        self.assertIn("no command", self.complaint())
        self.assertIn("'jsn'", self.complaint("jsn"))
        self.assertIn("'-a'", self.complaint("json", "-a", "--root", root))
        self.assertIn("'eth0'", self.complaint("json", "eth0", "--root", root))
        self.assertIn("'--primary'", self.complaint("json", "--primary", "--root", root))
        self.assertIn("--root needs", self.complaint("json", "--root"))
        self.assertIn("-config needs", self.complaint("json", "-config"))
        self.assertIn("-diag needs", self.complaint("json", "-diag", "one"))
        self.assertIn("-legacy", self.complaint("json", "-sys_WMX_cfg", "wmx_name.cfg"))

    def test_roots_that_cannot_be_read(self):
        self.assertIn("/no/such/place", self.complaint("json", "--root", "/no/such/place"))
        self.assertIn("machines.py", self.complaint("json", "--root", machines.__file__))
        self.complaint("json", "--root", "")

    def test_a_directory_that_holds_no_machine(self):
        with machines.tempfile.TemporaryDirectory() as empty:
            result = inspect("json", empty)
        self.assertEqual((result.returncode, result.stdout), (152, b""))
        self.assertTrue(result.stderr.endswith(b"Error: QORX_ERR_OPEN_DIR (0x98)\n"))

    def test_options_may_stand_anywhere_behind_the_command(self):
        root = str(machines.EDGE / "root")
        one = run(machines.INSPECT, "json", "-novlan", "--root", root, "-config", "qorx.cfg", "-F", cwd=machines.EDGE)
        two = run(machines.INSPECT, "json", "-F", "-config", "qorx.cfg", "--root", root, "-novlan", cwd=machines.EDGE)
        self.assertEqual((one.returncode, one.stdout), (0, two.stdout))
        self.assertEqual(json.loads(one.stdout)["options"],
                         {"legacy": False, "force": True, "sort_slotname": False, "vm": False, "novlan": True})

    def test_messages_never_reach_the_output(self):
        root = machines.EDGE / "root"
        quiet = inspect("json", root, "-ML", "0", "-config", "qorx.cfg", cwd=machines.EDGE)
        traced = inspect("json", root, "-ML", "2", "-config", "qorx.cfg", cwd=machines.EDGE)
        self.assertEqual((quiet.stderr, traced.stdout), (b"", quiet.stdout))
        self.assertIn(b"match str:", traced.stderr)

    def test_lost_output_is_an_error(self):
        with open("/dev/full", "wb") as full:
            words = [machines.INSPECT, "json", "--root", str(machines.EDGE / "root")]
            result = machines.subprocess.run(words, stdout=full, stderr=machines.subprocess.PIPE, check=False)
        self.assertEqual(result.returncode, 2)
        self.assertIn(b"standard output", result.stderr)

    def test_closed_descriptors_do_no_harm(self):
        words = f"'{machines.INSPECT}' json --root '{machines.EDGE}/root'"
        self.assertEqual(run("sh", "-c", words + " 2>&-").stdout, inspect("json", machines.EDGE / "root").stdout)
        self.assertEqual(run("sh", "-c", words + " >&-").returncode, 2)

    def test_help_and_version(self):
        self.assertIn(b"json", run(machines.INSPECT, "--help").stdout)
        self.assertRegex(run(machines.INSPECT, "--version").stdout, rb"^qorx-inspect version: \d\d\.\d\d\n$")


if __name__ == "__main__":
    unittest.main()
