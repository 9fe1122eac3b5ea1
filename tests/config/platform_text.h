// The lines of a platform file.
#ifndef QORX_TESTS_CONFIG_PLATFORM_TEXT_H
#define QORX_TESTS_CONFIG_PLATFORM_TEXT_H

#include <array>
#include <string>

#include "tests/support/user_files.h"

namespace qorx::test {

inline std::string slot_line(const std::string& name) {
  return "SLOT_NAME=\"" + name + "\"\n";
}

inline std::string rename_line(const std::string& name) {
  return "CHANGE_NAME=\"" + name + "\"\n";
}

// "<first device>-<last device>/<slot name>"
inline std::string switch_line(const std::string& value) {
  return "PCIe_SW_DEV/WMX_SLOT=\"" + value + "\"\n";
}

// "<function>/<panel name>/<feature>"
inline std::string feature_line(const std::string& value) {
  return "FUNCTION/NAME/FEATURE=\"" + value + "\"\n";
}

// "<function>/<panel name>/<H or L>"
inline std::string order_line(const std::string& value) {
  return "FUNCTION/NAME/BUS_ORDER=\"" + value + "\"\n";
}

// In the order in which every line of a block is tried for them.
inline constexpr std::array kBlockKeys{"PCIe_SW_DEV/WMX_SLOT=\"", "CHANGE_NAME=\"", "FUNCTION/NAME/FEATURE=\"",
                                       "FUNCTION/NAME/BUS_ORDER=\""};

// What reading a line of a block traces.
inline std::string block_line_traces(const std::string& line) {
  const std::string text = line.substr(line.find_first_not_of(" \t"));
  std::string traces = head_traces(line);
  for (const std::string key : kBlockKeys) {
    traces += text.starts_with(key) ? tail_traces(text) : "can't find " + key + "\n";
  }
  return traces;
}

}  // namespace qorx::test

#endif
