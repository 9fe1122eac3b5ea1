// --help of the programs for recorded machines: where it goes, and that the manual pages say the same.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/end_to_end/capture.h"
#include "tests/support/fake_machine.h"
#include "tests/support/pattern.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

// With single blanks between words.
std::string in_one_line(const std::string& text) {
  return replace_pattern(text, R"(\s+)", " ");
}

// Where sentences and the descriptions of options end.
std::vector<std::string> sentences_of(const std::string& text) {
  std::vector<std::string> sentences;
  const std::string blocks = replace_pattern(text, R"(\n {4,})", " ");
  for (const std::string& part : matches_in(blocks, R"(\. | {2,}-\S+( [A-Z][A-Za-z.]*)? {2,}|\n\n|\.$)", {-1})) {
    const std::string sentence = in_one_line(part);
    if (sentence.find_first_not_of(' ') != std::string::npos) {
      sentences.push_back(sentence);
    }
  }
  return sentences;
}

class Help : public testing::TestWithParam<const char*> {
 protected:
  static fs::path program() { return std::string(GetParam()) == "qorx-replay" ? replay_program() : capture_program(); }
};

TEST_P(Help, GoesToStandardOutputAndDoesNothingElse) {
  const TemporaryDirectory work;
  const ToolRun run = run_program(program(), {"--help"}, work.path());
  EXPECT_TRUE(run.output.starts_with(std::string("Usage: ") + GetParam() + " ")) << run.output;
  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(run.status, 0);
  EXPECT_TRUE(fs::is_empty(work.path()));
}

TEST_P(Help, SaysWhatItsPageSays) {
  QORX_SKIP_WITHOUT("mandoc");
  const fs::path source = fs::path(QORX_SOURCE_DIR) / "doc/man" / (std::string(GetParam()) + ".1");
  const ToolRun rendered = run_command({"sh", "-c", "mandoc -T ascii '" + source.string() + "' | col -b"});
  std::string page = in_one_line(rendered.output);
  std::string help = run_program(program(), {"--help"}, "/").output;
  // The page prints the words that stand for something in small letters, and the commands with their sections.
  const auto plain = [](std::string text) {
    text = replace_pattern(text, R"(\([18]\))", "");
    for (char& c : text) {
      c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
  };
  page = plain(page);
  const std::size_t first = help.find("\n\n");
  ASSERT_NE(first, std::string::npos);
  const std::vector<std::string> sentences = sentences_of(plain(help.substr(first + 2)));
  EXPECT_GE(sentences.size(), 3U);
  for (const std::string& sentence : sentences) {
    EXPECT_NE(page.find(sentence), std::string::npos) << "not in the page: " << sentence;
  }
}

INSTANTIATE_TEST_SUITE_P(Programs, Help, testing::Values("qorx-replay", "qorx-capture"), [](const auto& program) {
  return std::string(program.param) == "qorx-replay" ? "Replay" : "Capture";
});

}  // namespace
}  // namespace qorx::test
