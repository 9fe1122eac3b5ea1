#include "inspect/arguments.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace qorx::inspect {

namespace {

struct CommandWord {
  std::string_view word;
  Command command;
  const char* operand;  // what the command needs behind it, null for nothing
};

constexpr std::array kCommands{
    CommandWord{"json", Command::kJson, nullptr},         CommandWord{"compare", Command::kCompare, "EXPECTED.json"},
    CommandWord{"link", Command::kLink, nullptr},         CommandWord{"draw", Command::kDraw, nullptr},
    CommandWord{"explain", Command::kExplain, "a port"},  CommandWord{"--help", Command::kHelp, nullptr},
    CommandWord{"--version", Command::kVersion, nullptr},
};

enum class Word : std::uint8_t { kRoot, kOutput, kIgnore, kWith, kPrimary, kDryRun };

struct OwnWord {
  std::string_view word;
  Word meaning;
  bool takes_value;
  std::array<Command, 2> only_for;  // kHelp: for all that look at a machine
};

constexpr std::array kOwnWords{
    OwnWord{"--root", Word::kRoot, true, {Command::kHelp, Command::kHelp}},
    OwnWord{"-o", Word::kOutput, true, {Command::kLink, Command::kDraw}},
    OwnWord{"--ignore", Word::kIgnore, true, {Command::kCompare, Command::kCompare}},
    OwnWord{"--with", Word::kWith, true, {Command::kCompare, Command::kCompare}},
    OwnWord{"--primary", Word::kPrimary, false, {Command::kLink, Command::kLink}},
    OwnWord{"--dry-run", Word::kDryRun, false, {Command::kLink, Command::kLink}},
};

bool is_for(const OwnWord& word, Command command) {
  return word.only_for[0] == Command::kHelp ||
         std::find(word.only_for.begin(), word.only_for.end(), command) != word.only_for.end();
}

void append_list(std::vector<std::string>& list, std::string_view value) {
  for (std::size_t start = 0; start <= value.size();) {
    const std::size_t comma = std::min(value.find(',', start), value.size());
    list.emplace_back(value.substr(start, comma - start));
    start = comma + 1;
  }
}

// Reads the words from left to right.
class Parser {
 public:
  explicit Parser(Arguments arguments) : words_(arguments.subspan(std::min<std::size_t>(arguments.size(), 1))) {}

  ParsedArguments parse() {
    if (take_command()) {
      while (result_.complaint.empty() && !words_.empty()) {
        take_word();
      }
      check_the_whole();
    }
    return result_;
  }

 private:
  bool complain(std::string text) {
    if (result_.complaint.empty()) {
      result_.complaint = std::move(text);
    }
    return false;
  }

  bool take_command() {
    if (words_.empty()) {
      return complain("no command; see qorx-inspect --help");
    }
    const std::string_view name = words_.front();
    const auto* const found =
        std::find_if(kCommands.begin(), kCommands.end(), [&](const CommandWord& c) { return c.word == name; });
    if (found == kCommands.end()) {
      return complain("unknown command '" + std::string(name) + "'; see qorx-inspect --help");
    }
    command_ = found;
    result_.request.command = found->command;
    words_ = words_.subspan(1);
    return true;
  }

  void take_word() {
    const std::string_view word = words_.front();
    const auto* const own =
        std::find_if(kOwnWords.begin(), kOwnWords.end(), [&](const OwnWord& w) { return w.word == word; });
    if (own != kOwnWords.end() && is_for(*own, result_.request.command)) {
      take_own(*own);
    } else if (const std::size_t count = option_words(word); count != 0) {
      take_library_option(count);
    } else {
      take_operand(word);
    }
  }

  void take_own(const OwnWord& own) {
    if (own.takes_value && words_.size() < 2) {
      complain(std::string(own.word) + " needs a value");
      return;
    }
    apply(own.meaning, own.takes_value ? words_[1] : "");
    words_ = words_.subspan(own.takes_value ? 2 : 1);
  }

  void apply(Word meaning, const char* value) {
    Request& request = result_.request;
    switch (meaning) {
      case Word::kRoot:
        request.root = value;
        break;
      case Word::kOutput:
        request.output = value;
        break;
      case Word::kIgnore:
        append_list(request.ignored, value);
        break;
      case Word::kWith:
        append_list(request.added, value);
        break;
      case Word::kPrimary:
        request.primary = true;
        break;
      case Word::kDryRun:
        request.dry_run = true;
        break;
    }
  }

  void take_library_option(std::size_t count) {
    if (words_.size() < count) {
      complain(std::string(words_.front()) + " needs " + (count == 2 ? "a value" : "two values"));
      return;
    }
    std::vector<const char*>& all = result_.request.library_words;
    all.insert(all.end(), words_.begin(), words_.begin() + static_cast<std::ptrdiff_t>(count));
    words_ = words_.subspan(count);
  }

  void take_operand(std::string_view word) {
    if (word.starts_with('-') && word.size() > 1) {
      complain("unknown option '" + std::string(word) + "'");
    } else if (command_->operand == nullptr || has_operand_) {
      complain("unexpected word '" + std::string(word) + "'");
    }
    result_.request.operand = word;
    has_operand_ = true;
    words_ = words_.subspan(1);
  }

  void check_the_whole() {
    const Request& request = result_.request;
    const auto has = [&](std::string_view word) {
      return std::any_of(request.library_words.begin(), request.library_words.end(),
                         [&](const char* w) { return word == w; });
    };
    if (command_->operand != nullptr && !has_operand_) {
      complain(std::string(command_->word) + " needs " + command_->operand);
    }
    if (request.command == Command::kLink && !request.output && !request.dry_run) {
      complain("link needs -o DIR or --dry-run");
    }
    if (has("-sys_WMX_cfg") && !has("-legacy")) {
      complain("-sys_WMX_cfg is used only with -legacy");
    }
  }

  Arguments words_;
  const CommandWord* command_ = nullptr;
  bool has_operand_ = false;
  ParsedArguments result_;
};

}  // namespace

const char* const kUsage =
    "Usage: qorx-inspect COMMAND [WORDS] [--root DIR|ARCHIVE] [OPTIONS OF qorx]\n"
    "\n"
    "  json                     everything that qorx knows, as JSON\n"
    "  compare EXPECTED.json    compare this machine with one that json recorded; status 1 when they differ\n"
    "      --ignore FIELDS      leave out fields: slot,model,feature,panel,segment (those compared), ...\n"
    "      --with FIELDS        compare more: eth_name,address,ids,mac\n"
    "  link -o DIR              systemd .link files that name the ports after slot and panel\n"
    "      --primary            as the name of the interface, not only as an alternative one\n"
    "      --dry-run            print, write nothing\n"
    "  draw [-o FILE.svg]       a drawing of the front, on the terminal or as SVG\n"
    "  explain PORT             where the values of a port come from: its name, address or panel name\n"
    "\n"
    "  --root DIR|ARCHIVE       a recorded machine instead of this one\n"
    "  -config, -legacy, ...    as in qorx(8)\n"
    "\n"
    "  --help, --version\n";

ParsedArguments parse_arguments(Arguments arguments) {
  return Parser(arguments).parse();
}

}  // namespace qorx::inspect
