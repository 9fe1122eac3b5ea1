// The names of the virtual interfaces, which the scan comes across and the listings behind it need.
#ifndef QORX_RECORDS_VIRTUAL_NAMES_H
#define QORX_RECORDS_VIRTUAL_NAMES_H

#include <cstddef>
#include <string_view>

namespace qorx {

// In the order of the directory. They are known once a scan has seen the whole list, until the tables are cleared, and
// not where a machine has more of them than are kept.
class VirtualNames {
 public:
  void forget();

  // Adds the next name that a scan has come across.
  void note(std::string_view name);

  // Says that the scan has seen the last one.
  void complete() { are_known_ = !is_full_; }

  [[nodiscard]] bool are_known() const { return are_known_; }

  // The names, one behind the other: null asks for the first one and is what stands behind the last one.
  [[nodiscard]] const char* next(const char* name) const;

 private:
  static constexpr std::size_t kRoom = std::size_t{16} << 10;

  bool are_known_ = false;
  bool is_full_ = false;
  std::size_t used_ = 0;
  char texts_[kRoom] = {};  // each ended by NUL
};

extern VirtualNames g_virtual_names;

}  // namespace qorx

#endif
