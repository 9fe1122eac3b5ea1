// The worked examples of the manual, doc/examples/<name>.txt: they run as they say, and the pages quote them exactly.
// The one with a C program is compiled as libqorx(3) says, and run on a sample appliance.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "tests/end_to_end/manual_page.h"
#include "tests/end_to_end/system_tools.h"
#include "tests/support/rows.h"
#include "tests/support/transcript.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

std::vector<fs::path> all_examples() {
  return entries_of(documents() / "examples");
}

std::vector<fs::path> all_runs() {
  std::vector<fs::path> runs = all_examples();
  std::erase_if(runs, [](const fs::path& file) { return read_transcript(file).program != "qorx"; });
  return runs;
}

class DocRun : public testing::TestWithParam<fs::path> {};

TEST_P(DocRun, DoesWhatItSays) {
  const Transcript example = read_transcript(GetParam());
  const Transcript played = play(example, {}, [&](const fs::path& directory) {
    return run_replay(Appliance(example.machine).root(), directory, example.arguments);
  });
  EXPECT_EQ(text_of(played), read_file(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(All, DocRun, testing::ValuesIn(all_runs()), kNamedByFile);

class DocExample : public testing::TestWithParam<fs::path> {};

TEST_P(DocExample, IsQuotedWithAllItsFiles) {
  std::set<std::string> quoted;
  for (const fs::path& page : manual_pages()) {
    for (const Quotation& quotation : quotations(page)) {
      if (quotation.example == GetParam().stem()) {
        quoted.insert(quotation.role + " " + quotation.file);
      }
    }
  }
  const Transcript example = read_transcript(GetParam());
  std::set<std::string> wanted{"run "};
  for (const auto& [name, text] : example.given) {
    wanted.insert("file " + name);
  }
  for (const auto& [name, text] : example.written) {
    wanted.insert("written " + name);
  }
  EXPECT_EQ(quoted, wanted);
}

INSTANTIATE_TEST_SUITE_P(All, DocExample, testing::ValuesIn(all_examples()), kNamedByFile);

// Whether `shown` is `text`, with "..." in `shown` standing for any number of lines.
bool is_excerpt(const Lines& shown, const Lines& text, std::size_t i = 0, std::size_t k = 0) {
  for (; i < shown.size() && shown[i] != "..."; ++i, ++k) {
    if (k == text.size() || shown[i] != text[k]) {
      return false;
    }
  }
  if (i == shown.size()) {
    return k == text.size();
  }
  for (; k <= text.size(); ++k) {
    if (is_excerpt(shown, text, i + 1, k)) {
      return true;
    }
  }
  return false;
}

TEST(Excerpt, LeavesOutOnlyWhereItSaysSo) {
  const Lines text{"a", "b", "c", "d"};
  for (const Lines& excerpt : {Lines{"a", "b", "c", "d"}, {"a", "...", "d"}, {"...", "c", "..."}}) {
    EXPECT_TRUE(is_excerpt(excerpt, text)) << testing::PrintToString(excerpt);
  }
  for (const Lines& other :
       {Lines{"a", "d"}, {"a", "b", "c"}, {"b", "c", "d"}, {"...", "c", "b", "..."}, {"a", "...", "x", "..."}}) {
    EXPECT_FALSE(is_excerpt(other, text)) << testing::PrintToString(other);
  }
}

// A quoted run: the command behind a prompt, the output, and where the run fails its exit status.
void check_run(Lines shown, const Transcript& example) {
  if (example.status != 0) {
    ASSERT_GE(shown.size(), 3U);
    EXPECT_EQ(Lines(shown.end() - 2, shown.end()), (Lines{"# echo $?", std::to_string(example.status)}));
    shown.resize(shown.size() - 2);
  }
  ASSERT_FALSE(shown.empty());
  std::string command = "# " + example.program;
  for (const std::string& argument : example.arguments) {
    command += " " + argument;
  }
  EXPECT_EQ(shown.front(), command);
  shown.erase(shown.begin());
  EXPECT_TRUE(is_excerpt(shown, page_lines(example.output))) << "the output differs";
}

void check_written(const Lines& shown, Lines text) {
  while (!text.empty() && text.back().empty()) {
    text.pop_back();  // the empty line that ends a record is not shown at the end of a display
  }
  EXPECT_TRUE(is_excerpt(shown, text)) << "the file differs";
}

class DocPage : public testing::TestWithParam<fs::path> {};

TEST_P(DocPage, QuotesTheExamplesExactly) {
  for (const Quotation& quotation : quotations(GetParam())) {
    SCOPED_TRACE(quotation.example + " " + quotation.role + " " + quotation.file);
    const Transcript example = doc_example(quotation.example);
    if (quotation.role == "run") {
      check_run(quotation.lines, example);
    } else if (quotation.role == "file") {
      EXPECT_EQ(quotation.lines, page_lines(example.given.at(quotation.file)));
    } else {
      ASSERT_EQ(quotation.role, "written");
      check_written(quotation.lines, page_lines(example.written.at(quotation.file)));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, DocPage, testing::ValuesIn(manual_pages()), kNamedByFile);

// The compilers of this build: the library may carry their sanitizers' run-time.
#if defined(__clang__)
constexpr const char* kCompiler = "clang";
constexpr const char* kCppCompiler = "clang++";
#else
constexpr const char* kCompiler = "gcc";
constexpr const char* kCppCompiler = "g++";
#endif

const Words kSanitizers = kSanitizedBuild ? Words{"-fsanitize=address,undefined"} : Words{};

// Sets the system root before main: the program itself looks at the machine that it runs on.
constexpr const char* kOnRecordedMachine = R"(
#include <cstdlib>
#include "base/system_root.h"
__attribute__((constructor)) static void use_recorded_machine() {
  qorx::set_system_root(std::getenv("QORX_EXAMPLE_ROOT"));
}
)";

class DocProgram : public testing::Test {
 protected:
  ToolRun compile(const char* compiler, const Words& arguments) const {
    return run_command(joined(joined({compiler}, arguments), kSanitizers), work_.path());
  }

  DocProgram() { std::ofstream(work_.path() / "ports.c") << example_.given.at("ports.c"); }

  const Transcript example_ = doc_example("libqorx");
  const fs::path source_ = QORX_SOURCE_DIR;
  const TemporaryDirectory work_;
};

TEST_F(DocProgram, IsCleanC) {
  const ToolRun run =
      compile(kCompiler, {"-std=c11", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-D_POSIX_C_SOURCE=200809L",
                          "-fsyntax-only", "-I", source_ / "lib", "ports.c"});
  EXPECT_EQ(run.status, 0) << run.output << run.errors;
}

TEST_F(DocProgram, PrintsWhatThePageShows) {
  const fs::path library = qorx_program().parent_path().parent_path() / "lib/libqorx.a";
  ASSERT_TRUE(fs::exists(library)) << library;
  std::ofstream(work_.path() / "root.cpp") << kOnRecordedMachine;
  const ToolRun object = compile(kCompiler, {"-I", source_ / "lib", "-c", "ports.c", "-o", "ports.o"});
  ASSERT_EQ(object.status, 0) << object.errors;
  const Words link{"-std=c++20", "-I", source_, "root.cpp", "ports.o", library, "-o", "ports"};
  ToolRun linked = compile(kCppCompiler, link);
  if (linked.status != 0) {  // a library with coverage counters needs their run-time
    linked = compile(kCppCompiler, joined(link, {"--coverage"}));
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
