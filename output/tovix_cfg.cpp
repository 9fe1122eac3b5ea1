// tovix.cfg, the configuration file of the LAN-bypass utility: one record per port that controls a segment.
#include <cstdio>

#include "lib/checks.h"
#include "output/output_file.h"
#include "records/state.h"

namespace qorx {

namespace {

constexpr const char* kFileName = "tovix.cfg";
constexpr int kFirstForcedSegment = 200;

constexpr const char* kWarning =
    "Warning! These segments can't be assigned seg number automatically!\n"
    "Please add these segments into tovix.cfg manually!\n"
    "Or you can add -tovix.cfg -F command, and this command will assign those segments from segment number 200!\n";

// Forces a number when the user asked for it. Returns whether the port has one now.
bool settle_segment(DeviceRecord& record, int& forced) {
  if (g_force_flag == 1 && record.seg >= kAbsent) {
    record.seg = static_cast<std::uint8_t>(forced);
    ++forced;
  }
  return record.seg < kAbsent;
}

void write_pci_record(std::FILE* file, const DeviceRecord& record) {
  std::fprintf(file, "eth_name: %s\nSEGMENT: %d\nBUS: %.2x\nDEV: %.2x\nFUN: %.1x\n\n", record.eth_name, record.seg,
               record.bus, record.dev, record.fun);
}

void write_mcu_segment(std::FILE* file, const DeviceRecord& record) {
  if (record.smbios_type == QORX_SMBIOS_ONBOARD_DEVICE) {
    std::fprintf(file, "MCU_SEGMENT: %d\n", record.mcu_segment);
  } else if (record.smbios_type == QORX_SMBIOS_SYSTEM_SLOT && record.fun < 4) {
    std::fprintf(file, "MCU_SEGMENT: %d\n", record.fun < 2 ? 1 : 2);
  }
}

void write_i2c_record(std::FILE* file, const DeviceRecord& record) {
  std::fprintf(file, "eth_name: %s\nSEGMENT: %d\n", record.eth_name, record.seg);
  if (record.bypass_type == 'H') {
    std::fputs("TYPE: SYS_I2C\n", file);
  } else if (record.bypass_type == 'B') {
    std::fputs("TYPE: BMC.0.IPMI\n", file);
  }
  std::fprintf(file, "BUS: %d.%d.%d\n", record.bypass_bus, record.bypass_switch1, record.bypass_switch2);
  write_mcu_segment(file, record);
  std::fputs("\n", file);
}

// Returns false for a port that is to be warned of: it should have a record and has no segment number.
bool write_port(std::FILE* file, DeviceRecord& record, int& forced) {
  const bool is_pci = record.feature == QORX_FEATURE_A_BYPASS;
  const bool is_i2c = record.feature == QORX_FEATURE_A_BYPASS_I2C;
  if (record.bypass_ctrl_flag != 1 || (!is_pci && !is_i2c)) {
    return true;
  }
  if (!settle_segment(record, forced)) {
    return is_i2c;  // deliberate: a port of this kind is left out without a warning
  }
  if (is_pci) {
    write_pci_record(file, record);
  } else {
    write_i2c_record(file, record);
  }
  return true;
}

// Prints the warning and the ports that it is about.
std::int32_t warn_of_missing_segments() {
  std::fputs(kWarning, stdout);
  wrong_seg_flag = 1;
  const std::int32_t code = qorx_print_scan_result(nullptr, nullptr, nullptr);
  wrong_seg_flag = 0;
  return code;
}

}  // namespace

}  // namespace qorx

std::int32_t qorx_output_tovix_cfg() {
  using namespace qorx;
  wrong_seg_flag = 0;
  if (const std::int32_t code = INIT_CHECK(); code != 0) {
    return code;
  }
  OutputFile file;
  if (!file.is_open()) {
    return QORX_ERR_OPEN_FILE;
  }
  int forced = kFirstForcedSegment;
  bool are_complete = true;
  for (DeviceRecord& record : device_records()) {
    are_complete = write_port(file.stream(), record, forced) && are_complete;
  }
  std::fputs("TYPE:PCIE\n\n", file.stream());
  const std::int32_t code = file.write_to(kFileName);
  return code == 0 && !are_complete ? warn_of_missing_segments() : code;
}
