// The running kernel's numbers for I2C adapters, found by their names.
#ifndef QORX_IDENT_I2C_ADAPTERS_H
#define QORX_IDENT_I2C_ADAPTERS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/system_root.h"

namespace qorx {

// The kernel's list of adapters, in the order in which the folder lists them. The folder is read as far as it is asked
// for, and each adapter once in the life of this object.
class I2cAdapters {
 public:
  static constexpr const char* kFolder = "/sys/class/i2c-adapter";

  struct Adapter {
    const char* entry;      // in the folder
    std::string_view name;  // first line of its name file; empty when it can't be read
  };

  // Goes back to the first adapter. False when the folder can't be opened.
  bool rewind();

  // The next adapter, valid until the next call; false behind the last one, and where reading failed.
  bool next(Adapter& adapter);

  // True when the folder or a name could be opened and not be read: the adapter that is looked for may be there.
  [[nodiscard]] bool failed() const { return failed_; }

 private:
  static constexpr std::size_t kNameSize = 100;  // of an adapter's name, with its NUL
  static constexpr std::size_t kTextsOfOne = 256 + kNameSize;
  static constexpr std::size_t kKept = std::size_t{64} << 10;

  bool read_next();

  SystemDirectory folder_{nullptr};
  enum class Folder : std::uint8_t { kNotOpened, kCannotBeOpened, kOpen, kEnded } state_ = Folder::kNotOpened;
  // Each adapter's entry and name, both ended by NUL. What no longer fits is read into the room behind, and again when
  // it is asked for again: no machine has so many adapters.
  std::array<char, kKept + kTextsOfOne> texts_;
  std::size_t used_ = 0;
  std::size_t position_ = 0;  // of the next adapter
  std::size_t kept_ = 0;      // adapters
  bool is_past_kept_ = false;
  bool failed_ = false;
};

// Stores in *port the number of the first adapter whose name contains `pattern`; *port stays when there is none.
// Returns 0, or QORX_ERR_OPEN_DIR as a byte, after saying so (error level), when the adapters can't be listed or read.
std::int32_t get_x86_i2c_port_number(I2cAdapters& adapters, std::uint32_t* port, const char* pattern);

// The same for the adapter that the kernel made for one channel of an I2C multiplexer on adapter `parent`.
std::int32_t get_i2c_mux_port_number(I2cAdapters& adapters, std::uint32_t* port, std::uint32_t parent,
                                     std::uint32_t channel);

}  // namespace qorx

#endif
