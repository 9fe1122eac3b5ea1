#include "ident/i2c_adapters.h"

#include <algorithm>
#include <span>
#include <string_view>

#include "base/bounded_text.h"
#include "base/messages.h"
#include "base/path_text.h"
#include "base/text_fields.h"
#include "lib/qorx.h"

namespace qorx {

namespace {

// Writes the first line of an adapter's name file into `name`; empty when there is no such file. False when it can't be
// read.
bool read_adapter_name(const char* entry, std::span<char> name) {
  const SystemFile file = open_system_file(PathText{I2cAdapters::kFolder, "/", entry, "/name"}.c_str());
  const long count = file.is_open() ? file.read(name.first(name.size() - 1)) : 0;
  const std::string_view text(name.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
  name[std::min(text.size(), text.find_first_of(std::string_view("\n\0", 2)))] = '\0';
  return count != SystemFile::kUnreadable;
}

}  // namespace

bool I2cAdapters::rewind() {
  position_ = 0;
  if (state_ == Folder::kNotOpened || is_past_kept_) {
    folder_ = open_system_directory(kFolder);
    state_ = folder_.is_open() ? Folder::kOpen : Folder::kCannotBeOpened;
    for (std::size_t i = 0; i < kept_ && folder_.is_open() && folder_.next_entry() != nullptr; ++i) {
    }
    is_past_kept_ = false;
  }
  return state_ != Folder::kCannotBeOpened;
}

// Reads one adapter into the texts at the position.
bool I2cAdapters::read_next() {
  const char* const entry = state_ == Folder::kOpen ? folder_.next_entry() : nullptr;
  if (entry == nullptr) {
    failed_ = failed_ || folder_.failed();
    state_ = Folder::kEnded;
    return false;
  }
  const std::span<char> room = std::span(texts_).subspan(position_);
  const std::string_view entry_name = entry;
  copy_text(room.data(), room.size(), entry_name);
  failed_ = !read_adapter_name(room.data(), room.subspan(entry_name.size() + 1, kNameSize));
  return !failed_;
}

bool I2cAdapters::next(Adapter& adapter) {
  const bool is_new = position_ == used_;
  if (is_new && !read_next()) {
    return false;
  }
  adapter.entry = &texts_[position_];
  adapter.name = adapter.entry + std::string_view(adapter.entry).size() + 1;
  const auto end = static_cast<std::size_t>(adapter.name.data() + adapter.name.size() + 1 - texts_.data());
  if (is_past_kept_ || end > kKept) {
    is_past_kept_ = true;
    return true;
  }
  position_ = end;
  if (is_new) {
    used_ = end;
    ++kept_;
  }
  return true;
}

namespace {

std::int32_t cannot_access() {
  error("Error: Cannot access %s\n", I2cAdapters::kFolder);
  return code_byte(QORX_ERR_OPEN_DIR);
}

}  // namespace

std::int32_t get_x86_i2c_port_number(I2cAdapters& adapters, std::uint32_t* port, const char* pattern) {
  if (!adapters.rewind()) {
    return cannot_access();
  }
  for (I2cAdapters::Adapter adapter; adapters.next(adapter);) {
    debug("%s/%s/name, %s\n", I2cAdapters::kFolder, adapter.entry, adapter.entry);
    if (adapter.name.empty() || adapter.name.find(pattern) == std::string_view::npos) {
      continue;
    }
    debug("Root bus: %s, founded.\n", adapter.entry);
    const std::string_view entry = adapter.entry;
    if (const std::size_t dash = entry.rfind('-'); dash != std::string_view::npos) {
      *port = static_cast<std::uint32_t>(parse_decimal(text_behind(entry, dash + 1)));
    }
    return 0;
  }
  return adapters.failed() ? cannot_access() : 0;
}

std::int32_t get_i2c_mux_port_number(I2cAdapters& adapters, std::uint32_t* port, std::uint32_t parent,
                                     std::uint32_t channel) {
  const Digits parent_number(static_cast<int>(parent));
  const Digits channel_number(static_cast<int>(channel));
  const JoinedText<100> name{"i2c-", parent_number.view(), "-mux (chan_id ", channel_number.view(), ")"};
  debug("Found I2C mux port: %s\n", name.c_str());
  const std::int32_t code = get_x86_i2c_port_number(adapters, port, name.c_str());
  debug("I2C mux port number: %d\n", static_cast<int>(*port));
  return code;
}

}  // namespace qorx
