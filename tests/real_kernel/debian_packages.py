"""Debian's packages, downloaded and unpacked into a cache, never installed: the guests' kernels and busybox."""

import fcntl
import lzma
import os
import re
import shutil
import subprocess
import tarfile
import tempfile
from contextlib import contextmanager
from pathlib import Path


class NotAvailable(Exception):
    """Why something that a guest needs can't be had here."""


def cache_folder():
    base = os.environ.get("XDG_CACHE_HOME") or Path.home() / ".cache"
    return Path(base) / "qorx" / "real_kernel"


@contextmanager
def locked(folder):
    folder.mkdir(parents=True, exist_ok=True)
    with open(folder / "lock", "w", encoding="ascii") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        yield


def output_of(command, folder, reason):
    try:
        done = subprocess.run(command, cwd=folder, stdin=subprocess.DEVNULL, capture_output=True, text=True,
                              timeout=600)
    except (OSError, subprocess.TimeoutExpired) as problem:
        raise NotAvailable(f"{reason}: {problem}") from problem
    if done.returncode != 0:
        raise NotAvailable(f"{reason}: {(done.stderr.strip() or done.stdout.strip())[-400:]}")
    return done.stdout


class Apt:
    """apt for one architecture. The machine's own lists serve where they have it; else lists of our own are fetched."""

    def __init__(self, architecture, folder):
        self.architecture = architecture
        self.folder = folder
        self.options = []

    def use_own_lists(self):
        state = self.folder / f"apt-{self.architecture}"
        for part in ("lists/partial", "cache/archives/partial"):
            (state / part).mkdir(parents=True, exist_ok=True)
        self.options = [
            "-o", f"APT::Architecture={self.architecture}", "-o", f"APT::Architectures::={self.architecture}",
            "-o", f"Dir::State::lists={state}/lists", "-o", f"Dir::Cache={state}/cache",
            "-o", "Dir::State::status=/dev/null", "-o", "APT::Sandbox::User="]
        output_of(["apt-get", *self.options, "-q", "update"], self.folder, "apt-get update")

    def run(self, program, *words):
        return output_of([program, *self.options, *words], self.folder, f"{program} {' '.join(words)}")

    def kernel_package(self):
        depends = self.run("apt-cache", "depends", f"linux-image-{self.architecture}")
        found = re.search(r"Depends: (linux-image-\d\S+)", depends)
        if not found:
            raise NotAvailable(f"apt knows no linux-image-{self.architecture}")
        return found[1]

    def download(self, package):
        """-> the package's file in the folder."""
        self.run("apt-get", "-q", "download", package)
        return next(self.folder.glob(f"{package}_*.deb"))


def content_of(package):
    """The package's files as an archive that can be read at any place."""
    unpacked = tempfile.TemporaryFile(dir=package.parent)
    subprocess.run(["dpkg-deb", "--fsys-tarfile", package], stdout=unpacked, check=True)
    unpacked.seek(0)
    return tarfile.open(fileobj=unpacked)


def module_name(path):
    """The name of the module in a file, empty for other files. Newer packages compress them."""
    name = Path(path).name.removesuffix(".xz")
    return name.removesuffix(".ko").replace("-", "_") if name.endswith(".ko") else ""


def module_content(path, content):
    return lzma.decompress(content) if path.endswith(".xz") else content


def needed_by(module):
    """The names of the modules that a module's content says it needs."""
    found = re.search(rb"\0depends=([^\0]*)\0", module)
    return [name.replace("-", "_") for name in found[1].decode("ascii").split(",") if name] if found else []


def unpack_kernel(package, modules, folder):
    """Takes the kernel and these modules, with all that they need."""
    with content_of(package) as archive:
        files = {member.name: member for member in archive if member.isfile()}
        objects = {module_name(name): name for name in files if module_name(name)}
        wanted = list(modules)
        for name in wanted:
            if name in objects:
                path = objects[name]
                content = module_content(path, archive.extractfile(files[path]).read())
                (folder / f"{name}.ko").write_bytes(content)
                wanted += [other for other in needed_by(content) if other not in wanted]
        if not (folder / "e1000e.ko").exists():
            raise NotAvailable(f"{package.name} has no module e1000e that can be read")
        kernel = next(name for name in files if name.startswith("./boot/vmlinuz"))
        (folder / "vmlinuz").write_bytes(archive.extractfile(files[kernel]).read())
    release = kernel.rsplit("/vmlinuz-", 1)[1]
    (folder / "release").write_text(release + "\n", encoding="ascii")


def unpack_busybox(package, folder):
    with content_of(package) as archive:
        program = next(member for member in archive if member.name in ("./bin/busybox", "./usr/bin/busybox"))
        (folder / "busybox").write_bytes(archive.extractfile(program).read())


def download(apt):
    """-> the files of the kernel's and of busybox's package"""
    return apt.download(apt.kernel_package()), apt.download("busybox-static")


def fetch(architecture, modules, folder):
    """Fills the folder with a kernel, its modules and a busybox for the architecture."""
    with tempfile.TemporaryDirectory(dir=folder.parent) as work:
        apt = Apt(architecture, Path(work))
        try:
            kernel, busybox = download(apt)
        except NotAvailable:
            apt.use_own_lists()
            kernel, busybox = download(apt)
        made = Path(work) / "made"
        made.mkdir()
        unpack_kernel(kernel, modules, made)
        unpack_busybox(busybox, made)
        (made / "package").write_text(kernel.name + "\n", encoding="ascii")
        shutil.rmtree(folder, ignore_errors=True)
        made.rename(folder)


def kernel_folder(architecture, modules):
    """-> a folder with vmlinuz, busybox and the modules that there are of these, fetched where it isn't there yet."""
    if not shutil.which("apt-get") or not shutil.which("dpkg-deb"):
        raise NotAvailable("no Debian kernel: there is no apt-get or no dpkg-deb")
    folder = cache_folder() / architecture
    wanted = "".join(name + "\n" for name in modules)
    with locked(cache_folder()):
        recorded = folder / "wanted"
        if not recorded.exists() or recorded.read_text(encoding="ascii") != wanted:
            fetch(architecture, modules, folder)
            recorded.write_text(wanted, encoding="ascii")
    return folder
