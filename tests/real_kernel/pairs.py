"""Tables and recordings that a story has made at the same time: the recording must give the table, to the byte.

A story leaves them in /out/pairs, NAME.table of "qorx -a" and NAME.tar.gz. So even what nobody can know beforehand,
such as the order in which the kernel lists virtual interfaces, is compared.
"""

import subprocess


def check(files, program, folder):
    """-> {name: what is wrong, empty when nothing is}"""
    found = {}
    for path, table in files.items():
        if not path.startswith("pairs/") or not path.endswith(".table"):
            continue
        name = path.removeprefix("pairs/").removesuffix(".table")
        recording = folder / f"{name}.tar.gz"
        recording.write_bytes(files.get(f"pairs/{name}.tar.gz", b""))
        done = subprocess.run([program, recording, "--", "-a"], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, timeout=60, check=False)
        found[name] = "" if done.stdout == table else "\n".join(
            ["expected", table.decode("utf-8", "replace"), "replayed", done.stdout.decode("utf-8", "replace")])
    return found
