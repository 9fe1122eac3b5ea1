"""Machines for the tests of qorx-inspect: the samples, recorded real ones, and some laid out from fuzz bytes.

A machine is a directory or an archive, and the option words that a run on it takes.
"""
import contextlib
import os
import pathlib
import random
import shutil
import subprocess
import tempfile

SOURCE = pathlib.Path(__file__).resolve().parents[2]
INSPECT = os.environ.get("QORX_INSPECT_PROGRAM", "")
REPLAY = os.environ["QORX_REPLAY_PROGRAM"]
REALDATA = os.environ.get("QORX_REALDATA_DIR", "")

APPLIANCES = SOURCE / "examples/appliances"
EDGE = APPLIANCES / "edge"
LEGACY = APPLIANCES / "legacy"


def run(program, *words, cwd=None, **more):
    """Runs a program; its output and errors are bytes."""
    return subprocess.run([program, *words], cwd=cwd, capture_output=True, check=False, timeout=60, **more)


def inspect(command, root, *words, **more):
    return run(INSPECT, *command.split(), "--root", str(root), *words, **more)


# What a user may add to a run on a sample machine, in the machine's directory.
SAMPLE_OPTIONS = ([], ["-config", "qorx.cfg"], ["-config", "qorx.cfg", "-F"], ["-smbios_cfg", "smbios.cfg"], ["-vm"],
                  ["-legacy"], ["-legacy", "-sys_WMX_cfg", "wmx_name.cfg"], ["-sort_slotname", "-novlan"],
                  ["-legacy", "-sys_WMX_cfg", "wmx_name.cfg", "-config", "qorx.cfg"])


def samples():
    """(name, root, options, directory to run in) of every sample run."""
    for appliance in (EDGE, LEGACY):
        for options in SAMPLE_OPTIONS:
            yield f"{appliance.name} {' '.join(options)}", appliance / "root", options, appliance


def recorded():
    """The archives of real machines."""
    if REALDATA:
        for archive in sorted(pathlib.Path(REALDATA, "sysfs").glob("*.tar.xz")):
            with tempfile.TemporaryDirectory() as root:
                subprocess.run(["tar", "-xf", archive, "-C", root, "--no-same-owner"], check=True)
                for options in ([], ["-legacy"]):
                    yield f"{archive.name} {' '.join(options)}", root, options, SOURCE


# Options and their values, as qorx knows them.
OPTION_WORDS = {b"-config": 2, b"-legacy": 1, b"-F": 1, b"-sys_WMX_cfg": 2, b"-smbios_cfg": 2, b"-sort_slotname": 1,
                b"-vm": 1, b"-diag": 3, b"-novlan": 1}


def options_among(words):
    """The options in a command line, each once, with their values."""
    found = {}
    i = 1
    while i < len(words):
        count = OPTION_WORDS.get(words[i], 0)
        if count and i + count <= len(words):
            found.setdefault(words[i], words[i:i + count])
        i += max(count, 1)
    if b"-legacy" not in found:
        found.pop(b"-sys_WMX_cfg", None)
    return [word for option in found.values() for word in option]


class FuzzMachine:
    """A machine laid out from fuzz bytes, in the sections that fuzz/README.md describes."""

    def __init__(self, data, directory):
        self.root = os.path.join(directory.encode(), b"root")
        self.work = os.path.join(directory.encode(), b"work")
        self.words = [b"qorx"]
        self.device = self.interface = None
        self.name = self.link = b""
        for made in (self.work, self.root + b"/sys/class/net", self.root + b"/sys/devices/pci0000:00"):
            os.makedirs(made)
        for letter, content in self.sections(data):
            with contextlib.suppress(OSError, ValueError):
                self.add(letter, content)

    @staticmethod
    def sections(data):
        letter, content, i = b"a", bytearray(), 0
        while i < len(data):
            following = data[i + 1:i + 2] or b"\0"
            if data[i] != 0xF5:
                content.append(data[i])
            elif following == b"\xf5":
                content.append(0xF5)
                i += 1
            else:
                yield letter, bytes(content)
                letter, content = following, bytearray()
                i += 1
            i += 1
        yield letter, bytes(content)

    @staticmethod
    def file_name(text):
        name = text[:255].replace(b"/", b"_")
        return b"" if name in (b".", b"..") else name

    @staticmethod
    def path_below(text):
        parts = [part for part in text.split(b"/") if part]
        if len(text) > 1000 or any(p in (b"..", b"device") or len(p) > 255 for p in parts):
            return b""
        return b"/".join(parts)

    def write(self, path, content, offset=0):
        if not path.startswith(self.root) and not path.startswith(self.work):
            return
        os.makedirs(os.path.dirname(path), exist_ok=True)
        handle = os.open(path, os.O_WRONLY | os.O_CREAT, 0o600)
        os.pwrite(handle, content, offset)
        os.close(handle)

    def add(self, letter, content):
        first, _, rest = content.partition(b"\0")
        system = self.root + b"/sys/"
        if letter == b"a":
            self.words += [self.file_name(word) for word in content.split(b"\0") if word][:24]
        elif letter == b"n":
            self.add_interface(first, rest.partition(b"\0")[0])
        elif letter == b"r":
            for i in range({0: 0, 255: 1000}.get(content[0], content[0]) if content else 0):
                os.symlink(self.link, system + b"class/net/" + self.name + b".%d" % i)
        elif letter in (b"c", b"u") and self.device:
            self.write(self.device + (b"/config" if letter == b"c" else b"/uevent"), content)
        elif letter == b"m" and self.interface:
            self.write(self.interface + b"/address", content)
        elif letter == b"f" and self.path_below(first):
            below = self.path_below(first)
            self.write(system + b"devices/pci0000:00/" + below + b"/config", rest)
            self.write(system + b"bus/pci/devices/" + below.split(b"/")[-1] + b"/config", rest)
        elif letter == b"i":
            self.write(system + b"class/i2c-adapter/" + self.file_name(first) + b"/name", rest)
        elif letter in (b"e", b"t"):
            self.write(system + b"firmware/dmi/tables/" + (b"smbios_entry_point" if letter == b"e" else b"DMI"), content)
        elif letter == b"y":
            self.write(system + b"firmware/efi/systab", content)
        elif letter == b"M":
            self.write(self.root + b"/dev/mem", content[4:], int.from_bytes(content[:4], "little") % 0x200000)
        elif letter in b"qsw12":
            names = {b"q": b"qorx.cfg", b"s": b"smbios.cfg", b"w": b"wmx_name.cfg", b"1": b"entry", b"2": b"table"}
            self.write(self.work + b"/" + names[letter], content)

    def add_interface(self, name, link):
        self.device = self.interface = None
        self.name, self.link = self.file_name(name), link
        os.symlink(link, self.root + b"/sys/class/net/" + self.name)
        below = self.path_below(link[len(b"../../devices/"):]) if link.startswith(b"../../devices/") else b""
        if below and self.name:
            self.interface = self.root + b"/sys/devices/" + below
            self.device = os.path.dirname(os.path.dirname(self.interface))
            os.makedirs(self.interface, exist_ok=True)
            os.symlink("../..", self.interface + b"/device")


def mutated(data, chance):
    """The bytes with some of them changed, left out or doubled."""
    changed = bytearray(data)
    for _ in range(chance.randint(1, 12)):
        at = chance.randrange(len(changed) + 1)
        kind = chance.randrange(4)
        if kind == 0 and at < len(changed):
            changed[at] = chance.randrange(256)
        elif kind == 1:
            changed[at:at] = bytes([chance.choice(b"\"\\\x01\x1b\x7f\x80\xc3\xff /\n{")])
        elif kind == 2:
            del changed[at:at + chance.randint(1, 3)]
        else:
            changed[at:at] = changed[at:at + chance.randint(1, 40)]
    return bytes(changed)


def fuzz_inputs(count):
    """The seeds and past findings of the fuzzer for whole runs, and `count` changed ones; always the same."""
    folders = [SOURCE / "fuzz/corpus/whole_run", SOURCE / "fuzz/findings/whole_run"]
    seeds = sorted(path for folder in folders if folder.is_dir() for path in folder.iterdir())
    for path in seeds:
        yield path.name, path.read_bytes()
    chance = random.Random(20260101)
    for number in range(count):
        path = chance.choice(seeds)
        yield f"{path.name} changed {number}", mutated(path.read_bytes(), chance)


@contextlib.contextmanager
def fuzz_machine(data):
    with tempfile.TemporaryDirectory() as directory:
        yield FuzzMachine(data, directory)


# --- machines of a few lines -------------------------------------------------------------------------------------

def endpoint_config(vendor, device, subsystem_vendor, subsystem_device):
    space = bytearray(64)
    for offset, value in ((0, vendor), (2, device), (0x2C, subsystem_vendor), (0x2E, subsystem_device)):
        space[offset:offset + 2] = value.to_bytes(2, "little")
    return bytes(space)


def smbios_slot(handle, designation, address):
    """A type 9 structure with one string."""
    bus, dev, fun = (int(part, 16) for part in address.replace(".", ":").split(":"))
    formatted = bytearray(0x11)
    formatted[0:4] = bytes([9, 0x11]) + handle.to_bytes(2, "little")
    formatted[4] = 1
    formatted[0x0F] = bus
    formatted[0x10] = dev << 3 | fun
    return bytes(formatted) + designation + b"\0\0"


def smbios_onboard(handle, designation, address):
    """A type 41 structure with one string."""
    bus, dev, fun = (int(part, 16) for part in address.replace(".", ":").split(":"))
    return bytes([41, 11]) + handle.to_bytes(2, "little") + bytes([1, 0x85, 1, 0, 0, bus, dev << 3 | fun]) + \
        designation + b"\0\0"


def smbios_entry_point(length):
    entry = bytearray(24)
    entry[0:5] = b"_SM3_"
    entry[6] = 24
    entry[12:16] = length.to_bytes(4, "little")
    entry[5] = -sum(entry) % 256
    return bytes(entry)


class SmallMachine:
    """A machine made by hand in a temporary directory: ports, slots, nothing else."""

    def __init__(self, directory):
        self.root = os.fsencode(directory)
        self.table = b""
        self.handles = 0
        for made in (b"/sys/class/net/lo", b"/sys/devices/pci0000:00", b"/sys/firmware/dmi/tables"):
            os.makedirs(self.root + made)

    def port(self, name, address, ids=(0x8086, 0x1521, 0x13FE, 0x0037), mac="02:00:00:00:00:01"):
        name = os.fsencode(name)
        device = b"/sys/devices/pci0000:00/0000:" + address.encode()
        os.makedirs(self.root + device + b"/net/" + name)
        for file, content in ((device + b"/config", endpoint_config(*ids)),
                              (device + b"/net/" + name + b"/address", mac.encode() + b"\n")):
            with open(self.root + file, "wb") as stream:
                stream.write(content)
        os.symlink(b"../..", self.root + device + b"/net/" + name + b"/device")
        os.symlink(b"../.." + device[len(b"/sys"):] + b"/net/" + name, self.root + b"/sys/class/net/" + name)
        return self

    def virtual(self, name, mac="02:00:00:00:00:99"):
        name = os.fsencode(name)
        path = b"/sys/devices/virtual/net/" + name
        os.makedirs(self.root + path)
        with open(self.root + path + b"/address", "wb") as stream:
            stream.write(mac.encode() + b"\n")
        os.symlink(b"../.." + path[len(b"/sys"):], self.root + b"/sys/class/net/" + name)
        return self

    def slot(self, designation, address):
        return self._structure(smbios_slot, designation, address)

    def onboard(self, designation, address):
        return self._structure(smbios_onboard, designation, address)

    def _structure(self, build, designation, address):
        self.handles += 1
        self.table += build(self.handles, os.fsencode(designation), address)
        tables = self.root + b"/sys/firmware/dmi/tables/"
        whole = self.table + bytes([127, 4, 0xFF, 0xFF, 0, 0])
        for name, content in ((b"DMI", whole), (b"smbios_entry_point", smbios_entry_point(len(whole)))):
            with open(tables + name, "wb") as stream:
                stream.write(content)
        return self


@contextlib.contextmanager
def small_machine():
    with tempfile.TemporaryDirectory() as directory:
        yield SmallMachine(directory)


# --- changes to a sample machine ---------------------------------------------------------------------------------

class Changed:
    """A copy of a sample machine in which cards are taken out and replaced."""

    def __init__(self, appliance, directory):
        self.root = pathlib.Path(directory, "root")
        shutil.copytree(appliance / "root", self.root, symlinks=True)

    def device(self, name):
        link = self.root / "sys/class/net" / name
        return (link.parent / os.readlink(link)).resolve().parent.parent

    def unplug(self, *names):
        for name in names:
            shutil.rmtree(self.device(name) / "net")
            (self.root / "sys/class/net" / name).unlink()
        return self

    def subsystem(self, vendor, device, *names):
        """Makes the ports those of another card."""
        for name in names:
            file = self.device(name) / "config"
            space = bytearray(file.read_bytes())
            space[0x2C:0x30] = vendor.to_bytes(2, "little") + device.to_bytes(2, "little")
            file.write_bytes(space)
        return self


@contextlib.contextmanager
def changed(appliance):
    with tempfile.TemporaryDirectory() as directory:
        yield Changed(appliance, directory)
