// The table, column by column.
#include "output/port_row.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "tests/support/expect.h"
#include "tests/support/expected_table.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

std::string row_of(DeviceRecord& record) {
  return printed_by([&record] { PortTable(stdout, MismatchMark::kRowOnly).print_port(record); });
}

// The columns of a port.
struct Columns {
  std::string_view eth_name = "eth0";
  std::string_view address = "5e:1f.3";
  std::string_view ids = "8086 1521";
  std::string_view subsystem_ids = "13fe 0037";
  std::string_view mac = "02:00:00:00:00:01";
  std::string_view slot = "WMX Slot 1";
  std::string_view panel = "1 (*)";
  std::string_view model = "WMX-2248";
};

std::string line(const Columns& port, std::string_view feature = "N/A", std::string_view seg = "N/A",
                 bool usb = false) {
  return table_line({port.eth_name, port.address, usb, port.ids, port.subsystem_ids, port.mac, port.slot, port.panel,
                     feature, seg, port.model});
}

class PortRow : public LibraryTest {
 protected:
  PortRow() {
    set_port(record_, {.eth_name = "eth0", .bus = 0x5E, .dev = 0x1F, .fun = 3, .slot_name = "WMX Slot 1"});
    set_port(record_, {.panel_name = "1 (*)", .model = "WMX-2248", .feature = 8, .smbios_type = 9, .seg = 4});
    set_port(record_, {.vendor_id = 0x8086, .device_id = 0x1521, .subsys_vendor_id = 0x13FE});
    set_port(record_, {.subsys_device_id = 0x0037, .mac_addr = "02:00:00:00:00:01"});
  }

  // The printed rows of four such ports, of which the second is marked and the last is a bypass port.
  std::string four_ports(MismatchMark mark) {
    std::vector<DeviceRecord> records(4, record_);
    records[1].feature = 0x88;
    records[3].feature = 0x02;
    return printed_by([&] {
      PortTable table(stdout, mark);
      for (DeviceRecord& record : records) {
        table.print_port(record);
        EXPECT_EQ(record.feature & 0x80, 0);
      }
    });
  }

  DeviceRecord record_{};
};

TEST_F(PortRow, FourNamesOfTheLongestLengthAreWhole) {
  const std::string eth(QORX_NAME_SIZE - 1, 'e');
  const std::string slot(QORX_NAME_SIZE - 1, 's');
  const std::string panel(QORX_NAME_SIZE - 1, 'p');
  const std::string model(QORX_NAME_SIZE - 1, 'm');
  set_port(record_, {.eth_name = eth, .slot_name = slot, .panel_name = panel, .model = model});
  EXPECT_EQ(row_of(record_), line({.eth_name = eth, .slot = slot, .panel = panel, .model = model}));
}

TEST_F(PortRow, HeaderAndLegendAreTheseLines) {
  EXPECT_EQ(printed_by([] { PortTable(stdout, MismatchMark::kRowOnly).print_header(); }),
            "eth name        bus:dev.fun vid  did  svid sdid  mac address        "
            "slot name                 panel name                   feature         seg model      \n");
  EXPECT_EQ(printed_by([] { PortTable(stdout, MismatchMark::kRowOnly).print_legend(); }), kTableLegend);
}

TEST_F(PortRow, EveryColumnHasItsPlace) {
  EXPECT_EQ(row_of(record_),
            "eth0            5e:1f.3     8086 1521 13fe 0037  02:00:00:00:00:01  "
            "WMX Slot 1                1 (*)                        N/A             N/A WMX-2248 \n");
}

TEST_F(PortRow, WithoutAnythingKnownItStillFillsTheColumns) {
  record_ = {};
  set_port(record_, {.eth_name = "soc0", .bus = 255, .dev = 255, .fun = 255});
  record_.vendor_id = record_.device_id = record_.subsys_vendor_id = record_.subsys_device_id = 0x10000;
  EXPECT_EQ(row_of(record_),
            "soc0            N/A         N/A  N/A  N/A  N/A   N/A                "
            "N/A                       N/A                          unknown         N/A  \n");
}

const std::string kName(40, 'n');
const std::string kText(60, 't');

// What is different about a port, and in its row.
struct Difference {
  std::string_view rule;
  PortFields port;
  Columns row;
};

class PortWith : public RowTest<Difference, PortRow> {};

TEST_P(PortWith, HasItsRow) {
  set_port(record_, row().port);
  EXPECT_EQ(row_of(record_), line(row().row, "N/A", "N/A", row().port.usb.has_value()));
}

constexpr const char* kNoIds = "N/A  N/A ";
constexpr const char* kNoAddress = "N/A    ";

// Only the function tells that there is no address: whatever bus and device hold, and although there is a slot name.
QORX_ROWS(PortWith,
          {"long texts push the rest aside",
           {.eth_name = kName, .slot_name = kText, .panel_name = kText, .model = kText},
           {.eth_name = kName, .slot = kText, .panel = kText, .model = kText}},
          {"an address of zeros", {.bus = 0, .dev = 0, .fun = 0}, {.address = "00:00.0"}},
          {"a lower case address", {.bus = 0xAB, .dev = 12, .fun = 7}, {.address = "ab:0c.7"}},
          {"the highest bytes", {.bus = 255, .dev = 255, .fun = 15}, {.address = "ff:ff.f"}},
          {"the last function", {.bus = 0, .dev = 0, .fun = 254}, {.address = "00:00.fe"}},
          {"no address has no slot either", {.fun = 255}, {.address = kNoAddress, .slot = "N/A"}},
          {"neither address nor slot",
           {.fun = 255, .slot_name = ""},
           {.address = kNoAddress, .slot = "N/A", .panel = "N/A"}},
          {"an address without a slot is marked", {.slot_name = ""}, {.slot = "(!!)", .panel = "N/A"}},
          {"an empty panel name prints as blanks", {.panel_name = ""}, {.panel = ""}},
          {"a usb adapter is marked behind its address", {.usb = "usb"}, {}},
          {"so is one without an address", {.fun = 255, .usb = "usb"}, {.address = kNoAddress, .slot = "N/A"}},
          {"the highest and lowest ids", {.vendor_id = 0xFFFF, .device_id = 0}, {.ids = "ffff 0000"}},
          {"ids without a vendor", {.vendor_id = 0x10000, .device_id = 1}, {.ids = kNoIds}},
          {"ids without a device", {.vendor_id = 1, .device_id = 0x10000}, {.ids = kNoIds}},
          {"ids far beyond", {.vendor_id = 0xFFFFFFFF, .device_id = 0xFFFFFFFF}, {.ids = kNoIds}},
          {"the lowest and highest subsystem ids",
           {.subsys_vendor_id = 0, .subsys_device_id = 0xFFFF},
           {.subsystem_ids = "0000 ffff"}},
          {"subsystem ids without a vendor", {.subsys_vendor_id = 0x10000}, {.subsystem_ids = kNoIds}},
          {"subsystem ids without a device", {.subsys_device_id = 0x10000}, {.subsystem_ids = kNoIds}},
          {"subsystem ids far beyond",
           {.subsys_vendor_id = 0xFFFFFFFF, .subsys_device_id = 0xFFFFFFFF},
           {.subsystem_ids = kNoIds}},
          {"an empty mac is not available", {.mac_addr = ""}, {.mac = "N/A"}},
          {"no segment without bypass even without a number", {.seg = 255}, {}});

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

TEST_F(PortRow, EveryFeatureHasItsTextBypassPortsTheirSegmentAndAMarkShowsOnce) {
  for (const FeatureCase& c : kFeatures) {
    SCOPED_TRACE(testing::Message() << c.feature << " type " << c.smbios_type << " flag " << c.ctrl_flag);
    set_port(record_, {.feature = c.feature | 0x80, .bypass_ctrl_flag = c.ctrl_flag, .smbios_type = c.smbios_type});
    EXPECT_EQ(row_of(record_), line({}, std::string(c.text) + "(!)", c.seg));
    EXPECT_EQ(record_.feature, c.feature);
    EXPECT_EQ(row_of(record_), line({}, c.text, c.seg));
  }
}

TEST_F(PortRow, ASegmentThatCantBeAssignedIsMarked) {
  for (const auto& [feature, text] : {std::pair{2, "A_BYPASS"}, {4, "L_BYPASS"}, {64, "A_BYPASS_I2C"}}) {
    for (const int seg : {0, 12, 254, 255}) {
      set_port(record_, {.feature = feature, .seg = seg});
      EXPECT_EQ(row_of(record_), line({}, text, seg == 255 ? "(?)" : std::to_string(seg)));
    }
  }
}

TEST_F(PortRow, OnTheScreenTheMarkBelongsToItsRow) {
  EXPECT_EQ(four_ports(MismatchMark::kRowOnly), line({}) + line({}, "N/A(!)") + line({}) + line({}, "A_BYPASS", "4"));
}

TEST_F(PortRow, InTheFileTheMarkStaysRaised) {
  EXPECT_EQ(four_ports(MismatchMark::kSticky),
            line({}) + line({}, "N/A(!)") + line({}, "N/A(!)") + line({}, "A_BYPASS(!)", "4"));
}

TEST(VirtualRow, HasFixedTexts) {
  EXPECT_EQ(printed_by([] { print_result_vlan_one("eth0.100", "02:00:00:00:00:01", stdout); }),
            "eth0.100        N/A         N/A  N/A  N/A  N/A   02:00:00:00:00:01  "
            "N/A                       N/A                          unknown         N/A ID not found \n");
  EXPECT_EQ(printed_by([] { print_result_vlan_one("br0", "", stdout); }), table_line({.eth_name = "br0"}));
}

TEST(VirtualRow, GoesToTheStreamItIsGivenElseToStandardOutput) {
  EXPECT_EQ(printed_by([] { print_result_vlan_one("br0", "", nullptr); }), table_line({.eth_name = "br0"}));
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
}  // namespace qorx::test
