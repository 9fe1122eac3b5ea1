"""The set-ups: an appliance in a machine, and the stories that are told there."""

from dataclasses import dataclass

import machines
from appliance import Appliance
from appliances import MANY, RACK, TWINS
from machines import Machine


@dataclass(frozen=True)
class SetUp:
    name: str
    machine: Machine
    appliance: Appliance
    stories: tuple                  # transcripts in the folder of the appliance, told in this order
    replayed: tuple = ()            # those of the stories that must go the same way on what the guest recorded
    hot_plug: tuple = ()            # root ports whose cards are pulled and plugged
    inspected: bool = False         # what qorx-inspect says is compared with the table
    measured: bool = False          # what qorx costs beside other tools is printed
    long: bool = False              # only in a long check


# What a recording must tell in the same words.
ALL = ("operations", "configuration", "bypass")

WITHOUT_ADAPTER = ("operations", "configuration", "bypass-without-adapter")

SET_UPS = (
    SetUp("bios", machines.BIOS, RACK, ("source-bios", *ALL, "user", "interfaces"), replayed=ALL),
    SetUp("efi", machines.UEFI, RACK, ("source-efi", *ALL), replayed=ALL),
    SetUp("smbios3", machines.BIOS_SMBIOS3, RACK, ("source-smbios3", *ALL), replayed=ALL),
    SetUp("lockdown", machines.BIOS_LOCKDOWN, RACK, ("source-lockdown", *ALL), replayed=ALL),
    SetUp("hotplug", machines.BIOS, RACK, ("operations",), hot_plug=("00:1d.0", "00:1c.0")),
    SetUp("i2c", machines.BIOS, RACK, ("multiplexers",), long=True),
    SetUp("twins", machines.BIOS, TWINS, ("operations", "capture"), replayed=("operations",), long=True),
    SetUp("none", machines.WITHOUT_SMBIOS, RACK, ("source-none", "without-records"), replayed=("without-records",),
          long=True),
    SetUp("arm64", machines.ARM64, RACK, ("source-arm64", *WITHOUT_ADAPTER), replayed=WITHOUT_ADAPTER, long=True),
    SetUp("inspect", machines.UEFI_OLD_NAMES, RACK, ("operations", "inspect"), inspected=True, long=True),
    SetUp("cost", machines.BIOS, RACK, ("operations",), measured=True, long=True),
    SetUp("many", machines.BIOS, MANY, ("operations",), measured=True, long=True),
)
