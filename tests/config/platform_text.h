// The lines of a platform file.
#ifndef QORX_TESTS_CONFIG_PLATFORM_TEXT_H
#define QORX_TESTS_CONFIG_PLATFORM_TEXT_H

#include <string>

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

}  // namespace qorx::test

#endif
