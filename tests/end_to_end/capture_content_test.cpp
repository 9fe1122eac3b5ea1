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
#include "tests/support/transcript.h"

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

std::string read_link(const fs::path& path) {
  return fs::read_symlink(path).string();
}

TEST(CaptureContent, IsTheFilesThatQorxReads) {
  FakeMachine machine;
  machine.add_port("eth0", "0000:00:1c.0/0000:03:00.0");
  machine.add_function("0000:00:1c.0", bridge_config({}, 0x88));
  machine.add_function("0000:00:02.0", endpoint_config({}));
  machine.add_usb_port("usb0", "0000:00:14.0/usb1/1-2/1-2:1.0", "bda/8153/3000");
  machine.add_virtual("br0", "02:00:00:00:00:99");
  machine.add_i2c_adapter(0, "SMBus I801 adapter at efa0");
  machine.smbios(SmbiosTable().slot("Slot 1", "03:00.0"));
  // What else there is on a machine.
  const std::string pci = "sys/devices/pci0000:00/0000:00:1c.0/0000:03:00.0/";
  for (const std::string& other :
       {pci + "uevent", pci + "vpd", pci + "serial_number", pci + "net/eth0/ifalias", pci + "net/eth0/phys_port_id",
        std::string("sys/class/dmi/id/product_serial"), std::string("sys/class/i2c-adapter/i2c-0/uevent"),
        std::string("sys/class/net/bonding_masters"), std::string("etc/hostname"), std::string("proc/cmdline")}) {
    machine.write(other, "SECRET\n");
  }
  const Capture capture(machine.root());
  EXPECT_EQ(files_below(capture.unpacked()),
            (std::set<std::string>{"order", "sys/bus/pci/devices/0000:00:1c.0", "sys/bus/pci/devices/0000:03:00.0",
                                   "sys/class/i2c-adapter/i2c-0/name", "sys/class/net/br0", "sys/class/net/eth0",
                                   "sys/class/net/usb0",
                                   "sys/devices/pci0000:00/0000:00:14.0/usb1/1-2/1-2:1.0/net/usb0/address",
                                   "sys/devices/pci0000:00/0000:00:14.0/usb1/1-2/1-2:1.0/net/usb0/device",
                                   "sys/devices/pci0000:00/0000:00:14.0/usb1/1-2/1-2:1.0/uevent",
                                   "sys/devices/pci0000:00/0000:00:1c.0/0000:03:00.0/config",
                                   "sys/devices/pci0000:00/0000:00:1c.0/0000:03:00.0/net/eth0/address",
                                   "sys/devices/pci0000:00/0000:00:1c.0/0000:03:00.0/net/eth0/device",
                                   "sys/devices/pci0000:00/0000:00:1c.0/config", "sys/devices/virtual/net/br0/address",
                                   "sys/firmware/dmi/tables/DMI", "sys/firmware/dmi/tables/smbios_entry_point"}));
  EXPECT_EQ(everything_in(capture.unpacked()).find("SECRET"), std::string::npos);
  EXPECT_TRUE(fs::is_directory(capture.unpacked() / "sys/devices/pci0000:00/0000:00:02.0")) << "names are recorded";
  EXPECT_EQ(read_file(capture.unpacked() / "sys/devices/pci0000:00/0000:00:14.0/usb1/1-2/1-2:1.0/uevent"),
            "PRODUCT=bda/8153/3000\n");
  EXPECT_EQ(capture.complaints(), "qorx-capture: can't read /sys/bus/pci/devices/0000:00:14.0\n")
      << "the USB controller of this machine has no configuration space";
}

TEST(CaptureContent, IsTheHeaderOfAnEndpointAndTheSubsystemIdsOfABridge) {
  FakeMachine machine;
  machine.add_port("eth0", "0000:00:1c.0/0000:03:00.0");
  std::string endpoint = endpoint_config({}) + std::string(192, 'E');
  endpoint[0x06] = 0x10;  // with capabilities, which nobody reads
  endpoint[0x34] = 0x40;
  std::string bridge(256, 'B');
  bridge.replace(0, 64, std::string(64, '\0'));
  bridge[0x06] = 0x10;
  bridge[0x0E] = 0x01;
  bridge[0x34] = 0x50;
  bridge.replace(0x50, 2, bytes("10 88"));
  bridge.replace(0x88, 8, bytes("0d 00 00 00 fe 13 4a 20"));
  machine.add_function("0000:00:1c.0/0000:03:00.0", endpoint).add_function("0000:00:1c.0", bridge);
  const Capture capture(machine.root());
  const fs::path device = capture.unpacked() / "sys/devices/pci0000:00/0000:00:1c.0";
  EXPECT_EQ(read_file(device / "0000:03:00.0/config"), endpoint.substr(0, 64));
  std::string expected(0x90, '\0');
  expected.replace(0, 64, bridge.substr(0, 64));
  expected.replace(0x50, 2, bytes("10 88"));
  expected.replace(0x88, 2, bytes("0d 00"));
  expected.replace(0x8C, 4, bytes("fe 13 4a 20"));
  EXPECT_EQ(read_file(device / "config"), expected);
}

TEST(CaptureContent, ACircularListOfCapabilitiesEnds) {
  FakeMachine machine;
  machine.add_port("eth0", "0000:00:1c.0/0000:03:00.0");
  std::string bridge = bridge_config({}, 0x88);
  bridge.replace(0x88, 2, bytes("10 88"));
  machine.add_function("0000:00:1c.0", bridge);
  const Capture capture(machine.root());
  capture.expect_same({"-a"});
}

TEST(CaptureContent, HasNoSerialNumberOfTheFirmware) {
  FakeMachine machine;
  const std::string system = bytes("01 1b 00 00 01 02 03 04") + "UUID-SECRET-BYTE" + bytes("06 00 00");
  machine.smbios(SmbiosTable()
                     .structure(system, {"Maker", "Product", "1.0", "SERIAL-SECRET"})
                     .structure(slot_area(1, 3, 0), {"WMX Slot 3", "ASSET-SECRET"})
                     .structure(bytes("11 08 00 00 01 02 03 04"), {"a", "b", "c", "MEMORY-SECRET"}));
  const Capture capture(machine.root());
  const std::string all = everything_in(capture.unpacked());
  EXPECT_NE(all.find("WMX Slot 3"), std::string::npos);
  EXPECT_EQ(all.find("SECRET"), std::string::npos);
}

TEST(CaptureContent, OrderIsTheOrderInWhichTheDirectoriesList) {
  FakeMachine machine;
  std::string expected;
  for (const char* const name : {"v3", "v1", "v5", "v2", "v4"}) {
    machine.add_virtual(name, "02:00:00:00:00:01");
  }
  for (const auto& entry : fs::directory_iterator(machine.root() / "sys/class/net")) {
    if (entry.path().filename() != "lo") {
      expected += "sys/class/net/" + entry.path().filename().string() + "\n";
    }
  }
  EXPECT_EQ(read_file(Capture(machine.root()).unpacked() / "order"), expected);
}

TEST(CaptureAnonymized, LastThreeBytesAreReplacedConsistently) {
  FakeMachine machine;
  machine.add_port("eth0", "0000:00:1c.0/0000:03:00.0", {}, "00:0b:ab:12:34:56");
  machine.add_port("eth1", "0000:00:1c.0/0000:03:00.1", {}, "00:0B:AB:12:34:57");
  machine.add_virtual("eth0.100", "00:0b:ab:12:34:56");
  machine.add_virtual("sit0", "0a:01:02:03");
  machine.add_virtual("tun0", "");
  machine.add_virtual("dummy0", "00:00:00:00:00:00");
  const Capture capture(machine.root(), {"--anonymize"});
  const auto address = [&](const std::string& name) {
    return read_file(capture.unpacked() / "sys/class/net" / name / "address");
  };
  EXPECT_EQ(address("eth0"), address("eth0.100"));
  EXPECT_NE(address("eth0"), address("eth1"));
  for (const char* const name : {"eth0", "eth1"}) {
    EXPECT_EQ(address(name).substr(0, 9), "00:0b:ab:");
    EXPECT_EQ(address(name).size(), 18U);
  }
  EXPECT_EQ(address("sit0").substr(0, 3), "0a:");
  EXPECT_EQ(address("sit0").size(), 12U);
  EXPECT_EQ(address("tun0"), "\n");
  EXPECT_EQ(address("dummy0"), "00:00:00:00:00:00\n");
  for (const char* const secret : {"12:34:5", "01:02:03"}) {
    EXPECT_EQ(everything_in(capture.unpacked()).find(secret), std::string::npos) << secret;
  }
}

TEST(CaptureAnonymized, AddressesInInterfaceNamesAreReplacedToo) {
  FakeMachine machine;
  machine.add_usb_port("enx000bab123456", "0000:00:14.0/usb1/1-2/1-2:1.0", "bda/8153/3000", "00:0b:ab:12:34:56");
  machine.add_virtual("enx000bab123456.7", "00:0b:ab:12:34:56");
  const Capture capture(machine.root(), {"--anonymize"});
  EXPECT_EQ(everything_in(capture.unpacked()).find("123456"), std::string::npos);
  const fs::path interfaces = capture.unpacked() / "sys/class/net";
  std::string stand_in;
  for (const auto& entry : fs::directory_iterator(interfaces)) {
    const std::string name = entry.path().filename().string();
    EXPECT_EQ(name.substr(0, 9), "enx000bab");
    std::string mac = read_file(entry.path() / "address");
    std::erase(mac, ':');
    EXPECT_EQ("enx" + mac, name.substr(0, 15) + "\n") << "the name is still that of the address";
    EXPECT_TRUE(read_link(entry.path()).ends_with("/net/" + name)) << read_link(entry.path());
    EXPECT_NE(read_file(capture.unpacked() / "order").find("sys/class/net/" + name + "\n"), std::string::npos);
    stand_in = name.substr(0, 15);
  }
  const ToolRun table = run_replay(capture.archive(), machine.work(), {"-a"});
  EXPECT_NE(table.output.find(stand_in + ".7"), std::string::npos) << table.output;
}

TEST(CaptureAnonymized, TheRestIsAsItIs) {
  const fs::path edge = Appliance("edge").root();
  const TemporaryDirectory work;
  EXPECT_EQ(run_replay(Capture(edge, {"--anonymize"}).archive(), work.path(), {"-sysinfo"}).output,
            run_replay(edge, work.path(), {"-sysinfo"}).output);
}

TEST(CaptureFailures, WhatCannotBeReadIsNamedAndTheRestRecorded) {
  FakeMachine machine;
  machine.add_raw_interface("eth9", "../../devices/pci0000:00/0000:00:1c.0/0000:03:00.0/net/eth9");
  machine.add_port("eth1", "0000:00:1c.1/0000:04:00.0");
  machine.remove("sys/devices/pci0000:00/0000:00:1c.1/0000:04:00.0/net/eth1/address");
  machine.add_function("0000:00:1c.1", bridge_config({}, 0x88).substr(0, 64));
  const Capture capture(machine.root());
  const auto complains = [&](const std::string& text) {
    return capture.complaints().find("qorx-capture: " + text + "\n") != std::string::npos;
  };
  EXPECT_TRUE(complains("can't read /sys/class/net/eth9"));
  EXPECT_TRUE(complains("can't read /sys/devices/pci0000:00/0000:00:1c.1/0000:04:00.0/net/eth1/address"));
  EXPECT_TRUE(complains("can't read /sys/devices/pci0000:00/0000:00:1c.1/config to its end, only root can"));
  EXPECT_TRUE(complains("no slot records: found no SMBIOS table that can be read"));
  capture.expect_same({"-a"});
}

TEST(CaptureFailures, AnOrdinaryUserRecordsWhatHeCanRead) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can become an ordinary user";
  }
  FakeMachine machine;
  machine.add_port("eth0", "0000:00:1c.0/0000:03:00.0");
  machine.smbios(SmbiosTable().slot("Slot 1", "03:00.0")).write("dev/mem", "secret");
  for (const fs::path& open : {machine.root(), machine.work()}) {
    ASSERT_EQ(chmod(open.c_str(), 0777), 0);
  }
  for (const char* const closed : {"sys/firmware/dmi/tables/DMI", "dev/mem"}) {
    ASSERT_EQ(chmod((machine.root() / closed).c_str(), 0400), 0);
  }
  const ToolRun run =
      run_program("/bin/sh", {"-s", "--", "--root", machine.root(), "-o", "machine.tar.gz"}, machine.work(), [] {
        constexpr unsigned kNobody = 65534;
        if (freopen(QORX_SOURCE_DIR "/tools/qorx-capture", "r", stdin) == nullptr || setgid(kNobody) != 0 ||
            setuid(kNobody) != 0) {
          _exit(126);
        }
      });
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.errors.find("can't read /sys/firmware/dmi/tables/DMI\n"), std::string::npos) << run.errors;
  EXPECT_NE(run.errors.find("can't read /dev/mem\n"), std::string::npos) << run.errors;
  const TemporaryDirectory work;
  const ToolRun table = run_replay(machine.work() / "machine.tar.gz", work.path(), {"-a"});
  EXPECT_NE(table.output.find("eth0            03:00.0"), std::string::npos) << table.output;
}

TEST(CaptureFailures, NothingToRecordIsAFailure) {
  const TemporaryDirectory empty;
  const ToolRun run = run_program(capture_program(), {"--root", empty.path()}, empty.path());
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(run.errors.ends_with("qorx-capture: nothing could be recorded\n")) << run.errors;
  EXPECT_EQ(files_below(empty.path()), std::set<std::string>());
}

TEST(CaptureFailures, WrongUseAndUnusablePlaces) {
  const FakeMachine machine;
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"-x"}, {"-o"}, {"-o", ""}, {"--root"}, {"machine.tar.gz"}}) {
    SCOPED_TRACE(testing::PrintToString(words));
    const ToolRun run = run_program(capture_program(), words, machine.work());
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.errors, "Usage: qorx-capture [-o FILE.tar.gz] [--root TREE] [--anonymize]\n");
  }
  EXPECT_EQ(run_program(capture_program(), {"--root", "missing"}, machine.work()).status, 1);
  EXPECT_EQ(run_program(capture_program(), {"--root", machine.root(), "-o", "no/such.tar.gz"}, machine.work()).status,
            1);
  EXPECT_EQ(files_below(machine.work()), std::set<std::string>());
}

TEST(Capture, LeavesNothingBehindButTheArchive) {
  const FakeMachine machine;
  const TemporaryDirectory temporary;
  const ToolRun run = run_command(
      {"TMPDIR=" + temporary.path().string(), capture_program().string(), "--root", machine.root().string()},
      machine.work());
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_TRUE(fs::is_empty(temporary.path()));
  EXPECT_EQ(files_below(machine.work()), std::set<std::string>{"qorx-capture.tar.gz"});
}

TEST(Capture, RunsWithTheToolsOfASmallSystem) {
  QORX_SKIP_WITHOUT("busybox");
  const TemporaryDirectory tools;
  ASSERT_EQ(run_command({"busybox", "--install", "-s", tools.path().string()}).status, 0);
  const FakeMachine directory;
  for (const std::string& name : Appliance::names()) {
    SCOPED_TRACE(name);
    const Appliance machine(name);
    for (const std::string anonymize : {"", "--anonymize"}) {
      std::vector<std::string> words{"PATH=" + tools.path().string(),
                                     (tools.path() / "sh").string(),
                                     capture_program(),
                                     "--root",
                                     machine.root(),
                                     "-o",
                                     "machine.tar.gz"};
      if (!anonymize.empty()) {
        words.push_back(anonymize);
      }
      const ToolRun run = run_command(words, directory.work());
      EXPECT_EQ(run.status, 0);
      EXPECT_EQ(run.errors, "");
      const ToolRun replayed = run_replay(directory.work() / "machine.tar.gz", directory.work(), {"-sysinfo"});
      EXPECT_EQ(replayed.output, machine.expected("sysinfo").output);
    }
  }
}

TEST(Capture, IsPlainShell) {
  for (const char* const shell : {"dash", "bash"}) {
    if (has_command(shell)) {
      EXPECT_EQ(run_command({shell, "-n", capture_program().string()}).errors, "") << shell;
    }
  }
  QORX_SKIP_WITHOUT("shellcheck");
  const ToolRun run = run_command({"shellcheck", capture_program().string()});
  EXPECT_EQ(run.status, 0) << run.output;
}

}  // namespace
}  // namespace qorx::test
