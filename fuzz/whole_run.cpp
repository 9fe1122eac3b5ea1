// A whole run: lays out a small machine from the input (machine.h) and runs the command line on it from start to end,
// then identifies the machine twice more, which must give the same tables.
#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>

#include "base/messages.h"
#include "cli/command_line.h"
#include "fuzz/machine.h"
#include "records/state.h"

namespace qorx::fuzz {

namespace {

std::string read_file(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void run_command(const std::vector<std::string>& words) {
  std::vector<const char*> arguments;
  for (const std::string& word : words) {
    arguments.push_back(word.c_str());
  }
  const LibraryRun run(1);
  const int status = run_command_line(static_cast<int>(arguments.size()), arguments.data());
  require_code(status, {QORX_ERR_OPEN_FILE, QORX_ERR_CONF_FILE_FORMAT, QORX_ERR_PARAM_OUT_OF_BOUND,
                        QORX_ERR_COMMAND_NOT_SUPPORT, QORX_ERR_OPEN_DIR});
  if (status == 0 && words[1] == "-o") {
    require(read_file(words[2].c_str()).ends_with("It's NOT a PCIE network device.\n"), "the result file is complete");
  }
  if (status == 0 && words[1] == "-tovix.cfg") {
    require(read_file("tovix.cfg").ends_with("TYPE:PCIE\n\n"), "tovix.cfg is complete");
  }
}

// What one port has may not come from another that was read before it.
void check_port(const DeviceRecord& record) {
  const std::string_view path = record.net_path;
  require(record.usb[0] == '\0' || path.find("/usb") != path.npos, "a USB port is behind a USB controller");
  require(record.fun == QORX_ABSENT || path.find("0000:") != path.npos, "an address is part of the path");
  require(record.smbios_type != 0 || record.slot_bus + record.slot_dev + record.slot_fun == 0, "no slot, no address");
}

// Opens the library with the options of the run before.
std::size_t open_again() {
  static_cast<void>(qorx_set_message_level(0));
  g_x86_i2c_root_port_number = -1;
  const std::int32_t code = qorx_open();
  require_code(code, {QORX_ERR_OPEN_FILE, QORX_ERR_CONF_FILE_FORMAT, QORX_ERR_OPEN_DIR});
  std::ranges::for_each(device_records(), check_port);
  return static_cast<std::size_t>(code) + device_fingerprint() * 31 + slot_fingerprint();
}

}  // namespace

}  // namespace qorx::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qorx::fuzz;
  const Machine machine(Bytes(data, size));
  run_command(machine.words());
  require(open_again() == open_again(), "identifying a machine again gives the same tables");
  return 0;
}
