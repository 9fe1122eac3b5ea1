// The same bytes on 64-bit ARM: the sample machines under qemu-aarch64, and packages of that build.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/end_to_end/system_tools.h"
#include "tests/support/fake_machine.h"
#include "tests/support/transcript.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

// The emulator under one of its names; empty when there is none.
std::string emulator() {
  const ToolRun run = run_command({"sh", "-c", "command -v qemu-aarch64-static || command -v qemu-aarch64"});
  return run.status == 0 ? lines_of(run.output).at(0) : "";
}

class OnArm : public testing::Test {
 protected:
  void SetUp() override {
    if (!kReleaseBuild) {
      GTEST_SKIP() << "one build for 64-bit ARM is enough";
    }
    QORX_SKIP_WITHOUT("aarch64-linux-gnu-g++");
    if (emulator().empty()) {
      GTEST_SKIP() << "there is no qemu-aarch64 here";
    }
    must_run({QORX_CMAKE, "--preset", "aarch64", "-B", build_.string()});
    must_run({QORX_CMAKE, "--build", build_.string(), "--parallel", "2"});
  }

  static void must_run(const std::vector<std::string>& words) {
    const ToolRun run = run_command(words, QORX_SOURCE_DIR);
    ASSERT_EQ(run.status, 0) << run.output << run.errors;
    EXPECT_EQ(run.output.find("warning:"), std::string::npos) << run.output;
  }

  const fs::path build_ = fs::path(QORX_BINARY_DIR) / "aarch64";
};

// Builds once; the rest is quick.
TEST_F(OnArm, TheSampleMachinesGiveTheSameBytesAndThePackagesAreOfArm) {
  const std::string emulated = emulator();
  std::size_t cases = 0;
  for (const std::string& name : Appliance::names()) {
    const Appliance machine(name);
    for (const std::string& each : machine.cases()) {
      const Transcript expected = machine.expected(each);
      const Transcript played = play(expected, machine.configuration(), [&](const fs::path& directory) {
        std::vector<std::string> words{"-L", "/usr/aarch64-linux-gnu", build_ / "tools/qorx-replay",
                                       machine.root().string(), "--"};
        words.insert(words.end(), expected.arguments.begin(), expected.arguments.end());
        return run_program(emulated, words, directory);
      });
      EXPECT_EQ(text_of(played), read_file(machine.file(each))) << name << " " << each;
      ++cases;
    }
  }
  EXPECT_GT(cases, 100U);
  QORX_SKIP_WITHOUT("dpkg-deb");
  const TemporaryDirectory packages;
  must_run({(fs::path(QORX_CMAKE).parent_path() / "cpack").string(), "-G", "DEB", "-B", packages.path().string(), "-D",
            "CPACK_QORX_REVISION=7", "--config", (build_ / "CPackConfig.cmake").string()});
  for (const char* const package :
       {"qorx_1.38-7_arm64.deb", "libqorx1_1.38-7_arm64.deb", "libqorx-dev_1.38-7_arm64.deb"}) {
    EXPECT_EQ(run_command({"dpkg-deb", "-f", (packages.path() / package).string(), "Architecture"}).output, "arm64\n");
  }
}

}  // namespace
}  // namespace qorx::test
