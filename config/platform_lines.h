// The platform file's grammar: blocks of KEY="value" lines, each block headed by a slot name. Two passes over the
// file share this reader and differ in what they do with a line.
#ifndef QORX_CONFIG_PLATFORM_LINES_H
#define QORX_CONFIG_PLATFORM_LINES_H

#include <cstdint>

namespace qorx {

enum class PlatformKey : std::uint8_t { kSwitch, kRename, kFeature, kBusOrder };

// A line of a block, and where it stands.
struct PlatformLine {
  PlatformKey key;
  const char* value;  // NUL-terminated
  const char* file;
  int number;
};

// Prints "Wrong <key> format!" for the line (error level) and returns QORX_ERR_CONF_FILE_FORMAT as a byte.
std::int32_t wrong_format(const PlatformLine& line);

// What one pass does. A non-zero code ends the pass.
class PlatformPass {
 public:
  virtual std::int32_t begin_block(const char* slot_name, const char* file, int line_number) = 0;
  virtual std::int32_t take_line(const PlatformLine& line) = 0;

 protected:
  ~PlatformPass() = default;
};

// Reads the file through a pass. Returns 0, the pass's code, or QORX_ERR_PARAM_NULL_POINTER, QORX_ERR_OPEN_FILE or
// QORX_ERR_CONF_FILE_FORMAT as a byte.
std::int32_t read_platform_file(const char* file, PlatformPass& pass);

}  // namespace qorx

#endif
