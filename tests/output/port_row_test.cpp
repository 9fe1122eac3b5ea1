// The table, column by column.
#include "output/port_row.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "base/bounded_text.h"
#include "tests/support/expected_table.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx {
namespace {

using test::printed_by;
using test::table_line;

std::string row_of(DeviceRecord& record) {
  return printed_by([&record] { PortTable(stdout, MismatchMark::kRowOnly).print_port(record); });
}

class PortRow : public testing::Test {
 protected:
  PortRow() {
    copy_text(record_.eth_name, "eth0");
    record_.bus = 0x5E;
    record_.dev = 0x1F;
    record_.fun = 3;
    record_.vendor_id = 0x8086;
    record_.device_id = 0x1521;
    record_.subsys_vendor_id = 0x13FE;
    record_.subsys_device_id = 0x0037;
    copy_text(record_.mac_addr, "02:00:00:00:00:01");
    copy_text(record_.slot_name, "WMX Slot 1");
    copy_text(record_.panel_name, "1 (*)");
    record_.feature = 8;
    record_.smbios_type = 9;
    record_.seg = 4;
    copy_text(record_.model, "WMX-2248");
    expected_ = {.eth_name = "eth0",
                 .address = "5e:1f.3",
                 .ids = "8086 1521",
                 .subsystem_ids = "13fe 0037",
                 .mac = "02:00:00:00:00:01",
                 .slot = "WMX Slot 1",
                 .panel = "1 (*)",
                 .feature = "N/A",
                 .seg = "N/A",
                 .model = "WMX-2248"};
  }

  void expect_row() { EXPECT_EQ(row_of(record_), table_line(expected_)); }

  DeviceRecord record_{};
  test::TableRow expected_;
};

TEST_F(PortRow, TheHeaderIsThisLine) {
  EXPECT_EQ(printed_by([] { PortTable(stdout, MismatchMark::kRowOnly).print_header(); }),
            "eth name        bus:dev.fun vid  did  svid sdid  mac address        "
            "slot name                 panel name                   feature         seg model      \n");
}

TEST_F(PortRow, TheLegendIsThisText) {
  EXPECT_EQ(printed_by([] { PortTable(stdout, MismatchMark::kRowOnly).print_legend(); }), test::kTableLegend);
}

TEST_F(PortRow, EveryColumnHasItsPlace) {
  EXPECT_EQ(row_of(record_),
            "eth0            5e:1f.3     8086 1521 13fe 0037  02:00:00:00:00:01  "
            "WMX Slot 1                1 (*)                        N/A             N/A WMX-2248 \n");
}

TEST_F(PortRow, WithoutAnythingKnownItStillFillsTheColumns) {
  record_ = {};
  copy_text(record_.eth_name, "soc0");
  record_.bus = record_.dev = record_.fun = 255;
  record_.vendor_id = record_.device_id = record_.subsys_vendor_id = record_.subsys_device_id = 0x10000;
  EXPECT_EQ(row_of(record_),
            "soc0            N/A         N/A  N/A  N/A  N/A   N/A                "
            "N/A                       N/A                          unknown         N/A  \n");
}

TEST_F(PortRow, LongTextsPushTheRestAside) {
  const std::string name(40, 'n');
  const std::string text(60, 't');
  copy_text(record_.eth_name, name);
  copy_text(record_.slot_name, text);
  copy_text(record_.panel_name, text);
  copy_text(record_.model, text);
  expected_.eth_name = name;
  expected_.slot = expected_.panel = expected_.model = text;
  expect_row();
}

TEST_F(PortRow, TheAddressIsLowerCaseHexadecimal) {
  struct Case {
    int bus, dev, fun;
    const char* text;
  };
  for (const Case& c : {Case{0, 0, 0, "00:00.0"}, Case{0xAB, 0xC, 7, "ab:0c.7"}, Case{255, 255, 15, "ff:ff.f"},
                        Case{0, 0, 254, "00:00.fe"}}) {
    record_.bus = static_cast<std::uint8_t>(c.bus);
    record_.dev = static_cast<std::uint8_t>(c.dev);
    record_.fun = static_cast<std::uint8_t>(c.fun);
    expected_.address = c.text;
    expect_row();
  }
}

// Only the function tells: whatever bus and device hold, and although there is a slot name.
TEST_F(PortRow, WithoutAnAddressAddressAndSlotAreNotAvailable) {
  record_.fun = 255;
  expected_.address = "N/A    ";
  expected_.slot = "N/A";
  expect_row();
  record_.slot_name[0] = '\0';
  expected_.panel = "N/A";
  expect_row();
}

TEST_F(PortRow, AnUnmatchedPciPortIsMarked) {
  record_.slot_name[0] = '\0';
  expected_.slot = "(!!)";
  expected_.panel = "N/A";
  expect_row();
}

TEST_F(PortRow, AnEmptyPanelNamePrintsAsBlanks) {
  record_.panel_name[0] = '\0';
  expected_.panel = "";
  expect_row();
}

TEST_F(PortRow, AUsbAdapterIsMarkedBehindItsAddress) {
  copy_text(record_.usb, "usb");
  expected_.usb = true;
  expect_row();
  record_.fun = 255;
  expected_.address = "N/A    ";
  expected_.slot = "N/A";
  expect_row();
}

TEST_F(PortRow, IdsArePrintedWhenBothAreKnown) {
  record_.vendor_id = 0xFFFF;
  record_.device_id = 0;
  expected_.ids = "ffff 0000";
  expect_row();
  expected_.ids = "N/A  N/A ";
  for (const auto& [vendor, device] : {std::pair{0x10000U, 1U}, {1U, 0x10000U}, {0xFFFFFFFFU, 0xFFFFFFFFU}}) {
    record_.vendor_id = vendor;
    record_.device_id = device;
    expect_row();
  }
}

TEST_F(PortRow, SubsystemIdsArePrintedWhenBothAreKnown) {
  record_.subsys_vendor_id = 0;
  record_.subsys_device_id = 0xFFFF;
  expected_.subsystem_ids = "0000 ffff";
  expect_row();
  expected_.subsystem_ids = "N/A  N/A ";
  for (const auto& [vendor, device] : {std::pair{0x10000U, 1U}, {1U, 0x10000U}, {0xFFFFFFFFU, 0xFFFFFFFFU}}) {
    record_.subsys_vendor_id = vendor;
    record_.subsys_device_id = device;
    expect_row();
  }
}

TEST_F(PortRow, AnEmptyMacIsNotAvailable) {
  record_.mac_addr[0] = '\0';
  expected_.mac = "N/A";
  expect_row();
}

struct FeatureCase {
  int feature;
  int smbios_type;
  int ctrl_flag;
  const char* text;
  const char* seg;  // with segment number 4
};

const std::vector<FeatureCase> kFeatures{
    {0, 9, 0, "unknown", "N/A"},     {0, 0, 0, "unknown", "N/A"},     {0, 41, 0, "Need cfg", "N/A"},
    {1, 41, 0, "POE", "N/A"},        {1, 9, 1, "POE", "N/A"},         {2, 9, 0, "A_BYPASS", "4"},
    {2, 9, 1, "A_BYPASS-C", "4"},    {2, 9, 2, "A_BYPASS", "4"},      {2, 41, 1, "A_BYPASS-C", "4"},
    {4, 9, 0, "L_BYPASS", "4"},      {4, 9, 1, "L_BYPASS", "4"},      {8, 9, 0, "N/A", "N/A"},
    {16, 9, 0, "NCSI", "N/A"},       {32, 9, 0, "1PPS", "N/A"},       {48, 9, 0, "NCSI/1PPS", "N/A"},
    {64, 9, 0, "A_BYPASS_I2C", "4"}, {64, 9, 1, "A_BYPASS_I2C", "4"}, {3, 9, 1, "unknown", "N/A"},
    {66, 41, 1, "unknown", "N/A"},   {0x7F, 9, 0, "unknown", "N/A"},
};

TEST_F(PortRow, EveryFeatureHasItsTextAndBypassPortsTheirSegment) {
  for (const FeatureCase& c : kFeatures) {
    SCOPED_TRACE(testing::Message() << c.feature << " type " << c.smbios_type << " flag " << c.ctrl_flag);
    record_.feature = static_cast<std::uint8_t>(c.feature);
    record_.smbios_type = static_cast<std::uint8_t>(c.smbios_type);
    record_.bypass_ctrl_flag = static_cast<std::uint8_t>(c.ctrl_flag);
    expected_.feature = c.text;
    expected_.seg = c.seg;
    expect_row();
  }
}

TEST_F(PortRow, AMarkedFeatureShowsItOnceAndTheMarkIsCleared) {
  for (const FeatureCase& c : kFeatures) {
    SCOPED_TRACE(testing::Message() << c.feature << " type " << c.smbios_type << " flag " << c.ctrl_flag);
    record_.feature = static_cast<std::uint8_t>(c.feature | 0x80);
    record_.smbios_type = static_cast<std::uint8_t>(c.smbios_type);
    record_.bypass_ctrl_flag = static_cast<std::uint8_t>(c.ctrl_flag);
    const std::string marked = std::string(c.text) + "(!)";
    expected_.feature = marked;
    expected_.seg = c.seg;
    expect_row();
    EXPECT_EQ(record_.feature, c.feature);
    expected_.feature = c.text;
    expect_row();
  }
}

TEST_F(PortRow, ASegmentThatCantBeAssignedIsMarked) {
  struct Case {
    int seg;
    const char* text;
  };
  for (const int feature : {2, 4, 64}) {
    record_.feature = static_cast<std::uint8_t>(feature);
    expected_.feature = feature == 2 ? "A_BYPASS" : feature == 4 ? "L_BYPASS" : "A_BYPASS_I2C";
    for (const Case& c : {Case{0, "0"}, Case{12, "12"}, Case{254, "254"}, Case{255, "(?)"}}) {
      record_.seg = static_cast<std::uint8_t>(c.seg);
      expected_.seg = c.text;
      expect_row();
    }
  }
}

TEST_F(PortRow, OtherFeaturesHaveNoSegmentEvenWithoutANumber) {
  record_.seg = 255;
  expect_row();
}

std::string features_printed(MismatchMark mark, std::vector<DeviceRecord>& records) {
  return printed_by([&] {
    PortTable table(stdout, mark);
    for (DeviceRecord& record : records) {
      table.print_port(record);
    }
  });
}

TEST_F(PortRow, OnTheScreenTheMarkBelongsToItsRow) {
  std::vector<DeviceRecord> records(3, record_);
  records[1].feature = 0x88;
  const std::string plain = table_line(expected_);
  expected_.feature = "N/A(!)";
  EXPECT_EQ(features_printed(MismatchMark::kRowOnly, records), plain + table_line(expected_) + plain);
}

TEST_F(PortRow, InTheFileTheMarkStaysRaised) {
  std::vector<DeviceRecord> records(4, record_);
  records[1].feature = 0x88;
  records[3].feature = 0x02;
  const std::string plain = table_line(expected_);
  expected_.feature = "N/A(!)";
  const std::string marked = table_line(expected_);
  expected_.feature = "A_BYPASS(!)";
  expected_.seg = "4";
  EXPECT_EQ(features_printed(MismatchMark::kSticky, records), plain + marked + marked + table_line(expected_));
  for (const DeviceRecord& record : records) {
    EXPECT_EQ(record.feature & 0x80, 0);
  }
}

TEST(VirtualRow, HasFixedTexts) {
  EXPECT_EQ(printed_by([] { print_result_vlan_one("eth0.100", "02:00:00:00:00:01", stdout); }),
            "eth0.100        N/A         N/A  N/A  N/A  N/A   02:00:00:00:00:01  "
            "N/A                       N/A                          unknown         N/A ID not found \n");
  EXPECT_EQ(printed_by([] { print_result_vlan_one("br0", "", stdout); }), table_line({.eth_name = "br0"}));
}

TEST(VirtualRow, GoesToStandardOutputWithoutAStream) {
  const test::TemporaryDirectory directory;
  const std::string path = directory.path() / "out";
  EXPECT_EXIT(
      {
        std::freopen(path.c_str(), "w", stdout);
        print_result_vlan_one("br0", "", nullptr);
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_EQ(test::read_file(path), table_line({.eth_name = "br0"}));
}

TEST(VirtualRow, GoesToTheStreamItIsGiven) {
  std::FILE* const file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(printed_by([file] { print_result_vlan_one("br0", "", file); }), "");
  std::rewind(file);
  char line[256] = "";
  EXPECT_NE(std::fgets(line, sizeof line, file), nullptr);
  std::fclose(file);
  EXPECT_EQ(line, table_line({.eth_name = "br0"}));
}

}  // namespace
}  // namespace qorx
