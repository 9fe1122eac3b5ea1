// The plain command on a real root directory says what the replay tool says of a recorded one; the fully static one
// needs nothing else there.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/end_to_end/system_tools.h"
#include "tests/support/fake_machine.h"
#include "tests/support/pattern.h"
#include "tests/support/transcript.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

class Chroot : public testing::Test {
 protected:
  void SetUp() override {
    QORX_SKIP_IF(kSanitizedBuild, "the sanitizers' run-time needs more of a system, and excludes a static program");
    QORX_SKIP_IF(geteuid() != 0, "chroot is for root");
  }

  // Copies a command, and the libraries that it loads to the same places below the root.
  void install(const fs::path& command) const {
    fs::copy_file(command, root_.path() / "qorx");
    const ToolRun loaded = run_command({"ldd", command.string()});
    for (const fs::path library : matches_in(loaded.output, R"((/[^ ]+) \()", {1})) {
      const fs::path copy = root_.path() / library.relative_path();
      fs::create_directories(copy.parent_path());
      fs::copy_file(library, copy, fs::copy_options::overwrite_existing);
    }
    QORX_SKIP_IF(run({"-V"}).status == kNoChroot, "chroot is not allowed here");
  }

  // Runs the command with root_ as the whole system.
  [[nodiscard]] ToolRun run(const std::vector<std::string>& arguments) const {
    return run_program("/qorx", arguments, root_.path(), [this] {
      if (chroot(root_.path().c_str()) != 0 || chdir("/") != 0) {
        _exit(kNoChroot);
      }
    });
  }

  void expect_golden_runs(const char* name) const {
    const Appliance machine(name);
    fs::copy(machine.root(), root_.path(), fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    fs::copy_file(machine.configuration().front(), root_.path() / "qorx.cfg");
    for (const char* const run_name : {"all", "all-config", "sysinfo", "tovix"}) {
      const Transcript expected = machine.expected(run_name);
      const Transcript played = play(expected, {}, [&](const fs::path& directory) {
        const ToolRun result = run(expected.arguments);
        for (const auto& [file, text] : expected.written) {
          fs::copy_file(root_.path() / file, directory / file);
        }
        return result;
      });
      EXPECT_EQ(text_of(played), text_of(expected));
    }
  }

  static constexpr int kNoChroot = 126;
  const TemporaryDirectory root_;
};

TEST_F(Chroot, OnTheEdgeApplianceTheBytesAreTheSame) {
  install(qorx_program());
  expect_golden_runs("edge");
}

TEST_F(Chroot, OnTheLegacyApplianceTheBytesAreTheSame) {
  install(qorx_program());
  expect_golden_runs("legacy");
}

#if defined(QORX_STATIC_PROGRAM)

using StaticProgram = Chroot;

TEST_F(StaticProgram, StartsInAnEmptySystem) {
  install(QORX_STATIC_PROGRAM);
  EXPECT_EQ(run({"-V"}), said("libqorx version: 01.36\nqorx version: 01.38\n"));
  EXPECT_EQ(run({"-a"}), said("/sys/class/net folder do not exist or can't access. Please check your environment\n"
                              "Error: QORX_ERR_OPEN_DIR (0x98)\n",
                              0x98));
}

TEST_F(StaticProgram, SaysTheSameOnAnAppliance) {
  install(QORX_STATIC_PROGRAM);
  expect_golden_runs("edge");
}

TEST(StaticProgramFile, NeedsNoLibraryAndCanBeLoadedAnywhere) {
  QORX_SKIP_WITHOUT("readelf");
  const std::string dynamic = output_of({"readelf", "-W", "-d", QORX_STATIC_PROGRAM});
  EXPECT_EQ(dynamic.find("NEEDED"), std::string::npos) << dynamic;
  EXPECT_NE(dynamic.find("PIE"), std::string::npos) << dynamic;
  const std::string segments = output_of({"readelf", "-W", "-l", QORX_STATIC_PROGRAM});
  EXPECT_EQ(segments.find("INTERP"), std::string::npos) << segments;
  EXPECT_NE(segments.find("GNU_RELRO"), std::string::npos) << segments;
}

#endif

}  // namespace
}  // namespace qorx::test
