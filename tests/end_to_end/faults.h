// A machine on which every file and directory that the tool opens decides a word of its output, and the faults that are
// planted there.
#ifndef QORX_TESTS_END_TO_END_FAULTS_H
#define QORX_TESTS_END_TO_END_FAULTS_H

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "cli/command_line.h"
#include "tests/support/expected_table.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"
#include "tests/support/sample_machine.h"

namespace qorx::test {

// What lies where a file or a directory should be.
enum class Fault { kMissing, kLoop, kNowhere, kUnreadable, kDirectory, kEmpty, kEndless, kReadError, kPipe };

inline const char* name_of(Fault fault) {
  constexpr const char* kNames[] = {"Missing", "Loop",    "LinkToNowhere", "Unreadable", "EmptyDirectory",
                                    "Empty",   "Endless", "ReadError",     "Pipe"};
  return kNames[static_cast<int>(fault)];
}

inline void PrintTo(Fault fault, std::ostream* stream) {
  *stream << name_of(fault);
}

// Nothing can be opened there as a file; as a directory nothing but kDirectory can.
inline bool cant_be_opened(Fault fault) {
  return fault == Fault::kMissing || fault == Fault::kLoop || fault == Fault::kNowhere || fault == Fault::kUnreadable;
}

// Lays a fault at `path` for a while; what was there comes back.
class Planted {
 public:
  Planted(const FakeMachine& machine, std::filesystem::path path, Fault fault)
      : path_(std::move(path)), aside_(machine.root() / "aside"), fault_(fault) {
    namespace fs = std::filesystem;
    was_there_ = fs::exists(fs::symlink_status(path_));
    if (fault == Fault::kUnreadable) {
      permissions_ = fs::status(path_).permissions();
      fs::permissions(path_, fs::perms::none);
    } else {
      if (was_there_) {
        fs::rename(path_, aside_);
      }
      lay();
    }
  }
  ~Planted() {
    std::error_code ignored;
    if (fault_ == Fault::kUnreadable) {
      std::filesystem::permissions(path_, permissions_, ignored);
      return;
    }
    std::filesystem::remove_all(path_, ignored);
    if (was_there_) {
      std::filesystem::rename(aside_, path_, ignored);
    }
  }
  Planted(const Planted&) = delete;
  Planted& operator=(const Planted&) = delete;

 private:
  void lay() const {
    namespace fs = std::filesystem;
    switch (fault_) {
      case Fault::kLoop:
        return fs::create_symlink(path_.filename(), path_);
      case Fault::kNowhere:
        return fs::create_symlink("no/such/file", path_);
      case Fault::kEndless:
        return fs::create_symlink("/dev/zero", path_);
      case Fault::kReadError:
        return fs::create_symlink("/proc/self/mem", path_);  // which has nothing at address 0
      case Fault::kDirectory:
        fs::create_directory(path_);
        return;
      case Fault::kEmpty:
        return make_node(S_IFREG);
      case Fault::kPipe:
        return make_node(S_IFIFO);
      default:
        return;
    }
  }
  void make_node(mode_t type) const {
    if (mknod(path_.c_str(), type | 0600, 0) != 0) {
      throw std::runtime_error("can't make " + path_.string());
    }
  }

  std::filesystem::path path_;
  std::filesystem::path aside_;
  Fault fault_;
  bool was_there_ = false;
  std::filesystem::perms permissions_{};
};

// The rows of the machine below, to be changed to what a fault makes of them.
class Rows {
 public:
  TableRow& operator[](std::string_view eth_name) {
    return *std::find_if(rows_.begin(), rows_.end(), [&](const TableRow& row) { return row.eth_name == eth_name; });
  }
  void remove(std::string_view eth_name) {
    std::erase_if(rows_, [&](const TableRow& row) { return row.eth_name == eth_name; });
  }
  // A port without address sorts behind all others.
  void move_behind_the_ports(std::string_view eth_name) {
    const TableRow row = (*this)[eth_name];
    remove(eth_name);
    rows_.insert(rows_.end() - 1, row);
  }
  [[nodiscard]] std::string table() const {
    std::string lines;
    for (const TableRow& row : rows_) {
      lines += table_line(row);
    }
    return table_of(lines);
  }
  auto begin() { return rows_.begin(); }
  auto end() { return rows_.end(); }

 private:
  static constexpr std::string_view kCard = "8086 1521";
  std::vector<TableRow> rows_{
      {"eth5", "00:14.0", true, "0bda 8153", "N/A  N/A ", "02:00:00:00:00:06"},
      {"eth2", "00:1f.6", false, "8086 1533", "13fe 3016", "02:00:00:00:00:03", "LAN 1", "LAN 1 (*)", "NCSI", "N/A",
       "I210_CO"},
      {"eth0", "03:00.0", false, kCard, "13fe 0037", "02:00:00:00:00:01", "WMX Slot 3", "1 (*)", "N/A", "N/A",
       "WMX-2248"},
      {"eth1", "03:00.1", false, kCard, "13fe 0037", "02:00:00:00:00:02", "WMX Slot 3", "2 (*)", "N/A", "N/A",
       "WMX-2248"},
      {"eth3", "04:00.0", false, kCard, "13fe 0035", "02:00:00:00:00:04", "WMX Slot 4", "1 (*)", "A_BYPASS-C", "16",
       "WMX-2848"},
      {"eth4", "04:00.1", false, kCard, "13fe 0035", "02:00:00:00:00:05", "WMX Slot 4", "2 (*)", "A_BYPASS", "16",
       "WMX-2848"},
      {"eth6", "08:00.0", false, kCard, "8086 0001", "02:00:00:00:00:07", "WMX Slot 5", "N/A", "N/A", "N/A",
       "WMX-LH53"},
      {"eth7", "09:00.0", false, kCard, "13fe 205d", "02:00:00:00:00:08", "WMX Slot 6 (H.1.2.255)", "1 (*)",
       "A_BYPASS_I2C", "24", "WMX-44C0"},
      {"eth8", "0c:00.0", false, kCard, "13fe 0037", "02:00:00:00:00:09", "SW Slot", "1 (*)", "N/A", "N/A", "WMX-2248"},
      {.eth_name = "br0", .mac = "02:00:00:00:00:99"},
  };
};

// The sample machine's onboard, plain and bypass ports, and: a USB adapter; a module that only a bridge above it tells;
// a module whose bypass hangs on the host's I2C behind a switch; a port behind a PCIe switch.
class FaultMachine : public SampleMachine {
 public:
  FaultMachine() {
    add_usb_port("eth5", "0000:00:14.0/usb2/2-1/2-1:1.0", "bda/8153/3000");
    add_port("eth6", "0000:00:1c.2/0000:08:00.0");
    write("sys/devices/pci0000:00/0000:00:1c.2/config",
          bridge_config({.subsys_vendor = 0x13FE, .subsys_device = 0x204A}, 0x40));
    add_port("eth7", "0000:00:1c.3/0000:09:00.0", {.subsys_vendor = 0x13FE, .subsys_device = 0x205D});
    add_port("eth8", "0000:00:1d.0/0000:0a:00.0/0000:0b:03.0/0000:0c:00.0",
             {.subsys_vendor = 0x13FE, .subsys_device = 0x0037});
    add_i2c_adapter(4, "SMBus I801 adapter at efa0").add_i2c_adapter(9, "i2c-4-mux (chan_id 2)");
    smbios(slots());
    user_file("qorx.cfg", "SLOT_NAME=\"SW Slot\"\nPCIe_SW_DEV/WMX_SLOT=\"3-3/WMX Slot 8\"\n");
    user_file("smbios.cfg", "TYPE=\"9\"\nNAME=\"WMX Slot 3\"\nBUS:DEV.FUN=\"03:00.0\"\n");
    user_file("wmx_name.cfg", "WMX-2848 A_BYPASS\n");
  }

  static SmbiosTable slots() {
    return SmbiosTable()
        .slot("WMX Slot 4", "04:00.0")
        .slot("WMX Slot 3", "03:00.0")
        .onboard("LAN 1", "00:1f.6")
        .slot("WMX Slot 5", "08:00.0")
        .slot("WMX Slot 6 (H.1.2.255)", "09:00.0")
        .slot("SW Slot", "00:1d.0");
  }

  // tovix.cfg, with this I2C bus and switches for the module whose bypass hangs on the host.
  static std::string tovix_cfg(const std::string& bus = "9.255.255") {
    return "eth_name: eth3\nSEGMENT: 16\nBUS: 04\nDEV: 00\nFUN: 0\n\n"
           "eth_name: eth7\nSEGMENT: 24\nTYPE: SYS_I2C\nBUS: " +
           bus + "\nMCU_SEGMENT: 1\n\nTYPE:PCIE\n\n";
  }
};

// The machine without any slot record.
inline void lose_slots(Rows& rows) {
  for (TableRow& row : rows) {
    if (row.eth_name != "eth5" && row.eth_name != "br0") {
      row.slot = "(!!)";
      row.panel = "N/A";
      row.seg = row.seg == "N/A" ? "N/A" : "(?)";
    }
  }
}

// Ids that are not known, or those of configuration space without any byte; no table knows either.
constexpr const char* kUnknownIds = "N/A  N/A ";
constexpr const char* kZeroIds = "0000 0000";

inline void set_ids(TableRow& row, const char* ids) {
  row.ids = row.subsystem_ids = ids;
  row.feature = row.slot == "LAN 1" ? "Need cfg" : "unknown";
  row.model = row.slot == "LAN 1" ? "Onboard" : "ID not found";
  row.seg = "N/A";
}

// No file of any port can be read: the links alone tell.
inline void lose_identities(Rows& rows) {
  for (TableRow& row : rows) {
    if (row.eth_name != "br0") {
      set_ids(row, kUnknownIds);
      row.mac = "N/A";
    }
  }
  rows["eth6"].panel = "1 (*)";
}

inline std::string table_without_slots() {
  Rows rows;
  lose_slots(rows);
  return rows.table();
}

inline std::size_t open_descriptors() {
  const std::filesystem::directory_iterator directory("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(directory), end(directory)));
}

// Ends a run that hangs or spins, and with it the test that started it.
inline void limit_time(unsigned seconds) {
  const rlimit processor{seconds, seconds + 1};
  setrlimit(RLIMIT_CPU, &processor);
  alarm(2 * seconds);
}

// Takes root's rights from this process for a while: what may not be read is then not read.
class OrdinaryUser {
 public:
  explicit OrdinaryUser(const FakeMachine& machine) : was_root_(geteuid() == 0) {
    namespace fs = std::filesystem;
    if (was_root_) {
      constexpr auto kRead =
          fs::perms::group_read | fs::perms::group_exec | fs::perms::others_read | fs::perms::others_exec;
      fs::permissions(machine.root(), kRead, fs::perm_options::add);
      fs::permissions(machine.work(), kRead | fs::perms::group_write | fs::perms::others_write, fs::perm_options::add);
      works_ = seteuid(kNobody) == 0;
    }
  }
  ~OrdinaryUser() {
    if (was_root_ && works_) {
      works_ = seteuid(0) == 0;
      prctl(PR_SET_DUMPABLE, 1);  // lost with the rights; the leak check at the end needs it
    }
  }
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;

 private:
  static constexpr uid_t kNobody = 65534;
  bool was_root_;
  bool works_ = true;
};

// Runs the whole command line in this process, as it would run in a new one, in the machine's working directory. No run
// may leave a descriptor open.
class RunsHere : public testing::Test {
 protected:
  void SetUp() override {
    directory_ = std::filesystem::current_path();
    as_ordinary_user_ = false;
    alarm(kSeconds);
  }
  void TearDown() override {
    alarm(0);
    std::filesystem::current_path(directory_);
    reset_library();
  }

  static ToolRun run(const FakeMachine& machine, std::vector<std::string> words) {
    std::filesystem::current_path(machine.work());
    machine.use();
    reset_library();
    std::vector<const char*> arguments{"qorx"};
    for (const std::string& word : words) {
      arguments.push_back(word.c_str());
    }
    ToolRun result;
    const std::size_t before = open_descriptors();
    {
      const auto user = as_ordinary_user_ ? std::make_unique<OrdinaryUser>(machine) : nullptr;
      result.output =
          printed_by([&] { result.status = run_command_line(static_cast<int>(arguments.size()), arguments.data()); });
    }
    EXPECT_EQ(open_descriptors(), before) << "a descriptor was left open by " << testing::PrintToString(words);
    return result;
  }

  static inline bool as_ordinary_user_ = false;

 private:
  static constexpr unsigned kSeconds = 60;
  std::filesystem::path directory_;
};

inline const std::vector<std::vector<std::string>>& every_operation() {
  static const std::vector<std::vector<std::string>> operations{
      {"-a"},
      {"-d", "eth5"},
      {"-f", "A_BYPASS"},
      {"-p", "03:00.1"},
      {"-o", "result"},
      {"-tovix.cfg"},
      {"-sysinfo"},
      {"-support"},
      {"-V"},
      {"-a", "-ML", "2"},
      {"-tovix.cfg", "-F", "-sort_slotname", "-legacy", "-sys_WMX_cfg", "wmx_name.cfg"}};
  return operations;
}

}  // namespace qorx::test

#endif
