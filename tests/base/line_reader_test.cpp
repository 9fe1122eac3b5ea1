#include "base/line_reader.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/support/fake_machine.h"
#include "tests/support/rows.h"

namespace qorx {
namespace {

class LineReaderTest : public testing::Test {
 protected:
  LineReader reader_of(const std::string& content) {
    const std::string path = directory_.path() / "text";
    const FilePtr file(std::fopen(path.c_str(), "w"));
    EXPECT_EQ(std::fwrite(content.data(), 1, content.size(), file.get()), content.size());
    EXPECT_EQ(std::fflush(file.get()), 0);
    return LineReader(open_text_file(path.c_str()));
  }

  test::TemporaryDirectory directory_;
};

std::string xs(std::size_t count, const char* tail = "") {
  return std::string(count, 'x') + tail;
}

struct Reading {
  const char* rule;
  std::string content;
  std::vector<std::string> lines;
  bool ends_with_the_last = false;  // else one more read finds the end, and counts
};

class LineReading : public test::RowTest<Reading, LineReaderTest> {};

TEST_P(LineReading, Reads) {
  LineReader reader = reader_of(row().content);
  int number = 0;
  for (const std::string& line : row().lines) {
    EXPECT_EQ(reader.line_number(), number++);
    EXPECT_FALSE(reader.at_end());
    ASSERT_TRUE(reader.read());
    EXPECT_EQ(std::string(reader.text(), line.size() + 1), line + '\0');
  }
  EXPECT_EQ(reader.line_number(), number);
  EXPECT_EQ(reader.at_end(), row().ends_with_the_last);
  if (!reader.at_end()) {
    EXPECT_FALSE(reader.read());
    EXPECT_TRUE(reader.at_end());
    EXPECT_STREQ(reader.text(), "");
    EXPECT_EQ(reader.line_number(), number + 1);
  }
}

// The piece that fills the buffer: as with fgets, the end is not known before a read meets it.
QORX_ROWS(
    LineReading, {"lines keep their line feed and are counted from one", "one\n\nthree\n", {"one\n", "\n", "three\n"}},
    {"an empty file ends at line one", "", {}},
    {"a last line without line feed is returned at the end", "last", {"last"}, true},
    {"a long line comes in pieces that are counted alone", xs(2050, "\ny\n"), {xs(1023), xs(1023), "xxxx\n", "y\n"}},
    {"a line that just fits the buffer is one piece", xs(1022, "\n"), {xs(1022, "\n")}},
    {"an unterminated piece that fills the buffer is not yet the end", xs(1023), {xs(1023)}},
    {"a shorter line leaves nothing of the one before", "longer\nx\n", {"longer\n", "x\n"}},
    {"a nul byte is part of its line", std::string("a\0b\nc\n", 6), {std::string("a\0b\n", 4), "c\n"}});

TEST_F(LineReaderTest, AnEndlessFileEnds) {
  LineReader reader(open_text_file("/dev/zero"));
  ASSERT_TRUE(reader.is_open());
  while (reader.read()) {
    ASSERT_LE(static_cast<std::size_t>(reader.line_number()), LineReader::kFileLimit);
  }
  EXPECT_TRUE(reader.at_end());
}

TEST_F(LineReaderTest, NothingIsReadBehindTheLimit) {
  LineReader reader = reader_of(xs(LineReader::kFileLimit + 1));
  std::size_t total = 0;
  while (reader.read()) {
    total += std::strlen(reader.text());
  }
  EXPECT_EQ(total, LineReader::kFileLimit);
}

TEST_F(LineReaderTest, WhatIsNoTextFileDoesNotOpen) {
  EXPECT_EQ(open_text_file((directory_.path() / "missing").c_str()), nullptr);
  EXPECT_EQ(open_text_file(directory_.path().c_str()), nullptr);
  EXPECT_EQ(open_text_file(""), nullptr);
  EXPECT_FALSE(LineReader(nullptr).is_open());
}

}  // namespace
}  // namespace qorx
