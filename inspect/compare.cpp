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
  std::string slot = shown(port["slot"]);
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

// What a port has for a key, bytes that are no UTF-8 included: prepared once, ports are compared with many others.
std::string value_of(const Json& port, const char* key) {
  const Json& bytes = port["bytes"];
  return port[key].dump() + (bytes.contains(key) ? bytes[key].dump() : "");
}

// The ports of one machine, with the values that decide which is which.
class Ports {
 public:
  explicit Ports(const Json& list) : list_(list) {
    for (const Json& port : list) {
      for (std::size_t k = 0; k < kIdentity.size(); ++k) {
        values_[k].push_back(value_of(port, kIdentity.at(k)));
      }
    }
  }

  enum Key : std::size_t { kSlot, kAddress, kPanel, kName };

  [[nodiscard]] std::size_t size() const { return list_.size(); }
  [[nodiscard]] const Json& operator[](std::size_t i) const { return list_[i]; }
  [[nodiscard]] const std::string& value(std::size_t i, Key key) const { return values_.at(key).at(i); }

 private:
  static constexpr std::array kIdentity{"slot", "address", "panel", "name"};

  const Json& list_;
  std::array<std::vector<std::string>, kIdentity.size()> values_;
};

// The ports of two machines, and which of them are the same one.
class Pairing {
 public:
  Pairing(const Ports& expected, const Ports& found)
      : expected_(expected), found_(found), partner_(expected.size()), is_taken_(found.size()) {}

  // Pairs what is left and agrees in all these keys. Only a slot may be absent on both sides.
  void pair_by(const std::vector<Ports::Key>& keys) {
    for (std::size_t i = 0; i < expected_.size(); ++i) {
      for (std::size_t k = 0; k < found_.size() && !partner_[i]; ++k) {
        const bool agrees = !is_taken_[k] && std::all_of(keys.begin(), keys.end(), [&](Ports::Key key) {
          return expected_.value(i, key) == found_.value(k, key) &&
                 (key == Ports::kSlot || found_.value(k, key) != "null");
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
  const Ports& expected_;
  const Ports& found_;
  std::vector<std::optional<std::size_t>> partner_;
  std::vector<bool> is_taken_;
};

Pairing pair_ports(const Ports& expected, const Ports& found, bool by_slot) {
  Pairing pairing(expected, found);
  if (by_slot) {
    pairing.pair_by({Ports::kSlot, Ports::kAddress});
    pairing.pair_by({Ports::kSlot, Ports::kPanel});
    pairing.pair_by({Ports::kSlot, Ports::kName});
  } else {
    pairing.pair_by({Ports::kAddress});
    pairing.pair_by({Ports::kName});
  }
  return pairing;
}

bool same(const Json& a, const Json& b, const Field& field) {
  const bool is_plain = a["bytes"].empty() && b["bytes"].empty();
  return std::all_of(field.keys.begin(), field.keys.end(), [&](const char* key) {
    return key == nullptr || (a[key] == b[key] && (is_plain || value_of(a, key) == value_of(b, key)));
  });
}

void add_field_differences(const Json& expected, const Json& found, const std::vector<std::string>& fields,
                           std::vector<std::string>& lines) {
  for (const std::string& word : fields) {
    const Field& field = *find_field(word);
    if (!same(expected, found, field)) {
      lines.push_back(label(expected) + ": " + word + ": expected " + value_shown(expected, field) + ", found " +
                      value_shown(found, field));
    }
  }
}

std::vector<std::string> differences(const Json& expected_list, const Json& found_list,
                                     const std::vector<std::string>& fields) {
  const Ports expected(expected_list);
  const Ports found(found_list);
  const Pairing pairing = pair_ports(expected, found, contains(fields, "slot"));
  std::vector<std::string> lines;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    if (const auto partner = pairing.partner(i)) {
      add_field_differences(expected[i], found[*partner], fields, lines);
    } else {
      lines.push_back(label(expected[i]) + ": expected " + summary(expected[i]) + ", found no port");
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
  // The library's records are not compared: they need not be kept.
  const auto keep = [](int /*depth*/, Json::parse_event_t event, const Json& value) {
    return event != Json::parse_event_t::key || value != "raw";
  };
  document = Json::parse(content.str(), keep, false);
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
    found.push_back(json_port(port, PortDetail::kWithoutRaw));
  }
  comparison.differences = differences(expected["ports"], found, fields);
  return comparison;
}

}  // namespace qorx::inspect
