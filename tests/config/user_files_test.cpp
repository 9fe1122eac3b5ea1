// What all files that a user writes have in common.
#include "tests/support/user_files.h"
#include "tests/support/pattern.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "base/messages.h"
#include "tests/support/unprivileged.h"

namespace qorx::test {
namespace {

using UserFiles = RowTest<UserFileReader, UserFileTest>;

QORX_ROWS(UserFiles, kSlotPass, kFeaturePass, kModuleNames, kOverride);

Outcome read_path(const UserFileReader& reader, const std::string& path) {
  return outcome_of([&] { return reader.read(path.c_str()); });
}

TEST_P(UserFiles, ANullPointerNamesNoFile) {
  EXPECT_EQ(outcome_of([] { return row().read(nullptr); }), row().no_name);
}

TEST_P(UserFiles, AFileThatCantBeOpenedIsReportedByItsName) {
  for (const std::string& path : {std::string("/nowhere/F"), machine_.work().string(), std::string()}) {
    EXPECT_EQ(read_path(row(), path), (Outcome{"Error: Open file " + path + " failed.\n", 0x80}));
  }
}

TEST_P(UserFiles, AFileWithoutReadPermissionCantBeOpened) {
  const std::string path = machine_.user_file("F", "");
  std::filesystem::permissions(path, std::filesystem::perms::none);
  g_error_message_open = 0;
  EXPECT_TRUE(holds_without_root(machine_, [&] { return row().read(path.c_str()) == 0x80; }));
}

TEST_P(UserFiles, AFileThatCantBeOpenedEndsTheCommand) {
  const ToolRun missing = machine_.run(row().options);
  EXPECT_EQ(missing.output, "Error: Open file F failed.\n" + std::string(kOpenCode));
  EXPECT_EQ(missing.status, 0x80);
  std::vector<std::string> words = row().options;
  words.insert(words.end(), {"-ML", "0"});
  expect_run(machine_, words, kOpenCode, 0x80);
}

TEST_P(UserFiles, AnEmptyNameIsAFileThatCantBeOpened) {
  std::vector<std::string> words = row().options;
  words.back() = "";
  expect_run(machine_, words, "Error: Open file  failed.\n" + std::string(kOpenCode), 0x80);
}

TEST_P(UserFiles, AnEmptyFileHasNoData) {
  expect_refused(row(), {"", row().no_data, {{"", 1}}});
  expect_command_refused(row(), {"", row().no_data, {{"", 1}}});
}

TEST_P(UserFiles, AnEndlessAndAnEmptyDeviceHaveNoData) {
  for (const std::string& device : {std::string("/dev/zero"), std::string("/dev/null")}) {
    const Outcome outcome = read_path(row(), device);
    std::string pattern = replace_pattern(std::string(row().no_data), "#", "[0-9]+") + "\n";
    pattern = replace_pattern(pattern, "F", device);
    EXPECT_FALSE(match_whole(outcome.printed, pattern).empty()) << outcome.printed.substr(0, 200);
    EXPECT_EQ(outcome.code, 0x81);
  }
}

TEST_P(UserFiles, APipeServesOneReading) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const std::string_view text = row().good;
  EXPECT_EQ(write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  close(ends[1]);
  add_slot("S");
  EXPECT_EQ(read_path(row(), "/dev/fd/" + std::to_string(ends[0])), Outcome{});
  close(ends[0]);
}

}  // namespace
}  // namespace qorx::test
