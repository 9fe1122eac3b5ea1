// The manual pages: free of formatting errors, and complete. And the documents' references to files.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "tests/end_to_end/manual_page.h"
#include "tests/end_to_end/system_tools.h"
#include "tests/support/pattern.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

const fs::path kSource = QORX_SOURCE_DIR;
const fs::path kPages = documents() / "man";

// What groups of a pattern take in a text, match after match.
Lines taken(const std::string& text, const std::string& pattern, const std::vector<int>& groups = {1}) {
  return matches_in(text, pattern, groups);
}

class ManualPage : public testing::TestWithParam<fs::path> {};

TEST_P(ManualPage, IsCleanForGroff) {
  QORX_SKIP_WITHOUT("groff");
  EXPECT_EQ(run_command({"groff", "-ww", "-mandoc", "-Tutf8", "-z", GetParam()}, documents()), said(""));
}

// mandoc looks for the pages that are referred to among the installed ones: those of this project need not be there,
// but they must exist here.
bool refers_to_our_page(const std::string& complaint) {
  const Lines page = taken(complaint, R"(referenced manual not found: Xr (\S+) (\d))", {1, 2});
  return !page.empty() && fs::exists(kPages / (page[0] + "." + page[1]));
}

TEST_P(ManualPage, IsCleanForMandoc) {
  QORX_SKIP_WITHOUT("mandoc");
  const ToolRun run = run_command({"mandoc", "-Tlint", GetParam()}, documents());
  for (const std::string& complaint : page_lines(run.output + run.errors)) {
    EXPECT_TRUE(refers_to_our_page(complaint)) << complaint;
  }
}

INSTANTIATE_TEST_SUITE_P(All, ManualPage, testing::ValuesIn(manual_pages()), kNamedByFile);

TEST(Manual, HasAPageForEveryCommandFileAndLibrary) {
  EXPECT_EQ(files_below(kPages),
            (std::set<std::string>{"qorx.8", "qorx.cfg.5", "wmx_name.cfg.5", "smbios.cfg.5", "tovix.cfg.5", "libqorx.3",
                                   "qorx-replay.1", "qorx-capture.1", "qorx-inspect.8", "qorx-inspect.json.5"}));
}

// What a pattern takes in the product's sources.
Lines found_in_sources(const Lines& folders, const std::string& pattern) {
  Lines found;
  for (const std::string& folder : folders) {
    for (const fs::path& path : entries_of(kSource / folder)) {
      if (path.extension() == ".cpp") {
        const Lines more = taken(read_file(path), pattern);
        found.insert(found.end(), more.begin(), more.end());
      }
    }
  }
  return found;
}

Lines plain_lines(const std::string& page) {
  Lines lines = page_lines(read_file(kPages / page));
  std::transform(lines.begin(), lines.end(), lines.begin(), without_escapes);
  return lines;
}

// The pieces of a printf format between its conversions.
Lines fixed_pieces(const std::string& format) {
  return matches_in(format, R"(%(?:\.\*|\.\d)?[sdx]|\\n|\\")", {-1});
}

bool holds_in_order(const std::string& line, const Lines& pieces) {
  std::size_t at = 0;
  for (const std::string& piece : pieces) {
    at = line.find(piece, at);
    if (at == std::string::npos) {
      return false;
    }
    at += piece.size();
  }
  return true;
}

// Texts that neither the command nor a program that uses the library can meet.
const std::set<std::string> kUnreachable{"Error: *conf_file is NULL pointer.\\n", "Can't open %s.\\n"};

TEST(Manual, ExplainsEveryErrorLine) {
  const Lines formats =
      found_in_sources({"base", "cli", "config", "discovery", "ident", "lib", "output", "records", "smbios"},
                       R"re(\berror\("((?:[^"\\]|\\.)*)")re");
  EXPECT_GT(formats.size(), 25U) << "the sources are written differently: adapt the pattern";
  Lines lines = plain_lines("qorx.8");
  const Lines library_lines = plain_lines("libqorx.3");
  lines.insert(lines.end(), library_lines.begin(), library_lines.end());
  for (const std::string& format : formats) {
    const Lines pieces = fixed_pieces(format);
    const bool explained =
        std::any_of(lines.begin(), lines.end(), [&](const std::string& line) { return holds_in_order(line, pieces); });
    EXPECT_TRUE(explained || kUnreachable.contains(format)) << format;
  }
}

TEST(Manual, ExplainsEveryOperationAndOption) {
  const Lines words = found_in_sources({"cli"}, R"re(\b(?:Operation|Option)\{"-([^"]+)")re");
  EXPECT_EQ(words.size(), 19U) << "nine operations and ten options";
  const std::string page = read_file(kPages / "qorx.8");
  for (const std::string& name : words) {
    EXPECT_TRUE(holds_pattern(page, "\n\\.It Fl " + name + "[ \n]")) << name;
  }
}

TEST(Manual, ExplainsEveryColumnAndMark) {
  const std::string page = read_file(kPages / "qorx.8");
  const Lines table = page_lines(doc_example("all-ports").output);
  ASSERT_FALSE(table.empty());
  std::string header = table.front();
  for (const char* const title : {"eth name", "bus:dev.fun", "vid  did", "svid sdid", "mac address", "slot name",
                                  "panel name", "feature", "seg", "model"}) {
    EXPECT_NE(page.find(std::string(".It Sy \"") + title + "\"\n"), std::string::npos) << title;
    const std::size_t at = header.find(title);
    ASSERT_NE(at, std::string::npos) << title;
    header.erase(at, std::string(title).size());
  }
  EXPECT_EQ(header.find_first_not_of(' '), std::string::npos) << "a column without explanation: " << header;
  std::set<std::string> marks;
  for (const std::string& line : table) {
    if (line.starts_with("(")) {
      marks.insert(line.substr(0, line.find(' ')));
    }
  }
  EXPECT_EQ(marks, (std::set<std::string>{"(*)", "(!)", "(?)", "(u)", "(!!)"}));
  for (const std::string& mark : marks) {
    EXPECT_NE(page.find("\n.It " + mark + "\n"), std::string::npos) << mark;
  }
}

// The feature words of a vocabulary, as the source of the words lists them.
TEST(Manual, ListsTheFeatureWordsOfEachFile) {
  const std::string platform_page = read_file(kPages / "qorx.cfg.5");
  const std::string module_page = read_file(kPages / "wmx_name.cfg.5");
  const Lines words =
      taken(read_file(kSource / "ident/features.cpp"), R"re(FeatureWord\{"([^"]+)", \w+, ([^}]+)\})re", {1, 2});
  EXPECT_GE(words.size(), 20U) << "ten words and their vocabularies";
  for (auto word = words.begin(); word != words.end(); word += 2) {
    const auto is_in = [&](const char* vocabulary) { return word[1].find(vocabulary) != std::string::npos; };
    EXPECT_EQ(platform_page.find("\n.It " + *word + "\n") != std::string::npos, is_in("kPlatform")) << *word;
    const std::string listed = "\nThe feature words[^.]*[\\s:]" + *word + "\\b(?!-)";
    EXPECT_EQ(holds_pattern(module_page, listed), is_in("kModule")) << *word;
  }
}

std::vector<fs::path> all_documents() {
  std::vector<fs::path> found = entries_of(documents());
  std::erase_if(found, [](const fs::path& path) { return path.extension() != ".md"; });
  found.insert(found.end(), {kSource / "README.md", kSource / "CONTRIBUTING.md"});
  return found;
}

class Document : public testing::TestWithParam<fs::path> {};

TEST_P(Document, LinksLeadSomewhere) {
  const std::string text = read_file(GetParam());
  EXPECT_NE(text, "");
  for (const std::string& target : taken(text, R"re(\]\(([^)#\s]+)\))re")) {
    if (target.find("://") == std::string::npos) {
      EXPECT_TRUE(fs::exists(GetParam().parent_path() / target)) << target;
    }
  }
}

// Files of the source tree in `code` style: their folder, a slash and a name.
TEST_P(Document, NamesFilesThatExist) {
  for (const std::string& name :
       taken(read_file(GetParam()),
             R"re(`((?:cli|cmake|config|discovery|doc|examples|ident|lib|output|smbios|tests|tools)/[\w./-]*)`)re")) {
    EXPECT_TRUE(fs::exists(kSource / name)) << name;
  }
}

// The worked examples of architecture.md: lines that stay or go in a ```diff block must be in the file that the block
// names, in this order.
TEST(Architecture, WorkedExamplesFitTheSources) {
  bool in_diff = false;
  std::string name;
  Lines source;
  Lines::iterator at;
  int checked = 0;
  for (const std::string& line : page_lines(read_file(documents() / "architecture.md"))) {
    if (line.starts_with("```")) {
      in_diff = line == "```diff";
    } else if (in_diff && line.starts_with("+++ ")) {
      name = line.substr(4);
      source = page_lines(read_file(kSource / name));
      at = source.begin();
    } else if (in_diff && (line.starts_with(" ") || line.starts_with("-"))) {
      at = std::find(at, source.end(), line.substr(1));
      ASSERT_NE(at, source.end()) << name << ": " << line;
      ++at;
      ++checked;
    }
  }
  EXPECT_GT(checked, 20);
}

TEST(Readme, ShowsRealRows) {
  const Lines table = page_lines(doc_example("all-ports").output);
  int shown = 0;
  for (const std::string& line : page_lines(read_file(kSource / "README.md"))) {
    if (holds_pattern(line, "^(eth|br|enx)")) {
      EXPECT_NE(std::find(table.begin(), table.end(), line), table.end()) << line;
      ++shown;
    }
  }
  EXPECT_GT(shown, 5);
}

INSTANTIATE_TEST_SUITE_P(All, Document, testing::ValuesIn(all_documents()), kNamedByFile);

}  // namespace
}  // namespace qorx::test
