// What the scripts of the project say and do on systems that miss something. Each runs with a PATH of its own: the
// few tools that it uses, and stand-ins for the rest.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/end_to_end/system_tools.h"
#include "tests/support/fake_machine.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

const std::string kMissing =
    "Packages of Debian and Ubuntu that are missing: g++ cmake ninja-build nlohmann-json3-dev ";

class Scripts : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* const name : {"sh", "env", "sed", "grep", "sort", "head", "dirname", "find", "xargs"}) {
      link_tool(name);
    }
    tool("id", "echo 1000");
    tool("dpkg-query", "exit 1");
    tool("cmake", "echo 'cmake version 3.25.1'");
    tool("ninja", "exit 0");
    tool("c++", "exit 0");
  }

  void link_tool(const std::string& name) const {
    fs::create_symlink(lines_of(output_of({"sh", "-c", "command -v " + name})).at(0), tools_.path() / name);
  }
  void tool(const std::string& name, const std::string& script) const {
    std::ofstream(tools_.path() / name) << "#!/bin/sh\n" << script << "\n";
    fs::permissions(tools_.path() / name, fs::perms::owner_all);
  }
  void no_tool(const std::string& name) const { fs::remove(tools_.path() / name); }

  // What was installed, one line for each run of apt-get.
  void tool_apt_get() const { tool("apt-get", "echo \"$*\" >>'" + (tools_.path() / "apt-get.log").string() + "'"); }
  std::string apt_get_log() const { return read_file(tools_.path() / "apt-get.log"); }

  ToolRun run(const std::string& script, const Words& arguments) const {
    return run_command(joined({"-i", "PATH=" + tools_.path().string(), kSource / script}, arguments));
  }
  ToolRun install(const std::string& set) const { return run("scripts/install-packages", {set}); }

  const fs::path kSource = QORX_SOURCE_DIR;
  const TemporaryDirectory tools_;
};

TEST_F(Scripts, NothingIsSaidOrDoneWhereNothingIsMissing) {
  tool("dpkg-query", "echo 'install ok installed'");
  tool_apt_get();
  for (const char* const set : {"build", "check", "long"}) {
    EXPECT_EQ(install(set), said("")) << set;
  }
  EXPECT_EQ(apt_get_log(), "");
}

TEST_F(Scripts, RootInstallsWhatIsMissingAndSaysWhatThatIs) {
  tool("id", "echo 0");
  tool("dpkg-query", "case $* in *ninja-build) exit 1 ;; esac; echo 'install ok installed'");
  tool_apt_get();
  EXPECT_EQ(install("build"), said("Installing: ninja-build\n"));
  EXPECT_EQ(apt_get_log(), "update -qq\ninstall -y -qq --no-install-recommends ninja-build\n");
}

TEST_F(Scripts, AnOrdinaryUserAsksSudo) {
  tool_apt_get();
  tool("sudo", "echo sudo; exec \"$@\"");
  EXPECT_EQ(install("build"), said("Installing: g++ cmake ninja-build nlohmann-json3-dev\nsudo\nsudo\n"));
}

TEST_F(Scripts, WithoutARightToInstallThePackagesAreNamedAndTheProgramsDo) {
  tool_apt_get();
  EXPECT_EQ(install("build"), (ToolRun{"", kMissing + "(only root can, and there is no sudo here)\n", 0}));
  EXPECT_EQ(apt_get_log(), "");
}

TEST_F(Scripts, WithoutAptGetThePackagesAreNamedAndTheProgramsDo) {
  EXPECT_EQ(install("build"), (ToolRun{"", kMissing + "(there is no apt-get here)\n", 0}));
}

TEST_F(Scripts, WithoutTheProgramsThereIsNoGoingOn) {
  no_tool("ninja");
  no_tool("c++");
  const ToolRun installed = install("build");
  EXPECT_EQ(lines_of(installed.errors).back(), "Can't go on without: a C++ compiler ninja");
  EXPECT_EQ(installed.status, 1);
}

TEST_F(Scripts, AnOlderCMakeIsNamedInOneLine) {
  tool("dpkg-query", "echo 'install ok installed'");
  tool("cmake", "echo 'cmake version 3.22.1'; echo 'CMake suite'; [ \"$1\" = --version ]");
  for (const char* const script : {"demo", "check"}) {
    EXPECT_EQ(run(script, {}), (ToolRun{"", "CMake is too old: 3.22.1; qorx needs 3.25 or newer.\n", 1})) << script;
  }
}

// ./demo in a tree of its own, whose build is made of stand-ins.
class Demo : public Scripts {
 protected:
  void SetUp() override {
    Scripts::SetUp();
    for (const char* const name : {"cat", "mktemp", "nproc", "rm", "tail"}) {
      link_tool(name);
    }
    tool("dpkg-query", "echo 'install ok installed'");
    fs::create_directory(tree_.path() / "scripts");
    for (const char* const file : {"demo", "scripts/install-packages"}) {
      fs::copy_file(kSource / file, tree_.path() / file);
    }
    built("cli/qorx", "echo this machine");
    built("tools/qorx-replay", "echo a recorded one; : >tovix.cfg");
  }

  void built(const std::string& program, const std::string& script) const {
    const fs::path file = tree_.path() / "build/demo" / program;
    fs::create_directories(file.parent_path());
    std::ofstream(file) << "#!/bin/sh\n" << script << "\n";
    fs::permissions(file, fs::perms::owner_all);
  }

  ToolRun demo() const { return run_command({"-i", "PATH=" + tools_.path().string(), tree_.path() / "demo"}); }

  const TemporaryDirectory tree_;
};

TEST_F(Demo, ShowsTheDrawingWhereQorxInspectWasBuilt) {
  const ToolRun without = demo();
  EXPECT_EQ(without.status, 0) << without.errors;
  EXPECT_EQ(without.output.find("qorx-inspect"), std::string::npos);
  EXPECT_TRUE(without.output.ends_with("this machine\n")) << without.output;

  built("inspect/qorx-inspect", "echo \"the front: $1\"");
  const ToolRun with = demo();
  EXPECT_EQ(with.status, 0) << with.errors;
  EXPECT_NE(with.output.find("qorx-inspect draw\033[0m\nthe front: draw\n"), std::string::npos) << with.output;
}

TEST_F(Demo, EndsWithWhatTheCompilerSaysWhereTheBuildFails) {
  tool("cmake",
       "case $1 in --version) echo 'cmake version 3.25.1' ;; --build) echo 'error: no such type'; exit 2 ;; esac");
  EXPECT_EQ(demo(), (ToolRun{"", "error: no such type\n", 1}));
}

TEST_F(Scripts, AnOlderCompilerIsNamed) {
  const TemporaryDirectory build;
  const ToolRun run =
      run_command({QORX_CMAKE, "-S", QORX_SOURCE_DIR, "-B", build.path(), "-DCMAKE_CXX_COMPILER_FORCED=ON",
                   "-DCMAKE_CXX_COMPILER_ID=GNU", "-DCMAKE_CXX_COMPILER_VERSION=11.2"});
  EXPECT_NE(run.status, 0);
  EXPECT_NE(run.errors.find("The compiler is too old: GNU 11.2; qorx needs g++ 12 or clang 14\n"), std::string::npos)
      << run.errors;
}

TEST_F(Scripts, TheLeastCMakeIsTheSameEverywhere) {
  for (const char* const file : {"CMakeLists.txt", "fuzz/CMakeLists.txt"}) {
    EXPECT_TRUE(read_file(kSource / file).find("cmake_minimum_required(VERSION 3.25)") != std::string::npos) << file;
  }
  EXPECT_NE(read_file(kSource / "scripts/install-packages").find("\nleast_cmake=3.25\n"), std::string::npos);
  EXPECT_NE(read_file(kSource / "README.md").find("CMake 3.25"), std::string::npos);
}

TEST_F(Scripts, ChecksWhoseAnswerDependsOnTheToolAreSkippedForAnotherVersion) {
  tool("clang-format", "echo 'Ubuntu clang-format version 18.1.3 (1ubuntu1)'");
  tool("clang-tidy", "printf 'Debian LLVM version 19.1.7\\n  Optimized build.\\n'");
  tool("cppcheck", "echo 'Cppcheck 2.17.1'");
  for (const auto& [check, reason] :
       {std::pair("format", "clang-format 14; here is 18.1.3"), std::pair("tidy", "clang-tidy 14; here is 19.1.7"),
        std::pair("cppcheck", "cppcheck 2.10; here is 2.17.1")}) {
    EXPECT_EQ(run("scripts/static-checks", {check, "build"}),
              said(std::string("skipped: the rules are written for ") + reason + "\n", 77));
  }
  no_tool("cppcheck");
  EXPECT_EQ(run("scripts/static-checks", {"cppcheck", "build"}).output,
            "skipped: the rules are written for cppcheck 2.10; here is none\n");
}

TEST_F(Scripts, ChecksOfTheRightVersionRun) {
  tool("cppcheck", "case $1 in --version) echo 'Cppcheck 2.10' ;; *) echo \"$1\"; exit 1 ;; esac");
  EXPECT_EQ(run("scripts/static-checks", {"cppcheck", "build"}),
            said("--enable=warning,performance,portability,style\n", 1));
  tool("clang-format-14", "case $1 in --version) echo 'clang-format version 14.0.6' ;; *) exit 1 ;; esac");
  tool("clang-format", "echo 'clang-format version 19.1.7'");
  EXPECT_NE(run("scripts/static-checks", {"format", "build"}).status, 77) << "by its name with the version";
}

TEST_F(Scripts, AreSoundShell) {
  QORX_SKIP_WITHOUT("shellcheck");
  for (const char* const script : {"check", "demo", "scripts/fresh-machine", "scripts/install-packages",
                                   "scripts/run-tests", "scripts/static-checks", "tests/run_suite", "fuzz/run"}) {
    output_of({"shellcheck", kSource / script});
  }
}

}  // namespace
}  // namespace qorx::test
