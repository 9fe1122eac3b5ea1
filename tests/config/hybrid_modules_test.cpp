#include "config/stages.h"

#include <gtest/gtest.h>

#include <string>

#include "base/bounded_text.h"
#include "records/state.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"
#include "tests/support/result_rows.h"

namespace qorx {
namespace {

using test::add_device;
using test::FakeMachine;
using test::row_of;

class HybridModules : public ::testing::Test {
 protected:
  void SetUp() override { test::reset_library(); }

  // The feature of a port that had `before`.
  static int feature_after(const char* model, std::uint32_t device_id, int before) {
    DeviceRecord& port = add_device("eth0", "WMX Slot 1", 9);
    copy_text(port.model, model);
    port.device_id = device_id;
    port.feature = static_cast<std::uint8_t>(before);
    EXPECT_EQ(qorx_handle_hybrid_WMX(), 0);
    return port.feature;
  }
};

TEST_F(HybridModules, TheFibrePortsOfBothModulesHaveNoFeature) {
  for (const char* const model : {"WMX-1658", "WMX-6997"}) {
    for (const int before : {0x00, 0x01, 0x02, 0x04, 0x08, 0x30, 0x84}) {
      EXPECT_EQ(feature_after(model, 0x1522, before), 0x08) << model << " with " << before;
    }
  }
}

TEST_F(HybridModules, TheirOtherPortsKeepTheirs) {
  for (const std::uint32_t device_id : {0x1521U, 0x1523U, 0U, 0x10000U, 0x11522U}) {
    EXPECT_EQ(feature_after("WMX-1658", device_id, 0x04), 0x04) << device_id;
    EXPECT_EQ(feature_after("WMX-6997", device_id, 0x82), 0x82) << device_id;
  }
}

TEST_F(HybridModules, OtherModelsKeepTheirFeature) {
  for (const char* const model : {"WMX-0229/6997", "WMX-1658 ", "WMX-165", "wmx-1658", "WMX-2248", ""}) {
    EXPECT_EQ(feature_after(model, 0x1522, 0x04), 0x04) << model;
  }
}

TEST_F(HybridModules, TheBypassFlagStays) {
  DeviceRecord& port = add_device("eth0", "WMX Slot 1", 9);
  copy_text(port.model, "WMX-6997");
  port.device_id = 0x1522;
  port.bypass_ctrl_flag = 1;
  qorx_handle_hybrid_WMX();
  EXPECT_EQ(port.bypass_ctrl_flag, 1);
}

TEST_F(HybridModules, AnEmptyMachineIsNoError) {
  EXPECT_EQ(qorx_handle_hybrid_WMX(), 0);
}

TEST_F(HybridModules, AFeatureFromThePlatformFileDoesNotStay) {
  FakeMachine machine;
  machine.smbios(test::SmbiosTable().slot("WMX Slot 1", "06:00.0"));
  machine.add_port("eth0", "0000:00:1c.0/0000:06:00.0", {0x8086, 0x1522, 0x13FE, 0x2044});
  machine.add_port("eth1", "0000:00:1c.0/0000:06:00.1", {0x8086, 0x1521, 0x13FE, 0x2044});
  machine.user_file("qorx.cfg",
                    "SLOT_NAME=\"WMX Slot 1\"\n"
                    "FUNCTION/NAME/FEATURE=\"0/a/POE\"\n"
                    "FUNCTION/NAME/FEATURE=\"1/b/POE\"\n");
  const std::string output = machine.run({"-a", "-config", "qorx.cfg", "-F"}).output;
  EXPECT_EQ(row_of(output, "eth0").model, "WMX-1658");
  EXPECT_EQ(row_of(output, "eth0").panel, "a");
  EXPECT_EQ(row_of(output, "eth0").feature, "N/A");
  EXPECT_EQ(row_of(output, "eth1").feature, "POE");
}

}  // namespace
}  // namespace qorx
