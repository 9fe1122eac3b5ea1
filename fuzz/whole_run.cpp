// A whole run: lays out a small machine from the input (machine.h) and runs the command line on it from start to end;
// then in other ways, which must agree: with traces, into a file instead of on the screen, and opened once more.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/messages.h"
#include "cli/command_line.h"
#include "fuzz/machine.h"
#include "records/state.h"

namespace qorx::fuzz {

namespace {

using Words = std::vector<std::string>;

constexpr std::string_view kLegendEnd = "It's NOT a PCIE network device.\n";
constexpr const char* kOtherFile = "in a file";  // no word of an input can be this name: its options come first

// A file of this name, whole; empty where there is none.
std::string read_descriptor(int descriptor) {
  std::string text;
  char buffer[1 << 14];
  for (ssize_t count = 0; (count = pread(descriptor, buffer, sizeof buffer, static_cast<off_t>(text.size()))) > 0;) {
    text.append(buffer, static_cast<std::size_t>(count));
  }
  return text;
}

std::string read_file(const char* path) {
  const int descriptor = open(path, O_RDONLY | O_CLOEXEC);
  const std::string text = descriptor >= 0 ? read_descriptor(descriptor) : std::string();
  close(descriptor);
  return text;
}

// Standard output, kept in memory for as long as the process lives.
class Screen {
 public:
  Screen() : memory_(memfd_create("screen", MFD_CLOEXEC)) {
    require(memory_ >= 0 && dup2(memory_, STDOUT_FILENO) >= 0, "standard output can be kept");
  }
  static void wipe() {
    std::fflush(stdout);
    require(ftruncate(STDOUT_FILENO, 0) == 0 && lseek(STDOUT_FILENO, 0, SEEK_SET) == 0, "it can be wiped");
  }
  [[nodiscard]] std::string text() const {
    std::fflush(stdout);
    return read_descriptor(memory_);
  }

 private:
  int memory_;
};

struct Result {
  int status;
  bool has_traces;
  std::string screen;
};

Result run_command(const Words& words) {
  static const Screen screen;
  Screen::wipe();
  std::vector<const char*> arguments;
  for (const std::string& word : words) {
    arguments.push_back(word.c_str());
  }
  const LibraryRun run(1);
  const int status = run_command_line(static_cast<int>(arguments.size()), arguments.data());
  require_code(status, {QORX_ERR_OPEN_FILE, QORX_ERR_CONF_FILE_FORMAT, QORX_ERR_PARAM_OUT_OF_BOUND,
                        QORX_ERR_COMMAND_NOT_SUPPORT, QORX_ERR_OPEN_DIR});
  return {status, debugging(), screen.text()};
}

void check_written(const Words& words, int status) {
  if (status == 0 && words[1] == "-o") {
    require(read_file(words[2].c_str()).ends_with(kLegendEnd), "the result file is complete");
  }
  if (status == 0 && words[1] == "-tovix.cfg") {
    require(read_file("tovix.cfg").ends_with("TYPE:PCIE\n\n"), "tovix.cfg is complete");
  }
}

// The table on the screen is the result file. Only the mark of a refused feature is printed in another way there, and
// traces stand between the rows.
void check_file_agrees(const Words& words, const Result& result) {
  if (words[1] != "-a" || result.has_traces) {
    return;
  }
  Words into_file{"qorx", "-o", kOtherFile};
  into_file.insert(into_file.end(), words.begin() + 2, words.end());
  const Result other = run_command(into_file);
  require(other.status == result.status, "a table and a result file end alike");
  const std::string file = read_file(kOtherFile);
  const auto marks = [](const std::string& text) { return text.find("(!) ") != text.rfind("(!) "); };
  require(result.status != 0 || marks(file) || result.screen.ends_with(file), "they are the same text");
}

// What one port has may not come from another that was read before it.
void check_port(const DeviceRecord& record) {
  const std::string_view path = record.net_path;
  require(record.usb[0] == '\0' || path.find("/usb") != path.npos, "a USB port is behind a USB controller");
  require(record.fun == QORX_ABSENT || path.find("0000:") != path.npos, "an address is part of the path");
  require(record.smbios_type != 0 || record.slot_bus + record.slot_dev + record.slot_fun == 0, "no slot, no address");
}

// Opens the library with the options of the run before.
std::size_t open_again(int message_level) {
  Screen::wipe();
  static_cast<void>(qorx_set_message_level(message_level));
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
  const Result result = run_command(machine.words());
  check_written(machine.words(), result.status);
  require(open_again(0) == open_again(2), "identifying a machine again, and with traces, gives the same tables");
  if (machine.words().size() > 1) {
    check_file_agrees(machine.words(), result);
  }
  return 0;
}
