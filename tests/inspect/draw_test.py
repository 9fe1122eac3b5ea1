#!/usr/bin/env python3
"""qorx-inspect draw: everything is there, nothing overlaps, on the terminal and as SVG."""
import json
import os
import pathlib
import pty
import re
import shutil
import subprocess
import tempfile
import unicodedata
import unittest
import xml.etree.ElementTree as ElementTree

import machines
from machines import EDGE, inspect, run

SVG = "{http://www.w3.org/2000/svg}"


def environment(**more):
    kept = {key: value for key, value in os.environ.items() if key not in ("LC_ALL", "LANG", "NO_COLOR", "LC_CTYPE")}
    return kept | more


def columns(line):
    return sum(2 if unicodedata.east_asian_width(c) in "WF" else 1 for c in line if not unicodedata.combining(c))


def populated(machine, count):
    """Ports in slots of one, two, four, six ports, with and without bypass, some without a slot."""
    sizes = (4, 2, 1, 6)
    number = bus = 0
    while number < count:
        bus += 1
        size = sizes[bus % 4]
        ids = ((0x8086, 0x1521, 0x13FE, 0x0035), (0x8086, 0x1521, 0x13FE, 0x0037))[bus % 2]
        if bus % 5:
            machine.slot(f"{('WMX', 'PCIE')[bus % 2]} Slot {bus}", f"{bus:02x}:00.0")
        for function in range(min(size, count - number)):
            machine.port(f"eth{number}", f"{bus:02x}:00.{function}", ids)
            number += 1
    machine.slot("WMX Slot 99", "fe:00.0").onboard("LAN1", "fd:00.0")
    return machine


class Rectangle:
    def __init__(self, left, top, width, height):
        self.left, self.top, self.right, self.bottom = left, top, left + width, top + height

    def overlaps(self, other):
        return (self.left < other.right and other.left < self.right and
                self.top < other.bottom and other.top < self.bottom)

    def holds(self, other):
        return (self.left <= other.left and other.right <= self.right and
                self.top <= other.top and other.bottom <= self.bottom)


class Picture:
    """The rectangles of a drawing, by class, and its texts with the space that they take."""

    def __init__(self, svg):
        self.root = ElementTree.fromstring(svg)
        self.sheet = Rectangle(0, 0, int(self.root.get("width")), int(self.root.get("height")))
        self.rectangles = {}
        for rect in self.root.iter(SVG + "rect"):
            if rect.get("x"):
                place = Rectangle(*(int(rect.get(key)) for key in ("x", "y", "width", "height")))
                self.rectangles.setdefault(rect.get("class").split()[0], []).append(place)
        # Letters of 13 pixels reach 11 above their line and 4 below.
        self.texts = [(text.text, Rectangle(int(text.get("x")), int(text.get("y")) - 11, int(text.get("textLength")), 15))
                      for text in self.root.iter(SVG + "text")]


class Svg(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.file = pathlib.Path(scratch.name, "front.svg")

    def draw(self, root, *words, **more):
        result = inspect(f"draw -o {self.file}", os.fsdecode(root), *words, **more)
        self.assertEqual((result.returncode, result.stdout), (0, b""), result.stderr)
        return self.file.read_bytes()

    def assert_apart(self, rectangles, kind):
        ordered = sorted(rectangles, key=lambda r: r.top)
        for i, first in enumerate(ordered):
            for second in ordered[i + 1:]:
                if second.top >= first.bottom:
                    break
                self.assertFalse(first.overlaps(second), f"{kind}: {vars(first)} {vars(second)}")

    def check(self, svg):
        picture = Picture(svg)
        boxes = picture.rectangles["box"]
        ports = picture.rectangles.get("port", [])[:-4]  # the last four are the legend's
        samples = picture.rectangles["port"][-4:]
        labels = picture.rectangles.get("segment", [])
        texts = [place for _, place in picture.texts]
        self.assert_apart(boxes + samples, "boxes")
        self.assert_apart(ports + samples + labels, "ports")
        self.assert_apart(texts, "texts")
        for port in ports:
            self.assertEqual(sum(box.holds(port) for box in boxes), 1)
        for place in boxes + texts:
            self.assertTrue(picture.sheet.holds(place))
        for text, place in picture.texts:
            for kind, several in (("box", boxes), ("port", ports + samples), ("segment", labels)):
                for rectangle in several:
                    if rectangle.overlaps(place):
                        self.assertTrue(rectangle.holds(place), f"{text!r} leaves its {kind}")
        return picture, ports, labels

    def test_nothing_overlaps_whatever_the_number_of_ports(self):
        for count in (1, 16, 512):
            with self.subTest(ports=count), machines.small_machine() as machine:
                populated(machine, count)
                svg = self.draw(machine.root)
                _, ports, _ = self.check(svg)
                self.assertEqual(len(ports), count)

    def test_the_sample_machines(self):
        for name, root, options, directory in machines.samples():
            with self.subTest(machine=name):
                if inspect("json", root, *options, cwd=directory).returncode == 0:
                    self.check(self.draw(root, *options, cwd=directory))

    def test_what_is_in_the_picture(self):
        picture, _, labels = self.check(self.draw(EDGE / "root"))
        texts = [text for text, _ in picture.texts]
        for wanted in ("Main board", "WMX Slot 1 (H.1.2.255)", "PCIE Slot 2", "empty", "Without a slot", "eth4",
                       "A_BYPASS-C", "X553_CO", "LAN3 (*)", "(!!)", "(u)", "seg (?)", "enx00005e005380", "Need cfg"):
            self.assertIn(wanted, texts)
        # The pairs of the machine: LAN3 and 4, LAN5 and 6, two in slot 1, slot 2, SW slot 3.
        self.assertEqual(len(labels), 6)
        for segment in ("102", "103", "4", "5", "8", "12"):
            self.assertEqual(texts.count(segment), 1, segment)
        self.assertLess(texts.index("LAN1 (*)"), texts.index("LAN2 (*)"))
        self.assertLess(texts.index("WMX Slot 2"), texts.index("WMX Slot 5"))

    def test_names_of_every_kind_of_byte(self):
        with machines.small_machine() as machine:
            for number, name in enumerate((b"<b>&\"'", b"\x01\x1b]]>", b"\xff\xfe", "\uffff".encode(), "端口一二三四五六七".encode(),
                                           b"x" * 255)):
                machine.port(name[:200], f"{number + 1:02x}:00.0").slot(name, f"{number + 1:02x}:00.0")
            self.check(self.draw(machine.root))
            self.assertEqual(self.xmllint(), "")

    def xmllint(self):
        if not shutil.which("xmllint"):
            return ""
        result = run("xmllint", "--noout", str(self.file))
        return "" if result.returncode == 0 else result.stderr.decode()

    def test_it_is_well_formed_and_needs_nothing_from_outside(self):
        if not shutil.which("xmllint"):
            self.skipTest("xmllint is not installed")
        svg = self.draw(EDGE / "root").decode()
        self.assertEqual(self.xmllint(), "")
        self.assertNotRegex(svg, r"<script|@import|@font-face|href|url\(|on[a-z]+=")

    def test_it_can_be_rendered(self):
        if not shutil.which("rsvg-convert"):
            self.skipTest("rsvg-convert is not installed")
        picture = Picture(self.draw(EDGE / "root"))
        png = run("rsvg-convert", str(self.file)).stdout
        self.assertTrue(png.startswith(b"\x89PNG"))
        size = (int.from_bytes(png[16:20], "big"), int.from_bytes(png[20:24], "big"))
        self.assertEqual(size, (picture.sheet.right, picture.sheet.bottom))

    def test_the_picture_of_the_readme_is_this_one(self):
        expected = (machines.SOURCE / "doc/edge-front.svg").read_bytes()
        self.assertEqual(self.draw(EDGE / "root"), expected, "doc/edge-front.svg: qorx-inspect draw -o")

    def test_a_file_that_cannot_be_written(self):
        for file in ("/no/such/place/x.svg", "/dev/full", "/"):
            result = inspect(f"draw -o {file}", EDGE / "root")
            self.assertEqual((result.returncode, result.stdout), (2, b""))
            self.assertRegex(result.stderr.decode(), rf"^qorx-inspect: {file} can't be written: .+\n$")


class Terminal(unittest.TestCase):
    def draw(self, root, *words, **env):
        result = inspect("draw", os.fsdecode(root), *words, env=environment(**env))
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stdout.decode("ascii" if env.get("LC_ALL") == "C" else "utf-8")

    def check(self, text):
        for line in text.splitlines():
            self.assertLessEqual(columns(line), 80, line)
        return text

    def test_it_fits_whatever_the_number_of_ports(self):
        for count in (1, 16, 512):
            with self.subTest(ports=count), machines.small_machine() as machine:
                populated(machine, count)
                text = self.check(self.draw(machine.root, LC_ALL="C.UTF-8"))
                for number in range(count):
                    self.assertEqual(len(re.findall(rf"│eth{number}[ ╞]", text)) + len(re.findall(rf"╡eth{number} ", text)),
                                     1, f"eth{number}")
                self.assert_borders_meet(text)

    def assert_borders_meet(self, text):
        """Every border goes on in its directions: nothing has been drawn over it."""
        lines = [list(line) for line in text.splitlines()]

        def at(row, column):
            return lines[row][column] if 0 <= row < len(lines) and 0 <= column < len(lines[row]) else " "

        for row, line in enumerate(lines):
            for column, character in enumerate(line):
                if character in "┌┐│╞╡":
                    self.assertIn(at(row + 1, column), "│└┘╞╡", f"{row}:{column}")
                if character in "└┘│╞╡":
                    self.assertIn(at(row - 1, column), "│┌┐╞╡", f"{row}:{column}")
                if character == "╞":
                    self.assertIn("╡", line[column:column + 8])

    def test_the_sample_machine(self):
        text = self.draw(EDGE / "root", LC_ALL="C.UTF-8")
        self.assert_borders_meet(text)
        self.assertIn("│eth4         ╞═102═╡eth5         │", text)
        self.assertIn("│eth8         ╞══4══╡eth9         │", text)
        self.assertIn("┌─ PCIE Slot 2 ───┐", text)
        self.assertIn("│ empty           │", text)
        self.assertIn("└─ WMX-44C0 ───", text)

    def test_ascii_where_the_locale_has_no_utf8(self):
        text = self.check(self.draw(EDGE / "root", LC_ALL="C"))
        self.assertIn("|eth4         |=102=|eth5         |", text)
        with machines.small_machine() as machine:
            machine.port("eth\u00e9", "01:00.0").slot("Schl\u00fcssel", "01:00.0")
            self.assertIn("|eth?         |", self.draw(machine.root, LC_ALL="C"))
            self.assertIn("│eth\u00e9         │", self.draw(machine.root, LC_ALL="C.UTF-8"))

    def test_wide_characters_take_two_columns(self):
        with machines.small_machine() as machine:
            machine.port("eth0", "01:00.0").slot("端口端口端口端口端口", "01:00.0")
            text = self.check(self.draw(machine.root, LC_ALL="C.UTF-8"))
            widths = {columns(line) for line in text.splitlines() if line.startswith(("│", "└"))}
            self.assertEqual(len(widths), 1, text)

    def test_control_characters_do_not_reach_the_terminal(self):
        with machines.small_machine() as machine:
            machine.port(b"e\x1b[31m\x9b2J", "01:00.0").slot(b"S\x07\r\n", "01:00.0")
            text = self.draw(machine.root, LC_ALL="C.UTF-8")
            self.assertNotRegex(text, r"[\x00-\x09\x0b-\x1f\x7f-\x9f]")

    def on_a_terminal(self, **env):
        leader, follower = pty.openpty()
        words = [machines.INSPECT, "draw", "--root", str(EDGE / "root")]
        process = subprocess.Popen(words, stdout=follower, stderr=subprocess.DEVNULL,
                                   env=environment(LC_ALL="C.UTF-8", TERM="xterm", **env))
        os.close(follower)
        output = b""
        try:
            while piece := os.read(leader, 4096):
                output += piece
        except OSError:  # the other end is closed
            pass
        os.close(leader)
        self.assertEqual(process.wait(), 0)
        return output.decode().replace("\r\n", "\n")

    def test_colours_only_on_a_terminal_and_not_when_unwanted(self):
        plain = self.draw(EDGE / "root", LC_ALL="C.UTF-8", TERM="xterm")
        coloured = self.on_a_terminal()
        self.assertNotIn("\x1b", plain)
        self.assertIn("\x1b[33m╞═102═╡", coloured)
        self.assertEqual(re.sub(r" +\n", "\n", re.sub("\x1b\\[[0-9]*m", "", coloured)), plain)
        self.assertEqual(self.on_a_terminal(NO_COLOR="1"), plain)

    def test_a_machine_without_ports(self):
        with machines.small_machine() as machine:
            self.assertIn("empty", self.draw(machine.root))


class Together(unittest.TestCase):
    def test_every_port_is_drawn(self):
        for name, root, options, directory in machines.samples():
            result = inspect("json", root, *options, cwd=directory)
            if result.returncode:
                continue
            with self.subTest(machine=name):
                text = inspect("draw", root, *options, cwd=directory, env=environment(LC_ALL="C.UTF-8")).stdout.decode()
                for port in json.loads(result.stdout)["ports"]:
                    shown = port["name"] if len(port["name"]) <= 13 else port["name"][:12] + "…"
                    self.assertIn(shown, text)


if __name__ == "__main__":
    unittest.main()
