// The module name file, -sys_WMX_cfg, against a plain reading of the same lines. Input: its text.
#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "base/bounded_text.h"
#include "config/stages.h"
#include "fuzz/plain_text.h"
#include "fuzz/support.h"
#include "ident/final_model.h"
#include "records/state.h"

namespace qorx::fuzz {

namespace {

// The lists of candidates that the legacy modules have, and models that are none.
constexpr const char* kModels[] = {
    "WMX-1813/2848/8655",
    "WMX-0119/4195/3493",
    "TOBR-4180/WMX-1280/9243",
    "WMX-4180/9556/6264",
    "WMX-9605/4840",
    "WMX-6473",
    "WMX-44C0",
    "",
};

struct PlainPort {
  std::string model;
  int smbios_type = 0;
  int fun = 0;
  int feature = 0;
  int control = 0;
  std::vector<std::string> names;
};

std::vector<PlainPort> plain_ports() {
  std::vector<PlainPort> ports;
  for (const char* const model : kModels) {
    for (const int type : {QORX_SMBIOS_SYSTEM_SLOT, QORX_SMBIOS_ONBOARD_DEVICE}) {
      for (int fun = 0; fun < 2; ++fun) {
        ports.push_back({model, type, fun, 0, 0, {}});
      }
    }
  }
  return ports;
}

void fill_records() {
  for (const PlainPort& port : plain_ports()) {
    DeviceRecord& record = qorx_eth_device_mapping[qorx_system_environment_info.eth_device_number++];
    copy_text(record.model, port.model);
    copy_text(record.slot_name, "WMX Slot 1");
    record.fun = static_cast<std::uint8_t>(port.fun);
    record.smbios_type = static_cast<std::uint8_t>(port.smbios_type);
  }
}

void apply(const std::string& model, const std::string& short_form, int feature, PlainPort& port) {
  const bool named = port.model.find(model) != std::string::npos ||
                     (!short_form.empty() && port.model.find(short_form) != std::string::npos);
  if (port.smbios_type != 9 || port.model.size() <= 8 || !named) {
    return;
  }
  if (port.names.empty()) {
    port.feature = feature;
    port.control = feature == 2 && port.fun % 2 == 0 ? 1 : port.control;
  } else if (port.feature != feature) {
    port.feature = 0;
    port.control = 0;
  }
  const std::string kept = model.substr(0, QORX_NAME_SIZE - 1);
  if (std::find(port.names.begin(), port.names.end(), kept) == port.names.end() && port.names.size() < 3) {
    port.names.push_back(kept);
  }
}

// False where the file is wrong; what the lines before it did stays.
bool read_plainly(std::string_view text, std::vector<PlainPort>& ports) {
  static const std::map<std::string, int> kFeatures{{"A_BYPASS", 2}, {"L_BYPASS", 4}, {"POE", 1},          {"NA", 8},
                                                    {"N/A", 8},      {"NCSI", 16},    {"A_BYPASS_I2C", 64}};
  bool any = false;
  std::string short_form;
  for (const std::string& raw : plain_lines(text).at) {
    const std::string line = plain_trim(raw);
    if (line.empty() || line[0] == '#') {
      continue;
    }
    const std::vector<std::string> fields = plain_split(line, " ", 2);
    if (fields.size() < 2 || !kFeatures.contains(fields[1])) {
      return false;
    }
    any = true;
    if (fields[0].starts_with("WMX-")) {
      short_form = "/" + fields[0].substr(4, 4);
    }
    for (PlainPort& port : ports) {
      apply(fields[0], short_form, kFeatures.at(fields[1]), port);
    }
  }
  return any;
}

void compare(const std::vector<PlainPort>& ports) {
  for (std::size_t i = 0; i < ports.size(); ++i) {
    const DeviceRecord& record = device_records()[i];
    require(record.feature == ports[i].feature, "the feature is the one that the fitted modules agree on");
    require(record.bypass_ctrl_flag == ports[i].control, "an even port of an A_BYPASS module carries the control");
    require(record.module_name_count == ports[i].names.size(), "as many names as a plain reading finds");
    for (std::size_t k = 0; k < ports[i].names.size(); ++k) {
      require(record.module_names[k] == ports[i].names[k], "the names are the file's, in its order");
    }
  }
}

}  // namespace

}  // namespace qorx::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qorx::fuzz;
  static ScratchFile file("wmx_name.cfg");
  file.write({data, size});
  std::vector<PlainPort> expected = plain_ports();
  const bool right = read_plainly(as_text({data, size}), expected);
  run_at_both_levels([&] {
    fill_records();
    const std::int32_t code = qorx::qorx_check_WMX_name_file(file.path());
    require_code(code, {QORX_ERR_CONF_FILE_FORMAT});
    require((code == 0) == right, "a file is refused where a plain reading refuses it");
    compare(expected);
    require(qorx::qorx_assign_final_model_name() == 0, "final models can't fail");
    return code;
  });
  return 0;
}
