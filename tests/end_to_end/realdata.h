// Recorded real machines. They are no part of this repository: the directory that holds them is named when the
// build is configured (QORX_REALDATA_DIR), and without it the tests that read them are skipped.
#ifndef QORX_TESTS_END_TO_END_REALDATA_H
#define QORX_TESTS_END_TO_END_REALDATA_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tests/end_to_end/system_tools.h"
#include "tests/support/library.h"
#include "tests/support/rows.h"
#include "tests/support/tool_run.h"

namespace qorx::test::realdata {

namespace fs = std::filesystem;

inline const fs::path kRealData = QORX_REALDATA_DIR;

using Row = std::vector<std::string>;

// The lines of a listing without its comments, each split at tabs.
inline std::vector<Row> read_listing(const fs::path& file) {
  std::vector<Row> rows;
  for (const std::string& line : lines_of(read_file(file))) {
    if (line.starts_with("#")) {
      continue;
    }
    Row& row = rows.emplace_back();
    std::istringstream columns(line);
    for (std::string column; std::getline(columns, column, '\t');) {
      row.push_back(column);
    }
  }
  return rows;
}

// The files or folders of `folder` whose names end in `suffix`, without it. One empty name where there are none, so
// that something is left to report it.
inline std::vector<std::string> recordings(const std::string& folder, const std::string& suffix) {
  std::vector<std::string> result;
  std::error_code no_such_folder;
  for (const auto& entry : fs::directory_iterator(kRealData / folder, no_such_folder)) {
    const std::string name = entry.path().filename().string();
    if (name.ends_with(suffix)) {
      result.push_back(folder + "/" + name.substr(0, name.size() - suffix.size()));
    }
  }
  std::sort(result.begin(), result.end());
  return result.empty() ? std::vector<std::string>{""} : result;
}

// The machines whose firmware tables were recorded, or put together from what was.
inline std::vector<std::string> recorded_tables() {
  std::vector<std::string> all = recordings("smbios", "");
  if (!kRealData.empty()) {
    for (const std::string& name : recordings("smbios-rebuilt", "")) {
      all.push_back(name.empty() ? "smbios-rebuilt" : name);
    }
  }
  return all;
}

// For INSTANTIATE_TEST_SUITE_P.
inline constexpr auto kNamedByRecording = [](const auto& tested) {
  return tested.param.empty() ? "None" : test_name(tested.param);
};

class RealMachine : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    QORX_SKIP_IF(kRealData.empty(), "no recorded machines: QORX_REALDATA_DIR is not set");
    ASSERT_NE(GetParam(), "") << "no recordings below " << kRealData;
    reset_library();
  }

  static fs::path path(const std::string& suffix = "") { return kRealData / (GetParam() + suffix); }
};

inline std::string trimmed(std::string text) {
  text.erase(0, std::min(text.find_first_not_of(" \t"), text.size()));
  text.erase(text.find_last_not_of(" \n\r\t") + 1);
  return text;
}

// A designation column with its bytes written as \xNN turned back.
inline std::string unescaped(const std::string& text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text.compare(i, 2, "\\x") == 0 && i + 3 < text.size()) {
      result += static_cast<char>(std::stoi(text.substr(i + 2, 2), nullptr, 16));
      i += 3;
    } else {
      result += text[i];
    }
  }
  return result;
}

// One line of expected.txt: type, address, designation, "len=17 idx=1/1 seg=0000".
struct ExpectedSlot {
  int type = 0;
  unsigned bus = 0;
  unsigned device_function = 0;
  std::string designation;  // as it lies in the table
  unsigned number = 0;      // of the designation string

  explicit ExpectedSlot(const Row& row) : type(std::stoi(row.at(0))), designation(unescaped(row.at(2))) {
    unsigned length = 0;
    unsigned strings = 0;
    EXPECT_EQ(std::sscanf(row.at(3).c_str(), "len=%u idx=%u/%u", &length, &number, &strings), 3);
    unsigned dev = 0;
    unsigned fun = 0;
    if (std::sscanf(row.at(1).c_str(), "%x:%x.%x", &bus, &dev, &fun) == 3) {
      device_function = dev << 3 | fun;
      return;
    }
    // Without address fields the address is read from the string set: the designation and its two NULs.
    EXPECT_EQ(number, 1U);
    EXPECT_EQ(strings, 1U);
    const std::string set = designation + std::string(2, '\0');
    bus = static_cast<unsigned char>(set.at((type == 9 ? 0x0FU : 0x09U) - length));
    device_function = static_cast<unsigned char>(set.at((type == 9 ? 0x10U : 0x0AU) - length));
  }
};

inline std::vector<ExpectedSlot> expected_slots(const fs::path& machine) {
  std::vector<ExpectedSlot> slots;
  for (const Row& row : read_listing(machine / "expected.txt")) {
    slots.emplace_back(row);
    // Number 0 has no string of its own and keeps the designation of the record before.
    if (slots.back().number == 0) {
      slots.back().designation = slots.size() > 1 ? slots[slots.size() - 2].designation : "";
    }
  }
  return slots;
}

}  // namespace qorx::test::realdata

#endif
