#include "base/line_reader.h"

#include <sys/stat.h>

#include <cerrno>

#include "base/interrupted.h"
#include "base/shortage.h"

namespace qorx {

FilePtr open_text_file(const char* path) {
  FilePtr file(retry_interrupted(static_cast<std::FILE*>(nullptr), [path] { return std::fopen(path, "re"); }));
  if (!file) {
    note_error(errno);
  }
  struct stat status {};
  if (file && (!read_status(fileno(file.get()), status) || S_ISDIR(status.st_mode))) {
    file.reset();
  }
  return file;
}

bool went_on_after_signal(std::FILE* file) {
  const int error = errno;
  if (error == EINTR) {
    std::clearerr(file);
    return true;
  }
  note_error(error);
  return false;
}

int LineReader::next_byte() {
  for (;;) {
    const int byte = getc_unlocked(file_.get());
    if (byte != EOF || std::ferror(file_.get()) == 0 || !went_on_after_signal(file_.get())) {
      return byte;
    }
  }
}

bool LineReader::read() {
  ++line_number_;
  std::size_t length = 0;
  while (length < kLineSize - 1) {
    const int byte = total_ < kFileLimit ? next_byte() : EOF;
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
  if (failed()) {
    length = 0;  // half a line says nothing
  }
  text_[length] = '\0';
  return length != 0;
}

}  // namespace qorx
