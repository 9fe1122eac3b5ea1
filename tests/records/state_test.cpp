#include "records/state.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/expect.h"
#include "tests/support/fixture.h"

namespace qorx {
namespace {

// As they stand when the process starts.
const std::vector<std::int32_t> kFlagsAtStart{g_config_flag, g_legacy_flag,   g_WMX_name_flag, g_smbios_flag, g_diag,
                                              g_force_flag,  g_sort_slotname, g_vm_bypass,     g_novlan};
const std::string kNamesAtStart =
    std::string(g_config_file_name) + g_WMX_name_file_name + g_smbios_file_name + g_entry_point_file + g_dmi_file;
const std::int32_t kRootPortAtStart = g_x86_i2c_root_port_number;
const std::uint8_t kWrongSegAtStart = wrong_seg_flag;

template <typename Record>
bool is_zero(const Record& record) {
  static const Record zero{};
  return std::memcmp(&record, &zero, sizeof record) == 0;
}

using State = test::LibraryTest;

void expect_empty_tables() {
  for (std::size_t i = 0; i < kMaxRecords; ++i) {
    ASSERT_TRUE(is_zero(qorx_eth_device_mapping[i])) << i;
    ASSERT_TRUE(is_zero(qorx_smbios_t9_t41_mapping[i])) << i;
  }
  EXPECT_TRUE(is_zero(qorx_system_environment_info));
}

TEST_F(State, EverythingIsOffAndEmptyAtStart) {
  for (const std::int32_t flag : kFlagsAtStart) {
    EXPECT_EQ(flag, 0);
  }
  EXPECT_EQ(kNamesAtStart, "");
  EXPECT_EQ(kRootPortAtStart, -1);
  EXPECT_EQ(kWrongSegAtStart, 0);
}

TEST_F(State, TablesAndFileNamesHaveTheseSizes) {
  EXPECT_EQ(std::size(qorx_eth_device_mapping), 512U);
  EXPECT_EQ(std::size(qorx_smbios_t9_t41_mapping), 512U);
  for (const std::size_t size : {sizeof g_config_file_name, sizeof g_WMX_name_file_name, sizeof g_smbios_file_name,
                                 sizeof g_entry_point_file, sizeof g_dmi_file}) {
    EXPECT_EQ(size, 256U);
  }
}

TEST_F(State, ADeviceRecordHasTheseFields) {
  using R = DeviceRecord;
  EXPECT_EQ(
      (std::vector<std::size_t>{sizeof(R::eth_name), sizeof(R::slot_name), sizeof(R::panel_name), sizeof(R::model),
                                sizeof(R::net_path), sizeof(R::mac_addr), sizeof(R::module_names), sizeof(R::usb)}),
      (std::vector<std::size_t>{256, 256, 256, 256, 512, 18, std::size_t{3} * 256, 16}));
#define OFFSET(field) offsetof(R, field),
  const std::vector<std::size_t> order{QORX_PORT_FIELDS(OFFSET, OFFSET)};
  EXPECT_EQ(std::ranges::adjacent_find(order, std::greater_equal<>()), order.end());
  const std::vector<std::size_t> names{offsetof(R, seg), offsetof(R, module_names), offsetof(R, module_name_count),
                                       offsetof(R, usb)};
  EXPECT_EQ(std::ranges::adjacent_find(names, std::greater_equal<>()), names.end());
}

TEST_F(State, FeatureCodesAreABitSet) {
  EXPECT_EQ((std::vector<int>{QORX_FEATURE_NONE, QORX_FEATURE_POE, QORX_FEATURE_A_BYPASS, QORX_FEATURE_L_BYPASS,
                              QORX_FEATURE_NA, QORX_FEATURE_NCSI, QORX_FEATURE_1PPS, QORX_FEATURE_NCSI_1PPS,
                              QORX_FEATURE_A_BYPASS_I2C, QORX_FEATURE_MISMATCH}),
            (std::vector<int>{0, 1, 2, 4, 8, 16, 32, 48, 64, 128}));
}

TEST_F(State, TheValidRecordsAreThoseCounted) {
  EXPECT_TRUE(device_records().empty());
  EXPECT_TRUE(slot_records().empty());
  test::add_device("eth0");
  test::add_device("eth1");
  test::add_slot("S");
  EXPECT_EQ(device_records().size(), 2U);
  EXPECT_EQ(device_records().data(), qorx_eth_device_mapping);
  EXPECT_EQ(slot_records().size(), 1U);
  EXPECT_EQ(slot_records().data(), qorx_smbios_t9_t41_mapping);
}

TEST_F(State, ACountAboveTheTableIsNotBelieved) {
  qorx_system_environment_info.eth_device_number = 600;
  qorx_system_environment_info.eth_smbios_t9_t41_number = 600;
  EXPECT_EQ(device_records().size(), 512U);
  EXPECT_EQ(slot_records().size(), 512U);
}

TEST_F(State, AFreshRecordIsClearedHoweverOftenItIsUsed) {
  for (int round = 0; round < 3; ++round) {
    qorx_system_environment_info.eth_device_number = 7;
    DeviceRecord& device = next_device_record();
    EXPECT_EQ(&device, &qorx_eth_device_mapping[7]);
    EXPECT_TRUE(is_zero(device));
    std::memset(&device, 0xFF, sizeof device);
    SlotRecord& slot = fresh_slot_record(511);
    EXPECT_EQ(&slot, &qorx_smbios_t9_t41_mapping[511]);
    EXPECT_TRUE(is_zero(slot));
    std::memset(&slot, 0xFF, sizeof slot);
  }
}

TEST_F(State, AnIndexPastTheTableIsItsLastRecord) {
  qorx_system_environment_info.eth_device_number = 512;
  EXPECT_EQ(&next_device_record(), &qorx_eth_device_mapping[511]);
  EXPECT_EQ(&fresh_slot_record(100000), &qorx_smbios_t9_t41_mapping[511]);
}

void fill_tables(std::size_t devices, std::size_t slots) {
  for (std::size_t i = 0; i < devices; ++i) {
    qorx_system_environment_info.eth_device_number = static_cast<std::uint32_t>(i);
    std::memset(&next_device_record(), 0xA5, sizeof(DeviceRecord));
  }
  for (std::size_t i = 0; i < slots; ++i) {
    std::memset(&fresh_slot_record(i), 0xA5, sizeof(SlotRecord));
  }
  qorx_system_environment_info = {static_cast<std::uint32_t>(slots), static_cast<std::uint32_t>(devices), 9, 9};
}

TEST_F(State, ClearingLeavesNoRecordAndNoCount) {
  for (const std::size_t count : {0U, 1U, 5U, 511U, 512U}) {
    SCOPED_TRACE(count);
    fill_tables(count, 512 - count);
    clear_tables();
    expect_empty_tables();
  }
}

// A scan that fails leaves a record behind that it never counted.
TEST_F(State, ClearingReachesRecordsThatWereNotCounted) {
  for (const std::uint32_t counted : {0U, 39U}) {
    fill_tables(40, 40);
    qorx_system_environment_info = {counted, counted, 0, 0};
    clear_tables();
    expect_empty_tables();
  }
}

}  // namespace
}  // namespace qorx
