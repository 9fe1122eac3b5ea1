// Few resources: a machine of the largest size with little of each, and what the smallest amounts do.
#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "tests/end_to_end/faults.h"
#include "tests/end_to_end/system_tools.h"

namespace qorx::test {
namespace {

using Words = std::vector<std::string>;
using Resource = decltype(RLIMIT_NOFILE);

// As many ports and slots as there are records, every second port behind a bridge of its own, all with an I2C bypass.
class LargeMachine : public FakeMachine {
 public:
  LargeMachine() {
    SmbiosTable slots;
    for (int i = 0; i < 512; ++i) {
      const std::string number = std::to_string(i);
      const std::string address = hexadecimal(1 + i % 250) + ":" + hexadecimal(i / 250) + ".0";
      const std::string function = "0000:" + address;
      add_port("eth" + number, (i % 2 == 0 ? "0000:00:1c.0/" : "") + function, {0x8086, 0x1521, 0x13FE, 0x205D});
      slots.slot("Slot " + number + " (H.1.2.255)", address);
    }
    smbios(slots);
    add_i2c_adapter(1, "SMBus I801 adapter at efa0").add_i2c_adapter(2, "i2c-1-mux (chan_id 2)");
    add_usb_port("eth512", "0000:00:14.0/usb2/2-1/2-1:1.0", "bda/8153/3000");
    user_file("qorx.cfg", "SLOT_NAME=\"Slot 0 (H.1.2.255)\"\nFUNCTION/NAME/FEATURE=\"0/first/A_BYPASS_I2C\"\n");
    user_file("wmx_name.cfg", "WMX-2848 A_BYPASS\n");
    user_file("smbios.cfg", "TYPE=\"9\"\nNAME=\"One\"\nBUS:DEV.FUN=\"01:00.0\"\n");
  }

  static const LargeMachine& instance() {
    static const LargeMachine machine;
    return machine;
  }

 private:
  static std::string hexadecimal(int number) {
    char text[3];
    std::snprintf(text, sizeof text, "%02x", number & 0xFF);
    return text;
  }
};

std::vector<Words> operations() {
  return {{"-a"},
          {"-d", "eth77"},
          {"-f", "A_BYPASS_I2C"},
          {"-p", "05:00.0"},
          {"-o", "result"},
          {"-tovix.cfg"},
          {"-sysinfo"},
          {"-support"},
          {"-a", "-config", "qorx.cfg", "-sort_slotname"},
          {"-a", "-smbios_cfg", "smbios.cfg"},
          {"-a", "-legacy", "-sys_WMX_cfg", "wmx_name.cfg"}};
}

ToolRun run_limited(const FakeMachine& machine, const Words& words, Resource resource, rlim_t amount) {
  return run_replay(machine.root(), machine.work(), words, [resource, amount] {
    limit_time(20);
    closefrom(STDERR_FILENO + 1);  // what the test itself has inherited must not count
    const rlimit limit{amount, amount};
    setrlimit(resource, &limit);
  });
}

// The limited run says and writes the same as the free one.
void expect_no_difference(const FakeMachine& machine, Resource resource, rlim_t amount) {
  for (const Words& words : operations()) {
    SCOPED_TRACE(testing::PrintToString(words));
    for (const char* const file : {"result", "tovix.cfg"}) {
      std::filesystem::remove(machine.work() / file);
    }
    const ToolRun free_run = machine.run(words);
    ASSERT_EQ(free_run.status, 0);
    const std::string result = read_file(machine.work() / "result");
    const std::string tovix = read_file(machine.work() / "tovix.cfg");
    const ToolRun limited = run_limited(machine, words, resource, amount);
    EXPECT_EQ(limited.output, free_run.output);
    EXPECT_EQ(limited.errors, "");
    EXPECT_EQ(limited.status, 0);
    EXPECT_EQ(read_file(machine.work() / "result"), result);
    EXPECT_EQ(read_file(machine.work() / "tovix.cfg"), tovix);
  }
}

TEST(Limits, SixteenDescriptorsAreEnoughForALargeMachine) {
  expect_no_difference(LargeMachine::instance(), RLIMIT_NOFILE, 16);
}

// Three standard ones, a file that is written or read, a directory in which another is listed, a file in that.
TEST(Limits, SixDescriptorsAreEnough) {
  const FaultMachine machine;
  for (const Words& words : operations()) {
    SCOPED_TRACE(testing::PrintToString(words));
    const ToolRun free_run = machine.run(words);
    const ToolRun limited = run_limited(machine, words, RLIMIT_NOFILE, 6);
    EXPECT_EQ(limited.output, free_run.output);
    EXPECT_EQ(limited.status, free_run.status);
  }
}

// What can't be opened counts as missing.
TEST(Limits, WithoutADescriptorForFilesOnlyTheLinksTell) {
  const FaultMachine machine;
  Rows rows;
  lose_identities(rows);
  rows["br0"].mac = "N/A";
  const ToolRun run = run_limited(machine, {"-a"}, RLIMIT_NOFILE, 4);
  EXPECT_EQ(run.output, rows.table());
  EXPECT_EQ(run.status, 0);
}

TEST(Limits, SixtyFourMegabytesOfAddressesAreEnoughForALargeMachine) {
  if (kSanitizedBuild) {
    GTEST_SKIP() << "the sanitizers need more address space than this";
  }
  expect_no_difference(LargeMachine::instance(), RLIMIT_AS, std::size_t{64} << 20);
}

TEST(Limits, EightMegabytesOfAddressesAreEnough) {
  if (kSanitizedBuild) {
    GTEST_SKIP() << "the sanitizers need more address space than this";
  }
  const FaultMachine machine;
  for (const Words& words : operations()) {
    SCOPED_TRACE(testing::PrintToString(words));
    const ToolRun free_run = machine.run(words);
    const ToolRun limited = run_limited(machine, words, RLIMIT_AS, std::size_t{8} << 20);
    EXPECT_EQ(limited.output, free_run.output);
    EXPECT_EQ(limited.status, free_run.status);
  }
}

TEST(Limits, ASmallStackIsEnough) {
  expect_no_difference(LargeMachine::instance(), RLIMIT_STACK, std::size_t{256} << 10);
}

using Descriptors = RunsHere;

// run() itself counts them.
TEST_F(Descriptors, NoneIsLeftOpenByAnyOperation) {
  FaultMachine machine;
  for (Words words : every_operation()) {
    EXPECT_EQ(run(machine, words).status, 0);
    words.insert(words.end(), {"-config", "qorx.cfg"});
    EXPECT_EQ(run(machine, words).status, 0);
  }
  for (const Words& words : {Words{"-a", "-smbios_cfg", "smbios.cfg"}, Words{"-a", "-vm"}, Words{"-x"}, Words{}}) {
    run(machine, words);
  }
}

TEST_F(Descriptors, NoneIsLeftOpenByTheCallsOfTheLibrary) {
  const FaultMachine machine;
  machine.use();
  std::filesystem::current_path(machine.work());
  reset_library();
  const std::size_t before = open_descriptors();
  const std::vector<std::function<std::int32_t()>> calls{
      qorx_open,
      [] { return qorx_print_scan_result(nullptr, nullptr, nullptr); },
      [] { return qorx_print_scan_result("eth0", nullptr, nullptr); },
      [] { return qorx_print_scan_result(nullptr, "POE", nullptr); },
      [] { return qorx_print_scan_result(nullptr, nullptr, "03:00.0"); },
      [] { return qorx_fprint_scan_result("result"); },
      qorx_output_tovix_cfg,
      qorx_print_system_info,
      qorx_print_supported_WMX,
      qorx_close,
  };
  for (std::size_t i = 0; i < calls.size(); ++i) {
    std::int32_t code = -1;
    printed_by([&] { code = calls[i](); });
    EXPECT_EQ(code, 0) << i;
    EXPECT_EQ(open_descriptors(), before) << i;
  }
}

}  // namespace
}  // namespace qorx::test
