// The structure tables and the configuration spaces of recorded machines.
#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "discovery/pci_config.h"
#include "records/state.h"
#include "smbios/entry_point.h"
#include "tests/end_to_end/realdata.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test::realdata {
namespace {

bool has_wrong_checksum(const std::string& entry) {
  const std::size_t size = entry.starts_with("_SM_") ? 31 : 24;
  unsigned sum = 0;
  for (std::size_t i = 0; i < std::min(size, entry.size()); ++i) {
    sum += static_cast<unsigned char>(entry[i]);
  }
  return sum % 256 != 0;
}

class RealSmbios : public RealMachine {};

TEST_P(RealSmbios, GivesTheRecordsOfItsListing) {
  g_diag = 1;
  std::int32_t code = -1;
  const std::string entry = (path() / "smbios_entry_point").string();
  const std::string printed =
      printed_by([&] { code = Search_SMBIOS_entry_point(entry.c_str(), (path() / "DMI").c_str()); });
  if (has_wrong_checksum(read_file(entry))) {
    EXPECT_EQ(code, 0x92);
    EXPECT_TRUE(printed.ends_with("checksum is NOT 0!\n"));
    EXPECT_TRUE(slot_records().empty());
    return;
  }
  EXPECT_EQ(code, 0);
  EXPECT_EQ(printed, "");
  const std::vector<ExpectedSlot> expected = expected_slots(path());
  ASSERT_EQ(slot_records().size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const SlotRecord& slot = slot_records()[i];
    SCOPED_TRACE("record " + std::to_string(i) + " " + expected[i].designation);
    EXPECT_EQ(slot.type, expected[i].type);
    EXPECT_EQ(slot.bus, expected[i].bus);
    EXPECT_EQ(slot.dev, expected[i].device_function >> 3);
    EXPECT_EQ(slot.fun, expected[i].device_function & 7);
    EXPECT_STREQ(slot.smbios_slot_name, slot.slot_name);
    // From number 3 on another string is read, by the walk's own arithmetic; hand-made tables test that.
    if (expected[i].number < 3) {
      EXPECT_EQ(slot.slot_name, trimmed(expected[i].designation).substr(0, 255));
    }
  }
}

// Slots of one name are merged into one.
TEST_P(RealSmbios, CountsItsNamedSlots) {
  std::set<std::string> named;
  for (const ExpectedSlot& slot : expected_slots(path())) {
    ASSERT_LT(slot.number, 3U);
    if (slot.type == 9 && !trimmed(slot.designation).empty()) {
      named.insert(trimmed(slot.designation));
    }
  }
  const ToolRun run = FakeMachine().run({"-sysinfo", "-diag", path() / "smbios_entry_point", path() / "DMI"});
  EXPECT_EQ(run.status, 0);
  const std::string counts = "Onboard_cnt: 0\nSlot_cnt: " + std::to_string(named.size()) + "\n";
  ASSERT_NE(run.output.find(counts), std::string::npos) << run.output;
  std::set<std::string> listed;
  for (const std::string& line : lines_of(run.output.substr(run.output.find(counts) + counts.size()))) {
    ASSERT_TRUE(line.ends_with(": ")) << line;
    listed.insert(line.substr(0, line.size() - 2));
  }
  EXPECT_EQ(listed, named);
}

INSTANTIATE_TEST_SUITE_P(RealData, RealSmbios, testing::ValuesIn(recorded_tables()), kNamedByRecording);

class RealConfigSpaces : public testing::Test {
 protected:
  void SetUp() override {
    QORX_SKIP_IF(kRealData.empty(), "no recorded configuration spaces: QORX_REALDATA_DIR is not set");
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
  std::set<std::string> listed{"list.txt"};
  for (const Row& row : rows_) {
    listed.insert(row.at(0));
  }
  EXPECT_EQ(listed, files_below(kRealData / "pciconfig"));
}

}  // namespace
}  // namespace qorx::test::realdata
