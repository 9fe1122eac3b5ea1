#!/usr/bin/env python3
"""What the shells offer behind a half-typed qorx-inspect, compared with what the program takes."""
import os
import re
import shutil
import subprocess
import tempfile
import unittest

import machines
from machines import run

COMPLETIONS = machines.SOURCE / "completions"
LIBRARY_OPTIONS = {"-config", "-smbios_cfg", "-legacy", "-sys_WMX_cfg", "-F", "-sort_slotname", "-novlan", "-vm", "-diag",
                   "-ML"}
COMMANDS = {"json", "compare", "link", "draw", "explain", "--help", "--version"}
OWN = {"json": set(), "compare": {"--ignore", "--with"}, "link": {"-o", "--primary", "--dry-run"}, "draw": {"-o"},
       "explain": set()}


class Shell:
    """The tests, for a shell that offers words."""

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.directory = scratch.name
        os.makedirs(self.directory + "/net")
        for name in ("lo", "eth0", "br0"):
            os.symlink("x", f"{self.directory}/net/{name}")
        for name in ("qorx.cfg", "other"):
            open(f"{self.directory}/{name}", "w").close()

    def run_script(self, shell, script):
        if not shutil.which(shell):
            self.skipTest(f"{shell} is not installed")
        env = os.environ | {"QORX_COMPLETION_NET": self.directory + "/net"}
        result = subprocess.run([shell, "-c", script], cwd=self.directory, env=env, capture_output=True, text=True,
                                check=False)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return {line for line in result.stdout.splitlines() if line}

    def test_the_first_word_is_a_command(self):
        self.assertEqual(self.offered(""), COMMANDS)

    def test_the_words_of_each_command(self):
        for command, own in OWN.items():
            operand = [] if command in ("json", "link", "draw") else ["x"]
            self.assertEqual(self.offered(command, *operand, ""), LIBRARY_OPTIONS | own | {"--root"}, command)

    def test_an_option_is_offered_once(self):
        self.assertNotIn("-legacy", self.offered("json", "-legacy", ""))

    def test_values(self):
        self.assertEqual(self.offered("explain", ""), {"eth0", "br0"})
        self.assertEqual(self.offered("compare", "x", "--ignore", ""), {"slot", "model", "feature", "panel", "segment"})
        self.assertEqual(self.offered("compare", "x", "--with", ""), {"eth_name", "address", "ids", "mac"})
        self.assertEqual(self.offered("json", "-ML", ""), {"0", "1", "2"})

    def test_files(self):
        for words in (["json", "--root"], ["json", "-config"], ["compare"], ["draw", "-o"], ["json", "-diag"],
                      ["json", "-diag", "x"]):
            self.assertEqual(self.offered(*words, "qo"), self.files(), words)


class Bash(Shell, unittest.TestCase):
    def offered(self, *words):
        quoted = " ".join(f"'{word}'" for word in ("qorx-inspect", *words))
        return self.run_script("bash", f"COMP_WORDS=({quoted}); COMP_CWORD={len(words)}; "
                                       f". '{COMPLETIONS}/qorx-inspect.bash'; _qorx_inspect; "
                                       "printf '%s\\n' \"${COMPREPLY[@]}\"")

    def files(self):
        return {"qorx.cfg"}


class Zsh(Shell, unittest.TestCase):
    def offered(self, *words):
        quoted = " ".join(f"'{word}'" for word in ("qorx-inspect", *words))
        return self.run_script("zsh", "compadd() { [[ $1 == -a ]] && print -l -- ${(P)2} || print -l -- $@; }; "
                                      "_describe() { print -l -- ${(@)${(@P)2}%%:*}; }; _files() { print FILES; }; "
                                      f"words=({quoted}); CURRENT={len(words) + 1}; . '{COMPLETIONS}/_qorx-inspect'")

    def files(self):
        return {"FILES"}


class Program(unittest.TestCase):
    def test_the_program_has_these_commands_and_words(self):
        text = run(machines.INSPECT, "--help").stdout.decode()
        self.assertEqual(set(re.findall(r"^  ([a-z]+) ", text, re.MULTILINE)) | {"--help", "--version"}, COMMANDS)
        page = (machines.SOURCE / "doc/man/qorx-inspect.8").read_text()
        for command in COMMANDS - {"--help", "--version"}:
            self.assertRegex(page, rf"\n\.It Cm {command}\b")
        for words in OWN.values():
            for word in words:
                self.assertRegex(page, "(Fl|\\.It Fl) " + re.escape(word[1:].replace("-", "\\-")))


if __name__ == "__main__":
    unittest.main()
