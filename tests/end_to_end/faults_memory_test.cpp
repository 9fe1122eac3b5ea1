// /dev/mem and the EFI system table: which source of slot records a fault leaves.
#include <gtest/gtest.h>
#include <sys/sysmacros.h>

#include <string>
#include <vector>

#include "tests/end_to_end/faults.h"
#include "tests/end_to_end/system_tools.h"

namespace qorx::test {
namespace {

constexpr std::uint32_t kEfiAddress = 0x1000;  // outside the area where a PC is searched
constexpr std::uint32_t kEfiTable = 0x2000;
constexpr std::size_t kMostThatIsLoaded = std::size_t{64} << 20;

// One port, and three places that name its slot differently: memory (on a PC), memory where the EFI system table says,
// and the kernel's copy.
class MemoryMachine : public FakeMachine {
 public:
  MemoryMachine() {
    add_port("eth0", "0000:03:00.0");
    smbios(named("from sysfs"));
    write("sys/firmware/efi/systab", "ACPI20=0x7affe014\nSMBIOS=0x1000\n");
    write("dev/mem", named("from systab").memory2(kEfiAddress, kEfiTable).substr(0, 0x3000));
  }

  static SmbiosTable named(const std::string& slot) { return SmbiosTable().slot(slot, "03:00.0"); }

  // Puts nothing into memory but this entry point.
  void set_entry_point(const std::string& entry) { write("dev/mem", std::string(kEfiAddress, '\0') + entry); }

  // A sparse recording that is larger than any table.
  void announce(std::size_t length) {
    set_entry_point(SmbiosTable().entry_point3(0, static_cast<std::uint32_t>(length)));
    std::filesystem::resize_file(root() / "dev/mem", std::uintmax_t{80} << 20);
  }

  // What -a says where the port is in this slot.
  static ToolRun listed(const std::string& slot) {
    const char* const panel = slot == "(!!)" ? "N/A" : "1 (*)";
    return said(
        table_of(table_line({"eth0", "03:00.0", false, "8086 1521", "8086 0001", "02:00:00:00:00:01", slot, panel})));
  }
};

class MemoryFaults : public FaultTest {
 protected:
  // With the fault in this place.
  void expect(const char* path, const std::string& slot) const {
    const Planted fault(machine_, machine_.root() / path, GetParam());
    EXPECT_EQ(run(machine_, {"-a"}), MemoryMachine::listed(slot));
    EXPECT_EQ(run(machine_, {"-sysinfo", "-ML", "2"}).status, 0);
  }

  MemoryMachine machine_;
};

TEST_P(MemoryFaults, WithoutMemoryTheKernelsCopyIsUsed) {
  expect("dev/mem", "from sysfs");
}

TEST_P(MemoryFaults, WithoutASystemTableTheKernelsCopyIsUsed) {
  expect("sys/firmware/efi/systab", "from sysfs");
}

TEST_P(MemoryFaults, WithoutAnySourceThereAreNoSlots) {
  machine_.remove("sys/firmware/dmi");
  expect("dev/mem", "(!!)");
}

TEST_P(MemoryFaults, ASystemTableThatNobodyNeeds) {
  machine_.write("dev/mem", MemoryMachine::named("from memory").memory2(0xF0010, 0xE0000));
  expect("sys/firmware/efi/systab", "from memory");
}

QORX_FAULTS(MemoryFaults, Fault::kPipe);

class Memory : public RunsHere {
 protected:
  void expect(const std::string& slot) const { EXPECT_EQ(run(machine_, {"-a"}), MemoryMachine::listed(slot)); }

  MemoryMachine machine_;
  const std::filesystem::path memory_ = machine_.root() / "dev/mem";
};

TEST_F(Memory, TheSystemTableLeadsToTheEntryPoint) {
  expect("from systab");
}

TEST_F(Memory, ReadOnlyMemoryWillDo) {
  using std::filesystem::perms;
  std::filesystem::permissions(memory_, perms::owner_read | perms::group_read | perms::others_read);
  as_ordinary_user_ = true;
  expect("from systab");
}

TEST_F(Memory, NothingIsEverWrittenToIt) {
  const std::string before = read_file(memory_);
  for (const Words& operation : every_operation()) {
    run(machine_, operation);
  }
  EXPECT_EQ(read_file(memory_), before);
}

// A character device that is not memory can be mapped, and gives anything or kills its reader.
TEST_F(Memory, AnotherDeviceIsNotMapped) {
  for (const char* const device : {"/dev/null", "/dev/full", "/dev/zero", "/dev/urandom", "/dev/tty"}) {
    SCOPED_TRACE(device);
    machine_.remove("dev/mem").make_link(device, "dev/mem");
    expect("from sysfs");
  }
}

// The device number of memory, where opening or mapping it is refused: as in a container, or with a locked-down kernel.
TEST_F(Memory, ADeviceThatRefuses) {
  std::filesystem::remove(memory_);
  QORX_SKIP_IF(mknod(memory_.c_str(), S_IFCHR | 0600, makedev(1, 1)) != 0, "devices can't be made here");
  if (FILE* const opened = std::fopen(memory_.c_str(), "r"); opened != nullptr) {
    std::fclose(opened);
    GTEST_SKIP() << "this machine's own memory can be read";
  }
  expect("from sysfs");
}

TEST_F(Memory, AnEntryPointBehindTheEndOfMemory) {
  for (const char* const address : {"0x7fffffffffff0000", "0xffffffffffffffff", "0x8000000000000000", "0x100000000"}) {
    SCOPED_TRACE(address);
    machine_.write("sys/firmware/efi/systab", std::string("SMBIOS3=") + address + "\n");
    expect("from sysfs");
  }
}

TEST_F(Memory, ATableBehindTheEndOfMemoryIsEmpty) {
  machine_.set_entry_point(MemoryMachine::named("x").entry_point3(std::uint64_t{1} << 40));
  expect("(!!)");
}

TEST_F(Memory, ATableOutsideOfAllAddresses) {
  for (const std::uint64_t address : {~std::uint64_t{0}, std::uint64_t{1} << 63, (std::uint64_t{1} << 63) - 1}) {
    SCOPED_TRACE(address);
    machine_.set_entry_point(MemoryMachine::named("x").entry_point3(address));
    expect("from sysfs");
  }
}

// A table of which only the last byte lies behind the limit is not found again in sysfs: what was loaded of it counts.
TEST_F(Memory, OfALargerTableTheFrontIsLoaded) {
  for (const std::size_t announced : {kMostThatIsLoaded + 1, std::size_t{0xFFFFFFFF}}) {
    machine_.announce(announced);
    expect("(!!)");
  }
}

TEST_F(Memory, MoreThanThereIsMemoryFor) {
  QORX_SKIP_IF(kSanitizedBuild, "the sanitizers need more address space than this");
  machine_.announce(kMostThatIsLoaded - 1);
  EXPECT_EQ(run_replay(machine_.root(), machine_.work(), {"-a"},
                       [] {
                         limit_time(10);
                         const rlimit space{kMostThatIsLoaded, kMostThatIsLoaded};
                         setrlimit(RLIMIT_AS, &space);
                       }),
            said("Error: QORX_ERR_OPEN_FILE (0x80)\n", 128));
}

}  // namespace
}  // namespace qorx::test
