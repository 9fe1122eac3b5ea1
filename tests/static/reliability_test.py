#!/usr/bin/env python3
"""Every row of the tables in doc/reliability.md names a test, and every test that is named exists.

Usage: reliability_test.py BUILD-DIRECTORY
"""
import pathlib
import re
import sys
import unittest

PAGE = pathlib.Path(__file__).resolve().parents[2] / "doc/reliability.md"
BUILD = None


def known_tests(build):
    """The names in the files that ctest reads, where each suite names its tests.

    Asking ctest itself, while it runs, would wipe its log.
    """
    names = set()
    folder = pathlib.Path(build, "tests")
    for path in [*folder.rglob("CTestTestfile.cmake"), *folder.rglob("*_tests*.cmake")]:
        names.update(re.findall(r'(?:add_test\(\s*(?:\[=*\[|"?)|^# test )([^\]"\s]+)', path.read_text(), re.MULTILINE))
    return names


def rows(page):
    """(line number, cells) of every row of a table, without its head."""
    in_table = False
    for number, line in enumerate(page.splitlines(), 1):
        if not line.startswith("|"):
            in_table = False
            continue
        if re.fullmatch(r"[|\- ]+", line):
            in_table = True
        elif in_table:
            yield number, [cell.strip() for cell in line.strip("|").split("|")]


def complaints(page, names):
    found = []
    for number, cells in rows(page):
        tests = re.findall(r"`([^`]+)`", cells[-1])
        if not tests or cells[-1] != ", ".join(f"`{test}`" for test in tests):
            found.append(f"line {number}: no test is named")
        for test in tests:
            if not any(test in name for name in names):
                found.append(f"line {number}: there is no test {test}")
    return found


class Reliability(unittest.TestCase):
    def test_every_row_names_a_test_that_exists(self):
        names = known_tests(BUILD)
        self.assertGreater(len(names), 1000)
        page = PAGE.read_text()
        self.assertGreater(len(list(rows(page))), 50)
        self.assertEqual(complaints(page, names), [])

    def test_a_row_without_one_is_seen(self):
        table = "| What | Test |\n|---|---|\n| a fault | `some.Test` |\n"
        self.assertEqual(complaints(table, ["folder.some.Test/1"]), [])
        self.assertEqual(complaints(table, ["other.Test"]), ["line 3: there is no test some.Test"])
        self.assertEqual(complaints(table + "| another | 0 |\n", ["some.Test"]), ["line 4: no test is named"])


if __name__ == "__main__":
    BUILD = sys.argv[1]
    unittest.main(argv=sys.argv[:1], verbosity=2)
