// The supported cards, in the order of the -support listing.
#ifndef QORX_TESTS_IDENT_KNOWN_CARDS_H
#define QORX_TESTS_IDENT_KNOWN_CARDS_H

#include <cstdint>
#include <iterator>

namespace qorx::test {

struct Card {
  const char* model;
  std::uint32_t subsys_vendor_id;
  std::uint32_t subsys_device_id;
  int feature;
};

inline constexpr Card kCards[] = {
    {"WMX-1813", 0x13FE, 0x0038, 4},     {"WMX-2248", 0x13FE, 0x0037, 8},    {"WMX-4915", 0x13FE, 0x2042, 4},
    {"WMX-9811", 0x13FE, 0x2043, 8},     {"WMX-1658", 0x13FE, 0x2044, 4},    {"WMX-6473", 0x13FE, 0x2045, 4},
    {"WMX-5068", 0x13FE, 0x2046, 8},     {"WMX-3529", 0x13FE, 0x002A, 2},    {"WMX-3529", 0x13FE, 0x002B, 2},
    {"WMX-2848", 0x13FE, 0x0035, 2},     {"WMX-2848", 0x13FE, 0x0036, 8},    {"WMX-8655", 0x13FE, 0x201F, 2},
    {"WMX-8655", 0x13FE, 0x203F, 4},     {"WMX-8655", 0x13FE, 0x203A, 8},    {"WMX-0119", 0x13FE, 0x0034, 4},
    {"WMX-6471", 0x13FE, 0x2041, 8},     {"WMX-0229", 0x13FE, 0x2040, 8},    {"WMX-4195", 0x13FE, 0x0032, 2},
    {"WMX-4195", 0x13FE, 0x0033, 8},     {"WMX-3493", 0x13FE, 0x201A, 2},    {"WMX-3493", 0x13FE, 0x203D, 4},
    {"WMX-3493", 0x13FE, 0x201D, 8},     {"WMX-3493", 0x13FE, 0x204B, 2},    {"WMX-3493", 0x13FE, 0x204C, 4},
    {"WMX-3493", 0x13FE, 0x204D, 8},     {"WMX-6997", 0x13FE, 0x201B, 2},    {"WMX-6997", 0x13FE, 0x203E, 4},
    {"WMX-6997", 0x13FE, 0x201E, 8},     {"WMX-6997", 0x13FE, 0x204E, 2},    {"WMX-6997", 0x13FE, 0x204F, 4},
    {"WMX-6997", 0x13FE, 0x2050, 8},     {"WMX-4459", 0x13FE, 0x201C, 8},    {"WMX-4459", 0x13FE, 0x2051, 8},
    {"WMX-4180", 0x13FE, 0x2017, 8},     {"WMX-1280", 0x13FE, 0x0031, 8},    {"WMX-9243", 0x13FE, 0x0028, 2},
    {"WMX-9243", 0x13FE, 0x0029, 2},     {"WMX-9582", 0x13FE, 0x200C, 8},    {"WMX-5506", 0x13FE, 0x200D, 2},
    {"WMX-1800", 0x13FE, 0x2019, 8},     {"WMX-1912GD", 0x13FE, 0x205A, 8},  {"WMX-9041", 0x13FE, 0x2018, 8},
    {"WMX-7045", 0x13FE, 0x0030, 8},     {"WMX-9556", 0x13FE, 0x002F, 8},    {"WMX-9605", 0x13FE, 0x002E, 8},
    {"WMX-9605", 0x13FE, 0x2058, 8},     {"WMX-6264", 0x13FE, 0x0027, 2},    {"WMX-6264", 0x13FE, 0x0026, 2},
    {"WMX-4840", 0x13FE, 0x2013, 2},     {"WMX-4840", 0x13FE, 0x2056, 2},    {"WMX-5019", 0x13FE, 0x2014, 8},
    {"WMX-7135", 0x15B3, 0x2015, 8},     {"WMX-7135", 0x13FE, 0x2015, 8},    {"WMX-2216", 0x13FE, 0x2048, 8},
    {"WMX-J34", 0x13FE, 0x2016, 1},      {"WMX-L13", 0x13FE, 0x2047, 1},     {"WMX-LH53", 0x13FE, 0x204A, 8},
    {"WMX-44C0", 0x13FE, 0x205D, 64},    {"WMX-90Z9", 0x13FE, 0x205E, 8},    {"WMX-35M8", 0x13FE, 0x205F, 8},
    {"WMX-01D8", 0x13FE, 0x2061, 64},    {"WMX-01D8", 0x13FE, 0x2065, 8},    {"PCIE-6696NP", 0x13FE, 0x205B, 8},
    {"PCIE-7289BP", 0x13FE, 0x0011, 2},  {"PCIE-5238BP", 0x13FE, 0x3008, 2}, {"PCIE-5219NP", 0x13FE, 0x3009, 8},
    {"PCIE-5219NP", 0x13FE, 0x300A, 8},  {"PCIE-1068BP", 0x13FE, 0x2052, 2}, {"PCIE-6922", 0x13FE, 0x3007, 8},
    {"I210_CO", 0x13FE, 0x302B, 2},      {"I210_CO", 0x13FE, 0x302E, 2},     {"I210_CO", 0x13FE, 0x301C, 8},
    {"I210_CO", 0x13FE, 0x301A, 8},      {"I210_CO", 0x13FE, 0x3016, 16},    {"I210_CO", 0x13FE, 0x3023, 1},
    {"I211_CO", 0x13FE, 0x3022, 8},      {"I211_CO", 0x13FE, 0x3027, 1},     {"I350_CO", 0x13FE, 0x301E, 2},
    {"I350_CO", 0x13FE, 0x3017, 8},      {"X553_CO", 0x13FE, 0x301B, 2},     {"X553_CO", 0x13FE, 0x3026, 2},
    {"X553_CO", 0x13FE, 0x3024, 8},      {"X553_CO", 0x13FE, 0x3018, 1},     {"X553_FI", 0x13FE, 0x3025, 8},
    {"X553_FI", 0x13FE, 0x302C, 8},      {"X710_FI", 0x13FE, 0x3031, 32},    {"X710_FI", 0x13FE, 0x3029, 8},
    {"X722_FI", 0x13FE, 0x302F, 32},     {"X722_FI", 0x13FE, 0x301F, 8},     {"X722_FI", 0x13FE, 0x3028, 8},
    {"X722_FI", 0x13FE, 0x301D, 16},     {"X722_FI", 0x13FE, 0x3030, 48},    {"WX1860A2_CO", 0x13FE, 0x3032, 8},
    {"WX1860A4_CO", 0x13FE, 0x3033, 64}, {"WX1860A4_FI", 0x13FE, 0x3034, 8}, {"I226_CO", 0x13FE, 0x3035, 8},
    {"E822_FI_CO", 0x13FE, 0x3037, 2},   {"I210_FI", 0x13FE, 0x303C, 8},     {"I226_CO", 0x13FE, 0x3043, 64}};

static_assert(std::size(kCards) == 99);

}  // namespace qorx::test

#endif
