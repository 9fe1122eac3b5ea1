#!/usr/bin/env python3
"""Makes every system call of qorx fail in turn, with every error that the kernel can give there, and judges what is left.

Usage: every_call.py [--whole] [--seed N] [--count N] [--only WORD] REPLAY-PROGRAM MALLOC-LIBRARY

Each operation of the sample machines runs once undisturbed under strace, which shows its calls. Then it runs again for
each call, kind of error and duration ("once", or "on": from that call on), with that one fault injected. A part of these
runs, chosen by a seed that is printed, takes the place of all of them unless --whole is given or QORX_LONG is 1.

The verdict is by rule; there is no list of expected outputs:

 1. A run ends by itself, with status 0 or with the status of a code that the fault explains, and says which.
 2. A lack of resources (EMFILE, ENFILE, ENOMEM) never changes what is printed: same bytes, or the run fails.
 3. EINTR changes nothing.
 4. A fault on a file that the user named, or on the list of interfaces, fails the run.
 5. A fault on one port's files changes no other row; one on the firmware's tables leaves every port listed; one on an
    adapter's name changes no more than the bus of a bypass controller.
 6. Status 0 means: output and files are whole.
 7. A file that was there keeps its text, or has the new one whole; only a fault while it is written may leave it torn,
    and then the status says so.
 8. No descriptor is open when the process ends.
"""
import argparse
import concurrent.futures
import difflib
import os
import pathlib
import random
import re
import shutil
import signal
import subprocess
import sys
import tempfile

SOURCE = pathlib.Path(__file__).resolve().parents[2]
APPLIANCES = SOURCE / "examples/appliances"
OLD = "what an earlier run has written\n" * 200
LEGEND_END = "It's NOT a PCIE network device.\n"
SKIPPED = 77

RESOURCES = ("EMFILE", "ENFILE", "ENOMEM")
OPEN_FILE, CLOSE_FILE, OPEN_DIR = 128, 131, 152

# What the kernel can answer to each call. brk is not among them: it gives no errors, it leaves the break where it was,
# and a program sees that as an allocation that fails.
ERRORS = {
    "openat": ("EMFILE", "ENFILE", "ENOMEM", "EACCES", "EINTR", "EIO", "ENOSPC", "EDQUOT"),
    "getdents64": ("EIO", "ENOMEM"),
    "readlink": ("EIO", "ENOMEM", "EACCES"),
    "readlinkat": ("EIO", "ENOMEM", "EACCES"),
    "read": ("EIO", "ENOMEM", "EINTR", "EINVAL"),
    "pread64": ("EIO", "ENOMEM", "EINTR", "EINVAL"),
    "newfstatat": ("EIO", "ENOMEM", "EACCES"),
    "fstat": ("EIO", "ENOMEM"),
    "mmap": ("ENOMEM", "ENFILE", "EACCES", "EINVAL"),
    "madvise": ("ENOMEM", "EINVAL"),
    "write": ("ENOSPC", "EIO", "EDQUOT", "EINTR"),
    "close": ("EIO", "EINTR", "ENOSPC", "EDQUOT"),
    "ftruncate": ("EIO", "EINTR", "EINVAL"),
}
WRITING = ("write", "close", "ftruncate", "newfstatat", "fstat")

NAMES = ["-legacy", "-sys_WMX_cfg", "wmx_name.cfg"]
OPERATIONS = {
    "table": ["-a"],
    "table, every file": ["-a", "-config", "qorx.cfg", *NAMES],
    "table, override": ["-a", "-smbios_cfg", "smbios.cfg"],
    "table, recorded tables": ["-a", "-diag", "entry_point", "table"],
    "one port": ["-d", "eth0"],
    "result file": ["-o", "ports.txt", "-config", "qorx.cfg"],
    "segments": ["-tovix.cfg", "-F"],
    "segments, platform file": ["-tovix.cfg", "-config", "qorx.cfg"],
    "system": ["-sysinfo", *NAMES],
    "cards": ["-support"],
}
SLOT, PANEL, SEGMENT = slice(68, 94), slice(94, 123), slice(139, 143)  # columns of a row
WRITES = {"-o": "ports.txt", "-tovix.cfg": "tovix.cfg"}
USER_FILES = ("qorx.cfg", "wmx_name.cfg", "smbios.cfg")


class Run:
    """What one run has left."""

    def __init__(self, status, output, files, trace):
        self.status, self.output, self.files, self.trace = status, output, files, trace


def path_of(name, arguments):
    """The path that a call is about: its text argument, below the directory before it, or that of its descriptor."""
    folder = re.match(r"(?:AT_FDCWD|\d+)<([^>]*)>", arguments)
    text = re.search(r'"([^"]+)"', arguments) if name in ("openat", "readlink", "readlinkat", "newfstatat") else None
    if text:
        return os.path.join(folder[1] if folder else "", text[1])
    return folder[1] if folder else ""


class Call:
    """One call of the undisturbed run: its name, its number among those of that name, and the path it is about."""

    def __init__(self, name, number, path):
        self.name, self.number, self.path = name, number, path


class Operation:
    """One command line on one machine."""

    def __init__(self, replay, machine, title, words):
        self.replay, self.machine, self.words = replay, machine, words
        self.title = f"{machine}: {title}"
        self.root = str(APPLIANCES / machine / "root")
        self.writes = next((WRITES[word] for word in words if word in WRITES), None)
        self.clean = self.run([])
        # The same ports as a table, whatever the operation prints.
        options = [word for word in words[1:] if word not in ("-F", "eth0", "ports.txt")]
        self.table = self.clean.output if words[0] == "-a" else self.run([], words=["-a", *options]).output
        self.calls = list(self.calls_of(self.clean.trace))

    def run(self, inject, environment=None, words=None):
        with tempfile.TemporaryDirectory() as scratch:
            work = pathlib.Path(scratch, "work")
            work.mkdir()
            for name in USER_FILES:
                shutil.copy(APPLIANCES / self.machine / name, work / name)
            tables = pathlib.Path(self.root, "sys/firmware/dmi/tables")
            for name, source in (("entry_point", "smbios_entry_point"), ("table", "DMI")):
                if (tables / source).exists():
                    shutil.copy(tables / source, work / name)
            if self.writes:
                (work / self.writes).write_text(OLD)
            # Standard output is a file: what a fault on it does shows when it is closed.
            with open(pathlib.Path(scratch, "output"), "wb+") as output:
                command = ["strace", "-f", "-y", "-o", scratch + "/trace", "-e", "signal=none"]
                if inject:
                    command += ["-e", "trace=openat,close," + inject.split(":")[0], "-e", "inject=" + inject]
                for setting in environment or ():
                    command += ["-E", setting]
                try:
                    status = subprocess.run(command + [self.replay, self.root, "--", *(words or self.words)], cwd=work,
                                            stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.DEVNULL,
                                            timeout=60, check=False).returncode
                except subprocess.TimeoutExpired:
                    status = "endless"
                output.seek(0)
                printed = output.read().decode("latin-1")
            files = {path.name: path.read_bytes().decode("latin-1") for path in work.iterdir()
                     if path.name not in (*USER_FILES, "entry_point", "table")}
            trace = pathlib.Path(scratch, "trace").read_text(errors="replace")
            return Run(status, printed, files, trace)

    def calls_of(self, trace):
        """The calls behind the start of the program proper, which begins when it looks at the machine's directory."""
        numbers, started = {}, False
        for line in trace.splitlines():
            match = re.match(r"(?:\d+ +)?(\w+)\((.*)", line)
            if not match:
                continue
            name, rest = match.groups()
            numbers[name] = numbers.get(name, 0) + 1
            started = started or (self.root in rest and name != "execve")
            if started and name in ERRORS and path_of(name, rest) != self.root:  # the replay tool's own look at it
                yield Call(name, numbers[name], path_of(name, rest).removeprefix(self.root))


class Fault:
    """A call of an operation, an error, and whether it comes once or from then on."""

    def __init__(self, operation, call, error, lasting):
        self.operation, self.call, self.error, self.lasting = operation, call, error, lasting

    def __str__(self):
        return (f"{self.operation.title}: {self.call.name} number {self.call.number} ({self.call.path or 'memory'}) "
                f"gives {self.error} {'from then on' if self.lasting else 'once'}")

    def run(self):
        when = f"{self.call.number}+" if self.lasting else str(self.call.number)
        return self.operation.run(f"{self.call.name}:error={self.error}:when={when}")


class MallocFault:
    """The same for memory: the k-th allocation, by a library that is loaded before the program."""

    def __init__(self, operation, library, number, lasting):
        self.operation, self.library, self.number, self.lasting = operation, library, number, lasting
        self.error, self.call = "ENOMEM", Call("malloc", number, "")

    def __str__(self):
        return f"{self.operation.title}: allocation {self.number} fails {'from then on' if self.lasting else 'once'}"

    def run(self):
        how = "on" if self.lasting else "once"
        return self.operation.run([], [f"LD_PRELOAD={self.library}", f"QORX_FAIL_MALLOC={self.number}:{how}"])


def changed_rows(clean, output, ports):
    """The first words of the lines that differ. Where one of the ports is lost, the others may have other numbers."""
    lost = any(f"\n{port} " in clean and f"\n{port} " not in output for port in ports)

    def lines(text):
        # In a file the mark of a refused feature stays on all later rows.
        unmarked = re.sub(r"\(!\)( |$)", "    ", text, flags=re.M)
        rows = [row for row in unmarked.splitlines() if row.split(" ")[0] not in ports]
        if not lost:
            return rows
        return [row[:PANEL.start] + row[PANEL.stop:SEGMENT.start] + row[SEGMENT.stop:] for row in rows]
    return {line[2:].split(" ")[0] for line in difflib.ndiff(lines(clean), lines(output)) if line[:2] in ("- ", "+ ")}


def address_of(row):
    """The bus of a row of the table; the whole first word for what has no address."""
    match = re.match(r"\S+ +([0-9a-f]{2}):[0-9a-f]{2}\.", row)
    return match[1] if match else row.split(" ")[0]


def ports_of(operation, path):
    """The ports that a path belongs to: by name, or all below the bridge that it names; and those that share a bus or a
    slot with one of them, whose numbers and models hang together."""
    names = set(re.findall(r"/net/([^/]+)", path))
    bridge = re.findall(r"0000:[0-9a-f]{2}:[0-9a-f]{2}\.[0-9a-f]", path)
    for link in pathlib.Path(operation.root, "sys/class/net").iterdir():
        if link.is_symlink() and bridge and bridge[-1] in os.readlink(link):
            names.add(link.name)
    rows = operation.table.splitlines()
    related = {(address_of(row), row[SLOT]) for row in rows if row.split(" ")[0] in names}
    return names | {row.split(" ")[0] for row in rows
                    if any(address_of(row) == bus or (slot == row[SLOT] and not slot.startswith(("N/A", "(!!)")))
                           for bus, slot in related)}


def is_whole(operation, run):
    if operation.writes == "tovix.cfg" and not run.files.get("tovix.cfg", "").endswith("TYPE:PCIE\n\n"):
        return "tovix.cfg is torn"
    if operation.writes == "ports.txt" and not run.files.get("ports.txt", "").endswith(LEGEND_END):
        return "the result file is torn"
    has_table = operation.words[0] in ("-a", "-d") or "eth name" in run.output
    if has_table and not run.output.endswith(LEGEND_END):
        return "the table is torn"
    return None


def same(operation, run):
    return run.output == operation.clean.output and run.files == operation.clean.files


def judge_success(fault, run):
    operation, path = fault.operation, fault.call.path
    torn = is_whole(operation, run)
    if torn:
        return torn
    if same(operation, run):
        return None
    if fault.error in RESOURCES:
        return "status 0, but a lack of resources has changed the output"
    if fault.error == "EINTR":
        return "an interrupted call has changed the output"
    if pathlib.Path(path).name in (*USER_FILES, "entry_point", "table") and not path.startswith("/sys/"):
        return None if "-diag" in operation.words else "a file that the user named failed, and the run did not"
    if path == "/sys/class/net" or path == "/sys/devices/pci0000:00":
        return "the list of interfaces failed, and the run did not"
    if fault.lasting:
        return None  # everything behind it is missing too
    if path.startswith(("/sys/firmware", "/dev/mem")) or fault.call.name == "mmap":
        ports = len([line for line in operation.clean.output.splitlines() if line])
        if operation.words[0] == "-a" and len([line for line in run.output.splitlines() if "N/A" in line]) == 0:
            return f"no port is left of {ports} lines"
        return None
    if path.startswith("/sys/class/i2c-adapter/"):
        before, after = (re.sub(r"(?m)^(BUS: )\d+\.\d+\.\d+$", r"\1", r.files.get("tovix.cfg", "") + r.output)
                         for r in (operation.clean, run))
        return None if before == after else "an adapter's name has changed more than a bus"
    ports = ports_of(operation, path)
    if operation.words[0] in ("-a", "-d", "-o") and ports:
        clean, output = operation.clean.output, run.output
        if operation.writes:
            clean, output = operation.clean.files[operation.writes], run.files[operation.writes]
        others = changed_rows(clean, output, ports) & set(os.listdir(operation.root + "/sys/class/net"))
        return f"rows of {sorted(others)} have changed" if others else None
    return None if ports else "an unexpected change"


def judge_failure(fault, run):
    operation, call = fault.operation, fault.call
    codes = {OPEN_FILE: "QORX_ERR_OPEN_FILE", CLOSE_FILE: "QORX_ERR_CLOSE_FILE", OPEN_DIR: "QORX_ERR_OPEN_DIR",
             129: "QORX_ERR_CONF_FILE_FORMAT"}
    if run.status not in codes:
        return f"status {run.status} has nothing to do with the fault"
    # Without the firmware's slots, or without a switch's directory, a right file has lines that fit nothing.
    firmware = call.path.startswith(("/sys/firmware", "/dev/mem", "/sys/devices")) or call.name == "mmap"
    absent = fault.error not in (*RESOURCES, "EINTR") and (firmware or fault.lasting)
    if run.status == 129 and not absent:
        return "a file's content is blamed for a fault"
    # Closing that fails from some file on also fails for the output, at the end.
    writes = call.name in WRITING and (fault.lasting or not call.path.startswith("/sys"))
    on_output = writes and run.status == CLOSE_FILE
    if not on_output and codes[run.status] not in run.output:
        return f"status {run.status}, and no line says why"
    if run.status == CLOSE_FILE and call.name not in WRITING and call.name not in ("malloc", "mmap"):
        return "nothing was written, and lost output is blamed"
    if fault.error == "EINTR" and not fault.lasting and call.name != "close":
        return "an interrupted call has failed the run"
    old = run.files.get(operation.writes) if operation.writes else None
    if old is not None and old not in (OLD, operation.clean.files[operation.writes]) and not on_output:
        return f"{operation.writes} has changed, and it was not being written"
    return None


def left_open(run):
    """Descriptors that were opened and not closed again."""
    opened = {}
    for line in run.trace.splitlines():
        match = re.search(r"openat\(.*\) = (\d+)<(.*)>$", line)
        if match:
            opened[match[1]] = match[2]
        match = re.search(r"close\((\d+)<", line)
        if match:
            opened.pop(match[1], None)
    return opened


def judge(fault):
    """A complaint, or None."""
    run = fault.run()
    if run.status == "endless":
        return "does not end"
    if isinstance(run.status, int) and (run.status < 0 or run.status in (134, 136, 139)):
        return f"was killed: {signal.Signals(-run.status).name if run.status < 0 else run.status}"
    opened = left_open(run)
    if opened:
        return f"leaves {sorted(opened.values())} open"
    return judge_success(fault, run) if run.status == 0 else judge_failure(fault, run)


def all_faults(replay, library):
    for machine in sorted(path.parent.name for path in APPLIANCES.glob("*/root")):
        for title, words in OPERATIONS.items():
            operation = Operation(replay, machine, title, words)
            if operation.clean.status == "endless":
                raise RuntimeError(f"{operation.title} does not end without a fault")
            for call in operation.calls:
                for error in ERRORS[call.name]:
                    # Without a handler of its own the process sees no interrupted write; stdio could not go on.
                    if error == "EINTR" and call.name == "write" and pathlib.Path(call.path).name == "output":
                        continue
                    yield Fault(operation, call, error, False)
                    if error != "EINTR":  # a signal comes and goes
                        yield Fault(operation, call, error, True)
            for number in range(1, 60):
                for lasting in (False, True):
                    yield MallocFault(operation, library, number, lasting)


def can_trace():
    if not shutil.which("strace"):
        return "no strace"
    probe = subprocess.run(["strace", "-o", "/dev/null", "-e", "inject=getppid:error=EIO", "true"],
                           stderr=subprocess.PIPE, text=True, check=False)
    return None if probe.returncode == 0 else "strace may not trace here: " + probe.stderr.strip()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--whole", action="store_true", default=os.environ.get("QORX_LONG") == "1")
    parser.add_argument("--seed", type=int, default=random.randrange(1 << 32))
    parser.add_argument("--count", type=int, default=600)
    parser.add_argument("--only", default="")
    parser.add_argument("replay")
    parser.add_argument("library")
    options = parser.parse_args()
    if reason := can_trace():
        print("skipped:", reason)
        return SKIPPED
    faults = [fault for fault in all_faults(os.path.abspath(options.replay), os.path.abspath(options.library))
              if options.only in str(fault)]
    total = len(faults)
    if not options.whole and total > options.count:
        faults = random.Random(options.seed).sample(faults, options.count)
    print(f"{len(faults)} of {total} faults" + ("" if len(faults) == total else f", --seed {options.seed}"), flush=True)
    complaints = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for fault, complaint in zip(faults, pool.map(judge, faults)):
            if complaint:
                complaints += 1
                print(f"{fault}\n    {complaint}", flush=True)
    print(f"{complaints} complaints")
    return 1 if complaints or not faults else 0


if __name__ == "__main__":
    sys.exit(main())
