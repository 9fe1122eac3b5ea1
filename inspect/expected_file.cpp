#include "inspect/expected_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>

#include "inspect/json.h"
#include "inspect/json_document.h"
#include "inspect/text.h"

namespace qorx::inspect {

namespace {

using Kind = Value::Kind;

bool is_complete(const ComparedPort& port) {
  const auto is_right = [&](std::size_t key) {
    const Kind kind = port.at(key).kind;
    return kind == (key == kSegment ? Kind::kInteger : Kind::kText) || (kind == Kind::kNull && key != kFeatureState);
  };
  for (std::size_t key = 0; key < kKeyCount; ++key) {
    if (!is_right(key)) {
      return false;
    }
  }
  return true;
}

// Takes what is compared out of a document while it is parsed. To build the whole of it in memory would take longer
// than to identify the ports.
class Reader final : public nlohmann::json_sax<Json> {
 public:
  explicit Reader(std::vector<ComparedPort>& ports) : ports_(ports) {}

  // Why the document is no recorded machine; empty when it is one.
  [[nodiscard]] std::string complaint() const {
    if (schema_.kind == Kind::kMissing || !has_ports_) {
      return "is not what qorx-inspect json prints";
    }
    const std::string known = std::to_string(kSchema);
    const std::string schema = schema_.kind == Kind::kText ? Json(schema_.text).dump() : schema_.text;
    if (schema != known) {
      return "has layout " + printable(schema) + ", this program knows " + known;
    }
    return first_broken_ == 0 ? "" : "has no complete port number " + std::to_string(first_broken_);
  }

  bool null() override { return take(Kind::kNull, "null"); }
  bool boolean(bool value) override { return take(Kind::kOther, value ? "true" : "false"); }
  bool number_integer(Json::number_integer_t value) override { return take_integer(value); }
  bool number_unsigned(Json::number_unsigned_t value) override { return take_integer(value); }
  bool number_float(Json::number_float_t /*value*/, const std::string& text) override {
    return take(Kind::kOther, text);
  }
  bool string(std::string& text) override { return take(Kind::kText, text); }
  bool binary(Json::binary_t& /*value*/) override { return false; }  // not in a text

  bool start_object(std::size_t /*size*/) override {
    const bool is_bytes = level_ == Level::kPort && is_entered_next_;
    return enter(level_ == Level::kOutside || level_ == Level::kPorts || is_bytes, "{...}");
  }
  bool start_array(std::size_t /*size*/) override {
    return enter(level_ == Level::kDocument && is_entered_next_, "[...]");
  }
  bool end_object() override { return leave(); }
  bool end_array() override { return leave(); }

  bool key(std::string& name) override {
    if (ignored_ == 0) {
      is_entered_next_ = name == (level_ == Level::kDocument ? "ports" : "bytes");
      target_ = level_ == Level::kDocument ? (name == "schema" ? &schema_ : nullptr) : member(name);
    }
    return true;
  }

  bool parse_error(std::size_t /*at*/, const std::string& /*token*/, const Json::exception& /*error*/) override {
    return false;
  }

 private:
  // Each stands in the one before.
  enum class Level : std::uint8_t { kOutside, kDocument, kPorts, kPort, kBytes };

  Value* member(std::string_view name) {
    const auto* const found = std::find(kKeyNames.begin(), kKeyNames.end(), name);
    return found != kKeyNames.end() ? &ports_.back().at(static_cast<std::size_t>(found - kKeyNames.begin())) : nullptr;
  }

  bool take_integer(auto value) { return take(Kind::kInteger, std::to_string(value)); }

  bool take(Kind kind, std::string_view text) {
    if (ignored_ != 0) {
      return true;
    }
    if (level_ == Level::kPorts) {
      ports_.emplace_back();
      note_broken();
    } else if (level_ == Level::kBytes && target_ != nullptr) {
      target_->bytes = text;
    } else if (target_ != nullptr) {
      target_->kind = kind;
      target_->text = text;
    }
    return true;
  }

  // What is no part of a port is only counted, to know where it ends.
  bool enter(bool is_known, std::string_view shown) {
    if (ignored_ != 0 || !is_known) {
      take(Kind::kOther, shown);
      ++ignored_;
      return true;
    }
    level_ = static_cast<Level>(static_cast<int>(level_) + 1);
    if (level_ == Level::kPorts) {
      ports_.clear();
      first_broken_ = 0;
      has_ports_ = true;
    } else if (level_ == Level::kPort) {
      ports_.emplace_back();
      has_bytes_ = false;
    } else if (level_ == Level::kBytes) {
      has_bytes_ = true;
    }
    return true;
  }

  bool leave() {
    if (ignored_ != 0) {
      --ignored_;
      return true;
    }
    if (level_ == Level::kPort && !(has_bytes_ && is_complete(ports_.back()))) {
      note_broken();
    }
    level_ = static_cast<Level>(static_cast<int>(level_) - 1);
    return true;
  }

  void note_broken() { first_broken_ = first_broken_ == 0 ? ports_.size() : first_broken_; }

  std::vector<ComparedPort>& ports_;
  Value schema_;
  bool has_ports_ = false;
  std::size_t first_broken_ = 0;  // from 1

  Level level_ = Level::kOutside;
  std::size_t ignored_ = 0;       // how many lists and objects are open that are not looked into
  Value* target_ = nullptr;       // of the key that was read last
  bool is_entered_next_ = false;  // the value of that key is looked into
  bool has_bytes_ = false;        // the port has the key
};

// Returns why it can't be read; empty when it can.
std::string read_content(const std::string& file, std::string& content) {
  constexpr std::size_t kChunk = 1 << 16;
  constexpr std::size_t kLargeFile = 1 << 21;
  errno = 0;
  std::ifstream stream(file, std::ios::binary);
  content.reserve(kLargeFile);
  while (stream) {
    const std::size_t size = content.size();
    content.resize(size + kChunk);
    stream.read(&content[size], kChunk);
    content.resize(size + static_cast<std::size_t>(stream.gcount()));
  }
  if (!stream.is_open() || stream.bad() || content.empty()) {
    return stream.is_open() && errno == 0 ? "is empty" : std::string("can't be read: ") + std::strerror(errno);
  }
  return "";
}

}  // namespace

std::string read_expected_file(const std::string& file, std::vector<ComparedPort>& ports) {
  std::string content;
  if (std::string complaint = read_content(file, content); !complaint.empty()) {
    return complaint;
  }
  Reader reader(ports);
  return Json::sax_parse(content, &reader) ? reader.complaint() : "is not JSON";
}

}  // namespace qorx::inspect
