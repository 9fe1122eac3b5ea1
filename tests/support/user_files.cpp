#include "tests/support/user_files.h"

#include <algorithm>

#include "config/stages.h"
#include "smbios/entry_point.h"
#include "smbios/override_file.h"

namespace qorx::test {

namespace {

constexpr std::string_view kNoSlotName = "Can't find SLOT_NAME! F line: #";
constexpr std::string_view kGoodPlatformFile = "SLOT_NAME=\"S\"\n";
const Outcome kNullPointer{"Error: *conf_file is NULL pointer.\n", 0x94};

std::string excerpt(std::string_view text) {
  return std::string(text.substr(0, 200));
}

std::string replaced(std::string text, std::string_view from, std::string_view to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

std::string message_of(const WrongFiles& wrong, const WrongFile& file) {
  return replaced(std::string(wrong.message) + "\n", "#", std::to_string(file.line));
}

}  // namespace

const UserFileReader kSlotPass{.rule = "the first pass over the platform file",
                               .read = qorx_check_conf_file_SW,
                               .options = {"-a", "-config", "F"},
                               .no_data = kNoSlotName,
                               .no_name = kNullPointer,
                               .good = kGoodPlatformFile};
const UserFileReader kFeaturePass{.rule = "the second pass over the platform file",
                                  .read = qorx_check_conf_file,
                                  .options = {"-a", "-config", "F"},
                                  .no_data = kNoSlotName,
                                  .no_name = kNullPointer,
                                  .good = kGoodPlatformFile};
const UserFileReader kModuleNames{.rule = "the module name file",
                                  .read = qorx_check_WMX_name_file,
                                  .options = {"-a", "-legacy", "-sys_WMX_cfg", "F"},
                                  .no_data = "Can't find WMX NAME in F",
                                  .no_name = {},
                                  .good = "WMX-2848 POE\n"};
const UserFileReader kOverride{.rule = "the override file",
                               .read = Search_SMBIOS_cfg,
                               .options = {"-a", "-smbios_cfg", "F"},
                               .no_data = "Can't find TYPE! F line: #",
                               .no_name = kNullPointer,
                               .good = "TYPE=\"9\"\nNAME=\"S\"\nBUS:DEV.FUN=\"01:00.0\"\n"};

std::string head_traces(const std::string& line) {
  const std::size_t blanks = std::min(line.find_first_not_of(" \t"), line.size());
  return "check head char of !" + line + "!\n" +
         (blanks == 0 ? "" : "remove head " + std::to_string(blanks) + " char !" + line.substr(blanks) + "!\n");
}

std::string tail_traces(const std::string& line) {
  const std::size_t kept = line.find_last_not_of(" \t\r\n") + 1;
  const std::string blanks = std::to_string(line.size() - kept);
  return "check tail char of !" + line + "!\n" +
         (blanks == "0" ? "" : "remove tail " + blanks + " char !" + line.substr(0, kept) + "!\n");
}

Files at_line(int line, const std::string& text) {
  return {{text, line}};
}

Files variants(int line, std::string_view head, const Texts& texts, std::string_view tail) {
  Files files;
  for (const std::string& text : texts) {
    files.push_back({std::string(head) + text + std::string(tail), line});
  }
  return files;
}

Outcome UserFileTest::read(const UserFileReader& reader, std::string_view text) {
  const std::string path = machine_.user_file("F", text);
  Outcome outcome = outcome_of([&] { return reader.read(path.c_str()); });
  outcome.printed = replaced(outcome.printed, path, "F");
  return outcome;
}

void UserFileTest::apply(const UserFileReader& reader, std::string_view text, Where where) {
  const testing::ScopedTrace trace(where.file, where.line, excerpt(text));
  EXPECT_EQ(read(reader, text), Outcome{});
}

ToolRun UserFileTest::run_on(const UserFileReader& reader, std::string_view text,
                             const std::vector<std::string>& options) {
  machine_.user_file("F", text);
  std::vector<std::string> words = reader.options;
  words.insert(words.end(), options.begin(), options.end());
  return machine_.run(words);
}

void UserFileTest::expect_refused(const UserFileReader& reader, const WrongFiles& wrong, Where where) {
  for (const WrongFile& file : wrong.files) {
    const testing::ScopedTrace trace(where.file, where.line, excerpt(file.text));
    reset_library();
    Search_SMBIOS_entry_point(nullptr, nullptr);
    EXPECT_EQ(read(reader, file.text), (Outcome{message_of(wrong, file), 0x81}));
  }
}

void UserFileTest::expect_command_refused(const UserFileReader& reader, const WrongFiles& wrong, Where where) {
  for (const WrongFile& file : wrong.files) {
    const testing::ScopedTrace trace(where.file, where.line, excerpt(file.text));
    const ToolRun run = run_on(reader, file.text);
    EXPECT_EQ(run.output, message_of(wrong, file) + std::string(kFormatCode));
    EXPECT_EQ(run.status, 0x81);
  }
  EXPECT_EQ(run_on(reader, wrong.files.front().text, {"-ML", "0"}).output, kFormatCode);
}

}  // namespace qorx::test
