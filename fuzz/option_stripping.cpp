// Option stripping, against the rule in its plain form. Input: the words of a command line, parted by NULs.
#include <algorithm>
#include <cstdlib>
#include <map>
#include <string>

#include "base/messages.h"
#include "cli/options.h"
#include "fuzz/support.h"
#include "records/state.h"

namespace qorx::fuzz {

namespace {

using Words = std::vector<std::string>;

Words split_words(std::string_view text) {
  Words words;
  while (!text.empty()) {
    words.emplace_back(text.substr(0, text.find('\0')));
    text.remove_prefix(std::min(text.size(), words.back().size() + 1));
  }
  return words;
}

struct Rule {
  const char* option;
  std::size_t words;
  std::size_t more_than;
};
constexpr Rule kRules[] = {
    {"-config", 2, 1},        {"-legacy", 1, 0}, {"-F", 1, 0},    {"-sys_WMX_cfg", 2, 1}, {"-smbios_cfg", 2, 1},
    {"-sort_slotname", 1, 0}, {"-vm", 1, 0},     {"-diag", 3, 2}, {"-ML", 2, 1},          {"-novlan", 1, 1},
};

using Given = std::map<std::string, Words>;  // by option: its values, those of the leftmost one

// Takes the options off the end of `words`.
Given plain_strip(Words& words) {
  Given given;
  for (bool matched = true; matched;) {
    matched = false;
    for (const Rule& rule : kRules) {
      if (words.size() > rule.more_than && words[words.size() - rule.words] == rule.option) {
        const auto first = words.end() - static_cast<long>(rule.words);
        given[rule.option] = Words(first + 1, words.end());
        words.erase(first, words.end());
        matched = true;
      }
    }
  }
  return given;
}

void check_file(Given& given, const char* option, std::int32_t flag, const char* first, const char* second = nullptr) {
  const bool is_given = given.contains(option);
  require(flag == (is_given ? 1 : 0), "a flag is set when its option is given");
  if (is_given && first != nullptr) {
    require(given[option][0].substr(0, QORX_NAME_SIZE - 1) == first, "a file name is kept");
  }
  if (is_given && second != nullptr) {
    require(given[option][1].substr(0, QORX_NAME_SIZE - 1) == second, "a second file name is kept");
  }
}

void check_level(Given& given) {
  const int level = given.contains("-ML") ? static_cast<int>(std::strtol(given["-ML"][0].c_str(), nullptr, 10)) : 1;
  require(g_error_message_open == (level == 0 ? 0 : 1), "errors are silent at level 0 alone");
  require(level < 0 || level > 2 || g_debug_message_open == (level == 2 ? 1 : 0), "traces are printed at level 2");
}

}  // namespace

}  // namespace qorx::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qorx::fuzz;
  const Words words = split_words(as_text({data, size}));
  std::vector<const char*> arguments;
  for (const std::string& word : words) {
    arguments.push_back(word.c_str());
  }
  const LibraryRun run(1);
  const qorx::Arguments left = qorx::strip_options(arguments);
  Words expected = words;
  Given given = plain_strip(expected);
  require(std::equal(left.begin(), left.end(), expected.begin(), expected.end()), "what is left is what is no option");
  check_file(given, "-config", g_config_flag, g_config_file_name);
  check_file(given, "-legacy", g_legacy_flag, nullptr);
  check_file(given, "-F", g_force_flag, nullptr);
  check_file(given, "-sys_WMX_cfg", g_WMX_name_flag, g_WMX_name_file_name);
  check_file(given, "-smbios_cfg", g_smbios_flag, g_smbios_file_name);
  check_file(given, "-sort_slotname", g_sort_slotname, nullptr);
  check_file(given, "-vm", g_vm_bypass, nullptr);
  check_file(given, "-diag", g_diag, g_entry_point_file, g_dmi_file);
  check_file(given, "-novlan", g_novlan, nullptr);
  check_level(given);
  return 0;
}
