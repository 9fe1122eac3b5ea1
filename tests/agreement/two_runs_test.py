#!/usr/bin/env python3
"""Runs that must agree, on the sample machines, on recorded real ones and on machines laid out from fuzz bytes: silent
and traced, on the screen and into a file, options in any order, the first open and the tenth, the static command in a
chroot and the replay tool, a machine and its recording by qorx-capture.

QORX_LONG=1 tries a thousand machines of the last kind instead of thirty, and records every
machine but most of those instead of some.
"""
import os
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "inspect"))
import machines  # noqa: E402

REPLAY = os.environ["QORX_REPLAY_PROGRAM"]
STATIC = os.environ.get("QORX_STATIC_PROGRAM", "")
TEN_OPENS = os.environ["QORX_TEN_OPENS_PROGRAM"]
CAPTURE = pathlib.Path(__file__).resolve().parents[2] / "tools/qorx-capture"
IS_LONG = os.environ.get("QORX_LONG") == "1"
FUZZ_MACHINES = 1000 if IS_LONG else 30
RECORDED_SHARE, RECORDED_FUZZ_MACHINES = 1.0 if IS_LONG else 0.2, 100
SEED = int(os.environ.get("QORX_SEED", random.randrange(1 << 32)))
USER_FILES = ("qorx.cfg", "wmx_name.cfg", "smbios.cfg", "entry", "table")
OPERATIONS = {"table": ["-a"], "file": ["-o", "result"], "segments": ["-tovix.cfg"],
              "forced segments": ["-tovix.cfg", "-F"]}
VALUES = {"-config": 1, "-sys_WMX_cfg": 1, "-smbios_cfg": 1, "-diag": 2, "-ML": 1}


def text(word):
    return os.fsdecode(word)


class Machine:
    """A recorded machine, its user's files, and option words; runs happen in a scratch directory."""

    def __init__(self, name, root, options, files, is_to_be_recorded=True):
        self.name, self.root, self.options = name, os.fsdecode(root), [text(word) for word in options]
        self.files = pathlib.Path(text(files))
        self.is_to_be_recorded = is_to_be_recorded

    def run(self, program, *words, root=None):
        """(status, output, {name: content} of what was written)."""
        with tempfile.TemporaryDirectory() as work:
            for name in USER_FILES:
                if (self.files / name).is_file():
                    shutil.copy(self.files / name, work)
            before = set(os.listdir(work))
            done = subprocess.run([program, root or self.root, *words], cwd=work, stdin=subprocess.DEVNULL,
                                  capture_output=True, timeout=60, check=False)
            written = {name: pathlib.Path(work, name).read_bytes() for name in sorted(set(os.listdir(work)) - before)}
            return done.returncode, done.stdout, written

    def replay(self, *words):
        return self.run(REPLAY, "--", *words)

    def in_chroot(self, *words):
        """The static command where the machine's directory is the root, with the user's files there."""
        root = pathlib.Path(self.root)
        work = root / "user"
        work.mkdir()
        shutil.copy(STATIC, work / "qorx")
        try:
            for name in USER_FILES:
                if (self.files / name).is_file():
                    shutil.copy(self.files / name, work)
            before = set(os.listdir(work))

            def enter():
                os.chroot(root)
                os.chdir("/user")
            done = subprocess.run(["/user/qorx", *words], preexec_fn=enter, stdin=subprocess.DEVNULL, capture_output=True,
                                  timeout=60, check=False)
            written = {name: (work / name).read_bytes() for name in sorted(set(os.listdir(work)) - before)}
            return done.returncode, done.stdout, written
        finally:
            shutil.rmtree(work)

    def option_groups(self):
        groups, i = [], 0
        while i < len(self.options):
            count = 1 + VALUES.get(self.options[i], 0)
            groups.append(self.options[i:i + count])
            i += count
        return groups


def has_shared_directory(root):
    """Whether two interfaces are one directory, which the kernel never makes, and qorx-capture can't record."""
    folder = os.path.join(os.fsencode(root), b"sys/class/net")
    places = [os.path.realpath(entry.path) for entry in os.scandir(folder)]
    return len(set(places)) < len(places)


def all_machines():
    with tempfile.TemporaryDirectory() as scratch:  # nothing is written into the sample machines themselves
        for appliance in (machines.EDGE, machines.LEGACY):
            shutil.copytree(appliance / "root", pathlib.Path(scratch, appliance.name), symlinks=True)
        for name, root, options, files in machines.samples():
            yield Machine(name, pathlib.Path(scratch, root.parent.name), options, files)
    for name, root, options, files in machines.recorded():
        yield Machine(name, root, options, files)
    for number, (name, data) in enumerate(machines.fuzz_inputs(FUZZ_MACHINES)):
        with machines.fuzz_machine(data) as laid_out:
            yield Machine("fuzz " + name, laid_out.root, machines.options_among(laid_out.words), laid_out.work,
                          number < RECORDED_FUZZ_MACHINES and not has_shared_directory(laid_out.root))


def marks(output):
    """How many rows say that a feature was refused: the file repeats the mark on every later row, the screen does not."""
    return output.count(b"(!) ") - 1


class TwoRuns(unittest.TestCase):
    chance = random.Random(SEED)
    recordings = 0

    def test_every_machine(self):
        """One walk over the machines, since laying them out is most of it."""
        count = 0
        for machine in all_machines():
            silent = {name: machine.replay(*words, *machine.options) for name, words in OPERATIONS.items()}
            for check in (self.traces_change_nothing, self.the_screen_shows_what_the_file_has,
                          self.options_stand_in_any_order, self.the_tenth_open_is_like_the_first,
                          self.the_static_command_in_a_chroot_is_the_replay, self.the_recording_is_like_the_machine):
                with self.subTest(check=check.__name__, machine=machine.name, options=machine.options):
                    check(machine, silent)
            count += 1
        self.assertGreater(count, 50)
        self.assertGreater(self.recordings, 0, f"QORX_SEED={SEED}")
        print(f"QORX_SEED={SEED}: {self.recordings} of {count} machines recorded", file=sys.stderr)

    def traces_change_nothing(self, machine, silent):
        for name in ("file", "segments", "forced segments"):
            traced = machine.replay(*OPERATIONS[name], *machine.options, "-ML", "2")
            self.assertEqual((traced[0], traced[2]), (silent[name][0], silent[name][2]))

    def the_screen_shows_what_the_file_has(self, _machine, silent):
        screen, file = silent["table"], silent["file"]
        self.assertEqual(screen[0], file[0])
        if screen[0] == 0 and marks(file[2]["result"]) == 0:
            self.assertTrue(screen[1].endswith(file[2]["result"]))

    def options_stand_in_any_order(self, machine, silent):
        groups = machine.option_groups()
        if len(groups) < 2:
            return
        self.chance.shuffle(groups)
        words = [word for group in groups for word in group]
        self.assertEqual(machine.replay("-a", *words), silent["table"], f"QORX_SEED={SEED} {words}")

    def the_tenth_open_is_like_the_first(self, machine, silent):
        status, output, written = machine.run(TEN_OPENS, *machine.options)
        self.assertEqual(status, 0)
        codes = output.split()
        self.assertEqual(codes[1:], [codes[1]] * 9)
        self.assertEqual(written.get("table 10"), written.get("table 2"))
        # A failed search for the host's I2C adapter is not tried again in the life of a process.
        if codes[0] == codes[1]:
            self.assertEqual(written.get("table 1"), written.get("table 2"))
        self.assertEqual(written.get("table 1"), silent["file"][2].get("result"))

    def the_static_command_in_a_chroot_is_the_replay(self, machine, silent):
        # The recorded order of directories is known to the replay tool alone.
        if not STATIC or os.geteuid() != 0 or pathlib.Path(machine.root, "order").exists():
            return
        for name in ("table", "segments"):
            chroot = machine.in_chroot(*OPERATIONS[name], *machine.options)
            self.assertEqual((chroot[0], chroot[2]), (silent[name][0], silent[name][2]))
            self.assertEqual(sorted(chroot[1].splitlines()), sorted(silent[name][1].splitlines()))

    def the_recording_is_like_the_machine(self, machine, silent):
        if not machine.is_to_be_recorded or self.chance.random() >= RECORDED_SHARE:
            return
        with tempfile.TemporaryDirectory() as scratch:
            archive, recording = os.path.join(scratch, "machine.tar.gz"), os.path.join(scratch, "machine")
            captured = subprocess.run([CAPTURE, "--root", machine.root, "-o", archive], stdin=subprocess.DEVNULL,
                                      capture_output=True, timeout=120, check=False)
            self.assertEqual((captured.returncode, captured.stdout), (0, b""), captured.stderr)
            # The replay tool itself refuses an archive with links that lead out of it, as some of these machines have.
            os.mkdir(recording)
            subprocess.run(["tar", "-xzf", archive, "-C", recording, "--no-same-owner"], check=True)
            for name, words in OPERATIONS.items():
                replayed = machine.run(REPLAY, "--", *words, *machine.options, root=recording)
                self.assertEqual(replayed, silent[name], f"QORX_SEED={SEED} {name} {captured.stderr}")
        type(self).recordings += 1


if __name__ == "__main__":
    unittest.main(verbosity=2)
