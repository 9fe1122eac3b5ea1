// The uevent file of a USB adapter, against a plain reading with the C library. Input: its text.
#include <cstdlib>
#include <cstring>
#include <string>

#include "discovery/port_identity.h"
#include "fuzz/support.h"

namespace qorx::fuzz {

namespace {

constexpr const char* kPath = "/sys/class/net/usb0/device/uevent";

// The ids of the first complete line that begins with PRODUCT= behind blanks.
PciIds plain_ids(std::string_view text) {
  PciIds ids;
  for (std::string line : complete_lines(text)) {
    line.erase(0, line.find_first_not_of(" \t"));
    line.erase(line.find_last_not_of(" \t\r\n") + 1);
    if (!line.starts_with("PRODUCT=")) {
      continue;
    }
    char* fields[3] = {};
    char* rest = line.data();
    for (char*& field : fields) {
      field = strtok_r(rest, "=/", &rest);
    }
    if (fields[1] != nullptr && fields[2] != nullptr) {
      ids.vendor = static_cast<std::uint32_t>(std::strtol(fields[1], nullptr, 16));
      ids.device = static_cast<std::uint32_t>(std::strtol(fields[2], nullptr, 16));
    }
    break;
  }
  return ids;
}

}  // namespace

}  // namespace qorx::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qorx::fuzz;
  static ScratchFile file(std::string("root") + kPath);
  file.write({data, size});
  run_at_both_levels([&] {
    qorx::PciIds ids;
    require(qorx::Search_USB_uevent(kPath, ids) == 0, "a file that is there can be read");
    const qorx::PciIds expected = plain_ids(as_text({data, size}));
    require(ids.vendor == expected.vendor && ids.device == expected.device, "the ids are those of the PRODUCT line");
    return 0;
  });
  return 0;
}
