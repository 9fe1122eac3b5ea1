// How often the hardware is touched: counted in a trace of the system calls of a whole run, so that speed and care
// can't rot unseen.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <numeric>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/fake_machine.h"

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
  std::string path;             // below the machine's root
  std::set<std::string> calls;  // names of the calls on the descriptor
  std::vector<Read> reads;      // its positioned reads, in order
};

struct SystemCalls {
  std::size_t count = 0;
  std::vector<Visit> visits;

  [[nodiscard]] std::vector<Visit> visits_of(const std::string& path) const {
    std::vector<Visit> result;
    std::copy_if(visits.begin(), visits.end(), std::back_inserter(result),
                 [&](const Visit& visit) { return visit.path == path; });
    return result;
  }

  [[nodiscard]] std::vector<Visit> config_visits() const {
    std::vector<Visit> result;
    std::copy_if(visits.begin(), visits.end(), std::back_inserter(result),
                 [](const Visit& visit) { return visit.path.ends_with("/config"); });
    return result;
  }
};

unsigned long bytes_read(const std::vector<Visit>& visits) {
  unsigned long sum = 0;
  for (const Visit& visit : visits) {
    for (const Read& read : visit.reads) {
      sum += read.size;
    }
  }
  return sum;
}

// Reads the log of one process: lines like pread64(3, "...", 4, 44) = 4.
class LogReader {
 public:
  LogReader(const std::string& log, std::string root) : root_(std::move(root)) {
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
      read_line(line);
    }
  }

  [[nodiscard]] const SystemCalls& calls() const { return calls_; }

 private:
  void read_line(const std::string& line) {
    static const std::regex call(R"(^(\w+)\((.*)\) += (-?\w+).*$)");
    std::smatch parts;
    if (!std::regex_match(line, parts, call)) {
      return;
    }
    ++calls_.count;
    const std::string name = parts[1];
    if (name == "openat" || name == "open") {
      note_open(parts[2], std::strtol(parts[3].str().c_str(), nullptr, 10));
      return;
    }
    if (const auto found = open_.find(descriptor(name, parts[2])); found != open_.end()) {
      note_use(calls_.visits[found->second], name, parts[2]);
      if (name == "close") {
        open_.erase(found);
      }
    }
  }

  void note_open(const std::string& arguments, long result) {
    const std::size_t first = arguments.find('"');
    const std::size_t last = arguments.rfind('"');
    std::string path = arguments.substr(first + 1, last - first - 1);
    if (const auto folder = open_.find(descriptor("openat", arguments)); folder != open_.end()) {
      path = root_ + calls_.visits[folder->second].path + "/" + path;
    }
    if (result >= 0 && path.starts_with(root_ + "/")) {
      open_[result] = calls_.visits.size();
      calls_.visits.push_back({path.substr(root_.size()), {}, {}});
    }
  }

  // The descriptor that a call works on: the first argument, the fifth of mmap.
  static long descriptor(const std::string& name, const std::string& arguments) {
    std::string argument = arguments;
    for (int skipped = 0; name == "mmap" && skipped < 4; ++skipped) {
      argument.erase(0, argument.find(", ") + 2);
    }
    return argument.empty() || argument[0] < '0' || argument[0] > '9' ? -1 : std::strtol(argument.c_str(), nullptr, 10);
  }

  static void note_use(Visit& visit, const std::string& name, const std::string& arguments) {
    visit.calls.insert(name);
    if (name == "pread64") {
      static const std::regex tail(R"(^.*, (\d+), (\d+)$)");
      std::smatch numbers;
      ASSERT_TRUE(std::regex_match(arguments, numbers, tail)) << arguments;
      visit.reads.push_back({std::stoul(numbers[2]), std::stoul(numbers[1])});
    }
  }

  std::string root_;
  SystemCalls calls_;
  std::map<long, std::size_t> open_;  // visits by descriptor
};

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

class AccessCount : public testing::Test {
 protected:
  void SetUp() override {
    tracer_ = find_tracer();
    if (tracer_.empty()) {
      GTEST_SKIP() << "strace is not installed";
    }
    if (run_program(tracer_, {"-o", log(), "/bin/true"}, machine_.work()).status != 0) {
      GTEST_SKIP() << "strace may not trace here";
    }
  }

  // Lists the ports of a machine and returns what the process did.
  SystemCalls trace(const FakeMachine& machine) {
    const std::vector<std::string> words{"-s", "4096", "-o", log(), replay_program().string(), machine.root().string(),
                                         "--", "-a"};
    // A leak checker stops its own process to look at it, which a traced process cannot do.
    const ToolRun run =
        run_program(tracer_, words, machine_.work(), [] { setenv("ASAN_OPTIONS", "detect_leaks=0", 1); });
    EXPECT_EQ(run.status, 0) << run.errors;
    return LogReader(read_file(log()), machine.root().string()).calls();
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

  FakeMachine machine_;
  fs::path tracer_;
};

constexpr const char* kRootPort = "/sys/bus/pci/devices/0000:00:1c.0/config";

TEST_F(AccessCount, AnEndpointsIdsCostThreeReadsOfFourBytes) {
  std::string config = endpoint_config({});
  config.resize(4096, '\xFF');
  config[0x06] = 0x10;  // a capability list that nobody needs to walk
  config[0x34] = 0x40;
  machine_.add_port("eth0", "0000:03:00.0").write("sys/devices/pci0000:00/0000:03:00.0/config", config);
  const SystemCalls calls = trace(machine_);
  const auto visits = calls.visits_of("/sys/class/net/eth0/device/config");
  ASSERT_FALSE(visits.empty());
  std::size_t reads = 0;
  for (const Visit& visit : visits) {
    reads += visit.reads.size();
    for (const Read& read : visit.reads) {
      EXPECT_LE(read.size, 4U);
    }
  }
  EXPECT_GE(reads, 2U);
  EXPECT_LE(reads, 3U);
  EXPECT_LE(bytes_read(visits), 12U);
}

TEST_F(AccessCount, NothingOfAnEndpointsOwnRegistersIsRead) {
  for (int fun = 0; fun < 4; ++fun) {
    machine_.add_port("eth" + std::to_string(fun), "0000:00:1c.0/0000:03:00." + std::to_string(fun));
  }
  const SystemCalls calls = trace(machine_);
  const auto visits = calls.config_visits();
  EXPECT_GE(visits.size(), 4U);
  for (const Visit& visit : visits) {
    for (const Read& read : visit.reads) {
      EXPECT_LE(read.offset + read.size, kDeviceSpace) << visit.path;
    }
  }
}

TEST_F(AccessCount, ABridgeVisitReadsWhatLeadsToItsIds) {
  machine_.add_function("0000:00:1c.0", bridge_with_capabilities()).add_port("eth0", "0000:00:1c.0/0000:03:00.0");
  const auto visits = trace(machine_).visits_of(kRootPort);
  ASSERT_EQ(visits.size(), 1U);
  EXPECT_EQ(visits[0].reads,
            (std::vector<Read>{{0x0E, 1}, {0x06, 1}, {0x34, 1}, {0x40, 2}, {0x80, 2}, {0x90, 2}, {0x94, 4}}));
  EXPECT_EQ(bytes_read(visits), 3U + 3 * 2U + 4U);
}

TEST_F(AccessCount, ABridgeWithoutCapabilitiesCostsItsHeaderBytes) {
  machine_.add_function("0000:00:1c.0", bridge_config({})).add_port("eth0", "0000:00:1c.0/0000:03:00.0");
  const auto visits = trace(machine_).visits_of(kRootPort);
  ASSERT_EQ(visits.size(), 1U);
  EXPECT_EQ(visits[0].reads, (std::vector<Read>{{0x0E, 1}, {0x06, 1}}));
}

TEST_F(AccessCount, ABridgeAboveSeveralPortsIsVisitedOnce) {
  machine_.add_function("0000:00:1c.0", bridge_with_capabilities())
      .add_function("0000:00:1c.0/0000:01:00.0", bridge_with_capabilities());
  for (int fun = 0; fun < 8; ++fun) {
    machine_.add_port("eth" + std::to_string(fun), "0000:00:1c.0/0000:01:00.0/0000:03:00." + std::to_string(fun));
  }
  const SystemCalls calls = trace(machine_);
  for (const std::string bridge : {"0000:00:1c.0", "0000:01:00.0"}) {
    const auto visits = calls.visits_of("/sys/bus/pci/devices/" + bridge + "/config");
    EXPECT_EQ(visits.size(), 1U) << bridge;
    EXPECT_EQ(bytes_read(visits), 3U + 3 * 2U + 4U) << bridge;
  }
}

TEST_F(AccessCount, ABridgeThatCannotBeReadIsVisitedOnceToo) {
  for (int fun = 0; fun < 4; ++fun) {
    machine_.add_port("eth" + std::to_string(fun), "0000:00:1c.0/0000:03:00." + std::to_string(fun));
  }
  machine_.write("sys/devices/pci0000:00/0000:00:1c.0/config", "");
  EXPECT_EQ(trace(machine_).visits_of(kRootPort).size(), 1U);
}

TEST_F(AccessCount, ConfigurationSpaceIsReadByPositionedReadsOnly) {
  machine_.add_function("0000:00:1c.0", bridge_with_capabilities())
      .add_port("eth0", "0000:00:1c.0/0000:03:00.0", {0x8086, 0x1572, 0x13FE, 0x3031})
      .add_usb_port("usb0", "0000:00:14.0/usb2/2-1/2-1:1.0", "bda/8153/3000")
      .add_function("0000:00:14.0", endpoint_config({}));
  const auto visits = trace(machine_).config_visits();
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

TEST_F(AccessCount, APortCostsAtMostTwentySystemCalls) {
  const std::size_t few = calls_with_ports(1, false);
  const std::size_t many = calls_with_ports(9, false);
  EXPECT_GT(many, few);
  EXPECT_LE(many - few, 8 * kCallsPerPort);
}

TEST_F(AccessCount, ABridgeVisitCostsAtMostTwelveMore) {
  const std::size_t few = calls_with_ports(1, true);
  const std::size_t many = calls_with_ports(9, true);
  EXPECT_GT(many, few);
  EXPECT_LE(many - few, 8 * (kCallsPerPort + kCallsPerBridgeVisit));
}

TEST_F(AccessCount, AWholeRunStaysWithinTheSumOfItsPorts) {
  const std::size_t without = trace(machine_).count;
  machine_.add_function("0000:00:1c.0", bridge_with_capabilities());
  for (int fun = 0; fun < 8; ++fun) {
    machine_.add_port("eth" + std::to_string(fun), "0000:00:1c.0/0000:03:00." + std::to_string(fun));
  }
  EXPECT_LE(trace(machine_).count - without, 8 * kCallsPerPort + kCallsPerBridgeVisit);
}

}  // namespace
}  // namespace qorx::test
