// The structure tables of recorded machines.
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>
#include <vector>

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
  const FakeMachine machine;
  fs::copy(path() / "smbios_entry_point", machine.work() / "entry");
  fs::copy(path() / "DMI", machine.work() / "table");
  const ToolRun run = machine.run({"-sysinfo", "-diag", "entry", "table"});
  EXPECT_EQ(run.status, 0);
  const std::string counts = "Onboard_cnt: 0\nSlot_cnt: " + std::to_string(named.size()) + "\n";
  ASSERT_NE(run.output.find(counts), std::string::npos) << run.output;
  std::istringstream lines(run.output.substr(run.output.find(counts) + counts.size()));
  std::set<std::string> listed;
  for (std::string line; std::getline(lines, line);) {
    ASSERT_TRUE(line.ends_with(": ")) << line;
    listed.insert(line.substr(0, line.size() - 2));
  }
  EXPECT_EQ(listed, named);
}

INSTANTIATE_TEST_SUITE_P(RealData, RealSmbios, testing::ValuesIn(recorded_tables()), kNamedByRecording);

}  // namespace
}  // namespace qorx::test::realdata
