#include "fuzz/support.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>

#include "base/messages.h"
#include "base/shortage.h"
#include "base/system_root.h"
#include "records/state.h"
#include "tests/support/reset_library.h"

namespace qorx::fuzz {

namespace fs = std::filesystem;

namespace {

void require_call(bool worked, const char* call) {
  if (!worked) {
    std::perror(call);
    std::exit(2);
  }
}

std::string make_scratch_directory() {
  const bool is_named = std::getenv("TMPDIR") != nullptr;
  const fs::path base = !is_named && fs::exists("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
  std::string path = base / "qorx-fuzz-XXXXXX";
  require_call(mkdtemp(path.data()) != nullptr, "mkdtemp");
  fs::create_directory(path + "/root");
  return path;
}

// The number that the next file gets: it rises when a descriptor was left open, and falls when one too many was closed.
int next_free_descriptor() {
  const int descriptor = dup(STDIN_FILENO);
  require_call(descriptor >= 0, "dup");
  close(descriptor);
  return descriptor;
}

template <std::size_t Size>
bool is_text(const char (&field)[Size]) {
  return std::memchr(field, '\0', Size) != nullptr;
}

void check_device(const DeviceRecord& record) {
  require(is_text(record.eth_name) && is_text(record.slot_name) && is_text(record.panel_name) &&
              is_text(record.model) && is_text(record.net_path) && is_text(record.mac_addr) && is_text(record.usb),
          "every text of a device record ends in NUL");
  require(record.module_name_count <= QORX_MAX_MODULE_NAMES, "at most three module names");
  require(std::all_of(std::begin(record.module_names), std::end(record.module_names),
                      [](const auto& name) { return is_text(name); }),
          "every module name ends in NUL");
}

void check_slot(const SlotRecord& slot) {
  require(
      is_text(slot.slot_name) && is_text(slot.smbios_slot_name) && is_text(slot.model_name) && is_text(slot.sysfs_path),
      "every text of a slot record ends in NUL");
  require(slot.device_id_number <= QORX_MAX_DEVICE_IDS, "at most four device ids");
}

void check_tables() {
  const qorx_environment_info& info = qorx_system_environment_info;
  require(info.eth_device_number <= kMaxRecords && info.eth_smbios_t9_t41_number <= kMaxRecords,
          "at most 512 records in each table");
  require(info.eth_onboard_number <= info.eth_device_number, "no more onboard ports than ports");
  require(info.smbios_t9_slot_number <= info.eth_smbios_t9_t41_number, "no more named slots than slots");
  std::ranges::for_each(device_records(), check_device);
  std::ranges::for_each(slot_records(), check_slot);
}

std::size_t fingerprint(const void* bytes, std::size_t size) {
  return std::hash<std::string_view>()({static_cast<const char*>(bytes), size});
}

std::uint8_t negative_sum(Bytes bytes) {
  std::uint8_t sum = 0;
  for (const std::uint8_t byte : bytes) {
    sum = static_cast<std::uint8_t>(sum - byte);
  }
  return sum;
}

}  // namespace

std::uint8_t Input::byte() {
  const Bytes one = take(1);
  return one.empty() ? std::uint8_t{0} : one[0];
}

std::uint16_t Input::u16() {
  const std::uint8_t low = byte();
  return static_cast<std::uint16_t>(low | byte() << 8);
}

std::uint32_t Input::u32() {
  const std::uint32_t low = u16();
  return low | static_cast<std::uint32_t>(u16()) << 16;
}

Bytes Input::take(std::size_t count) {
  const Bytes taken = bytes_.first(std::min(count, bytes_.size()));
  bytes_ = bytes_.subspan(taken.size());
  return taken;
}

std::string_view as_text(Bytes bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

Bytes as_bytes(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::vector<std::string> complete_lines(std::string_view file) {
  constexpr std::size_t kMost = 1023;
  std::vector<std::string> lines;
  while (!file.empty()) {
    const std::size_t end = file.substr(0, kMost).find('\n');
    if (end == std::string_view::npos && file.size() < kMost) {
      break;
    }
    const std::size_t length = end == std::string_view::npos ? kMost : end + 1;
    lines.emplace_back(file.substr(0, length).substr(0, file.substr(0, length).find('\0')));
    file.remove_prefix(length);
  }
  return lines;
}

void require(bool holds, const char* promise) {
  if (!holds) {
    std::fprintf(stderr, "broken promise: %s\n", promise);
    std::abort();
  }
}

void require_code(std::int32_t code, std::initializer_list<std::int32_t> allowed) {
  const bool known =
      code == 0 || std::ranges::any_of(allowed, [&](std::int32_t one) { return code_byte(one) == code; });
  if (!known) {
    std::fprintf(stderr, "code %d\n", code);
  }
  require(known, "only these codes are returned");
}

const std::string& scratch_directory() {
  static const std::string path = make_scratch_directory();
  return path;
}

ScratchFile::ScratchFile(const std::string& path) : path_(scratch_directory() + "/" + path) {
  fs::create_directories(fs::path(path_).parent_path());
  descriptor_ = open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  require_call(descriptor_ >= 0, path_.c_str());
}

ScratchFile::~ScratchFile() {
  close(descriptor_);
}

void ScratchFile::write(Bytes content, long offset) {
  require_call(ftruncate(descriptor_, 0) == 0, "ftruncate");
  require_call(pwrite(descriptor_, content.data(), content.size(), offset) == static_cast<ssize_t>(content.size()),
               "pwrite");
}

void repair_checksums(std::vector<std::uint8_t>& entry_point) {
  const auto repair = [&](std::size_t at, std::size_t first, std::size_t count) {
    entry_point.resize(std::max(entry_point.size(), first + count));
    entry_point[at] = 0;
    entry_point[at] = negative_sum(Bytes(entry_point).subspan(first, count));
  };
  if (as_text(entry_point).starts_with("_SM_")) {
    repair(21, 16, 15);
    repair(4, 0, 31);
  } else if (as_text(entry_point).starts_with("_SM3_")) {
    repair(5, 0, 24);
  }
}

LibraryRun::LibraryRun(int message_level) : free_descriptor_(next_free_descriptor()) {
  test::reset_library();
  require(qorx_set_message_level(message_level) == 0, "levels 0 to 2 exist");
}

LibraryRun::~LibraryRun() {
  require(next_free_descriptor() == free_descriptor_, "as many descriptors closed as opened");
  check_tables();
}

std::size_t device_fingerprint() {
  return fingerprint(device_records().data(), device_records().size_bytes());
}

std::size_t slot_fingerprint() {
  // The texts are short and their fields are not: 512 records are a megabyte.
  std::size_t print = slot_records().size();
  for (const SlotRecord& slot : slot_records()) {
    for (const char* const text : {slot.slot_name, slot.smbios_slot_name, slot.model_name, slot.sysfs_path}) {
      print = print * 31 + std::hash<std::string_view>()(text);
    }
    print = print * 31 + fingerprint(&slot.length, offsetof(SlotRecord, slot_name) - offsetof(SlotRecord, length));
    print = print * 31 + fingerprint(&slot.feature, offsetof(SlotRecord, sysfs_path) - offsetof(SlotRecord, feature));
  }
  return print;
}

}  // namespace qorx::fuzz

// Called once by the fuzzer before the first input.
extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  using namespace qorx::fuzz;
  const int nowhere = open("/dev/null", O_WRONLY);
  require_call(nowhere >= 0 && dup2(nowhere, STDOUT_FILENO) >= 0, "/dev/null");
  close(nowhere);
  static char buffer[1 << 16];
  std::setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
  require(qorx::set_system_root(scratch_directory() + "/root"), "the scratch directory is usable");
  require_call(std::atexit([] { fs::remove_all(scratch_directory()); }) == 0, "atexit");
  return 0;
}
