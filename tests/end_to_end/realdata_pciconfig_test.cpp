// Recorded configuration spaces.
#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "discovery/pci_config.h"
#include "tests/end_to_end/realdata.h"
#include "tests/support/library.h"

namespace qorx::test::realdata {
namespace {

class RealConfigSpaces : public testing::Test {
 protected:
  void SetUp() override {
    if (kRealData.empty()) {
      GTEST_SKIP() << "no recorded configuration spaces: QORX_REALDATA_DIR is not set";
    }
    reset_library();
    rows_ = read_listing(kRealData / "pciconfig/list.txt");
    ASSERT_FALSE(rows_.empty());
  }

  // "8086:1521"; "-" for unknown ids.
  static std::string text(const PciIds& ids) {
    if (ids.vendor == QORX_ID_UNKNOWN && ids.device == QORX_ID_UNKNOWN) {
      return "-";
    }
    char text[24];
    std::snprintf(text, sizeof text, "%04x:%04x", ids.vendor, ids.device);
    return text;
  }

  static std::string path(const Row& row) { return (kRealData / "pciconfig" / row.at(0)).string(); }

  std::vector<Row> rows_;
};

TEST_F(RealConfigSpaces, GiveTheIdsOfTheirListing) {
  for (const Row& row : rows_) {
    SCOPED_TRACE(row.at(0));
    PciIds subsystem;
    const std::int32_t code = get_pcie_subsystem_vendor_id_device_id(path(row).c_str(), subsystem);
    EXPECT_EQ(text(subsystem), row.at(5));
    EXPECT_EQ(code, row.at(5) == "-" ? -1 : 0);
    PciIds ids;
    EXPECT_TRUE(read_vendor_device_ids(ConfigSpace(path(row).c_str()), ids));
    EXPECT_EQ(text(ids), row.at(2));
  }
}

TEST_F(RealConfigSpaces, HaveTheCapabilityOfTheirListing) {
  for (const Row& row : rows_) {
    SCOPED_TRACE(row.at(0));
    const long expected = row.at(6) == "-" ? 0 : std::stol(row.at(6), nullptr, 16);
    std::uint8_t offset = 0xEE;
    EXPECT_EQ(get_pcie_capability_offset(path(row).c_str(), 0x0D, &offset), expected == 0 ? -1 : 0);
    EXPECT_EQ(offset, expected);
  }
}

// The list is walked to its end where the capability is not in it, and to the capability where it is.
TEST_F(RealConfigSpaces, AreWalkedAsFarAsTheirListing) {
  for (const Row& row : rows_) {
    SCOPED_TRACE(row.at(0));
    std::uint8_t offset = 0;
    const std::string traces =
        traced_by([&] { static_cast<void>(get_pcie_capability_offset(path(row).c_str(), 0x0D, &offset)); });
    std::size_t walked = 0;
    for (std::size_t at = 0; (at = traces.find("capa id ", at)) != std::string::npos; ++at) {
      ++walked;
    }
    const std::size_t listed = std::stoul(row.at(7));
    if (offset == 0) {
      EXPECT_EQ(walked, listed);
    } else {
      EXPECT_LE(walked, listed);
      EXPECT_GT(walked, 0U);
    }
  }
}

TEST_F(RealConfigSpaces, AreListedWithoutOneMissing) {
  std::set<std::string> listed;
  for (const Row& row : rows_) {
    listed.insert("pciconfig/" + row.at(0));
  }
  std::set<std::string> present;
  for (const std::string& file : recordings("pciconfig", ".config")) {
    present.insert(file + ".config");
  }
  EXPECT_EQ(listed, present);
}

}  // namespace
}  // namespace qorx::test::realdata
