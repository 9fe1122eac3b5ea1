// The C program of libqorx(3): compiled as the page says, and run on a sample appliance.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/end_to_end/manual_page.h"
#include "tests/end_to_end/system_tools.h"
#include "tests/support/fake_machine.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

// The compilers of this build: the library may carry their sanitizers' run-time.
#if defined(__clang__)
constexpr const char* kCompiler = "clang";
constexpr const char* kCppCompiler = "clang++";
#else
constexpr const char* kCompiler = "gcc";
constexpr const char* kCppCompiler = "g++";
#endif

const std::vector<std::string> kSanitizers =
    kSanitizedBuild ? std::vector<std::string>{"-fsanitize=address,undefined"} : std::vector<std::string>{};

// Sets the system root before main: the program itself looks at the machine that it runs on.
constexpr const char* kOnRecordedMachine = R"(
#include <cstdlib>
#include "base/system_root.h"
__attribute__((constructor)) static void use_recorded_machine() {
  qorx::set_system_root(std::getenv("QORX_EXAMPLE_ROOT"));
}
)";

ToolRun compile(const char* compiler, std::vector<std::string> arguments, const fs::path& directory) {
  arguments.insert(arguments.begin(), compiler);
  arguments.insert(arguments.end(), kSanitizers.begin(), kSanitizers.end());
  return run_program("/usr/bin/env", arguments, directory);
}

class DocProgram : public testing::Test {
 protected:
  DocProgram() { std::ofstream(work_.path() / "ports.c") << example_.given.at("ports.c"); }

  const Transcript example_ = doc_example("libqorx");
  const fs::path source_ = QORX_SOURCE_DIR;
  const TemporaryDirectory work_;
};

TEST_F(DocProgram, IsCleanC) {
  const ToolRun run = compile(kCompiler,
                              {"-std=c11", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-D_POSIX_C_SOURCE=200809L",
                               "-fsyntax-only", "-I", (source_ / "lib").string(), "ports.c"},
                              work_.path());
  EXPECT_EQ(run.status, 0) << run.output << run.errors;
}

TEST_F(DocProgram, PrintsWhatThePageShows) {
  const fs::path library = qorx_program().parent_path().parent_path() / "lib/libqorx.a";
  ASSERT_TRUE(fs::exists(library)) << library;
  std::ofstream(work_.path() / "root.cpp") << kOnRecordedMachine;
  const ToolRun object =
      compile(kCompiler, {"-I", (source_ / "lib").string(), "-c", "ports.c", "-o", "ports.o"}, work_.path());
  ASSERT_EQ(object.status, 0) << object.errors;
  std::vector<std::string> link{"-std=c++20",     "-I", source_.string(), "root.cpp", "ports.o",
                                library.string(), "-o", "ports"};
  ToolRun linked = compile(kCppCompiler, link, work_.path());
  if (linked.status != 0) {
    link.emplace_back("--coverage");  // a library with coverage counters needs their run-time
    linked = compile(kCppCompiler, link, work_.path());
  }
  ASSERT_EQ(linked.status, 0) << linked.errors;

  const fs::path root = Appliance(example_.machine).root();
  const Transcript played = play(example_, {}, [&](const fs::path& directory) {
    return run_program(work_.path() / "ports", example_.arguments, directory,
                       [&root] { setenv("QORX_EXAMPLE_ROOT", root.c_str(), 1); });
  });
  EXPECT_EQ(text_of(played), text_of(example_));
}

}  // namespace
}  // namespace qorx::test
