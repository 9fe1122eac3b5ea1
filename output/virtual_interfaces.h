// Rows for interfaces that no hardware stands behind: VLANs, bridges, tunnels.
#ifndef QORX_OUTPUT_VIRTUAL_INTERFACES_H
#define QORX_OUTPUT_VIRTUAL_INTERFACES_H

#include <cstdint>
#include <cstdio>

namespace qorx {

// What is done with an interface; `context` is the caller's.
using TakeVirtualInterface = void (*)(void* context, const char* name, const char* mac);

// Hands every virtual interface, or only the one named `eth_name` when that is not null, to `take`, with its MAC
// address or an empty text. Returns 0, or QORX_ERR_OPEN_DIR after naming the list of interfaces (error level) when it
// can't be read to its end.
std::int32_t for_each_virtual_interface(const char* eth_name, TakeVirtualInterface take, void* context);

// Prints the row of every virtual interface, or only of the one named `eth_name` when that is not null, to
// `stream`, or to standard output when that is null. Codes as above.
std::int32_t get_all_virtual_eth_devices_info(const char* eth_name, std::FILE* stream);

}  // namespace qorx

#endif
