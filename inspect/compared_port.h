// What `compare` knows of a port, of this machine or of a recorded one.
#ifndef QORX_INSPECT_COMPARED_PORT_H
#define QORX_INSPECT_COMPARED_PORT_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "inspect/machine.h"

namespace qorx::inspect {

// The keys of a port that can be compared; those of one word of the command line are neighbours.
enum Key : std::uint8_t {
  kSlot,
  kModel,
  kFeature,
  kFeatureState,
  kPanel,
  kSegment,
  kName,
  kAddress,
  kVendorId,
  kDeviceId,
  kSubsystemVendorId,
  kSubsystemDeviceId,
  kMac,
  kKeyCount,
};

inline constexpr std::array<std::string_view, kKeyCount> kKeyNames{"slot",
                                                                   "model",
                                                                   "feature",
                                                                   "feature_state",
                                                                   "panel",
                                                                   "segment",
                                                                   "name",
                                                                   "address",
                                                                   "vendor_id",
                                                                   "device_id",
                                                                   "subsystem_vendor_id",
                                                                   "subsystem_device_id",
                                                                   "mac"};

struct Value {
  enum class Kind : std::uint8_t { kMissing, kNull, kText, kInteger, kOther };

  Kind kind = Kind::kMissing;
  std::string text;
  std::string bytes = {};  // in hexadecimal, where they are no UTF-8

  [[nodiscard]] bool is_null() const { return kind == Kind::kNull; }
  friend bool operator==(const Value&, const Value&) = default;
};

inline Value null_value() {
  return {Value::Kind::kNull, "null"};
}

using ComparedPort = std::array<Value, kKeyCount>;

ComparedPort compared_port(const Port& port);

}  // namespace qorx::inspect

#endif
