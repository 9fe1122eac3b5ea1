// The manual pages: free of formatting errors, and complete. And the documents' references to files.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "tests/end_to_end/manual_page.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

const fs::path kSource = QORX_SOURCE_DIR;

// The first of these that is installed; empty when none is.
fs::path installed(const std::string& tool) {
  for (const char* const directory : {"/usr/bin", "/usr/local/bin", "/bin"}) {
    if (fs::exists(fs::path(directory) / tool)) {
      return fs::path(directory) / tool;
    }
  }
  return {};
}

class ManualPage : public testing::TestWithParam<fs::path> {};

TEST_P(ManualPage, IsCleanForGroff) {
  const fs::path groff = installed("groff");
  if (groff.empty()) {
    GTEST_SKIP() << "groff is not installed";
  }
  const ToolRun run = run_program(groff, {"-ww", "-mandoc", "-Tutf8", "-z", GetParam().string()}, documents());
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output + run.errors, "");
}

// mandoc looks for the pages that are referred to among the installed ones: those of this project need not be there,
// but they must exist here.
bool refers_to_our_page(const std::string& complaint) {
  static const std::regex reference(R"(referenced manual not found: Xr (\S+) (\d))");
  std::smatch match;
  return std::regex_search(complaint, match, reference) &&
         fs::exists(documents() / "man" / (match[1].str() + "." + match[2].str()));
}

TEST_P(ManualPage, IsCleanForMandoc) {
  const fs::path mandoc = installed("mandoc");
  if (mandoc.empty()) {
    GTEST_SKIP() << "mandoc is not installed";
  }
  const ToolRun run = run_program(mandoc, {"-Tlint", GetParam().string()}, documents());
  for (const std::string& complaint : page_lines(run.output + run.errors)) {
    EXPECT_TRUE(refers_to_our_page(complaint)) << complaint;
  }
}

INSTANTIATE_TEST_SUITE_P(All, ManualPage, testing::ValuesIn(manual_pages()), kNamedByFile);

TEST(Manual, HasAPageForEveryCommandFileAndLibrary) {
  std::set<std::string> names;
  for (const fs::path& page : manual_pages()) {
    names.insert(page.filename().string());
  }
  EXPECT_EQ(names,
            (std::set<std::string>{"qorx.8", "qorx.cfg.5", "wmx_name.cfg.5", "smbios.cfg.5", "tovix.cfg.5", "libqorx.3",
                                   "qorx-replay.1", "qorx-capture.1", "qorx-inspect.8", "qorx-inspect.json.5"}));
}

// All matches of a pattern's first group in the product's sources.
std::vector<std::string> found_in_sources(const std::vector<std::string>& folders, const std::regex& pattern) {
  std::vector<std::string> found;
  for (const std::string& folder : folders) {
    for (const auto& entry : fs::directory_iterator(kSource / folder)) {
      const std::string text = entry.path().extension() == ".cpp" ? read_file(entry.path()) : "";
      for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match) {
        found.push_back((*match)[1].str());
      }
    }
  }
  return found;
}

Lines plain_lines(const std::string& page) {
  Lines lines = page_lines(read_file(documents() / "man" / page));
  std::transform(lines.begin(), lines.end(), lines.begin(), without_escapes);
  return lines;
}

// The pieces of a printf format between its conversions.
Lines fixed_pieces(const std::string& format) {
  static const std::regex conversion(R"(%(?:\.\*|\.\d)?[sdx]|\\n|\\")");
  Lines pieces;
  for (std::sregex_token_iterator piece(format.begin(), format.end(), conversion, -1), end; piece != end; ++piece) {
    pieces.push_back(piece->str());
  }
  return pieces;
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
  const std::regex message(R"re(\berror\("((?:[^"\\]|\\.)*)")re");
  const auto formats =
      found_in_sources({"base", "cli", "config", "discovery", "ident", "lib", "output", "records", "smbios"}, message);
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
  const std::regex word(R"re(\b(?:Operation|Option)\{"-([^"]+)")re");
  const auto words = found_in_sources({"cli"}, word);
  EXPECT_EQ(words.size(), 19U) << "nine operations and ten options";
  const std::string page = read_file(documents() / "man/qorx.8");
  for (const std::string& name : words) {
    EXPECT_TRUE(std::regex_search(page, std::regex("\n\\.It Fl " + name + "[ \n]"))) << name;
  }
}

TEST(Manual, ExplainsEveryColumnAndMark) {
  const std::string page = read_file(documents() / "man/qorx.8");
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
  const std::string words = read_file(kSource / "ident/features.cpp");
  const std::string platform_page = read_file(documents() / "man/qorx.cfg.5");
  const std::string module_page = read_file(documents() / "man/wmx_name.cfg.5");
  const std::regex entry(R"re(FeatureWord\{"([^"]+)", \w+, ([^}]+)\})re");
  int checked = 0;
  for (std::sregex_iterator match(words.begin(), words.end(), entry), end; match != end; ++match, ++checked) {
    const std::string word = (*match)[1].str();
    const std::string vocabularies = (*match)[2].str();
    EXPECT_EQ(platform_page.find("\n.It " + word + "\n") != std::string::npos,
              vocabularies.find("kPlatform") != std::string::npos)
        << word;
    const std::regex listed("\nThe feature words[^.]*[\\s:]" + word + "\\b(?!-)");
    EXPECT_EQ(std::regex_search(module_page, listed), vocabularies.find("kModule") != std::string::npos) << word;
  }
  EXPECT_GE(checked, 10);
}

std::vector<fs::path> all_documents() {
  std::vector<fs::path> found{kSource / "README.md", kSource / "CONTRIBUTING.md"};
  for (const auto& entry : fs::directory_iterator(documents())) {
    if (entry.path().extension() == ".md") {
      found.push_back(entry.path());
    }
  }
  std::sort(found.begin(), found.end());
  return found;
}

class Document : public testing::TestWithParam<fs::path> {};

TEST_P(Document, LinksLeadSomewhere) {
  const std::string text = read_file(GetParam());
  EXPECT_NE(text, "");
  const std::regex link(R"re(\]\(([^)#\s]+)\))re");
  for (std::sregex_iterator match(text.begin(), text.end(), link), end; match != end; ++match) {
    const std::string target = (*match)[1].str();
    if (target.find("://") == std::string::npos) {
      EXPECT_TRUE(fs::exists(GetParam().parent_path() / target)) << target;
    }
  }
}

// Files of the source tree in `code` style: their folder, a slash and a name.
TEST_P(Document, NamesFilesThatExist) {
  const std::string text = read_file(GetParam());
  const std::regex name(
      R"re(`((?:cli|cmake|config|discovery|doc|examples|ident|lib|output|smbios|tests|tools)/[\w./-]*)`)re");
  for (std::sregex_iterator match(text.begin(), text.end(), name), end; match != end; ++match) {
    EXPECT_TRUE(fs::exists(kSource / (*match)[1].str())) << (*match)[1].str();
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
    if (std::regex_search(line, std::regex("^(eth|br|enx)"))) {
      EXPECT_NE(std::find(table.begin(), table.end(), line), table.end()) << line;
      ++shown;
    }
  }
  EXPECT_GT(shown, 5);
}

INSTANTIATE_TEST_SUITE_P(All, Document, testing::ValuesIn(all_documents()), kNamedByFile);

}  // namespace
}  // namespace qorx::test
