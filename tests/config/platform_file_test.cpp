#include "config/stages.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "base/bounded_text.h"
#include "records/state.h"
#include "tests/config/platform_text.h"
#include "tests/support/result_rows.h"
#include "tests/support/user_files.h"

namespace qorx::test {
namespace {

constexpr int kSlot = 9;

class PlatformFile : public UserFileTest {
 protected:
  // A port in a slot, without a feature yet.
  static DeviceRecord& port(std::string_view slot_name, int fun, int feature = 0) {
    DeviceRecord& record = add_device("eth", slot_name, kSlot);
    record.fun = static_cast<std::uint8_t>(fun);
    record.feature = static_cast<std::uint8_t>(feature);
    return record;
  }

  // The feature line "<function>/<panel>/<word>" for slot LAN1.
  void apply_feature(const std::string& value, Where where = Where::here()) {
    apply(kFeaturePass, slot_line("LAN1") + feature_line(value), where);
  }

  // The same where the line is refused for a port with another feature.
  std::string warnings(const std::string& value) {
    const Outcome outcome = read(kFeaturePass, slot_line("LAN1") + feature_line(value));
    EXPECT_EQ(outcome.code, 0);
    return outcome.printed;
  }

  static std::string warning(const std::string& word, int line) {
    return "CFG file feature (" + word +
           ") is not matched with Vlm default feature. Slot Name (LAN1) CFG file line: " + std::to_string(line) +
           "\nIf you want to overwrite please add -F command!\n";
  }
};

struct Value {
  std::string_view rule;
  std::string text;
  int feature;
  int bypass_ctrl_flag = 0;
  std::string_view panel_name = "MGMT";
};

class PlatformFeature : public RowTest<Value, PlatformFile> {};

TEST_P(PlatformFeature, SetsCodeControllerFlagAndName) {
  DeviceRecord& record = port("LAN1", 0);
  record.bypass_ctrl_flag = row().bypass_ctrl_flag == 0 ? 1 : 0;
  apply_feature(row().text);
  expect_port(record,
              {.panel_name = row().panel_name, .feature = row().feature, .bypass_ctrl_flag = row().bypass_ctrl_flag});
}

QORX_ROWS(PlatformFeature, {"POE", "0/MGMT/POE", 0x01}, {"A_BYPASS", "0/MGMT/A_BYPASS", 0x02},
          {"A_BYPASS-C carries the control", "0/MGMT/A_BYPASS-C", 0x02, 1}, {"L_BYPASS", "0/MGMT/L_BYPASS", 0x04},
          {"NA", "0/MGMT/NA", 0x08}, {"NCSI", "0/MGMT/NCSI", 0x10}, {"NCSI/1PPS", "0/MGMT/NCSI/1PPS", 0x30},
          {"1PPS", "0/MGMT/1PPS", 0x20}, {"NCSI with another fourth field", "0/MGMT/NCSI/x", 0x10},
          {"1pps in small letters is another fourth field", "0/MGMT/NCSI/1pps", 0x10},
          {"A_BYPASS_I2C", "0/MGMT/A_BYPASS_I2C", 0x40},
          {"a fourth field behind another word than ncsi is ignored", "0/MGMT/POE/1PPS", 0x01},
          {"a fifth field is ignored", "0/MGMT/NCSI/1PPS/more", 0x30},
          {"runs of slashes count as one and a leading one is skipped", "//0///Port 1//NCSI//1PPS/", 0x30, 0, "Port 1"},
          {"a value that looks like a key is a value", "0/SLOT_NAME=\"LAN2\"/POE", 0x01, 0, "SLOT_NAME=\"LAN2\""});

TEST_F(PlatformFile, AFunctionFieldOf12AppliesToFunction1) {
  for (const int fun : {1, 2, 12}) {
    port("LAN1", fun);
  }
  apply_feature("12/P/POE");
  EXPECT_EQ(texts_of(device_records(), &DeviceRecord::panel_name), (Texts{"P", "", ""}));
}

TEST_F(PlatformFile, FunctionsReachFrom0To9) {
  port("LAN1", 0);
  port("LAN1", 9);
  apply_feature("0/zero/POE");
  apply_feature("9/nine/POE");
  EXPECT_EQ(texts_of(device_records(), &DeviceRecord::panel_name), (Texts{"zero", "nine"}));
}

TEST_F(PlatformFile, ASlotOrFunctionThatNoPortHasChangesNothing) {
  const DeviceRecord& record = port("LAN1", 0);
  port("LAN1", 255);  // without an address
  for (const char* const function : {"1", "a", " 0", "-1"}) {
    apply_feature(std::string(function) + "/P/POE");
  }
  apply(kFeaturePass, slot_line("LAN9") + feature_line("0/P/POE") + order_line("0/P/L"));
  EXPECT_EQ(texts_of(device_records(), &DeviceRecord::panel_name), (Texts{"", ""}));
  expect_port(record, {.feature = 0});
}

TEST_F(PlatformFile, TheSlotNameIsComparedWholeAndInItsCase) {
  for (const char* const name : {"lan1", "LAN", "LAN11", " LAN1", "LAN1 ", "", "LAN1"}) {
    port(name, 0);
  }
  apply_feature("0/P/POE");
  EXPECT_EQ(texts_of(device_records(), &DeviceRecord::panel_name), (Texts{"", "", "", "", "", "", "P"}));
}

TEST_F(PlatformFile, AnEmptySlotNameMeansThePortsWithoutASlot) {
  port("", 0);
  port("LAN1", 0);
  apply(kFeaturePass, slot_line("") + feature_line("0/P/POE"));
  EXPECT_EQ(texts_of(device_records(), &DeviceRecord::panel_name), (Texts{"P", ""}));
}

TEST_F(PlatformFile, AFeatureLineReachesThePortsOnEveryBusOfTheSlot) {
  const DeviceRecord& low = port("LAN1", 0);
  DeviceRecord& high = port("LAN1", 0);
  high.port_index = 1;
  apply_feature("0/P/L_BYPASS");
  expect_port(low, {.panel_name = "P", .feature = 0x04});
  expect_port(high, {.panel_name = "P", .feature = 0x04});
}

struct Order {
  std::string_view rule;
  std::string word;
  Texts panel_names;  // of the ports on three buses
};

class PlatformBusOrder : public RowTest<Order, PlatformFile> {};

TEST_P(PlatformBusOrder, NamesThePortOnOneBusAndKeepsItsFeature) {
  for (int index = 0; index < 3; ++index) {
    DeviceRecord& record = port("WMX Slot 1", 2, 0x02);
    record.port_index = static_cast<std::uint8_t>(index);
    record.bypass_ctrl_flag = 1;
  }
  apply(kFeaturePass, slot_line("WMX Slot 1") + order_line("2/P/" + row().word + "/x"));
  EXPECT_EQ(texts_of(device_records(), &DeviceRecord::panel_name), row().panel_names);
  for (const DeviceRecord& record : device_records()) {
    expect_port(record, {.feature = 0x02, .bypass_ctrl_flag = 1});
  }
}

QORX_ROWS(PlatformBusOrder, {"H is the second bus", "H", {"", "P", ""}},
          {"a word with H is the second bus", "High", {"", "P", ""}}, {"L is the first bus", "L", {"P", "", ""}},
          {"a small h is any other word", "h", {"P", "", ""}}, {"any other word is the first bus", "1", {"P", "", ""}});

TEST_F(PlatformFile, TheTableShowsABusOrderNameOnTheHigherBusOfASplitSlot) {
  machine_.smbios(SmbiosTable().slot("WMX Slot 1", "06:00.0"));
  machine_.add_port("eth0", "0000:00:1c.0/0000:07:00.0");
  machine_.add_port("eth1", "0000:00:1c.0/0000:06:00.0");
  const std::string output =
      run_on(kFeaturePass, slot_line("WMX Slot 1") + order_line("0/low/L") + order_line("0/high/H")).output;
  EXPECT_EQ(row_of(output, "eth0").slot, "WMX Slot 1");
  EXPECT_EQ(row_of(output, "eth0").panel, "high");
  EXPECT_EQ(row_of(output, "eth1").panel, "low");
}

TEST_F(PlatformFile, ABusOrderLineNamesAPortThatCarriesTheMismatchMark) {
  const DeviceRecord& record = port("LAN1", 0, 0x82);
  apply(kFeaturePass, slot_line("LAN1") + order_line("0/P/L"));
  expect_port(record, {.panel_name = "P", .feature = 0x82});
}

TEST_F(PlatformFile, TheSameFeatureAgainReplacesTheName) {
  const DeviceRecord& record = port("LAN1", 0, 0x10);
  apply_feature("0/P/NCSI");
  expect_port(record, {.panel_name = "P", .feature = 0x10});
}

TEST_F(PlatformFile, ABypassWithoutItsControllerMarkTakesTheMarkAway) {
  DeviceRecord& record = port("LAN1", 0, 0x02);
  record.bypass_ctrl_flag = 1;
  apply_feature("0/P/A_BYPASS");
  expect_port(record, {.bypass_ctrl_flag = 0});
  apply_feature("0/P/A_BYPASS-C");
  expect_port(record, {.bypass_ctrl_flag = 1});
}

TEST_F(PlatformFile, AnotherFeatureThanTheScannedOneIsRefusedAndMarked) {
  DeviceRecord& record = port("LAN1", 0, 0x02);
  record.bypass_ctrl_flag = 1;
  copy_text(record.panel_name, "old");
  EXPECT_EQ(warnings("0/new/NCSI"), warning("NCSI", 2));
  expect_port(record, {.panel_name = "old", .feature = 0x82, .bypass_ctrl_flag = 1});
}

TEST_F(PlatformFile, WithForceTheFileWins) {
  DeviceRecord& record = port("LAN1", 0, 0x02);
  record.bypass_ctrl_flag = 1;
  g_force_flag = 1;
  apply_feature("0/new/NCSI");
  expect_port(record, {.panel_name = "new", .feature = 0x10, .bypass_ctrl_flag = 0});
}

TEST_F(PlatformFile, AMarkedPortDiffersFromEveryWordEvenItsOwn) {
  const DeviceRecord& record = port("LAN1", 0, 0x02);
  EXPECT_EQ(read(kFeaturePass, slot_line("LAN1") + feature_line("0/a/NCSI") + feature_line("0/b/A_BYPASS-C")),
            (Outcome{warning("NCSI", 2) + warning("A_BYPASS-C", 3), 0}));
  expect_port(record, {.panel_name = "", .feature = 0x82});
}

TEST_F(PlatformFile, AMarkedPortTakesAWordWithForce) {
  const DeviceRecord& record = port("LAN1", 0, 0x82);
  g_force_flag = 1;
  apply_feature("0/P/A_BYPASS");
  expect_port(record, {.panel_name = "P", .feature = 0x02});
}

TEST_F(PlatformFile, EveryRefusedPortIsReportedInTableOrder) {
  port("LAN1", 0, 0x02);
  const DeviceRecord& accepted = port("LAN1", 0);
  port("LAN1", 0, 0x01);
  EXPECT_EQ(warnings("0/P/1PPS"), warning("1PPS", 2) + warning("1PPS", 2));
  expect_port(accepted, {.feature = 0x20});
}

TEST_F(PlatformFile, WarningsAreSilentWithErrorMessagesOff) {
  const DeviceRecord& record = port("LAN1", 0, 0x02);
  qorx_set_message_level(0);
  EXPECT_EQ(warnings("0/new/NCSI"), "");
  expect_port(record, {.feature = 0x82});
}

TEST_F(PlatformFile, TwoBlocksForOneSlotBothApplyInTheirOrder) {
  port("LAN1", 0);
  port("LAN1", 1);
  apply(kFeaturePass, slot_line("LAN1") + feature_line("0/a/POE") + feature_line("1/b/POE") + slot_line("LAN1") +
                          feature_line("0/c/POE"));
  EXPECT_EQ(texts_of(device_records(), &DeviceRecord::panel_name), (Texts{"c", "b"}));
}

TEST_F(PlatformFile, RenameAndSwitchLinesBelongToTheOtherPass) {
  const DeviceRecord& record = port("LAN1", 0);
  apply(kFeaturePass,
        slot_line("LAN1") + rename_line("LAN9") + switch_line("not even a range") + feature_line("0/P/POE"));
  expect_port(record, {.slot_name = "LAN1", .panel_name = "P"});
}

TEST_F(PlatformFile, ASlotOrNewNameThatLooksLikeAKeyIsAName) {
  const DeviceRecord& record = port("LAN1", 0);
  const DeviceRecord& odd = port("SLOT_NAME=\"x\"", 0);
  apply(kFeaturePass, slot_line("LAN1") + rename_line("FUNCTION/NAME/FEATURE=\"0/P/POE\""));
  expect_port(record, {.feature = 0});
  apply(kFeaturePass, slot_line("SLOT_NAME=\"x\"") + feature_line("0/P/POE"));
  expect_port(odd, {.panel_name = "P"});
}

}  // namespace
}  // namespace qorx::test
