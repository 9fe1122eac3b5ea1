#include "config/stages.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>
#include <vector>

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
using test::ToolRun;

using Names = std::vector<std::string>;

Names names_of(const DeviceRecord& port) {
  Names names;
  for (std::size_t k = 0; k < port.module_name_count; ++k) {
    names.emplace_back(port.module_names[k]);
  }
  return names;
}

class ModuleNameFile : public ::testing::Test {
 protected:
  void SetUp() override { test::reset_library(); }

  static DeviceRecord& port(std::string_view model = "WMX-1813/2848/8655", int fun = 0, int smbios_type = 9) {
    DeviceRecord& record = add_device("eth0", "WMX Slot 1", smbios_type);
    copy_text(record.model, model);
    record.fun = static_cast<std::uint8_t>(fun);
    return record;
  }

  // Applies a file with this text; it must be accepted. Returns what was printed.
  std::string apply(const std::string& text) {
    const std::string path = machine_.user_file("wmx_name.cfg", text);
    return test::printed_by([&] { EXPECT_EQ(qorx_check_WMX_name_file(path.c_str()), 0); });
  }

  FakeMachine machine_;
};

TEST_F(ModuleNameFile, ACandidateIsFoundByItsWholeName) {
  DeviceRecord& record = port();
  EXPECT_EQ(apply("WMX-1813 L_BYPASS\n"), "");
  EXPECT_EQ(names_of(record), (Names{"WMX-1813"}));
  EXPECT_EQ(record.feature, 0x04);
  EXPECT_STREQ(record.model, "WMX-1813/2848/8655");
}

TEST_F(ModuleNameFile, ACandidateIsFoundByItsNumberBehindASlash) {
  DeviceRecord& record = port();
  apply("WMX-2848 POE\n");
  EXPECT_EQ(names_of(record), (Names{"WMX-2848"}));
  EXPECT_EQ(record.feature, 0x01);
}

TEST_F(ModuleNameFile, ThePortsOfOtherModulesStay) {
  DeviceRecord& record = port("WMX-4180/9556/6264");
  record.feature = 0x10;
  apply("WMX-2848 POE\nWMX-418 POE\nWMX-5562 POE\n");
  // WMX-418 is part of the first candidate's name.
  EXPECT_EQ(names_of(record), (Names{"WMX-418"}));
  DeviceRecord& other = port("WMX-9605/4840");
  other.feature = 0x10;
  apply("WMX-2848 POE\n");
  EXPECT_EQ(names_of(other), Names{});
  EXPECT_EQ(other.feature, 0x10);
}

TEST_F(ModuleNameFile, EveryWordHasItsCode) {
  const std::vector<std::pair<const char*, int>> words{{"A_BYPASS", 0x02},    {"L_BYPASS", 0x04}, {"POE", 0x01},
                                                       {"NA", 0x08},          {"N/A", 0x08},      {"NCSI", 0x10},
                                                       {"A_BYPASS_I2C", 0x40}};
  for (const auto& [word, code] : words) {
    SCOPED_TRACE(word);
    test::reset_library();
    DeviceRecord& record = port();
    EXPECT_EQ(apply(std::string("WMX-2848 ") + word + "\n"), "");
    EXPECT_EQ(record.feature, code);
    EXPECT_EQ(record.bypass_ctrl_flag, code == 0x02 ? 1 : 0);
  }
}

TEST_F(ModuleNameFile, ABypassMarksTheEvenFunctionsAndLeavesTheOddOnes) {
  const DeviceRecord& even = port("WMX-1813/2848/8655", 2);
  const DeviceRecord& odd = port("WMX-1813/2848/8655", 1);
  DeviceRecord& marked = port("WMX-1813/2848/8655", 3);
  marked.bypass_ctrl_flag = 1;
  apply("WMX-2848 A_BYPASS\n");
  EXPECT_EQ(even.bypass_ctrl_flag, 1);
  EXPECT_EQ(odd.bypass_ctrl_flag, 0);
  EXPECT_EQ(marked.bypass_ctrl_flag, 1);
}

TEST_F(ModuleNameFile, AnotherFeatureLeavesTheBypassMark) {
  DeviceRecord& record = port();
  record.bypass_ctrl_flag = 1;
  apply("WMX-2848 POE\n");
  EXPECT_EQ(record.bypass_ctrl_flag, 1);
}

TEST_F(ModuleNameFile, TwoFittedCandidatesOfOneFeatureKeepIt) {
  DeviceRecord& record = port();
  apply("WMX-1813 A_BYPASS\nWMX-8655 A_BYPASS\n");
  EXPECT_EQ(names_of(record), (Names{"WMX-1813", "WMX-8655"}));
  EXPECT_EQ(record.feature, 0x02);
  EXPECT_EQ(record.bypass_ctrl_flag, 1);
}

TEST_F(ModuleNameFile, TwoFittedCandidatesThatDisagreeLeaveNoFeature) {
  DeviceRecord& record = port();
  apply("WMX-1813 A_BYPASS\nWMX-8655 L_BYPASS\n");
  EXPECT_EQ(names_of(record), (Names{"WMX-1813", "WMX-8655"}));
  EXPECT_EQ(record.feature, 0);
  EXPECT_EQ(record.bypass_ctrl_flag, 0);
}

TEST_F(ModuleNameFile, AfterADisagreementNoLaterLineBringsAFeature) {
  DeviceRecord& record = port();
  apply("WMX-1813 A_BYPASS\nWMX-8655 L_BYPASS\nWMX-2848 A_BYPASS\n");
  EXPECT_EQ(names_of(record), (Names{"WMX-1813", "WMX-8655", "WMX-2848"}));
  EXPECT_EQ(record.feature, 0);
  EXPECT_EQ(record.bypass_ctrl_flag, 0);
}

TEST_F(ModuleNameFile, TheSameModelTwiceIsRecordedOnce) {
  DeviceRecord& record = port();
  apply("WMX-2848 POE\nWMX-2848 POE\n");
  EXPECT_EQ(names_of(record), (Names{"WMX-2848"}));
  EXPECT_EQ(record.feature, 0x01);
}

TEST_F(ModuleNameFile, TheSameModelMayDisagreeWithItself) {
  DeviceRecord& record = port();
  apply("WMX-2848 POE\nWMX-2848 NA\n");
  EXPECT_EQ(names_of(record), (Names{"WMX-2848"}));
  EXPECT_EQ(record.feature, 0);
}

TEST_F(ModuleNameFile, AFourthCandidateIsDropped) {
  DeviceRecord& record = port("WMX-0001/0002/0003/0004");
  apply("WMX-0001 POE\nWMX-0002 POE\nWMX-0003 POE\nWMX-0004 POE\n");
  EXPECT_EQ(names_of(record), (Names{"WMX-0001", "WMX-0002", "WMX-0003"}));
  EXPECT_EQ(record.feature, 0x01);
  EXPECT_STREQ(record.usb, "");
}

TEST_F(ModuleNameFile, AFourthCandidateThatDisagreesLeavesNoFeature) {
  DeviceRecord& record = port("WMX-0001/0002/0003/0004");
  apply("WMX-0001 POE\nWMX-0002 POE\nWMX-0003 POE\nWMX-0004 NA\n");
  EXPECT_EQ(names_of(record), (Names{"WMX-0001", "WMX-0002", "WMX-0003"}));
  EXPECT_EQ(record.feature, 0);
}

TEST_F(ModuleNameFile, ASingleNameIsNeverChanged) {
  DeviceRecord& record = port("WMX-2248");
  record.feature = 0x08;
  apply("WMX-2248 A_BYPASS\n");
  EXPECT_EQ(names_of(record), Names{});
  EXPECT_EQ(record.feature, 0x08);
}

TEST_F(ModuleNameFile, AModelOfNineCharactersCountsAsAList) {
  DeviceRecord& record = port("TOBR-9284");
  apply("TOBR-9284 NA\n");
  EXPECT_EQ(names_of(record), (Names{"TOBR-9284"}));
  EXPECT_EQ(record.feature, 0x08);
}

TEST_F(ModuleNameFile, OnlyPortsInSystemSlotsAreLookedAt) {
  for (const int type : {0, 41}) {
    DeviceRecord& record = port("WMX-1813/2848/8655", 0, type);
    apply("WMX-2848 POE\n");
    EXPECT_EQ(names_of(record), Names{}) << type;
    EXPECT_EQ(record.feature, 0) << type;
  }
}

TEST_F(ModuleNameFile, AnotherFamilyIsAlsoFoundByTheLastNumberBeforeIt) {
  DeviceRecord& record = port();
  DeviceRecord& other = port("WMX-9605/4840");
  apply("WMX-4840 POE\nWMX-2848 POE\nPCIE-6922 POE\n");
  EXPECT_EQ(names_of(record), (Names{"WMX-2848", "PCIE-6922"}));
  EXPECT_EQ(names_of(other), (Names{"WMX-4840"}));
}

TEST_F(ModuleNameFile, AnotherFamilyBeforeAnyNumberIsFoundByItsNameOnly) {
  DeviceRecord& record = port("TOBR-4180/WMX-1280/9243");
  apply("PCIE-6922 NCSI\nTOBR-4180 POE\n");
  EXPECT_EQ(names_of(record), (Names{"TOBR-4180"}));
  EXPECT_EQ(record.feature, 0x01);
}

TEST_F(ModuleNameFile, FourCharactersOfTheNumberCountAtMost) {
  DeviceRecord& record = port("WMX-0229/1912");
  apply("WMX-1912GD POE\n");
  EXPECT_EQ(names_of(record), (Names{"WMX-1912GD"}));
  DeviceRecord& other = port("WMX-0229/6997");
  apply("WMX-69 POE\nwmx-0229 POE\n");
  // The short form of the first line still counts for the second, which is of no known family.
  EXPECT_EQ(names_of(other), (Names{"WMX-69", "wmx-0229"}));
}

// The first candidate's number belongs to another family; in the other list it has no slash at all.
TEST_F(ModuleNameFile, ANumberWithoutItsSlashIsNoCandidate) {
  DeviceRecord& record = port("TOBR-2848/9284");
  DeviceRecord& other = port("WMX-1813-2848");
  apply("WMX-2848 POE\n");
  EXPECT_EQ(names_of(record), Names{});
  EXPECT_EQ(names_of(other), Names{});
}

TEST_F(ModuleNameFile, TheTableShowsTheConfirmedModulesOnly) {
  machine_.smbios(test::SmbiosTable().slot("WMX Slot 1", "06:00.0"));
  for (int i = 0; i < 4; ++i) {
    machine_.add_port("eth" + std::to_string(i), "0000:00:1c.0/0000:06:00." + std::to_string(i));
  }
  machine_.user_file("one.cfg", "# modules fitted in this appliance\nWMX-2848 A_BYPASS\nWMX-9582 NA\n");
  const ToolRun one = machine_.run({"-a", "-legacy", "-sys_WMX_cfg", "one.cfg"});
  EXPECT_EQ(one.status, 0);
  EXPECT_EQ(row_of(one.output, "eth0").model, "WMX-2848");
  EXPECT_EQ(row_of(one.output, "eth0").feature, "A_BYPASS-C");
  EXPECT_EQ(row_of(one.output, "eth1").feature, "A_BYPASS");

  machine_.user_file("two.cfg", "WMX-1813 A_BYPASS\nWMX-8655 NA");
  const ToolRun two = machine_.run({"-a", "-legacy", "-sys_WMX_cfg", "two.cfg"});
  EXPECT_EQ(two.status, 0);
  EXPECT_EQ(row_of(two.output, "eth0").model, "WMX-1813/8655");
  EXPECT_EQ(row_of(two.output, "eth0").feature, "unknown");
}

}  // namespace
}  // namespace qorx
