// The usage text.
#ifndef QORX_CLI_USAGE_H
#define QORX_CLI_USAGE_H

namespace qorx {

void qorx_print_usage();

}  // namespace qorx

#endif
