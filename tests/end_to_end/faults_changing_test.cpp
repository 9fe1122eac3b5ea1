// A machine that changes while it is read: every run ends, with a whole table or with a described failure.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>

#include <atomic>
#include <csignal>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "tests/end_to_end/faults.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

using Change = std::function<void(unsigned)>;

// A process that carries out a change over and over, with a number that grows.
class Disturber {
 public:
  explicit Disturber(const Change& change)
      : count_(static_cast<std::atomic<unsigned>*>(
            mmap(nullptr, sizeof *count_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {
    child_ = fork();
    if (child_ == 0) {
      limit_time(60);
      for (;;) {
        try {
          change(*count_);
        } catch (const fs::filesystem_error&) {  // what a change left behind may be in the way of the next one
        }
        ++*count_;
      }
    }
  }
  ~Disturber() {
    kill(child_, SIGKILL);
    waitpid(child_, nullptr, 0);
    munmap(count_, sizeof *count_);
  }
  Disturber(const Disturber&) = delete;
  Disturber& operator=(const Disturber&) = delete;

  [[nodiscard]] unsigned count() const { return *count_; }

 private:
  std::atomic<unsigned>* count_;
  pid_t child_ = -1;
};

void put(const fs::path& path, std::string_view content) {
  if (FILE* const file = std::fopen(path.c_str(), "w"); file != nullptr) {
    std::fwrite(content.data(), 1, content.size(), file);
    std::fclose(file);
  }
}

// Content, cut content, none, no file, a directory: one after the other.
void disturb_file(const fs::path& path, const std::string& content, unsigned number) {
  switch (number % 5) {
    case 0:
      fs::remove_all(path);
      return put(path, content);
    case 1:
      return fs::resize_file(path, content.size() / 2);
    case 2:
      return fs::resize_file(path, 0);
    case 3:
      fs::remove(path);
      return;
    default:
      fs::create_directory(path);
      return;
  }
}

class Changing : public RunsHere {
 protected:
  static constexpr unsigned kRuns = 120;
  static constexpr unsigned kMost = 5000;

  // Runs the operations until both sides had their turns and a change was seen. A failure must be one of those given.
  void expect_whole_runs(const Change& change, const std::set<int>& failures = {}, const Words& options = {}) {
    const Disturber disturber(change);
    std::map<Words, std::set<std::string>> seen;
    bool is_seen = false;
    const std::vector<Words> operations = every_operation();
    for (unsigned i = 0; i < kMost && (i < kRuns || disturber.count() < kRuns || !is_seen); ++i) {
      const Words words = joined(operations[i % operations.size()], options);
      const ToolRun result = run(machine_, words);
      expect_whole_run(result, words[0], failures);
      auto& outcomes = seen[words];
      outcomes.insert(std::to_string(result.status) + result.output);
      is_seen = is_seen || outcomes.size() > 1;
    }
    EXPECT_TRUE(is_seen) << "nothing has changed for the tool";
  }

  static void expect_whole_run(const ToolRun& result, const std::string& operation, const std::set<int>& failures) {
    if (result.status != 0) {
      EXPECT_TRUE(failures.contains(result.status)) << result.status << "\n" << result.output;
      EXPECT_TRUE(result.output.find("Error: QORX_ERR_") != std::string::npos) << result.output;
    } else if (operation == "-a" || operation == "-d" || operation == "-f" || operation == "-p") {
      EXPECT_NE(result.output.find(kTableHeader), std::string::npos) << result.output;
      EXPECT_TRUE(result.output.ends_with(kTableLegend)) << result.output;
    }
  }

  fs::path domain() const { return machine_.root() / "sys/devices/pci0000:00"; }
  fs::path card() const { return domain() / "0000:00:1c.0/0000:03:00.0"; }

  FaultMachine machine_;
};

TEST_F(Changing, FilesOfAPort) {
  const std::string config = endpoint_config({.subsys_vendor = 0x13FE, .subsys_device = 0x0037});
  const std::string bridge = read_file(domain() / "0000:00:1c.2/config");
  expect_whole_runs([&](unsigned i) {
    disturb_file(card() / "config", config, i);
    disturb_file(card() / "net/eth0/address", "02:00:00:00:00:01\n", i);
    disturb_file(domain() / "0000:00:1c.2/config", bridge, i / 5);
    disturb_file(domain() / "0000:00:14.0/usb2/2-1/2-1:1.0/uevent", "PRODUCT=bda/8153/3000\n", i / 25);
  });
}

TEST_F(Changing, InterfacesComeAndGo) {
  const fs::path net = machine_.root() / "sys/class/net";
  expect_whole_runs([&](unsigned i) {
    const fs::path link = net / ("eth" + std::to_string(i % 9));
    const fs::path target = fs::read_symlink(link);
    fs::remove(link);
    fs::create_symlink("../../devices/virtual/net/br0", net / ("veth" + std::to_string(i % 50)));
    fs::create_symlink(target, net / "between");
    fs::rename(net / "between", link);
    fs::remove(net / ("veth" + std::to_string((i + 25) % 50)));
  });
}

TEST_F(Changing, DirectoriesComeAndGo) {
  const fs::path sys = machine_.root() / "sys";
  expect_whole_runs(
      [&](unsigned) {
        for (const char* const name : {"class/net", "devices/pci0000:00", "class/i2c-adapter", "bus/pci/devices"}) {
          fs::rename(sys / name, sys / "away");
          fs::rename(sys / "away", sys / name);
        }
      },
      {152});
}

TEST_F(Changing, FirmwareTables) {
  const std::string entry = FaultMachine::slots().entry_point3();
  const std::string far_entry = FaultMachine::slots().entry_point3(0, 0xFFFFFFFF);
  const std::string table = FaultMachine::slots().bytes();
  const fs::path tables = machine_.root() / "sys/firmware/dmi/tables";
  expect_whole_runs([&](unsigned i) {
    disturb_file(tables / "smbios_entry_point", i % 2 == 0 ? entry : far_entry, i / 2);
    disturb_file(tables / "DMI", i % 3 == 0 ? table : table.substr(0, table.size() - 3), i / 3);
  });
}

// A map of a file that shrinks would kill its reader.
TEST_F(Changing, RecordedMemory) {
  machine_.write("sys/firmware/efi/systab", "SMBIOS=0x1000\n").make_directory("dev");
  const std::string memory = FaultMachine::slots().memory2(0x1000, 0x2000);
  const fs::path path = machine_.root() / "dev/mem";
  expect_whole_runs([&](unsigned i) {
    if (i % 100 == 0) {
      put(path, memory);
    }
    fs::resize_file(path, i % 2 == 0 ? 0x2080 : 0);
    fs::resize_file(path, memory.size());
  });
}

TEST_F(Changing, Adapters) {
  const fs::path adapters = machine_.root() / "sys/class/i2c-adapter";
  expect_whole_runs([&](unsigned i) {
    disturb_file(adapters / "i2c-4/name", "SMBus I801 adapter at efa0\n", i);
    disturb_file(adapters / "i2c-9/name", "i2c-4-mux (chan_id 2)\n", i / 2);
    const fs::path other = adapters / ("i2c-" + std::to_string(10 + i % 300));
    fs::rename(adapters / "i2c-4", other);
    fs::rename(other, adapters / "i2c-4");
  });
}

TEST_F(Changing, PlatformFile) {
  const std::string text = read_file(machine_.work() / "qorx.cfg") +
                           "SLOT_NAME=\"WMX Slot 3\"\nCHANGE_NAME=\"other\"\nFUNCTION/NAME/FEATURE=\"0/x/N/A\"\n";
  const fs::path upstream = domain() / "0000:00:1d.0";
  expect_whole_runs(
      [&](unsigned i) {
        disturb_file(machine_.work() / "qorx.cfg", text, i);
        fs::rename(upstream, domain() / "away");
        fs::rename(domain() / "away", upstream);
      },
      {128, 129}, {"-config", "qorx.cfg"});
}

TEST_F(Changing, OverrideFile) {
  const std::string text = read_file(machine_.work() / "smbios.cfg");
  expect_whole_runs([&](unsigned i) { disturb_file(machine_.work() / "smbios.cfg", text, i); }, {128, 129},
                    {"-smbios_cfg", "smbios.cfg"});
}

TEST_F(Changing, OutputFiles) {
  expect_whole_runs(
      [&](unsigned i) {
        for (const char* const name : {"result", "tovix.cfg"}) {
          disturb_file(machine_.work() / name, "old\n", i);
        }
      },
      {128});
}

}  // namespace
}  // namespace qorx::test
