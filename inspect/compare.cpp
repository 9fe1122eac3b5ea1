#include "inspect/compare.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <optional>
#include <sstream>
#include <string_view>

#include "inspect/json.h"
#include "inspect/json_document.h"
#include "inspect/text.h"

namespace qorx::inspect {

namespace {

constexpr std::size_t kMostKeys = 4;

// A word of the command line, and the keys of a port that it stands for.
struct Field {
  std::string_view word;
  bool is_default;
  std::array<const char*, kMostKeys> keys;
};

constexpr std::array kFields{
    Field{"slot", true, {"slot"}},
    Field{"model", true, {"model"}},
    Field{"feature", true, {"feature", "feature_state"}},
    Field{"panel", true, {"panel"}},
    Field{"segment", true, {"segment"}},
    Field{"eth_name", false, {"name"}},
    Field{"address", false, {"address"}},
    Field{"ids", false, {"vendor_id", "device_id", "subsystem_vendor_id", "subsystem_device_id"}},
    Field{"mac", false, {"mac"}},
};

const Field* find_field(std::string_view word) {
  const auto* const found =
      std::find_if(kFields.begin(), kFields.end(), [&](const Field& field) { return field.word == word; });
  return found != kFields.end() ? found : nullptr;
}

bool contains(const std::vector<std::string>& list, std::string_view word) {
  return std::find(list.begin(), list.end(), word) != list.end();
}

// Whether two ports have the same value; bytes that are no UTF-8 count.
bool same(const Json& a, const Json& b, const char* key) {
  const auto bytes = [&](const Json& port) { return port["bytes"].contains(key) ? port["bytes"][key] : Json(); };
  return a[key] == b[key] && bytes(a) == bytes(b);
}

bool same(const Json& a, const Json& b, const Field& field) {
  return std::all_of(field.keys.begin(), field.keys.end(),
                     [&](const char* key) { return key == nullptr || same(a, b, key); });
}

std::string shown(const Json& value) {
  if (value.is_string()) {
    return printable(value.get<std::string>());
  }
  return value.is_null() ? "none" : value.dump();
}

std::string feature_shown(const Json& port) {
  const std::string state = port["feature_state"];
  return state == "known" || state == "none" ? shown(port["feature"])
                                             : (state == "needs_configuration" ? "Need cfg" : shown(state));
}

std::string value_shown(const Json& port, const Field& field) {
  if (field.word == "feature") {
    return feature_shown(port);
  }
  std::string text;
  for (const char* const key : field.keys) {
    if (key != nullptr) {
      text += (text.empty() ? "" : ":") + shown(port[key]);
    }
  }
  return text;
}

// How people find the port: by its place on the front, else by its address or name.
std::string label(const Json& port) {
  if (port["slot"].is_null()) {
    return port["address"].is_null() ? "interface " + shown(port["name"])
                                     : "port without slot at " + shown(port["address"]);
  }
  const std::string slot = shown(port["slot"]);
  if (port["panel"].is_null() || port["panel"] == port["slot"]) {
    return slot;
  }
  const std::string panel = shown(port["panel"]);
  const bool is_number = panel.find_first_not_of("0123456789abcdef") == std::string::npos;
  return slot + ", " + (is_number ? "port " : "") + panel;
}

std::string summary(const Json& port) {
  const std::string model = port["model"].is_null() ? "an unknown model" : shown(port["model"]);
  return port["feature"].is_null() ? model : model + " with " + feature_shown(port);
}

// The ports of two machines, and which of them are the same one.
class Pairing {
 public:
  Pairing(const Json& expected, const Json& found)
      : expected_(expected), found_(found), partner_(expected.size()), is_taken_(found.size()) {}

  // Pairs what is left and agrees in all these keys.
  void pair_by(const std::vector<const char*>& keys) {
    for (std::size_t i = 0; i < expected_.size(); ++i) {
      for (std::size_t k = 0; k < found_.size() && !partner_[i]; ++k) {
        const bool agrees = !is_taken_[k] && std::all_of(keys.begin(), keys.end(), [&](const char* key) {
          const bool may_be_absent = std::string_view(key) == "slot";
          return same(expected_[i], found_[k], key) && (may_be_absent || !found_[k][key].is_null());
        });
        if (agrees) {
          partner_[i] = k;
          is_taken_[k] = true;
        }
      }
    }
  }

  [[nodiscard]] std::optional<std::size_t> partner(std::size_t expected) const { return partner_[expected]; }
  [[nodiscard]] bool is_taken(std::size_t found) const { return is_taken_[found]; }

 private:
  const Json& expected_;
  const Json& found_;
  std::vector<std::optional<std::size_t>> partner_;
  std::vector<bool> is_taken_;
};

std::vector<std::string> differences(const Json& expected, const Json& found, const std::vector<std::string>& fields) {
  Pairing pairing(expected, found);
  if (contains(fields, "slot")) {
    pairing.pair_by({"slot", "address"});
    pairing.pair_by({"slot", "panel"});
    pairing.pair_by({"slot", "name"});
  } else {
    pairing.pair_by({"address"});
    pairing.pair_by({"name"});
  }
  std::vector<std::string> lines;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const auto partner = pairing.partner(i);
    if (!partner) {
      lines.push_back(label(expected[i]) + ": expected " + summary(expected[i]) + ", found no port");
      continue;
    }
    for (const std::string& word : fields) {
      const Field& field = *find_field(word);
      if (!same(expected[i], found[*partner], field)) {
        lines.push_back(label(expected[i]) + ": " + word + ": expected " + value_shown(expected[i], field) +
                        ", found " + value_shown(found[*partner], field));
      }
    }
  }
  for (std::size_t k = 0; k < found.size(); ++k) {
    if (!pairing.is_taken(k)) {
      lines.push_back(label(found[k]) + ": expected no port, found " + summary(found[k]));
    }
  }
  return lines;
}

bool is_port(const Json& port) {
  const auto has = [&](const char* key, auto is_right) { return port.contains(key) && is_right(port[key]); };
  const auto is_text = [](const Json& value) { return value.is_string() || value.is_null(); };
  const auto is_word = [](const Json& value) { return value.is_string(); };
  const auto is_number = [](const Json& value) { return value.is_number_integer() || value.is_null(); };
  const auto is_object = [](const Json& value) { return value.is_object(); };
  const auto field_is_right = [&](const Field& field) {
    return std::all_of(field.keys.begin(), field.keys.end(), [&](const char* key) {
      return key == nullptr || (field.word == "segment" ? has(key, is_number) : has(key, is_text));
    });
  };
  return port.is_object() && has("bytes", is_object) && has("feature_state", is_word) &&
         std::all_of(kFields.begin(), kFields.end(), field_is_right);
}

// Why the document is no recorded machine; empty when it is one.
std::string wrong_with(const Json& document) {
  if (!document.is_object() || !document.contains("schema") || !document.contains("ports") ||
      !document["ports"].is_array()) {
    return "is not what qorx-inspect json prints";
  }
  if (document["schema"] != kSchema) {
    return "has layout " + printable(document["schema"].dump()) + ", this program knows " + std::to_string(kSchema);
  }
  const Json& ports = document["ports"];
  for (std::size_t i = 0; i < ports.size(); ++i) {
    if (!is_port(ports[i])) {
      return "has no complete port number " + std::to_string(i + 1);
    }
  }
  return "";
}

std::string read_document(const std::string& file, Json& document) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream content;
  if (stream) {
    content << stream.rdbuf();
  }
  if (!stream || stream.bad() || content.str().empty()) {
    return stream.is_open() && errno == 0 ? "is empty" : std::string("can't be read: ") + std::strerror(errno);
  }
  document = Json::parse(content.str(), nullptr, false);
  return document.is_discarded() ? "is not JSON" : wrong_with(document);
}

}  // namespace

FieldChoice choose_fields(const Request& request) {
  FieldChoice choice;
  for (const auto* const words : {&request.ignored, &request.added}) {
    for (const std::string& word : *words) {
      if (find_field(word) == nullptr) {
        choice.complaint = "unknown field '" + word + "'";
      }
    }
  }
  for (const Field& field : kFields) {
    if ((field.is_default || contains(request.added, field.word)) && !contains(request.ignored, field.word)) {
      choice.fields.emplace_back(field.word);
    }
  }
  return choice;
}

Comparison compare_with_file(const Machine& machine, const std::string& file, const std::vector<std::string>& fields) {
  Comparison comparison;
  Json expected;
  errno = 0;
  if (const std::string wrong = read_document(file, expected); !wrong.empty()) {
    comparison.complaint = printable(file) + " " + wrong;
    return comparison;
  }
  Json found = Json::array();
  for (const Port& port : machine.ports) {
    found.push_back(json_port(port));
  }
  comparison.differences = differences(expected["ports"], found, fields);
  return comparison;
}

}  // namespace qorx::inspect
