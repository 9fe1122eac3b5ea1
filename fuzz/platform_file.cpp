// The platform file, -config: both passes over filled tables, against plain passes over the same lines.
// Input: options, the file's text.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "base/bounded_text.h"
#include "config/stages.h"
#include "fuzz/plain_text.h"
#include "fuzz/support.h"
#include "records/state.h"

namespace qorx::fuzz {

namespace {

constexpr std::uint8_t kForce = 1;
constexpr std::uint8_t kFullTable = 2;

constexpr std::size_t kPorts = 48;

// Names that the corpus uses; the slots and ports behind the first ones repeat them with numbers.
constexpr const char* kNames[] = {"LAN1", "WMX Slot 1", "WMX Slot 2 (H.1.2.255)", "SW Slot 3", "", "PCIE Slot 4"};

// Switch ports: a slot with a switch behind it, one with a port service only.
constexpr const char* kDomain = "/sys/devices/pci0000:00";
const std::map<std::string, std::string> kFirstBehind{
    {"/0000:00:03.0", "0000:01:00.0"},
    {"/0000:00:03.0/0000:01:00.0", "0000:02:04.0"},
    {"/0000:00:03.0/0000:01:00.0/0000:02:04.0", ""},
    {"/0000:00:01.0", ""},
};

struct PlainSlot {
  std::string name;
  std::string firmware_name;
  int type = 0;
  std::array<int, 3> address{};
  std::string path;
};

struct PlainPort {
  std::string slot_name;
  std::string panel;
  int fun = 0;
  int bus_group = 0;
  int feature = 0;
  int control = 0;
};

struct PlainTables {
  std::vector<PlainSlot> slots;
  std::size_t slot_count = 0;
  std::vector<PlainPort> ports;
  bool force = false;
};

std::string cut(const std::string& text) {
  return text.substr(0, QORX_NAME_SIZE - 1);
}

std::string name_of(std::size_t i) {
  const std::string name = kNames[i % std::size(kNames)];
  return i < std::size(kNames) ? name : name + '.' + std::to_string(i);
}

int type_of(std::size_t i) {
  return i % std::size(kNames) == 0 ? QORX_SMBIOS_ONBOARD_DEVICE : QORX_SMBIOS_SYSTEM_SLOT;
}

// Eight ports in each of the first slots, some with a feature of their own, half of them on a second bus.
PlainTables plain_tables(bool full, bool force) {
  PlainTables tables;
  tables.force = force;
  for (std::size_t i = 0; i < (full ? std::size_t{QORX_MAX_RECORDS} : std::size(kNames)); ++i) {
    tables.slots.push_back({name_of(i), name_of(i), type_of(i), {0, static_cast<int>(i & 0xFF), 0}, ""});
  }
  tables.slot_count = tables.slots.size();
  tables.slots.resize(QORX_MAX_RECORDS);
  for (int i = 0; i < static_cast<int>(kPorts); ++i) {
    const bool bypass = i % 3 == 0;
    tables.ports.push_back(
        {name_of(static_cast<std::size_t>(i) / 8), "", i % 4, i / 4 % 2, bypass ? 2 : 0, bypass ? 1 : 0});
  }
  return tables;
}

void fill_records(const PlainTables& tables) {
  for (std::size_t i = 0; i < tables.slot_count; ++i) {
    SlotRecord& slot = qorx_smbios_t9_t41_mapping[i];
    copy_text(slot.slot_name, tables.slots[i].name);
    copy_text(slot.smbios_slot_name, slot.slot_name);
    slot.type = static_cast<std::uint8_t>(tables.slots[i].type);
    slot.dev = static_cast<std::uint8_t>(tables.slots[i].address[1]);
  }
  for (std::size_t i = 0; i < kPorts; ++i) {
    const PlainPort& port = tables.ports[i];
    DeviceRecord& record = qorx_eth_device_mapping[i];
    copy_text(record.slot_name, port.slot_name);
    record.smbios_type = static_cast<std::uint8_t>(type_of(i / 8));
    record.fun = static_cast<std::uint8_t>(port.fun);
    record.port_index = static_cast<std::uint8_t>(port.bus_group);
    record.feature = static_cast<std::uint8_t>(port.feature);
    record.bypass_ctrl_flag = static_cast<std::uint8_t>(port.control);
  }
  qorx_system_environment_info.eth_smbios_t9_t41_number = static_cast<std::uint32_t>(tables.slot_count);
  qorx_system_environment_info.eth_device_number = kPorts;
}

enum class Key { kNone, kSwitch, kRename, kFeature, kBusOrder };

struct KeyText {
  Key key;
  const char* text;
};
constexpr std::array kKeys{KeyText{Key::kSwitch, "PCIe_SW_DEV/WMX_SLOT=\""}, KeyText{Key::kRename, "CHANGE_NAME=\""},
                           KeyText{Key::kFeature, "FUNCTION/NAME/FEATURE=\""},
                           KeyText{Key::kBusOrder, "FUNCTION/NAME/BUS_ORDER=\""}};

// The grammar, which both passes share: blocks of a slot name and lines of the four keys. `begin` and `line` say
// whether to go on.
template <typename Begin, typename Line>
bool walk(std::string_view text, Begin begin, Line take_line) {
  const PlainLines lines = plain_lines(text);
  const auto is_last = [&](std::size_t i) { return i + 1 == lines.at.size() && lines.ends_open; };
  std::size_t i = 0;
  while (i < lines.at.size() && (plain_trim(lines.at[i]).empty() || plain_trim(lines.at[i])[0] == '#')) {
    ++i;
  }
  if (i == lines.at.size() || is_last(i)) {
    return false;
  }
  std::string current = plain_trim(lines.at[i++]);
  for (;;) {
    const auto slot = plain_value(current, "SLOT_NAME=\"");
    if (!slot || !begin(*slot)) {
      return false;
    }
    bool in_block = true;
    while (in_block && i < lines.at.size()) {
      current = plain_trim_front(lines.at[i++]);
      if (current[0] == '#' || current == "\n") {
        continue;
      }
      in_block = false;
      for (const KeyText& key : kKeys) {
        const auto value = plain_value(current, key.text);
        if (value && !in_block) {
          in_block = true;
          if (!take_line(key.key, *slot, *value)) {
            return false;
          }
        }
      }
    }
    if (in_block || (i == lines.at.size() && lines.ends_open)) {
      return true;
    }
  }
}

// The first pass, which edits slots.
class PlainSlotPass {
 public:
  explicit PlainSlotPass(PlainTables& tables) : slots_(tables.slots), count_(tables.slot_count) {}

  bool begin(const std::string& name) {
    searched_ = false;
    for (const auto field : {&PlainSlot::firmware_name, &PlainSlot::name}) {
      for (std::size_t i = 0; i < count_; ++i) {
        if (slots_[i].*field == name) {
          block_ = i;
          return true;
        }
      }
    }
    return false;
  }

  bool take_line(Key key, const std::string& name, const std::string& value) {
    if (key == Key::kRename) {
      rename(name, value);
    }
    return key != Key::kSwitch || take_switch(name, value);
  }

 private:
  void rename(const std::string& name, const std::string& value) {
    for (const auto field : {&PlainSlot::firmware_name, &PlainSlot::name}) {
      bool any = false;
      for (std::size_t i = 0; i < count_; ++i) {
        if (slots_[i].*field == name) {
          slots_[i].name = cut(value);
          any = true;
        }
      }
      if (any) {
        return;
      }
    }
  }

  // Looks behind the slot's port, and gives the slot up.
  bool search(const std::string& name) {
    PlainSlot& slot = slots_[block_];
    char own[32];
    std::snprintf(own, sizeof own, "/0000:%.2x:%.2x.%.1x", static_cast<unsigned>(slot.address[0]),
                  static_cast<unsigned>(slot.address[1]), static_cast<unsigned>(slot.address[2]));
    slot.path = cut((slot.path.empty() ? kDomain : slot.path) + own);
    const std::string domain = kDomain;
    const auto behind = kFirstBehind.find(slot.path.starts_with(domain) ? slot.path.substr(domain.size()) : "?");
    if (behind == kFirstBehind.end()) {
      return false;
    }
    is_switch_ = !behind->second.empty();
    bus_ = is_switch_ ? static_cast<int>(std::strtol(behind->second.c_str() + 5, nullptr, 16)) : slot.address[0];
    char upstream[32];
    std::snprintf(upstream, sizeof upstream, "/0000:%.2x:00.0", static_cast<unsigned>(bus_));
    path_ = cut(slot.path + upstream);
    for (std::size_t i = 0; i < count_; ++i) {
      if (slots_[i].name == name) {
        slots_[i] = {"", "", slots_[i].type, {0xFF, 0xFF, 0xFF}, slots_[i].path};
      }
    }
    return true;
  }

  bool take_switch(const std::string& name, const std::string& value) {
    if (!searched_ && !search(name)) {
      return false;
    }
    searched_ = true;
    if (!is_switch_) {
      return true;
    }
    const std::vector<std::string> fields = plain_split(value, "/", 3);
    if (fields.size() < 2) {
      return false;
    }
    const std::vector<std::string> range = plain_split(fields[0], "/-", 2);
    if (range.size() < 2) {
      return false;
    }
    long first = std::strtol(range[0].c_str(), nullptr, 16);
    long last = std::strtol(range[1].c_str(), nullptr, 16);
    if (last < first) {
      std::swap(first, last);
    }
    for (unsigned long k = static_cast<unsigned long>(first);; ++k) {
      if (count_ >= kLast) {
        k = static_cast<unsigned long>(last);  // only the last of them is left to see
      }
      // The last record is written, and never counted.
      slots_[std::min(count_, kLast)] = {
          cut(fields[1]), "", 9, {(bus_ + 1) & 0xFF, static_cast<int>(k & 0xFF), 0}, path_};
      count_ = std::min(count_ + 1, kLast);
      if (k == static_cast<unsigned long>(last)) {
        return true;
      }
    }
  }

  static constexpr std::size_t kLast = QORX_MAX_RECORDS - 1;

  std::vector<PlainSlot>& slots_;
  std::size_t& count_;
  std::size_t block_ = 0;
  std::string path_;
  bool searched_ = false;
  bool is_switch_ = false;
  int bus_ = 0;
};

// The second pass, which edits ports.
class PlainPortPass {
 public:
  explicit PlainPortPass(PlainTables& tables) : tables_(tables) {}

  bool take_line(Key key, const std::string& name, const std::string& value) {
    if (key != Key::kFeature && key != Key::kBusOrder) {
      return true;
    }
    const std::vector<std::string> fields = plain_split(value, "/", 4);
    if (fields.size() < 3) {
      return false;
    }
    const int function = fields[0][0] - '0';
    if (key == Key::kBusOrder) {
      for (PlainPort& port : tables_.ports) {
        if (port.slot_name == name && port.fun == function && port.bus_group == (fields[2][0] == 'H' ? 1 : 0)) {
          port.panel = cut(fields[1]);
        }
      }
      return true;
    }
    return set_feature(name, function, fields);
  }

 private:
  bool set_feature(const std::string& name, int function, const std::vector<std::string>& fields) {
    static const std::map<std::string, int> kWords{
        {"POE", 1}, {"A_BYPASS", 2}, {"A_BYPASS-C", 2}, {"L_BYPASS", 4},
        {"NA", 8},  {"NCSI", 0x10},  {"1PPS", 0x20},    {"A_BYPASS_I2C", 0x40}};
    const auto word = kWords.find(fields[2]);
    if (word == kWords.end()) {
      return false;
    }
    const bool both = fields[2] == "NCSI" && fields.size() > 3 && fields[3] == "1PPS";
    const int code = both ? 0x30 : word->second;
    for (PlainPort& port : tables_.ports) {
      if (port.slot_name != name || port.fun != function) {
        continue;
      }
      if (port.feature != 0 && port.feature != code && !tables_.force) {
        port.feature |= 0x80;
      } else {
        port.panel = cut(fields[1]);
        port.feature = code;
        port.control = fields[2] == "A_BYPASS-C" ? 1 : 0;
      }
    }
    return true;
  }

  PlainTables& tables_;
};

void compare_slots(const std::vector<PlainSlot>& expected, std::size_t count) {
  require(slot_records().size() == count, "as many slots as the plain pass leaves");
  for (std::size_t i = 0; i < count; ++i) {
    const SlotRecord& slot = slot_records()[i];
    require(slot.slot_name == expected[i].name && slot.smbios_slot_name == expected[i].firmware_name,
            "the slots have the plain pass's names");
    require(slot.bus == expected[i].address[0] && slot.dev == expected[i].address[1] &&
                slot.fun == expected[i].address[2] && slot.type == expected[i].type,
            "and its addresses and types");
    require(slot.sysfs_path == expected[i].path, "and its paths");
  }
}

void compare_ports(const std::vector<PlainPort>& expected) {
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const DeviceRecord& record = device_records()[i];
    require(record.panel_name == expected[i].panel, "the ports have the plain pass's panel names");
    require(record.feature == expected[i].feature, "and its features");
    require(record.bypass_ctrl_flag == expected[i].control, "and its controls");
  }
}

bool make_switches() {
  for (const auto& [path, behind] : kFirstBehind) {
    ScratchFile("root" + std::string(kDomain) + path + "/config").write({});
  }
  ScratchFile("root" + std::string(kDomain) + "/0000:00:01.0/0000:00:01.0:pcie001/config").write({});
  return true;
}

}  // namespace

}  // namespace qorx::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qorx::fuzz;
  static ScratchFile file("qorx.cfg");
  [[maybe_unused]] static const bool once = make_switches();
  Input input(data, size);
  const std::uint8_t options = input.byte();
  const bool force = (options & kForce) != 0;
  file.write(input.rest());
  const std::string_view text = as_text(input.rest());
  const PlainTables before = plain_tables((options & kFullTable) != 0, force);
  PlainTables after = before;
  PlainSlotPass slot_pass(after);
  const bool slots_right = walk(
      text, [&](const std::string& name) { return slot_pass.begin(name); },
      [&](Key key, const std::string& name, const std::string& value) {
        return slot_pass.take_line(key, name, value);
      });
  PlainPortPass port_pass(after);
  const bool ports_right = walk(
      text, [](const std::string&) { return true; },
      [&](Key key, const std::string& name, const std::string& value) {
        return port_pass.take_line(key, name, value);
      });
  run_at_both_levels([&] {
    g_force_flag = force ? 1 : 0;
    fill_records(before);
    const std::size_t devices = device_fingerprint();
    const std::int32_t slot_code = qorx::qorx_check_conf_file_SW(file.path());
    require_code(slot_code, {QORX_ERR_CONF_FILE_FORMAT});
    require((slot_code == 0) == slots_right, "the first pass refuses what the plain one refuses");
    require(devices == device_fingerprint(), "the first pass leaves the ports alone");
    compare_slots(after.slots, after.slot_count);
    const std::size_t slots = slot_fingerprint();
    const std::int32_t port_code = qorx::qorx_check_conf_file(file.path());
    require_code(port_code, {QORX_ERR_CONF_FILE_FORMAT});
    require((port_code == 0) == ports_right, "the second pass refuses what the plain one refuses");
    require(slots == slot_fingerprint(), "the second pass leaves the slots alone");
    compare_ports(after.ports);
    return slot_code << 8 | port_code;
  });
  return 0;
}
