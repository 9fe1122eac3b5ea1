// The two versions, here and nowhere else: CMake reads these two lines.
#ifndef QORX_LIB_VERSION_H
#define QORX_LIB_VERSION_H

#include <cstdint>

namespace qorx {

struct Version {
  std::uint8_t major;
  std::uint8_t minor;
};

inline constexpr Version kLibraryVersion{1, 36};  // the interface of qorx.h
inline constexpr Version kToolVersion{1, 38};     // the command, and the project

}  // namespace qorx

#endif
