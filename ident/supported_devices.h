// THE table of known cards: subsystem ids, default feature and model, once. The default features of the scan, the
// model lookup and the -support listing all come from here.
#ifndef QORX_IDENT_SUPPORTED_DEVICES_H
#define QORX_IDENT_SUPPORTED_DEVICES_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "lib/qorx.h"

namespace qorx {

struct SupportedDevice {
  std::uint32_t subsys_vendor_id;
  std::uint32_t subsys_device_id;
  std::uint8_t feature;
  const char* model;
};

inline constexpr std::uint32_t kMakerVendorId = 0x13FE;
inline constexpr std::uint32_t kSecondMakerVendorId = 0x15B3;  // one card carries its controller maker's id

namespace supported_devices_detail {

inline constexpr std::uint32_t kMaker = kMakerVendorId;
inline constexpr std::uint32_t kSecondMaker = kSecondMakerVendorId;
inline constexpr std::uint8_t kPoe = QORX_FEATURE_POE;
inline constexpr std::uint8_t kABypass = QORX_FEATURE_A_BYPASS;
inline constexpr std::uint8_t kLBypass = QORX_FEATURE_L_BYPASS;
inline constexpr std::uint8_t kNone = QORX_FEATURE_NA;
inline constexpr std::uint8_t kNcsi = QORX_FEATURE_NCSI;
inline constexpr std::uint8_t k1pps = QORX_FEATURE_1PPS;
inline constexpr std::uint8_t kNcsi1pps = QORX_FEATURE_NCSI_1PPS;
inline constexpr std::uint8_t kABypassI2c = QORX_FEATURE_A_BYPASS_I2C;

// The position in the table is the index that -support prints: append, never insert.
inline constexpr SupportedDevice kDevices[] = {
    // Module cards.
    {kMaker, 0x0038, kLBypass, "WMX-1813"},
    {kMaker, 0x0037, kNone, "WMX-2248"},
    {kMaker, 0x2042, kLBypass, "WMX-4915"},
    {kMaker, 0x2043, kNone, "WMX-9811"},
    {kMaker, 0x2044, kLBypass, "WMX-1658"},
    {kMaker, 0x2045, kLBypass, "WMX-6473"},
    {kMaker, 0x2046, kNone, "WMX-5068"},
    {kMaker, 0x002A, kABypass, "WMX-3529"},
    {kMaker, 0x002B, kABypass, "WMX-3529"},
    {kMaker, 0x0035, kABypass, "WMX-2848"},
    {kMaker, 0x0036, kNone, "WMX-2848"},
    {kMaker, 0x201F, kABypass, "WMX-8655"},
    {kMaker, 0x203F, kLBypass, "WMX-8655"},
    {kMaker, 0x203A, kNone, "WMX-8655"},
    {kMaker, 0x0034, kLBypass, "WMX-0119"},
    {kMaker, 0x2041, kNone, "WMX-6471"},
    {kMaker, 0x2040, kNone, "WMX-0229"},
    {kMaker, 0x0032, kABypass, "WMX-4195"},
    {kMaker, 0x0033, kNone, "WMX-4195"},
    {kMaker, 0x201A, kABypass, "WMX-3493"},
    {kMaker, 0x203D, kLBypass, "WMX-3493"},
    {kMaker, 0x201D, kNone, "WMX-3493"},
    {kMaker, 0x204B, kABypass, "WMX-3493"},
    {kMaker, 0x204C, kLBypass, "WMX-3493"},
    {kMaker, 0x204D, kNone, "WMX-3493"},
    {kMaker, 0x201B, kABypass, "WMX-6997"},
    {kMaker, 0x203E, kLBypass, "WMX-6997"},
    {kMaker, 0x201E, kNone, "WMX-6997"},
    {kMaker, 0x204E, kABypass, "WMX-6997"},
    {kMaker, 0x204F, kLBypass, "WMX-6997"},
    {kMaker, 0x2050, kNone, "WMX-6997"},
    {kMaker, 0x201C, kNone, "WMX-4459"},
    {kMaker, 0x2051, kNone, "WMX-4459"},
    {kMaker, 0x2017, kNone, "WMX-4180"},
    {kMaker, 0x0031, kNone, "WMX-1280"},
    {kMaker, 0x0028, kABypass, "WMX-9243"},
    {kMaker, 0x0029, kABypass, "WMX-9243"},
    {kMaker, 0x200C, kNone, "WMX-9582"},
    {kMaker, 0x200D, kABypass, "WMX-5506"},
    {kMaker, 0x2019, kNone, "WMX-1800"},
    {kMaker, 0x205A, kNone, "WMX-1912GD"},
    {kMaker, 0x2018, kNone, "WMX-9041"},
    {kMaker, 0x0030, kNone, "WMX-7045"},
    {kMaker, 0x002F, kNone, "WMX-9556"},
    {kMaker, 0x002E, kNone, "WMX-9605"},
    {kMaker, 0x2058, kNone, "WMX-9605"},
    {kMaker, 0x0027, kABypass, "WMX-6264"},
    {kMaker, 0x0026, kABypass, "WMX-6264"},
    {kMaker, 0x2013, kABypass, "WMX-4840"},
    {kMaker, 0x2056, kABypass, "WMX-4840"},
    {kMaker, 0x2014, kNone, "WMX-5019"},
    {kSecondMaker, 0x2015, kNone, "WMX-7135"},
    {kMaker, 0x2015, kNone, "WMX-7135"},
    {kMaker, 0x2048, kNone, "WMX-2216"},
    {kMaker, 0x2016, kPoe, "WMX-J34"},
    {kMaker, 0x2047, kPoe, "WMX-L13"},
    {kMaker, 0x204A, kNone, "WMX-LH53"},
    {kMaker, 0x205D, kABypassI2c, "WMX-44C0"},
    {kMaker, 0x205E, kNone, "WMX-90Z9"},
    {kMaker, 0x205F, kNone, "WMX-35M8"},
    {kMaker, 0x2061, kABypassI2c, "WMX-01D8"},
    {kMaker, 0x2065, kNone, "WMX-01D8"},
    // PCIe cards.
    {kMaker, 0x205B, kNone, "PCIE-6696NP"},
    {kMaker, 0x0011, kABypass, "PCIE-7289BP"},
    {kMaker, 0x3008, kABypass, "PCIE-5238BP"},
    {kMaker, 0x3009, kNone, "PCIE-5219NP"},
    {kMaker, 0x300A, kNone, "PCIE-5219NP"},
    {kMaker, 0x2052, kABypass, "PCIE-1068BP"},
    {kMaker, 0x3007, kNone, "PCIE-6922"},
    // Onboard controllers, by chip and medium: _CO copper, _FI fibre.
    {kMaker, 0x302B, kABypass, "I210_CO"},
    {kMaker, 0x302E, kABypass, "I210_CO"},
    {kMaker, 0x301C, kNone, "I210_CO"},
    {kMaker, 0x301A, kNone, "I210_CO"},
    {kMaker, 0x3016, kNcsi, "I210_CO"},
    {kMaker, 0x3023, kPoe, "I210_CO"},
    {kMaker, 0x3022, kNone, "I211_CO"},
    {kMaker, 0x3027, kPoe, "I211_CO"},
    {kMaker, 0x301E, kABypass, "I350_CO"},
    {kMaker, 0x3017, kNone, "I350_CO"},
    {kMaker, 0x301B, kABypass, "X553_CO"},
    {kMaker, 0x3026, kABypass, "X553_CO"},
    {kMaker, 0x3024, kNone, "X553_CO"},
    {kMaker, 0x3018, kPoe, "X553_CO"},
    {kMaker, 0x3025, kNone, "X553_FI"},
    {kMaker, 0x302C, kNone, "X553_FI"},
    {kMaker, 0x3031, k1pps, "X710_FI"},
    {kMaker, 0x3029, kNone, "X710_FI"},
    {kMaker, 0x302F, k1pps, "X722_FI"},
    {kMaker, 0x301F, kNone, "X722_FI"},
    {kMaker, 0x3028, kNone, "X722_FI"},
    {kMaker, 0x301D, kNcsi, "X722_FI"},
    {kMaker, 0x3030, kNcsi1pps, "X722_FI"},
    {kMaker, 0x3032, kNone, "WX1860A2_CO"},
    {kMaker, 0x3033, kABypassI2c, "WX1860A4_CO"},
    {kMaker, 0x3034, kNone, "WX1860A4_FI"},
    {kMaker, 0x3035, kNone, "I226_CO"},
    {kMaker, 0x3037, kABypass, "E822_FI_CO"},
    {kMaker, 0x303C, kNone, "I210_FI"},
    {kMaker, 0x3043, kABypassI2c, "I226_CO"},
};

}  // namespace supported_devices_detail

inline constexpr auto kSupportedDevices = std::to_array(supported_devices_detail::kDevices);

// An entry of the table that the scan searches for a port's default feature.
struct DeviceMapping {
  std::uint32_t subsys_vendor_id;
  std::uint32_t subsys_device_id;
  std::uint8_t feature;
};

inline constexpr std::size_t MAXIMUM_DEVICE_MAPPING_NUMBER = 150;

extern DeviceMapping DEVICE_MAPPING[MAXIMUM_DEVICE_MAPPING_NUMBER];
extern std::uint32_t Velmora_sub_id_number;  // number of valid entries

// Fills DEVICE_MAPPING; the entries behind the valid ones are zero. Returns 0.
int device_mapping_init();

// The default feature of a pair of subsystem ids; 0 for one that is not in DEVICE_MAPPING.
std::uint8_t default_feature(std::uint32_t subsys_vendor_id, std::uint32_t subsys_device_id);

}  // namespace qorx

#endif
