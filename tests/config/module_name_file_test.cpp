#include <gtest/gtest.h>

#include <string>

#include "base/bounded_text.h"
#include "base/messages.h"
#include "records/state.h"
#include "tests/support/result_rows.h"
#include "tests/support/user_files.h"

namespace qorx::test {
namespace {

constexpr std::string_view kCandidates = "WMX-1813/2848/8655";
constexpr std::string_view kFour = "WMX-0001/0002/0003/0004";
const Texts kThree{"WMX-0001", "WMX-0002", "WMX-0003"};
const std::string kThreeLines = "WMX-0001 POE\nWMX-0002 POE\nWMX-0003 POE\n";

// Files for ports whose models are lists of candidates.
class ModuleNames : public UserFileTest {
 protected:
  static DeviceRecord& port(std::string_view model = kCandidates, int fun = 0, int smbios_type = 9, int feature = 0) {
    DeviceRecord& record = add_device("eth0", "WMX Slot 1", smbios_type);
    copy_text(record.model, model);
    record.fun = static_cast<std::uint8_t>(fun);
    record.feature = static_cast<std::uint8_t>(feature);
    return record;
  }
};

// What a file makes of a port that had 1PPS before.
struct Applied {
  std::string_view rule;
  std::string text;
  Texts module_names;
  int feature;
  int bypass_ctrl_flag = 0;
  std::string_view model = kCandidates;
};

class ModuleNameFile : public RowTest<Applied, ModuleNames> {};

TEST_P(ModuleNameFile, ConfirmsCandidates) {
  const DeviceRecord& record = port(row().model, 0, 9, 0x20);
  apply(kModuleNames, row().text);
  expect_port(record, {.model = row().model,
                       .feature = row().feature,
                       .bypass_ctrl_flag = row().bypass_ctrl_flag,
                       .usb = "",
                       .module_names = row().module_names});
}

Applied of_model(std::string_view model, Applied row) {
  row.model = model;
  return row;
}

QORX_ROWS(
    ModuleNameFile, {"by the whole name", "WMX-1813 L_BYPASS\n", {"WMX-1813"}, 0x04},
    {"by the number behind a slash", "WMX-2848 POE\n", {"WMX-2848"}, 0x01},
    of_model("WMX-9605/4840", {"of other modules not", "WMX-2848 POE\nWMX-5562 POE\n", {}, 0x20}),
    of_model("TOBR-2848/9284", {"but not by a number of another family", "WMX-2848 POE\n", {}, 0x20}),
    of_model("WMX-1813-2848", {"but not by a number without its slash", "WMX-2848 POE\n", {}, 0x20}),
    of_model("WMX-4180/9556/6264", {"by a part of the first name", "WMX-418 POE\n", {"WMX-418"}, 0x01}),
    {"with A_BYPASS", "WMX-2848 A_BYPASS\n", {"WMX-2848"}, 0x02, 1},
    {"with L_BYPASS", "WMX-2848 L_BYPASS\n", {"WMX-2848"}, 0x04}, {"with NA", "WMX-2848 NA\n", {"WMX-2848"}, 0x08},
    {"with N/A with a slash", "WMX-2848 N/A\n", {"WMX-2848"}, 0x08},
    {"with NCSI", "WMX-2848 NCSI\n", {"WMX-2848"}, 0x10},
    {"with A_BYPASS_I2C", "WMX-2848 A_BYPASS_I2C\n", {"WMX-2848"}, 0x40},
    {"of one feature and keeps it", "WMX-1813 A_BYPASS\nWMX-8655 A_BYPASS\n", Texts{"WMX-1813", "WMX-8655"}, 0x02, 1},
    {"that disagree without a feature", "WMX-1813 A_BYPASS\nWMX-8655 L_BYPASS\n", Texts{"WMX-1813", "WMX-8655"}, 0},
    {"after a disagreement without a feature", "WMX-1813 A_BYPASS\nWMX-8655 L_BYPASS\nWMX-2848 A_BYPASS\n",
     Texts{"WMX-1813", "WMX-8655", "WMX-2848"}, 0},
    {"of the same name once", "WMX-2848 POE\nWMX-2848 POE\n", {"WMX-2848"}, 0x01},
    {"of the same name that disagree with themselves", "WMX-2848 POE\nWMX-2848 NA\n", {"WMX-2848"}, 0},
    of_model(kFour, {"but drops a fourth", kThreeLines + "WMX-0004 POE\n", kThree, 0x01}),
    of_model(kFour,
             {"and a dropped fourth that disagrees leaves no feature", kThreeLines + "WMX-0004 NA\n", kThree, 0}),
    of_model("WMX-2248", {"but never a single name", "WMX-2248 A_BYPASS\n", {}, 0x20}),
    of_model("TOBR-9284",
             {"of a model of nine characters which counts as a list", "TOBR-9284 NA\n", {"TOBR-9284"}, 0x08}),
    {"of another family by the last number before it too", "WMX-4840 POE\nWMX-2848 POE\nPCIE-6922 POE\n",
     Texts{"WMX-2848", "PCIE-6922"}, 0x01},
    of_model("WMX-9605/4840", {"where another family stands behind another number by that",
                               "WMX-4840 POE\nWMX-2848 POE\nPCIE-6922 POE\n", Texts{"WMX-4840"}, 0x01}),
    of_model("TOBR-4180/WMX-1280/9243", {"of another family before any number by its name only",
                                         "PCIE-6922 NCSI\nTOBR-4180 POE\n", Texts{"TOBR-4180"}, 0x01}),
    of_model("WMX-0229/1912", {"by four characters of the number at most", "WMX-1912GD POE\n", {"WMX-1912GD"}, 0x01}),
    // The short form of the first line still counts for the second, which is of no known family.
    of_model("WMX-0229/6997", {"by two characters of the number where it has two", "WMX-69 POE\nwmx-0229 POE\n",
                               Texts{"WMX-69", "wmx-0229"}, 0x01}));

TEST_F(ModuleNames, ABypassMarksTheEvenFunctionsAndLeavesTheOddOnes) {
  const DeviceRecord& even = port(kCandidates, 2);
  const DeviceRecord& odd = port(kCandidates, 1);
  DeviceRecord& marked = port(kCandidates, 3);
  marked.bypass_ctrl_flag = 1;
  apply(kModuleNames, "WMX-2848 A_BYPASS\n");
  expect_port(even, {.bypass_ctrl_flag = 1});
  expect_port(odd, {.bypass_ctrl_flag = 0});
  expect_port(marked, {.bypass_ctrl_flag = 1});
}

TEST_F(ModuleNames, AnotherFeatureLeavesTheBypassMark) {
  DeviceRecord& record = port();
  record.bypass_ctrl_flag = 1;
  apply(kModuleNames, "WMX-2848 POE\n");
  expect_port(record, {.bypass_ctrl_flag = 1});
}

TEST_F(ModuleNames, OnlyPortsInSystemSlotsAreLookedAt) {
  for (const int type : {0, 41}) {
    const DeviceRecord& record = port(kCandidates, 0, type);
    apply(kModuleNames, "WMX-2848 POE\n");
    expect_port(record, {.feature = 0, .module_names = Texts{}});
  }
}

TEST_F(ModuleNames, TheTableShowsTheConfirmedModulesOnly) {
  machine_.smbios(SmbiosTable().slot("WMX Slot 1", "06:00.0"));
  for (int i = 0; i < 4; ++i) {
    machine_.add_port("eth" + std::to_string(i), "0000:00:1c.0/0000:06:00." + std::to_string(i));
  }
  const std::string one =
      run_on(kModuleNames, "# modules fitted in this appliance\nWMX-2848 A_BYPASS\nWMX-9582 NA\n").output;
  EXPECT_EQ(row_of(one, "eth0"), "WMX Slot 1 | 1 (*) | A_BYPASS-C | WMX-2848");
  EXPECT_EQ(row_of(one, "eth1"), "WMX Slot 1 | 2 (*) | A_BYPASS | WMX-2848");
  const ToolRun two = run_on(kModuleNames, "WMX-1813 A_BYPASS\nWMX-8655 NA");
  EXPECT_EQ(two.status, 0);
  EXPECT_EQ(row_of(two.output, "eth0"), "WMX Slot 1 | 1 (*) | unknown | WMX-1813/8655");
}

TEST_F(ModuleNames, AFileWithoutAMatchIsNoError) {
  EXPECT_EQ(run_on(kModuleNames, "WMX-2848 POE\n").status, 0);
}

TEST_F(ModuleNames, LongNamesAreCutTo255CharactersAndRecordedOnce) {
  // Found by the number of the line before it, as it is of another family.
  for (const std::size_t length : {255U, 256U, 900U}) {
    SCOPED_TRACE(length);
    const std::string line = std::string(length, 'n') + " POE\n";
    const DeviceRecord& record = port();
    apply(kModuleNames, "WMX-2848 POE\n" + line + line);
    expect_port(record, {.module_names = Texts{"WMX-2848", std::string(255, 'n')}});
  }
}

TEST_F(ModuleNames, ChangesBeforeAnErrorStay) {
  const DeviceRecord& record = port();
  EXPECT_EQ(read(kModuleNames, "WMX-2848 POE\nWMX-8655 x\nWMX-1813 POE\n"),
            (Outcome{"Not supported feature for WMX in F line 2\n", 0x81}));
  expect_port(record, {.feature = 0x01, .module_names = Texts{"WMX-2848"}});
}

TEST_F(ModuleNames, DebugMessagesShowEveryDataLine) {
  port();
  g_debug_message_open = 1;
  EXPECT_EQ(read(kModuleNames, "# c\n\n WMX-2848  POE\n").printed,
            head_traces("# c\n") + tail_traces("# c\n") + head_traces("\n") + tail_traces("\n") +
                head_traces(" WMX-2848  POE\n") + tail_traces("WMX-2848  POE\n") + "WMX-2848  POE\n");
}

// A line of this many bytes with its line feed.
std::string line_of(std::size_t bytes, const std::string& head, char filler) {
  return head + std::string(bytes - head.size() - 1, filler) + "\n";
}

struct Accepted {
  std::string_view rule;
  std::string text;
};

class ModuleNameLines : public RowTest<Accepted, ModuleNames> {};

TEST_P(ModuleNameLines, ConfirmWmx2848WithPoe) {
  const DeviceRecord& record = port();
  apply(kModuleNames, row().text);
  expect_port(record, {.feature = 0x01, .module_names = Texts{"WMX-2848"}});
}

QORX_ROWS(ModuleNameLines,
          {"blanks tabs and carriage returns around a line do not matter",
           "# c\r\n\r\n \t# c\n \tWMX-2848 POE \t\r\n\t\n#"},
          {"runs of blanks count as one and further fields are ignored",
           "WMX-2848    POE   A_BYPASS # fitted by hand\n"},
          {"the last line needs no line feed", "WMX-2848 POE"},
          {"a line of 1023 bytes is one line", line_of(1023, "WMX-2848 POE ", 'x')},
          {"a line of 1024 bytes may end with blanks", line_of(1024, "WMX-2848 POE", ' ')},
          {"a line of 1024 bytes loses only its line feed", line_of(1024, "WMX-2848 POE ", 'x')});

constexpr const char* kNoFeature = "can't find feature for WMX in F file line #";
constexpr const char* kUnknownFeature = "Not supported feature for WMX in F line #";

using ModuleNameErrors = WrongFileTest;

TEST_P(ModuleNameErrors, AreRefused) {
  expect_refused(kModuleNames, row());
  expect_command_refused(kModuleNames, row());
}

QORX_ROWS(ModuleNameErrors,
          {"a file without data has no name", kModuleNames.no_data,
           Files{{""}, {"\n"}, {"# only\n# comments"}, {" \t\r\n#\n"}}},
          {"a data line needs a feature", kNoFeature,
           Files{{"WMX-2848\n", 1}, {"# c\n\nWMX-2848   \n", 3}, {"WMX-2848 POE\nWMX-8655", 2}}},
          {"a tab parts no fields", kNoFeature, at_line(1, "WMX-2848\tPOE\n")},
          {"a tab is part of a feature", kUnknownFeature, {{"WMX-2848 \tPOE\n", 1}, {"WMX-2848 POE\tPOE\n", 1}}},
          {"other words are no features", kUnknownFeature,
           variants(2, "# c\nWMX-2848 ", {"A_BYPASS-C", "1PPS", "NCSI/1PPS", "poe", "na", "unknown", "#", "POE,"})},
          {"the line feed of a line of 1024 bytes is a blank line", kNoFeature,
           at_line(3, line_of(1024, "#", 'x') + "WMX-2848\n")},
          {"the pieces of a line of 3000 bytes are lines of their own", kNoFeature,
           at_line(2, line_of(3000, "#", 'x') + "WMX-2848 POE\n")},
          {"a name of 2000 bytes has no feature", kNoFeature, at_line(1, "WMX-" + std::string(1996, 'n') + " POE\n")});

}  // namespace
}  // namespace qorx::test
