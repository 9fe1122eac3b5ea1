// What a recording holds and what it must not hold, anonymous recordings, and what qorx-capture says when it can't
// read something.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "tests/end_to_end/capture.h"
#include "tests/support/fixture.h"
#include "tests/support/transcript.h"
#include "tests/support/unprivileged.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

// The contents and names of all that is recorded, and the texts of the links.
std::string everything_in(const fs::path& directory) {
  std::string all;
  for (const std::string& file : files_below(directory)) {
    const fs::path path = directory / file;
    all += file + "\n" + (fs::is_symlink(path) ? fs::read_symlink(path).string() : read_file(path)) + "\n";
  }
  return all;
}

using CaptureContent = MachineTest;

TEST_F(CaptureContent, IsTheFilesThatQorxReads) {
  machine_.add_port("eth0", "0000:00:1c.0/0000:03:00.0");
  machine_.add_function("0000:00:1c.0", bridge_config({}, 0x88));
  machine_.add_function("0000:00:02.0", endpoint_config({}));
  machine_.add_usb_port("usb0", "0000:00:14.0/usb1/1-2/1-2:1.0", "bda/8153/3000");
  machine_.add_virtual("br0", "02:00:00:00:00:99");
  machine_.add_i2c_adapter(0, "SMBus I801 adapter at efa0");
  machine_.smbios(SmbiosTable().slot("Slot 1", "03:00.0"));
  // What else there is on a machine.
  const std::string devices = "sys/devices/pci0000:00/";
  const std::string port = devices + "0000:00:1c.0/0000:03:00.0/";
  const std::string adapter = devices + "0000:00:14.0/usb1/1-2/1-2:1.0/";
  for (const std::string& other :
       Words{port + "uevent", port + "vpd", port + "serial_number", port + "net/eth0/ifalias",
             port + "net/eth0/phys_port_id", "sys/class/dmi/id/product_serial", "sys/class/i2c-adapter/i2c-0/uevent",
             "sys/class/net/bonding_masters", "etc/hostname", "proc/cmdline"}) {
    machine_.write(other, "SECRET\n");
  }
  const Capture capture(machine_.root());
  EXPECT_EQ(
      files_below(capture.unpacked()),
      (std::set<std::string>{"order", "sys/bus/pci/devices/0000:00:1c.0", "sys/bus/pci/devices/0000:03:00.0",
                             "sys/class/i2c-adapter/i2c-0/name", "sys/class/net/br0", "sys/class/net/eth0",
                             "sys/class/net/usb0", adapter + "net/usb0/address", adapter + "net/usb0/device",
                             adapter + "uevent", devices + "0000:00:1c.0/config", port + "config",
                             port + "net/eth0/address", port + "net/eth0/device", "sys/devices/virtual/net/br0/address",
                             "sys/firmware/dmi/tables/DMI", "sys/firmware/dmi/tables/smbios_entry_point"}));
  EXPECT_FALSE(holds(everything_in(capture.unpacked()), "SECRET"));
  EXPECT_TRUE(fs::is_directory(capture.unpacked() / devices / "0000:00:02.0")) << "names are recorded";
  EXPECT_EQ(read_file(capture.unpacked() / adapter / "uevent"), "PRODUCT=bda/8153/3000\n");
  EXPECT_EQ(capture.complaints(), "qorx-capture: can't read /sys/bus/pci/devices/0000:00:14.0\n")
      << "the USB controller of this machine has no configuration space";
}

TEST_F(CaptureContent, IsTheHeaderOfAnEndpointAndTheSubsystemIdsOfABridge) {
  machine_.add_port("eth0", "0000:00:1c.0/0000:03:00.0");
  std::string endpoint = endpoint_config({}) + std::string(192, 'E');
  endpoint[0x06] = 0x10;  // with capabilities, which nobody reads
  endpoint[0x34] = 0x40;
  std::string bridge(256, 'B');
  bridge.replace(0, 64, bridge_config({}, 0x50).substr(0, 64));
  bridge.replace(0x50, 2, bytes("10 88")).replace(0x88, 8, bytes("0d 00 00 00 fe 13 4a 20"));
  machine_.add_function("0000:00:1c.0/0000:03:00.0", endpoint).add_function("0000:00:1c.0", bridge);
  const Capture capture(machine_.root());
  const fs::path device = capture.unpacked() / "sys/devices/pci0000:00/0000:00:1c.0";
  EXPECT_EQ(read_file(device / "0000:03:00.0/config"), endpoint.substr(0, 64));
  std::string expected = bridge.substr(0, 64) + std::string(0x50, '\0');
  expected.replace(0x50, 2, bytes("10 88")).replace(0x88, 8, bytes("0d 00 00 00 fe 13 4a 20"));
  EXPECT_EQ(read_file(device / "config"), expected);
}

TEST_F(CaptureContent, ACircularListOfCapabilitiesEnds) {
  machine_.add_port("eth0", "0000:00:1c.0/0000:03:00.0");
  std::string bridge = bridge_config({}, 0x88);
  bridge.replace(0x88, 2, bytes("10 88"));
  machine_.add_function("0000:00:1c.0", bridge);
  Capture(machine_.root()).expect_same({"-a"});
}

TEST_F(CaptureContent, HasNoSerialNumberOfTheFirmware) {
  machine_.smbios(SmbiosTable()
                      .structure(bytes("01 1b 00 00 01 02 03 04") + "UUID-SECRET-BYTE" + bytes("06 00 00"),
                                 {"Maker", "Product", "1.0", "SERIAL-SECRET"})
                      .structure(slot_area(1, 3, 0), {"WMX Slot 3", "ASSET-SECRET"})
                      .structure(bytes("11 08 00 00 01 02 03 04"), {"a", "b", "c", "MEMORY-SECRET"}));
  const std::string all = everything_in(Capture(machine_.root()).unpacked());
  EXPECT_TRUE(holds(all, "WMX Slot 3"));
  EXPECT_FALSE(holds(all, "SECRET"));
}

TEST_F(CaptureContent, OrderIsTheOrderInWhichTheDirectoriesList) {
  std::string expected;
  for (const char* const name : {"v3", "v1", "v5", "v2", "v4"}) {
    machine_.add_virtual(name, "02:00:00:00:00:01");
  }
  for (const auto& entry : fs::directory_iterator(machine_.root() / "sys/class/net")) {
    if (entry.path().filename() != "lo") {
      expected += "sys/class/net/" + entry.path().filename().string() + "\n";
    }
  }
  EXPECT_EQ(read_file(Capture(machine_.root()).unpacked() / "order"), expected);
}

using AnonymousCapture = MachineTest;

TEST_F(AnonymousCapture, LastThreeBytesAreReplacedConsistently) {
  machine_.add_port("eth0", "0000:00:1c.0/0000:03:00.0", {}, "00:0b:ab:12:34:56");
  machine_.add_port("eth1", "0000:00:1c.0/0000:03:00.1", {}, "00:0B:AB:12:34:57");
  machine_.add_virtual("eth0.100", "00:0b:ab:12:34:56");
  machine_.add_virtual("sit0", "0a:01:02:03");
  machine_.add_virtual("tun0", "");
  machine_.add_virtual("dummy0", "00:00:00:00:00:00");
  const Capture capture(machine_.root(), {"--anonymize"});
  const auto address = [&](const std::string& name) {
    return read_file(capture.unpacked() / "sys/class/net" / name / "address");
  };
  EXPECT_EQ(address("eth0"), address("eth0.100"));
  EXPECT_NE(address("eth0"), address("eth1"));
  for (const auto& [name, front, size] :
       {std::tuple("eth0", "00:0b:ab:", 18U), {"eth1", "00:0b:ab:", 18U}, {"sit0", "0a:", 12U}}) {
    EXPECT_TRUE(address(name).starts_with(front)) << address(name);
    EXPECT_EQ(address(name).size(), size);
  }
  EXPECT_EQ(address("tun0"), "\n");
  EXPECT_EQ(address("dummy0"), "00:00:00:00:00:00\n");
  for (const char* const secret : {"12:34:5", "01:02:03"}) {
    EXPECT_FALSE(holds(everything_in(capture.unpacked()), secret)) << secret;
  }
}

TEST_F(AnonymousCapture, AddressesInInterfaceNamesAreReplacedToo) {
  machine_.add_usb_port("enx000bab123456", "0000:00:14.0/usb1/1-2/1-2:1.0", "bda/8153/3000", "00:0b:ab:12:34:56");
  machine_.add_virtual("enx000bab123456.7", "00:0b:ab:12:34:56");
  const Capture capture(machine_.root(), {"--anonymize"});
  EXPECT_FALSE(holds(everything_in(capture.unpacked()), "123456"));
  std::string stand_in;
  for (const auto& entry : fs::directory_iterator(capture.unpacked() / "sys/class/net")) {
    const std::string name = entry.path().filename().string();
    EXPECT_EQ(name.substr(0, 9), "enx000bab");
    std::string mac = read_file(entry.path() / "address");
    std::erase(mac, ':');
    EXPECT_EQ("enx" + mac, name.substr(0, 15) + "\n") << "the name is still that of the address";
    EXPECT_TRUE(fs::read_symlink(entry).string().ends_with("/net/" + name)) << fs::read_symlink(entry);
    EXPECT_TRUE(holds(read_file(capture.unpacked() / "order"), "sys/class/net/" + name + "\n"));
    stand_in = name.substr(0, 15);
  }
  const std::string table = run_replay(capture.archive(), machine_.work(), {"-a"}).output;
  EXPECT_TRUE(holds(table, stand_in + ".7")) << table;
}

TEST_F(AnonymousCapture, TheRestIsAsItIs) {
  const Appliance edge("edge");
  EXPECT_EQ(run_replay(Capture(edge.root(), {"--anonymize"}).archive(), machine_.work(), {"-sysinfo"}).output,
            edge.expected("sysinfo").output);
}

class CaptureFailures : public MachineTest {
 protected:
  // In the directory for the user's files, where nothing may be left.
  ToolRun failure(const std::vector<std::string>& words) const {
    ToolRun run = run_program(capture_program(), words, machine_.work());
    EXPECT_EQ(files_below(machine_.work()), std::set<std::string>());
    return run;
  }
};

TEST_F(CaptureFailures, WhatCannotBeReadIsNamedAndTheRestRecorded) {
  machine_.add_raw_interface("eth9", "../../devices/pci0000:00/0000:00:1c.0/0000:03:00.0/net/eth9");
  machine_.add_port("eth1", "0000:00:1c.1/0000:04:00.0");
  machine_.remove("sys/devices/pci0000:00/0000:00:1c.1/0000:04:00.0/net/eth1/address");
  machine_.add_function("0000:00:1c.1", bridge_config({}, 0x88).substr(0, 64));
  const Capture capture(machine_.root());
  for (const char* const complaint :
       {"can't read /sys/class/net/eth9\n",
        "can't read /sys/devices/pci0000:00/0000:00:1c.1/0000:04:00.0/net/eth1/address\n",
        "can't read /sys/devices/pci0000:00/0000:00:1c.1/config to its end, only root can\n",
        "no slot records: found no SMBIOS table that can be read\n"}) {
    EXPECT_TRUE(holds(capture.complaints(), std::string("qorx-capture: ") + complaint)) << complaint;
  }
  capture.expect_same({"-a"});
}

TEST_F(CaptureFailures, AnOrdinaryUserRecordsWhatHeCanRead) {
  QORX_SKIP_IF(geteuid() != 0, "only root can become an ordinary user");
  machine_.add_port("eth0", "0000:00:1c.0/0000:03:00.0");
  machine_.smbios(SmbiosTable().slot("Slot 1", "03:00.0")).write("dev/mem", "secret");
  for (const fs::path& open : {machine_.root(), machine_.work()}) {
    ASSERT_EQ(chmod(open.c_str(), 0777), 0);
  }
  for (const char* const closed : {"sys/firmware/dmi/tables/DMI", "dev/mem"}) {
    ASSERT_EQ(chmod((machine_.root() / closed).c_str(), 0400), 0);
  }
  const EveryonesTemporaryDirectory temporary;
  const ToolRun run =
      run_program("/bin/sh", {"-s", "--", "--root", machine_.root(), "-o", "machine.tar.gz"}, machine_.work(), [] {
        constexpr unsigned kNobody = 65534;
        if (freopen(QORX_SOURCE_DIR "/tools/qorx-capture", "r", stdin) == nullptr || setgid(kNobody) != 0 ||
            setuid(kNobody) != 0) {
          _exit(126);
        }
      });
  EXPECT_EQ(run.status, 0);
  EXPECT_TRUE(holds(run.errors, "can't read /sys/firmware/dmi/tables/DMI\n")) << run.errors;
  EXPECT_TRUE(holds(run.errors, "can't read /dev/mem\n")) << run.errors;
  const std::string table = run_replay(machine_.work() / "machine.tar.gz", machine_.work(), {"-a"}).output;
  EXPECT_TRUE(holds(table, "eth0            03:00.0")) << table;
}

TEST_F(CaptureFailures, NothingToRecordIsAFailure) {
  const ToolRun run = failure({"--root", "."});
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(run.errors.ends_with("qorx-capture: nothing could be recorded\n")) << run.errors;
}

TEST_F(CaptureFailures, WrongUseAndUnusablePlaces) {
  const ToolRun usage{"", "Usage: qorx-capture [-o FILE.tar.gz] [--root TREE] [--anonymize]\n", 2};
  for (const Words& words : {Words{"-x"}, {"-o"}, {"-o", ""}, {"--root"}, {"machine.tar.gz"}}) {
    EXPECT_EQ(failure(words), usage) << testing::PrintToString(words);
  }
  EXPECT_EQ(failure({"--root", "missing"}).status, 1);
  EXPECT_EQ(failure({"--root", machine_.root(), "-o", "no/such.tar.gz"}).status, 1);
}

using CaptureProgram = MachineTest;

TEST_F(CaptureProgram, LeavesNothingBehindButTheArchive) {
  const TemporaryDirectory temporary;
  output_of({"TMPDIR=" + temporary.path().string(), capture_program(), "--root", machine_.root()}, machine_.work());
  EXPECT_TRUE(fs::is_empty(temporary.path()));
  EXPECT_EQ(files_below(machine_.work()), std::set<std::string>{"qorx-capture.tar.gz"});
}

TEST_F(CaptureProgram, RunsWithTheToolsOfASmallSystem) {
  QORX_SKIP_WITHOUT("busybox");
  const TemporaryDirectory tools;
  output_of({"busybox", "--install", "-s", tools.path()});
  for (const std::string& name : Appliance::names()) {
    SCOPED_TRACE(name);
    const Appliance appliance(name);
    const std::string path = "PATH=" + tools.path().string();
    for (const Words& options : {Words{}, Words{"--anonymize"}}) {
      const Words words{path, tools.path() / "sh", capture_program(), "--root", appliance.root(), "-o", "recorded"};
      EXPECT_EQ(run_command(joined(words, options), machine_.work()), said(""));
      EXPECT_EQ(run_replay(machine_.work() / "recorded", machine_.work(), {"-sysinfo"}).output,
                appliance.expected("sysinfo").output);
    }
  }
}

TEST_F(CaptureProgram, IsPlainShell) {
  for (const char* const shell : {"dash", "bash"}) {
    if (has_command(shell)) {
      EXPECT_EQ(run_command({shell, "-n", capture_program()}), said("")) << shell;
    }
  }
  QORX_SKIP_WITHOUT("shellcheck");
  output_of({"shellcheck", capture_program()});
}

}  // namespace
}  // namespace qorx::test
