// Rules as rows: a table whose rows bear the names of the rules, and one test that checks each row.
#ifndef QORX_TESTS_SUPPORT_RULES_H
#define QORX_TESTS_SUPPORT_RULES_H

#include <gtest/gtest.h>

#include <string>

namespace qorx::test {

// Names a test after the rule of its row, for INSTANTIATE_TEST_SUITE_P.
template <typename Row>
std::string rule_name(const testing::TestParamInfo<Row>& row) {
  return row.param.rule;
}

}  // namespace qorx::test

#endif
