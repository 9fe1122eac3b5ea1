"""The programs that run in the guests: qorx for their processors."""

import shutil
import subprocess
from pathlib import Path

from debian_packages import NotAvailable, locked
from machines import LOCAL

SOURCE = Path(__file__).resolve().parent.parent.parent
CROSS = "aarch64-linux-gnu-"


def run_quietly(*command):
    done = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          text=True, check=False)
    if done.returncode != 0:
        raise RuntimeError(f"{' '.join(map(str, command))}:\n{done.stdout[-4000:]}")


def build_for_arm64(folder):
    """-> a static qorx for 64-bit ARM, built in the folder."""
    if not shutil.which(CROSS + "g++"):
        raise NotAvailable(f"no compiler for arm64: there is no {CROSS}g++ (package g++-aarch64-linux-gnu)")
    with locked(folder):
        run_quietly("cmake", "-S", SOURCE, "-B", folder, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
                    "-DCMAKE_SYSTEM_NAME=Linux", "-DCMAKE_SYSTEM_PROCESSOR=aarch64", "-DQORX_STATIC=ON",
                    f"-DCMAKE_C_COMPILER={CROSS}gcc", f"-DCMAKE_CXX_COMPILER={CROSS}g++")
        run_quietly("cmake", "--build", folder, "--target", "qorx")
    return folder / "cli" / "qorx"


def shared_libraries(program):
    """-> {path in the guest: file} of what a program of this machine loads."""
    listed = subprocess.run(["ldd", program], capture_output=True, text=True, check=False).stdout
    files = {word for line in listed.splitlines() for word in line.split() if word.startswith("/")}
    return {file.lstrip("/"): file for file in files}


def qorx_inspect(options):
    """-> {path in the guest: file}"""
    if not options.inspect or not Path(options.inspect).exists():
        raise NotAvailable(f"no qorx-inspect: there is no {options.inspect}")
    return {"usr/sbin/qorx-inspect": options.inspect, **shared_libraries(options.inspect)}


UDEV = "/bin/udevadm"
UDEV_FILES = ("/usr/lib/udev/rules.d/75-net-description.rules", "/usr/lib/udev/rules.d/80-net-setup-link.rules",
              "/usr/lib/systemd/network/99-default.link")


def udev():
    """-> {path in the guest: file} of udev, as much as names interfaces; it is the daemon, too, by that name."""
    for file in (UDEV, *UDEV_FILES):
        if not Path(file).exists():
            raise NotAvailable(f"no udev: there is no {file} (package udev)")
    return {"usr/sbin/udevadm": UDEV, "usr/sbin/systemd-udevd": UDEV, **shared_libraries(UDEV),
            **{file.lstrip("/"): file for file in UDEV_FILES}}


def qorx_for(machine, options):
    if machine.architecture != LOCAL:
        return build_for_arm64(options.arm64_build)
    if not Path(options.qorx).exists():
        raise NotAvailable(f"no qorx: there is no {options.qorx}")
    return options.qorx
