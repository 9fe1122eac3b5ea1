// Few resources: a machine of the largest size with little of each, and what the smallest amounts do.
#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "tests/end_to_end/faults.h"
#include "tests/end_to_end/system_tools.h"
#include "tests/support/expect.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

using Resource = decltype(RLIMIT_NOFILE);

// As many ports and slots as there are records, every second port behind a bridge of its own, all with an I2C bypass.
class LargeMachine : public FakeMachine {
 public:
  LargeMachine() {
    SmbiosTable slots;
    for (int i = 0; i < 512; ++i) {
      const std::string number = std::to_string(i);
      char address[8];
      std::snprintf(address, sizeof address, "%02x:%02x.0", 1 + i % 250, i / 250);
      const std::string function = std::string("0000:") + address;
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

struct Limit {
  std::string_view rule;
  bool is_large;  // the machine
  Resource resource;
  rlim_t amount;
};

class Limits : public RowTest<Limit> {
 protected:
  // What a run says and writes.
  static Texts outcome(const FakeMachine& machine, const std::function<ToolRun()>& run) {
    Texts texts{testing::PrintToString(run())};
    for (const char* const file : {"result", "tovix.cfg"}) {
      texts.push_back(read_file(machine.work() / file));
      std::filesystem::remove(machine.work() / file);
    }
    return texts;
  }

  static const FakeMachine& machine() {
    static const LargeMachine large;
    static const FaultMachine small;
    return row().is_large ? static_cast<const FakeMachine&>(large) : small;
  }
};

// The limited run says and writes the same as the free one.
TEST_P(Limits, AreEnough) {
  if (kSanitizedBuild && row().resource == RLIMIT_AS) {
    GTEST_SKIP() << "the sanitizers need more address space than this";
  }
  for (const Words& words : operations()) {
    SCOPED_TRACE(testing::PrintToString(words));
    const Texts free_run = outcome(machine(), [&] { return machine().run(words); });
    EXPECT_EQ(outcome(machine(), [&] { return run_limited(machine(), words, row().resource, row().amount); }),
              free_run);
    EXPECT_NE(free_run, (Texts{testing::PrintToString(said("")), "", ""}));
  }
}

QORX_ROWS(Limits, Limit{"sixteen descriptors for a large machine", true, RLIMIT_NOFILE, 16},
          // Three standard ones, a file that is written or read, a directory in which another is listed, a file in it.
          Limit{"six descriptors", false, RLIMIT_NOFILE, 6},
          Limit{"64 megabytes of addresses for a large machine", true, RLIMIT_AS, std::size_t{64} << 20},
          Limit{"eight megabytes of addresses", false, RLIMIT_AS, std::size_t{8} << 20},
          Limit{"a small stack for a large machine", true, RLIMIT_STACK, std::size_t{256} << 10});

// A lack of descriptors never makes another result: the run says and writes the same, or it fails and leaves the file
// that was there alone.
TEST(FewDescriptors, GiveTheSameResultOrNone) {
  FaultMachine machine;
  const auto outcome = [&](const Words& words, rlim_t descriptors) {
    machine.user_file("result", "old");
    machine.user_file("tovix.cfg", "old");
    const ToolRun run = descriptors == 0 ? machine.run(words) : run_limited(machine, words, RLIMIT_NOFILE, descriptors);
    return std::pair(run,
                     Texts{run.output, read_file(machine.work() / "result"), read_file(machine.work() / "tovix.cfg")});
  };
  for (const Words& words : every_operation()) {
    for (const Words& options : {Words{}, Words{"-config", "qorx.cfg"}, Words{"-smbios_cfg", "smbios.cfg"}}) {
      const Words all = joined(words, options);
      SCOPED_TRACE(testing::PrintToString(all));
      const auto [free_run, free_texts] = outcome(all, 0);
      // With three the C library can't be loaded.
      for (rlim_t descriptors = 4; descriptors <= 12; ++descriptors) {
        const auto [run, texts] = outcome(all, descriptors);
        if (run.status == 0) {
          EXPECT_EQ(texts, free_texts) << descriptors;
        } else {
          EXPECT_EQ(run.status, 128) << descriptors;
          EXPECT_TRUE(run.output.ends_with("Error: QORX_ERR_OPEN_FILE (0x80)\n")) << descriptors;
          EXPECT_EQ(texts[1] + texts[2], "oldold") << descriptors;
        }
      }
    }
  }
}

class Descriptors : public RunsHere {
 protected:
  const FaultMachine machine_;
};

// run() itself counts them.
TEST_F(Descriptors, NoneIsLeftOpenByAnyOperation) {
  for (const Words& words : every_operation()) {
    EXPECT_EQ(run(machine_, words).status, 0);
    EXPECT_EQ(run(machine_, joined(words, {"-config", "qorx.cfg"})).status, 0);
  }
  for (const Words& words : {Words{"-a", "-smbios_cfg", "smbios.cfg"}, Words{"-a", "-vm"}, Words{"-x"}, Words{}}) {
    run(machine_, words);
  }
}

TEST_F(Descriptors, NoneIsLeftOpenByTheCallsOfTheLibrary) {
  machine_.use();
  std::filesystem::current_path(machine_.work());
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
    EXPECT_EQ(outcome_of(calls[i]).code, 0) << i;
    EXPECT_EQ(open_descriptors(), before) << i;
  }
}

}  // namespace
}  // namespace qorx::test
