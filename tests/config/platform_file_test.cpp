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
  apply(kFeaturePass, slot_line("LAN1") + feature_line(row().text));
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

using Ports = std::vector<std::pair<const char*, int>>;

// Ports of functions in slots, and their panel names behind a file.
struct Named {
  std::string_view rule;
  Ports ports;
  std::string text;
  Texts panel_names;
};

class PlatformPanelNames : public RowTest<Named, PlatformFile> {};

TEST_P(PlatformPanelNames, AreGivenToThePortsOfTheSlotAndFunction) {
  for (const auto& [slot_name, fun] : row().ports) {
    port(slot_name, fun);
  }
  apply(kFeaturePass, row().text);
  EXPECT_EQ(texts_of(device_records(), &DeviceRecord::panel_name), row().panel_names);
}

const std::string kLan1 = slot_line("LAN1");
const std::string kNameP = feature_line("0/P/POE");

QORX_ROWS(
    PlatformPanelNames,
    {"a function field of 12 means function 1", Ports{{"LAN1", 1}, {"LAN1", 2}, {"LAN1", 12}},
     kLan1 + feature_line("12/P/POE"), Texts{"P", "", ""}},
    {"functions reach from 0 to 9", Ports{{"LAN1", 0}, {"LAN1", 9}},
     kLan1 + feature_line("0/zero/POE") + feature_line("9/nine/POE"), Texts{"zero", "nine"}},
    // Function 255: without an address.
    {"a function that no port has names none", Ports{{"LAN1", 0}, {"LAN1", 255}},
     kLan1 + feature_line("1/P/POE") + feature_line("a/P/POE") + feature_line(" 0/P/POE") + feature_line("-1/P/POE"),
     Texts{"", ""}},
    {"a slot that no port has names none", Ports{{"LAN1", 0}}, slot_line("LAN9") + kNameP + order_line("0/P/L"),
     Texts{""}},
    {"the slot name is compared whole and in its case",
     Ports{{"lan1", 0}, {"LAN", 0}, {"LAN11", 0}, {" LAN1", 0}, {"LAN1 ", 0}, {"", 0}, {"LAN1", 0}}, kLan1 + kNameP,
     Texts{"", "", "", "", "", "", "P"}},
    {"an empty slot name means the ports without a slot", {{"", 0}, {"LAN1", 0}}, slot_line("") + kNameP, {"P", ""}},
    {"two blocks for one slot both apply in their order", Ports{{"LAN1", 0}, {"LAN1", 1}},
     kLan1 + feature_line("0/a/POE") + feature_line("1/b/POE") + kLan1 + feature_line("0/c/POE"), Texts{"c", "b"}},
    {"a slot name that looks like a key is a name", Ports{{"LAN1", 0}, {"SLOT_NAME=\"x\"", 0}},
     slot_line("SLOT_NAME=\"x\"") + kNameP, Texts{"", "P"}},
    {"a new name that looks like a key is a name", Ports{{"LAN1", 0}},
     kLan1 + rename_line("FUNCTION/NAME/FEATURE=\"0/P/POE\""), Texts{""}});

TEST_F(PlatformFile, AFeatureLineReachesThePortsOnEveryBusOfTheSlot) {
  port("LAN1", 0);
  port("LAN1", 0).port_index = 1;
  apply(kFeaturePass, kLan1 + feature_line("0/P/L_BYPASS"));
  for (const DeviceRecord& record : device_records()) {
    expect_port(record, {.panel_name = "P", .feature = 0x04});
  }
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
  EXPECT_EQ(row_of(output, "eth0"), "WMX Slot 1 | high | unknown | ID not found");
  EXPECT_EQ(row_of(output, "eth1"), "WMX Slot 1 | low | unknown | ID not found");
}

std::string warning(const std::string& word, int line) {
  return "CFG file feature (" + word +
         ") is not matched with Vlm default feature. Slot Name (LAN1) CFG file line: " + std::to_string(line) +
         "\nIf you want to overwrite please add -F command!\n";
}

// A port named "old" that carries a control, and a block for it.
struct Again {
  std::string_view rule;
  int before;
  int force;
  std::string lines;
  std::string_view panel_name;
  int feature;
  int bypass_ctrl_flag;
  std::string printed = "";
};

class PlatformFeatureAgain : public RowTest<Again, PlatformFile> {};

TEST_P(PlatformFeatureAgain, MeetsAnother) {
  DeviceRecord& record = port("LAN1", 0, row().before);
  record.bypass_ctrl_flag = 1;
  copy_text(record.panel_name, "old");
  g_force_flag = row().force;
  EXPECT_EQ(read(kFeaturePass, kLan1 + row().lines), (Outcome{row().printed, 0}));
  expect_port(record,
              {.panel_name = row().panel_name, .feature = row().feature, .bypass_ctrl_flag = row().bypass_ctrl_flag});
}

QORX_ROWS(PlatformFeatureAgain,
          {"the same feature again replaces the name", 0x10, 0, feature_line("0/P/NCSI"), "P", 0x10, 0},
          {"a bypass without its controller mark takes the mark away", 0x02, 0, feature_line("0/P/A_BYPASS"), "P", 0x02,
           0},
          {"a bypass with its controller mark brings it back", 0x02, 0,
           feature_line("0/P/A_BYPASS") + feature_line("0/P/A_BYPASS-C"), "P", 0x02, 1},
          {"another feature than the scanned one is refused and marked", 0x02, 0, feature_line("0/new/NCSI"), "old",
           0x82, 1, warning("NCSI", 2)},
          {"only the value one is force", 0x02, 2, feature_line("0/new/NCSI"), "old", 0x82, 1, warning("NCSI", 2)},
          {"with force the file wins", 0x02, 1, feature_line("0/new/NCSI"), "new", 0x10, 0},
          {"a marked port differs from every word even its own", 0x02, 0,
           feature_line("0/a/NCSI") + feature_line("0/b/A_BYPASS-C"), "old", 0x82, 1,
           warning("NCSI", 2) + warning("A_BYPASS-C", 3)},
          {"a marked port takes a word with force", 0x82, 1, feature_line("0/P/A_BYPASS"), "P", 0x02, 0},
          {"a bus order line names a port that carries the mark", 0x82, 0, order_line("0/P/L"), "P", 0x82, 1});

TEST_F(PlatformFile, EveryRefusedPortIsReportedInTableOrderUnlessErrorMessagesAreOff) {
  const std::string text = kLan1 + feature_line("0/P/1PPS");
  port("LAN1", 0, 0x02);
  const DeviceRecord& accepted = port("LAN1", 0);
  port("LAN1", 0, 0x01);
  EXPECT_EQ(read(kFeaturePass, text), (Outcome{warning("1PPS", 2) + warning("1PPS", 2), 0}));
  expect_port(accepted, {.feature = 0x20});
  const DeviceRecord& refused = port("LAN1", 0, 0x02);
  qorx_set_message_level(0);
  EXPECT_EQ(read(kFeaturePass, text), Outcome{});
  expect_port(refused, {.feature = 0x82});
}

TEST_F(PlatformFile, RenameAndSwitchLinesBelongToTheOtherPass) {
  const DeviceRecord& record = port("LAN1", 0);
  apply(kFeaturePass, kLan1 + rename_line("LAN9") + switch_line("not even a range") + kNameP);
  expect_port(record, {.slot_name = "LAN1", .panel_name = "P"});
}

}  // namespace
}  // namespace qorx::test
