#include "tools/recorded_order.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <list>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/line_reader.h"
#include "base/system_root.h"

// What the linker calls the C library's functions, and ours in their place.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
extern "C" {
DIR* __real_opendir(const char* path);
int __real_closedir(DIR* directory);
DIR* __wrap_opendir(const char* path);
#ifdef __USE_FILE_OFFSET64  // always so on some 32-bit systems: readdir is compiled to readdir64
dirent* __real_readdir(DIR* directory) __asm__("__real_readdir64");
dirent* __wrap_readdir(DIR* directory) __asm__("__wrap_readdir64");
#else
dirent* __real_readdir(DIR* directory);
dirent* __wrap_readdir(DIR* directory);
#endif
int __wrap_closedir(DIR* directory);
}

namespace {

// An open directory whose entries have been put in order.
struct Listing {
  DIR* directory;
  std::vector<dirent> entries;
  int error;  // that ended the reading, 0 for none
  std::size_t next = 0;
};

std::map<std::string, std::size_t, std::less<>> g_ranks;  // by path
std::list<Listing> g_listings;

std::list<Listing>::iterator listing_of(DIR* directory) {
  return std::find_if(g_listings.begin(), g_listings.end(),
                      [directory](const Listing& listing) { return listing.directory == directory; });
}

// Entries that were not recorded come behind the others, as they come.
Listing read_in_order(const std::string& path, DIR* directory) {
  std::vector<std::pair<std::size_t, dirent>> ranked;
  errno = 0;
  while (const dirent* const entry = __real_readdir(directory)) {
    const auto rank = g_ranks.find(path + "/" + entry->d_name);
    ranked.emplace_back(rank != g_ranks.end() ? rank->second : g_ranks.size(), *entry);
    errno = 0;
  }
  Listing listing{directory, {}, errno};
  std::stable_sort(ranked.begin(), ranked.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  listing.entries.reserve(ranked.size());
  for (const auto& [rank, entry] : ranked) {
    listing.entries.push_back(entry);
  }
  return listing;
}

}  // namespace

DIR* __wrap_opendir(const char* path) {
  DIR* const directory = __real_opendir(path);
  if (directory != nullptr && !g_ranks.empty()) {
    g_listings.push_back(read_in_order(path, directory));
  }
  return directory;
}

dirent* __wrap_readdir(DIR* directory) {
  const auto listing = listing_of(directory);
  if (listing == g_listings.end()) {
    return __real_readdir(directory);
  }
  if (listing->next < listing->entries.size()) {
    return &listing->entries[listing->next++];
  }
  errno = listing->error;
  return nullptr;
}

int __wrap_closedir(DIR* directory) {
  if (const auto listing = listing_of(directory); listing != g_listings.end()) {
    g_listings.erase(listing);
  }
  return __real_closedir(directory);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)

namespace qorx {

void follow_recorded_order(const char* root) {
  const std::string prefix = std::string(root) + "/";
  LineReader lines(open_system_text("/order"));
  while (lines.is_open() && lines.read()) {
    std::string_view line = lines.text();
    line = line.substr(0, line.find('\n'));
    g_ranks.emplace(prefix + std::string(line), g_ranks.size());
  }
}

}  // namespace qorx
