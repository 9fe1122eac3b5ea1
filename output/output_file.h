// A file that is written as a result: complete, or an error.
#ifndef QORX_OUTPUT_OUTPUT_FILE_H
#define QORX_OUTPUT_OUTPUT_FILE_H

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

namespace qorx {

// Collects the text; the file is not touched before it is complete.
class OutputFile {
 public:
  OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  // Not open when there is no memory for it.
  [[nodiscard]] bool is_open() const { return stream_ != nullptr; }

  // Where the text is written to.
  [[nodiscard]] std::FILE* stream() const { return stream_; }

  // Ends the text and writes it to a file that is created or replaced; one that exists keeps its owner and mode. While
  // a regular file is written, SIGINT, SIGTERM and SIGHUP wait: it holds the old text or the new one. Returns
  // QORX_ERR_OPEN_FILE when there is no such file or no memory for the text, QORX_ERR_CLOSE_FILE when any of it did
  // not reach the file, else 0.
  std::int32_t write_to(const char* path);

 private:
  // Keeps what the stream hands on. Returns 0 when there is no memory for it, which the stream remembers as an error.
  // (A stream of open_memstream loses the text then, and does not.)
  static ssize_t keep(void* file, const char* bytes, std::size_t count);

  char* text_ = nullptr;
  std::size_t size_ = 0;
  std::size_t room_ = 0;
  std::FILE* stream_;
};

}  // namespace qorx

#endif
