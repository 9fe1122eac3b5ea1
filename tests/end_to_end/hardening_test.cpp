// The built programs and the shared library, read with readelf: what they load, and what makes a fault in them harder
// to exploit.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/end_to_end/system_tools.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

using testing::AllOf;
using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

struct Binary {
  std::string_view rule;
  const char* path;
  bool is_program;
};

class Hardening : public RowTest<Binary> {
 protected:
  void SetUp() override { QORX_SKIP_WITHOUT("readelf"); }

  static bool is_static() { return row().is_program && readelf("-l", "INTERP").empty(); }

  // The lines of readelf's output that hold `text`.
  static std::vector<std::string> readelf(const std::string& option, const std::string& text) {
    std::vector<std::string> found = lines_of(output_of({"readelf", "-W", option, row().path}));
    std::erase_if(found, [&](const std::string& line) { return line.find(text) == std::string::npos; });
    return found;
  }
};

TEST_P(Hardening, CanBeLoadedAnywhere) {
  EXPECT_THAT(readelf("-h", "Type:"), ElementsAre(HasSubstr("DYN")));
  if (row().is_program) {
    EXPECT_THAT(readelf("-d", "(FLAGS_1)"), ElementsAre(HasSubstr("PIE")));
  }
  EXPECT_THAT(readelf("-d", "TEXTREL"), IsEmpty()) << "code that must be patched at load time stays writable";
}

TEST_P(Hardening, ItsTablesOfAddressesAreReadOnly) {
  EXPECT_THAT(readelf("-l", "GNU_RELRO"), SizeIs(1));
  EXPECT_THAT(readelf("-d", "BIND_NOW"), SizeIs(1)) << "without it part of the tables stays writable";
}

TEST_P(Hardening, ItsStackIsNotExecutable) {
  EXPECT_THAT(readelf("-l", "GNU_STACK"), ElementsAre(AllOf(HasSubstr(" RW "), Not(HasSubstr("RWE")))));
}

TEST_P(Hardening, NoSegmentIsWritableAndExecutable) {
  EXPECT_THAT(readelf("-l", "LOAD"), Not(IsEmpty()));
  EXPECT_THAT(readelf("-l", " RWE "), IsEmpty());
}

TEST_P(Hardening, ItLooksForLibrariesInNoFolderOfItsOwn) {
  EXPECT_THAT(readelf("-d", "RPATH"), IsEmpty());
  EXPECT_THAT(readelf("-d", "RUNPATH"), IsEmpty());
}

TEST_P(Hardening, ItLoadsNothingButTheCLibrary) {
  QORX_SKIP_IF(kSanitizedBuild, "the sanitizers bring libraries");
  QORX_SKIP_IF(is_static(), "it is fully static");
  // The loader is a part of the C library.
  EXPECT_THAT(readelf("-d", "(NEEDED)"), AllOf(Not(IsEmpty()), Each(AnyOf(HasSubstr("[libc.so"), HasSubstr("[ld-")))));
}

// libstdc++, which some of them carry, refers to it; only glibc 2.36 and later have it.
TEST_P(Hardening, ItStartsWithOlderCLibraries) {
  QORX_SKIP_IF(kSanitizedBuild, "the sanitizers bring libraries");
  EXPECT_TRUE(readelf("--dyn-syms", "arc4random").empty());
}

TEST_P(Hardening, ReleaseBuildsCheckBuffersAndTheStack) {
  QORX_SKIP_IF(!kReleaseBuild || is_static(),
               "only release builds are compiled so, and a fully static one does not show it");
  EXPECT_THAT(readelf("--dyn-syms", "__stack_chk_fail"), Not(IsEmpty()));
  EXPECT_THAT(readelf("--dyn-syms", "printf_chk"), Not(IsEmpty())) << "_FORTIFY_SOURCE has no effect";
#if !defined(__clang__)  // which can't check a call with a variable number of arguments
  EXPECT_THAT(readelf("--dyn-syms", " printf@"), IsEmpty()) << "an unchecked printf is left";
#endif
}

#if defined(__x86_64__)
TEST_P(Hardening, ReleaseBuildsMarkTheTargetsOfIndirectJumps) {
  QORX_SKIP_IF(!kReleaseBuild, "only release builds are compiled so");
  QORX_SKIP_WITHOUT("objdump");
  const std::string symbol = std::string("--disassemble=") + (row().is_program ? "main" : "qorx_open");
  EXPECT_THAT(output_of({"objdump", "-d", "--no-show-raw-insn", symbol, row().path}), HasSubstr("endbr64"));
}
#endif

QORX_ROWS(Hardening, {"qorx", QORX_PROGRAM, true}, {"qorx_replay", QORX_REPLAY_PROGRAM, true},
          {"libqorx", QORX_SHARED_LIBRARY, false});

#if defined(QORX_INSPECT_PROGRAM)
INSTANTIATE_TEST_SUITE_P(Inspect, Hardening, Hardening::values({{"qorx_inspect", QORX_INSPECT_PROGRAM, true}}),
                         Hardening::row_name);
#endif

}  // namespace
}  // namespace qorx::test
