"""A running QEMU: started so that it never outlives the runner, watched, and ended by force when it hangs."""

import ctypes
import json
import os
import signal
import subprocess
import time

PR_SET_PDEATHSIG = 1


class Hung(Exception):
    """The guest did not come to its end in time."""


def die_with_parent():
    ctypes.CDLL(None).prctl(PR_SET_PDEATHSIG, signal.SIGKILL)


class VirtualMachine:
    """The guest's console and results go to files in the folder; its monitor is QEMU's standard input and output."""

    def __init__(self, arguments, folder, limit):
        self.console = folder / "console"
        self.results = folder / "results"
        self.deadline = time.monotonic() + limit
        self.limit = limit
        with open(folder / "qemu.log", "wb") as log:
            self.process = subprocess.Popen(
                arguments, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=log, cwd=folder,
                preexec_fn=die_with_parent)
        os.set_blocking(self.process.stdout.fileno(), False)
        self.answers = b""
        self.events = []

    def __enter__(self):
        return self

    def __exit__(self, *reason):
        self.process.kill()
        self.process.wait()
        self.process.stdin.close()
        self.process.stdout.close()

    def pause(self):
        if time.monotonic() > self.deadline:
            raise Hung(f"no end after {self.limit} seconds")
        time.sleep(0.05)

    def running(self):
        return self.process.poll() is None

    def told(self):
        """What the guest has sent so far."""
        return self.results.read_bytes() if self.results.exists() else b""

    def has_told(self, words):
        """Whether the guest has sent this line."""
        return b"\n" + words.encode("ascii") + b"\n" in b"\n" + self.told()

    def wait_for(self, words):
        """Waits until the guest has sent this line; False when it ended without."""
        while not self.has_told(words):
            if not self.running():
                return self.has_told(words)
            self.pause()
        return True

    def wait(self):
        while self.running():
            self.pause()

    # ---- QEMU's monitor ----

    def next_answer(self):
        while b"\n" not in self.answers:
            self.answers += self.process.stdout.read() or b""
            if b"\n" not in self.answers:
                if not self.running():
                    raise Hung("QEMU ended in the middle of a command")
                self.pause()
        line, self.answers = self.answers.split(b"\n", 1)
        return json.loads(line)

    def order(self, command, **arguments):
        """Runs a command of the monitor; -> its answer."""
        self.process.stdin.write(json.dumps({"execute": command, "arguments": arguments}).encode("ascii") + b"\n")
        self.process.stdin.flush()
        while True:
            answer = self.next_answer()
            if "error" in answer:
                raise RuntimeError(f"{command}: {answer['error']['desc']}")
            if "return" in answer:
                return answer["return"]
            self.events.append(answer)

    def event(self, name, **data):
        """Waits for an event with this data."""
        while True:
            for event in self.events:
                if event.get("event") == name and data.items() <= event["data"].items():
                    self.events.remove(event)
                    return
            self.events.append(self.next_answer())
