// Every file and directory of the machine, each with every fault: what the user sees, and that the run ends.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tests/end_to_end/faults.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

// What a fault makes of a run: a changed table and tovix.cfg, or a message and the end.
struct Expected {
  Rows rows;
  std::string tovix = FaultMachine::tovix_cfg();
  std::string message;
  int status = 0;

  void fail(const std::string& why) {
    message = why + "\nError: QORX_ERR_OPEN_DIR (0x98)\n";
    status = 152;
  }
};

struct Place {
  std::string path;
  std::function<void(Fault, Expected&)> effect;
};

void lost_interface(Fault fault, Expected& run) {
  run.rows["eth1"].panel = "1 (*)";
  if (fault == Fault::kLoop || fault == Fault::kNowhere || fault == Fault::kEndless || fault == Fault::kReadError) {
    run.rows["eth0"] = {.eth_name = "eth0"};  // it is a link all the same
    run.rows.move_behind_the_ports("eth0");
  } else {
    run.rows.remove("eth0");
  }
}

void lost_entry_point(Fault fault, Expected& run) {
  run.rows.lose_slots();
  run.tovix = kNoTovixRecords;
  if (fault == Fault::kReadError) {
    run.message = "1Can't get /sys/firmware/dmi/tables/smbios_entry_point\n";
  } else if (!cant_be_opened(fault) && fault != Fault::kDirectory) {
    run.message = "Can't find SMBIOS!\n";
  }
}

// The name of an adapter: where there is none it is another adapter; one that can't be read could be the right one.
std::function<void(Fault, Expected&)> adapter_name(const std::string& tovix) {
  return [tovix](Fault fault, Expected& run) {
    run.tovix = tovix;
    if (fault == Fault::kReadError) {
      run.fail("Error: Cannot access /sys/class/i2c-adapter");
    }
  };
}

// A directory without which the run ends, and which may be empty.
std::function<void(Fault, Expected&)> needed(const std::string& why, const std::function<void(Expected&)>& if_empty) {
  return [=](Fault fault, Expected& run) { fault == Fault::kDirectory ? if_empty(run) : run.fail(why); };
}

std::vector<Place> places() {
  const std::string domain = "sys/devices/pci0000:00";
  const std::string card = domain + "/0000:00:1c.0/0000:03:00.0";
  const std::string no_folder = " folder do not exist or can't access. Please check your environment";
  const auto lost_bridge = [](Fault, Expected& run) { run.rows.lose_bridge(); };
  const auto lost_host_adapter = [](Fault, Expected& run) { run.tovix = FaultMachine::tovix_cfg("1.2.255"); };
  const auto no_effect = [](Fault, Expected&) {};
  return {
      {"sys/class/net", needed("/sys/class/net" + no_folder,
                               [](Expected& run) {
                                 run.rows.clear();
                                 run.tovix = kNoTovixRecords;
                               })},
      {"sys/class/net/eth0", lost_interface},
      {card + "/net/eth0/device", [](Fault, Expected& run) { set_ids(run.rows["eth0"], kUnknownIds); }},
      {card + "/config",
       [](Fault fault, Expected& run) {
         set_ids(run.rows["eth0"], cant_be_opened(fault) || fault == Fault::kDirectory ? kUnknownIds : kZeroIds);
       }},
      {card + "/net/eth0/address", [](Fault, Expected& run) { run.rows["eth0"].mac = "N/A"; }},
      {"sys/devices/virtual/net/br0/address", [](Fault, Expected& run) { run.rows["br0"].mac = "N/A"; }},
      {domain + "/0000:00:14.0/usb2/2-1/2-1:1.0/uevent",
       [](Fault, Expected& run) { run.rows["eth5"].ids = kUnknownIds; }},
      // In an empty domain the links still tell the places of the ports.
      {domain, needed("/sys/devices/pci0000:00" + no_folder,
                      [](Expected& run) {
                        run.rows.lose_identities();
                        run.tovix = kNoTovixRecords;
                      })},
      {domain + "/0000:00:1c.2/config", lost_bridge},
      {"sys/bus/pci/devices/0000:00:1c.2", lost_bridge},
      {"sys/bus/pci/devices", lost_bridge},
      {"sys/class/i2c-adapter", needed("Error: Cannot access /sys/class/i2c-adapter",
                                       [&](Expected& run) { lost_host_adapter(Fault::kDirectory, run); })},
      {"sys/class/i2c-adapter/i2c-4", lost_host_adapter},
      {"sys/class/i2c-adapter/i2c-4/name", adapter_name(FaultMachine::tovix_cfg("1.2.255"))},
      {"sys/class/i2c-adapter/i2c-9/name", adapter_name(FaultMachine::tovix_cfg("4.2.255"))},
      {"sys/firmware/dmi/tables",
       [](Fault, Expected& run) {
         run.rows.lose_slots();
         run.tovix = kNoTovixRecords;
       }},
      {"sys/firmware/dmi/tables/smbios_entry_point", lost_entry_point},
      {"sys/firmware/dmi/tables/DMI",
       [](Fault fault, Expected& run) {
         run.rows.lose_slots();
         run.tovix = kNoTovixRecords;
         run.message = fault == Fault::kReadError ? "2Can't get /sys/firmware/dmi/tables/DMI\n" : "";
       }},
      {"sys/firmware/efi/systab", no_effect},
      {"dev/mem", no_effect},
  };
}

class InputFaults : public FaultTest {
 protected:
  InputFaults() { machine_.make_directory("sys/firmware/efi").make_directory("dev"); }

  // A link has no permissions of its own, and some files are not there.
  [[nodiscard]] bool can_have_the_fault(const fs::path& path) const {
    return GetParam() != Fault::kUnreadable || (fs::exists(path) && !fs::is_symlink(path));
  }

  void expect(const Expected& expected) const {
    const fs::path tovix = machine_.work() / "tovix.cfg";
    fs::remove(tovix);
    const std::string table = expected.status == 0 ? expected.rows.table() : "";
    EXPECT_EQ(run(machine_, {"-a"}), said(expected.message + table, expected.status));
    const ToolRun writer = run(machine_, {"-tovix.cfg"});
    EXPECT_EQ(writer.status, expected.status);
    EXPECT_TRUE(writer.output.starts_with(expected.message)) << writer.output;
    EXPECT_EQ(fs::exists(tovix), expected.status == 0);
    EXPECT_EQ(read_file(tovix), expected.status == 0 ? expected.tovix : "");
    if (GetParam() == Fault::kEndless) {
      return;  // of which many megabytes are read in each run
    }
    for (const Words& operation : every_operation()) {
      EXPECT_EQ(run(machine_, operation).status, operation[0] == "-V" ? 0 : expected.status)
          << testing::PrintToString(operation);
    }
  }

  FaultMachine machine_;
};

TEST_P(InputFaults, EveryPlaceHasItsEffect) {
  for (const Place& place : places()) {
    const fs::path path = machine_.root() / place.path;
    if (can_have_the_fault(path)) {
      SCOPED_TRACE(place.path);
      const Planted fault(machine_, path, GetParam());
      Expected expected;
      place.effect(GetParam(), expected);
      expect(expected);
    }
  }
}

TEST_P(InputFaults, ASwitchThatThePlatformFileNames) {
  const Planted fault(machine_, machine_.root() / "sys/devices/pci0000:00/0000:00:1d.0", GetParam());
  ToolRun expected = said(
      "Can't find PCIe switch, please check the config file!\n"
      "Wrong PCIe_SW_DEV/WMX_SLOT=\" format! qorx.cfg line: 2\n"
      "Error: QORX_ERR_CONF_FILE_FORMAT (0x81)\n",
      129);
  if (GetParam() == Fault::kDirectory) {
    // Nothing behind it: its slot is given up, and the port's link is all that is left of it. The last rule of slot
    // matching then finds the onboard device on bus 0.
    Rows rows;
    rows["eth8"].slot = "LAN 1";
    rows["eth8"].panel = "LAN 1 (*)";
    rows["eth8"].mac = "N/A";
    set_ids(rows["eth8"], kUnknownIds);
    expected = said(rows.table());
  }
  EXPECT_EQ(run(machine_, {"-a", "-config", "qorx.cfg"}), expected);
}

QORX_FAULTS(InputFaults, Fault::kPipe);

class InputFault : public RunsHere {
 protected:
  FaultMachine machine_;
  Rows rows_;
};

TEST_F(InputFault, WithoutAnyTheWholeMachineIsListed) {
  EXPECT_EQ(run(machine_, {"-a"}), said(rows_.table()));
  EXPECT_EQ(run(machine_, {"-tovix.cfg"}), said(""));
  EXPECT_EQ(read_file(machine_.work() / "tovix.cfg"), FaultMachine::tovix_cfg());
  rows_["eth8"].slot = "WMX Slot 8";
  EXPECT_EQ(run(machine_, {"-a", "-config", "qorx.cfg"}), said(rows_.table()));
}

// A link that leads nowhere still tells the port's place.
TEST_F(InputFault, TheTextOfALinkToNowhereIsUsed) {
  machine_.remove("sys/class/net/eth0")
      .add_raw_interface("eth0", "../../devices/pci0000:00/0000:00:1c.0/0000:03:00.5/net/eth0");
  rows_["eth0"].address = "03:00.5";
  rows_["eth0"].mac = "N/A";
  rows_["eth0"].panel = "2 (*)";
  rows_["eth1"].panel = "1 (*)";
  set_ids(rows_["eth0"], kUnknownIds);
  std::swap(rows_["eth0"], rows_["eth1"]);
  EXPECT_EQ(run(machine_, {"-a"}), said(rows_.table()));
}

// Where nothing hangs on the host's I2C, its adapters are not looked at.
TEST_F(InputFault, MissingAdaptersThatNobodyAsksFor) {
  machine_.remove("sys/class/i2c-adapter").remove("sys/class/net/eth7");
  rows_.remove("eth7");
  EXPECT_EQ(run(machine_, {"-a"}), said(rows_.table()));
}

TEST_F(InputFault, ACapabilityListThatRunsInACircle) {
  std::string config = bridge_config({.subsys_vendor = 0x13FE, .subsys_device = 0x204A}, 0x40);
  config[0x40] = 0x01;
  config[0x41] = 0x40;
  machine_.write("sys/devices/pci0000:00/0000:00:1c.2/config", config);
  rows_.lose_bridge();
  EXPECT_EQ(run(machine_, {"-a"}), said(rows_.table()));
}

}  // namespace
}  // namespace qorx::test
