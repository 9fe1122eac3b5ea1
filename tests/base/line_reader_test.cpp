#include "base/line_reader.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/support/fake_machine.h"

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

TEST_F(LineReaderTest, LinesKeepTheirLineFeedAndAreCountedFromOne) {
  LineReader reader = reader_of("one\n\nthree\n");
  EXPECT_EQ(reader.line_number(), 0);
  ASSERT_TRUE(reader.read());
  EXPECT_STREQ(reader.text(), "one\n");
  EXPECT_EQ(reader.line_number(), 1);
  ASSERT_TRUE(reader.read());
  EXPECT_STREQ(reader.text(), "\n");
  ASSERT_TRUE(reader.read());
  EXPECT_STREQ(reader.text(), "three\n");
  EXPECT_FALSE(reader.at_end());
}

TEST_F(LineReaderTest, TheReadThatFindsOnlyTheEndCountsToo) {
  LineReader reader = reader_of("# one\n# two\n");
  EXPECT_TRUE(reader.read());
  EXPECT_TRUE(reader.read());
  EXPECT_FALSE(reader.at_end());
  EXPECT_FALSE(reader.read());
  EXPECT_TRUE(reader.at_end());
  EXPECT_STREQ(reader.text(), "");
  EXPECT_EQ(reader.line_number(), 3);
}

TEST_F(LineReaderTest, AnEmptyFileEndsAtLineOne) {
  LineReader reader = reader_of("");
  EXPECT_FALSE(reader.read());
  EXPECT_TRUE(reader.at_end());
  EXPECT_EQ(reader.line_number(), 1);
}

TEST_F(LineReaderTest, ALastLineWithoutLineFeedIsReturnedAtTheEnd) {
  LineReader reader = reader_of("last");
  EXPECT_TRUE(reader.read());
  EXPECT_STREQ(reader.text(), "last");
  EXPECT_TRUE(reader.at_end());
  EXPECT_EQ(reader.line_number(), 1);
}

TEST_F(LineReaderTest, ALongLineComesInPiecesThatAreCountedAlone) {
  LineReader reader = reader_of(std::string(2050, 'x') + "\ny\n");
  for (const std::size_t length : {1023U, 1023U}) {
    ASSERT_TRUE(reader.read());
    EXPECT_EQ(reader.text(), std::string(length, 'x'));
  }
  ASSERT_TRUE(reader.read());
  EXPECT_STREQ(reader.text(), "xxxx\n");
  ASSERT_TRUE(reader.read());
  EXPECT_STREQ(reader.text(), "y\n");
  EXPECT_EQ(reader.line_number(), 4);
}

TEST_F(LineReaderTest, ALineThatJustFitsTheBufferIsOnePiece) {
  LineReader reader = reader_of(std::string(1022, 'x') + "\n");
  ASSERT_TRUE(reader.read());
  EXPECT_EQ(reader.text(), std::string(1022, 'x') + "\n");
  EXPECT_FALSE(reader.read());
}

// As with fgets, the end is not known before a read meets it.
TEST_F(LineReaderTest, AnUnterminatedPieceThatFillsTheBufferIsNotYetTheEnd) {
  LineReader reader = reader_of(std::string(1023, 'x'));
  ASSERT_TRUE(reader.read());
  EXPECT_FALSE(reader.at_end());
  EXPECT_FALSE(reader.read());
  EXPECT_TRUE(reader.at_end());
  EXPECT_EQ(reader.line_number(), 2);
}

TEST_F(LineReaderTest, AShorterLineLeavesNothingOfTheOneBefore) {
  LineReader reader = reader_of("longer\nx\n");
  reader.read();
  reader.read();
  EXPECT_STREQ(reader.text(), "x\n");
}

TEST_F(LineReaderTest, ANulByteIsPartOfItsLine) {
  LineReader reader = reader_of(std::string("a\0b\nc\n", 6));
  ASSERT_TRUE(reader.read());
  EXPECT_EQ(std::memcmp(reader.text(), "a\0b\n", 5), 0);
  ASSERT_TRUE(reader.read());
  EXPECT_STREQ(reader.text(), "c\n");
}

TEST_F(LineReaderTest, AnEndlessFileEnds) {
  LineReader reader(open_text_file("/dev/zero"));
  ASSERT_TRUE(reader.is_open());
  while (reader.read()) {
    ASSERT_LE(static_cast<std::size_t>(reader.line_number()), LineReader::kFileLimit);
  }
  EXPECT_TRUE(reader.at_end());
}

TEST_F(LineReaderTest, WhatIsNoTextFileDoesNotOpen) {
  EXPECT_EQ(open_text_file((directory_.path() / "missing").c_str()), nullptr);
  EXPECT_EQ(open_text_file(directory_.path().c_str()), nullptr);
  EXPECT_EQ(open_text_file(""), nullptr);
  EXPECT_FALSE(LineReader(nullptr).is_open());
}

}  // namespace
}  // namespace qorx
