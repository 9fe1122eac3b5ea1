#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "base/bounded_text.h"
#include "config/stages.h"
#include "records/state.h"
#include "tests/support/result_rows.h"
#include "tests/support/user_files.h"

namespace qorx::test {
namespace {

DeviceRecord& port(std::string_view model, int fun = 0, int smbios_type = 9, int feature = 0) {
  DeviceRecord& record = add_device("eth0", "WMX Slot 1", smbios_type);
  copy_text(record.model, model);
  record.fun = static_cast<std::uint8_t>(fun);
  record.feature = static_cast<std::uint8_t>(feature);
  return record;
}

constexpr std::string_view kCandidates = "WMX-1813/2848/8655";
constexpr std::string_view kFour = "WMX-0001/0002/0003/0004";
const std::string kThreeOfFour = "WMX-0001 POE\nWMX-0002 POE\nWMX-0003 POE\n";

// A port with a model, which had 1PPS before, and what a file makes of it.
struct Applied {
  std::string_view rule;
  std::string_view model;
  std::string text;
  Texts module_names;
  int feature;
  int bypass_ctrl_flag = 0;
};

class ModuleNameFile : public RowTest<Applied, UserFileTest> {};

TEST_P(ModuleNameFile, ConfirmsCandidates) {
  const DeviceRecord& record = port(row().model, 0, 9, 0x20);
  apply(kModuleNames, row().text);
  expect_port(record, {.model = row().model,
                       .feature = row().feature,
                       .bypass_ctrl_flag = row().bypass_ctrl_flag,
                       .usb = "",
                       .module_names = row().module_names});
}

QORX_ROWS(
    ModuleNameFile, {"by the whole name", kCandidates, "WMX-1813 L_BYPASS\n", {"WMX-1813"}, 0x04},
    {"by the number behind a slash", kCandidates, "WMX-2848 POE\n", {"WMX-2848"}, 0x01},
    {"of other modules not", "WMX-9605/4840", "WMX-2848 POE\nWMX-5562 POE\n", {}, 0x20},
    {"but not by a number of another family", "TOBR-2848/9284", "WMX-2848 POE\n", {}, 0x20},
    {"but not by a number without its slash", "WMX-1813-2848", "WMX-2848 POE\n", {}, 0x20},
    {"by a part of the first name", "WMX-4180/9556/6264", "WMX-418 POE\n", {"WMX-418"}, 0x01},
    {"with A_BYPASS", kCandidates, "WMX-2848 A_BYPASS\n", {"WMX-2848"}, 0x02, 1},
    {"with L_BYPASS", kCandidates, "WMX-2848 L_BYPASS\n", {"WMX-2848"}, 0x04},
    {"with NA", kCandidates, "WMX-2848 NA\n", {"WMX-2848"}, 0x08},
    {"with N/A with a slash", kCandidates, "WMX-2848 N/A\n", {"WMX-2848"}, 0x08},
    {"with NCSI", kCandidates, "WMX-2848 NCSI\n", {"WMX-2848"}, 0x10},
    {"with A_BYPASS_I2C", kCandidates, "WMX-2848 A_BYPASS_I2C\n", {"WMX-2848"}, 0x40},
    {"of one feature and keeps it",
     kCandidates,
     "WMX-1813 A_BYPASS\nWMX-8655 A_BYPASS\n",
     {"WMX-1813", "WMX-8655"},
     0x02,
     1},
    {"that disagree without a feature",
     kCandidates,
     "WMX-1813 A_BYPASS\nWMX-8655 L_BYPASS\n",
     {"WMX-1813", "WMX-8655"},
     0},
    {"after a disagreement without a feature",
     kCandidates,
     "WMX-1813 A_BYPASS\nWMX-8655 L_BYPASS\nWMX-2848 A_BYPASS\n",
     {"WMX-1813", "WMX-8655", "WMX-2848"},
     0},
    {"of the same name once", kCandidates, "WMX-2848 POE\nWMX-2848 POE\n", {"WMX-2848"}, 0x01},
    {"of the same name that disagree with themselves", kCandidates, "WMX-2848 POE\nWMX-2848 NA\n", {"WMX-2848"}, 0},
    {"but drops a fourth", kFour, kThreeOfFour + "WMX-0004 POE\n", {"WMX-0001", "WMX-0002", "WMX-0003"}, 0x01},
    {"and a dropped fourth that disagrees leaves no feature",
     kFour,
     kThreeOfFour + "WMX-0004 NA\n",
     {"WMX-0001", "WMX-0002", "WMX-0003"},
     0},
    {"but never a single name", "WMX-2248", "WMX-2248 A_BYPASS\n", {}, 0x20},
    {"of a model of nine characters which counts as a list", "TOBR-9284", "TOBR-9284 NA\n", {"TOBR-9284"}, 0x08},
    {"of another family by the last number before it too",
     kCandidates,
     "WMX-4840 POE\nWMX-2848 POE\nPCIE-6922 POE\n",
     {"WMX-2848", "PCIE-6922"},
     0x01},
    {"where another family stands behind another number by that",
     "WMX-9605/4840",
     "WMX-4840 POE\nWMX-2848 POE\nPCIE-6922 POE\n",
     {"WMX-4840"},
     0x01},
    {"of another family before any number by its name only",
     "TOBR-4180/WMX-1280/9243",
     "PCIE-6922 NCSI\nTOBR-4180 POE\n",
     {"TOBR-4180"},
     0x01},
    {"by four characters of the number at most", "WMX-0229/1912", "WMX-1912GD POE\n", {"WMX-1912GD"}, 0x01},
    // The short form of the first line still counts for the second, which is of no known family.
    {"by two characters of the number where it has two",
     "WMX-0229/6997",
     "WMX-69 POE\nwmx-0229 POE\n",
     {"WMX-69", "wmx-0229"},
     0x01});

class ModuleNameMarks : public UserFileTest {};

TEST_F(ModuleNameMarks, ABypassMarksTheEvenFunctionsAndLeavesTheOddOnes) {
  const DeviceRecord& even = port(kCandidates, 2);
  const DeviceRecord& odd = port(kCandidates, 1);
  DeviceRecord& marked = port(kCandidates, 3);
  marked.bypass_ctrl_flag = 1;
  apply(kModuleNames, "WMX-2848 A_BYPASS\n");
  expect_port(even, {.bypass_ctrl_flag = 1});
  expect_port(odd, {.bypass_ctrl_flag = 0});
  expect_port(marked, {.bypass_ctrl_flag = 1});
}

TEST_F(ModuleNameMarks, AnotherFeatureLeavesTheBypassMark) {
  DeviceRecord& record = port(kCandidates);
  record.bypass_ctrl_flag = 1;
  apply(kModuleNames, "WMX-2848 POE\n");
  expect_port(record, {.bypass_ctrl_flag = 1});
}

TEST_F(ModuleNameMarks, OnlyPortsInSystemSlotsAreLookedAt) {
  for (const int type : {0, 41}) {
    const DeviceRecord& record = port(kCandidates, 0, type);
    apply(kModuleNames, "WMX-2848 POE\n");
    expect_port(record, {.feature = 0, .module_names = Texts{}});
  }
}

TEST_F(ModuleNameMarks, TheTableShowsTheConfirmedModulesOnly) {
  machine_.smbios(SmbiosTable().slot("WMX Slot 1", "06:00.0"));
  for (int i = 0; i < 4; ++i) {
    machine_.add_port("eth" + std::to_string(i), "0000:00:1c.0/0000:06:00." + std::to_string(i));
  }
  const std::string one =
      run_on(kModuleNames, "# modules fitted in this appliance\nWMX-2848 A_BYPASS\nWMX-9582 NA\n").output;
  EXPECT_EQ(row_of(one, "eth0").model, "WMX-2848");
  EXPECT_EQ(row_of(one, "eth0").feature, "A_BYPASS-C");
  EXPECT_EQ(row_of(one, "eth1").feature, "A_BYPASS");
  const ToolRun two = run_on(kModuleNames, "WMX-1813 A_BYPASS\nWMX-8655 NA");
  EXPECT_EQ(two.status, 0);
  EXPECT_EQ(row_of(two.output, "eth0").model, "WMX-1813/8655");
  EXPECT_EQ(row_of(two.output, "eth0").feature, "unknown");
}

}  // namespace
}  // namespace qorx::test
