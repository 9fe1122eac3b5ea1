// The plain command on a real root directory says the same as the replay tool on a recorded one.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <regex>
#include <string>

#include "tests/support/fake_machine.h"
#include "tests/support/tool_run.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

// Copies the command and the libraries that it loads to the same places below `root`.
void install_command(const fs::path& root) {
  fs::copy_file(qorx_program(), root / "qorx");
  const ToolRun loaded = run_program("/usr/bin/ldd", {qorx_program().string()}, root);
  const std::regex path(R"((/[^ ]+) \()");
  for (std::sregex_iterator match(loaded.output.begin(), loaded.output.end(), path), end; match != end; ++match) {
    const fs::path library = (*match)[1].str();
    const fs::path copy = root / library.relative_path();
    fs::create_directories(copy.parent_path());
    fs::copy_file(library, copy, fs::copy_options::overwrite_existing);
  }
}

class Chroot : public testing::TestWithParam<const char*> {};

TEST_P(Chroot, GivesTheSameBytesAsTheReplayTool) {
  if (kSanitized) {
    GTEST_SKIP() << "the sanitizers' run-time needs more of a system than the chroot has";
  }
  if (geteuid() != 0) {
    GTEST_SKIP() << "chroot is for root";
  }
  const fs::path machine = fs::path(QORX_SOURCE_DIR) / "examples/appliances" / GetParam();
  const TemporaryDirectory root;
  fs::copy(machine / "root", root.path(), fs::copy_options::recursive | fs::copy_options::copy_symlinks);
  fs::copy_file(machine / "qorx.cfg", root.path() / "qorx.cfg");
  install_command(root.path());
  const TemporaryDirectory work;
  fs::copy_file(machine / "qorx.cfg", work.path() / "qorx.cfg");

  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"-a"}, {"-a", "-config", "qorx.cfg"}, {"-sysinfo"}, {"-tovix.cfg"}}) {
    SCOPED_TRACE(arguments[0]);
    const auto enter = [&root] {
      if (chroot(root.path().c_str()) != 0 || chdir("/") != 0) {
        _exit(126);
      }
    };
    const ToolRun plain = run_program("/qorx", arguments, root.path(), enter);
    if (plain.status == 126) {
      GTEST_SKIP() << "chroot is not allowed here";
    }
    const ToolRun replayed = run_replay(machine / "root", work.path(), arguments);
    EXPECT_EQ(plain.output, replayed.output);
    EXPECT_EQ(plain.status, 0);
    EXPECT_EQ(replayed.status, 0);
  }
  EXPECT_EQ(read_file(root.path() / "tovix.cfg"), read_file(work.path() / "tovix.cfg"));
  EXPECT_NE(read_file(work.path() / "tovix.cfg"), "");
}

INSTANTIATE_TEST_SUITE_P(Appliances, Chroot, testing::Values("edge", "legacy"));

}  // namespace
}  // namespace qorx::test
