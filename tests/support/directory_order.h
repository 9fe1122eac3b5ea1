// The order in which a directory returns its entries: the file system's affair, which decides which comes first.
#ifndef QORX_TESTS_SUPPORT_DIRECTORY_ORDER_H
#define QORX_TESTS_SUPPORT_DIRECTORY_ORDER_H

#include <dirent.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace qorx::test {

// Without "." and "..".
inline std::vector<std::string> entries_in_order(const std::filesystem::path& path) {
  std::vector<std::string> entries;
  const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(path.c_str()), closedir);
  while (const dirent* const entry = directory ? readdir(directory.get()) : nullptr) {
    if (entry->d_name[0] != '.') {
      entries.emplace_back(entry->d_name);
    }
  }
  return entries;
}

}  // namespace qorx::test

#endif
