// What cmake --install puts where; that it can be used as it stands; and programs of users built against it, also under
// the default prefix.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "tests/end_to_end/system_tools.h"
#include "tests/support/fake_machine.h"
#include "tests/support/pattern.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

const std::string kLibDir = QORX_LIBDIR;
const fs::path kSource = QORX_SOURCE_DIR;
#if defined(QORX_INSPECT_PROGRAM)
constexpr bool kWithInspect = true;
#else
constexpr bool kWithInspect = false;
#endif

class Install : public testing::Test {
 protected:
  void SetUp() override { output_of({QORX_CMAKE, "--install", QORX_BINARY_DIR, "--prefix", prefix_}); }

  const TemporaryDirectory directory_;
  const fs::path prefix_ = directory_.path() / "prefix";
  const fs::path libraries_ = prefix_ / kLibDir;
};

TEST_F(Install, PutsEveryFileInItsPlace) {
  std::set<std::string> expected{"sbin/qorx",
                                 "bin/qorx-replay",
                                 "bin/qorx-capture",
                                 "include/qorx.h",
                                 QORX_BASH_COMPLETION_DIR "/qorx",
                                 QORX_BASH_COMPLETION_DIR "/qorx-capture",
                                 QORX_BASH_COMPLETION_DIR "/qorx-replay",
                                 "share/zsh/site-functions/_qorx",
                                 "share/doc/qorx/CHANGELOG.md",
                                 "share/doc/qorx/reliability.md",
                                 "share/doc/qorx/send-us-your-machine.md",
                                 "share/doc/qorx/troubleshooting.md",
                                 kLibDir + "/libqorx.a",
                                 kLibDir + "/libqorx.so",
                                 kLibDir + "/libqorx.so.1",
                                 kLibDir + "/libqorx.so.1.36",
                                 kLibDir + "/pkgconfig/qorx.pc"};
  for (const char* const appliance : {"edge", "legacy"}) {
    for (const char* const name : {"machine.tar.gz", "qorx.cfg", "smbios.cfg", "wmx_name.cfg"}) {
      expected.insert(std::string("share/doc/qorx/examples/") + appliance + "/" + name);
    }
  }
  if (kWithInspect) {
    expected.insert({"sbin/qorx-inspect", "share/qorx/qorx-inspect-1.schema.json",
                     QORX_BASH_COMPLETION_DIR "/qorx-inspect", "share/zsh/site-functions/_qorx-inspect"});
    for (const char* const name : {"README.md", "differences.yml", "qorx-textfile", "qorx.fact"}) {
      expected.insert(std::string("share/doc/qorx/examples/fleet/") + name);
    }
  }
  for (const std::string& name : files_below(kSource / "doc/man")) {
    if (kWithInspect || !name.starts_with("qorx-inspect")) {
      expected.insert("share/man/man" + name.substr(name.size() - 1) + "/" + name);
    }
  }
  std::set<std::string> installed = files_below(prefix_);
  // Named by the build type; find_package is tested below.
  std::erase_if(installed, [](const std::string& file) { return file.starts_with(kLibDir + "/cmake/qorx/"); });
  EXPECT_EQ(installed, expected);
}

TEST_F(Install, TheInstalledCommandRuns) {
  EXPECT_EQ(output_of({prefix_ / "sbin/qorx", "-V"}), "libqorx version: 01.36\nqorx version: 01.38\n");
  EXPECT_NE(output_of({prefix_ / "bin/qorx-capture", "--help"}), "");
}

TEST_F(Install, ProgramsLoadTheLibraryByItsFirstVersion) {
  QORX_SKIP_WITHOUT("readelf");
  const std::string dynamic = run_command({"readelf", "-d", (libraries_ / "libqorx.so").string()}).output;
  EXPECT_NE(dynamic.find("soname: [libqorx.so.1]"), std::string::npos) << dynamic;
  EXPECT_EQ(fs::read_symlink(libraries_ / "libqorx.so"), "libqorx.so.1");
  EXPECT_EQ(fs::read_symlink(libraries_ / "libqorx.so.1"), "libqorx.so.1.36");
}

// The names behind QORX_API in the header: of functions, tables and options.
std::set<std::string> declared_names() {
  const std::string header = read_file(kSource / "lib/qorx.h");
  const std::vector<std::string> names = matches_in(header, R"(\n(?:extern )?QORX_API [^;#]*?(\w+)(\(|\[|;))", {1});
  return {names.begin(), names.end()};
}

TEST_F(Install, TheSharedLibraryExportsWhatTheHeaderDeclaresAndNothingElse) {
  QORX_SKIP_WITHOUT("nm");
  std::set<std::string> exported;
  for (const std::string& line :
       lines_of(run_command({"nm", "-D", "--defined-only", "-P", (libraries_ / "libqorx.so").string()}).output)) {
    const std::string name = line.substr(0, line.find_first_of("@ "));
    if (name != "QORX_1") {  // the version of the others
      exported.insert(name);
    }
  }
  const std::set<std::string> declared = declared_names();
  EXPECT_EQ(declared.size(), 27U) << "10 operations, 3 tables, 14 options";
  EXPECT_EQ(exported, declared);
}

TEST_F(Install, LinksInTheGuidesLeadToInstalledFiles) {
  int links = 0;
  for (const auto& guide : fs::directory_iterator(prefix_ / "share/doc/qorx")) {
    const bool is_guide = guide.path().extension() == ".md";
    const std::string text = is_guide ? read_file(guide.path()) : "";
    EXPECT_EQ(text.empty(), !is_guide) << guide.path();
    for (const std::string& link : matches_in(text, R"(\]\(([^)#]*)[^)]*\))", {1})) {
      EXPECT_TRUE(fs::exists(guide.path().parent_path() / link)) << guide.path() << " " << link;
      ++links;
    }
  }
  EXPECT_GT(links, 0) << "they still lead from one to the other";
}

TEST_F(Install, TheSampleMachinesCanBeTried) {
  for (const char* const machine : {"edge", "legacy"}) {
    const fs::path sample = prefix_ / "share/doc/qorx/examples" / machine;
    const fs::path source = kSource / "examples/appliances" / machine;
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"-a"}, {"-sysinfo"}, {"-a", "-config", "qorx.cfg"}}) {
      EXPECT_EQ(run_replay(sample / "machine.tar.gz", sample, words),
                said(run_replay(source / "root", source, words).output));
    }
  }
}

// A program that uses functions, an option and the tables; valid C and C++.
constexpr const char* kUserProgram = R"(#include <qorx.h>
#include <stdio.h>

int main(void) {
  uint8_t major = 0;
  uint8_t minor = 0;
  uint32_t i = 0;
  if (qorx_get_lib_version(&major, &minor) != 0) {
    return 1;
  }
  printf("%d.%d\n", major, minor);
  g_vm_bypass = 1;
  qorx_set_message_level(0);
  if (qorx_open() != 0) {
    return (qorx_close() & 0xFF) == (QORX_ERR_INIT & 0xFF) ? 0 : 1; /* not a machine with PCI */
  }
  for (i = 0; i < qorx_system_environment_info.eth_device_number; ++i) {
    if (qorx_eth_device_mapping[i].eth_name[0] == '\0') {
      return 1;
    }
  }
  return qorx_close() == 0 ? 0 : 1;
}
)";

class InstallForUsers : public Install {
 protected:
  void SetUp() override {
    QORX_SKIP_IF(!kReleaseBuild, "users build against a release build");
    Install::SetUp();
    std::ofstream(directory_.path() / "user.c") << kUserProgram;
    std::ofstream(directory_.path() / "user.cpp") << kUserProgram;
  }

  void expect_runs(const std::string& program) const {
    EXPECT_EQ(run_command({"LD_LIBRARY_PATH=" + libraries_.string(), directory_.path() / program}), said("1.36\n"))
        << program;
  }

  // Configures a project of users with this CMakeLists.txt.
  void configure(const std::string& lists) const {
    std::ofstream(directory_.path() / "CMakeLists.txt") << "cmake_minimum_required(VERSION 3.16)\n" << lists;
    output_of({QORX_CMAKE, "-S", directory_.path(), "-B", build_, "-DCMAKE_PREFIX_PATH=" + prefix_.string(),
               "-DCMAKE_C_COMPILER=" QORX_C_COMPILER, "-DCMAKE_CXX_COMPILER=" QORX_CXX_COMPILER});
  }

  [[nodiscard]] std::string output_with_pkg_config(const std::string& script) const {
    return output_of({"PKG_CONFIG_PATH=" + (libraries_ / "pkgconfig").string(), "sh", "-ec", script},
                     directory_.path());
  }

  const fs::path build_ = directory_.path() / "build";
};

struct Compilation {
  std::string_view rule;
  std::string command;
  std::string pkg_config_option;
};

class InstallForPkgConfig : public RowTest<Compilation, InstallForUsers> {};

TEST_P(InstallForPkgConfig, IsBuiltAndRuns) {
  QORX_SKIP_WITHOUT("pkg-config");
  static_cast<void>(output_with_pkg_config(row().command +
                                           " -Wall -Wextra -Wpedantic -Werror -o user $(pkg-config --cflags --libs " +
                                           row().pkg_config_option + " qorx)"));
  expect_runs("user");
}

QORX_ROWS(InstallForPkgConfig, {"a C program", QORX_C_COMPILER " user.c", ""},
          {"a Cpp program", QORX_CXX_COMPILER " user.cpp", ""},
          {"a static C program", QORX_C_COMPILER " user.c", "--static"});

TEST_F(InstallForUsers, PkgConfigNamesTheVersionOfTheLibrary) {
  QORX_SKIP_WITHOUT("pkg-config");
  EXPECT_EQ(output_with_pkg_config("pkg-config --modversion qorx"), "1.36\n");
}

TEST_F(InstallForUsers, CAndCppProgramsByFindPackage) {
  configure(R"(project(user LANGUAGES C CXX)
find_package(qorx 1.30 REQUIRED)
add_executable(user_c user.c)
target_link_libraries(user_c qorx::qorx)
add_executable(user_cpp user.cpp)
target_link_libraries(user_cpp qorx::qorx)
add_executable(user_static user.c)
target_link_libraries(user_static qorx::qorx_static)
)");
  output_of({QORX_CMAKE, "--build", build_});
  for (const char* const program : {"build/user_c", "build/user_cpp", "build/user_static"}) {
    expect_runs(program);
  }
}

TEST_F(InstallForUsers, FindPackageRefusesAnotherMajorVersion) {
  configure(R"(project(user LANGUAGES NONE)
find_package(qorx 2.0 QUIET)
if(qorx_FOUND)
  message(FATAL_ERROR "found ${qorx_VERSION}")
endif()
find_package(qorx REQUIRED)
)");
}

// The system as it is with /usr/local replaced by an empty one: in a mount namespace, and changes go to memory.
TEST(InstallUnderTheDefaultPrefix, EverythingIsFound) {
  QORX_SKIP_IF(!kReleaseBuild, "users install a release build");
  QORX_SKIP_IF(geteuid() != 0, "only root can install under the default prefix");
  const std::string cache = read_file(fs::path(QORX_BINARY_DIR) / "CMakeCache.txt");
  QORX_SKIP_IF(cache.find("CMAKE_INSTALL_PREFIX:PATH=/usr/local\n") == std::string::npos,
               "this build has another prefix");
  const TemporaryDirectory directory;
  QORX_SKIP_IF(run_command({"unshare", "--mount", "--propagation", "private", "true"}).status != 0,
               "no mount namespace can be made here");
  const ToolRun run = run_command({"unshare", "--mount", "--propagation", "private", "sh", "-ec", R"(
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
                                   "sh", directory.path(), QORX_BINARY_DIR, QORX_SOURCE_DIR, QORX_C_COMPILER,
                                   QORX_CMAKE, kUserProgram});
  QORX_SKIP_IF(run.status == 77, "no overlay of the system can be mounted here");
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
