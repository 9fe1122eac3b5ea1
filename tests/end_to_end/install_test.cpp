// What cmake --install puts where, and programs of users built against it.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "tests/end_to_end/system_tools.h"
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
  void SetUp() override {
    const ToolRun run = run_command({QORX_CMAKE, "--install", QORX_BINARY_DIR, "--prefix", prefix_.string()});
    ASSERT_EQ(run.status, 0) << run.output << run.errors;
  }

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
  EXPECT_EQ(run_command({(prefix_ / "sbin/qorx").string(), "-V"}).output,
            "libqorx version: 01.36\nqorx version: 01.38\n");
  EXPECT_EQ(run_command({(prefix_ / "bin/qorx-capture").string(), "--help"}).status, 0);
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
    if (!kReleaseBuild) {
      GTEST_SKIP() << "users build against a release build";
    }
    Install::SetUp();
    std::ofstream(directory_.path() / "user.c") << kUserProgram;
    std::ofstream(directory_.path() / "user.cpp") << kUserProgram;
  }

  void expect_runs(const std::string& program) const {
    const ToolRun run = run_command({"LD_LIBRARY_PATH=" + libraries_.string(), directory_.path() / program});
    EXPECT_EQ(run.output, "1.36\n") << program;
    EXPECT_EQ(run.errors, "") << program;
    EXPECT_EQ(run.status, 0) << program;
  }

  // Runs cmake, which must succeed.
  void cmake(std::vector<std::string> words) const {
    words.insert(words.begin(), QORX_CMAKE);
    const ToolRun run = run_command(words);
    ASSERT_EQ(run.status, 0) << run.output << run.errors;
  }

  // Configures a project of users with this CMakeLists.txt.
  void configure(const std::string& lists) const {
    std::ofstream(directory_.path() / "CMakeLists.txt") << "cmake_minimum_required(VERSION 3.16)\n" << lists;
    cmake({"-S", directory_.path(), "-B", build_, "-DCMAKE_PREFIX_PATH=" + prefix_.string(),
           "-DCMAKE_C_COMPILER=" QORX_C_COMPILER, "-DCMAKE_CXX_COMPILER=" QORX_CXX_COMPILER});
  }

  [[nodiscard]] ToolRun run_with_pkg_config(const std::string& script) const {
    return run_command({"PKG_CONFIG_PATH=" + (libraries_ / "pkgconfig").string(), "sh", "-ec", script},
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
  const ToolRun run = run_with_pkg_config(row().command + " -Wall -Wextra -Wpedantic -Werror -o user " +
                                          "$(pkg-config --cflags --libs " + row().pkg_config_option + " qorx)");
  ASSERT_EQ(run.status, 0) << run.output << run.errors;
  expect_runs("user");
}

QORX_ROWS(InstallForPkgConfig, {"a C program", QORX_C_COMPILER " user.c", ""},
          {"a Cpp program", QORX_CXX_COMPILER " user.cpp", ""},
          {"a static C program", QORX_C_COMPILER " user.c", "--static"});

TEST_F(InstallForUsers, PkgConfigNamesTheVersionOfTheLibrary) {
  QORX_SKIP_WITHOUT("pkg-config");
  EXPECT_EQ(run_with_pkg_config("pkg-config --modversion qorx").output, "1.36\n");
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
  cmake({"--build", build_});
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

}  // namespace
}  // namespace qorx::test
