// What is read when a call fails that hardly ever does: no memory, a file that can't be looked at, a signal in between.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "base/line_reader.h"
#include "base/shortage.h"
#include "base/system_root.h"
#include "cli/command_line.h"
#include "discovery/bypass_descriptor.h"
#include "discovery/topology.h"
#include "ident/i2c_adapters.h"
#include "output/virtual_interfaces.h"
#include "smbios/file_image.h"
#include "tests/faults/failing_calls.h"
#include "tests/support/expect.h"

namespace qorx::test {
namespace {

TEST_F(FailingCalls, MemoryThatCantBeHeldIsNotMappedAndThatIsALack) {
  for (const std::string_view name : {"mmap", "fstat"}) {
    const FailingCall call(name, ENOMEM);
    EXPECT_FALSE(map_system_memory(0, 16).is_mapped()) << name;
    EXPECT_TRUE(take_shortage()) << name;
  }
  EXPECT_TRUE(map_system_memory(0, 16).is_mapped());
  EXPECT_FALSE(take_shortage());
}

// Pages of this process.
long pages() {
  std::ifstream statistics("/proc/self/statm");
  long size = 0;
  statistics >> size;
  return size;
}

TEST_F(FailingCalls, MemoryThatCantBeReadIsNotMappedAndGivenBack) {
  std::filesystem::resize_file(machine_.root() / "dev/mem", std::uintmax_t{64} << 20);
  const long before = pages();
  const FailingCall call("pread", EIO);
  EXPECT_FALSE(map_system_memory(0, std::uint64_t{64} << 20).is_mapped());
  EXPECT_FALSE(take_shortage());
  EXPECT_LT(pages() - before, 4000);
}

TEST_F(FailingCalls, WhatASignalInterruptsIsDoneAgain) {
  std::array<std::uint8_t, 8> bytes{};
  std::array<char, 8> text{};
  for (const std::string_view name : {"openat", "read", "pread"}) {
    const FailingCall call(name, EINTR);
    const SystemFile file = open_system_file("/sys/file");
    EXPECT_EQ(name == "pread" ? file.read_at(0, bytes) : file.read(text), 4) << name;
    EXPECT_TRUE(FailingCall::has_failed()) << name;
  }
}

// A stream that a signal interrupts before each of its two pieces.
FilePtr interrupted_stream(int& reads) {
  const auto read = [](void* count, char* bytes, std::size_t /*size*/) -> ssize_t {
    const int number = ++*static_cast<int*>(count);
    if (number % 2 == 1) {
      errno = EINTR;
      return number < 5 ? -1 : 0;
    }
    *bytes = number == 2 ? 'a' : 'b';
    return 1;
  };
  return FilePtr(fopencookie(&reads, "r", {read, nullptr, nullptr, nullptr}));
}

TEST_F(FailingCalls, ASignalDoesNotEndATextOrATable) {
  int reads = 0;
  LineReader lines(interrupted_stream(reads));
  EXPECT_TRUE(lines.read());
  EXPECT_STREQ(lines.text(), "ab");
  EXPECT_FALSE(lines.failed());
  for (const int number : {1, 2}) {
    const FailingCall call("read", EINTR, number);
    EXPECT_EQ(File_map("/sys/file", FileOrigin::kSystem, 16).bytes().size(), 4U) << number;
    EXPECT_TRUE(FailingCall::has_failed()) << number;
  }
}

TEST_F(FailingCalls, ATableThatCantBeReadToItsEndIsNotLoaded) {
  for (const int number : {1, 2}) {
    const FailingCall call("read", EIO, number);
    EXPECT_FALSE(File_map("/sys/file", FileOrigin::kSystem, 16).is_loaded()) << number;
    EXPECT_TRUE(FailingCall::has_failed()) << number;
  }
  EXPECT_FALSE(take_shortage());
}

TEST_F(FailingCalls, AReadThatFailsBehindTheFirstBytesIsShort) {
  std::array<std::uint8_t, 8> bytes{};
  const SystemFile file = open_system_file("/sys/file");
  const FailingCall call("pread", EIO, 2);
  EXPECT_EQ(file.read_at(0, bytes), 4);
  EXPECT_TRUE(FailingCall::has_failed());
}

TEST_F(FailingCalls, ASystemWithoutDescriptorsIsAskedAgainWithoutTheKeptFolders) {
  const KeptFolder kept("/sys/class");
  const KeptFolder missing("/sys/missing");
  const FailingCall call("openat", ENFILE);
  EXPECT_TRUE(open_system_file("/sys/file").is_open());
  EXPECT_LT(kept.descriptor(), 0);
}

TEST_F(FailingCalls, AKeptFolderIsGivenUpAlsoBehindOneThatIsNotThere) {
  const KeptFolder missing("/sys/missing");
  const KeptFolder kept("/sys/class");
  const FailingCall call("openat", EMFILE);
  EXPECT_TRUE(open_system_file("/sys/file").is_open());
  EXPECT_LT(kept.descriptor(), 0);
}

TEST_F(FailingCalls, ABridgeThatCantBeListedIsAMissingSwitch) {
  machine_.make_directory("sys/devices/pci0000:00/0000:00:01.0");
  PciAddress address{0, 1, 0};
  char path[QORX_NAME_SIZE] = "";
  const FailingCall call("readdir", EIO);
  EXPECT_EQ(outcome_of([&] { return get_pcie_switch_bus(address, path); }),
            (Outcome{"Can't find PCIe switch, please check the config file!\n", 0x81}));
}

constexpr const char* kNoAdapters = "Error: Cannot access /sys/class/i2c-adapter\n";

// The one that is looked for may be the one that can't be read.
TEST_F(FailingCalls, AdaptersThatCantBeReadAreAnErrorOfEachSearch) {
  machine_.add_i2c_adapter(3, "SMBus I801 adapter");
  for (const std::string_view name : {"read", "readdir"}) {
    I2cAdapters adapters;
    std::uint32_t port = 7;
    const FailingCall call(name, EIO);
    for (int search = 0; search < 2; ++search) {
      EXPECT_EQ(outcome_of([&] { return get_x86_i2c_port_number(adapters, &port, "x"); }), (Outcome{kNoAdapters, 0x98}))
          << name;
    }
    EXPECT_EQ(port, 7U);
  }
}

// The host's adapter is whichever is listed first; the channel is looked for among the rest.
TEST_F(FailingCalls, AnAdapterThatCantBeReadBehindTheHostsEndsTheDescriptor) {
  machine_.add_i2c_adapter(3, "SMBus I801 adapter").add_i2c_adapter(4, "SMBus I801 adapter");
  DeviceRecord& record = add_device("eth0", "LAN 1 (H.3.1.2)", 9);
  I2cAdapters adapters;
  const FailingCall call("read", EIO, 2);
  EXPECT_EQ(outcome_of([&] { return parse_bypass_descriptor(adapters, record); }), (Outcome{kNoAdapters, 0x98}));
  EXPECT_TRUE(FailingCall::has_failed());
  EXPECT_EQ(record.bypass_switch1, 1);
  EXPECT_EQ(record.bypass_switch2, 2);
}

TEST_F(FailingCalls, ALinkThatMemoryIsMissingForIsALack) {
  machine_.make_link("target", "sys/link");
  std::array<char, 8> text{};
  const FailingCall call("readlinkat", ENOMEM);
  EXPECT_EQ(read_system_link("/sys/link", text), -1);
  EXPECT_TRUE(take_shortage());
}

TEST_F(FailingCalls, AnInterfaceThatMemoryIsMissingForEndsTheTable) {
  machine_.add_virtual("br0", "02:00:00:00:00:01");
  const FailingCall call("readlinkat", ENOMEM);
  EXPECT_EQ(outcome_of([] { return get_all_virtual_eth_devices_info(nullptr, stdout); }), (Outcome{"", 0x80}));
}

TEST_F(FailingCalls, AnAddressThatMemoryIsMissingForEndsTheTable) {
  machine_.add_virtual("br0", "02:00:00:00:00:01");
  ASSERT_EQ(qorx_open(), 0);
  const FailingCall call("openat", ENOMEM);
  EXPECT_EQ(outcome_of([] { return get_all_virtual_eth_devices_info(nullptr, stdout); }).code, 0x80);
  EXPECT_TRUE(FailingCall::has_failed());
}

TEST_F(FailingCalls, AMemoryThatCantBeLookedAtIsNoRecordedOne) {
  const FailingCall call("fstat", EIO);
  EXPECT_FALSE(is_memory_recorded());
}

TEST_F(FailingCalls, TextWithoutAStreamIsNotOpen) {
  for (const std::string_view name : {"fdopen", "fstat"}) {
    const FailingCall call(name, ENOMEM);
    EXPECT_EQ(open_system_text("/sys/file"), nullptr) << name;
    EXPECT_TRUE(take_shortage()) << name;
  }
}

TEST_F(FailingCalls, AFileOfTheUserThatCantBeLookedAtIsNotOpen) {
  const std::string file = machine_.user_file("F", "text");
  const FailingCall call("fstat", EIO);
  EXPECT_EQ(open_text_file(file.c_str()), nullptr);
}

TEST_F(FailingCalls, ATableWithoutMemoryForItIsNotLoaded) {
  const std::string file = machine_.user_file("F", "text");
  const std::string trace = traced_by([&file] {
    const FailingCall call("malloc", ENOMEM);
    EXPECT_FALSE(File_map(file.c_str(), FileOrigin::kUser, 16).is_loaded());
  });
  EXPECT_EQ(trace, "4Can't get " + file + "\n");
  EXPECT_TRUE(take_shortage());
}

TEST_F(FailingCalls, TheTablesAreZeroAlsoWhereTheSystemKeepsThePages) {
  add_device("eth0", "LAN 1", 9);
  add_slot("LAN 1");
  qorx_eth_device_mapping[QORX_MAX_RECORDS - 1].bus = 7;
  for (const int number : {1, 2}) {
    qorx_eth_device_mapping[QORX_MAX_RECORDS / 2].bus = 7;
    qorx_smbios_t9_t41_mapping[QORX_MAX_RECORDS / 2].bus = 7;
    const FailingCall call("madvise", EINVAL, number);
    EXPECT_EQ(clear_tables(), 0);
    EXPECT_TRUE(FailingCall::has_failed());
    EXPECT_EQ(qorx_eth_device_mapping[QORX_MAX_RECORDS / 2].bus, 0);
    EXPECT_EQ(qorx_smbios_t9_t41_mapping[QORX_MAX_RECORDS / 2].bus, 0);
  }
  EXPECT_STREQ(qorx_eth_device_mapping[0].eth_name, "");
  EXPECT_EQ(qorx_eth_device_mapping[QORX_MAX_RECORDS - 1].bus, 0);
}

TEST_F(FailingCalls, VersionsThatCantBeHadAreAnError) {
  const std::array words{"qorx", "-V"};
  const FailingCall call("qorx_get_lib_version", 0);
  EXPECT_EQ(outcome_of([&] { return run_command_line(words.size(), words.data()); }),
            (Outcome{"Error: get version fail\nError: QORX_ERR_NIC_NOT_EXIST (0x99)\n", 0x99}));
}

}  // namespace
}  // namespace qorx::test
