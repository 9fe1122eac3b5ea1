// A recorded machine in an archive, as qorx-capture writes it.
#ifndef QORX_TOOLS_ARCHIVE_H
#define QORX_TOOLS_ARCHIVE_H

#include <string>

namespace qorx {

// Whether `path` is a file rather than a directory.
bool is_archive(const char* path);

// An archive unpacked into a temporary directory, which goes away with this object.
class UnpackedArchive {
 public:
  UnpackedArchive() = default;
  UnpackedArchive(const UnpackedArchive&) = delete;
  UnpackedArchive& operator=(const UnpackedArchive&) = delete;
  ~UnpackedArchive();

  // Unpacks `file` with tar. False, with the program's name and the reason on standard error, when that fails or when
  // the archive holds what no recording has: names or links that lead out of it, or anything but files, directories and
  // links.
  bool unpack(const char* file);

  [[nodiscard]] const std::string& directory() const { return directory_; }

 private:
  bool make_directory();

  std::string directory_;
};

}  // namespace qorx

#endif
