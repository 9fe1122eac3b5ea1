// The fully static command: copied to an appliance it runs with nothing else there.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/end_to_end/system_tools.h"
#include "tests/support/fake_machine.h"
#include "tests/support/tool_run.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

#if defined(QORX_STATIC_PROGRAM)

class StaticProgram : public testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) {
      GTEST_SKIP() << "chroot is for root";
    }
    fs::copy_file(QORX_STATIC_PROGRAM, root_.path() / "qorx");
    if (run({"-V"}).status == kNoChroot) {
      GTEST_SKIP() << "chroot is not allowed here";
    }
  }

  // Runs the command with root_ as the whole system.
  ToolRun run(const std::vector<std::string>& arguments) const {
    return run_program("/qorx", arguments, root_.path(), [this] {
      if (chroot(root_.path().c_str()) != 0 || chdir("/") != 0) {
        _exit(kNoChroot);
      }
    });
  }

  static constexpr int kNoChroot = 126;
  const TemporaryDirectory root_;
};

TEST_F(StaticProgram, StartsInAnEmptySystem) {
  const ToolRun version = run({"-V"});
  EXPECT_EQ(version.output, "libqorx version: 01.36\nqorx version: 01.38\n");
  EXPECT_EQ(version.status, 0);
  const ToolRun table = run({"-a"});
  EXPECT_EQ(table.output,
            "/sys/class/net folder do not exist or can't access. Please check your environment\n"
            "Error: QORX_ERR_OPEN_DIR (0x98)\n");
  EXPECT_EQ(table.status, 0x98);
}

TEST_F(StaticProgram, SaysOnAnApplianceWhatTheReplayToolSays) {
  const fs::path machine = fs::path(QORX_SOURCE_DIR) / "examples/appliances/edge";
  fs::copy(machine / "root", root_.path(), fs::copy_options::recursive | fs::copy_options::copy_symlinks);
  fs::copy_file(machine / "qorx.cfg", root_.path() / "qorx.cfg");
  const TemporaryDirectory work;
  fs::copy_file(machine / "qorx.cfg", work.path() / "qorx.cfg");
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"-a", "-config", "qorx.cfg"}, {"-sysinfo"}, {"-tovix.cfg"}}) {
    SCOPED_TRACE(arguments[0]);
    const ToolRun plain = run(arguments);
    const ToolRun replayed = run_replay(machine / "root", work.path(), arguments);
    EXPECT_EQ(plain.output, replayed.output);
    EXPECT_EQ(plain.status, 0);
  }
  EXPECT_EQ(read_file(root_.path() / "tovix.cfg"), read_file(work.path() / "tovix.cfg"));
  EXPECT_NE(read_file(root_.path() / "tovix.cfg"), "");
}

TEST(StaticProgramFile, NeedsNoLibraryAndCanBeLoadedAnywhere) {
  QORX_SKIP_WITHOUT("readelf");
  const std::string dynamic = run_command({"readelf", "-W", "-d", QORX_STATIC_PROGRAM}).output;
  EXPECT_EQ(dynamic.find("NEEDED"), std::string::npos) << dynamic;
  EXPECT_NE(dynamic.find("PIE"), std::string::npos) << dynamic;
  const std::string segments = run_command({"readelf", "-W", "-l", QORX_STATIC_PROGRAM}).output;
  EXPECT_EQ(segments.find("INTERP"), std::string::npos) << segments;
  EXPECT_NE(segments.find("GNU_RELRO"), std::string::npos) << segments;
}

#else

TEST(StaticProgram, IsNotBuiltHere) {
  GTEST_SKIP() << "the sanitizers exclude a static program";
}

#endif

}  // namespace
}  // namespace qorx::test
