// The message level, and the line that belongs to a code.
#include <array>
#include <cstdio>

#include "base/messages.h"
#include "lib/qorx.h"

namespace qorx {

namespace {

struct ErrorName {
  std::int32_t code;
  const char* name;
};

constexpr std::array kErrorNames{
    ErrorName{QORX_ERR_OPEN_FILE, "QORX_ERR_OPEN_FILE"},
    ErrorName{QORX_ERR_CONF_FILE_FORMAT, "QORX_ERR_CONF_FILE_FORMAT"},
    ErrorName{QORX_ERR_CLOSE_FILE, "QORX_ERR_CLOSE_FILE"},
    ErrorName{QORX_ERR_CLOSE, "QORX_ERR_CLOSE"},
    ErrorName{QORX_ERR_DATA_FORMAT, "QORX_ERR_DATA_FORMAT"},
    ErrorName{QORX_ERR_SMBIOS_CHECKSUM, "QORX_ERR_SMBIOS_CHECKSUM"},
    ErrorName{QORX_ERR_PARAM_OUT_OF_BOUND, "QORX_ERR_PARAM_OUT_OF_BOUND"},
    ErrorName{QORX_ERR_PARAM_NULL_POINTER, "QORX_ERR_PARAM_NULL_POINTER"},
    ErrorName{QORX_ERR_INIT, "QORX_ERR_INIT"},
    ErrorName{QORX_ERR_COMMAND_NOT_SUPPORT, "QORX_ERR_COMMAND_NOT_SUPPORT"},
    ErrorName{QORX_ERR_MMAP, "QORX_ERR_MMAP"},
    ErrorName{QORX_ERR_OPEN_DIR, "QORX_ERR_OPEN_DIR"},
    ErrorName{QORX_ERR_NIC_NOT_EXIST, "QORX_ERR_NIC_NOT_EXIST"},
    ErrorName{QORX_ERR_SMBIOS_DATA_FORMAT_WRONG, "QORX_ERR_SMBIOS_DATA_FORMAT_WRONG"},
};

}  // namespace

}  // namespace qorx

void qorx_print_error_message(std::int32_t code) {
  const std::uint8_t byte = qorx::code_byte(code);
  for (const qorx::ErrorName& entry : qorx::kErrorNames) {
    if (qorx::code_byte(entry.code) == byte) {
      std::printf("Error: %s (0x%02x)\n", entry.name, byte);
      return;
    }
  }
  std::printf("Unknown error code (0x%02x)\n", byte);
}

std::int32_t qorx_set_message_level(std::int32_t level) {
  const bool known = level >= 0 && level <= 2;
  qorx::g_error_message_open = level == 0 ? 0 : 1;
  if (!known) {
    std::printf("Error: Parameter msg_level out of range.\n");
    return qorx::code_byte(QORX_ERR_PARAM_OUT_OF_BOUND);
  }
  qorx::g_debug_message_open = level == 2 ? 1 : 0;
  return 0;
}
