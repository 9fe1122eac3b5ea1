// The SMBIOS override file, -smbios_cfg, against a plain reading of the same lines. Input: its text.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/plain_text.h"
#include "fuzz/support.h"
#include "records/state.h"
#include "smbios/override_file.h"

namespace qorx::fuzz {

namespace {

struct PlainSlot {
  int type;
  std::string name;
  std::array<std::uint8_t, 3> address;
};

// Three lines make a slot, in this order.
constexpr std::array kKeys{"TYPE=\"", "NAME=\"", "BUS:DEV.FUN=\""};

bool add_slot(const std::array<std::string, 3>& values, std::vector<PlainSlot>& slots) {
  const std::vector<std::string> parts = plain_split(values[2], ":.", 3);
  if ((values[0] != "9" && values[0] != "41") || values[1].empty() || parts.size() < 3) {
    return false;
  }
  PlainSlot slot{values[0] == "9" ? 9 : 41, values[1].substr(0, QORX_NAME_SIZE - 1), {}};
  for (std::size_t i = 0; i < parts.size(); ++i) {
    slot.address[i] = static_cast<std::uint8_t>(std::strtol(parts[i].c_str(), nullptr, 16));
  }
  slots.resize(std::min<std::size_t>(slots.size(), QORX_MAX_RECORDS - 1));
  slots.push_back(slot);
  return true;
}

// False where the file is wrong; the slots before that line stay.
bool read_plainly(std::string_view text, std::vector<PlainSlot>& slots) {
  std::array<std::string, 3> values;
  std::size_t expected = 0;
  PlainLines lines = plain_lines(text);
  if (lines.ends_open) {
    lines.at.pop_back();  // torn
  }
  for (const std::string& raw : lines.at) {
    const std::string line = plain_trim(raw);
    if (line.empty() || line[0] == '#') {
      continue;
    }
    const auto value = plain_value(line, kKeys[expected]);
    if (!value) {
      return false;
    }
    values[expected++] = *value;
    if (expected == kKeys.size()) {
      expected = 0;
      if (!add_slot(values, slots)) {
        return false;
      }
    }
  }
  return expected == 0 && !slots.empty();
}

void compare(const std::vector<PlainSlot>& expected) {
  require(slot_records().size() == expected.size(), "as many slots as a plain reading finds");
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const SlotRecord& slot = slot_records()[i];
    require(slot.type == expected[i].type && slot.slot_name == expected[i].name, "type and name are the file's");
    require(std::strcmp(slot.slot_name, slot.smbios_slot_name) == 0, "the firmware's name starts as the same");
    require(
        slot.bus == expected[i].address[0] && slot.dev == expected[i].address[1] && slot.fun == expected[i].address[2],
        "the address is the file's, in hexadecimal");
  }
}

}  // namespace

}  // namespace qorx::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qorx::fuzz;
  static ScratchFile file("smbios.cfg");
  file.write({data, size});
  std::vector<PlainSlot> expected;
  const bool right = read_plainly(as_text({data, size}), expected);
  run_at_both_levels([&] {
    const std::int32_t code = qorx::Search_SMBIOS_cfg(file.path());
    require_code(code, {QORX_ERR_CONF_FILE_FORMAT});
    require((code == 0) == right, "a file is refused where a plain reading refuses it");
    compare(expected);
    return code;
  });
  return 0;
}
