#!/usr/bin/env python3
"""A suite in which a test ends the program has failed: tests/run_suite.

Usage: run_suite_test.py EARLY-EXIT-PROGRAM
"""
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

RUN_SUITE = pathlib.Path(__file__).resolve().parents[1] / "run_suite"
PROGRAM = None
ENDED = "A test ended the program: those behind it did not run.\n"


def run(tests, *options):
    """(status, standard error, standard output, what is left in the directory for temporary files)."""
    with tempfile.TemporaryDirectory() as temporary:
        ended = subprocess.run([RUN_SUITE, PROGRAM, f"--gtest_filter={tests}", *options], capture_output=True, text=True,
                               timeout=60, check=False, env={**os.environ, "TMPDIR": temporary})
        return ended.returncode, ended.stderr, ended.stdout, os.listdir(temporary)


class RunSuite(unittest.TestCase):
    def test_a_suite_that_ran_whole_has_the_programs_status(self):
        for tests, status in (("*.Passes", 0), ("*.IsSkipped", 0), ("*.Passes:*.IsSkipped", 0), ("*.Fails", 1)):
            for options in ((), ("--gtest_brief=1",)):
                with self.subTest(tests=tests, options=options):
                    ended = run(tests, *options)
                    self.assertEqual((*ended[:2], ended[3]), (status, "", []))

    def test_a_suite_that_a_test_ended_has_failed(self):
        for tests in ("*.EndsByExit", "*.EndsByUnderscoreExit", "*.Passes:*.EndsByExit"):
            for options in ((), ("--gtest_brief=1",)):
                with self.subTest(tests=tests, options=options):
                    ended = run(tests, *options)
                    self.assertEqual((*ended[:2], ended[3]), (1, ENDED, []))

    def test_another_status_stays(self):
        self.assertEqual(run("*.EndsByExitWith3")[0], 3)

    def test_the_programs_output_is_left_alone(self):
        self.assertIn(": Skipped\nno need\n", run("*.IsSkipped")[2])


if __name__ == "__main__":
    PROGRAM = sys.argv[1]
    unittest.main(argv=sys.argv[:1], verbosity=2)
