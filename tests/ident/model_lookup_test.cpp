#include "ident/model_lookup.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "ident/supported_devices.h"
#include "tests/support/library.h"

namespace qorx {
namespace {

using test::traced_by;

class ModelLookup : public ::testing::Test {
 protected:
  void SetUp() override { test::reset_library(); }
};

struct Model {
  const char* name;
  std::vector<std::uint32_t> subsys_device_ids;  // with subsystem vendor id 0x13FE
};

const std::vector<Model> kModels{
    {"WMX-1813", {0x0038}},
    {"WMX-2248", {0x0037}},
    {"WMX-4915", {0x2042}},
    {"WMX-9811", {0x2043}},
    {"WMX-1658", {0x2044}},
    {"WMX-6473", {0x2045}},
    {"WMX-5068", {0x2046}},
    {"WMX-3529", {0x002A, 0x002B}},
    {"WMX-2848", {0x0035, 0x0036}},
    {"WMX-8655", {0x201F, 0x203A, 0x203F}},
    {"WMX-0119", {0x0034}},
    {"WMX-6471", {0x2041}},
    {"WMX-0229", {0x2040}},
    {"WMX-4195", {0x0032, 0x0033}},
    {"WMX-3493", {0x201A, 0x201D, 0x203D, 0x204B, 0x204C, 0x204D}},
    {"WMX-6997", {0x201B, 0x201E, 0x203E, 0x204E, 0x204F, 0x2050}},
    {"WMX-4459", {0x201C, 0x2051}},
    {"WMX-4180", {0x2017}},
    {"WMX-1280", {0x0031}},
    {"WMX-9243", {0x0028, 0x0029}},
    {"WMX-9582", {0x200C}},
    {"WMX-5506", {0x200D}},
    {"WMX-1800", {0x2019}},
    {"WMX-1912GD", {0x205A}},
    {"WMX-9041", {0x2018}},
    {"WMX-7045", {0x0030}},
    {"WMX-9556", {0x002F}},
    {"WMX-9605", {0x002E, 0x2058}},
    {"WMX-6264", {0x0026, 0x0027}},
    {"WMX-4840", {0x2013, 0x2056}},
    {"WMX-5019", {0x2014}},
    {"WMX-7135", {0x2015}},
    {"WMX-2216", {0x2048}},
    {"WMX-J34", {0x2016}},
    {"WMX-L13", {0x2047}},
    {"WMX-LH53", {0x204A}},
    {"WMX-44C0", {0x205D}},
    {"WMX-90Z9", {0x205E}},
    {"WMX-35M8", {0x205F}},
    {"WMX-01D8", {0x2061, 0x2065}},
    {"PCIE-6696NP", {0x205B}},
    {"PCIE-7289BP", {0x0011}},
    {"PCIE-5238BP", {0x3008}},
    {"PCIE-5219NP", {0x3009, 0x300A}},
    {"PCIE-1068BP", {0x2052}},
    {"PCIE-6922", {0x3007}},
    {"I210_CO", {0x3016, 0x301A, 0x301C, 0x3023, 0x302B, 0x302E}},
    {"I210_FI", {0x303C}},
    {"I211_CO", {0x3022, 0x3027}},
    {"I350_CO", {0x3017, 0x301E}},
    {"X553_CO", {0x3018, 0x301B, 0x3024, 0x3026}},
    {"X553_FI", {0x3025, 0x302C}},
    {"X710_FI", {0x3029, 0x3031}},
    {"X722_FI", {0x301D, 0x301F, 0x3028, 0x302F, 0x3030}},
    {"WX1860A2_CO", {0x3032}},
    {"WX1860A4_CO", {0x3033}},
    {"WX1860A4_FI", {0x3034}},
    {"I226_CO", {0x3035, 0x3043}},
    {"E822_FI_CO", {0x3037}},
};

TEST_F(ModelLookup, EveryKnownPairHasItsModelBeforeTheTableIsFilled) {
  std::size_t pairs = 0;
  for (const Model& model : kModels) {
    for (const std::uint32_t id : model.subsys_device_ids) {
      SCOPED_TRACE(id);
      EXPECT_STREQ(qorx_get_model_name(0x13FE, id), model.name);
      ++pairs;
    }
  }
  EXPECT_EQ(pairs, 98U);
  EXPECT_EQ(Velmora_sub_id_number, 0U);
}

TEST_F(ModelLookup, KnowsTheSamePairsAsTheTableOfFeatures) {
  std::map<std::uint32_t, bool> known;
  for (const Model& model : kModels) {
    for (const std::uint32_t id : model.subsys_device_ids) {
      known[id] = true;
    }
  }
  device_mapping_init();
  for (std::uint32_t id = 0; id <= 0x10000; ++id) {
    ASSERT_EQ(*qorx_get_model_name(0x13FE, id) != '\0', known.contains(id)) << id;
    ASSERT_EQ(default_feature(0x13FE, id) != 0, known.contains(id)) << id;
  }
}

TEST_F(ModelLookup, AKnownPairIsNotTraced) {
  EXPECT_EQ(traced_by([] {
              qorx_get_model_name(0x13FE, 0x0038);
              qorx_get_model_name(0x15B3, 0x2015);
            }),
            "");
}

TEST_F(ModelLookup, OneCardCarriesAnotherMakersSubsystemVendorId) {
  EXPECT_STREQ(qorx_get_model_name(0x15B3, 0x2015), "WMX-7135");
  EXPECT_STREQ(qorx_get_model_name(0x13FE, 0x2015), "WMX-7135");
  EXPECT_EQ(traced_by([] { EXPECT_STREQ(qorx_get_model_name(0x15B3, 0x2016), ""); }),
            "Unknown subsystem_vendor_id (0x15b3)\n");
}

TEST_F(ModelLookup, BothIdsOfOneChipNameIt) {
  EXPECT_STREQ(qorx_get_model_name(0x13FE, 0x3043), "I226_CO");
  EXPECT_STREQ(qorx_get_model_name(0x13FE, 0x3035), "I226_CO");
}

TEST_F(ModelLookup, AnIdJustOutsideAGroupIsUnknown) {
  EXPECT_EQ(traced_by([] { EXPECT_STREQ(qorx_get_model_name(0x13FE, 0x2049), ""); }),
            "Unknown subsystem_device_id (0x2049)\n");
  EXPECT_EQ(traced_by([] { EXPECT_STREQ(qorx_get_model_name(0x13FE, 0x3036), ""); }),
            "Unknown subsystem_device_id (0x3036)\n");
}

TEST_F(ModelLookup, UnknownIdsAreTracedWithAtLeastFourDigits) {
  EXPECT_EQ(traced_by([] { qorx_get_model_name(0x13FE, 0x9); }), "Unknown subsystem_device_id (0x0009)\n");
  EXPECT_EQ(traced_by([] { qorx_get_model_name(0x10000, 0x10000); }), "Unknown subsystem_vendor_id (0x10000)\n");
}

TEST_F(ModelLookup, NothingIsPrintedWithoutDebugMessages) {
  EXPECT_EQ(test::printed_by([] {
              qorx_get_model_name(0x8086, 0x0001);
              qorx_get_model_name(0x13FE, 0x9999);
            }),
            "");
}

TEST_F(ModelLookup, EveryCallForgetsTheResultBefore) {
  EXPECT_EQ(qorx_get_model_name(0x13FE, 0x0038), model_name);
  EXPECT_STREQ(model_name, "WMX-1813");
  EXPECT_EQ(qorx_get_model_name(0x13FE, 0x9999), model_name);
  EXPECT_STREQ(model_name, "");
}

struct Legacy {
  std::uint32_t device_ids[2];
  std::uint8_t counts[2];
  const char* model;
  int feature;
};

const std::vector<Legacy> kFitting{
    {{0x10E6, 0}, {2, 0}, "TOBR-2542", 8},
    {{0x10E6, 0}, {4, 0}, "TOBR-2542", 8},
    {{0x10FB, 0}, {2, 0}, "TOBR-4180/WMX-1280/9243", 0},
    {{0x10FB, 0}, {4, 0}, "WMX-7045", 8},
    {{0x10C9, 0}, {4, 0}, "TOBR-9284", 4},
    {{0x1572, 0}, {4, 0}, "WMX-4180/9556/6264", 0},
    {{0x1572, 0}, {2, 0}, "WMX-9582/5506", 0},
    {{0x1583, 0}, {2, 0}, "WMX-9605/4840", 0},
    {{0x1521, 0x1522}, {2, 2}, "WMX-1658", 4},
    {{0x1522, 0x1521}, {2, 2}, "WMX-1658", 4},
    {{0x1521, 0x1522}, {4, 4}, "WMX-0229/6997", 0},
    {{0x1522, 0x1521}, {4, 4}, "WMX-0229/6997", 0},
    {{0x1521, 0}, {4, 0}, "WMX-1813/2848/8655", 0},
    {{0x1521, 0}, {2, 0}, "WMX-6473", 8},
    {{0x1521, 0}, {8, 0}, "WMX-0119/4195/3493", 0},
    {{0x1522, 0}, {4, 0}, "WMX-2248/3529", 0},
    {{0x1522, 0}, {2, 0}, "WMX-5068", 8},
    {{0x1522, 0}, {8, 0}, "WMX-6471/4459", 8},
    // The second device only has to be there, whichever it is.
    {{0x1521, 0x10FB}, {2, 2}, "WMX-1658", 4},
    // For the other controllers it does not matter at all.
    {{0x10E6, 0x1521}, {2, 2}, "TOBR-2542", 8},
    {{0x10FB, 0x1521}, {4, 1}, "WMX-7045", 8},
    {{0x10C9, 0x1521}, {4, 9}, "TOBR-9284", 4},
    {{0x1572, 0x1583}, {4, 2}, "WMX-4180/9556/6264", 0},
    {{0x1583, 0x1572}, {2, 4}, "WMX-9605/4840", 0},
    // Without a second device its count does not matter.
    {{0x1521, 0}, {4, 4}, "WMX-1813/2848/8655", 0},
};

const std::vector<Legacy> kNotFitting{
    {{0x10E6, 0}, {8, 0}, "", 0},      {{0x10E6, 0}, {3, 0}, "", 0},      {{0x10E6, 0}, {0, 0}, "", 0},
    {{0x10FB, 0}, {1, 0}, "", 0},      {{0x10FB, 0}, {8, 0}, "", 0},      {{0x10C9, 0}, {2, 0}, "", 0},
    {{0x1572, 0}, {8, 0}, "", 0},      {{0x1583, 0}, {4, 0}, "", 0},      {{0x1521, 0x1522}, {4, 2}, "", 0},
    {{0x1521, 0x1522}, {2, 4}, "", 0}, {{0x1521, 0x1522}, {8, 8}, "", 0}, {{0x1521, 0x1522}, {8, 0}, "", 0},
    {{0x1522, 0x1521}, {4, 0}, "", 0}, {{0x1521, 0}, {6, 0}, "", 0},      {{0x1522, 0}, {6, 0}, "", 0},
    {{0x1521, 0}, {0, 0}, "", 0},      {{0x1523, 0}, {4, 0}, "", 0},      {{0, 0}, {0, 0}, "", 0},
    {{0x10000, 0}, {4, 0}, "", 0},
};

void expect_legacy(const std::vector<Legacy>& cases, std::uint32_t vendor) {
  for (const Legacy& module : cases) {
    SCOPED_TRACE(std::to_string(module.device_ids[0]) + " x" + std::to_string(module.counts[0]) + ", " +
                 std::to_string(module.device_ids[1]) + " x" + std::to_string(module.counts[1]));
    std::uint8_t feature = 0xA5;
    const char* const model = qorx_get_model_name_func_for_legacy(vendor, module.device_ids, module.counts, &feature);
    EXPECT_EQ(model, model_name);
    EXPECT_STREQ(model, module.model);
    EXPECT_EQ(feature, module.feature);
  }
}

TEST_F(ModelLookup, ALegacyModuleIsKnownByItsControllersAndTheirNumbers) {
  expect_legacy(kFitting, 0x8086);
}

TEST_F(ModelLookup, ALegacyModuleThatFitsNoRowHasNoNameAndNoFeature) {
  std::strcpy(model_name, "left over");
  expect_legacy(kNotFitting, 0x8086);
}

TEST_F(ModelLookup, ALegacyModuleOfAnotherVendorHasNoName) {
  for (Legacy module : kFitting) {
    module.model = "";
    module.feature = 0;
    expect_legacy({module}, 0x10EC);
  }
}

std::string legacy_trace(std::uint32_t vendor, std::uint32_t device) {
  const std::uint32_t ids[] = {device, 0};
  const std::uint8_t counts[] = {4, 0};
  std::uint8_t feature = 0;
  return traced_by([&] { qorx_get_model_name_func_for_legacy(vendor, ids, counts, &feature); });
}

TEST_F(ModelLookup, TheLegacyLookupTracesItsKeyAndAnUnknownVendor) {
  EXPECT_EQ(legacy_trace(0x8086, 0x1521), "id (0x15218086)\n");
  EXPECT_EQ(legacy_trace(0x8086, 0x9999), "id (0x99998086)\n");
  EXPECT_EQ(legacy_trace(0x10EC, 0x8168), "id (0x816810ec)\nUnknown vendor_id (0x10ec)\n");
  EXPECT_EQ(legacy_trace(0, 0), "id (0x00000000)\nUnknown vendor_id (0x0000)\n");
  EXPECT_EQ(legacy_trace(0x10000, 0x10000), "id (0x00010000)\nUnknown vendor_id (0x10000)\n");
}

}  // namespace
}  // namespace qorx
