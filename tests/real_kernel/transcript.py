"""Transcripts: commands that run in the guest, each with the output that it must have.

    # A comment, anywhere.
    $ qorx -d eth1
    eth name        ...
    [legend]
    $ qorx -p
    [status 147]

A line "[legend]" stands for the lines below every table. A status that is not 0 stands last. The rows of virtual
interfaces come in the order in which the kernel lists them, which changes from boot to boot: "[any order]" stands
before lines that may come in any order, up to the next line in brackets.
"""

import difflib
from dataclasses import dataclass, field

LEGEND = """\
(*) means default, user can use config file to overwrite the panel name.
(!) means CFG file feature is not matched with Vlm default feature.
(?) means CFG file changed the slot number of slot name or NO matched SMBIOS type9/41 record.
    QORX can't identify the slot number to output corresponding seg number.
(u) means this NIC device is from USB. The vid and did are from USB.
(!!) means there is no valid type 9/41 SMBIOS record. Please contact Velmora.
N/A in slot name means it's a USB network device or a virtual network device. It's NOT a PCIE network device.
"""


@dataclass
class Step:
    command: str
    line: int
    expected: list = field(default_factory=list)    # lines with their ends
    status: int = 0
    unordered: list = field(default_factory=list)   # (first, behind the last) of the lines in any order


def parse(text):
    steps = []
    first = None        # of the lines in any order

    def close():
        nonlocal first
        if first is not None:
            steps[-1].unordered.append((first, len(steps[-1].expected)))
            first = None

    for number, line in enumerate(text.splitlines(keepends=True), start=1):
        bare = line.rstrip("\n")
        if bare.startswith("# "):
            continue
        if bare.startswith("$ ") or bare in ("[legend]", "[any order]") or bare.startswith("[status "):
            close()
        if bare.startswith("$ "):
            steps.append(Step(bare[2:], number))
        elif not steps:
            if bare:
                raise ValueError(f"line {number}: output before the first command")
        elif bare == "[legend]":
            steps[-1].expected += LEGEND.splitlines(keepends=True)
        elif bare == "[any order]":
            first = len(steps[-1].expected)
        elif bare.startswith("[status "):
            steps[-1].status = int(bare[8:-1])
        else:
            steps[-1].expected.append(line)
    close()
    return steps


def in_order(step, lines):
    """The lines with those sorted that may come in any order."""
    lines = list(lines)
    for first, behind in step.unordered:
        lines[first:behind] = sorted(lines[first:behind])
    return lines


def difference(step, output, status):
    """What is wrong with a step's result; empty when nothing is."""
    got = in_order(step, output.splitlines(keepends=True)) + [f"[status {status}]\n"]
    wanted = in_order(step, step.expected) + [f"[status {step.status}]\n"]
    if got == wanted:
        return ""
    # Blanks at the ends of lines count, and so do the ends: show them.
    shown = [[line[:-1] + "|" if line.endswith("\n") else line for line in lines] for lines in (wanted, got)]
    return "\n".join(difflib.unified_diff(*shown, "expected", "printed", lineterm="", n=1))
