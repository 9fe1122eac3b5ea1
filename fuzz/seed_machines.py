"""Seeds of the whole-run target: machines as sections (see machine.h and README.md)."""

import os
import posixpath
import tarfile

MARK = b"\xf5"
MOST_PORTS = 6


class Link(str):
    """A file that is a symbolic link to this text."""


def section(letter, content):
    return MARK + letter + content.replace(MARK, MARK + MARK)


def words(command_line):
    """A blank parts two words."""
    return section(b"a", command_line.replace(" ", "\0").encode())


def tree_of_directory(root):
    """-> {path: content or Link} of everything below root that is not a directory."""
    tree = {}
    for folder, folders, names in os.walk(root):
        for name in folders + names:
            path = os.path.join(folder, name)
            key = os.path.relpath(path, root)
            if os.path.islink(path):
                tree[key] = Link(os.readlink(path))
            elif os.path.isfile(path):
                with open(path, "rb") as file:
                    tree[key] = file.read()
    return tree


def tree_of_archive(path):
    tree = {}
    with tarfile.open(path) as archive:
        for member in archive:
            if member.issym():
                tree[member.name.rstrip("/")] = Link(member.linkname)
            elif member.isfile():
                tree[member.name] = archive.extractfile(member).read()
    return tree


def interface_sections(tree, name, link):
    """The interface, and the identity files of the device behind it."""
    parts = [section(b"n", name.encode() + b"\0" + link.encode(errors="surrogateescape"))]
    folder = posixpath.normpath(posixpath.join("sys/class/net", link))
    device = posixpath.dirname(posixpath.dirname(folder))
    for letter, path in ((b"m", f"{folder}/address"), (b"c", f"{device}/config"), (b"u", f"{device}/uevent")):
        content = tree.get(path)
        if isinstance(content, bytes):
            parts.append(section(letter, content[:256]))
    return b"".join(parts)


def bridge_sections(tree, links):
    """The bridges above these interfaces."""
    folders = {posixpath.normpath(posixpath.join("sys/class/net", link)) for link in links}
    parts = []
    for path, content in sorted(tree.items()):
        folder = posixpath.dirname(path)
        above = any(port.startswith(folder + "/0000:") for port in folders)
        if path.startswith("sys/devices/pci0000:00/0000:") and path.endswith("/config") and above:
            place = posixpath.relpath(folder, "sys/devices/pci0000:00")
            parts.append(section(b"f", place.encode() + b"\0" + content[:256].rstrip(b"\0")))
    return b"".join(parts)


def machine_seed(tree, command_line, first=0, extra=b""):
    interfaces = [(posixpath.basename(path), content) for path, content in tree.items()
                  if posixpath.dirname(path) == "sys/class/net" and isinstance(content, Link)]
    interfaces.sort(key=lambda port: (len(port[0]), port[0]))
    virtual = [port for port in interfaces if "/virtual/" in port[1]]
    chosen = [port for port in interfaces if "/virtual/" not in port[1]][first:first + MOST_PORTS] + virtual[:2]
    # The platform files name switches that other ports are behind.
    behind = interfaces if "-config" in command_line else chosen
    parts = [words(command_line), bridge_sections(tree, [link for _, link in behind])]
    parts += [interface_sections(tree, name, link) for name, link in chosen]
    for path, letter in (("sys/firmware/dmi/tables/smbios_entry_point", b"e"), ("sys/firmware/dmi/tables/DMI", b"t")):
        if path in tree:
            parts.append(section(letter, tree[path]))
    for path, content in sorted(tree.items()):
        folders = path.split("/")
        if path.endswith("/name") and len(folders) > 2 and folders[-2].startswith("i2c-"):
            parts.append(section(b"i", folders[-2].encode() + b"\0" + content))
    if "dev/mem" in tree:
        parts += [memory_section(tree["dev/mem"], 0xE9000, 0x600), memory_section(tree["dev/mem"], 0xF0540, 32)]
    return b"".join(parts) + extra


def memory_section(memory, address, length):
    return section(b"M", address.to_bytes(4, "little") + memory[address:address + length].rstrip(b"\0"))


FILES = "-config qorx.cfg -legacy -sys_WMX_cfg wmx_name.cfg"

# Command line, and the first of the six ports that the seed keeps.
RUNS = [
    ("-a -ML 2", 0), (f"-a {FILES}", 4), (f"-o result.txt -F {FILES}", 8), ("-tovix.cfg", 0), ("-tovix.cfg", 4),
    ("-tovix.cfg", 8), ("-tovix.cfg -vm", 4), ("-tovix.cfg -vm -F", 4), (f"-tovix.cfg -F {FILES}", 4), ("-sysinfo -ML 2", 14), ("-d eth8 -novlan", 8),
    ("-f A_BYPASS", 4), ("-f NCSI/1PPS -config qorx.cfg", 0), ("-p 09:00.0", 8), ("-support", 0),
    ("-a -smbios_cfg smbios.cfg -sort_slotname", 8), ("-a -vm", 0), (f"-sysinfo -ML 2 {FILES}", 12),
]

# Runs that need no machine.
COMMANDS = ["", "-a", "-V", "-V -ML 2", "-x", "-a extra", "-legacy -F", "-a -sys_WMX_cfg wmx_name.cfg",
            "-a -config missing.cfg", "-o missing/result.txt"]

# Names and link texts that a kernel would not make, or seldom.
ODD_LINKS = [
    ("eth0", "../../devices/pci0000:00/0000:00:1c.0/0000:03:00.0/net/eth0"), ("lo", "x"), ("a b", ""), ("v", "/"),
    ("wlan0", "../../devices/platform/soc/mmc1/net/wlan0"), ("long", "../../devices/" + "0000:00:01.0/" * 11),
    ("longer", "../../devices/" + "0000:00:01.0/" * 36), ("skipped", "../../devices/usb1/" + "0000:00:01.0/" * 9), ("short", "0000:1"), ("x", "../../devices/pci/0000:/net/x"),
]


def user_files(folder):
    return b"".join(section(letter, (folder / name).read_bytes())
                    for letter, name in ((b"q", "qorx.cfg"), (b"s", "smbios.cfg"), (b"w", "wmx_name.cfg")))


def appliance_seeds(folder):
    seeds = {f"command-{i}": words(line) for i, line in enumerate(COMMANDS)}
    seeds["no-words"] = b""
    seeds["no-interfaces"] = words("-a") + section(b"x", b"")
    seeds["no-domain"] = words("-a") + section(b"x", b"1")
    for machine in ("edge", "legacy"):
        tree = tree_of_directory(folder / machine / "root")
        for i, (line, first) in enumerate(RUNS):
            extra = user_files(folder / machine) if "cfg " in line else b""
            seeds[f"{machine}-{i:02}"] = machine_seed(tree, line, first, extra)
    tree = tree_of_directory(folder / "edge" / "root")
    tables = "sys/firmware/dmi/tables"
    pair = section(b"1", tree[f"{tables}/smbios_entry_point"]) + section(b"2", tree[f"{tables}/DMI"])
    seeds["diag"] = machine_seed(tree, "-sysinfo -diag entry table", 5, pair)
    seeds["systab"] = machine_seed(tree, "-a", 5, section(b"y", b"SMBIOS3=0x1000\n"))
    physical = {path: content for path, content in tree.items() if "/virtual/" not in str(content)}
    seeds["many-ports"] = machine_seed(physical, "-a -ML 0", 4, section(b"r", b"\xff"))
    without_adapters = {path: content for path, content in tree.items() if "i2c" not in path}
    seeds["no-adapters"] = machine_seed(without_adapters, "-a", 8)
    seeds["odd-links"] = words("-a -ML 2") + b"".join(
        section(b"n", f"{name}\0{link}".encode()) + section(b"c", bytes(64)) for name, link in ODD_LINKS)
    return seeds


def recorded_seeds(folder, pairs):
    seeds = {}
    for archive in sorted(folder.glob("sysfs/*.tar.xz")):
        name = archive.name.removesuffix(".tar.xz")
        extra = b""
        if name in pairs:
            extra = section(b"e", pairs[name][0]) + section(b"t", pairs[name][1])
        seeds[name] = machine_seed(tree_of_archive(archive), "-a", 0, extra)
    return seeds
