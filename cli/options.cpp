#include "cli/options.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "base/bounded_text.h"
#include "lib/qorx.h"

namespace qorx {

namespace {

using FileName = char[QORX_NAME_SIZE];

struct Option {
  const char* word;
  std::size_t words;      // the option and its values
  std::size_t more_than;  // tested only while more arguments than this remain
  std::int32_t* flag;
  FileName* first_file;
  FileName* second_file;
};

// In the order in which a pass tests them.
constexpr std::array kOptions{
    Option{"-config", 2, 1, &g_config_flag, &g_config_file_name, nullptr},
    Option{"-legacy", 1, 0, &g_legacy_flag, nullptr, nullptr},
    Option{"-F", 1, 0, &g_force_flag, nullptr, nullptr},
    Option{"-sys_WMX_cfg", 2, 1, &g_WMX_name_flag, &g_WMX_name_file_name, nullptr},
    Option{"-smbios_cfg", 2, 1, &g_smbios_flag, &g_smbios_file_name, nullptr},
    Option{"-sort_slotname", 1, 0, &g_sort_slotname, nullptr, nullptr},
    Option{"-vm", 1, 0, &g_vm_bypass, nullptr, nullptr},
    Option{"-diag", 3, 2, &g_diag, &g_entry_point_file, &g_dmi_file},
    Option{"-ML", 2, 1, nullptr, nullptr, nullptr},
    Option{"-novlan", 1, 1, &g_novlan, nullptr, nullptr},
};

bool is_at_end(const Option& option, Arguments arguments) {
  return arguments.size() > option.more_than &&
         std::string_view(arguments[arguments.size() - option.words]) == option.word;
}

void apply(const Option& option, Arguments words) {
  if (option.flag == nullptr) {
    static_cast<void>(qorx_set_message_level(static_cast<std::int32_t>(std::strtol(words[1], nullptr, 10))));
    return;
  }
  *option.flag = 1;
  if (option.first_file != nullptr) {
    copy_text(*option.first_file, words[1]);
  }
  if (option.second_file != nullptr) {
    copy_text(*option.second_file, words[2]);
  }
}

}  // namespace

Arguments strip_options(Arguments arguments) {
  bool matched = true;
  while (matched) {
    matched = false;
    for (const Option& option : kOptions) {
      if (is_at_end(option, arguments)) {
        apply(option, arguments.last(option.words));
        arguments = arguments.first(arguments.size() - option.words);
        matched = true;
      }
    }
  }
  return arguments;
}

std::size_t option_words(std::string_view word) {
  for (const Option& option : kOptions) {
    if (word == option.word) {
      return option.words;
    }
  }
  return 0;
}

}  // namespace qorx
