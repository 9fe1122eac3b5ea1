// Every file and directory of the machine, each with every fault: what the user sees, and that the run ends.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/end_to_end/faults.h"

namespace qorx::test {
namespace {

// What a fault makes of a run: a message and the end, or a changed table and tovix.cfg.
struct Effect {
  std::function<void(Rows&)> change = [](Rows&) {};
  std::string tovix = FaultMachine::tovix_cfg();
  std::string message = {};
  int failure = 0;
};

struct Place {
  std::string path;
  std::function<Effect(Fault)> effect;
};

const std::string kNoDirectory = "Error: QORX_ERR_OPEN_DIR (0x98)\n";
const std::string kNoTovixRecords = "TYPE:PCIE\n\n";

Effect failure(const std::string& message, int status) {
  return {[](Rows&) {}, "", message, status};
}

Effect lost_interface(Fault fault) {
  const bool is_link =
      fault == Fault::kLoop || fault == Fault::kNowhere || fault == Fault::kEndless || fault == Fault::kReadError;
  return {[is_link](Rows& rows) {
    rows["eth1"].panel = "1 (*)";
    if (is_link) {
      rows["eth0"] = {.eth_name = "eth0"};
      rows.move_behind_the_ports("eth0");
    } else {
      rows.remove("eth0");
    }
  }};
}

Effect lost_config(Fault fault) {
  const bool is_gone = cant_be_opened(fault) || fault == Fault::kDirectory;
  return {[is_gone](Rows& rows) { set_ids(rows["eth0"], is_gone ? kUnknownIds : kZeroIds); }};
}

Effect lost_device(Fault /*fault*/) {
  return {[](Rows& rows) { set_ids(rows["eth0"], kUnknownIds); }};
}

Effect lost_mac(Fault /*fault*/) {
  return {[](Rows& rows) { rows["eth0"].mac = "N/A"; }};
}

Effect lost_virtual_mac(Fault /*fault*/) {
  return {[](Rows& rows) { rows["br0"].mac = "N/A"; }};
}

Effect lost_usb_ids(Fault /*fault*/) {
  return {[](Rows& rows) { rows["eth5"].ids = kUnknownIds; }};
}

// The module is then a card that no table knows.
Effect lost_bridge(Fault /*fault*/) {
  return {[](Rows& rows) {
    rows["eth6"].panel = "1 (*)";
    rows["eth6"].feature = "unknown";
    rows["eth6"].model = "ID not found";
  }};
}

Effect lost_interfaces(Fault fault) {
  if (fault == Fault::kDirectory) {
    return {[](Rows& rows) {
              for (const char* const name : {"eth0", "eth1", "eth2", "eth3", "eth4", "eth5", "eth6", "eth7", "eth8"}) {
                rows.remove(name);
              }
              rows.remove("br0");
            },
            kNoTovixRecords};
  }
  return failure("/sys/class/net folder do not exist or can't access. Please check your environment\n" + kNoDirectory,
                 152);
}

// In an empty domain the links still tell the places of the ports.
Effect lost_domain(Fault fault) {
  if (fault == Fault::kDirectory) {
    return {lose_identities, kNoTovixRecords};
  }
  return failure(
      "/sys/devices/pci0000:00 folder do not exist or can't access. Please check your environment\n" + kNoDirectory,
      152);
}

Effect lost_adapters(Fault fault) {
  if (fault == Fault::kDirectory) {
    return {[](Rows&) {}, FaultMachine::tovix_cfg("1.2.255")};
  }
  return failure("Error: Cannot access /sys/class/i2c-adapter\n" + kNoDirectory, 152);
}

Effect lost_host_adapter(Fault /*fault*/) {
  return {[](Rows&) {}, FaultMachine::tovix_cfg("1.2.255")};
}

Effect lost_channel(Fault /*fault*/) {
  return {[](Rows&) {}, FaultMachine::tovix_cfg("4.2.255")};
}

Effect lost_entry_point(Fault fault) {
  const bool is_silent = cant_be_opened(fault) || fault == Fault::kDirectory;
  if (fault == Fault::kReadError) {
    return {lose_slots, kNoTovixRecords, "1Can't get /sys/firmware/dmi/tables/smbios_entry_point\n"};
  }
  return {lose_slots, kNoTovixRecords, is_silent ? "" : "Can't find SMBIOS!\n"};
}

Effect lost_table(Fault fault) {
  return {lose_slots, kNoTovixRecords, fault == Fault::kReadError ? "2Can't get /sys/firmware/dmi/tables/DMI\n" : ""};
}

Effect lost_tables(Fault /*fault*/) {
  return {lose_slots, kNoTovixRecords};
}

Effect no_effect(Fault /*fault*/) {
  return {};
}

std::vector<Place> places() {
  const std::string domain = "sys/devices/pci0000:00";
  const std::string card = domain + "/0000:00:1c.0/0000:03:00.0";
  return {
      {"sys/class/net", lost_interfaces},
      {"sys/class/net/eth0", lost_interface},
      {card + "/net/eth0/device", lost_device},
      {card + "/config", lost_config},
      {card + "/net/eth0/address", lost_mac},
      {"sys/devices/virtual/net/br0/address", lost_virtual_mac},
      {domain + "/0000:00:14.0/usb2/2-1/2-1:1.0/uevent", lost_usb_ids},
      {domain, lost_domain},
      {domain + "/0000:00:1c.2/config", lost_bridge},
      {"sys/bus/pci/devices/0000:00:1c.2", lost_bridge},
      {"sys/bus/pci/devices", lost_bridge},
      {"sys/class/i2c-adapter", lost_adapters},
      {"sys/class/i2c-adapter/i2c-4", lost_host_adapter},
      {"sys/class/i2c-adapter/i2c-4/name", lost_host_adapter},
      {"sys/class/i2c-adapter/i2c-9/name", lost_channel},
      {"sys/firmware/dmi/tables", lost_tables},
      {"sys/firmware/dmi/tables/smbios_entry_point", lost_entry_point},
      {"sys/firmware/dmi/tables/DMI", lost_table},
      {"sys/firmware/efi/systab", no_effect},
      {"dev/mem", no_effect},
  };
}

class InputFaults : public RunsHere, public testing::WithParamInterface<Fault> {
 protected:
  void SetUp() override {
    RunsHere::SetUp();
    as_ordinary_user_ = GetParam() == Fault::kUnreadable;  // root reads everything
  }

  static bool has_permissions(const std::filesystem::path& path) {
    return std::filesystem::exists(path) && !std::filesystem::is_symlink(path);
  }

  static void expect(const FaultMachine& machine, const Effect& effect) {
    const ToolRun table = run(machine, {"-a"});
    const ToolRun tovix = run(machine, {"-tovix.cfg"});
    EXPECT_EQ(table.status, effect.failure);
    EXPECT_EQ(tovix.status, effect.failure);
    if (effect.failure != 0) {
      EXPECT_EQ(table.output, effect.message);
      EXPECT_EQ(tovix.output, effect.message);
      EXPECT_FALSE(std::filesystem::exists(machine.work() / "tovix.cfg"));
      return;
    }
    Rows rows;
    effect.change(rows);
    EXPECT_EQ(table.output, effect.message + rows.table());
    EXPECT_EQ(read_file(machine.work() / "tovix.cfg"), effect.tovix);
  }

  static void expect_of_every_operation(const FaultMachine& machine, const Effect& effect) {
    for (const auto& operation : every_operation()) {
      const int status = run(machine, operation).status;
      EXPECT_EQ(status, operation[0] == "-V" ? 0 : effect.failure) << testing::PrintToString(operation);
    }
  }
};

TEST_P(InputFaults, EveryPlaceHasItsEffect) {
  FaultMachine machine;
  machine.make_directory("sys/firmware/efi").make_directory("dev");
  for (const Place& place : places()) {
    SCOPED_TRACE(place.path + " " + name_of(GetParam()));
    std::filesystem::remove(machine.work() / "tovix.cfg");
    if (GetParam() == Fault::kUnreadable && !has_permissions(machine.root() / place.path)) {
      continue;  // a link has no permissions of its own, and some files are not there
    }
    const Planted fault(machine, machine.root() / place.path, GetParam());
    const Effect effect = place.effect(GetParam());
    expect(machine, effect);
    if (GetParam() != Fault::kEndless) {  // of which many megabytes are read in each run
      expect_of_every_operation(machine, effect);
    }
  }
}

TEST_P(InputFaults, ASwitchThatThePlatformFileNames) {
  const FaultMachine machine;
  const Planted fault(machine, machine.root() / "sys/devices/pci0000:00/0000:00:1d.0", GetParam());
  const ToolRun table = run(machine, {"-a", "-config", "qorx.cfg"});
  if (GetParam() == Fault::kDirectory) {
    // Nothing behind it: its slot is given up, and the port's link is all that is left of it. The last rule of slot
    // matching then finds the onboard device on bus 0.
    Rows rows;
    rows["eth8"].slot = "LAN 1";
    rows["eth8"].panel = "LAN 1 (*)";
    rows["eth8"].mac = "N/A";
    set_ids(rows["eth8"], kUnknownIds);
    EXPECT_EQ(table.output, rows.table());
    EXPECT_EQ(table.status, 0);
  } else {
    EXPECT_EQ(table.output,
              "Can't find PCIe switch, please check the config file!\n"
              "Wrong PCIe_SW_DEV/WMX_SLOT=\" format! qorx.cfg line: 2\n"
              "Error: QORX_ERR_CONF_FILE_FORMAT (0x81)\n");
    EXPECT_EQ(table.status, 129);
  }
}

INSTANTIATE_TEST_SUITE_P(Machine, InputFaults,
                         testing::Values(Fault::kMissing, Fault::kLoop, Fault::kNowhere, Fault::kUnreadable,
                                         Fault::kDirectory, Fault::kEmpty, Fault::kEndless, Fault::kReadError,
                                         Fault::kPipe),
                         [](const auto& fault) { return name_of(fault.param); });

using InputFault = RunsHere;

TEST_F(InputFault, WithoutAnyTheWholeMachineIsListed) {
  const FaultMachine machine;
  EXPECT_EQ(run(machine, {"-a"}).output, Rows().table());
  EXPECT_EQ(run(machine, {"-tovix.cfg"}).output, "");
  EXPECT_EQ(read_file(machine.work() / "tovix.cfg"), FaultMachine::tovix_cfg());
  Rows rows;
  rows["eth8"].slot = "WMX Slot 8";
  EXPECT_EQ(run(machine, {"-a", "-config", "qorx.cfg"}).output, rows.table());
}

// A link that leads nowhere still tells the port's place.
TEST_F(InputFault, TheTextOfALinkToNowhereIsUsed) {
  FaultMachine machine;
  machine.remove("sys/class/net/eth0")
      .add_raw_interface("eth0", "../../devices/pci0000:00/0000:00:1c.0/0000:03:00.5/net/eth0");
  Rows rows;
  rows["eth0"].address = "03:00.5";
  rows["eth0"].mac = "N/A";
  rows["eth0"].panel = "2 (*)";
  rows["eth1"].panel = "1 (*)";
  set_ids(rows["eth0"], kUnknownIds);
  std::swap(rows["eth0"], rows["eth1"]);
  EXPECT_EQ(run(machine, {"-a"}).output, rows.table());
}

// Where nothing hangs on the host's I2C, its adapters are not looked at.
TEST_F(InputFault, MissingAdaptersThatNobodyAsksFor) {
  FaultMachine machine;
  machine.remove("sys/class/i2c-adapter").remove("sys/class/net/eth7");
  Rows rows;
  rows.remove("eth7");
  EXPECT_EQ(run(machine, {"-a"}).output, rows.table());
}

TEST_F(InputFault, ACapabilityListThatRunsInACircle) {
  FaultMachine machine;
  std::string config = bridge_config({.subsys_vendor = 0x13FE, .subsys_device = 0x204A}, 0x40);
  config[0x40] = 0x01;
  config[0x41] = 0x40;
  machine.write("sys/devices/pci0000:00/0000:00:1c.2/config", config);
  Rows rows;
  lost_bridge(Fault::kMissing).change(rows);
  EXPECT_EQ(run(machine, {"-a"}).output, rows.table());
}

}  // namespace
}  // namespace qorx::test
