// Listing the directories of a recorded machine in the order in which the machine listed them.
//
// That order decides which of several I2C adapters or devices behind a switch is the first, and the order of rows
// that sort equal. A recording brings it along as the file "order"; the directory that it is unpacked to has an
// order of its own.
#ifndef QORX_TOOLS_RECORDED_ORDER_H
#define QORX_TOOLS_RECORDED_ORDER_H

namespace qorx {

// Reads the order of the machine recorded below `root`, the system root: one path below it per line. From then on
// this program's opendir and readdir (the linker sends them here) keep to it. A machine without that file is listed
// as it comes.
void follow_recorded_order(const char* root);

}  // namespace qorx

#endif
