"""Cards are pulled and plugged while qorx runs in a loop: what the guest does, what is done to it, what must hold."""

import re
import time
from collections import Counter

from appliance import card_in
from transcript import LEGEND

# What runs in the loop: the name of the operation, the command, the file that holds its outcome.
OPERATIONS = (
    ("table", "qorx -a", "printed"),
    ("result", "qorx -o result", "result"),
    ("tovix", "qorx -tovix.cfg", "tovix.cfg"),
)

# Seconds that a card stays; half of them it is away. Short ones pull it while its driver still takes it.
PAUSES = (0.1, 1.5, 0.4, 0.9, 0.2, 1.2, 0.7)

# Keeps the status of every run, and each outcome that was not there before.
LOOP = """\
mkdir -p /out/plug /plug
cd /plug
seconds() { read -r up rest </proc/uptime; echo ${up%.*}; }
turn() {
  rm -f $3
  $2 >printed 2>errors
  echo "$1 $?" >>/out/plug/statuses
  cat errors >>/out/plug/errors
  sum=$(md5sum <$3)
  [ -e /out/plug/$1.${sum%% *} ] || cp $3 /out/plug/$1.${sum%% *}
}
tell plug
end=$(($(seconds) + SECONDS))
while [ $(seconds) -lt $end ]; do
  TURNS
done
tell stop
# The last card may still be on its way.
wait_for_interfaces
cp /proc/uptime /out/plug/uptime
qorx -a >/out/plug/last
"""


def loop(seconds):
    """The guest's part, a piece of shell."""
    turns = "\n  ".join(f"turn {name} '{command}' {file}" for name, command, file in OPERATIONS)
    return LOOP.replace("SECONDS", str(seconds)).replace("TURNS", turns)


# ---- what is done to the guest ----

def pull(machine, card):
    """The functions of a card go together; QEMU tells when the guest has let go of each."""
    machine.order("device_del", id=card[0]["id"])
    for function in card:
        machine.event("DEVICE_DELETED", device=function["id"])


def plug(machine, card):
    """Function 0 comes last: with it the guest takes notice of the card."""
    for function in reversed(card):
        machine.order("device_add", **function)


def pull_and_plug(machine, set_up):
    """-> how often a card was pulled"""
    cards = [card_in(set_up.appliance, port) for port in set_up.hot_plug]
    machine.order("qmp_capabilities")
    if not machine.wait_for("plug"):
        return 0
    times = 0
    while machine.running() and not machine.has_told("stop"):
        card = cards[times % len(cards)]
        times += 1
        pull(machine, card)
        time.sleep(PAUSES[times % len(PAUSES)] / 2)
        plug(machine, card)
        time.sleep(PAUSES[times % len(PAUSES)])
    return times


# ---- what must hold ----

# Every status that qorx can have: 0, and the codes that its manual describes.
STATUSES = {0, 128, 129, 131, 136, 140, *range(145, 155)}

TOVIX_RECORD = re.compile(
    r"eth_name: \S+\nSEGMENT: \d+\n(?:TYPE: .*\n)?BUS: .*\n(?:DEV: ..\nFUN: .\n|MCU_SEGMENT: .\n)\n")


def addresses(set_up):
    """Of the functions that are pulled, as the table prints them."""
    return {f"{function['id'][2:4]}:{function['id'][5:7]}.{function['id'][8]}"
            for port in set_up.hot_plug for function in card_in(set_up.appliance, port)}


def rows(table, where):
    """-> the lines between header and legend; complains when the table is not whole."""
    lines = table.splitlines(keepends=True)
    legend = LEGEND.splitlines(keepends=True)
    if not table.startswith("eth name ") or lines[-len(legend):] != legend:
        raise ValueError(f"{where}: not a whole table:\n{table}")
    return lines[1:-len(legend)]


def columns(row):
    """-> (address, vendor and device, subsystem, MAC address, slot, panel, feature, segment and model)"""
    ends = (16, 28, 38, 49, 68, 94, 123, 139, None)
    return tuple(row[first:end].rstrip() for first, end in zip(ends, ends[1:]))


def without_name(row):
    return row[16:]


def on_its_way(row, whole):
    """Whether the row can be that of a port that comes or goes: what was there when qorx asked is as ever."""
    address, ids, subsystem, mac, slot, panel, feature, model = columns(row)
    there = columns(whole)
    named = (feature, model) == there[6:] or (subsystem != there[2] and model == "N/A ID not found")
    return (address == there[0] and ids in (there[1], "N/A  N/A") and subsystem in (there[2], "N/A  N/A")
            and mac in (there[3], "N/A") and slot == there[4] and panel in ("1 (*)", "2 (*)") and named)


def check_table(table, expected, moving, where):
    """The rows of the ports that stay must be there as ever; other rows must be of those that come and go."""
    printed = rows(table, where)
    wholes = {columns(row)[0]: row for row in expected if columns(row)[0] in moving}
    staying = [row for row in expected if columns(row)[0] not in moving]
    for row in staying:
        if row not in printed:
            raise ValueError(f"{where}: a port that stays is not there:\n{row}{table}")
    for row in printed:
        whole = wholes.get(columns(row)[0])
        if row not in staying and (whole is None or not on_its_way(row, whole)):
            raise ValueError(f"{where}: a row of no port:\n{row}{table}")


def check_tovix(text, where):
    if not text.endswith("TYPE:PCIE\n\n") or TOVIX_RECORD.sub("", text) != "TYPE:PCIE\n\n":
        raise ValueError(f"{where}: not a whole tovix.cfg:\n{text}")


def check(set_up, files, expected):
    """Raises ValueError when something does not hold; -> a line about what ran."""
    moving = addresses(set_up)
    expected = rows("".join(expected), "expected")
    texts = {name.removeprefix("plug/"): content.decode("utf-8", "replace")
             for name, content in files.items() if name.startswith("plug/")}
    counts = Counter(texts.get("statuses", "").splitlines())
    for line in counts:
        if int(line.split()[1]) not in STATUSES:
            raise ValueError(f"a status that is not described: {line}")
    if texts.get("errors"):
        raise ValueError(f"said on standard error:\n{texts['errors']}")
    for name, text in texts.items():
        if name.startswith(("table.", "result.")):
            check_table(text, expected, moving, name)
        elif name.startswith("tovix."):
            check_tovix(text, name)
    # Plugged again, the ports may have changed their names among each other.
    last = [without_name(row) for row in rows(texts.get("last", ""), "last")]
    if last != [without_name(row) for row in expected]:
        raise ValueError(f"not as before when all is plugged again:\n{texts['last']}")
    different = Counter(name.split(".")[0] for name in texts if "." in name)
    return (f"{sum(counts.values())} runs: " + ", ".join(f"{line}: {count}" for line, count in sorted(counts.items()))
            + "; different outcomes: " + ", ".join(f"{name} {count}" for name, count in sorted(different.items())))
