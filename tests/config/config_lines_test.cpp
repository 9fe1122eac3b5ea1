#include "config/config_lines.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/support/library.h"

namespace qorx::test {
namespace {

class ConfigLines : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  // Calls the function on a line in memory of exactly its size.
  int call(const std::string& line, const char* key) {
    line_.assign(line.c_str(), line.c_str() + line.size() + 1);
    int result = -1;
    traces_ = traced_by([&] { result = qorx_is_string_format_correct(line_.data(), key); });
    return result;
  }

  std::vector<char> line_;
  std::string traces_;
};

TEST_F(ConfigLines, TheValueLiesBetweenTheKeyAndTheLastQuote) {
  const struct {
    const char* line;
    const char* value;
  } cases[] = {
      {"NAME=\"SLOT 1\"", "SLOT 1"}, {"NAME=\" a \"", " a "},     {"NAME=\"a\"b\"", "a\"b"},       {"NAME=\"\"", ""},
      {"NAME=\"\"\"", "\""},         {"NAME=\"a\"  \t\r\n", "a"}, {"NAME=\"NAME=\"\"", "NAME=\""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    EXPECT_EQ(call(c.line, "NAME=\""), 1);
    EXPECT_STREQ(line_.data(), c.value);
    EXPECT_EQ(traces_.find("can't find"), std::string::npos);
  }
}

// The key's own quote is then the last character, and the value is empty.
TEST_F(ConfigLines, ALineThatIsOnlyTheKeyHasAnEmptyValue) {
  for (const char* const line : {"NAME=\"", "NAME=\"  \n"}) {
    SCOPED_TRACE(line);
    EXPECT_EQ(call(line, "NAME=\""), 1);
    EXPECT_STREQ(line_.data(), "");
  }
}

TEST_F(ConfigLines, AnotherLineIsLeftAloneAndTracesTheKey) {
  for (const char* const line : {"", "N", "NAME=", "name=\"a\"", " NAME=\"a\"", "NAME =\"a\"", "TYPE=\"9\"  ", "#"}) {
    SCOPED_TRACE(line);
    EXPECT_EQ(call(line, "NAME=\""), 0);
    EXPECT_STREQ(line_.data(), line);
    EXPECT_EQ(traces_, "can't find NAME=\"\n");
  }
}

TEST_F(ConfigLines, ALineThatDoesNotEndWithAQuoteIsNotCorrect) {
  EXPECT_EQ(call("NAME=\"a", "NAME=\""), 0);
  EXPECT_EQ(traces_, "check tail char of !NAME=\"a!\ncan't find NAME=\"\n");
  EXPECT_EQ(call("NAME=\"a\"b ", "NAME=\""), 0);
  EXPECT_EQ(traces_, "check tail char of !NAME=\"a\"b !\nremove tail 1 char !NAME=\"a\"b!\ncan't find NAME=\"\n");
  EXPECT_EQ(call("NAME=\"a'", "NAME=\""), 0);
}

TEST_F(ConfigLines, ACorrectLineTracesOnlyTheTrimming) {
  EXPECT_EQ(call("NAME=\"a\"\n", "NAME=\""), 1);
  EXPECT_EQ(traces_, "check tail char of !NAME=\"a\"\n!\nremove tail 1 char !NAME=\"a\"!\n");
}

TEST_F(ConfigLines, TheKeyIsAnyText) {
  EXPECT_EQ(call("BUS:DEV.FUN=\"1:2.3\"", "BUS:DEV.FUN=\""), 1);
  EXPECT_STREQ(line_.data(), "1:2.3");
  EXPECT_EQ(call("BUS:DEV.FUN=\"1:2.3\"", "BUS.DEV.FUN=\""), 0);
  EXPECT_EQ(traces_, "can't find BUS.DEV.FUN=\"\n");
}

TEST_F(ConfigLines, ALineThatFillsTheBufferKeepsItsWholeValue) {
  const std::string value(1023 - 7, 'v');
  EXPECT_EQ(call("NAME=\"" + value + "\"", "NAME=\""), 1);
  EXPECT_EQ(std::string(line_.data()), value);
}

}  // namespace
}  // namespace qorx::test
