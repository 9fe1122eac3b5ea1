#!/usr/bin/env python3
"""Writes the seed corpora: corpus/<target>/ from hand-made cases and pieces of the sample appliances.

make_seeds.py                    writes corpus/
make_seeds.py --real DIR TO      writes seeds of the recorded machines in DIR below TO/<target>/; they stay out of the
                                 repository
"""

import argparse
import struct
import sys
from pathlib import Path

sys.dont_write_bytecode = True
HERE = Path(__file__).resolve().parent
APPLIANCES = HERE.parent / "examples" / "appliances"
sys.path.insert(0, str(APPLIANCES))

import seed_machines  # noqa: E402
from smbios_tables import sealed, structure  # noqa: E402


def slot(designation, bus, device_function, number=1, before=()):
    body = bytes([number, 0xB2, 0x0B, 4, 4, 1, 0, 0x0C, 1, 0, 0, bus, device_function])
    return structure(9, 0x10, body, [*before, designation])


def onboard(designation, bus, device_function, number=1, before=()):
    body = bytes([number, 0x85, 1, 0, 0, bus, device_function])
    return structure(41, 0x20, body, [*before, designation])


def entry2(length, address=0):
    middle = sealed(b"_DMI_\0" + struct.pack("<HIHB", length, address, 1, 0x28), 5)
    return sealed(b"_SM_\0" + bytes([0x1F, 2, 8, 0, 0, 0]) + bytes(5) + middle, 4)


def entry3(length, address=0):
    return sealed(b"_SM3_\0" + struct.pack("<BBBBBBIQ", 0x18, 3, 2, 0, 1, 0, length, address), 5)


TABLES = {
    "empty": b"",
    "one-byte": b"\x09",
    "slot": slot("WMX Slot 1", 3, 0),
    "both-kinds": slot("WMX Slot 1", 3, 0) + onboard("LAN1", 4, 0xFA, 2, ["Onboard"]) + structure(127, 1, b"", []),
    "third-string": slot("Slot C", 5, 8, 3, ["first", "the second"]),
    "string-too-high": slot("Slot", 5, 8, 200),
    "no-string-number": slot("named", 1, 0) + slot("ignored", 2, 0, 0),
    "no-strings": structure(9, 1, bytes(13), []) * 3,
    "old-slot-without-address": structure(9, 1, bytes([1, 5, 3, 4, 3, 1, 0, 4]), ["PCI1"]),
    "padded-names": slot("  WMX Slot 2 (H.1.2.255)  ", 6, 0) + slot("\t\r\n", 7, 0),
    "strings-without-end": slot("cut", 1, 0)[:-2],
    "formatted-area-behind-end": b"\x29\xff\x00\x00\x01\x00\x00",
    "long-name": slot("N" * 300, 1, 0),
    "long-structure": slot("S", 1, 0, 12, ["x" * 100] * 11),
    "zeros": bytes(64),
    "many": b"".join(structure(41, i, bytes([1, 0, 0, 0, 0, i % 256, i % 251]), ["A"]) for i in range(516)),
}

OVERRIDE = {
    "empty": "",
    "comments-only": "# one\n\n  # two\n",
    "one-slot": 'TYPE="9"\nNAME="WMX Slot 1"\nBUS:DEV.FUN="03:00.0"\n',
    "blanks": ' \tTYPE="41" \t\r\n\n# x\n  NAME="LAN 1 (B.3.2.255.1)"\r\nBUS:DEV.FUN="1a:1f.7"  \n',
    "wrong-type": 'TYPE="09"\nNAME="a"\nBUS:DEV.FUN="0:0.0"\n',
    "empty-name": 'TYPE="9"\nNAME=""\nBUS:DEV.FUN="0:0.0"\n',
    "two-fields": 'TYPE="9"\nNAME="a"\nBUS:DEV.FUN="3:0"\n',
    "no-last-line-feed": 'TYPE="9"\nNAME="a"\nBUS:DEV.FUN="3:0.1"',
    "lone-quote": 'TYPE="\nNAME="\n',
    "huge-numbers": 'TYPE="9"\nNAME="a"\nBUS:DEV.FUN="fffffffffffffffffffff:-1.0x1ff"\n',
    "long-line": 'TYPE="9"\nNAME="' + "n" * 1200 + '"\nBUS:DEV.FUN="3:0.1"\n',
    "many": 'TYPE="9"\nNAME="s"\nBUS:DEV.FUN="1:2.3"\n' * 514,
}

PLATFORM = {
    "feature": 'SLOT_NAME="LAN1"\nFUNCTION/NAME/FEATURE="0/MGMT/NCSI/1PPS"\n',
    "features": 'SLOT_NAME="WMX Slot 1"\n' + "".join(
        f'FUNCTION/NAME/FEATURE="{i}/Port {i}/{word}"\n' for i, word in enumerate(
            ["A_BYPASS", "A_BYPASS-C", "L_BYPASS", "POE", "NA", "NCSI", "1PPS", "A_BYPASS_I2C"])),
    "bus-order": 'SLOT_NAME="PCIE Slot 4"\nFUNCTION/NAME/BUS_ORDER="5/Left/L"\nFUNCTION/NAME/BUS_ORDER="5/R/H"\n',
    "rename": 'SLOT_NAME="WMX Slot 1"\nCHANGE_NAME="WMX Slot 9"\nSLOT_NAME="WMX Slot 9"\n',
    "switch": 'SLOT_NAME="SW Slot 3"\nPCIe_SW_DEV/WMX_SLOT="5-2/WMX Slot 6"\nPCIe_SW_DEV/WMX_SLOT="8-8/WMX Slot 7"\n',
    "switch-without-device": 'SLOT_NAME="WMX Slot 1"\nPCIe_SW_DEV/WMX_SLOT="1-2/A"\n',
    "switch-missing": 'SLOT_NAME="PCIE Slot 4"\nPCIe_SW_DEV/WMX_SLOT="1-2/A"\n',
    "huge-range": 'SLOT_NAME="SW Slot 3"\nPCIe_SW_DEV/WMX_SLOT="0-7fffffffffffffff/A"\n',
    "rename-then-switch": 'SLOT_NAME="SW Slot 3"\nCHANGE_NAME="B"\nPCIe_SW_DEV/WMX_SLOT="1-2/B"\nCHANGE_NAME="C"\n',
    "empty-name": 'SLOT_NAME=""\nCHANGE_NAME=""\nFUNCTION/NAME/FEATURE="4//POE"\n',
    "unknown-name": 'SLOT_NAME="nowhere"\n',
    "feature-first": 'FUNCTION/NAME/FEATURE="0/a/POE"\n',
    "unknown-feature": 'SLOT_NAME="LAN1"\nFUNCTION/NAME/FEATURE="0/a/poe"\n',
    "two-fields": 'SLOT_NAME="LAN1"\nFUNCTION/NAME/FEATURE="0/a"\n',
    "no-quote": 'SLOT_NAME="LAN1"\nCHANGE_NAME="a\n',
    "blank-line-with-cr": 'SLOT_NAME="LAN1"\r\n\r\nCHANGE_NAME="a"\r\n',
    "no-last-line-feed": '# x\n\nSLOT_NAME="LAN1"\n\n#\nCHANGE_NAME="a"',
    "long-line": 'SLOT_NAME="' + "L" * 1100 + '"\n',
    "long-panel": 'SLOT_NAME="LAN1"\nFUNCTION/NAME/FEATURE="0/' + "p" * 400 + '/POE"\n',
}

MODULES = {
    "single": "WMX-2848 L_BYPASS\n",
    "three": "WMX-1813 A_BYPASS\nWMX-2848  A_BYPASS\nWMX-8655 A_BYPASS\n",
    "four": "WMX-0119 NA\nWMX-4195 NA\nWMX-3493 NA\nWMX-0119/4195 NA\n",
    "disagreeing": "# fitted\n\nWMX-9605 NCSI\n WMX-4840 POE \r\n",
    "other-family": "WMX-4180 NA\nTOBR-4180 A_BYPASS_I2C",
    "no-feature": "WMX-2848\n",
    "unknown-feature": "WMX-2848 poe\n",
    "prefix-only": "WMX- N/A\n",
    "long-name": "WMX-" + "2848" * 200 + " NA\n",
    "empty": "",
}

UEVENTS = {
    "usb": "DEVTYPE=usb_interface\nDRIVER=usbnet\nPRODUCT=bda/8153/3000\nTYPE=0/0/0\n",
    "blanks": "  PRODUCT = a/b\n \tPRODUCT==/0b95//1790/\r\n",
    "no-line-feed": "PRODUCT=bda/8153/3000",
    "two-fields": "PRODUCT=bda\n",
    "long-numbers": "PRODUCT=fffffffff/-1/0\n",
    "nul": "A\0PRODUCT=1/2/3\nPRODUCT=4/5/6\n",
    "long-line": "A" * 1023 + "PRODUCT=1/2/3\n",
}

SYSTABS = {
    "both": "ACPI20=0x7e000\nSMBIOS=0x2010\nSMBIOS3=0x1000\n",
    "version-3": "SMBIOS3=0x1000\nSMBIOS=0x2010\n",
    "checksum": "SMBIOS=3000\n",
    "beyond": "SMBIOS3=0xffffffffffffffff\n",
    "no-line-feed": "SMBIOS=0x2010",
    "not-hexadecimal": "SMBIOS=zz\n",
    "later-line": "MPS=0xf0000\n\nHCDP=0x10\nSMBIOS=0X1000 \n",
}

DESIGNATIONS = {
    "host": ("WMX Slot 1 (H.1.2.255)", "SMBus I801 adapter at efa0", "i2c-0-mux (chan_id 2)", "other"),
    "second-switch": ("WMX Slot 1 (H.0.2.3)", "Synopsys DesignWare I2C adapter", "i2c-0-mux (chan_id 2)",
                      "i2c-17-mux (chan_id 3)"),
    "controller": ("LAN5 (B.3.2.255.1)", "", "", ""),
    "no-adapter": ("Slot (H.300.0.0)", "i915 gmbus dpb", "", ""),
    "negative": ("(H.-1.7.255)", "x", "", ""),
    "wrong-switch": ("Slot (H.1.9.255)",),
    "wrong-path": ("Slot (X.1.2.3)",),
    "wrong-segment": ("LAN (B.3.255.255.5)",),
    "segment-without-end": ("LAN (B.3.255.255.4",),
    "no-descriptor": ("WMX Slot 1",),
    "huge-number": ("(B.99999999999999999999.255.255.1)",),
}

PATHS = {
    "own-address": ([(3, 0, 0)], "../../devices/pci0000:00/0000:00:1c.0/0000:03:00.0"),
    "bridge": ([(9, 0, 0), (0, 0x1C, 4)], "../../devices/pci0000:00/0000:00:1c.4/0000:03:00.0"),
    "next-function": ([(0, 0x1C, 3)], "../../devices/pci0000:00/0000:00:1c.4/0000:03:00.0"),
    "next-device": ([(0, 0x1B, 7)], "../../devices/pci0000:00/0000:00:1c.4/0000:03:00.0"),
    "next-bus": ([(2, 0x1B, 7)], "../../devices/pci0000:00/0000:00:1c.4/0000:03:00.0"),
    "bus-only": ([(3, 5, 5), (3, 6, 6)], "../../devices/pci0000:00/0000:00:1c.4/0000:03:00.0"),
    "last-numbers": ([(255, 255, 255)], "x:100:x:ff:100:x:ff:ff.100"),
    "deep": ([(0x4B, 1, 0)], "../../devices/pci0000:00/" + "0000:00:01.0/" * 8 + "0000:4b:01.0"),
    "short": ([(3, 0, 0)], ":03:"),
}

COMMAND_LINES = [
    "qorx -a",
    "qorx -a -novlan -legacy -config qorx.cfg",
    "qorx -d -legacy",
    "qorx -V -ML 2",
    "qorx -tovix.cfg -F -vm -sort_slotname -smbios_cfg smbios.cfg",
    "qorx -a -diag entry table -sys_WMX_cfg wmx_name.cfg -legacy",
    "qorx -o result.txt -config a -config b",
    "-legacy",
    "-novlan -novlan",
    "-diag -diag -diag -diag",
    "qorx -ML 3 -ML -1 -ML 99999999999999999999",
    "qorx -config " + "c" * 300,
]


def endpoint(header_type=0):
    config = bytearray(64)
    config[0:4] = struct.pack("<HH", 0x8086, 0x1521)
    config[6] = 0x10
    config[0x0E] = header_type
    config[0x2C:0x30] = struct.pack("<HH", 0x8086, 0x0001)
    config[0x34] = 0x40
    return bytes(config)


def bridge(capabilities, status=0x10):
    """capabilities: (offset, id, next offset)"""
    config = bytearray(256)
    config[6] = status
    config[0x0E] = 1
    config[0x34] = capabilities[0][0] if capabilities else 0
    for offset, kind, following in capabilities:
        config[offset:offset + 8] = bytes([kind, following, 0, 0, 0x86, 0x80, 0x4A, 0x20])
    return bytes(config)


CONFIGS = {
    "endpoint": endpoint(),
    "multi-function": endpoint(0x80),
    "cut-endpoint": endpoint()[:0x2E],
    "empty": b"",
    "bridge": bridge([(0x40, 0x10, 0x88), (0x88, 0x0D, 0)]),
    "bridge-without-ids": bridge([(0x40, 0x10, 0)]),
    "loop": bridge([(0x40, 0x10, 0x50), (0x50, 0x05, 0x43)]),
    "longest-chain": bridge([(at, 0x05, at + 4) for at in range(0x40, 0xF8, 4)] + [(0xF8, 0x0D, 0)]),
    "no-list": bridge([(0x40, 0x0D, 0)], 0),
    "at-the-end": bridge([(0xFC, 0x0D, 0)])[:256],
    "cut-bridge": bridge([(0x80, 0x0D, 0)])[:0x40],
}


def structure_seed(table, announced=None, mapped=False, traced=True):
    options = (0 if announced is None else 1) | (2 if mapped else 0) | (0x10 if traced else 0)
    return struct.pack("<BI", options, announced or 0) + table


def pair_seed(entry, table):
    return bytes([0, len(entry)]) + entry + table


def memory_seed(entry, position=0x54):
    return struct.pack("<BH", 2, position) + entry


def slot_seed(addresses, path):
    return bytes([len(addresses), *(part for address in addresses for part in address)]) + path.encode()


def config_seed(config, wanted=0x0D, offset=0x2C):
    return struct.pack("<BH", wanted, offset) + config


def encoded(texts):
    return {name: text.encode("latin-1") for name, text in texts.items()}


def behind_option(option, texts):
    return {name: bytes([option]) + text.encode("latin-1") for name, text in texts.items()}


def user_files(name):
    return {machine: (APPLIANCES / machine / name).read_bytes() for machine in ("edge", "legacy")}


def structure_seeds():
    seeds = {name: structure_seed(table, traced=len(table) < 1000) for name, table in TABLES.items()}
    seeds["mapped"] = structure_seed(TABLES["both-kinds"], len(TABLES["both-kinds"]), True)
    seeds["announced-longer"] = structure_seed(TABLES["slot"], 0x200)
    seeds["announced-shorter"] = structure_seed(TABLES["both-kinds"], 10)
    seeds["announced-4-gb"] = structure_seed(TABLES["slot"], 0xFFFFFFFF)
    seeds["edge"] = structure_seed((APPLIANCES / "edge/root/sys/firmware/dmi/tables/DMI").read_bytes())
    return seeds


def entry_seeds():
    # In memory the table stands 32 bytes behind its entry point.
    table = TABLES["both-kinds"]
    behind = 0xF0000 + 0x54 * 16 + 32
    return {
        "version-2": bytes(3) + entry2(100, 0xE9000),
        "version-3": bytes(3) + entry3(100, 0xE9000),
        "wrong-sum": bytes(3) + entry3(100)[:-1] + b"\x01",
        "wrong-middle-sum": bytes(3) + sealed(entry2(100)[:20] + b"\x07" + entry2(100)[21:], 4),
        "cut": bytes(3) + entry2(100)[:20],
        "memory-2": memory_seed(entry2(len(table), behind).ljust(32, b"\0") + table),
        "memory-3": memory_seed(entry3(len(table), behind).ljust(32, b"\0") + table),
        "memory-last-place": memory_seed(entry3(len(table), 0xF0000), 0xFFE),
        "memory-beyond": memory_seed(entry3(0xFFFFFFFF, 0x7FFFFFFFFFFFF000)),
        "memory-second": memory_seed((entry3(1)[:-1] + b"\x01").ljust(32, b"\0") + entry3(0, 0)),
    }


def pair_seeds():
    seeds = {name: pair_seed(entry3(len(table)), table) for name, table in TABLES.items() if len(table) < 1000}
    seeds["version-2"] = pair_seed(entry2(len(TABLES["slot"])), TABLES["slot"])
    seeds["not-an-entry-point"] = pair_seed(b"_SMX_" + bytes(30), TABLES["slot"])
    seeds["table-longer"] = pair_seed(entry3(20), TABLES["both-kinds"])
    seeds["table-missing"] = pair_seed(entry3(0x100000), b"")
    return seeds


def corpora():
    """-> {target: {name: bytes}}"""
    return {
        "structure_table": structure_seeds(),
        "entry_point": entry_seeds(),
        "diag_files": pair_seeds(),
        "systab": encoded(SYSTABS),
        "override_file": {**encoded(OVERRIDE), **user_files("smbios.cfg")},
        "platform_file": {**behind_option(0, PLATFORM),
                          **{name + "-force": seed for name, seed in behind_option(1, PLATFORM).items()
                             if name.startswith("feature")},
                          **{name + "-full": seed for name, seed in behind_option(2, PLATFORM).items()
                             if "switch" in name or name == "huge-range"},
                          **{name: b"\0" + text for name, text in user_files("qorx.cfg").items()}},
        "module_name_file": {**encoded(MODULES), **user_files("wmx_name.cfg")},
        "pci_config": {**{name: config_seed(config) for name, config in CONFIGS.items()},
                       "read-over-the-end": config_seed(endpoint(), 0x10, 62)},
        "usb_uevent": encoded(UEVENTS),
        "bypass_descriptor": {f"{name}-{kind}": bytes([option]) + "\n".join(lines).encode()
                              for name, lines in DESIGNATIONS.items() for kind, option in (("slot", 0), ("onboard", 1))},
        "slot_match": {name: slot_seed(*case) for name, case in PATHS.items()},
        "option_stripping": {f"{i:02}": line.replace(" ", "\0").encode() for i, line in enumerate(COMMAND_LINES)},
        "whole_run": seed_machines.appliance_seeds(APPLIANCES),
    }


def real_corpora(folder):
    pairs = {path.parent.name: (path.read_bytes(), (path.parent / "DMI").read_bytes())
             for path in sorted(folder.glob("smbios*/*/smbios_entry_point"))}
    configs = {path.stem: path.read_bytes() for path in sorted(folder.glob("pciconfig/*.config"))}
    return {
        "structure_table": {name: structure_seed(table) for name, (_, table) in pairs.items()},
        "entry_point": {name: bytes(3) + entry for name, (entry, _) in pairs.items()},
        "diag_files": {name: pair_seed(*pair) for name, pair in pairs.items()},
        "pci_config": {name: config_seed(config) for name, config in configs.items()},
        "whole_run": seed_machines.recorded_seeds(folder, pairs),
    }


def write(folder, seeds_by_target):
    for target, seeds in seeds_by_target.items():
        (folder / target).mkdir(parents=True, exist_ok=True)
        for name, seed in seeds.items():
            (folder / target / name).write_bytes(seed)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--real", nargs=2, type=Path, metavar=("DIR", "TO"))
    arguments = parser.parse_args()
    if arguments.real:
        write(arguments.real[1], real_corpora(arguments.real[0]))
    else:
        write(HERE / "corpus", corpora())


if __name__ == "__main__":
    main()
