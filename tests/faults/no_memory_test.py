#!/usr/bin/env python3
"""The order of a recorded machine is kept in memory: where there is none, nothing is printed but that.

Usage: no_memory_test.py REPLAY-PROGRAM MALLOC-LIBRARY
"""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

EDGE = pathlib.Path(__file__).resolve().parents[2] / "examples/appliances/edge/root"
LACK = (0x80, "Error: QORX_ERR_OPEN_FILE (0x80)\n")


def run(replay, root, environment):
    result = subprocess.run([replay, root, "--", "-a", "-novlan"], env=os.environ | environment, capture_output=True,
                            text=True, timeout=60, check=False)
    return result.returncode, result.stdout


def main():
    replay, library = (os.path.abspath(name) for name in sys.argv[1:])
    with tempfile.TemporaryDirectory() as scratch:
        root = pathlib.Path(scratch, "root")
        shutil.copytree(EDGE, root, symlinks=True)
        (root / "order").write_text("".join(f"sys/class/net/eth{number}\n" for number in range(18)))
        whole = run(replay, root, {})
        seen = {run(replay, root, {"LD_PRELOAD": library, "QORX_FAIL_MALLOC": f"{number}:once"})
                for number in range(1, 60)}
    assert whole[0] == 0 and whole[1].count("\n") > 20, whole
    assert seen <= {whole, LACK}, seen - {whole, LACK}
    assert LACK in seen


if __name__ == "__main__":
    main()
