// The built programs and the shared library, read with readelf: what they load, and what makes a fault in them harder
// to exploit.
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "tests/end_to_end/system_tools.h"
#include "tests/support/tool_run.h"

namespace qorx::test {
namespace {

using testing::TestParamInfo;

struct Binary {
  const char* name;
  const char* path;
  bool is_program;

  friend void PrintTo(const Binary& binary, std::ostream* stream) { *stream << binary.path; }
};

class Hardening : public testing::TestWithParam<Binary> {
 protected:
  void SetUp() override { QORX_SKIP_WITHOUT("readelf"); }

  static bool is_static() { return GetParam().is_program && readelf("-l", "INTERP").empty(); }

  // The lines of readelf's output that hold `text`.
  static std::vector<std::string> readelf(const std::string& option, const std::string& text) {
    const ToolRun run = run_command({"readelf", "-W", option, GetParam().path});
    EXPECT_EQ(run.status, 0) << run.errors;
    std::vector<std::string> found;
    for (const std::string& line : lines_of(run.output)) {
      if (line.find(text) != std::string::npos) {
        found.push_back(line);
      }
    }
    return found;
  }
};

TEST_P(Hardening, CanBeLoadedAnywhere) {
  const auto type = readelf("-h", "Type:");
  ASSERT_EQ(type.size(), 1U);
  EXPECT_NE(type[0].find("DYN"), std::string::npos) << type[0];
  if (GetParam().is_program) {
    const auto flags = readelf("-d", "(FLAGS_1)");
    ASSERT_EQ(flags.size(), 1U);
    EXPECT_NE(flags[0].find("PIE"), std::string::npos) << flags[0];
  }
  EXPECT_TRUE(readelf("-d", "TEXTREL").empty()) << "code that must be patched at load time stays writable";
}

TEST_P(Hardening, ItsTablesOfAddressesAreReadOnly) {
  EXPECT_EQ(readelf("-l", "GNU_RELRO").size(), 1U);
  EXPECT_EQ(readelf("-d", "BIND_NOW").size(), 1U) << "without it part of the tables stays writable";
}

TEST_P(Hardening, ItsStackIsNotExecutable) {
  const auto stack = readelf("-l", "GNU_STACK");
  ASSERT_EQ(stack.size(), 1U);
  EXPECT_NE(stack[0].find(" RW "), std::string::npos) << stack[0];
  EXPECT_EQ(stack[0].find("RWE"), std::string::npos) << stack[0];
}

TEST_P(Hardening, NoSegmentIsWritableAndExecutable) {
  EXPECT_FALSE(readelf("-l", "LOAD").empty());
  EXPECT_TRUE(readelf("-l", " RWE ").empty());
}

TEST_P(Hardening, ItLooksForLibrariesInNoFolderOfItsOwn) {
  EXPECT_TRUE(readelf("-d", "RPATH").empty());
  EXPECT_TRUE(readelf("-d", "RUNPATH").empty());
}

TEST_P(Hardening, ItLoadsNothingButTheCLibrary) {
  if (kSanitizedBuild) {
    GTEST_SKIP() << "the sanitizers bring libraries";
  }
  if (is_static()) {
    GTEST_SKIP() << "it is fully static";
  }
  const auto needed = readelf("-d", "(NEEDED)");
  EXPECT_FALSE(needed.empty());
  for (const std::string& line : needed) {
    // The loader is a part of the C library.
    EXPECT_TRUE(line.find("[libc.so") != std::string::npos || line.find("[ld-") != std::string::npos) << line;
  }
}

TEST_P(Hardening, ReleaseBuildsCheckBuffersAndTheStack) {
  if (!kReleaseBuild || is_static()) {
    GTEST_SKIP() << "only release builds are compiled so, and a fully static one does not show it";
  }
  EXPECT_FALSE(readelf("--dyn-syms", "__stack_chk_fail").empty());
  EXPECT_FALSE(readelf("--dyn-syms", "printf_chk").empty()) << "_FORTIFY_SOURCE has no effect";
#if !defined(__clang__)  // which can't check a call with a variable number of arguments
  EXPECT_TRUE(readelf("--dyn-syms", " printf@").empty()) << "an unchecked printf is left";
#endif
}

#if defined(__x86_64__)
TEST_P(Hardening, ReleaseBuildsMarkTheTargetsOfIndirectJumps) {
  if (!kReleaseBuild) {
    GTEST_SKIP() << "only release builds are compiled so";
  }
  QORX_SKIP_WITHOUT("objdump");
  const ToolRun run =
      run_command({"objdump", "-d", "--no-show-raw-insn",
                   std::string("--disassemble=") + (GetParam().is_program ? "main" : "qorx_open"), GetParam().path});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_NE(run.output.find("endbr64"), std::string::npos) << run.output;
}
#endif

#if defined(QORX_INSPECT_PROGRAM)
INSTANTIATE_TEST_SUITE_P(BuiltForPrograms, Hardening,
                         testing::Values(Binary{"qorx_inspect", QORX_INSPECT_PROGRAM, true}),
                         [](const TestParamInfo<Binary>& built) { return std::string(built.param.name); });
#endif

INSTANTIATE_TEST_SUITE_P(Built, Hardening,
                         testing::Values(Binary{"qorx", QORX_PROGRAM, true},
                                         Binary{"qorx_replay", QORX_REPLAY_PROGRAM, true},
                                         Binary{"libqorx", QORX_SHARED_LIBRARY, false}),
                         [](const TestParamInfo<Binary>& built) { return std::string(built.param.name); });

}  // namespace
}  // namespace qorx::test
