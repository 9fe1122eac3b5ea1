// A file that is written as a result: complete, or an error.
#ifndef QORX_OUTPUT_OUTPUT_FILE_H
#define QORX_OUTPUT_OUTPUT_FILE_H

#include <cstdint>

#include "base/line_reader.h"

namespace qorx {

class OutputFile {
 public:
  // Creates or truncates the file; one that exists keeps its owner and mode. A null name opens nothing.
  explicit OutputFile(const char* path);

  [[nodiscard]] bool is_open() const { return file_ != nullptr; }
  [[nodiscard]] std::FILE* stream() const { return file_.get(); }

  // Writes what is buffered and closes. Returns QORX_ERR_CLOSE_FILE when any of it did not reach the file, else 0.
  std::int32_t close();

 private:
  FilePtr file_;
};

}  // namespace qorx

#endif
