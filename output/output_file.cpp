#include "output/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <utility>

#include "lib/qorx.h"

namespace qorx {

namespace {

// Lets the signals that end a program from outside wait as long as it lives.
class SignalsHeld {
 public:
  SignalsHeld() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
      sigaddset(&signals, signal);
    }
    sigprocmask(SIG_BLOCK, &signals, &before_);
  }
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;
  ~SignalsHeld() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_;
};

// Not so a pipe, whose reader may never come, or a device.
bool is_special(const char* path) {
  struct stat status {};
  return stat(path, &status) == 0 && !S_ISREG(status.st_mode);
}

int open_for_writing(const char* path) {
  int descriptor = -1;
  do {
    descriptor = open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
  } while (descriptor < 0 && errno == EINTR);
  return descriptor;
}

// Returns how many bytes were written: all of them, or those up to an error.
std::size_t write_text(int descriptor, std::string_view text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t count = write(descriptor, text.data() + done, text.size() - done);
    if (count > 0) {
      done += static_cast<std::size_t>(count);
    } else if (count == 0 || errno != EINTR) {
      break;
    }
  }
  return done;
}

// Cuts off what a longer file held behind the text.
bool cut(int descriptor, std::size_t size) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0) {
    return false;
  }
  const bool is_longer = S_ISREG(status.st_mode) && status.st_size > static_cast<off_t>(size);
  while (is_longer && ftruncate(descriptor, static_cast<off_t>(size)) != 0) {
    if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

std::int32_t replace_content(const char* path, std::string_view text) {
  const int descriptor = open_for_writing(path);
  if (descriptor < 0) {
    return QORX_ERR_OPEN_FILE;
  }
  const std::size_t done = write_text(descriptor, text);
  const bool is_cut = cut(descriptor, done);
  // Interrupted, it is closed all the same.
  const bool is_closed = close(descriptor) == 0 || errno == EINTR;
  return done == text.size() && is_cut && is_closed ? 0 : QORX_ERR_CLOSE_FILE;
}

}  // namespace

OutputFile::OutputFile() : stream_(fopencookie(this, "w", {nullptr, keep, nullptr, nullptr})) {}

OutputFile::~OutputFile() {
  if (stream_ != nullptr) {
    std::fclose(stream_);
  }
  std::free(text_);  // NOLINT(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
}

ssize_t OutputFile::keep(void* file, const char* bytes, std::size_t count) {
  auto& self = *static_cast<OutputFile*>(file);
  if (count > self.room_ - self.size_) {
    const std::size_t room = 2 * (self.size_ + count);
    void* const text = std::realloc(self.text_, room);  // NOLINT(cppcoreguidelines-no-malloc)
    if (text == nullptr) {
      return 0;
    }
    self.text_ = static_cast<char*>(text);
    self.room_ = room;
  }
  std::memcpy(self.text_ + self.size_, bytes, count);
  self.size_ += count;
  return static_cast<ssize_t>(count);
}

std::int32_t OutputFile::write_to(const char* path) {
  if (stream_ == nullptr || path == nullptr) {
    return QORX_ERR_OPEN_FILE;
  }
  const bool is_lost = std::ferror(stream_) != 0;
  if (std::fclose(std::exchange(stream_, nullptr)) != 0 || is_lost) {
    return QORX_ERR_OPEN_FILE;
  }
  std::optional<SignalsHeld> held;
  if (!is_special(path)) {
    held.emplace();
  }
  return replace_content(path, {text_, size_});
}

}  // namespace qorx
