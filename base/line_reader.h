// Reading a text file in numbered lines through the 1,024-byte buffer that every text input shares.
#ifndef QORX_BASE_LINE_READER_H
#define QORX_BASE_LINE_READER_H

#include <array>
#include <cstddef>
#include <cstdio>
#include <memory>

namespace qorx {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

// Opens a file that the user named, for reading. Null when it can't be opened or is a directory.
FilePtr open_text_file(const char* path);

// After a read that failed: true when only a signal interrupted it, and reading can go on. Any other error is noted.
bool went_on_after_signal(std::FILE* file);

class LineReader {
 public:
  static constexpr std::size_t kLineSize = 1024;

  // What lies behind counts as not there, so an endless device ends too.
  static constexpr std::size_t kFileLimit = std::size_t{16} << 20;

  explicit LineReader(FilePtr file) : file_(std::move(file)) {}

  [[nodiscard]] bool is_open() const { return file_ != nullptr; }

  // Reads the next line, or the next 1,023 bytes of a longer one, with its line feed. False when nothing was
  // left; that read is counted too.
  bool read();

  // True once a read has met the end of the file: the line it returned, if any, had no line feed.
  [[nodiscard]] bool at_end() const { return at_end_; }

  // True when the file could not be read to its end: what was read may be half of it.
  [[nodiscard]] bool failed() const { return std::ferror(file_.get()) != 0; }

  // Number of reads so far: the number of the current line, counted from 1.
  [[nodiscard]] int line_number() const { return line_number_; }

  // The current line, writable, kLineSize bytes.
  char* text() { return text_.data(); }

 private:
  int next_byte();

  FilePtr file_;
  std::array<char, kLineSize> text_{};
  std::size_t total_ = 0;
  int line_number_ = 0;
  bool at_end_ = false;
};

}  // namespace qorx

#endif
