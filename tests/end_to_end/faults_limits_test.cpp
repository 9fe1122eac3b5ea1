// Few resources: a machine of the largest size with little of each, and what the smallest amounts do.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/end_to_end/faults.h"
#include "tests/support/expect.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

using Resource = decltype(RLIMIT_NOFILE);

std::vector<Words> operations() {
  std::vector<Words> operations = every_operation();
  for (const char* const operation : {"-d eth77", "-f A_BYPASS_I2C", "-p 05:00.0", "-a -config qorx.cfg -sort_slotname",
                                      "-a -smbios_cfg smbios.cfg", "-a -legacy -sys_WMX_cfg wmx_name.cfg"}) {
    operations.push_back(words_of(operation));
  }
  return operations;
}

// What a run says, and what it makes of two files that are there before.
struct Result {
  ToolRun run;
  std::string file = "old";
  std::string tovix = "old";
  bool operator==(const Result&) const = default;
  friend void PrintTo(const Result& result, std::ostream* out) {
    *out << testing::PrintToString(Texts{testing::PrintToString(result.run), result.file, result.tovix});
  }
};

Result run_limited(FakeMachine& machine, const Words& words, Resource resource = RLIMIT_NOFILE,
                   rlim_t amount = RLIM_INFINITY) {
  machine.user_file("result", "old");
  machine.user_file("tovix.cfg", "old");
  const ToolRun run = run_replay(machine.root(), machine.work(), words, [resource, amount] {
    limit_time(20);
    closefrom(STDERR_FILENO + 1);  // what the test itself has inherited must not count
    const rlimit limit{amount, amount};
    if (amount != RLIM_INFINITY) {
      setrlimit(resource, &limit);
    }
  });
  return {run, read_file(machine.work() / "result"), read_file(machine.work() / "tovix.cfg")};
}

struct Limit {
  std::string_view rule;
  bool is_large;  // the machine
  Resource resource;
  rlim_t amount;
};

class Limits : public RowTest<Limit> {
 protected:
  static FakeMachine& machine() {
    static LargeMachine large;
    static FaultMachine small;
    return row().is_large ? static_cast<FakeMachine&>(large) : small;
  }
};

// The limited run says and writes the same as the free one.
TEST_P(Limits, AreEnough) {
  QORX_SKIP_IF(kSanitizedBuild && row().resource == RLIMIT_AS, "the sanitizers need more address space than this");
  for (const Words& words : operations()) {
    SCOPED_TRACE(testing::PrintToString(words));
    const Result free_run = run_limited(machine(), words);
    EXPECT_EQ(run_limited(machine(), words, row().resource, row().amount), free_run);
    EXPECT_NE(free_run, Result{said("")});
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
  for (const Words& words : every_operation()) {
    for (const Words& options : {Words{}, Words{"-config", "qorx.cfg"}, Words{"-smbios_cfg", "smbios.cfg"}}) {
      const Words all = joined(words, options);
      SCOPED_TRACE(testing::PrintToString(all));
      const Result free_run = run_limited(machine, all);
      // With three the C library can't be loaded.
      for (rlim_t descriptors = 4; descriptors <= 12; ++descriptors) {
        const Result limited = run_limited(machine, all, RLIMIT_NOFILE, descriptors);
        if (limited.run.status != 0) {
          EXPECT_TRUE(limited.run.output.ends_with("Error: QORX_ERR_OPEN_FILE (0x80)\n")) << descriptors;
          EXPECT_EQ(limited, (Result{said(limited.run.output, 128)})) << descriptors;
        } else {
          EXPECT_EQ(limited, free_run) << descriptors;
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
