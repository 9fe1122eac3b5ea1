// The worked examples of the manual, doc/examples/<name>: they run as they say, and the pages quote them exactly.
//
// A directory holds `machine` (the sample appliance), `command` (the arguments), the configuration files of the run,
// `stdout`, `status` (the exit status, if it is not 0) and the files that the run writes. The one with a C program is
// run by doc_program_test.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/end_to_end/manual_page.h"
#include "tests/support/fake_machine.h"
#include "tests/support/tool_run.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kProgram = "ports.c";
const std::set<std::string> kInputs{"qorx.cfg", "wmx_name.cfg", "smbios.cfg", kProgram};
const std::set<std::string> kDescription{"machine", "command", "stdout", "status"};

bool is_program(const fs::path& example) {
  return fs::exists(example / kProgram);
}

std::vector<fs::path> all_examples() {
  std::vector<fs::path> examples;
  for (const auto& entry : fs::directory_iterator(documents() / "examples")) {
    examples.push_back(entry.path());
  }
  std::sort(examples.begin(), examples.end());
  return examples;
}

// Those that are runs of qorx.
std::vector<fs::path> all_runs() {
  std::vector<fs::path> runs = all_examples();
  std::erase_if(runs, is_program);
  return runs;
}

std::string test_name(const testing::TestParamInfo<fs::path>& info) {
  std::string name = info.param.filename().string();
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
  return name;
}

fs::path machine_of(const fs::path& example) {
  return fs::path(QORX_SOURCE_DIR) / "examples/appliances" / trimmed(page_lines(read_file(example / "machine")).at(0)) /
         "root";
}

std::string command_of(const fs::path& example) {
  const Lines lines = page_lines(read_file(example / "command"));
  return lines.empty() ? "" : lines[0];
}

std::vector<std::string> words_of(const std::string& line) {
  std::istringstream stream(line);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

int status_of(const fs::path& example) {
  const std::string status = read_file(example / "status");
  return status.empty() ? 0 : std::stoi(status);
}

std::set<std::string> files_in(const fs::path& directory) {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(directory)) {
    names.insert(entry.path().filename().string());
  }
  return names;
}

class DocRun : public testing::TestWithParam<fs::path> {};

TEST_P(DocRun, DoesWhatItSays) {
  const fs::path& example = GetParam();
  const TemporaryDirectory work;
  std::set<std::string> expected_files;
  for (const std::string& name : files_in(example)) {
    if (kInputs.contains(name)) {
      fs::copy_file(example / name, work.path() / name);
    }
    if (!kDescription.contains(name)) {
      expected_files.insert(name);
    }
  }

  const ToolRun run = run_replay(machine_of(example), work.path(), words_of(command_of(example)));

  EXPECT_EQ(run.output, read_file(example / "stdout"));
  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(run.status, status_of(example));
  EXPECT_EQ(files_in(work.path()), expected_files);
  for (const std::string& name : expected_files) {
    EXPECT_EQ(read_file(work.path() / name), read_file(example / name)) << name;
  }
}

INSTANTIATE_TEST_SUITE_P(All, DocRun, testing::ValuesIn(all_runs()), test_name);

class DocExample : public testing::TestWithParam<fs::path> {};

TEST_P(DocExample, IsQuotedWithAllItsFiles) {
  std::set<std::string> quoted;
  for (const fs::path& page : manual_pages()) {
    for (const Quotation& quotation : quotations(page)) {
      if (quotation.example == GetParam().filename()) {
        quoted.insert(quotation.role == "run" ? "stdout" : quotation.file);
      }
    }
  }
  std::set<std::string> wanted = files_in(GetParam());
  for (const char* const shown_with_stdout : {"machine", "command", "status"}) {
    wanted.erase(shown_with_stdout);
  }
  EXPECT_EQ(quoted, wanted);
}

INSTANTIATE_TEST_SUITE_P(All, DocExample, testing::ValuesIn(all_examples()), test_name);

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
  EXPECT_TRUE(is_excerpt({"a", "b", "c", "d"}, text));
  EXPECT_TRUE(is_excerpt({"a", "...", "d"}, text));
  EXPECT_TRUE(is_excerpt({"...", "c", "..."}, text));
  EXPECT_FALSE(is_excerpt({"a", "d"}, text));
  EXPECT_FALSE(is_excerpt({"a", "b", "c"}, text));
  EXPECT_FALSE(is_excerpt({"b", "c", "d"}, text));
  EXPECT_FALSE(is_excerpt({"...", "c", "b", "..."}, text));
  EXPECT_FALSE(is_excerpt({"a", "...", "x", "..."}, text));
}

// A quoted run: the command behind a prompt, the output, and where the run fails its exit status.
void check_run(const Quotation& quotation, const fs::path& example) {
  Lines shown = quotation.lines;
  if (const int status = status_of(example); status != 0) {
    ASSERT_GE(shown.size(), 3U);
    EXPECT_EQ(shown.back(), std::to_string(status));
    shown.pop_back();
    EXPECT_EQ(shown.back(), "# echo $?");
    shown.pop_back();
  }
  ASSERT_FALSE(shown.empty());
  const std::string prompt = is_program(example) ? "# ./ports " : "# qorx ";
  EXPECT_EQ(shown.front(), trimmed(prompt + command_of(example)));
  shown.erase(shown.begin());
  EXPECT_TRUE(is_excerpt(shown, page_lines(read_file(example / "stdout")))) << "the output differs";
}

class DocPage : public testing::TestWithParam<fs::path> {};

TEST_P(DocPage, QuotesTheExamplesExactly) {
  for (const Quotation& quotation : quotations(GetParam())) {
    SCOPED_TRACE(quotation.example + " " + quotation.role + " " + quotation.file);
    const fs::path example = documents() / "examples" / quotation.example;
    ASSERT_TRUE(fs::exists(example)) << "no such example";
    if (quotation.role == "run") {
      check_run(quotation, example);
    } else if (quotation.role == "file") {
      EXPECT_EQ(quotation.lines, page_lines(read_file(example / quotation.file)));
    } else {
      ASSERT_EQ(quotation.role, "written");
      Lines text = page_lines(read_file(example / quotation.file));
      while (!text.empty() && text.back().empty()) {
        text.pop_back();  // the empty line that ends a record is not shown at the end of a display
      }
      EXPECT_TRUE(is_excerpt(quotation.lines, text)) << "the file differs";
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, DocPage, testing::ValuesIn(manual_pages()), test_name);

}  // namespace
}  // namespace qorx::test
