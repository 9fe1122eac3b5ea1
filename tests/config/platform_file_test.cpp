#include "config/stages.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "records/state.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"
#include "tests/support/result_rows.h"

namespace qorx {
namespace {

using test::add_device;

constexpr int kSlot = 9;

class PlatformFile : public ::testing::Test {
 protected:
  void SetUp() override { test::reset_library(); }

  // A port in a slot, without a feature yet.
  static DeviceRecord& port(const std::string& slot_name, int fun, int feature = 0) {
    DeviceRecord& record = add_device("eth", slot_name, kSlot);
    record.fun = static_cast<std::uint8_t>(fun);
    record.feature = static_cast<std::uint8_t>(feature);
    return record;
  }

  // Applies a file with this text; it must be accepted. Returns what was printed.
  std::string apply(const std::string& text) {
    const std::string path = machine_.user_file("qorx.cfg", text);
    return test::printed_by([&] { EXPECT_EQ(qorx_check_conf_file(path.c_str()), 0); });
  }

  // The feature line "0/<panel>/<rest>" for slot LAN1, applied to its port 0.
  std::string feature_line(const std::string& value) {
    return apply("SLOT_NAME=\"LAN1\"\nFUNCTION/NAME/FEATURE=\"" + value + "\"\n");
  }

  test::FakeMachine machine_;
};

TEST_F(PlatformFile, EveryFeatureWordSetsItsCodeAndTheControllerFlag) {
  struct Word {
    const char* word;
    int feature;
    int bypass_ctrl_flag;
  };
  constexpr Word kWords[] = {{"POE", 0x01, 0},       {"A_BYPASS", 0x02, 0},    {"A_BYPASS-C", 0x02, 1},
                             {"L_BYPASS", 0x04, 0},  {"NA", 0x08, 0},          {"NCSI", 0x10, 0},
                             {"NCSI/1PPS", 0x30, 0}, {"1PPS", 0x20, 0},        {"NCSI/x", 0x10, 0},
                             {"NCSI/1pps", 0x10, 0}, {"A_BYPASS_I2C", 0x40, 0}};
  for (const Word& word : kWords) {
    SCOPED_TRACE(word.word);
    test::reset_library();
    DeviceRecord& record = port("LAN1", 0);
    record.bypass_ctrl_flag = word.bypass_ctrl_flag == 0 ? 1 : 0;
    EXPECT_EQ(feature_line(std::string("0/MGMT/") + word.word), "");
    EXPECT_EQ(record.feature, word.feature);
    EXPECT_EQ(record.bypass_ctrl_flag, word.bypass_ctrl_flag);
    EXPECT_STREQ(record.panel_name, "MGMT");
  }
}

TEST_F(PlatformFile, AFourthFieldBehindAnotherWordThanNcsiIsIgnored) {
  DeviceRecord& record = port("LAN1", 0);
  EXPECT_EQ(feature_line("0/MGMT/POE/1PPS"), "");
  EXPECT_EQ(record.feature, 0x01);
}

TEST_F(PlatformFile, AFifthFieldIsIgnored) {
  DeviceRecord& record = port("LAN1", 0);
  feature_line("0/MGMT/NCSI/1PPS/more");
  EXPECT_EQ(record.feature, 0x30);
}

TEST_F(PlatformFile, RunsOfSlashesCountAsOneAndALeadingOneIsSkipped) {
  DeviceRecord& record = port("LAN1", 0);
  feature_line("//0///Port 1//NCSI//1PPS/");
  EXPECT_STREQ(record.panel_name, "Port 1");
  EXPECT_EQ(record.feature, 0x30);
}

TEST_F(PlatformFile, AFunctionFieldOf12AppliesToFunction1) {
  DeviceRecord& first = port("LAN1", 1);
  DeviceRecord& second = port("LAN1", 2);
  DeviceRecord& twelfth = port("LAN1", 12);
  feature_line("12/P/POE");
  EXPECT_STREQ(first.panel_name, "P");
  EXPECT_STREQ(second.panel_name, "");
  EXPECT_STREQ(twelfth.panel_name, "");
}

TEST_F(PlatformFile, FunctionsReachFrom0To9) {
  DeviceRecord& zero = port("LAN1", 0);
  DeviceRecord& nine = port("LAN1", 9);
  feature_line("0/zero/POE");
  feature_line("9/nine/POE");
  EXPECT_STREQ(zero.panel_name, "zero");
  EXPECT_STREQ(nine.panel_name, "nine");
}

TEST_F(PlatformFile, ASlotOrFunctionThatNoPortHasChangesNothing) {
  DeviceRecord& record = port("LAN1", 0);
  DeviceRecord& without_address = port("LAN1", 255);
  EXPECT_EQ(feature_line("1/P/POE") + feature_line("a/P/POE") + feature_line(" 0/P/POE") + feature_line("-1/P/POE") +
                apply("SLOT_NAME=\"LAN9\"\nFUNCTION/NAME/FEATURE=\"0/P/POE\"\nFUNCTION/NAME/BUS_ORDER=\"0/P/L\"\n"),
            "");
  EXPECT_STREQ(record.panel_name, "");
  EXPECT_EQ(record.feature, 0);
  EXPECT_STREQ(without_address.panel_name, "");
}

TEST_F(PlatformFile, TheSlotNameIsComparedWholeAndInItsCase) {
  std::vector<DeviceRecord*> others;
  for (const char* const name : {"lan1", "LAN", "LAN11", " LAN1", "LAN1 ", ""}) {
    others.push_back(&port(name, 0));
  }
  DeviceRecord& record = port("LAN1", 0);
  feature_line("0/P/POE");
  EXPECT_STREQ(record.panel_name, "P");
  for (const DeviceRecord* const other : others) {
    EXPECT_STREQ(other->panel_name, "") << "slot name: \"" << other->slot_name << '"';
  }
}

TEST_F(PlatformFile, AnEmptySlotNameMeansThePortsWithoutASlot) {
  DeviceRecord& nowhere = port("", 0);
  DeviceRecord& record = port("LAN1", 0);
  apply("SLOT_NAME=\"\"\nFUNCTION/NAME/FEATURE=\"0/P/POE\"\n");
  EXPECT_STREQ(nowhere.panel_name, "P");
  EXPECT_STREQ(record.panel_name, "");
}

TEST_F(PlatformFile, AFeatureLineReachesThePortsOnEveryBusOfTheSlot) {
  DeviceRecord& low = port("WMX Slot 1", 0);
  DeviceRecord& high = port("WMX Slot 1", 0);
  high.port_index = 1;
  apply("SLOT_NAME=\"WMX Slot 1\"\nFUNCTION/NAME/FEATURE=\"0/P/L_BYPASS\"\n");
  for (const DeviceRecord* const record : {&low, &high}) {
    EXPECT_STREQ(record->panel_name, "P");
    EXPECT_EQ(record->feature, 0x04);
  }
}

TEST_F(PlatformFile, ABusOrderLineNamesThePortOnOneBusAndKeepsItsFeature) {
  struct Order {
    const char* word;
    int port_index;
  };
  for (const Order order : {Order{"H", 1}, Order{"High", 1}, Order{"L", 0}, Order{"h", 0}, Order{"1", 0}}) {
    SCOPED_TRACE(order.word);
    test::reset_library();
    std::vector<DeviceRecord*> ports;
    for (int index = 0; index < 3; ++index) {
      ports.push_back(&port("WMX Slot 1", 2, 0x02));
      ports.back()->port_index = static_cast<std::uint8_t>(index);
      ports.back()->bypass_ctrl_flag = 1;
    }
    EXPECT_EQ(apply(std::string("SLOT_NAME=\"WMX Slot 1\"\nFUNCTION/NAME/BUS_ORDER=\"2/P/") + order.word + "/x\"\n"),
              "");
    for (int index = 0; index < 3; ++index) {
      const DeviceRecord& record = *ports[static_cast<std::size_t>(index)];
      EXPECT_STREQ(record.panel_name, index == order.port_index ? "P" : "");
      EXPECT_EQ(record.feature, 0x02);
      EXPECT_EQ(record.bypass_ctrl_flag, 1);
    }
  }
}

TEST_F(PlatformFile, TheTableShowsABusOrderNameOnTheHigherBusOfASplitSlot) {
  machine_.smbios(test::SmbiosTable().slot("WMX Slot 1", "06:00.0"));
  machine_.add_port("eth0", "0000:00:1c.0/0000:07:00.0");
  machine_.add_port("eth1", "0000:00:1c.0/0000:06:00.0");
  machine_.user_file("qorx.cfg",
                     "SLOT_NAME=\"WMX Slot 1\"\n"
                     "FUNCTION/NAME/BUS_ORDER=\"0/low/L\"\n"
                     "FUNCTION/NAME/BUS_ORDER=\"0/high/H\"\n");
  const std::string output = machine_.run({"-a", "-config", "qorx.cfg"}).output;
  EXPECT_EQ(test::row_of(output, "eth0").slot, "WMX Slot 1");
  EXPECT_EQ(test::row_of(output, "eth0").panel, "high");
  EXPECT_EQ(test::row_of(output, "eth1").panel, "low");
}

TEST_F(PlatformFile, ABusOrderLineNamesAPortThatCarriesTheMismatchMark) {
  DeviceRecord& record = port("LAN1", 0, 0x82);
  EXPECT_EQ(apply("SLOT_NAME=\"LAN1\"\nFUNCTION/NAME/BUS_ORDER=\"0/P/L\"\n"), "");
  EXPECT_STREQ(record.panel_name, "P");
  EXPECT_EQ(record.feature, 0x82);
}

TEST_F(PlatformFile, TheSameFeatureAgainReplacesTheName) {
  DeviceRecord& record = port("LAN1", 0, 0x10);
  EXPECT_EQ(feature_line("0/P/NCSI"), "");
  EXPECT_STREQ(record.panel_name, "P");
  EXPECT_EQ(record.feature, 0x10);
}

TEST_F(PlatformFile, ABypassWithoutItsControllerMarkTakesTheMarkAway) {
  DeviceRecord& record = port("LAN1", 0, 0x02);
  record.bypass_ctrl_flag = 1;
  EXPECT_EQ(feature_line("0/P/A_BYPASS"), "");
  EXPECT_EQ(record.bypass_ctrl_flag, 0);
  EXPECT_EQ(feature_line("0/P/A_BYPASS-C"), "");
  EXPECT_EQ(record.bypass_ctrl_flag, 1);
}

TEST_F(PlatformFile, AnotherFeatureThanTheScannedOneIsRefusedAndMarked) {
  DeviceRecord& record = port("LAN1", 0, 0x02);
  record.bypass_ctrl_flag = 1;
  std::strcpy(record.panel_name, "old");
  EXPECT_EQ(feature_line("0/new/NCSI"),
            "CFG file feature (NCSI) is not matched with Vlm default feature. Slot Name (LAN1) CFG file line: 2\n"
            "If you want to overwrite please add -F command!\n");
  EXPECT_STREQ(record.panel_name, "old");
  EXPECT_EQ(record.feature, 0x82);
  EXPECT_EQ(record.bypass_ctrl_flag, 1);
}

TEST_F(PlatformFile, WithForceTheFileWins) {
  DeviceRecord& record = port("LAN1", 0, 0x02);
  record.bypass_ctrl_flag = 1;
  g_force_flag = 1;
  EXPECT_EQ(feature_line("0/new/NCSI"), "");
  EXPECT_STREQ(record.panel_name, "new");
  EXPECT_EQ(record.feature, 0x10);
  EXPECT_EQ(record.bypass_ctrl_flag, 0);
}

TEST_F(PlatformFile, AMarkedPortDiffersFromEveryWordEvenItsOwn) {
  DeviceRecord& record = port("LAN1", 0, 0x02);
  const std::string printed = apply(
      "SLOT_NAME=\"LAN1\"\n"
      "FUNCTION/NAME/FEATURE=\"0/a/NCSI\"\n"
      "FUNCTION/NAME/FEATURE=\"0/b/A_BYPASS-C\"\n");
  EXPECT_EQ(printed,
            "CFG file feature (NCSI) is not matched with Vlm default feature. Slot Name (LAN1) CFG file line: 2\n"
            "If you want to overwrite please add -F command!\n"
            "CFG file feature (A_BYPASS-C) is not matched with Vlm default feature. Slot Name (LAN1) CFG file line: 3\n"
            "If you want to overwrite please add -F command!\n");
  EXPECT_EQ(record.feature, 0x82);
  EXPECT_STREQ(record.panel_name, "");
}

TEST_F(PlatformFile, AMarkedPortTakesAWordWithForce) {
  DeviceRecord& record = port("LAN1", 0, 0x82);
  g_force_flag = 1;
  EXPECT_EQ(feature_line("0/P/A_BYPASS"), "");
  EXPECT_EQ(record.feature, 0x02);
  EXPECT_STREQ(record.panel_name, "P");
}

TEST_F(PlatformFile, EveryRefusedPortIsReportedInTableOrder) {
  port("LAN1", 0, 0x02);
  DeviceRecord& accepted = port("LAN1", 0);
  port("LAN1", 0, 0x01);
  const std::string warning =
      "CFG file feature (1PPS) is not matched with Vlm default feature. Slot Name (LAN1) CFG file line: 2\n"
      "If you want to overwrite please add -F command!\n";
  EXPECT_EQ(feature_line("0/P/1PPS"), warning + warning);
  EXPECT_EQ(accepted.feature, 0x20);
}

TEST_F(PlatformFile, WarningsAreSilentWithErrorMessagesOff) {
  DeviceRecord& record = port("LAN1", 0, 0x02);
  qorx_set_message_level(0);
  EXPECT_EQ(feature_line("0/new/NCSI"), "");
  EXPECT_EQ(record.feature, 0x82);
}

TEST_F(PlatformFile, TwoBlocksForOneSlotBothApplyInTheirOrder) {
  DeviceRecord& first = port("LAN1", 0);
  DeviceRecord& second = port("LAN1", 1);
  apply(
      "SLOT_NAME=\"LAN1\"\n"
      "FUNCTION/NAME/FEATURE=\"0/a/POE\"\n"
      "FUNCTION/NAME/FEATURE=\"1/b/POE\"\n"
      "SLOT_NAME=\"LAN1\"\n"
      "FUNCTION/NAME/FEATURE=\"0/c/POE\"\n");
  EXPECT_STREQ(first.panel_name, "c");
  EXPECT_STREQ(second.panel_name, "b");
}

TEST_F(PlatformFile, RenameAndSwitchLinesBelongToTheOtherPass) {
  DeviceRecord& record = port("LAN1", 0);
  EXPECT_EQ(apply("SLOT_NAME=\"LAN1\"\n"
                  "CHANGE_NAME=\"LAN9\"\n"
                  "PCIe_SW_DEV/WMX_SLOT=\"not even a range\"\n"
                  "FUNCTION/NAME/FEATURE=\"0/P/POE\"\n"),
            "");
  EXPECT_STREQ(record.slot_name, "LAN1");
  EXPECT_STREQ(record.panel_name, "P");
}

TEST_F(PlatformFile, AValueThatLooksLikeAKeyIsAValue) {
  DeviceRecord& record = port("LAN1", 0);
  apply("SLOT_NAME=\"LAN1\"\nCHANGE_NAME=\"FUNCTION/NAME/FEATURE=\"0/P/POE\"\"\n");
  EXPECT_EQ(record.feature, 0);
  feature_line("0/SLOT_NAME=\"LAN2\"/POE");
  EXPECT_STREQ(record.panel_name, "SLOT_NAME=\"LAN2\"");
  DeviceRecord& odd = port("SLOT_NAME=\"x\"", 0);
  apply("SLOT_NAME=\"SLOT_NAME=\"x\"\"\nFUNCTION/NAME/FEATURE=\"0/P/POE\"\n");
  EXPECT_STREQ(odd.panel_name, "P");
}

}  // namespace
}  // namespace qorx
