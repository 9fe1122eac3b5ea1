#include "records/name_column.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "base/bounded_text.h"
#include "tests/support/fixture.h"

namespace qorx {
namespace {

using SlotNames = NameColumn<SlotRecord>;

class NameColumnTest : public test::LibraryTest {
 protected:
  static SlotNames names_of(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
      test::add_slot(name);
    }
    return {slot_records(), &SlotRecord::slot_name};
  }

  static void rename(SlotNames& names, std::size_t index, const char* name) {
    copy_text(slot_records()[index].slot_name, name);
    names.renew(index);
  }
};

TEST_F(NameColumnTest, FindsTheFirstRecordOfANameAndThoseBehindIt) {
  const SlotNames names = names_of({"A", "B", "A", "", "A"});
  EXPECT_EQ(names.find("A"), 0U);
  EXPECT_EQ(names.find_next(0), 2U);
  EXPECT_EQ(names.find_next(2), 4U);
  EXPECT_EQ(names.find_next(4), kNoRecord);
  EXPECT_EQ(names.find("B"), 1U);
  EXPECT_EQ(names.find_next(1), kNoRecord);
  EXPECT_EQ(names.find(""), 3U);
}

TEST_F(NameColumnTest, NamesAreComparedWholeAndInCase) {
  const SlotNames names = names_of({"WMX Slot 1"});
  for (const char* const other : {"WMX Slot", "WMX Slot 10", "wmx slot 1", "WMX Slot 1 ", ""}) {
    EXPECT_EQ(names.find(other), kNoRecord) << other;
  }
}

TEST_F(NameColumnTest, AnEmptyTableHasNoRecord) {
  EXPECT_EQ(names_of({}).find(""), kNoRecord);
  EXPECT_EQ(names_of({}).find("A"), kNoRecord);
}

// "costarring" and "liquid" have the same 32-bit FNV-1a value.
TEST_F(NameColumnTest, TwoNamesOfOneFingerprintAreTwoNames) {
  const SlotNames names = names_of({"costarring", "liquid"});
  EXPECT_EQ(names.find("liquid"), 1U);
  EXPECT_EQ(names.find("costarring"), 0U);
}

TEST_F(NameColumnTest, ARenamedRecordTakesItsPlaceInTableOrder) {
  SlotNames names = names_of({"A", "B", "A"});
  rename(names, 1, "A");
  EXPECT_EQ(names.find("B"), kNoRecord);
  EXPECT_EQ(names.find("A"), 0U);
  EXPECT_EQ(names.find_next(0), 1U);
  EXPECT_EQ(names.find_next(1), 2U);
  rename(names, 0, "B");
  EXPECT_EQ(names.find("A"), 1U);
  EXPECT_EQ(names.find("B"), 0U);
  names.renew(3);  // not covered: nothing happens
}

TEST_F(NameColumnTest, CoversTheRecordsItIsToldTo) {
  SlotNames names = names_of({"A", "B"});
  names.cover(slot_records().first(1));
  EXPECT_EQ(names.find("B"), kNoRecord);
  EXPECT_EQ(names.find("A"), 0U);
  test::add_slot("C");
  EXPECT_EQ(names.find("C"), kNoRecord);
  names.cover(slot_records());
  EXPECT_EQ(names.find("C"), 2U);
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

TEST_F(NameColumnTest, CoversEveryRecordOfAFullTable) {
  std::vector<std::string> all;
  for (std::size_t i = 0; i < kMaxRecords; ++i) {
    all.push_back("slot " + std::to_string(i));
  }
  const SlotNames names = names_of(all);
  for (std::size_t i = 0; i < kMaxRecords; ++i) {
    ASSERT_EQ(names.find(all[i]), i);
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
