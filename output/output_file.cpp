#include "output/output_file.h"

#include <cstdio>

#include "lib/qorx.h"

namespace qorx {

OutputFile::OutputFile(const char* path) : file_(path != nullptr ? std::fopen(path, "we") : nullptr) {}

std::int32_t OutputFile::close() {
  std::FILE* const file = file_.release();
  const bool failed = std::ferror(file) != 0;
  return std::fclose(file) != 0 || failed ? QORX_ERR_CLOSE_FILE : 0;
}

}  // namespace qorx
