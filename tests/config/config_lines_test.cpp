#include "config/config_lines.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/support/user_files.h"

namespace qorx::test {
namespace {

// A line, its value where it is correct, and the traces, in which the key is "NAME=".
struct Line {
  std::string_view rule;
  std::string line;
  std::optional<std::string> value;
  std::optional<std::string> traces = {};
  const char* key = "NAME=\"";
};

class ConfigLines : public RowTest<Line> {};

TEST_P(ConfigLines, AreCutToTheirValue) {
  // In memory of exactly its size.
  std::vector<char> line(row().line.c_str(), row().line.c_str() + row().line.size() + 1);
  int result = -1;
  const std::string traces = traced_by([&] { result = qorx_is_string_format_correct(line.data(), row().key); });
  EXPECT_EQ(result, row().value ? 1 : 0);
  if (row().value) {
    EXPECT_EQ(line.data(), *row().value);
  } else if (traces.starts_with("can't find")) {
    EXPECT_EQ(line.data(), row().line);
  }
  EXPECT_EQ(traces.ends_with(std::string("can't find ") + row().key + "\n"), !row().value);
  EXPECT_EQ(traces, row().traces.value_or(traces));
}

// A line without the key is left alone and traces the key only.
Line other(std::string_view rule, const std::string& line) {
  return {rule, line, {}, "can't find NAME=\"\n"};
}

QORX_ROWS(ConfigLines, {"the value lies between the key and the last quote", "NAME=\"SLOT 1\"", "SLOT 1"},
          {"blanks belong to the value", "NAME=\" a \"", " a "}, {"a quote may stand in it", "NAME=\"a\"b\"", "a\"b"},
          {"it may be empty", "NAME=\"\"", ""}, {"it may be a quote", "NAME=\"\"\"", "\""},
          {"blanks behind the line are cut", "NAME=\"a\"  \t\r\n", "a"},
          {"it may look like the key", "NAME=\"NAME=\"\"", "NAME=\""},
          // The key's own quote is then the last character.
          {"a line that is only the key has an empty value", "NAME=\"", ""},
          {"the key and blanks have an empty value", "NAME=\"  \n", ""}, other("an empty line", ""),
          other("a part of the key", "N"), other("a key without its quote", "NAME="),
          other("a key in small letters", "name=\"a\""), other("a blank before the key", " NAME=\"a\""),
          other("a blank within the key", "NAME =\"a\""), other("another key", "TYPE=\"9\"  "), other("a comment", "#"),
          {"a line that does not end with a quote is not correct", "NAME=\"a", std::nullopt,
           tail_traces("NAME=\"a") + "can't find NAME=\"\n"},
          {"a line that ends behind its quote is not correct", "NAME=\"a\"b ", std::nullopt,
           tail_traces("NAME=\"a\"b ") + "can't find NAME=\"\n"},
          {"another quote is none", "NAME=\"a'", {}},
          {"a correct line traces only the trimming", "NAME=\"a\"\n", "a", tail_traces("NAME=\"a\"\n")},
          {"the key is any text", "BUS:DEV.FUN=\"1:2.3\"", "1:2.3", {}, "BUS:DEV.FUN=\""},
          {"the key is no pattern", "BUS:DEV.FUN=\"1:2.3\"", {}, "can't find BUS.DEV.FUN=\"\n", "BUS.DEV.FUN=\""},
          {"a line that fills the buffer keeps its whole value", "NAME=\"" + std::string(1023 - 7, 'v') + "\"",
           std::string(1023 - 7, 'v')});

}  // namespace
}  // namespace qorx::test
