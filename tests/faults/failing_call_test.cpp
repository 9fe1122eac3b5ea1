// What is left when a call fails that hardly ever does: no memory, a file that can't be looked at, a signal in between.
#include "tests/faults/failing_call.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

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
#include "cli/standard_output.h"
#include "discovery/bypass_descriptor.h"
#include "discovery/topology.h"
#include "ident/i2c_adapters.h"
#include "output/output_file.h"
#include "output/virtual_interfaces.h"
#include "smbios/file_image.h"
#include "tests/support/expect.h"
#include "tests/support/fixture.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

class FailingCalls : public MachineTest {
 protected:
  FailingCalls() {
    static_cast<void>(take_shortage());
    machine_.write("sys/file", "text").write("dev/mem", "memory");
  }
  ~FailingCalls() override { EXPECT_EQ(next_descriptor(), first_descriptor_); }

  static int next_descriptor() {
    const int descriptor = dup(STDIN_FILENO);
    close(descriptor);
    return descriptor;
  }

 private:
  const int first_descriptor_ = next_descriptor();
};

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

TEST_F(FailingCalls, OutputThatIsLostWhenItsFileIsClosedIsAnError) {
  const FailingCall call("close", EIO);
  EXPECT_EQ(finish_standard_output(), QORX_ERR_CLOSE_FILE);
}

TEST_F(FailingCalls, OutputIsFineWhereNoDescriptorIsLeftToAskWith) {
  rlimit before{};
  getrlimit(RLIMIT_NOFILE, &before);
  const rlimit none{static_cast<rlim_t>(next_descriptor()), before.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  const int descriptor = dup(STDOUT_FILENO);
  const std::int32_t code = finish_standard_output();
  setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_EQ(descriptor, -1);
  EXPECT_EQ(code, 0);
}

TEST_F(FailingCalls, OutputThatWasLostEarlierIsAnErrorAtTheEnd) {
  std::fflush(stdout);
  const int saved = dup(STDOUT_FILENO);
  const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
  dup2(full, STDOUT_FILENO);
  close(full);
  std::printf("lost\n");
  const bool is_lost = std::fflush(stdout) != 0;
  dup2(saved, STDOUT_FILENO);
  close(saved);
  const std::int32_t code = finish_standard_output();
  std::clearerr(stdout);
  EXPECT_TRUE(is_lost);
  EXPECT_EQ(code, QORX_ERR_CLOSE_FILE);
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
  const FailingCall call("malloc", ENOMEM);
  EXPECT_FALSE(File_map(file.c_str(), FileOrigin::kUser, 16).is_loaded());
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

// A file that stands there before the run, and the call that fails while it is replaced.
struct Write {
  std::string_view rule;
  std::string_view call;
  int error;
  int code;               // of the run
  std::string_view left;  // in the file
};

class WritingAFile : public RowTest<Write, FailingCalls> {};

TEST_P(WritingAFile, IsCompleteOrAnError) {
  const std::string path = machine_.user_file("file", "old and longer");
  const FailingCall call(row().call, row().error);
  OutputFile file;
  if (file.is_open()) {
    std::fputs("new", file.stream());
  }
  EXPECT_EQ(file.write_to(path.c_str()), row().code);
  EXPECT_TRUE(FailingCall::has_failed());
  EXPECT_EQ(read_file(path), row().left);
}

QORX_ROWS(WritingAFile,
          Write{"without a stream the file keeps its text", "fopencookie", ENOMEM, QORX_ERR_OPEN_FILE,
                "old and longer"},
          Write{"without memory for the text it keeps its text", "realloc", ENOMEM, QORX_ERR_OPEN_FILE,
                "old and longer"},
          Write{"a file that can't be opened keeps its text", "open", EACCES, QORX_ERR_OPEN_FILE, "old and longer"},
          Write{"an interrupted open is made again", "open", EINTR, 0, "new"},
          Write{"an interrupted write is made again", "write", EINTR, 0, "new"},
          Write{"a write that fails is an error", "write", EIO, QORX_ERR_CLOSE_FILE, ""},
          Write{"a write that writes nothing is an error", "write", 0, QORX_ERR_CLOSE_FILE, ""},
          Write{"a file that can't be looked at is not cut", "fstat", EIO, QORX_ERR_CLOSE_FILE, "new and longer"},
          Write{"an interrupted cut is made again", "ftruncate", EINTR, 0, "new"},
          Write{"a cut that fails is an error", "ftruncate", EIO, QORX_ERR_CLOSE_FILE, "new and longer"},
          Write{"what shows when the file is closed is an error", "close", EIO, QORX_ERR_CLOSE_FILE, "new"},
          Write{"an interrupted close has closed the file", "close", EINTR, 0, "new"});

// The end of the text finds memory again; its front is lost.
TEST_F(FailingCalls, ATextThatOnceFoundNoMemoryIsNotWritten) {
  const std::string path = machine_.user_file("file", "old");
  OutputFile file;
  {
    const FailingCall call("realloc", ENOMEM);
    std::fputs(std::string(100000, 'x').c_str(), file.stream());
    ASSERT_TRUE(FailingCall::has_failed());
  }
  std::fputs("end", file.stream());
  EXPECT_EQ(file.write_to(path.c_str()), QORX_ERR_OPEN_FILE);
  EXPECT_EQ(read_file(path), "old");
}

// The two operations that write a file, without memory for its stream.
TEST_F(FailingCalls, AResultFileWithoutAStreamIsNotWritten) {
  ASSERT_EQ(qorx_open(), 0);
  const std::string path = machine_.user_file("file", "old");
  for (const auto& write : {+[](const char* file) { return qorx_fprint_scan_result(file); },
                            +[](const char*) { return qorx_output_tovix_cfg(); }}) {
    const FailingCall call("fopencookie", ENOMEM);
    EXPECT_EQ(outcome_of([&] { return write(path.c_str()); }), (Outcome{"", 0x80}));
    EXPECT_EQ(read_file(path), "old");
  }
}

}  // namespace
}  // namespace qorx::test
