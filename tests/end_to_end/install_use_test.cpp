// What is installed can be used as it stands: guides, sample machines, and the library under the default prefix.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/end_to_end/system_tools.h"
#include "tests/support/fake_machine.h"
#include "tests/support/pattern.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

const fs::path kSource = QORX_SOURCE_DIR;

class InstalledFiles : public testing::Test {
 protected:
  void SetUp() override {
    const ToolRun run = run_command({QORX_CMAKE, "--install", QORX_BINARY_DIR, "--prefix", prefix_.string()});
    ASSERT_EQ(run.status, 0) << run.output << run.errors;
  }

  const TemporaryDirectory directory_;
  const fs::path prefix_ = directory_.path() / "prefix";
};

TEST_F(InstalledFiles, LinksInTheGuidesLeadToInstalledFiles) {
  int links = 0;
  for (const auto& guide : fs::directory_iterator(prefix_ / "share/doc/qorx")) {
    if (guide.path().extension() != ".md") {
      continue;
    }
    const std::string text = read_file(guide.path());
    EXPECT_NE(text, "") << guide.path();
    for (const std::string& link : matches_in(text, R"(\]\(([^)#]*)[^)]*\))", {1})) {
      EXPECT_TRUE(fs::exists(guide.path().parent_path() / link)) << guide.path() << " " << link;
      ++links;
    }
  }
  EXPECT_GT(links, 0) << "they still lead from one to the other";
}

TEST_F(InstalledFiles, TheSampleMachinesCanBeTried) {
  for (const char* const machine : {"edge", "legacy"}) {
    const fs::path sample = prefix_ / "share/doc/qorx/examples" / machine;
    const fs::path source = kSource / "examples/appliances" / machine;
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"-a"}, {"-sysinfo"}, {"-a", "-config", "qorx.cfg"}}) {
      const ToolRun installed = run_replay(sample / "machine.tar.gz", sample, words);
      EXPECT_EQ(installed.output, run_replay(source / "root", source, words).output);
      EXPECT_EQ(installed.status, 0);
    }
  }
}

constexpr const char* kProgram = R"(#include <qorx.h>
#include <stdio.h>

int main(void) {
  uint8_t major = 0;
  uint8_t minor = 0;
  if (qorx_get_lib_version(&major, &minor) != 0) {
    return 1;
  }
  printf("%d.%d\n", major, minor);
  g_vm_bypass = 1;
  qorx_set_message_level(0);
  (void)qorx_open();
  (void)qorx_close();
  return 0;
}
)";

// The system as it is with /usr/local replaced by an empty one: in a mount namespace, and changes go to memory.
TEST(InstallUnderTheDefaultPrefix, EverythingIsFound) {
  if (!kReleaseBuild) {
    GTEST_SKIP() << "users install a release build";
  }
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can install under the default prefix";
  }
  if (read_file(fs::path(QORX_BINARY_DIR) / "CMakeCache.txt").find("CMAKE_INSTALL_PREFIX:PATH=/usr/local\n") ==
      std::string::npos) {
    GTEST_SKIP() << "this build has another prefix";
  }
  const TemporaryDirectory directory;
  if (run_command({"unshare", "--mount", "--propagation", "private", "true"}).status != 0) {
    GTEST_SKIP() << "no mount namespace can be made here";
  }
  const ToolRun run =
      run_command({"unshare", "--mount", "--propagation", "private", "sh", "-ec", R"(
root=$1/root build=$2 source=$3 cc=$4
mount -t tmpfs tmpfs "$1"
mkdir "$1/upper" "$1/work" "$root" "$1/empty"
mount -t overlay overlay -o "lowerdir=/,upperdir=$1/upper,workdir=$1/work" "$root" 2>/dev/null || exit 77
mount --bind "$1/empty" "$root/usr/local"
for place in /dev /proc "$build" "$source"; do
  mkdir -p "$root$place"
  mount --bind "$place" "$root$place"
done
exec chroot "$root" sh -ec '
  "$1" --install "$2" >/dev/null
  printf "%s" "$4" >/tmp/user.c
  "$3" /tmp/user.c -o /tmp/user -lqorx
  /tmp/user
  "$3" /tmp/user.c -o /tmp/user-static $(PKG_CONFIG_PATH= pkg-config --static --cflags --libs qorx)
  /tmp/user-static
  /usr/local/sbin/qorx -V
  zsh -fc "autoload -Uz +X _qorx && echo \"\$functions_source[_qorx]\"" || echo "no zsh"
  ' sh "$5" "$build" "$cc" "$6")",
                   "sh", directory.path(), QORX_BINARY_DIR, QORX_SOURCE_DIR, QORX_C_COMPILER, QORX_CMAKE, kProgram});
  if (run.status == 77) {
    GTEST_SKIP() << "no overlay of the system can be mounted here";
  }
  EXPECT_EQ(run.status, 0) << run.errors;
  const std::vector<std::string> lines = lines_of(run.output);
  ASSERT_EQ(lines.size(), 5U) << run.output << run.errors;
  EXPECT_EQ(lines[0], "1.36") << "the shared library, without LD_LIBRARY_PATH";
  EXPECT_EQ(lines[1], "1.36") << "the static library";
  EXPECT_EQ(lines[3], "qorx version: 01.38");
  if (has_command("zsh")) {
    EXPECT_EQ(lines[4], "/usr/local/share/zsh/site-functions/_qorx") << run.errors;
  }
}

}  // namespace
}  // namespace qorx::test
