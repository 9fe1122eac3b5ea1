// The running kernel's numbers for I2C adapters, found by their names.
#ifndef QORX_IDENT_I2C_ADAPTERS_H
#define QORX_IDENT_I2C_ADAPTERS_H

#include <cstdint>

namespace qorx {

// Stores in *port the number of the first adapter whose name contains `pattern`; *port stays when there is none.
// Returns 0, or QORX_ERR_OPEN_DIR as a byte when the adapters can't be listed.
std::int32_t get_x86_i2c_port_number(std::uint32_t* port, const char* pattern);

// The same for the adapter that the kernel made for one channel of an I2C multiplexer on adapter `parent`.
std::int32_t get_i2c_mux_port_number(std::uint32_t* port, std::uint32_t parent, std::uint32_t channel);

}  // namespace qorx

#endif
