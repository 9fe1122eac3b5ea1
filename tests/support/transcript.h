// A run written down in one text: what was there, what was typed, what came out.
//
//   [machine edge]                      the sample machine, where the file's place does not say it
//   --- qorx.cfg                        a file that is there before, with its lines
//   SLOT_NAME="LAN1"
//   $ qorx -a -config qorx.cfg          the command, its words parted by blanks
//   Can't find SLOT_NAME! ...           standard output
//   [status 129]                        the exit status, if it is not 0
//   --- tovix.cfg                       a file that the run wrote or changed, with its lines
//
// A text without a line feed at its end is followed by the line "[no newline at the end]". A line of a text that looks
// like one of these marks, or begins with a backslash, has a backslash in front. So every text has exactly one form.
#ifndef QORX_TESTS_SUPPORT_TRANSCRIPT_H
#define QORX_TESTS_SUPPORT_TRANSCRIPT_H

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/support/tool_run.h"

namespace qorx::test {

using FileTexts = std::map<std::string, std::string>;

// The words of a command.
std::vector<std::string> words_of(const std::string& line);

struct Transcript {
  std::string machine;
  FileTexts given;
  std::string program;
  std::vector<std::string> arguments;
  std::string output;
  int status = 0;
  FileTexts written;
};

std::string text_of(const Transcript& transcript);

// Throws where the text is not a transcript, with the number of the line.
Transcript parse_transcript(const std::string& text);
Transcript read_transcript(const std::filesystem::path& file);

// Does what `asked` asks for: `run` runs its command in a fresh directory that holds the files that it gives and
// copies of `beside`. Nothing may be said on standard error.
Transcript play(const Transcript& asked, const std::vector<std::filesystem::path>& beside,
                const std::function<ToolRun(const std::filesystem::path& directory)>& run);

// A sample machine of examples/appliances and the runs that are expected of it.
class Appliance {
 public:
  explicit Appliance(const std::string& name);

  static std::vector<std::string> names();

  [[nodiscard]] std::string name() const { return home_.filename().string(); }
  [[nodiscard]] std::filesystem::path root() const { return home_ / "root"; }
  [[nodiscard]] std::vector<std::filesystem::path> configuration() const;
  [[nodiscard]] std::vector<std::string> cases() const;
  [[nodiscard]] std::filesystem::path file(const std::string& name) const;
  [[nodiscard]] Transcript expected(const std::string& name) const { return read_transcript(file(name)); }

 private:
  std::filesystem::path home_;
};

}  // namespace qorx::test

#endif
