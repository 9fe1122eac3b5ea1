// A transcript says everything that there is to say of a run, in one way only.
#include "tests/support/transcript.h"

#include <gtest/gtest.h>

#include <fstream>
#include <stdexcept>
#include <string>

#include "tests/support/fake_machine.h"

namespace qorx::test {
namespace {

Transcript with_output(const std::string& output) {
  Transcript transcript;
  transcript.program = "qorx";
  transcript.output = output;
  return transcript;
}

TEST(Transcript, ReadsAsItWasTyped) {
  Transcript run = with_output("a row \n");
  run.machine = "edge";
  run.given = {{"qorx.cfg", "# empty\n"}};
  run.arguments = {"-o", "result"};
  run.status = 129;
  run.written = {{"result", "one\n\n"}, {"tovix.cfg", ""}};
  EXPECT_EQ(text_of(run),
            "[machine edge]\n"
            "--- qorx.cfg\n"
            "# empty\n"
            "$ qorx -o result\n"
            "a row \n"
            "[status 129]\n"
            "--- result\n"
            "one\n"
            "\n"
            "--- tovix.cfg\n");
  const Transcript read = parse_transcript(text_of(run));
  EXPECT_EQ(read.machine, run.machine);
  EXPECT_EQ(read.given, run.given);
  EXPECT_EQ(read.program, run.program);
  EXPECT_EQ(read.arguments, run.arguments);
  EXPECT_EQ(read.output, run.output);
  EXPECT_EQ(read.status, run.status);
  EXPECT_EQ(read.written, run.written);
}

TEST(Transcript, KeepsEveryByteOfAText) {
  using std::literals::operator""s;
  for (const std::string& text :
       {"\n"s, "\n\n"s, "no line feed"s, "a\nb"s, " blanks \t \r\n"s, "\0\xff\n"s, "--- tovix.cfg\n"s, "$ qorx\n"s,
        "[status 1]\n"s, "[no newline at the end]"s, "\\\n"s, "\\\\[x\n"s, "\\--- x"s}) {
    EXPECT_EQ(parse_transcript(text_of(with_output(text))).output, text) << text_of(with_output(text));
    Transcript written = with_output("");
    written.written["result"] = text;
    EXPECT_EQ(parse_transcript(text_of(written)).written.at("result"), text);
  }
}

TEST(Transcript, OtherTextsAreRefused) {
  for (const char* const text :
       {"", "x\n", "--- qorx.cfg\nx\n", "$ qorx\n$ qorx\n", "$ \n", "$ qorx\n[machine edge]\n", "$ qorx\n[status x]\n",
        "$ qorx\n[status 1]\nx\n", "$ qorx\n--- a\n[status 1]\n", "$ qorx\n--- a\n--- a\n", "$ qorx\n[unknown]\n",
        "$ qorx\n[no newline at the end]\n", "$ qorx\n\\x\n"}) {
    EXPECT_THROW(parse_transcript(text), std::runtime_error) << text;
  }
}

TEST(Transcript, APlayedRunShowsWhatChanged) {
  Transcript asked = with_output("old");
  asked.given = {{"same", "1"}, {"changed", "1"}};
  asked.written = {{"old", ""}};
  const Transcript played = play(asked, {}, [](const auto& directory) {
    EXPECT_EQ(read_file(directory / "same"), "1");
    std::ofstream(directory / "changed") << "2";
    std::ofstream(directory / "new") << "3";
    return ToolRun{"said", "", 7};
  });
  EXPECT_EQ(played.output, "said");
  EXPECT_EQ(played.status, 7);
  EXPECT_EQ(played.written, (FileTexts{{"changed", "2"}, {"new", "3"}}));
}

}  // namespace
}  // namespace qorx::test
