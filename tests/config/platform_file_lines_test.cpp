// How the platform file is cut into lines and blocks; its second pass shows the effect.
#include <gtest/gtest.h>

#include <string>

#include "base/messages.h"
#include "records/state.h"
#include "tests/config/platform_text.h"

namespace qorx::test {
namespace {

const std::string kSlotLine = slot_line("LAN1");
const std::string kFeatureLine = feature_line("0/P/POE");

// A file whose block for LAN1 gives port 0 POE and, unless another is said, the name "P".
struct Lines {
  std::string_view rule;
  std::string text;
  std::string panel_name = "P";
};

class PlatformFileLines : public RowTest<Lines, UserFileTest> {
 protected:
  DeviceRecord& port_ = add_device("eth0", "LAN1", 9);
};

TEST_P(PlatformFileLines, NameThePort) {
  apply(kFeaturePass, row().text);
  expect_port(port_, {.panel_name = row().panel_name, .feature = 0x01});
}

// A name of so many characters, of which 255 fit.
Lines named_by(std::string_view rule, std::size_t length) {
  const std::string name(length, 'p');
  return {rule, kSlotLine + feature_line("0/" + name + "/POE"), name.substr(0, 255)};
}

// The bytes of a feature line around its panel name, without the line feed.
const std::size_t kAroundName = feature_line("0//POE").size() - 1;

QORX_ROWS(
    PlatformFileLines,
    {"comments may stand anywhere", "#\n" + kSlotLine + "# " + feature_line("0/Q/POE") + kFeatureLine + "#"},
    {"blank lines may stand anywhere",
     "\n \t\n  # SLOT_NAME=\"x\"\n" + kSlotLine + "\n\n \t#\n" + kFeatureLine + "\n\n# end\n\n"},
    {"a last comment needs no line feed", kSlotLine + kFeatureLine + "# no line feed"},
    {"a blank line with carriage return is skipped before the first block",
     "\r\n # c\r\n \t \r\n" + kSlotLine + kFeatureLine},
    {"leading and trailing blanks and carriage returns do not matter",
     "\t SLOT_NAME=\"LAN1\" \t\r\n  \tFUNCTION/NAME/FEATURE=\"0/P/POE\"\t \r\n# c\r\n"},
    {"the last line of a block needs no line feed", kSlotLine + "FUNCTION/NAME/FEATURE=\"0/P/POE\""},
    {"the last line of a block may end with a carriage return", kSlotLine + "FUNCTION/NAME/FEATURE=\"0/P/POE\" \r"},
    {"an unterminated last line without a key ends the file in peace", kSlotLine + kFeatureLine + "nonsense"},
    {"an unterminated last slot name ends the file in peace", kSlotLine + kFeatureLine + "SLOT_NAME=\"LAN2\""},
    {"a block may be empty and the next slot name ends it",
     slot_line("LAN2") + slot_line("LAN3") + kSlotLine + kFeatureLine + slot_line("LAN4")},
    {"a nul byte ends its line", kSlotLine + std::string("#\0SLOT_NAME\n", 12) + kFeatureLine},
    named_by("panel names of 254 characters are whole", 254), named_by("panel names of 255 characters are whole", 255),
    named_by("panel names of 256 characters are cut", 256), named_by("panel names of 900 characters are cut", 900),
    named_by("a key line and its line feed may fill the buffer", 1022 - kAroundName),
    named_by("a key line may fill the buffer", 1023 - kAroundName));

using PlatformLines = UserFileTest;

TEST_F(PlatformLines, ASlotNameAloneIsAFile) {
  apply(kFeaturePass, kSlotLine);
}

TEST_F(PlatformLines, SlotNamesAreCutTo255Characters) {
  DeviceRecord& port = add_device("eth1", std::string(255, 's'), 9);
  for (const std::size_t length : {255U, 256U, 900U}) {
    SCOPED_TRACE(length);
    port.panel_name[0] = '\0';
    apply(kFeaturePass, slot_line(std::string(length, 's')) + kFeatureLine);
    expect_port(port, {.panel_name = "P"});
  }
}

TEST_F(PlatformLines, DebugMessagesFollowTheReading) {
  g_debug_message_open = 1;
  EXPECT_EQ(read(kFeaturePass, " # c\n" + kSlotLine + "\t" + kFeatureLine + "\nx").printed,
            head_traces(" # c\n") + tail_traces("# c\n") + head_traces(kSlotLine) + tail_traces(kSlotLine) +
                tail_traces("SLOT_NAME=\"LAN1\"") + "LAN1\n" + block_line_traces("\t" + kFeatureLine) +
                "Splitting string \"0/P/POE\" into tokens:\n" + head_traces("\n") + block_line_traces("x"));
}

TEST_F(PlatformLines, DebugMessagesShowABusOrderValueAndARenameLine) {
  g_debug_message_open = 1;
  const std::string traces = read(kFeaturePass, kSlotLine + order_line("0/P/L") + rename_line("N")).printed;
  ASSERT_NE(traces.find("\nLAN1\n"), std::string::npos);
  EXPECT_EQ(traces.substr(traces.find("\nLAN1\n") + 6), block_line_traces(order_line("0/P/L")) +
                                                            "Splitting string \"0/P/L\" into tokens:\n" +
                                                            block_line_traces(rename_line("N")));
}

}  // namespace
}  // namespace qorx::test
