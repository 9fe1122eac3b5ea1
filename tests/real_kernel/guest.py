"""The initramfs of a guest: busybox, qorx, and an /init that runs the stories and sends back what they left."""

import gzip
import os
import shlex
import stat
from pathlib import Path

from debian_packages import needed_by

# Loaded one after the other in this order, so the interfaces get their names in it.
MODULES = ("e1000e", "e1000", "virtio_pci", "virtio_net", "xhci_pci", "cdc_ether", "virtio_console", "i2c_i801")

# Loaded by the stories.
STORY_MODULES = ("8021q", "bridge", "bonding", "i2c_dev", "i2c_stub", "inv_mpu6050_i2c")


class Archive:
    """A cpio archive in the format "newc", built in memory."""

    def __init__(self):
        self.parts = []
        self.number = 0

    def add(self, path, mode, content=b""):
        name = path.encode("ascii") + b"\0"
        self.number += 1
        fields = (self.number, mode, 0, 0, 1, 0, len(content), 0, 0, 0, 0, len(name), 0)
        header = b"070701" + b"".join(b"%08X" % value for value in fields)
        for part in (header + name, content):
            self.parts.append(part + bytes(-len(part) % 4))

    def folder(self, path):
        self.add(path, stat.S_IFDIR | 0o755)

    def file(self, path, content, mode=0o644):
        self.add(path, stat.S_IFREG | mode, content)

    def packed(self):
        self.add("TRAILER!!!", 0)
        return gzip.compress(b"".join(self.parts), compresslevel=1)


INIT = """\
#!/bin/busybox sh
PATH=/bin:/sbin:/usr/bin:/usr/sbin
export PATH
/bin/busybox mkdir -p /usr/bin /usr/sbin /proc /sys /dev /tmp
/bin/busybox --install -s /bin
mount -t devtmpfs none /dev
mount -t proc none /proc
mount -t sysfs none /sys
chmod 1777 /tmp
for module in {modules}; do modprobe $module || echo "can't load $module"; done

# USB adapters come when the bus has been looked through.
count() {{ set -- /sys/class/net/*/device; [ -e "$1" ] || shift; echo $#; }}
wait_for_interfaces() {{
  for try in $(seq 300); do
    [ "$(count)" -lt {interfaces} ] || break
    sleep 0.1
  done
}}
wait_for_interfaces
[ "$(count)" -eq {interfaces} ] || echo "found $(count) interfaces instead of {interfaces}"

for results in {results}; do :; done
exec 3>$results
[ ! -t 3 ] || stty raw -F $results
tell() {{ echo "$*" >&3; }}
story() {{ story=$1; mkdir -p /out/$story; cd /stories/$story; tell story $story; }}
step() {{
  timeout -s KILL {step_limit} sh -c "$2" >/out/$story/$1.out 2>&1 </dev/null
  echo $? >/out/$story/$1.status
}}
tell ready
. /stories/run
dmesg >/out/dmesg
tell archive
tar -c -C /out . | gzip -1 >&3
sync
poweroff -f
"""


def script(stories):
    """The commands of the stories, as a piece of shell."""
    lines = []
    for name, steps in stories.items():
        lines.append(f"story {name}")
        lines += [f"step {number} {shlex.quote(step.command)}" for number, step in enumerate(steps)]
    return "".join(line + "\n" for line in lines)


def all_needed_by(name, contents):
    """Every module that must be there before this one, those to load first behind those to load later."""
    found = []
    for other in needed_by(contents[name]):
        for needed in [other, *all_needed_by(other, contents)]:
            if needed in found:
                found.remove(needed)
            found.append(needed)
    return found


def add_modules(archive, kernel):
    """The modules where modprobe looks for them, and which of them need which others."""
    release = (kernel / "release").read_text(encoding="ascii").strip()
    folder = f"lib/modules/{release}"
    for part in ("lib", "lib/modules", folder):
        archive.folder(part)
    contents = {path.stem: path.read_bytes() for path in sorted(kernel.glob("*.ko"))}
    needs = ""
    for name, content in contents.items():
        archive.file(f"{folder}/{name}.ko", content)
        needs += " ".join([f"{name}.ko:", *(f"{other}.ko" for other in all_needed_by(name, contents))]) + "\n"
    archive.file(f"{folder}/modules.dep", needs.encode("ascii"))


def initramfs(kernel, programs, stories, files, *, interfaces, results, step_limit, extra=""):
    """programs: {path in the guest: file}; files: {file in the folder of every story: content}."""
    archive = Archive()
    for folder in ("bin", "sbin", "usr", "usr/bin", "usr/sbin", "etc", "stories", "out"):
        archive.folder(folder)
    made = {"bin", "sbin", "usr/bin"}
    archive.file("bin/busybox", (kernel / "busybox").read_bytes(), 0o755)
    for path, source in programs.items():
        parent = os.path.dirname(path)
        parts = parent.split("/")
        for depth in range(1, len(parts) + 1):
            folder = "/".join(parts[:depth])
            if folder not in made:
                made.add(folder)
                archive.folder(folder)
        archive.file(path, Path(source).read_bytes(), 0o755)
    add_modules(archive, kernel)
    archive.file("etc/passwd", b"root::0:0::/:/bin/sh\nuser::1000:1000::/:/bin/sh\n")
    archive.file("etc/group", b"root::0:\nuser::1000:\n")
    for name in stories:
        archive.add(f"stories/{name}", stat.S_IFDIR | 0o777)
        for file, content in files.items():
            archive.file(f"stories/{name}/{file}", content)
    archive.file("stories/run", (script(stories) + extra).encode("ascii"))
    # Not every processor's kernel has all of them.
    loaded = [name for name in MODULES if (kernel / f"{name}.ko").exists()]
    init = INIT.format(modules=" ".join(loaded), interfaces=interfaces, results=results, step_limit=step_limit)
    archive.file("init", init.encode("ascii"), 0o755)
    return archive.packed()
