#!/usr/bin/env python3
"""scripts/check-floors on the sources as they are, and on copies with one include too many."""
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(__file__).resolve().parents[2]
CHECK = SOURCE / "scripts/check-floors"


def check(root):
    run = subprocess.run([sys.executable, "-B", str(CHECK), str(root)], capture_output=True, text=True, check=False)
    return run.returncode, run.stdout


class Floors(unittest.TestCase):
    def setUp(self):
        self.scratch = tempfile.TemporaryDirectory()
        self.root = pathlib.Path(self.scratch.name)
        (self.root / "doc").mkdir()
        table = shutil.copy(SOURCE / "doc/floors.txt", self.root / "doc/floors.txt")
        for folder in sorted({line.split()[1].split("/")[0] for line in pathlib.Path(table).read_text().splitlines()
                              if re.match(r"[0-9]", line)}):
            shutil.copytree(SOURCE / folder, self.root / folder)

    def tearDown(self):
        self.scratch.cleanup()

    def include(self, source, target):
        path = self.root / source
        path.write_text(f'#include "{target}"\n' + path.read_text())

    def test_the_sources_keep_to_their_floors(self):
        status, output = check(SOURCE)
        self.assertEqual(status, 0, output)

    def test_an_include_that_goes_up_is_named(self):
        for source, target, floors in (("base/system_root.cpp", "records/state.h", (0, 1)),
                                       ("records/state.cpp", "ident/strings.h", (1, 2)),
                                       ("discovery/pci_config.cpp", "discovery/topology.h", (2, 3)),
                                       ("output/port_row.cpp", "output/virtual_interfaces.h", (3, 4)),
                                       ("config/panel_names.cpp", "cli/options.h", (4, 6))):
            with self.subTest(source=source, target=target):
                before = (self.root / source).read_text()
                self.include(source, target)
                status, output = check(self.root)
                (self.root / source).write_text(before)
                self.assertEqual(status, 1)
                self.assertIn(f"{source}:1: floor {floors[0]} includes {target} of floor {floors[1]}\n", output)

    def test_the_public_header_may_be_seen_from_everywhere(self):
        self.include("base/text_fields.cpp", "lib/qorx.h")
        self.assertEqual(check(self.root)[0], 0)

    def test_two_files_that_include_each_other_are_named(self):
        self.include("base/bounded_text.h", "base/text_fields.h")
        self.include("base/text_fields.h", "base/bounded_text.h")
        status, output = check(self.root)
        self.assertEqual(status, 1)
        self.assertIn("circle: base/bounded_text.h -> base/text_fields.h -> base/bounded_text.h", output)

    def test_an_include_of_a_folder_that_the_table_does_not_know_is_named(self):
        self.include("cli/main.cpp", "elsewhere/thing.h")
        status, output = check(self.root)
        self.assertEqual(status, 1)
        self.assertIn("cli/main.cpp:1: elsewhere/thing.h has no line in doc/floors.txt", output)

    def test_a_line_that_no_file_needs_is_named(self):
        with (self.root / "doc/floors.txt").open("a") as table:
            table.write("3  ident/forgotten  nothing\n")
        status, output = check(self.root)
        self.assertEqual(status, 1)
        self.assertIn("doc/floors.txt: no file is ident/forgotten", output)

    def test_the_architecture_page_quotes_the_table(self):
        page = (SOURCE / "doc/architecture.md").read_text()
        self.assertIn("```\n" + (SOURCE / "doc/floors.txt").read_text() + "```\n", page)


if __name__ == "__main__":
    unittest.main(verbosity=2)
