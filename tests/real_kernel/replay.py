"""Tells stories outside the guest, on the recording that qorx-capture made in it."""

import os
import shlex
import subprocess


def replay(stories, recording, program, files, folder):
    """-> {story/step.out and story/step.status: content}, as a guest sends them; "qorx" is qorx-replay here."""
    archive = folder / "capture.tar.gz"
    archive.write_bytes(recording)
    tools = folder / "tools"
    tools.mkdir()
    (tools / "qorx").write_text(
        f'#!/bin/sh\nexec {shlex.quote(str(program))} {shlex.quote(str(archive))} -- "$@"\n', encoding="utf-8")
    (tools / "qorx").chmod(0o755)
    environment = {**os.environ, "PATH": f"{tools}:{os.environ['PATH']}"}
    results = {}
    for name, steps in stories.items():
        place = folder / name
        place.mkdir()
        for file, content in files.items():
            (place / file).write_bytes(content)
        for number, step in enumerate(steps):
            done = subprocess.run(["sh", "-c", step.command], cwd=place, env=environment, stdin=subprocess.DEVNULL,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=60, check=False)
            results[f"{name}/{number}.out"] = done.stdout
            results[f"{name}/{number}.status"] = str(done.returncode).encode("ascii")
    return results
