// /dev/mem and the EFI system table: which source of slot records a fault leaves.
#include <gtest/gtest.h>
#include <sys/sysmacros.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/end_to_end/faults.h"
#include "tests/end_to_end/system_tools.h"

namespace qorx::test {
namespace {

// One port, and three places that name its slot differently: memory (on a PC), memory where the EFI system table says,
// and the kernel's copy.
class MemoryMachine : public FakeMachine {
 public:
  static constexpr std::uint32_t kEfiAddress = 0x1000;
  static constexpr std::uint32_t kEfiTable = 0x2000;

  MemoryMachine() {
    add_port("eth0", "0000:03:00.0");
    smbios(SmbiosTable().slot("from sysfs", "03:00.0"));
    write("sys/firmware/efi/systab", "ACPI20=0x7affe014\nSMBIOS=0x1000\n");
    write("dev/mem", efi_memory());
  }

  // The entry point lies outside the area where a PC is searched.
  static std::string efi_memory() {
    return SmbiosTable().slot("from systab", "03:00.0").memory2(kEfiAddress, kEfiTable).substr(0, 0x3000);
  }

  static std::string table(const std::string& slot) {
    const bool has_slot = slot != "(!!)";
    return table_of(table_line({.eth_name = "eth0",
                                .address = "03:00.0",
                                .ids = "8086 1521",
                                .subsystem_ids = "8086 0001",
                                .mac = "02:00:00:00:00:01",
                                .slot = slot,
                                .panel = has_slot ? "1 (*)" : "N/A"}));
  }
};

class MemoryFaults : public RunsHere, public testing::WithParamInterface<Fault> {
 protected:
  void SetUp() override {
    RunsHere::SetUp();
    as_ordinary_user_ = GetParam() == Fault::kUnreadable;  // root reads everything
  }

  static void expect(const MemoryMachine& machine, const std::string& slot) {
    const ToolRun result = run(machine, {"-a"});
    EXPECT_EQ(result.output, MemoryMachine::table(slot));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(run(machine, {"-sysinfo", "-ML", "2"}).status, 0);
  }
};

TEST_P(MemoryFaults, WithoutMemoryTheKernelsCopyIsUsed) {
  const MemoryMachine machine;
  const Planted fault(machine, machine.root() / "dev/mem", GetParam());
  expect(machine, "from sysfs");
}

TEST_P(MemoryFaults, WithoutASystemTableTheKernelsCopyIsUsed) {
  const MemoryMachine machine;
  const Planted fault(machine, machine.root() / "sys/firmware/efi/systab", GetParam());
  expect(machine, "from sysfs");
}

TEST_P(MemoryFaults, WithoutAnySourceThereAreNoSlots) {
  MemoryMachine machine;
  machine.remove("sys/firmware/dmi");
  const Planted fault(machine, machine.root() / "dev/mem", GetParam());
  expect(machine, "(!!)");
}

#if defined(__x86_64__) || defined(__i386__)
TEST_P(MemoryFaults, ASystemTableThatNobodyNeeds) {
  MemoryMachine machine;
  machine.write("dev/mem", SmbiosTable().slot("from memory", "03:00.0").memory2(0xF0010, 0xE0000));
  const Planted fault(machine, machine.root() / "sys/firmware/efi/systab", GetParam());
  expect(machine, "from memory");
}
#endif

INSTANTIATE_TEST_SUITE_P(Machine, MemoryFaults,
                         testing::Values(Fault::kMissing, Fault::kLoop, Fault::kNowhere, Fault::kUnreadable,
                                         Fault::kDirectory, Fault::kEmpty, Fault::kEndless, Fault::kReadError,
                                         Fault::kPipe),
                         [](const auto& fault) { return name_of(fault.param); });

class Memory : public RunsHere {
 protected:
  std::string slot_table() { return run(machine_, {"-a"}).output; }

  MemoryMachine machine_;
};

TEST_F(Memory, TheSystemTableLeadsToTheEntryPoint) {
  EXPECT_EQ(slot_table(), MemoryMachine::table("from systab"));
}

TEST_F(Memory, ReadOnlyMemoryWillDo) {
  using std::filesystem::perms;
  std::filesystem::permissions(machine_.root() / "dev/mem", perms::owner_read | perms::group_read | perms::others_read);
  as_ordinary_user_ = true;
  EXPECT_EQ(slot_table(), MemoryMachine::table("from systab"));
}

TEST_F(Memory, NothingIsEverWrittenToIt) {
  const std::string before = read_file(machine_.root() / "dev/mem");
  for (const auto& operation : every_operation()) {
    run(machine_, operation);
  }
  EXPECT_EQ(read_file(machine_.root() / "dev/mem"), before);
}

// A character device that is not memory can be mapped, and gives anything or kills its reader.
TEST_F(Memory, AnotherDeviceIsNotMapped) {
  for (const char* const device : {"/dev/null", "/dev/full", "/dev/zero", "/dev/urandom", "/dev/tty"}) {
    SCOPED_TRACE(device);
    machine_.remove("dev/mem").make_link(device, "dev/mem");
    EXPECT_EQ(slot_table(), MemoryMachine::table("from sysfs"));
  }
}

// The device number of memory, where opening or mapping it is refused: as in a container, or with a locked-down kernel.
TEST_F(Memory, ADeviceThatRefuses) {
  const auto memory = machine_.root() / "dev/mem";
  std::filesystem::remove(memory);
  if (mknod(memory.c_str(), S_IFCHR | 0600, makedev(1, 1)) != 0) {
    GTEST_SKIP() << "devices can't be made here";
  }
  if (access(memory.c_str(), R_OK) == 0) {
    if (FILE* const opened = std::fopen(memory.c_str(), "r"); opened != nullptr) {
      std::fclose(opened);
      GTEST_SKIP() << "this machine's own memory can be read";
    }
  }
  EXPECT_EQ(slot_table(), MemoryMachine::table("from sysfs"));
}

TEST_F(Memory, AnEntryPointBehindTheEndOfMemory) {
  for (const char* const address : {"0x7fffffffffff0000", "0xffffffffffffffff", "0x8000000000000000", "0x100000000"}) {
    SCOPED_TRACE(address);
    machine_.write("sys/firmware/efi/systab", std::string("SMBIOS3=") + address + "\n");
    EXPECT_EQ(slot_table(), MemoryMachine::table("from sysfs"));
  }
}

TEST_F(Memory, ATableBehindTheEndOfMemoryIsEmpty) {
  const std::string entry = SmbiosTable().slot("x", "03:00.0").entry_point3(std::uint64_t{1} << 40);
  machine_.write("dev/mem", std::string(MemoryMachine::kEfiAddress, '\0') + entry);
  EXPECT_EQ(slot_table(), MemoryMachine::table("(!!)"));
}

TEST_F(Memory, ATableOutsideOfAllAddresses) {
  for (const std::uint64_t address : {~std::uint64_t{0}, std::uint64_t{1} << 63, (std::uint64_t{1} << 63) - 1}) {
    SCOPED_TRACE(address);
    const std::string entry = SmbiosTable().slot("x", "03:00.0").entry_point3(address);
    machine_.write("dev/mem", std::string(MemoryMachine::kEfiAddress, '\0') + entry);
    EXPECT_EQ(slot_table(), MemoryMachine::table("from sysfs"));
  }
}

// A sparse recording, larger than any table: more is announced than may be loaded, or than there is memory for.
TEST_F(Memory, MoreThanMayBeLoaded) {
  const std::string entry = SmbiosTable().entry_point3(0, (std::uint32_t{64} << 20) + 1);
  machine_.write("dev/mem", std::string(MemoryMachine::kEfiAddress, '\0') + entry);
  std::filesystem::resize_file(machine_.root() / "dev/mem", std::uintmax_t{80} << 20);
  EXPECT_EQ(slot_table(), MemoryMachine::table("from sysfs"));
}

TEST_F(Memory, MoreThanThereIsMemoryFor) {
  if (kSanitizedBuild) {
    GTEST_SKIP() << "the sanitizers need more address space than this";
  }
  const std::string entry = SmbiosTable().entry_point3(0, (std::uint32_t{64} << 20) - 1);
  machine_.write("dev/mem", std::string(MemoryMachine::kEfiAddress, '\0') + entry);
  std::filesystem::resize_file(machine_.root() / "dev/mem", std::uintmax_t{80} << 20);
  const ToolRun result = run_replay(machine_.root(), machine_.work(), {"-a"}, [] {
    limit_time(10);
    const rlimit space{std::size_t{64} << 20, std::size_t{64} << 20};
    setrlimit(RLIMIT_AS, &space);
  });
  EXPECT_EQ(result.output, MemoryMachine::table("from sysfs"));
  EXPECT_EQ(result.status, 0);
}

}  // namespace
}  // namespace qorx::test
