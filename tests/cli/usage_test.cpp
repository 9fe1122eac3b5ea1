#include "cli/usage.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/fixture.h"

namespace qorx::test {
namespace {

using Usage = LibraryTest;

// Line by line as users see it; a trailing blank and the tabs are part of it.
const std::string kUsage =
    "Usage:  qorx {op}\n"
    "{op}:   The operation you want to do.\n"
    "-a      List all eth devices information (Onboard MGMT, LAN, SFP+ -> WMX Slots -> PCIe Slots). \n"
    "        e.g. qorx -a\n"
    "        e.g. qorx -a -config qorx.cfg -legacy\n"
    "-d <eth name> Output specific eth device's bus:dev.fun, slot, front panel name and feature.\n"
    "        e.g. qorx -d eth0\n"
    "        e.g. qorx -d eth0 -config qorx.cfg -legacy\n"
    "-f <feature name> List all eth devices those have this feature.\n"
    "        e.g. qorx -f POE\n"
    "             qorx -f A_BYPASS\n"
    "             qorx -f L_BYPASS\n"
    "             qorx -f N/A\n"
    "             qorx -f NCSI\n"
    "             qorx -f 1PPS\n"
    "\t     qorx -f NCSI/1PPS\n"
    "\t     qorx -f A_BYPASS_I2C\n"
    "             qorx -f N/A -config qorx.cfg -legacy\n"
    "-p <bus:dev.fun> Output specific eth device's slot, front panel name and feature.\n"
    "        e.g. qorx -p 5e:00.3\n"
    "        e.g. qorx -p 5e:00.3 -config qorx.cfg -legacy\n"
    "-o <file_path> Output identified result to <file_path>.\n"
    "        e.g. qorx -o output\n"
    "        e.g. qorx -o output -config qorx.cfg -legacy\n"
    "-tovix.cfg Output tovix.cfg for lan bypass control utility(tovix).\n"
    "        e.g. qorx -tovix.cfg\n"
    "-legacy Identify old WMX card without correct subsystem id, this function may show wrong info when using new "
    "cards.\n"
    "        This command could be added after any other command.\n"
    "        e.g. qorx -a -legacy\n"
    "        e.g. qorx -a -legacy -config qorx.cfg\n"
    "-config <file_path> Read file to get more info about the platform, like internal PCIe slot, PCIe switch or "
    "onboard NIC's feature based on HW design.\n"
    "        This command could be added after any other command.\n"
    "        e.g. qorx -a -config qorx.cfg\n"
    "        e.g. qorx -a -config qorx.cfg -legacy\n"
    "-sys_WMX_cfg <file_path> Read file to tell qorx what WMX cards are in the platform when using -legacy command.\n"
    "        -legacy command could show WMX-3493/0119, if user only use WMX-0119, then the user can use WMX config "
    "file to tell\n"
    "        qorx there is only WMX-0119, then qorx will only show WMX-0119 without WMX-3493.\n"
    "        This command should be added only after -legacy command.\n"
    "        e.g. qorx -a -config qorx.cfg -legacy -sys_WMX_cfg wmx_name.cfg\n"
    "-smbios_cfg <file_path> Read file to get correct smbios type 9/41 records of the platform, \n"
    "        qorx will use the records from file and ignore the records which were read from real BIOS.\n"
    "        This command is useful when the BIOS contains incorrect type 9/41 records.\n"
    "        This command could be added after any other command.\n"
    "        e.g. qorx -a -smbios_cfg smbios.cfg\n"
    "-support Display all supported devices.\n"
    "        e.g. qorx -support\n"
    "-sysinfo Display system info.\n"
    "        e.g. qorx -sysinfo\n"
    "        e.g. qorx -sysinfo -smbios_cfg smbios.cfg -config qorx.cfg -legacy -sys_WMX_cfg wmx_name.cfg\n"
    "-sort_slotname Sort the eth devices by the slot name.\n"
    "        e.g. qorx -a -sort_slotname\n"
    "        e.g. qorx -a -sort_slotname -smbios_cfg smbios.cfg -config qorx.cfg -legacy -sys_WMX_cfg wmx_name.cfg\n"
    "-diag <smbios_entry_point_file_path> <dmi_file_path> specify smbios_entry_point file and DMI file\n"
    "        and ignore real SMBIOS data in memory and sysfs\n"
    "        (/sys/firmware/dmi/tables/smbios_entry_point and /sys/firmware/dmi/tables/DMI).\n"
    "        This command is only for debug and diag.\n"
    "        This command could be added after any other command.\n"
    "        e.g. qorx -a -diag /root/a /root/b\n"
    "-novlan Ignore virtual NIC port in system.\n"
    "        This command could be added after any other command.\n"
    "        e.g. qorx -a -novlan\n"
    "-V      Display the version\n"
    "NOTE: <file_path> means full file path which includes the file name\n"
    "        e.g. qorx -a -config qorx.cfg\n"
    "        e.g. qorx -a -config /root/configs/qorx.cfg\n";

// No blank line, one line feed at its end, and nothing of the service options -F, -vm and -ML.
TEST_F(Usage, IsThisTextByteForByteWhateverTheMessageLevel) {
  EXPECT_EQ(printed_by(qorx_print_usage), kUsage);
  ASSERT_EQ(qorx_set_message_level(0), 0);
  EXPECT_EQ(printed_by(qorx_print_usage), kUsage);
}

}  // namespace
}  // namespace qorx::test
