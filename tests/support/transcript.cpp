#include "tests/support/transcript.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "tests/support/fake_machine.h"

namespace qorx::test {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kMachine = "[machine ";
constexpr std::string_view kFile = "--- ";
constexpr std::string_view kCommand = "$ ";
constexpr std::string_view kStatus = "[status ";
constexpr std::string_view kNoNewline = "[no newline at the end]";

bool looks_like_a_mark(std::string_view line) {
  constexpr std::array<std::string_view, 4> kBegins{kFile, kCommand, "[", "\\"};
  return std::any_of(kBegins.begin(), kBegins.end(),
                     [line](std::string_view begin) { return line.starts_with(begin); });
}

// The lines of a text, as they stand in a transcript.
std::string quoted(const std::string& text) {
  std::istringstream lines(text);
  std::string shown;
  for (std::string line; std::getline(lines, line);) {
    shown += (looks_like_a_mark(line) ? "\\" : "") + line + "\n";
  }
  if (!text.empty() && text.back() != '\n') {
    shown += std::string(kNoNewline) + "\n";
  }
  return shown;
}

std::string quoted(const FileTexts& files) {
  std::string shown;
  for (const auto& [name, text] : files) {
    shown += std::string(kFile) + name + "\n" + quoted(text);
  }
  return shown;
}

// Takes a transcript apart, line by line.
class Parser {
 public:
  void take(const std::string& line) {
    if (line.starts_with(kMachine)) {
      require(text_ == nullptr && !in_command_ && result_.machine.empty());
      result_.machine = bracketed(line, kMachine);
    } else if (line.starts_with(kFile)) {
      FileTexts& files = in_command_ ? result_.written : result_.given;
      const auto [file, is_new] = files.emplace(line.substr(kFile.size()), "");
      require(is_new);
      text_ = &file->second;
    } else if (line.starts_with(kCommand)) {
      take_command(line);
    } else if (line.starts_with(kStatus)) {
      require(text_ == &result_.output);
      result_.status = std::stoi(bracketed(line, kStatus));
      text_ = nullptr;
    } else if (line == kNoNewline) {
      require(text_ != nullptr && text_->ends_with('\n'));
      text_->pop_back();
    } else {
      take_text(line);
    }
  }

  Transcript result() {
    require(in_command_);
    return std::move(result_);
  }

 private:
  static void require(bool right) {
    if (!right) {
      throw std::runtime_error("this is no transcript");
    }
  }

  static std::string bracketed(const std::string& line, std::string_view mark) {
    require(line.ends_with("]"));
    return line.substr(mark.size(), line.size() - mark.size() - 1);
  }

  void take_command(const std::string& line) {
    require(!in_command_);
    in_command_ = true;
    result_.arguments = words_of(line.substr(kCommand.size()));
    require(!result_.arguments.empty());
    result_.program = result_.arguments.front();
    result_.arguments.erase(result_.arguments.begin());
    text_ = &result_.output;
  }

  void take_text(const std::string& line) {
    require(text_ != nullptr);
    if (line.starts_with('\\')) {
      require(looks_like_a_mark(std::string_view(line).substr(1)));
      *text_ += line.substr(1) + "\n";
    } else {
      require(!looks_like_a_mark(line));
      *text_ += line + "\n";
    }
  }

  Transcript result_;
  std::string* text_ = nullptr;  // which the next line belongs to
  bool in_command_ = false;
};

FileTexts files_in(const fs::path& directory) {
  FileTexts files;
  for (const auto& entry : fs::directory_iterator(directory)) {
    files[entry.path().filename().string()] = read_file(entry.path());
  }
  return files;
}

}  // namespace

std::string text_of(const Transcript& transcript) {
  std::string text;
  if (!transcript.machine.empty()) {
    text += std::string(kMachine) + transcript.machine + "]\n";
  }
  text += quoted(transcript.given) + std::string(kCommand) + transcript.program;
  for (const std::string& argument : transcript.arguments) {
    text += " " + argument;
  }
  text += "\n" + quoted(transcript.output);
  if (transcript.status != 0) {
    text += std::string(kStatus) + std::to_string(transcript.status) + "]\n";
  }
  return text + quoted(transcript.written);
}

Transcript parse_transcript(const std::string& text) {
  Parser parser;
  std::istringstream lines(text);
  int number = 0;
  try {
    for (std::string line; std::getline(lines, line);) {
      ++number;
      parser.take(line);
    }
    return parser.result();
  } catch (const std::exception& wrong) {
    throw std::runtime_error("line " + std::to_string(number) + ": " + wrong.what());
  }
}

Transcript read_transcript(const fs::path& file) {
  try {
    return parse_transcript(read_file(file));
  } catch (const std::exception& wrong) {
    throw std::runtime_error(file.string() + ": " + wrong.what());
  }
}

Transcript play(const Transcript& asked, const std::vector<fs::path>& beside,
                const std::function<ToolRun(const fs::path& directory)>& run) {
  const TemporaryDirectory directory;
  for (const fs::path& file : beside) {
    fs::copy_file(file, directory.path() / file.filename());
  }
  for (const auto& [name, text] : asked.given) {
    std::ofstream(directory.path() / name, std::ios::binary) << text;
  }
  const FileTexts before = files_in(directory.path());

  const ToolRun result = run(directory.path());

  EXPECT_EQ(result.errors, "");
  Transcript played = asked;
  played.output = result.output;
  played.status = result.status;
  played.written = files_in(directory.path());
  for (const auto& [name, text] : before) {
    const auto file = played.written.find(name);
    if (file == played.written.end()) {
      ADD_FAILURE() << name << " is gone";
    } else if (file->second == text) {
      played.written.erase(file);
    }
  }
  return played;
}

std::vector<std::string> words_of(const std::string& line) {
  std::istringstream stream(line);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

namespace {

const fs::path kAppliances = fs::path(QORX_SOURCE_DIR) / "examples/appliances";

}  // namespace

Appliance::Appliance(const std::string& name) : home_(kAppliances / name) {}

std::vector<std::string> Appliance::names() {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(kAppliances)) {
    if (fs::is_directory(entry.path() / "expected")) {
      names.push_back(entry.path().filename().string());
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::vector<fs::path> Appliance::configuration() const {
  return {home_ / "qorx.cfg", home_ / "wmx_name.cfg", home_ / "smbios.cfg"};
}

std::vector<std::string> Appliance::cases() const {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(home_ / "expected")) {
    names.push_back(entry.path().stem().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

fs::path Appliance::file(const std::string& name) const {
  return home_ / "expected" / (name + ".txt");
}

}  // namespace qorx::test
