#include "base/line_reader.h"

#include <sys/stat.h>

namespace qorx {

FilePtr open_text_file(const char* path) {
  FilePtr file(std::fopen(path, "re"));
  struct stat status {};
  if (file && (fstat(fileno(file.get()), &status) != 0 || S_ISDIR(status.st_mode))) {
    file.reset();
  }
  return file;
}

bool LineReader::read() {
  ++line_number_;
  std::size_t length = 0;
  while (length < kLineSize - 1) {
    const int byte = total_ < kFileLimit ? getc_unlocked(file_.get()) : EOF;
    if (byte == EOF) {
      at_end_ = true;
      break;
    }
    ++total_;
    text_[length++] = static_cast<char>(byte);
    if (byte == '\n') {
      break;
    }
  }
  text_[length] = '\0';
  return length != 0;
}

}  // namespace qorx
