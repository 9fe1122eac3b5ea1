// How often each file of a machine as appliances are is opened and read: ports at several depths, I2C bypass, adapters,
// with and without traces. Counted in a trace of the system calls of a whole run.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/fixture.h"
#include "tests/support/pattern.h"
#include "tests/support/smbios_builder.h"

namespace qorx::test {
namespace {

// What was done with one file.
struct Access {
  int opens = 0;
  int reads = 0;
  int bytes = 0;

  bool operator==(const Access&) const = default;
};

void PrintTo(const Access& access, std::ostream* out) {
  *out << access.opens << " opens, " << access.reads << " reads, " << access.bytes << " bytes";
}

// By the file's path below the root, without links.
using Accesses = std::map<std::string, Access>;

// The log has lines like openat(5</root/sys/class/net>, "eth0/address", …) = 6</root/sys/…/address> and
// pread64(6</root/sys/…>, "…", 4, 44) = 4.
Accesses accesses_in(const std::string& log, const std::string& root) {
  static const std::string opened = R"(^open.* = \d+<(.*)>$)";
  static const std::string used = R"(^(?:p?read(?:64)?|getdents64)\(\d+<([^>]*)>.* = (\d+)$)";
  Accesses result;
  std::istringstream lines(log);
  const auto access_of = [&](const std::string& path) -> Access& {
    return result[path.starts_with(root) ? path.substr(root.size()) : ""];
  };
  for (std::string line; std::getline(lines, line);) {
    if (const auto open = match_whole(line, opened); !open.empty()) {
      ++access_of(open[1]).opens;
    }
    if (const auto parts = match_whole(line, used); !parts.empty()) {
      Access& access = access_of(parts[1]);
      ++access.reads;
      access.bytes += std::stoi(parts[2]);
    }
  }
  return result;
}

class MachineAccess : public MachineTest {
 protected:
  static constexpr int kPorts = 12;
  static constexpr int kBridges = 7;
  static constexpr int kAdapters = 6;

  MachineAccess() {
    for (const char* const path : kBridgePaths) {
      machine_.add_function(path, bridge_config({0x10B5, 0x8713, 0x10B5, 0x8713}, 0x90));
    }
    add_card(0, "0000:00:01.0/0000:01:00.", {0x8086, 0x1521, 0x13FE, 0x205D});
    add_card(4, "0000:00:02.0/0000:02:00.0/0000:03:00.", {0x8086, 0x1521, 0x13FE, 0x205D});
    add_card(8, "0000:00:03.0/0000:04:00.0/0000:05:01.0/0000:06:00.0/0000:07:00.", {});
    machine_
        .smbios(SmbiosTable()
                    .slot("WMX Slot 1 (H.9.0.255)", "00:01.0")
                    .slot("WMX Slot 2 (H.9.1.7)", "02:00.0")
                    .slot("WMX Slot 3", "05:01.0"))
        .add_virtual("br0", "02:00:00:00:00:01")
        .add_i2c_adapter(0, "SMBus I801 adapter at efa0")
        .add_i2c_adapter(1, "Adapter of the graphics card, port DPC")
        .add_i2c_adapter(2, "i2c-0-mux (chan_id 0)")
        .add_i2c_adapter(3, "i2c-0-mux (chan_id 1)")
        .add_i2c_adapter(4, "i2c-0-mux (chan_id 2)")
        .add_i2c_adapter(5, "i2c-3-mux (chan_id 0)");
  }

  void SetUp() override {
    if (std::system("strace -y -o /dev/null /bin/true >/dev/null 2>&1") != 0) {
      GTEST_SKIP() << "strace is not installed or may not trace here";
    }
  }

  // What a run with these words does with the files of the machine.
  Accesses run(const std::vector<std::string>& words) const {
    const std::string root = std::filesystem::canonical(machine_.root());
    const std::string log = machine_.work() / "calls";
    std::vector<std::string> command{"strace", "-y", "-o", log, replay_program().string(), root, "--"};
    command.insert(command.end(), words.begin(), words.end());
    // A leak checker stops its own process to look at it, which a traced process cannot do.
    const ToolRun run =
        run_program("/usr/bin/env", command, machine_.work(), [] { setenv("ASAN_OPTIONS", "detect_leaks=0", 1); });
    EXPECT_EQ(run.status, 0) << run.errors;
    return accesses_in(read_file(log), root + "/");
  }

  // What was done with each of the files whose path ends so.
  static std::vector<Access> of(const Accesses& accesses, const std::string& end) {
    std::vector<Access> result;
    for (const auto& [path, access] : accesses) {
      if (path.ends_with(end)) {
        result.push_back(access);
      }
    }
    return result;
  }

  static std::vector<Access> of_ports(const Accesses& accesses) {
    std::vector<Access> result;
    for (const char* const card : {"01:00.", "03:00.", "07:00."}) {
      for (int fun = 0; fun < 4; ++fun) {
        const auto found = of(accesses, card + std::to_string(fun) + "/config");
        result.insert(result.end(), found.begin(), found.end());
      }
    }
    return result;
  }

  static std::vector<Access> of_bridges(const Accesses& accesses) {
    std::vector<Access> result;
    for (const char* const path : kBridgePaths) {
      const auto found = of(accesses, std::string("/") + path + "/config");
      result.insert(result.end(), found.begin(), found.end());
    }
    return result;
  }

  static int config_reads(const Accesses& accesses) {
    int reads = 0;
    for (const Access& access : of(accesses, "/config")) {
      reads += access.reads;
    }
    return reads;
  }

 private:
  static constexpr const char* kBridgePaths[kBridges] = {
      "0000:00:01.0",
      "0000:00:02.0",
      "0000:00:02.0/0000:02:00.0",
      "0000:00:03.0",
      "0000:00:03.0/0000:04:00.0",
      "0000:00:03.0/0000:04:00.0/0000:05:01.0",
      "0000:00:03.0/0000:04:00.0/0000:05:01.0/0000:06:00.0",
  };

  void add_card(int first, const std::string& path, const Ids& ids) {
    for (int fun = 0; fun < 4; ++fun) {
      machine_.add_port("eth" + std::to_string(first + fun), path + std::to_string(fun), ids);
    }
  }
};

std::vector<Access> each(int count, const Access& access) {
  return std::vector<Access>(static_cast<std::size_t>(count), access);
}

// Header type, subsystem ids, ids: 9 bytes. Of a bridge: header type, status, pointer, one capability, its ids.
constexpr Access kPort{1, 3, 1 + 4 + 4};
constexpr Access kBridge{1, 5, 1 + 1 + 1 + 2 + 4};

TEST_F(MachineAccess, EachFunctionsConfigurationSpaceIsOpenedOnce) {
  const Accesses accesses = run({"-a"});
  EXPECT_EQ(of_ports(accesses), each(kPorts, kPort));
  EXPECT_EQ(of_bridges(accesses), each(kBridges, kBridge));
  EXPECT_EQ(of(accesses, "/config").size(), static_cast<std::size_t>(kPorts + kBridges)) << "and no other is";
}

TEST_F(MachineAccess, TracesReadAPortsOwnFunctionOnceMoreAndNoBridge) {
  const Accesses accesses = run({"-a", "-ML", "2"});
  for (const Access& access : of_ports(accesses)) {
    EXPECT_EQ(access, (Access{2, 3 + 2, 9 + 5}));
  }
  EXPECT_EQ(of_bridges(accesses), each(kBridges, kBridge));
  EXPECT_LE(config_reads(accesses), 2 * config_reads(run({"-a"})));
}

TEST_F(MachineAccess, TheAdaptersAreListedOnceAndEachIsReadAtMostOnce) {
  for (const std::vector<std::string>& words : {std::vector<std::string>{"-a"}, {"-a", "-ML", "2"}}) {
    const Accesses accesses = run(words);
    EXPECT_EQ(accesses.at("sys/class/i2c-adapter").opens, 1);
    int read = 0;
    for (int number = 0; number < kAdapters; ++number) {
      for (const Access& access : of(accesses, "/i2c-" + std::to_string(number) + "/name")) {
        EXPECT_EQ(access.opens, 1) << number;
        EXPECT_EQ(access.reads, 1) << number;
        ++read;
      }
    }
    EXPECT_EQ(read, kAdapters) << "the search for channel 7, which is not there, passes all of them";
  }
}

TEST_F(MachineAccess, EachAddressIsReadOnce) {
  for (const Access& access : of(run({"-a"}), "/address")) {
    EXPECT_EQ(access.opens, 1);
    EXPECT_EQ(access.reads, 1);
  }
  EXPECT_EQ(of(run({"-a"}), "/address").size(), static_cast<std::size_t>(kPorts + 1)) << "the virtual one's too";
}

TEST_F(MachineAccess, TheInterfacesAreListedOnceAndOnceMoreForTraces) {
  const Accesses accesses = run({"-a"});
  // The check of the environment, the scan's list and its way to the files.
  EXPECT_EQ(accesses.at("sys/class/net").opens, 3);
  EXPECT_EQ(accesses.at("sys/class/net").reads, 2) << "the second one finds the end";
  EXPECT_EQ(accesses.at("sys/bus/pci/devices").opens, 1);
  EXPECT_EQ(run({"-a", "-ML", "2"}).at("sys/class/net").opens, 4);
  EXPECT_EQ(run({"-a", "-novlan", "-ML", "2"}).at("sys/class/net").opens, 3);
}

}  // namespace
}  // namespace qorx::test
