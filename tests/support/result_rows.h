// The rows of the printed table, by column.
#ifndef QORX_TESTS_SUPPORT_RESULT_ROWS_H
#define QORX_TESTS_SUPPORT_RESULT_ROWS_H

#include <sstream>
#include <string>

namespace qorx::test {

// The text of a column without the blanks that fill it.
inline std::string column_of(const std::string& line, std::size_t first, std::size_t width) {
  const std::string cell = line.size() <= first ? "" : line.substr(first, width);
  return cell.substr(0, cell.find_last_not_of(' ') + 1);
}

// "<slot> | <panel> | <feature> | <model>" of an interface; columns must not be wider than their room in the table.
inline std::string row_of(const std::string& output, const std::string& eth_name) {
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(eth_name + " ")) {
      return column_of(line, 68, 25) + " | " + column_of(line, 94, 28) + " | " + column_of(line, 123, 15) + " | " +
             column_of(line, 143, std::string::npos);
    }
  }
  return "no row";
}

}  // namespace qorx::test

#endif
