#include "inspect/compare.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "inspect/compared_port.h"
#include "inspect/expected_file.h"
#include "inspect/text.h"

namespace qorx::inspect {

namespace {

// A word of the command line, and the keys of a port that it stands for.
struct Field {
  std::string_view word;
  bool is_default;
  Key first;
  Key last;
};

constexpr std::array kFields{
    Field{"slot", true, kSlot, kSlot},
    Field{"model", true, kModel, kModel},
    Field{"feature", true, kFeature, kFeatureState},
    Field{"panel", true, kPanel, kPanel},
    Field{"segment", true, kSegment, kSegment},
    Field{"eth_name", false, kName, kName},
    Field{"address", false, kAddress, kAddress},
    Field{"ids", false, kVendorId, kSubsystemDeviceId},
    Field{"mac", false, kMac, kMac},
};

const Field* find_field(std::string_view word) {
  const auto* const found =
      std::find_if(kFields.begin(), kFields.end(), [&](const Field& field) { return field.word == word; });
  return found != kFields.end() ? found : nullptr;
}

bool contains(const std::vector<std::string>& list, std::string_view word) {
  return std::find(list.begin(), list.end(), word) != list.end();
}

using Ports = std::vector<ComparedPort>;

std::string shown(const Value& value) {
  return value.is_null() ? "none" : printable(value.text);
}

std::string feature_shown(const ComparedPort& port) {
  const std::string& state = port[kFeatureState].text;
  return state == "known" || state == "none" ? shown(port[kFeature])
                                             : (state == "needs_configuration" ? "Need cfg" : printable(state));
}

std::string value_shown(const ComparedPort& port, const Field& field) {
  if (field.word == "feature") {
    return feature_shown(port);
  }
  std::string text;
  for (std::size_t key = field.first; key <= field.last; ++key) {
    text += (text.empty() ? "" : ":") + shown(port.at(key));
  }
  return text;
}

// How people find the port: by its place on the front, else by its address or name.
std::string label(const ComparedPort& port) {
  if (port[kSlot].is_null()) {
    return port[kAddress].is_null() ? "interface " + shown(port[kName])
                                    : "port without slot at " + shown(port[kAddress]);
  }
  std::string slot = shown(port[kSlot]);
  if (port[kPanel].is_null() || port[kPanel].text == port[kSlot].text) {
    return slot;
  }
  const std::string panel = shown(port[kPanel]);
  const bool is_number = panel.find_first_not_of("0123456789abcdef") == std::string::npos;
  return slot + ", " + (is_number ? "port " : "") + panel;
}

std::string summary(const ComparedPort& port) {
  const std::string model = port[kModel].is_null() ? "an unknown model" : shown(port[kModel]);
  return port[kFeature].is_null() ? model : model + " with " + feature_shown(port);
}

// The ports of two machines, and which of them are the same one.
class Pairing {
 public:
  Pairing(const Ports& expected, const Ports& found)
      : expected_(expected), found_(found), partner_(expected.size()), is_taken_(found.size()) {}

  // Pairs what is left and agrees in all these keys. Only a slot may be absent on both sides.
  void pair_by(const std::vector<Key>& keys) {
    for (std::size_t i = 0; i < expected_.size(); ++i) {
      for (std::size_t k = first_free(); k < found_.size() && !partner_[i]; ++k) {
        const bool agrees = !is_taken_[k] && std::all_of(keys.begin(), keys.end(), [&](Key key) {
          return expected_[i].at(key) == found_[k].at(key) && (key == kSlot || !found_[k].at(key).is_null());
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
  // Most machines are as expected: then the next port is the partner.
  std::size_t first_free() {
    while (first_free_ < is_taken_.size() && is_taken_[first_free_]) {
      ++first_free_;
    }
    return first_free_;
  }

  const Ports& expected_;
  const Ports& found_;
  std::vector<std::optional<std::size_t>> partner_;
  std::vector<bool> is_taken_;
  std::size_t first_free_ = 0;
};

Pairing pair_ports(const Ports& expected, const Ports& found, bool by_slot) {
  Pairing pairing(expected, found);
  if (by_slot) {
    pairing.pair_by({kSlot, kAddress});
    pairing.pair_by({kSlot, kPanel});
    pairing.pair_by({kSlot, kName});
  } else {
    pairing.pair_by({kAddress});
    pairing.pair_by({kName});
  }
  return pairing;
}

bool same(const ComparedPort& a, const ComparedPort& b, const Field& field) {
  return std::equal(a.begin() + field.first, a.begin() + field.last + 1, b.begin() + field.first);
}

void add_field_differences(const ComparedPort& expected, const ComparedPort& found,
                           const std::vector<std::string>& fields, std::vector<std::string>& lines) {
  for (const std::string& word : fields) {
    const Field& field = *find_field(word);
    if (!same(expected, found, field)) {
      lines.push_back(label(expected) + ": " + word + ": expected " + value_shown(expected, field) + ", found " +
                      value_shown(found, field));
    }
  }
}

std::vector<std::string> differences(const Ports& expected, const Ports& found,
                                     const std::vector<std::string>& fields) {
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
  Ports expected;
  if (const std::string wrong = read_expected_file(file, expected); !wrong.empty()) {
    comparison.complaint = printable(file) + " " + wrong;
    return comparison;
  }
  Ports found(machine.ports.size());
  std::transform(machine.ports.begin(), machine.ports.end(), found.begin(), compared_port);
  comparison.differences = differences(expected, found, fields);
  return comparison;
}

}  // namespace qorx::inspect
