#include "smbios/file_image.h"

#include <algorithm>
#include <cerrno>

#include "base/line_reader.h"
#include "base/messages.h"
#include "base/shortage.h"
#include "base/system_root.h"

namespace qorx {

namespace {

// As much of a file is loaded; what lies behind counts as not there, so that an endless one ends too.
constexpr std::size_t kFileLimit = std::size_t{16} << 20;

FilePtr open_text(const char* path, FileOrigin origin) {
  return origin == FileOrigin::kSystem ? open_system_text(path) : open_text_file(path);
}

}  // namespace

bool FileImage::fill(std::FILE* file) {
  while (size_ < capacity_) {
    const std::size_t count = std::fread(bytes_.get() + size_, 1, capacity_ - size_, file);
    size_ += count;
    if (std::ferror(file) != 0) {
      if (!went_on_after_signal(file)) {
        return false;
      }
    } else if (count == 0) {
      break;
    }
  }
  return true;
}

FileImage File_map(const char* path, FileOrigin origin, std::size_t limit) {
  const FilePtr file = open_text(path, origin);
  if (!file) {
    debug("3Can't get %s\n", path);
    return {};
  }
  FileImage image(std::min(limit, kFileLimit));
  if (!image.is_loaded()) {
    note_error(ENOMEM);
    debug("4Can't get %s\n", path);
    return {};
  }
  if (!image.fill(file.get())) {
    debug("5Can't get %s\n", path);
    return {};
  }
  return image;
}

}  // namespace qorx
