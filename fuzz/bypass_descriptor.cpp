// The bypass descriptor in a slot's designation, against a plain reading. Input: options, the designation, and behind a
// line feed each the names of three I2C adapters.
#include "discovery/bypass_descriptor.h"

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "base/bounded_text.h"
#include "fuzz/plain_text.h"
#include "fuzz/support.h"
#include "records/state.h"

namespace qorx::fuzz {

namespace {

constexpr std::uint8_t kOnboard = 1;
constexpr const char* kAdapters[] = {"i2c-0", "i2c-17", "i2c-300"};
constexpr int kNone = 255;

std::string_view take_line(std::string_view& text) {
  const std::string_view line = text.substr(0, text.find('\n'));
  text.remove_prefix(std::min(text.size(), line.size() + 1));
  return line;
}

// An adapter: its number and the first line of its name, as far as a reader of 99 characters gets.
struct Adapter {
  int number;
  std::string name;
};

// The adapters in the order in which their directory lists them.
std::vector<Adapter> plain_adapters(const std::vector<std::string>& names) {
  std::vector<Adapter> adapters;
  for (const auto& entry : std::filesystem::directory_iterator(scratch_directory() + "/root/sys/class/i2c-adapter")) {
    const std::string file = entry.path().filename();
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (file == kAdapters[i] && !names[i].empty()) {
        const std::string line = names[i].substr(0, 99);
        adapters.push_back({std::atoi(file.c_str() + 4), line.substr(0, line.find('\0'))});
      }
    }
  }
  return adapters;
}

int find_adapter(const std::vector<Adapter>& adapters, const std::string& pattern) {
  for (const Adapter& adapter : adapters) {
    if (adapter.name.find(pattern) != std::string::npos) {
      return adapter.number;
    }
  }
  return kNone;
}

struct PlainBypass {
  int type = 0;
  int bus = 0;
  int switch1 = 0;
  int switch2 = 0;
  int mcu = 0;
  int control = 0;
};

bool take_switch(const std::vector<std::string>& fields, std::size_t index, int& port) {
  if (index >= fields.size()) {
    return false;
  }
  const int number = std::atoi(fields[index].c_str());
  if ((number < 0 || number > 7) && number != kNone) {
    return false;
  }
  port = number;
  return true;
}

// The segment stands behind the one dot that ends the second switch, up to the parenthesis.
bool take_mcu(const std::string& text, const std::vector<std::string>& fields, int& mcu) {
  std::size_t at = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    at = text.find_first_not_of('.', at) + fields[i].size();
  }
  const std::string rest = at < text.size() ? text.substr(at + 1) : std::string();
  const int number = std::atoi(rest.substr(0, rest.find(')')).c_str());
  if (number < 1 || number > 4) {
    return false;
  }
  mcu = number;
  return true;
}

void correct_bus(const std::vector<Adapter>& adapters, PlainBypass& bypass) {
  int host = find_adapter(adapters, "SMBus I801");
  host = host == kNone ? find_adapter(adapters, "Synopsys DesignWare I2C adapter") : host;
  bypass.bus = host == kNone ? bypass.bus : host & 0xFF;
  const auto resolve = [&](int parent, int& port) {
    if (port == kNone) {
      return;
    }
    const std::string name = "i2c-" + std::to_string(parent) + "-mux (chan_id " + std::to_string(port) + ")";
    if (const int found = find_adapter(adapters, name); found != kNone) {
      bypass.bus = found & 0xFF;
      port = kNone;
    }
  };
  resolve(bypass.bus, bypass.switch1);
  resolve(bypass.switch1 == kNone ? bypass.bus : bypass.switch1, bypass.switch2);
}

PlainBypass read_plainly(const std::string& name, bool onboard, const std::vector<Adapter>& adapters) {
  PlainBypass bypass;
  if (name.find('(') == std::string::npos) {
    return bypass;
  }
  const std::string text = name.substr(name.find('('));
  const std::vector<std::string> fields = plain_split(text, ".", 4);
  if (fields.empty() || (fields[0] != "(H" && fields[0] != "(B")) {
    return bypass;
  }
  bypass.type = fields[0][1];
  if (fields.size() < 2 || std::atoi(fields[1].c_str()) > 255) {
    return bypass;
  }
  bypass.bus = std::atoi(fields[1].c_str()) & 0xFF;
  if (!take_switch(fields, 2, bypass.switch1) || !take_switch(fields, 3, bypass.switch2) ||
      (onboard && !take_mcu(text, fields, bypass.mcu))) {
    return bypass;
  }
  bypass.control = 1;
  if (bypass.type == 'H') {
    correct_bus(adapters, bypass);
  }
  return bypass;
}

void compare(const DeviceRecord& record, const PlainBypass& expected) {
  require(record.bypass_type == expected.type, "the path is H or B, or there is none");
  require(record.bypass_bus == expected.bus, "the bus is the descriptor's or the host's");
  require(record.bypass_switch1 == expected.switch1 && record.bypass_switch2 == expected.switch2,
          "the switches are the descriptor's, as far as no driver serves them");
  require(record.mcu_segment == expected.mcu, "the microcontroller segment is 1 to 4, and onboard only");
  require(record.bypass_ctrl_flag == expected.control, "a whole descriptor gives the control");
}

}  // namespace

}  // namespace qorx::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qorx::fuzz;
  const auto name_file = [](const char* adapter) {
    return std::string("root/sys/class/i2c-adapter/") + adapter + "/name";
  };
  static ScratchFile files[] = {ScratchFile(name_file(kAdapters[0])), ScratchFile(name_file(kAdapters[1])),
                                ScratchFile(name_file(kAdapters[2]))};
  Input input(data, size);
  const std::uint8_t options = input.byte();
  std::string_view text = as_text(input.rest());
  const std::string_view line = take_line(text);
  const std::string designation(line.substr(0, std::min<std::size_t>(line.find('\0'), QORX_NAME_SIZE - 1)));
  std::vector<std::string> names;
  for (ScratchFile& file : files) {
    names.emplace_back(take_line(text));
    file.write(as_bytes(names.back()));
  }
  const bool onboard = (options & kOnboard) != 0;
  const PlainBypass expected = read_plainly(designation, onboard, plain_adapters(names));
  run_at_both_levels([&] {
    qorx::DeviceRecord& record = qorx_eth_device_mapping[0];
    qorx_system_environment_info.eth_device_number = 1;
    qorx::I2cAdapters adapters;
    qorx::copy_text(record.eth_name, "eth0");
    qorx::copy_text(record.slot_name, designation);
    record.smbios_type = onboard ? QORX_SMBIOS_ONBOARD_DEVICE : QORX_SMBIOS_SYSTEM_SLOT;
    require(qorx::parse_bypass_descriptor(adapters, record) == 0, "a descriptor can't fail where adapters are listed");
    compare(record, expected);
    return 0;
  });
  return 0;
}
