#include "smbios/file_image.h"

#include <algorithm>

#include "base/line_reader.h"
#include "base/messages.h"
#include "base/system_root.h"

namespace qorx {

namespace {

// No file that is loaded whole is larger; an endless one is given up as too large for memory.
constexpr std::size_t kFileLimit = std::size_t{16} << 20;

FilePtr open_text(const char* path, FileOrigin origin) {
  return origin == FileOrigin::kSystem ? open_system_text(path) : open_text_file(path);
}

}  // namespace

FileImage File_map(const char* path, FileOrigin origin, std::size_t limit) {
  const FilePtr file = open_text(path, origin);
  if (!file) {
    debug("3Can't get %s\n", path);
    return {};
  }
  const std::size_t capacity = std::min(limit, kFileLimit);
  FileImage image(capacity);
  if (!image.is_loaded()) {
    debug("4Can't get %s\n", path);
    return {};
  }
  image.fill(file.get());
  if (std::ferror(file.get()) != 0) {
    debug("5Can't get %s\n", path);
    return {};
  }
  if (limit > capacity && image.bytes().size() == capacity && std::fgetc(file.get()) != EOF) {
    debug("4Can't get %s\n", path);
    return {};
  }
  return image;
}

}  // namespace qorx
