"""What qorx-inspect says of the guest: in it, and outside of what was recorded there."""

import json
import subprocess

# Fields of a port that the table prints, too, with what stands there for nothing. The mark of a default panel name is
# no part of it in JSON.
COLUMNS = (
    ("name", (0, 16), None), ("address", (16, 23), "N/A"), ("mac", (49, 68), "N/A"), ("slot", (68, 94), "N/A"),
    ("panel", (94, 123), "N/A"), ("segment", (139, 143), "N/A"), ("model", (143, None), "ID not found"),
)


def in_table(row):
    """-> the fields of a port, of its row of the table"""
    fields = {}
    for name, (first, behind), nothing in COLUMNS:
        text = row[first:behind].removesuffix("\n").strip().removesuffix(" (*)")
        fields[name] = None if text == nothing else text
    return fields


def in_json(port):
    fields = {name: port[name] for name, *_ in COLUMNS}
    return {name: None if value is None else str(value) for name, value in fields.items()}


def check(files, rows, program, folder):
    """What is wrong: the guest's JSON beside the expected rows of the table, and beside the recording."""
    if "inspect.json" not in files or "capture.tar.gz" not in files:
        return "the guest sent no JSON or no recording"
    ports = json.loads(files["inspect.json"])["ports"]
    for row, port in zip(rows, ports):
        if in_table(row) != in_json(port):
            return f"the table and the JSON differ:\n{row}{in_json(port)}"
    if len(ports) != len(rows):
        return f"{len(ports)} ports instead of {len(rows)}"
    for name in ("inspect.json", "capture.tar.gz"):
        (folder / name).write_bytes(files[name])
    done = subprocess.run(
        [program, "compare", "inspect.json", "--with", "eth_name,address,ids,mac", "--root", "capture.tar.gz"],
        cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=60, check=False)
    return "" if done.returncode == 0 and not done.stdout else f"the recording differs: {done.stdout}"
