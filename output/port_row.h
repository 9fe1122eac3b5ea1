// The table's header, rows and legend: one layout for the screen and for the result file.
#ifndef QORX_OUTPUT_PORT_ROW_H
#define QORX_OUTPUT_PORT_ROW_H

#include <cstdio>

#include "records/state.h"

namespace qorx {

// How the "(!)" mark of a mismatched feature spreads.
enum class MismatchMark : bool {
  kRowOnly,  // screen: only the marked port's row
  kSticky,   // result file: that row and every one behind it; deliberate
};

// Prints the rows of one table. Printing a port clears its mismatch mark.
class PortTable {
 public:
  PortTable(std::FILE* stream, MismatchMark mark) : stream_(stream), mark_(mark) {}

  void print_header();
  void print_port(DeviceRecord& record);
  void print_legend();

 private:
  std::FILE* stream_;
  MismatchMark mark_;
  bool marked_ = false;
};

// Prints the row of a virtual interface, on standard output where `stream` is null. `mac` may be empty.
void print_result_vlan_one(const char* name, const char* mac, std::FILE* stream);

}  // namespace qorx

#endif
