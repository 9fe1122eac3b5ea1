"""The machines of QEMU that carry the appliances: processor, firmware, and where the guest finds its serial ports."""

import shutil
from dataclasses import dataclass
from pathlib import Path

from debian_packages import NotAvailable

LOCAL = "amd64"


@dataclass(frozen=True)
class Machine:
    program: str
    package: str                    # of Debian, that has the program
    arguments: tuple
    kernel: str                     # words of the kernel's command line
    results: str                    # what the guest writes to the file "results" through
    firmware: tuple = ()            # code and variables of UEFI
    firmware_package: str = ""
    architecture: str = LOCAL


TWO_SERIAL_PORTS = ("-serial", "file:console", "-serial", "file:results")
# Where the machine has one only, and no ports for a second one on PCI.
ONE_SERIAL_PORT = ("-serial", "file:console", "-chardev", "file,id=results,path=results",
                   "-device", "virtio-serial-pci,bus=pcie.0,addr=1e.0,id=serial",
                   "-device", "virtserialport,bus=serial.0,nr=1,chardev=results")
VIRTIO_PORT = "/dev/vport*p1"


def q35(options="", kernel="", **more):
    return Machine("qemu-system-x86_64", "qemu-system-x86", ("-machine", "q35" + options, *TWO_SERIAL_PORTS),
                   f"console=ttyS0 {kernel}", "/dev/ttyS1", **more)


BIOS = q35()
BIOS_SMBIOS3 = q35(",smbios-entry-point-type=64")
BIOS_LOCKDOWN = q35(kernel="lockdown=confidentiality")
UEFI = q35(firmware=("/usr/share/OVMF/OVMF_CODE.fd", "/usr/share/OVMF/OVMF_VARS.fd"), firmware_package="ovmf")
# Without udev's names for interfaces: it sets only those that files tell it.
UEFI_OLD_NAMES = q35(kernel="net.ifnames=0", firmware=UEFI.firmware, firmware_package="ovmf")

# Has a BIOS that makes no SMBIOS tables, no SMBus, and no clock that Linux would measure the processor's speed by.
WITHOUT_SMBIOS = Machine(
    "qemu-system-x86_64", "qemu-system-x86",
    ("-machine", "microvm,pcie=on,acpi=on,pit=on,pic=on,rtc=on,ioapic2=off", *ONE_SERIAL_PORT),
    "console=ttyS0 lpj=5000000 tsc_early_khz=1000000 no_timer_check", VIRTIO_PORT)

ARM64 = Machine(
    "qemu-system-aarch64", "qemu-system-arm",
    ("-machine", "virt", "-cpu", "cortex-a57", *ONE_SERIAL_PORT), "console=ttyAMA0", VIRTIO_PORT,
    firmware=("/usr/share/AAVMF/AAVMF_CODE.fd", "/usr/share/AAVMF/AAVMF_VARS.fd"), firmware_package="qemu-efi-aarch64",
    architecture="arm64")


def need_emulator(machine):
    """Raises NotAvailable when QEMU or the firmware is missing."""
    if not shutil.which(machine.program):
        raise NotAvailable(f"no QEMU: there is no {machine.program} (package {machine.package})")
    for file in machine.firmware:
        if not Path(file).exists():
            raise NotAvailable(f"no UEFI firmware: there is no {file} (package {machine.firmware_package})")


def firmware_arguments(machine, folder):
    if not machine.firmware:
        return []
    code, variables = machine.firmware
    shutil.copyfile(variables, folder / "variables")
    return ["-drive", f"if=pflash,format=raw,unit=0,readonly=on,file={code}",
            "-drive", "if=pflash,format=raw,unit=1,file=variables"]


def machine_arguments(machine, kernel, folder):
    """QEMU's arguments but for what the appliance is made of; it runs in the folder."""
    return [shutil.which(machine.program), "-nodefaults", "-no-user-config", "-display", "none", "-no-reboot", "-accel", "tcg", "-m", "256",
            "-qmp", "stdio", *machine.arguments, *firmware_arguments(machine, folder),
            "-kernel", str(kernel / "vmlinuz"), "-initrd", "initramfs", "-append", f"panic=-1 {machine.kernel}"]
