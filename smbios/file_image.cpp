#include "smbios/file_image.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "base/interrupted.h"
#include "base/line_reader.h"
#include "base/messages.h"
#include "base/shortage.h"
#include "base/system_root.h"

namespace qorx {

namespace {

// As much of a file is loaded; what lies behind counts as not there, so that an endless one ends too.
constexpr std::size_t kFileLimit = std::size_t{16} << 20;

FileImage load(int descriptor, const char* path, std::size_t limit) {
  if (descriptor < 0) {
    debug("3Can't get %s\n", path);
    return {};
  }
  FileImage image(std::min(limit, kFileLimit));
  if (!image.is_loaded()) {
    note_error(ENOMEM);
    debug("4Can't get %s\n", path);
    return {};
  }
  if (!image.fill(descriptor)) {
    debug("5Can't get %s\n", path);
    return {};
  }
  return image;
}

}  // namespace

bool FileImage::fill(int descriptor) {
  while (size_ < capacity_) {
    const ssize_t count = retry_interrupted(
        ssize_t{-1}, [this, descriptor] { return read(descriptor, bytes_.get() + size_, capacity_ - size_); });
    if (count < 0) {
      note_error(errno);
      return false;
    }
    if (count == 0) {
      break;
    }
    size_ += static_cast<std::size_t>(count);
  }
  return true;
}

FileImage File_map(const char* path, FileOrigin origin, std::size_t limit) {
  if (origin == FileOrigin::kSystem) {
    return load(open_system_content(path).descriptor(), path, limit);
  }
  const FilePtr file = open_text_file(path);
  return load(file ? fileno(file.get()) : -1, path, limit);
}

}  // namespace qorx
