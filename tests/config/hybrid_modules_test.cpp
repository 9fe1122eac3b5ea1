#include <gtest/gtest.h>

#include <string>

#include "base/bounded_text.h"
#include "config/stages.h"
#include "records/state.h"
#include "tests/support/result_rows.h"
#include "tests/support/user_files.h"

namespace qorx::test {
namespace {

class HybridModules : public UserFileTest {
 protected:
  // A port that had the feature `before`, which the stage leaves with `after`.
  static void expect_feature(const char* model, std::uint32_t device_id, int before, int after) {
    SCOPED_TRACE(testing::Message() << model << " with " << before << " on " << device_id);
    DeviceRecord& port = add_device("eth0", "WMX Slot 1", 9);
    copy_text(port.model, model);
    port.device_id = device_id;
    port.feature = static_cast<std::uint8_t>(before);
    port.bypass_ctrl_flag = 1;
    EXPECT_EQ(qorx_handle_hybrid_WMX(), 0);
    expect_port(port, {.feature = after, .bypass_ctrl_flag = 1});
  }
};

TEST_F(HybridModules, TheFibrePortsOfBothModulesHaveNoFeature) {
  for (const char* const model : {"WMX-1658", "WMX-6997"}) {
    for (const int before : {0x00, 0x01, 0x02, 0x04, 0x08, 0x30, 0x84}) {
      expect_feature(model, 0x1522, before, 0x08);
    }
  }
}

TEST_F(HybridModules, TheirOtherPortsKeepTheirs) {
  for (const std::uint32_t device_id : {0x1521U, 0x1523U, 0U, 0x10000U, 0x11522U}) {
    expect_feature("WMX-1658", device_id, 0x04, 0x04);
    expect_feature("WMX-6997", device_id, 0x82, 0x82);
  }
}

TEST_F(HybridModules, OtherModelsKeepTheirFeature) {
  for (const char* const model : {"WMX-0229/6997", "WMX-1658 ", "WMX-165", "wmx-1658", "WMX-2248", ""}) {
    expect_feature(model, 0x1522, 0x04, 0x04);
  }
}

TEST_F(HybridModules, AnEmptyMachineIsNoError) {
  EXPECT_EQ(qorx_handle_hybrid_WMX(), 0);
}

TEST_F(HybridModules, AFeatureFromThePlatformFileDoesNotStay) {
  machine_.smbios(SmbiosTable().slot("WMX Slot 1", "06:00.0"));
  machine_.add_port("eth0", "0000:00:1c.0/0000:06:00.0", {0x8086, 0x1522, 0x13FE, 0x2044});
  machine_.add_port("eth1", "0000:00:1c.0/0000:06:00.1", {0x8086, 0x1521, 0x13FE, 0x2044});
  const std::string text =
      "SLOT_NAME=\"WMX Slot 1\"\nFUNCTION/NAME/FEATURE=\"0/a/POE\"\nFUNCTION/NAME/FEATURE=\"1/b/POE\"\n";
  const std::string output = run_on(kFeaturePass, text, {"-F"}).output;
  EXPECT_EQ(row_of(output, "eth0"), "WMX Slot 1 | a | N/A | WMX-1658");
  EXPECT_EQ(row_of(output, "eth1"), "WMX Slot 1 | b | POE | WMX-1658");
}

}  // namespace
}  // namespace qorx::test
