// Corrections after the scan: ports of controllers of which only the first function carries the ids.
#include "ident/subsystem_hooks.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "base/bounded_text.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

constexpr std::uint32_t kX710 = 0x1572;
constexpr std::uint32_t kXl710 = 0x1583;
constexpr std::uint32_t kX710Copper = 0x1589;
constexpr int kFlagBefore = 9;

class SubsystemHook : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  static DeviceRecord& port(int bus, int fun, std::uint32_t device_id, std::uint32_t subsys_device_id,
                            const char* model = "", int feature = 0) {
    DeviceRecord& record = add_device("eth");
    record.bus = static_cast<std::uint8_t>(bus);
    record.fun = static_cast<std::uint8_t>(fun);
    record.vendor_id = 0x8086;
    record.device_id = device_id;
    record.subsys_device_id = subsys_device_id;
    record.feature = static_cast<std::uint8_t>(feature);
    record.bypass_ctrl_flag = kFlagBefore;
    copy_text(record.model, model);
    return record;
  }

  // A bypass port of the controller whose flag stays on the lowest bus.
  static DeviceRecord& bypass_port(int bus, int i2c_bus, int switch1, int switch2, int segment, int flag = 1) {
    DeviceRecord& record = port(bus, 0, 0x125B, 0x3043);
    record.bypass_bus = static_cast<std::uint8_t>(i2c_bus);
    record.bypass_switch1 = static_cast<std::uint8_t>(switch1);
    record.bypass_switch2 = static_cast<std::uint8_t>(switch2);
    record.mcu_segment = static_cast<std::uint8_t>(segment);
    record.bypass_ctrl_flag = static_cast<std::uint8_t>(flag);
    return record;
  }

  static std::vector<int> flags() {
    std::vector<int> result;
    for (const DeviceRecord& record : device_records()) {
      result.push_back(record.bypass_ctrl_flag);
    }
    return result;
  }

  static void expect_port(std::size_t index, const char* model, int feature, int flag) {
    SCOPED_TRACE(index);
    EXPECT_STREQ(qorx_eth_device_mapping[index].model, model);
    EXPECT_EQ(qorx_eth_device_mapping[index].feature, feature);
    EXPECT_EQ(qorx_eth_device_mapping[index].bypass_ctrl_flag, flag);
  }
};

TEST_F(SubsystemHook, OnlyTheFirstPortCarriesOnePps) {
  port(3, 0, kX710, 0x3031, "X710_FI", QORX_FEATURE_1PPS);
  for (int fun = 1; fun < 4; ++fun) {
    port(3, fun, kX710, 0);
  }
  post_subsystem_id_general_hook();
  expect_port(0, "X710_FI", QORX_FEATURE_1PPS, kFlagBefore);
  for (std::size_t i = 1; i < 4; ++i) {
    expect_port(i, "X710_FI", QORX_FEATURE_NA, kFlagBefore);
  }
}

TEST_F(SubsystemHook, AnyOtherFeatureIsShared) {
  for (const std::uint32_t device_id : {kX710, kXl710, kX710Copper}) {
    SCOPED_TRACE(device_id);
    reset_library();
    port(3, 0, device_id, 0x2050, "WMX-6997", QORX_FEATURE_NA);
    for (int fun = 1; fun < 4; ++fun) {
      port(3, fun, device_id, 0);
    }
    post_subsystem_id_general_hook();
    for (std::size_t i = 0; i < 4; ++i) {
      expect_port(i, "WMX-6997", QORX_FEATURE_NA, kFlagBefore);
    }
  }
}

TEST_F(SubsystemHook, OfABypassCardsPortsTheEvenOnesCarryTheControl) {
  port(3, 0, kX710, 0x0027, "WMX-6264", QORX_FEATURE_A_BYPASS);
  for (int fun = 1; fun < 4; ++fun) {
    port(3, fun, kX710, 0);
  }
  post_subsystem_id_general_hook();
  expect_port(0, "WMX-6264", QORX_FEATURE_A_BYPASS, kFlagBefore);
  expect_port(1, "WMX-6264", QORX_FEATURE_A_BYPASS, 0);
  expect_port(2, "WMX-6264", QORX_FEATURE_A_BYPASS, 1);
  expect_port(3, "WMX-6264", QORX_FEATURE_A_BYPASS, 0);
}

TEST_F(SubsystemHook, OtherControllersShareNothing) {
  struct Case {
    std::uint32_t vendor_id;
    std::uint32_t device_id;
  };
  for (const Case& c : {Case{0x8086, 0x1521}, Case{0x8086, 0x1573}, Case{0x15B3, kX710}, Case{0x8086, 0x10000}}) {
    SCOPED_TRACE(c.device_id);
    reset_library();
    port(3, 0, c.device_id, 0x2050, "WMX-6997", QORX_FEATURE_NA).vendor_id = c.vendor_id;
    port(3, 1, c.device_id, 0).vendor_id = c.vendor_id;
    post_subsystem_id_general_hook();
    expect_port(1, "", QORX_FEATURE_NONE, kFlagBefore);
  }
}

TEST_F(SubsystemHook, APortWithoutAnIdSharesNothing) {
  port(3, 0, kX710, 0, "model", QORX_FEATURE_POE);
  port(3, 1, kX710, 0);
  post_subsystem_id_general_hook();
  expect_port(1, "", QORX_FEATURE_NONE, kFlagBefore);
}

TEST_F(SubsystemHook, TheLookAheadIsThreePorts) {
  port(3, 0, kX710, 0x2050, "WMX-6997", QORX_FEATURE_NA);
  for (int fun = 1; fun < 5; ++fun) {
    port(3, fun, kX710, 0);
  }
  post_subsystem_id_general_hook();
  expect_port(3, "WMX-6997", QORX_FEATURE_NA, kFlagBefore);
  expect_port(4, "", QORX_FEATURE_NONE, kFlagBefore);
}

TEST_F(SubsystemHook, AnotherControllerOrBusEndsTheLookAhead) {
  for (const bool other_bus : {false, true}) {
    SCOPED_TRACE(other_bus);
    reset_library();
    port(3, 0, kX710, 0x2050, "WMX-6997", QORX_FEATURE_NA);
    port(other_bus ? 4 : 3, 1, other_bus ? kX710 : kXl710, 0);
    port(3, 2, kX710, 0);
    post_subsystem_id_general_hook();
    expect_port(1, "", QORX_FEATURE_NONE, kFlagBefore);
    expect_port(2, "", QORX_FEATURE_NONE, kFlagBefore);
  }
}

TEST_F(SubsystemHook, APortWithItsOwnIdIsLeftAloneAndPassedBy) {
  port(3, 0, kX710, 0x2050, "WMX-6997", QORX_FEATURE_NA);
  port(3, 1, kX710, 0x0001, "own", QORX_FEATURE_POE);
  port(3, 2, kX710, 0);
  post_subsystem_id_general_hook();
  expect_port(1, "own", QORX_FEATURE_POE, kFlagBefore);
  // The port before it speaks last, in its own turn.
  expect_port(2, "own", QORX_FEATURE_POE, kFlagBefore);
}

TEST_F(SubsystemHook, AnUnknownIdIsAnIdOfItsOwn) {
  port(3, 0, kX710, 0x2050, "WMX-6997", QORX_FEATURE_NA);
  port(3, 1, kX710, QORX_ID_UNKNOWN, "unknown", QORX_FEATURE_NONE);
  post_subsystem_id_general_hook();
  expect_port(1, "unknown", QORX_FEATURE_NONE, kFlagBefore);
}

TEST_F(SubsystemHook, TheRecordBehindTheLastOneIsNotAPort) {
  port(3, 0, kX710, 0x2050, "WMX-6997", QORX_FEATURE_NA);
  port(3, 1, kX710, 0);
  qorx_system_environment_info.eth_device_number = 1;
  std::memset(&qorx_eth_device_mapping[1], 0, sizeof qorx_eth_device_mapping[1]);
  post_subsystem_id_general_hook();
  expect_port(1, "", 0, 0);
}

TEST_F(SubsystemHook, AFullTableEndsWithItsLastRecord) {
  for (std::size_t i = 0; i < kMaxRecords - 2; ++i) {
    port(2, 0, 0x1521, 0);
  }
  port(3, 0, kX710, 0x2050, "WMX-6997", QORX_FEATURE_NA);
  port(3, 1, kX710, 0);
  post_subsystem_id_general_hook();
  expect_port(511, "WMX-6997", QORX_FEATURE_NA, kFlagBefore);
}

TEST_F(SubsystemHook, TheOnboardE822HasNoBypassOnTwoControllers) {
  struct Case {
    std::uint32_t vendor_id;
    std::uint32_t device_id;
    std::uint32_t subsys_device_id;
    int feature;
  };
  for (const Case& c :
       {Case{0x8086, 0x1898, 0x3037, QORX_FEATURE_NA}, Case{0x8086, 0x1892, 0x3037, QORX_FEATURE_NA},
        Case{0x8086, 0x1897, 0x3037, QORX_FEATURE_A_BYPASS}, Case{0x8087, 0x1898, 0x3037, QORX_FEATURE_A_BYPASS},
        Case{0x8086, 0x1898, 0x3036, QORX_FEATURE_A_BYPASS}}) {
    SCOPED_TRACE(c.device_id);
    reset_library();
    port(3, 0, c.device_id, c.subsys_device_id, "E822_FI_CO", QORX_FEATURE_A_BYPASS).vendor_id = c.vendor_id;
    post_subsystem_id_general_hook();
    expect_port(0, "E822_FI_CO", c.feature, kFlagBefore);
  }
}

TEST_F(SubsystemHook, OfPortsOnOneBypassControllerTheLowestBusKeepsTheFlag) {
  bypass_port(3, 1, 255, 255, 1);
  bypass_port(5, 1, 255, 255, 1);
  bypass_port(4, 1, 255, 255, 1);
  post_subsystem_id_general_hook();
  EXPECT_EQ(flags(), (std::vector<int>{1, 0, 0}));
}

TEST_F(SubsystemHook, PortsOnTheSameLowestBusKeepIt) {
  bypass_port(3, 1, 255, 255, 1);
  bypass_port(3, 1, 255, 255, 1);
  bypass_port(0xFF, 1, 255, 255, 1);
  post_subsystem_id_general_hook();
  EXPECT_EQ(flags(), (std::vector<int>{1, 1, 0}));
}

TEST_F(SubsystemHook, AnyDifferenceInTheAddressIsAnotherController) {
  bypass_port(3, 1, 2, 3, 4);
  bypass_port(5, 9, 2, 3, 4);
  bypass_port(5, 1, 9, 3, 4);
  bypass_port(5, 1, 2, 9, 4);
  bypass_port(5, 1, 2, 3, 9);
  bypass_port(5, 1, 2, 3, 4);
  post_subsystem_id_general_hook();
  EXPECT_EQ(flags(), (std::vector<int>{1, 1, 1, 1, 1, 0}));
}

TEST_F(SubsystemHook, APortOnALowerBusCountsWhateverItIs) {
  port(2, 0, 0x1521, 0x1234);  // all its bypass fields are 0
  bypass_port(5, 0, 0, 0, 0);
  post_subsystem_id_general_hook();
  EXPECT_EQ(flags(), (std::vector<int>{kFlagBefore, 0}));
}

TEST_F(SubsystemHook, OnlyASetFlagOfThatControllerIsCleared) {
  bypass_port(3, 1, 255, 255, 1, 0);
  bypass_port(5, 1, 255, 255, 1, 2);
  bypass_port(6, 1, 255, 255, 1).subsys_device_id = 0x3042;
  bypass_port(7, 1, 255, 255, 1);
  post_subsystem_id_general_hook();
  EXPECT_EQ(flags(), (std::vector<int>{0, 2, 1, 0}));
}

TEST_F(SubsystemHook, WhatWasWrittenTakesPartInItsOwnTurn) {
  port(3, 0, kX710, 0x0027, "WMX-6264", QORX_FEATURE_A_BYPASS);
  port(3, 1, kX710, 0);
  port(3, 2, kX710, 0x2050, "WMX-6997", QORX_FEATURE_NA);
  port(3, 3, kX710, 0);
  post_subsystem_id_general_hook();
  expect_port(1, "WMX-6264", QORX_FEATURE_A_BYPASS, 0);
  expect_port(3, "WMX-6997", QORX_FEATURE_NA, 0);  // the first port's flag, the third one's model and feature
}

TEST_F(SubsystemHook, AnEmptyTableIsFine) {
  EXPECT_EQ(printed_by(post_subsystem_id_general_hook), "");
}

}  // namespace
}  // namespace qorx::test
