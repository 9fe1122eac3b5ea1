"""What qorx costs beside other tools that read slots and cards: time, system calls, reads of configuration space."""

import shutil

from appliance import Bridge, everything, ports
from debian_packages import NotAvailable
from programs import shared_libraries

COMMANDS = (
    ("qorx -a", "qorx -a"),
    ("lspci -vmm", "lspci -vmm"),
    ("dmidecode -t 9 -t 41", "dmidecode -t 9 -t 41"),
)
RUNS = 20

# Each line of "figures": name, reads of configuration space, system calls, milliseconds a run.
LOOP = """\
mkdir -p /out/measure
mount -t tracefs none /sys/kernel/tracing
cd /sys/kernel/tracing
echo 'pci_user_read_config_*' >set_ftrace_filter
reads() {
  echo function >current_tracer
  echo >trace
  $1 >/dev/null
  grep -c pci_user_read_config trace
  echo nop >current_tracer
}
calls() { strace -f -o /tmp/calls $1 >/dev/null; wc -l </tmp/calls; }
centiseconds() { read -r up rest </proc/uptime; echo ${up%.*}${up#*.}; }
milliseconds() {
  start=$(centiseconds)
  for run in $(seq RUNS); do $1 >/dev/null; done
  echo $((($(centiseconds) - start) * 10 / RUNS))
}
measure() { echo "$1;$(reads "$2");$(calls "$2");$(milliseconds "$2")" >>/out/measure/figures; }
"""


def loop():
    """The guest's part, a piece of shell."""
    return LOOP.replace("RUNS", str(RUNS)) + "".join(f"measure '{name}' '{command}'\n" for name, command in COMMANDS)


def programs():
    """-> {path in the guest: file} of the other tools, strace, and what these load."""
    files = {}
    for name, package in (("lspci", "pciutils"), ("dmidecode", "dmidecode"), ("strace", "strace")):
        program = shutil.which(name, path="/usr/bin:/usr/sbin:/bin:/sbin")
        if not program:
            raise NotAvailable(f"nothing to compare with: there is no {name} (package {package})")
        files[f"usr/bin/{name}"] = program
        files |= shared_libraries(program)
    names = "/usr/share/misc/pci.ids"
    return {**files, names.lstrip("/"): names}


def figures(files):
    """-> {name: (reads, calls, milliseconds)}"""
    lines = files.get("measure/figures", b"").decode("ascii").splitlines()
    return {name: tuple(int(number) for number in numbers) for name, *numbers in (line.split(";") for line in lines)}


def table(found, ports):
    lines = [f"{ports} ports".ljust(24) + "config reads  system calls  ms"]
    for name, (reads, calls, milliseconds) in found.items():
        lines.append(f"{name:<24}{reads:>12}  {calls:>12}  {milliseconds:>2}")
    return "\n".join(lines)


def most_reads(things):
    """What identifies a port takes three reads; what identifies a bridge is in the list of its capabilities."""
    bridges = sum(isinstance(thing, Bridge) for thing in everything(things))
    return 3 * sum(1 for _ in ports(things)) + 8 * bridges


def check(found, things):
    """What is wrong with the figures of an appliance with these things; empty when nothing is."""
    if list(found) != [name for name, _ in COMMANDS]:
        return f"not everything was measured: {found}"
    if found["qorx -a"][0] >= found["lspci -vmm"][0]:
        return "qorx reads more of configuration space than lspci"
    if found["qorx -a"][0] > most_reads(things):
        return f"qorx reads configuration space {found['qorx -a'][0]} times, more than {most_reads(things)}"
    return ""
