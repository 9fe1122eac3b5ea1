#!/usr/bin/env python3
"""qorx-inspect link: the files, what it leaves alone, and what udev makes of them."""
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

import machines
from machines import EDGE, inspect, run

MARKER = "# Written by qorx-inspect link, which replaces and removes it. Change a copy.\n"

# The names of the sample machine, by its description: interface, name, what udev calls its path.
EDGE_NAMES = {
    "eth0": ("sfp1", "pci-0000:03:00.0"), "eth1": ("sfp2", "pci-0000:03:00.1"), "eth2": ("lan1", "pci-0000:04:00.0"),
    "eth3": ("lan2", "pci-0000:05:00.0"), "eth4": ("lan3", "pci-0000:06:00.0"), "eth5": ("lan4", "pci-0000:06:00.1"),
    "eth6": ("lan5", "pci-0000:07:00.0"), "eth7": ("lan6", "pci-0000:08:00.0"),
    "eth8": ("wmx1p1", "pci-0000:09:00.0"), "eth9": ("wmx1p2", "pci-0000:09:00.1"),
    "eth10": ("wmx1p3", "pci-0000:09:00.2"), "eth11": ("wmx1p4", "pci-0000:09:00.3"),
    "eth12": ("wmx2p1", "pci-0000:0a:00.0"), "eth13": ("wmx2p2", "pci-0000:0a:00.1"),
    "eth14": ("sw3p1", "pci-0000:0d:00.0"), "eth15": ("sw3p2", "pci-0000:0e:00.0"),
    "eth17": ("pcie1p1", "pci-0000:11:00.0")}
LEFT_OUT = {"enx00005e005380", "eth18"}


def snapshot(directory):
    return {path.name: path.read_bytes() for path in directory.iterdir()}


class Directories(unittest.TestCase):
    def test_a_name_that_the_system_refuses_is_told(self):
        result = inspect("link -o " + 5000 * "x", EDGE / "root")
        self.assertEqual((result.returncode, result.stdout), (2, b""))
        self.assertRegex(result.stderr, rb"\Aqorx-inspect: [^\n]*File name too long[^\n]*\n\Z")


class Files(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.directory = pathlib.Path(scratch.name)

    def link(self, *words, root=EDGE / "root", status=0):
        result = inspect(f"link -o {self.directory}", root, *words)
        self.assertEqual(result.returncode, status, result.stderr)
        return result.stdout.decode(), result.stderr.decode()

    def file(self, name):
        return self.directory / f"70-qorx-{name}.link"

    def test_a_file_for_each_port_with_a_place(self):
        output, errors = self.link()
        expected = {f"70-qorx-{name}.link" for name, _ in EDGE_NAMES.values()} | {"70-qorx-wmx5.link"}
        self.assertEqual(set(snapshot(self.directory)), expected)
        self.assertEqual(output.splitlines()[0], f"{self.file('sfp1')}: eth0 is sfp1")
        self.assertEqual(errors.splitlines(),
                         [f"qorx-inspect: {name} is left out: it has no slot" for name in sorted(LEFT_OUT)])

    def test_a_file_matches_by_path_and_keeps_the_policies_of_the_system(self):
        self.link()
        self.assertEqual(self.file("wmx1p3").read_text(),
                         MARKER + "# WMX Slot 1 (H.1.2.255), 3\n\n"
                         "[Match]\nPath=pci-0000:09:00.2\n\n"
                         "[Link]\nNamePolicy=keep kernel database onboard slot path\nAlternativeName=wmx1p3\n"
                         "AlternativeNamesPolicy=database onboard slot path\nMACAddressPolicy=persistent\n")
        for name, path in EDGE_NAMES.values():
            self.assertIn(f"\nPath={path}\n", self.file(name).read_text())
        # A module behind a USB controller.
        self.assertRegex(self.file("wmx5").read_text(), r"\nPath=pci-0000:10:00\.0-usb-0:[0-9.]+:1\.0\n")
        self.assertEqual(os.stat(self.file("sfp1")).st_mode & 0o777, 0o644)

    def test_the_policies_are_those_of_the_installed_system_but_names_after_the_mac(self):
        default = pathlib.Path("/usr/lib/systemd/network/99-default.link")
        if not default.exists():
            self.skipTest("systemd's own files are not installed")
        self.link()
        ours = self.file("sfp1").read_text()
        theirs = [line for line in default.read_text().split("[Link]\n")[1].splitlines() if line]
        self.assertGreater(len(theirs), 1)
        for line in theirs:
            if line.startswith("AlternativeNamesPolicy="):
                line = line.removesuffix(" mac")  # systemd 257 and later; deliberately left out
            self.assertIn(line + "\n", ours)

    def test_primary_names(self):
        self.link("--primary")
        text = self.file("lan4").read_text()
        self.assertIn("\n[Link]\nName=lan4\n", text)
        self.assertNotIn("\nNamePolicy=", text)
        self.assertNotIn("\nAlternativeName=", text)

    def test_again_is_the_same(self):
        self.link()
        before = snapshot(self.directory)
        self.link()
        self.assertEqual(snapshot(self.directory), before)

    def test_a_replaced_card_keeps_its_names(self):
        self.link()
        before = snapshot(self.directory)
        with machines.changed(EDGE) as machine:
            machine.subsystem(0x13FE, 0x0037, "eth12", "eth13")
            (machine.device("eth12") / "net/eth12/address").write_text("00:00:5e:00:53:fe\n")
            self.link(root=machine.root)
        self.assertEqual(snapshot(self.directory), before)

    def test_its_own_old_files_go(self):
        self.link()
        with machines.changed(EDGE) as machine:
            machine.unplug("eth12", "eth13")
            output, _ = self.link(root=machine.root)
        self.assertFalse(self.file("wmx2p1").exists())
        self.assertIn(f"{self.file('wmx2p1')}: removed\n", output)
        self.assertTrue(self.file("wmx1p1").exists())

    def test_foreign_files_are_never_touched(self):
        foreign = {self.file("sfp1"): "[Match]\nPath=x\n", self.file("old"): "", self.file("near"): MARKER[1:],
                   self.directory / "10-qorx.link": MARKER, self.directory / "70-qorx-x.conf": MARKER}
        for file, text in foreign.items():
            file.write_text(text)
        elsewhere = self.directory.parent / (self.directory.name + "-elsewhere")
        elsewhere.write_text(MARKER)
        self.addCleanup(elsewhere.unlink)
        self.file("sfp2").symlink_to(elsewhere)
        self.file("lan1").mkdir()
        _, errors = self.link(status=2)
        for file, text in foreign.items():
            self.assertEqual(file.read_text(), text)
        self.assertEqual(elsewhere.read_text(), MARKER)
        self.assertTrue(self.file("sfp2").is_symlink())
        for name in ("sfp1", "sfp2", "lan1"):
            self.assertIn(f"qorx-inspect: {self.file(name)} is not a file of this program: it stays as it is\n", errors)
        self.assertTrue(self.file("lan4").exists(), "the others are written")

    def test_a_dry_run_writes_nothing(self):
        self.link()
        self.file("lan4").unlink()
        self.file("gone").write_text(MARKER)
        before = snapshot(self.directory)
        output, _ = self.link("--dry-run")
        self.assertEqual(snapshot(self.directory), before)
        self.assertIn(f"{self.file('lan4')}:\n{MARKER}", output)
        self.assertIn(f"{self.file('gone')}: would be removed\n", output)
        without = run(machines.INSPECT, "link", "--dry-run", "--root", str(EDGE / "root"), cwd=self.directory)
        self.assertIn(f"70-qorx-lan4.link:\n{MARKER}".encode(), without.stdout)
        self.assertEqual(snapshot(self.directory), before)

    def test_a_full_disk_leaves_the_old_file(self):
        self.link()
        before = snapshot(self.directory)
        words = f"ulimit -f 0; exec '{machines.INSPECT}' link -o '{self.directory}' --root '{EDGE}/root' --primary 2>&1 | cat"
        output = run("sh", "-c", words).stdout.decode()
        self.assertIn("can't be written\n", output)
        self.assertEqual(snapshot(self.directory), before)

    def test_no_directory(self):
        for wrong in ("/no/such/place", "/dev/null", ""):
            result = run(machines.INSPECT, "link", "-o", wrong, "--root", str(EDGE / "root"))
            self.assertEqual((result.returncode, result.stdout), (2, b""))
            self.assertEqual(result.stderr.decode(), f"qorx-inspect: {wrong} is no directory\n")
        result = run(machines.INSPECT, "link", "--root", str(EDGE / "root"))
        self.assertEqual((result.returncode, result.stderr.count(b"\n")), (2, 1))

    def test_names_cannot_break_a_file(self):
        with machines.small_machine() as machine:
            machine.port("eth0", "03:00.0").slot(b"A\n[Link]\nName=x\x01 1", "03:00.0")
            self.link(root=os.fsdecode(machine.root))
        text = self.file("alinknamex1p1").read_text()
        self.assertEqual(text.count("[Link]"), 2)
        self.assertEqual(text.splitlines()[1], "# A?[Link]?Name=x? 1, 1")


# In a network and mount namespace of its own: an interface, what udev knows of it, and our files.
UDEV_SCRIPT = """
set -e
ip link add qorxtest type veth peer name qorxpeer
mount -t sysfs sysfs /sys
mount -t tmpfs tmpfs /run
mkdir -p /run/udev/data /run/systemd/network
printf 'E:ID_PATH=%s\\n' "$2" > /run/udev/data/n$(cat /sys/class/net/qorxtest/ifindex)
cp "$1"/* /run/systemd/network/
udevadm test-builtin net_setup_link /sys/class/net/qorxtest 2>&1
ip link show dev qorxtest
"""


class Udev(unittest.TestCase):
    def setUp(self):
        for tool in ("udevadm", "ip", "unshare"):
            if not shutil.which(tool):
                self.skipTest(f"{tool} is not installed")
        possible = subprocess.run(["unshare", "-mn", "sh", "-c", "ip link add qorxtest type veth && mount -t sysfs sysfs /sys"],
                                  capture_output=True, check=False)
        if possible.returncode != 0:
            self.skipTest("no namespace of its own: " + possible.stderr.decode().strip())
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.directory = scratch.name

    def applied(self, path, *words):
        result = inspect(f"link -o {self.directory}", EDGE / "root", *words)
        self.assertEqual(result.returncode, 0)
        result = run("unshare", "-mn", "sh", "-c", UDEV_SCRIPT, "sh", self.directory, path)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        self.assertNotRegex(result.stdout, rb"70-qorx-[^ ]*\.link:[0-9]+:", "a complaint about a line of ours")
        return result.stdout.decode()

    def test_a_port_gets_its_alternative_name(self):
        output = self.applied("pci-0000:09:00.2")
        self.assertIn("ID_NET_LINK_FILE=/run/systemd/network/70-qorx-wmx1p3.link\n", output)
        self.assertRegex(output, r"\n *altname wmx1p3\n")

    def test_a_port_behind_usb(self):
        path = next(line[5:] for line in self.usb_file().splitlines() if line.startswith("Path="))
        self.assertIn("70-qorx-wmx5.link\n", self.applied(path))

    def usb_file(self):
        inspect(f"link -o {self.directory}", EDGE / "root")
        return pathlib.Path(self.directory, "70-qorx-wmx5.link").read_text()

    def test_another_place_is_left_alone(self):
        self.assertNotIn("qorx-", self.applied("pci-0000:77:00.0").split("\nID_NET_LINK_FILE=")[1])

    def test_a_primary_name(self):
        output = self.applied("pci-0000:06:00.1", "--primary")
        self.assertIn("ID_NET_LINK_FILE=/run/systemd/network/70-qorx-lan4.link\n", output)
        self.assertIn("ID_NET_NAME=lan4\n", output)


if __name__ == "__main__":
    unittest.main()
