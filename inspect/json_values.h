// What the JSON values of a machine are built from.
#ifndef QORX_INSPECT_JSON_VALUES_H
#define QORX_INSPECT_JSON_VALUES_H

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "inspect/json_document.h"
#include "inspect/text.h"

namespace qorx::inspect {

template <typename Values, typename Convert>
Json list_of(const Values& values, Convert convert) {
  Json list = Json::array();
  for (const auto& value : values) {
    list.push_back(convert(value));
  }
  return list;
}

// An object with texts. Those that are no UTF-8 stand in it as if they were Latin-1, and under "bytes" in hexadecimal.
class TextObject {
 public:
  TextObject() { members().reserve(kManyKeys); }

  // The keys of an object are different: they need not be searched for.
  void put(const char* key, Json value) { members().emplace_back(key, std::move(value)); }

  void put_text(const char* key, std::string_view bytes) {
    if (is_utf8(bytes)) {
      put(key, bytes);
      return;
    }
    put(key, as_utf8(bytes));
    bytes_.push_back({key, hexadecimal(bytes)});
  }

  void put_optional(const char* key, const OptionalText& bytes) {
    if (bytes) {
      put_text(key, std::string_view(*bytes));
    } else {
      put(key, nullptr);
    }
  }

  void put_texts(const char* key, const std::vector<std::string_view>& all) {
    put(key, list_of(all, as_utf8));
    if (!std::all_of(all.begin(), all.end(), is_utf8)) {
      bytes_.push_back({key, list_of(all, hexadecimal)});
    }
  }

  // A text that is absent when it is empty.
  void put_name(const char* key, std::string_view bytes) {
    put_optional(key, bytes.empty() ? OptionalText() : OptionalText(bytes));
  }

  Json finish() {
    put("bytes", std::move(bytes_));
    return std::move(json_);
  }

 private:
  static constexpr std::size_t kManyKeys = 32;

  Json::object_t::Container& members() { return json_.get_ref<Json::object_t&>(); }

  Json json_ = Json::object();
  Json bytes_ = Json::object();
};

// Null when the record has none.
Json id_value(std::uint32_t id);

// Where a slot record is from, null when it is none.
Json place_value(std::uint8_t smbios_type);

}  // namespace qorx::inspect

#endif
