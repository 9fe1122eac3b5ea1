#include "ident/model_lookup.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "ident/supported_devices.h"
#include "tests/ident/known_cards.h"
#include "tests/support/rows.h"

namespace qorx {
namespace {

using test::traced_by;

using ModelLookup = test::LibraryTest;

TEST_F(ModelLookup, EveryKnownPairHasItsModelSilentlyBeforeTheTableIsFilled) {
  EXPECT_EQ(traced_by([] {
              for (const test::Card& card : test::kCards) {
                EXPECT_STREQ(qorx_get_model_name(card.subsys_vendor_id, card.subsys_device_id), card.model);
              }
            }),
            "");
  EXPECT_EQ(Velmora_sub_id_number, 0U);
}

// One card, 15b3 2015, carries another maker's subsystem vendor id too.
TEST_F(ModelLookup, KnowsTheSamePairsAsTheTableOfFeatures) {
  std::set<std::uint32_t> known;
  for (const test::Card& card : test::kCards) {
    known.insert(card.subsys_device_id);
  }
  device_mapping_init();
  for (std::uint32_t id = 0; id <= 0x10000; ++id) {
    ASSERT_EQ(*qorx_get_model_name(0x13FE, id) != '\0', known.contains(id)) << id;
    ASSERT_EQ(default_feature(0x13FE, id) != 0, known.contains(id)) << id;
    ASSERT_EQ(*qorx_get_model_name(0x15B3, id) != '\0', id == 0x2015) << id;
    ASSERT_EQ(default_feature(0x15B3, id) != 0, id == 0x2015) << id;
  }
}

struct UnknownIds {
  std::string_view rule;
  std::uint32_t vendor;
  std::uint32_t device;
  const char* trace;
};

class UnknownPair : public test::RowTest<UnknownIds> {};

TEST_P(UnknownPair, HasNoModelAndIsTraced) {
  EXPECT_EQ(traced_by([] { EXPECT_STREQ(qorx_get_model_name(row().vendor, row().device), ""); }), row().trace);
  EXPECT_EQ(test::printed_by([] { qorx_get_model_name(row().vendor, row().device); }), "");
}

QORX_ROWS(UnknownPair, {"another card of the other maker", 0x15B3, 0x2016, "Unknown subsystem_vendor_id (0x15b3)\n"},
          {"a module id just outside a group", 0x13FE, 0x2049, "Unknown subsystem_device_id (0x2049)\n"},
          {"an onboard id just outside a group", 0x13FE, 0x3036, "Unknown subsystem_device_id (0x3036)\n"},
          {"at least four digits", 0x13FE, 0x9, "Unknown subsystem_device_id (0x0009)\n"},
          {"an id that is not known", 0x10000, 0x10000, "Unknown subsystem_vendor_id (0x10000)\n"});

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

TEST_F(ModelLookup, TheLegacyLookupTracesItsKeyAndAnUnknownVendor) {
  struct Case {
    std::uint32_t vendor;
    std::uint32_t device;
    const char* trace;
  };
  for (const Case& c : {Case{0x8086, 0x1521, "id (0x15218086)\n"}, Case{0x8086, 0x9999, "id (0x99998086)\n"},
                        Case{0x10EC, 0x8168, "id (0x816810ec)\nUnknown vendor_id (0x10ec)\n"},
                        Case{0, 0, "id (0x00000000)\nUnknown vendor_id (0x0000)\n"},
                        Case{0x10000, 0x10000, "id (0x00010000)\nUnknown vendor_id (0x10000)\n"}}) {
    const std::uint32_t ids[] = {c.device, 0};
    const std::uint8_t counts[] = {4, 0};
    std::uint8_t feature = 0;
    EXPECT_EQ(traced_by([&] { qorx_get_model_name_func_for_legacy(c.vendor, ids, counts, &feature); }), c.trace);
  }
}

}  // namespace
}  // namespace qorx
