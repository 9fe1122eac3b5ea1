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

struct IdsAndTrace {
  std::string_view rule;
  std::uint32_t vendor;
  std::uint32_t device;
  const char* trace;
};

class UnknownPair : public test::RowTest<IdsAndTrace> {};

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

// The devices behind the slot of a module: the ids of two controllers and their numbers.
struct Devices {
  std::uint32_t first;
  std::uint8_t count;
  std::uint32_t second = 0;
  std::uint8_t second_count = 0;
};

struct Legacy {
  const char* model;
  int feature;
  std::vector<Devices> devices;  // each of them
};

// A second controller only has to be there with an I350, whichever it is, and with the others it does not matter at
// all; without one its count does not matter.
const std::vector<Legacy> kFitting{
    {"TOBR-2542", 8, {{0x10E6, 2}, {0x10E6, 4}, {0x10E6, 2, 0x1521, 2}}},
    {"TOBR-4180/WMX-1280/9243", 0, {{0x10FB, 2}}},
    {"WMX-7045", 8, {{0x10FB, 4}, {0x10FB, 4, 0x1521, 1}}},
    {"TOBR-9284", 4, {{0x10C9, 4}, {0x10C9, 4, 0x1521, 9}}},
    {"WMX-4180/9556/6264", 0, {{0x1572, 4}, {0x1572, 4, 0x1583, 2}}},
    {"WMX-9582/5506", 0, {{0x1572, 2}}},
    {"WMX-9605/4840", 0, {{0x1583, 2}, {0x1583, 2, 0x1572, 4}}},
    {"WMX-1658", 4, {{0x1521, 2, 0x1522, 2}, {0x1522, 2, 0x1521, 2}, {0x1521, 2, 0x10FB, 2}}},
    {"WMX-0229/6997", 0, {{0x1521, 4, 0x1522, 4}, {0x1522, 4, 0x1521, 4}}},
    {"WMX-1813/2848/8655", 0, {{0x1521, 4}, {0x1521, 4, 0, 4}}},
    {"WMX-6473", 8, {{0x1521, 2}}},
    {"WMX-0119/4195/3493", 0, {{0x1521, 8}}},
    {"WMX-2248/3529", 0, {{0x1522, 4}}},
    {"WMX-5068", 8, {{0x1522, 2}}},
    {"WMX-6471/4459", 8, {{0x1522, 8}}},
};

const std::vector<Devices> kNotFitting{{0x10E6, 8}, {0x10E6, 3}, {0x10E6, 0}, {0x10FB, 1}, {0x10FB, 8},
                                       {0x10C9, 2}, {0x1572, 8}, {0x1583, 4}, {0x1521, 6}, {0x1522, 6},
                                       {0x1521, 0}, {0x1523, 4}, {0, 0},      {0x10000, 4}};
const std::vector<Devices> kPairsNotFitting{{0x1521, 4, 0x1522, 2},
                                            {0x1521, 2, 0x1522, 4},
                                            {0x1521, 8, 0x1522, 8},
                                            {0x1521, 8, 0x1522, 0},
                                            {0x1522, 4, 0x1521, 0}};

void expect_legacy(const Legacy& module, std::uint32_t vendor) {
  for (const Devices& d : module.devices) {
    SCOPED_TRACE(testing::Message() << d.first << " x" << +d.count << ", " << d.second << " x" << +d.second_count);
    const std::uint32_t ids[] = {d.first, d.second};
    const std::uint8_t counts[] = {d.count, d.second_count};
    std::uint8_t feature = 0xA5;
    const char* const model = qorx_get_model_name_func_for_legacy(vendor, ids, counts, &feature);
    EXPECT_EQ(model, model_name);
    EXPECT_STREQ(model, module.model);
    EXPECT_EQ(feature, module.feature);
  }
}

TEST_F(ModelLookup, ALegacyModuleIsKnownByItsControllersAndTheirNumbersIfTheirVendorIsRight) {
  for (const Legacy& module : kFitting) {
    expect_legacy(module, 0x8086);
    expect_legacy({"", 0, module.devices}, 0x10EC);
  }
}

TEST_F(ModelLookup, ALegacyModuleThatFitsNoRowHasNoNameAndNoFeature) {
  std::strcpy(model_name, "left over");
  expect_legacy({"", 0, kNotFitting}, 0x8086);
  expect_legacy({"", 0, kPairsNotFitting}, 0x8086);
}

TEST_F(ModelLookup, TheLegacyLookupTracesItsKeyAndAnUnknownVendor) {
  for (const IdsAndTrace& c : {IdsAndTrace{"", 0x8086, 0x1521, "id (0x15218086)\n"},
                               {"", 0x8086, 0x9999, "id (0x99998086)\n"},
                               {"", 0x10EC, 0x8168, "id (0x816810ec)\nUnknown vendor_id (0x10ec)\n"},
                               {"", 0, 0, "id (0x00000000)\nUnknown vendor_id (0x0000)\n"},
                               {"", 0x10000, 0x10000, "id (0x00010000)\nUnknown vendor_id (0x10000)\n"}}) {
    const std::uint32_t ids[] = {c.device, 0};
    const std::uint8_t counts[] = {4, 0};
    std::uint8_t feature = 0;
    EXPECT_EQ(traced_by([&] { qorx_get_model_name_func_for_legacy(c.vendor, ids, counts, &feature); }), c.trace);
  }
}

}  // namespace
}  // namespace qorx
