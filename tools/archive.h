// A recorded machine in an archive, as qorx-capture writes it.
#ifndef QORX_TOOLS_ARCHIVE_H
#define QORX_TOOLS_ARCHIVE_H

#include <functional>
#include <optional>
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

  // Leaves the directory to another process.
  void release() { directory_.clear(); }

 private:
  bool make_directory();

  std::string directory_;
};

// Unpacks `file` and calls `use` with the directory, in a process of its own: whatever ends that, the directory goes
// away. Returns what `use` returned, or nothing where the archive can't be unpacked; where a signal ended it, this
// process ends by the same one.
std::optional<int> use_archive(const char* file, const std::function<int(const char* root)>& use);

}  // namespace qorx

#endif
