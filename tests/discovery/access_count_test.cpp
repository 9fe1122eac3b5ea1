// How often the hardware is touched: counted in a trace of the system calls of a whole run, so that speed and care
// can't rot unseen.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/fixture.h"
#include "tests/support/pattern.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

constexpr unsigned long kDeviceSpace = 0x40;  // where the registers of the device itself begin
constexpr std::size_t kCallsPerPort = 20;
constexpr std::size_t kCallsPerBridgeVisit = 12;

struct Read {
  unsigned long offset;
  unsigned long size;

  friend bool operator==(const Read&, const Read&) = default;
};

// What one open file of the machine was used for.
struct Visit {
  std::string path;             // without links
  std::set<std::string> calls;  // names of the calls on the descriptor
  std::vector<Read> reads;      // its positioned reads, in order
};

struct SystemCalls {
  std::size_t count = 0;
  std::vector<Visit> visits;

  // Visits of a function's configuration space by whatever name; of all functions below an empty path.
  [[nodiscard]] std::vector<Visit> of_config(const std::string& device) const {
    std::vector<Visit> result;
    std::copy_if(visits.begin(), visits.end(), std::back_inserter(result),
                 [&](const Visit& visit) { return visit.path.ends_with(device + "/config"); });
    return result;
  }
};

// Reads the log of one process, in which each descriptor bears its file's path without links: lines like
// openat(…) = 3</root/a> and pread64(3</root/a>, "...", 4, 44) = 4.
SystemCalls calls_of(const std::string& log, const std::string& root) {
  static const std::string call = R"(^(\w+)\((.*)\) += \S+?(?:<(.*)>)?(?: .*)?$)";
  static const std::string read = R"(^.*, (\d+), (\d+)$)";
  SystemCalls calls;
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) {
    const auto parts = match_whole(line, call);
    if (parts.empty()) {
      continue;
    }
    ++calls.count;
    const std::string& name = parts[1];
    const std::string& arguments = parts[2];
    if (name.starts_with("open")) {
      calls.visits.push_back({parts[3], {}, {}});
      continue;
    }
    const auto visit = std::find_if(calls.visits.rbegin(), calls.visits.rend(), [&](const Visit& opened) {
      return opened.path.starts_with(root) && arguments.find("<" + opened.path + ">") != std::string::npos;
    });
    if (visit == calls.visits.rend()) {
      continue;
    }
    visit->calls.insert(name);
    if (const auto numbers = match_whole(arguments, read); name == "pread64" && !numbers.empty()) {
      visit->reads.push_back({std::stoul(numbers[2]), std::stoul(numbers[1])});
    }
  }
  return calls;
}

fs::path find_tracer() {
  const char* const path = std::getenv("PATH");
  std::istringstream directories(path != nullptr ? path : "");
  for (std::string directory; std::getline(directories, directory, ':');) {
    if (access((directory + "/strace").c_str(), X_OK) == 0) {
      return fs::path(directory) / "strace";
    }
  }
  return {};
}

class AccessCount : public MachineTest {
 protected:
  void SetUp() override {
    tracer_ = find_tracer();
    if (tracer_.empty() || run_program(tracer_, {"-y", "-o", log(), "/bin/true"}, machine_.work()).status != 0) {
      GTEST_SKIP() << "strace is not installed or may not trace here";
    }
  }

  // Lists the ports of a machine and returns what the process did.
  SystemCalls trace(const FakeMachine& machine) {
    const std::string root = fs::canonical(machine.root());
    // A leak checker stops its own process to look at it, which a traced process cannot do.
    const ToolRun run =
        run_program(tracer_, {"-y", "-s", "4096", "-o", log(), replay_program().string(), root, "--", "-a"},
                    machine_.work(), [] { setenv("ASAN_OPTIONS", "detect_leaks=0", 1); });
    EXPECT_EQ(run.status, 0) << run.errors;
    return calls_of(read_file(log()), root + "/");
  }

  // Adds ports of one device behind this path.
  void add_ports(int count, const std::string& device) {
    for (int fun = 0; fun < count; ++fun) {
      machine_.add_port("eth" + std::to_string(fun), device + "." + std::to_string(fun));
    }
  }

  std::size_t calls_with_ports(int ports, bool behind_bridges) {
    FakeMachine machine;
    for (int i = 0; i < ports; ++i) {
      const std::string bridge = "0000:00:0" + std::to_string(i) + ".0";
      const std::string bus = "0000:0" + std::to_string(i + 1) + ":00.0";
      if (behind_bridges) {
        machine.add_function(bridge, bridge_with_capabilities());
      }
      machine.add_port("eth" + std::to_string(i), behind_bridges ? bridge + "/" + bus : bus);
    }
    return trace(machine).count;
  }

  // The bridge's subsystem ids are in the third capability, at 0x90.
  static std::string bridge_with_capabilities() {
    std::string config = bridge_config({0x8086, 0xA112, 0x8086, 0x7270}, 0x90);
    config[0x34] = 0x40;
    config.replace(0x40, 2, bytes("10 80"));
    config.replace(0x80, 2, bytes("05 90"));
    return config;
  }

  std::string log() const { return machine_.work() / "calls"; }

  fs::path tracer_;
};

const std::vector<Read> kWalk{{0x0E, 1}, {0x06, 1}, {0x34, 1}, {0x40, 2}, {0x80, 2}, {0x90, 2}, {0x94, 4}};

TEST_F(AccessCount, AnEndpointIsVisitedOnceAndItsIdsCostThreeReadsOfFourBytes) {
  std::string config = endpoint_config({});
  config.resize(4096, '\xFF');
  config[0x06] = 0x10;  // a capability list that nobody needs to walk
  config[0x34] = 0x40;
  machine_.add_port("eth0", "0000:03:00.0").write("sys/devices/pci0000:00/0000:03:00.0/config", config);
  const auto visits = trace(machine_).of_config("0000:03:00.0");
  ASSERT_EQ(visits.size(), 1U);
  EXPECT_GE(visits[0].reads.size(), 2U);
  EXPECT_LE(visits[0].reads.size(), 3U);
  for (const Read& read : visits[0].reads) {
    EXPECT_LE(read.size, 4U);
  }
}

TEST_F(AccessCount, NothingOfAnEndpointsOwnRegistersIsRead) {
  add_ports(4, "0000:00:1c.0/0000:03:00");
  const auto visits = trace(machine_).of_config("");
  EXPECT_GE(visits.size(), 4U);
  for (const Visit& visit : visits) {
    for (const Read& read : visit.reads) {
      EXPECT_LE(read.offset + read.size, kDeviceSpace) << visit.path;
    }
  }
}

TEST_F(AccessCount, ABridgeVisitReadsWhatLeadsToItsIds) {
  machine_.add_function("0000:00:1c.0", bridge_with_capabilities()).add_port("eth0", "0000:00:1c.0/0000:03:00.0");
  auto visits = trace(machine_).of_config("0000:00:1c.0");
  ASSERT_EQ(visits.size(), 1U);
  EXPECT_EQ(visits[0].reads, kWalk);
  machine_.add_function("0000:00:1c.0", bridge_config({}));  // one without capabilities
  visits = trace(machine_).of_config("0000:00:1c.0");
  ASSERT_EQ(visits.size(), 1U);
  EXPECT_EQ(visits[0].reads, (std::vector<Read>{{0x0E, 1}, {0x06, 1}}));
}

TEST_F(AccessCount, ABridgeAboveSeveralPortsIsVisitedOnceEvenIfItCannotBeRead) {
  machine_.add_function("0000:00:1c.0", bridge_with_capabilities())
      .add_function("0000:00:1c.0/0000:01:00.0", bridge_with_capabilities())
      .write("sys/devices/pci0000:00/0000:00:1c.0/0000:01:00.0/0000:02:00.0/config", "");
  add_ports(8, "0000:00:1c.0/0000:01:00.0/0000:02:00.0/0000:03:00");
  const SystemCalls calls = trace(machine_);
  for (const std::string bridge : {"0000:00:1c.0", "0000:01:00.0", "0000:02:00.0"}) {
    const auto visits = calls.of_config(bridge);
    ASSERT_EQ(visits.size(), 1U) << bridge;
    EXPECT_TRUE(bridge == "0000:02:00.0" || visits[0].reads == kWalk) << bridge;
  }
}

TEST_F(AccessCount, ConfigurationSpaceIsReadByPositionedReadsOnly) {
  machine_.add_function("0000:00:1c.0", bridge_with_capabilities())
      .add_port("eth0", "0000:00:1c.0/0000:03:00.0", {0x8086, 0x1572, 0x13FE, 0x3031})
      .add_usb_port("usb0", "0000:00:14.0/usb2/2-1/2-1:1.0", "bda/8153/3000")
      .add_function("0000:00:14.0", endpoint_config({}));
  const auto visits = trace(machine_).of_config("");
  EXPECT_GE(visits.size(), 3U);
  std::size_t reads = 0;
  for (const Visit& visit : visits) {
    reads += visit.reads.size();
    for (const char* const call : {"read", "readv", "preadv", "preadv2", "mmap", "lseek", "sendfile", "splice",
                                   "copy_file_range", "dup", "dup2", "dup3"}) {
      EXPECT_FALSE(visit.calls.contains(call)) << call << " of " << visit.path;
    }
    EXPECT_TRUE(visit.calls.contains("close")) << visit.path;
  }
  EXPECT_GE(reads, 6U);
}

TEST_F(AccessCount, EightPortsMoreCostAtMostEightTimesTwentySystemCallsAndTwelveForEachBridge) {
  for (const bool behind_bridges : {false, true}) {
    const std::size_t few = calls_with_ports(1, behind_bridges);
    const std::size_t many = calls_with_ports(9, behind_bridges);
    EXPECT_GT(many, few);
    EXPECT_LE(many - few, 8 * (kCallsPerPort + (behind_bridges ? kCallsPerBridgeVisit : 0)));
  }
}

TEST_F(AccessCount, AWholeRunStaysWithinTheSumOfItsPorts) {
  const std::size_t without = trace(machine_).count;
  machine_.add_function("0000:00:1c.0", bridge_with_capabilities());
  add_ports(8, "0000:00:1c.0/0000:03:00");
  EXPECT_LE(trace(machine_).count - without, 8 * kCallsPerPort + kCallsPerBridgeVisit);
}

}  // namespace
}  // namespace qorx::test
