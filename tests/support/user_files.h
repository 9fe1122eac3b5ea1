// The files that a user writes, and what is said of a wrong one. Their text always stands in a file that messages call
// "F" here.
#ifndef QORX_TESTS_SUPPORT_USER_FILES_H
#define QORX_TESTS_SUPPORT_USER_FILES_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/expect.h"
#include "tests/support/rows.h"

namespace qorx::test {

// A stage that reads such a file.
struct UserFileReader {
  const char* rule;
  std::int32_t (*read)(const char* path);
  std::vector<std::string> options;  // of a command that reads the file F
  std::string_view no_data;          // what an empty file lacks; "#" is the number of its last line
  Outcome no_name;                   // of a null pointer
  std::string_view good;             // a file that is accepted where a slot "S" exists
};

extern const UserFileReader kSlotPass;     // qorx.cfg, first pass
extern const UserFileReader kFeaturePass;  // qorx.cfg, second pass
extern const UserFileReader kModuleNames;  // wmx_name.cfg
extern const UserFileReader kOverride;     // smbios.cfg

inline constexpr std::string_view kOpenCode = "Error: QORX_ERR_OPEN_FILE (0x80)\n";
inline constexpr std::string_view kFormatCode = "Error: QORX_ERR_CONF_FILE_FORMAT (0x81)\n";

// What cutting off the blanks in front of a line and behind it traces.
std::string head_traces(const std::string& line);
std::string tail_traces(const std::string& line);

// A wrong file, and the number of the line that its message names.
struct WrongFile {
  std::string text;
  int line = 0;
};
using Files = std::vector<WrongFile>;

// Files that are wrong in one way; "#" in the message stands for the number of the line.
struct WrongFiles {
  std::string_view rule;
  std::string_view message;
  Files files;
};

// One file.
Files at_line(int line, const std::string& text);

// A file for each of the texts, between the same head and tail.
Files variants(int line, std::string_view head, const Texts& texts, std::string_view tail = "\n");

class UserFileTest : public MachineTest {
 protected:
  // Reads a file with this text.
  Outcome read(const UserFileReader& reader, std::string_view text);

  // Reads a file with this text; it must be accepted in silence.
  void apply(const UserFileReader& reader, std::string_view text, Where where = Where::here());

  // Runs a command that reads a file with this text.
  ToolRun run_on(const UserFileReader& reader, std::string_view text, const std::vector<std::string>& options = {});

  // Expects the reader to refuse each file.
  void expect_refused(const UserFileReader& reader, const WrongFiles& wrong, Where where = Where::here());

  // Expects a command to end with each file. Without error messages only its code is left.
  void expect_command_refused(const UserFileReader& reader, const WrongFiles& wrong, Where where = Where::here());
};

// A row of wrong files.
using WrongFileTest = RowTest<WrongFiles, UserFileTest>;

}  // namespace qorx::test

#endif
