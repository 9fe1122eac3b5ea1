#include "records/name_column.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "base/bounded_text.h"
#include "tests/support/library.h"

namespace qorx {
namespace {

class NameColumnTest : public testing::Test {
 protected:
  void SetUp() override { test::reset_library(); }
};

TEST_F(NameColumnTest, FindsTheFirstRecordOfANameAndThoseBehindIt) {
  for (const char* const name : {"A", "B", "A", "", "A"}) {
    test::add_slot(name);
  }
  const NameColumn<SlotRecord> names(slot_records(), &SlotRecord::slot_name);
  EXPECT_EQ(names.find("A"), 0U);
  EXPECT_EQ(names.find_next(0), 2U);
  EXPECT_EQ(names.find_next(2), 4U);
  EXPECT_EQ(names.find_next(4), kNoRecord);
  EXPECT_EQ(names.find("B"), 1U);
  EXPECT_EQ(names.find_next(1), kNoRecord);
  EXPECT_EQ(names.find(""), 3U);
}

TEST_F(NameColumnTest, NamesAreComparedWholeAndInCase) {
  test::add_slot("WMX Slot 1");
  const NameColumn<SlotRecord> names(slot_records(), &SlotRecord::slot_name);
  for (const char* const other : {"WMX Slot", "WMX Slot 10", "wmx slot 1", "WMX Slot 1 "}) {
    EXPECT_EQ(names.find(other), kNoRecord) << other;
  }
}

TEST_F(NameColumnTest, AnEmptyTableHasNoRecord) {
  const NameColumn<SlotRecord> names(slot_records(), &SlotRecord::slot_name);
  EXPECT_EQ(names.find(""), kNoRecord);
  EXPECT_EQ(names.find("A"), kNoRecord);
}

// "costarring" and "liquid" have the same 32-bit FNV-1a value.
TEST_F(NameColumnTest, TwoNamesOfOneFingerprintAreTwoNames) {
  test::add_slot("costarring");
  test::add_slot("liquid");
  const NameColumn<SlotRecord> names(slot_records(), &SlotRecord::slot_name);
  EXPECT_EQ(names.find("liquid"), 1U);
  EXPECT_EQ(names.find("costarring"), 0U);
}

TEST_F(NameColumnTest, AChangedNameIsFoundOnceItIsRenewed) {
  test::add_slot("A");
  NameColumn<SlotRecord> names(slot_records(), &SlotRecord::slot_name);
  copy_text(slot_records()[0].slot_name, "B");
  names.renew(0);
  EXPECT_EQ(names.find("A"), kNoRecord);
  EXPECT_EQ(names.find("B"), 0U);
  names.renew(1);  // not covered: nothing happens
}

TEST_F(NameColumnTest, ARenamedRecordTakesItsPlaceInTableOrder) {
  for (const char* const name : {"A", "B", "A"}) {
    test::add_slot(name);
  }
  NameColumn<SlotRecord> names(slot_records(), &SlotRecord::slot_name);
  copy_text(slot_records()[1].slot_name, "A");
  names.renew(1);
  EXPECT_EQ(names.find("A"), 0U);
  EXPECT_EQ(names.find_next(0), 1U);
  EXPECT_EQ(names.find_next(1), 2U);
  copy_text(slot_records()[0].slot_name, "B");
  names.renew(0);
  EXPECT_EQ(names.find("A"), 1U);
  EXPECT_EQ(names.find("B"), 0U);
}

TEST_F(NameColumnTest, LeavesOutRecordsThatAreNoLongerCovered) {
  test::add_slot("A");
  test::add_slot("B");
  NameColumn<SlotRecord> names(slot_records(), &SlotRecord::slot_name);
  names.cover(slot_records().first(1));
  EXPECT_EQ(names.find("B"), kNoRecord);
  EXPECT_EQ(names.find("A"), 0U);
}

// Whatever is renamed in whatever order, the answer is that of a plain search from the front.
TEST_F(NameColumnTest, AnswersLikeAPlainSearch) {
  std::mt19937 random(11);
  for (int i = 0; i < 64; ++i) {
    test::add_slot("slot " + std::to_string(random() % 16));
  }
  const auto slots = slot_records();
  NameColumn<SlotRecord> names(slots, &SlotRecord::slot_name);
  const auto plain = [&slots](const std::string& wanted, std::size_t from) {
    while (from < slots.size() && wanted != slots[from].slot_name) {
      ++from;
    }
    return from < slots.size() ? from : kNoRecord;
  };
  for (int round = 0; round < 2000; ++round) {
    const std::size_t index = random() % slots.size();
    const std::string name = "slot " + std::to_string(random() % 16);
    ASSERT_EQ(names.find(name), plain(name, 0));
    ASSERT_EQ(names.find_next(index), plain(slots[index].slot_name, index + 1));
    copy_text(slots[index].slot_name, name);
    names.renew(index);
  }
}

TEST_F(NameColumnTest, CoversRecordsThatAreAddedLater) {
  test::add_slot("A");
  NameColumn<SlotRecord> names(slot_records(), &SlotRecord::slot_name);
  test::add_slot("B");
  EXPECT_EQ(names.find("B"), kNoRecord);
  names.cover(slot_records());
  EXPECT_EQ(names.find("B"), 1U);
}

TEST_F(NameColumnTest, CoversEveryRecordOfAFullTable) {
  for (std::size_t i = 0; i < kMaxRecords; ++i) {
    test::add_slot("slot " + std::to_string(i));
  }
  const NameColumn<SlotRecord> names(slot_records(), &SlotRecord::slot_name);
  for (std::size_t i = 0; i < kMaxRecords; ++i) {
    ASSERT_EQ(names.find("slot " + std::to_string(i)), i);
  }
}

TEST_F(NameColumnTest, WorksOnOtherFieldsAndTables) {
  test::add_slot("new").smbios_slot_name[0] = '\0';
  copy_text(slot_records()[0].smbios_slot_name, "old");
  const NameColumn<SlotRecord> firmware_names(slot_records(), &SlotRecord::smbios_slot_name);
  EXPECT_EQ(firmware_names.find("old"), 0U);
  EXPECT_EQ(firmware_names.find("new"), kNoRecord);
  test::add_device("eth0", "S");
  const NameColumn<DeviceRecord> ports(device_records(), &DeviceRecord::slot_name);
  EXPECT_EQ(ports.find("S"), 0U);
}

}  // namespace
}  // namespace qorx
