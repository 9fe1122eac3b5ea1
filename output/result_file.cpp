// The table in a file.
#include "lib/checks.h"
#include "output/output_file.h"
#include "output/port_row.h"
#include "output/virtual_interfaces.h"
#include "records/state.h"

std::int32_t qorx_fprint_scan_result(const char* file_name) {
  using namespace qorx;
  if (const std::int32_t code = INIT_CHECK(); code != 0) {
    return code;
  }
  OutputFile file;
  if (!file.is_open()) {
    return QORX_ERR_OPEN_FILE;
  }
  PortTable table(file.stream(), MismatchMark::kSticky);
  table.print_header();
  for (DeviceRecord& record : device_records()) {
    table.print_port(record);
  }
  if (g_novlan == 0) {
    if (const std::int32_t code = get_all_virtual_eth_devices_info(nullptr, file.stream()); code != 0) {
      return code;
    }
  }
  table.print_legend();
  return file.write_to(file_name);
}
