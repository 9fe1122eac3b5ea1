#!/usr/bin/env python3
"""The examples for fleets, with the tools that they are for."""
import json
import os
import pathlib
import re
import shutil
import stat
import subprocess
import tempfile
import unittest

import machines
from machines import EDGE, LEGACY

FLEET = machines.SOURCE / "examples/fleet"


class Fleet(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.directory = pathlib.Path(scratch.name)

    def appliance(self, name, root):
        """A directory with a qorx-inspect that looks at a recorded machine."""
        folder = self.directory / name
        folder.mkdir()
        program = folder / "qorx-inspect"
        program.write_text(f'#!/bin/sh\nexec "{machines.INSPECT}" "$@" --root "{root}"\n')
        program.chmod(0o755)
        return folder

    def run_with(self, appliance, *words, **more):
        env = os.environ | {"PATH": f"{appliance}:{os.environ['PATH']}", "ANSIBLE_HOME": f"{self.directory}/ansible",
                            "ANSIBLE_REMOTE_TMP": f"{self.directory}/ansible/tmp"}
        return subprocess.run(words, env=env, capture_output=True, text=True, check=False, **more)

    def need(self, *tools):
        for tool in tools:
            if not shutil.which(tool):
                self.skipTest(f"{tool} is not installed")


class Fact(Fleet):
    def test_it_prints_what_json_prints(self):
        result = self.run_with(self.appliance("edge", EDGE / "root"), FLEET / "qorx.fact")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertEqual(len(json.loads(result.stdout)["ports"]), 20)

    def test_a_failure_is_a_fact_too(self):
        result = self.run_with(self.appliance("none", self.directory), FLEET / "qorx.fact")
        self.assertEqual(json.loads(result.stdout), {"schema": None, "open_failed": 152, "ports": []})

    def test_ansible_reads_it(self):
        self.need("ansible")
        facts = self.appliance("facts", EDGE / "root")
        shutil.copy(FLEET / "qorx.fact", facts)
        result = self.run_with(facts, "ansible", "localhost", "-i", "localhost,", "-c", "local", "-m", "setup", "-a",
                               f"fact_path={facts} filter=ansible_local", cwd=self.directory)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        local = json.loads(result.stdout.split("=>", 1)[1])["ansible_facts"]["ansible_local"]
        self.assertEqual([port["name"] for port in local["qorx"]["ports"]][:3], ["enx00005e005380", "eth0", "eth1"])

    def test_the_playbook_names_those_that_differ(self):
        self.need("ansible-playbook")
        with machines.changed(EDGE) as machine:
            machine.subsystem(0x13FE, 0x0037, "eth12", "eth13")
            hosts = {"same": EDGE / "root", "swapped": machine.root, "other": LEGACY / "root"}
            (self.directory / "classes").mkdir()
            (self.directory / "classes/edge.json").write_bytes(machines.inspect("json", EDGE / "root").stdout)
            lines = []
            for host, root in hosts.items():
                folder = self.appliance(host, root)
                fact = folder / "qorx.fact"
                fact.write_text((FLEET / "qorx.fact").read_text().replace("PATH=$PATH", f"PATH={folder}:$PATH"))
                fact.chmod(0o755)
                lines.append(f"{host} ansible_connection=local appliance_class=edge qorx_fact_path={folder}")
            (self.directory / "inventory").write_text("\n".join(lines) + "\n")
            result = self.run_with(self.directory, "ansible-playbook", "-i", "inventory", "-e",
                                   f"classes={self.directory}/classes", FLEET / "differences.yml", cwd=self.directory)
        self.assertEqual(result.returncode, 2, result.stdout + result.stderr)
        self.assertRegex(result.stdout, r"same +: ok=2 .*failed=0")
        self.assertRegex(result.stdout, r"swapped +: ok=1 .*failed=1")
        self.assertRegex(result.stdout, r"other +: ok=1 .*failed=1")
        self.assertIn("expected, not found: WMX Slot 2, 1: WMX-4840, feature A_BYPASS-C, segment 8", result.stdout)
        self.assertIn("found, not expected: WMX Slot 2, 1: WMX-2248, feature None, segment None", result.stdout)


class Metrics(Fleet):
    def metrics(self, root, *words):
        self.need("jq")
        file = self.directory / "qorx.prom"
        result = self.run_with(self.appliance("appliance", root), FLEET / "qorx-textfile", file, *words)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(stat.S_IMODE(file.stat().st_mode), 0o644)
        self.assertEqual(list(self.directory.glob("qorx.prom.*")), [], "no temporary file is left")
        return file.read_text()

    def test_one_line_per_port(self):
        text = self.metrics(EDGE / "root")
        self.assertIn("\nqorx_open_failed 0\n", text)
        self.assertEqual(len(re.findall(r"^qorx_port_info\{.*\} 1$", text, re.MULTILINE)), 20)
        self.assertIn('\nqorx_port_info{interface="eth4",address="06:00.0",slot="LAN3",panel="LAN3",model="X553_CO",'
                      'feature="A_BYPASS-C",segment="102"} 1\n', text)
        self.assertIn('\nqorx_port_info{interface="eth18",address="65:00.0",slot="",panel="",model="PCIE-7289BP",'
                      'feature="A_BYPASS-C",segment=""} 1\n', text)

    def test_options_are_handed_on(self):
        self.assertIn('slot="WMX Slot 4",panel="4-A"', self.metrics(EDGE / "root", "-config", str(EDGE / "qorx.cfg")))

    def test_a_failure_is_a_metric(self):
        text = self.metrics(self.directory)
        self.assertIn("\nqorx_open_failed 1\n", text)
        self.assertNotIn("qorx_port_info", text)

    def test_promtool_accepts_them_whatever_the_names(self):
        self.need("promtool")
        with machines.small_machine() as machine:
            for number, name in enumerate((b'a"b', b"back\\slash", b"line\nfeed", b"latin\xe9", b"tab\t\x01")):
                machine.port(name, f"{number + 1:02x}:00.0").slot(name, f"{number + 1:02x}:00.0")
            text = self.metrics(os.fsdecode(machine.root))
        self.assertEqual(len(re.findall(r"^qorx_port_info\{", text, re.MULTILINE)), 5)
        result = subprocess.run(["promtool", "check", "metrics"], input=text.encode(), capture_output=True, check=False)
        self.assertEqual((result.returncode, result.stdout + result.stderr), (0, b""))


class Scripts(Fleet):
    def test_shellcheck_finds_nothing(self):
        self.need("shellcheck")
        result = subprocess.run(["shellcheck", FLEET / "qorx.fact", FLEET / "qorx-textfile"], capture_output=True,
                                text=True, check=False)
        self.assertEqual((result.returncode, result.stdout), (0, ""))


if __name__ == "__main__":
    unittest.main()
