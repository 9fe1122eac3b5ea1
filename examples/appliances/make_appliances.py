#!/usr/bin/env python3
"""Writes the root/ trees of the sample appliances from machines.py; --check only compares."""

import argparse
import os
import shutil
import sys
from pathlib import Path

sys.dont_write_bytecode = True

from machines import MACHINES
from smbios_tables import firmware_files
from sysfs_tree import Link, sysfs_files

HERE = Path(__file__).resolve().parent


def wanted_files(machine):
    return {**sysfs_files(machine), **firmware_files(machine)}


def write(root, files):
    shutil.rmtree(root, ignore_errors=True)
    for path, content in files.items():
        target = root / path
        target.parent.mkdir(parents=True, exist_ok=True)
        if isinstance(content, Link):
            target.symlink_to(content)
        else:
            target.write_bytes(content)


def present_files(root):
    """-> {path: content} of everything below root that is not a directory."""
    found = {}
    for folder, folders, names in os.walk(root):
        for name in folders + names:
            path = Path(folder) / name
            if path.is_symlink():
                found[path.relative_to(root).as_posix()] = Link(os.readlink(path))
            elif not path.is_dir():
                found[path.relative_to(root).as_posix()] = path.read_bytes()
    return found


def differences(root, files):
    present = present_files(root)
    for path in sorted(files.keys() | present.keys()):
        if path not in present:
            yield f"missing: {root / path}"
        elif path not in files:
            yield f"unexpected: {root / path}"
        elif files[path] != present[path] or type(files[path]) is not type(present[path]):
            yield f"different: {root / path}"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--check", action="store_true",
                        help="change nothing; exit with 1 when a tree differs from what would be written")
    check = parser.parse_args().check
    wrong = []
    for machine in MACHINES:
        root = HERE / machine.name / "root"
        if check:
            wrong += differences(root, wanted_files(machine))
        else:
            write(root, wanted_files(machine))
    print(*wrong, sep="\n", end="\n" if wrong else "")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
