// Rules that differ only in their values are rows of a table. Each row is a test of its own with a fresh fixture,
// named by the row's first field, which says the rule:
//
//   struct Split {
//     std::string_view rule;
//     std::string_view text;
//     int fields;
//   };
//   class Splitting : public RowTest<Split> {};         // RowTest<Split, MachineTest> where a machine is needed
//
//   TEST_P(Splitting, CountsFields) {
//     EXPECT_EQ(count_fields(row().text), row().fields);
//   }
//   QORX_ROWS(Splitting, {"a run of slashes counts as one", "a//b", 2},
//             {.rule = "an empty text has none", .text = "", .fields = 0});
//
// The first is the test Splitting.CountsFields/ARunOfSlashesCountsAsOne.
//
// Rows that need no fresh fixture may as well be walked in one test, with SCOPED_TRACE(row.rule).
#ifndef QORX_TESTS_SUPPORT_ROWS_H
#define QORX_TESTS_SUPPORT_ROWS_H

#include <gtest/gtest.h>

#include <cctype>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/fixture.h"

namespace qorx::test {

// "a run of slashes" as "ARunOfSlashes": the name of a test may hold letters and digits only.
inline std::string test_name(std::string_view rule) {
  std::string name;
  bool starts_word = true;
  for (const char c : rule) {
    if (std::isalnum(static_cast<unsigned char>(c)) == 0) {
      starts_word = true;
      continue;
    }
    name += starts_word ? static_cast<char>(std::toupper(static_cast<unsigned char>(c))) : c;
    starts_word = false;
  }
  return name;
}

// For INSTANTIATE_TEST_SUITE_P over files: the tests are named after them.
inline constexpr auto kNamedByFile = [](const auto& tested) { return test_name(tested.param.filename().string()); };

// A row that a failure shows as its rule.
template <class Row>
struct NamedRow {
  NamedRow(Row values) : row(std::move(values)) {}  // NOLINT(google-explicit-constructor): rows are listed as they are
  Row row;
  friend void PrintTo(const NamedRow& named, std::ostream* out) { *out << named.row.rule; }
};

template <class Row, class Fixture = LibraryTest>
class RowTest : public Fixture, public testing::WithParamInterface<NamedRow<Row>> {
 public:
  // For QORX_ROWS.
  static auto values(const std::vector<Row>& rows) {
    return testing::ValuesIn(std::vector<NamedRow<Row>>(rows.begin(), rows.end()));
  }
  static std::string row_name(const testing::TestParamInfo<NamedRow<Row>>& info) {
    return test_name(info.param.row.rule);
  }

 protected:
  static const Row& row() { return testing::WithParamInterface<NamedRow<Row>>::GetParam().row; }
};

}  // namespace qorx::test

#define QORX_ROWS(suite, ...) INSTANTIATE_TEST_SUITE_P(, suite, suite::values({__VA_ARGS__}), suite::row_name)

#endif
