"""The set-ups: an appliance, a firmware, a kernel command line, and the stories that are told there."""

from dataclasses import dataclass

from appliance import Appliance
from appliances import RACK


@dataclass(frozen=True)
class SetUp:
    name: str
    appliance: Appliance
    stories: tuple                  # transcripts in the folder of the appliance, told in this order
    firmware: str = "seabios"
    machine: str = ""               # further options of QEMU's machine
    kernel: str = ""                # further words of the kernel's command line
    replayed: tuple = ()            # those of the stories that must go the same way on the guest's capture
    hot_plug: tuple = ()            # root ports whose cards are pulled and plugged


# What a recording must tell in the same words.
ALL = ("operations", "configuration")

SET_UPS = (
    SetUp("bios", RACK, ("source-bios", "operations", "configuration", "user", "interfaces"), replayed=ALL),
    SetUp("efi", RACK, ("source-efi", "operations", "configuration"), firmware="ovmf", replayed=ALL),
    SetUp("smbios3", RACK, ("source-smbios3", "operations", "configuration"), replayed=ALL,
          machine="smbios-entry-point-type=64"),
    SetUp("lockdown", RACK, ("source-lockdown", "operations", "configuration"), replayed=ALL,
          kernel="lockdown=confidentiality"),
    SetUp("hotplug", RACK, ("operations",), hot_plug=("00:1d.0", "00:1c.0")),
)
