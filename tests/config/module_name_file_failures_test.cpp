// The lines of the module name file, and what is wrong with some.
#include <gtest/gtest.h>

#include <string>

#include "base/bounded_text.h"
#include "base/messages.h"
#include "records/state.h"
#include "tests/support/user_files.h"

namespace qorx::test {
namespace {

constexpr const char* kNoFeature = "can't find feature for WMX in F file line #";
constexpr const char* kUnknownFeature = "Not supported feature for WMX in F line #";

// A line of this many bytes with its line feed.
std::string line_of(std::size_t bytes, const std::string& head, char filler) {
  return head + std::string(bytes - head.size() - 1, filler) + "\n";
}

using ModuleNameErrors = WrongFileTest;

TEST_P(ModuleNameErrors, AreRefused) {
  expect_refused(kModuleNames, row());
  expect_command_refused(kModuleNames, row());
}

QORX_ROWS(ModuleNameErrors,
          {"a file without data has no name",
           kModuleNames.no_data,
           {{""}, {"\n"}, {"# only\n# comments"}, {" \t\r\n#\n"}}},
          {"a data line needs a feature",
           kNoFeature,
           {{"WMX-2848\n", 1}, {"# c\n\nWMX-2848   \n", 3}, {"WMX-2848 POE\nWMX-8655", 2}}},
          {"a tab parts no fields", kNoFeature, at_line(1, "WMX-2848\tPOE\n")},
          {"a tab is part of a feature", kUnknownFeature, {{"WMX-2848 \tPOE\n", 1}, {"WMX-2848 POE\tPOE\n", 1}}},
          {"other words are no features", kUnknownFeature,
           variants(2, "# c\nWMX-2848 ", {"A_BYPASS-C", "1PPS", "NCSI/1PPS", "poe", "na", "unknown", "#", "POE,"})},
          {"the line feed of a line of 1024 bytes is a blank line", kNoFeature,
           at_line(3, line_of(1024, "#", 'x') + "WMX-2848\n")},
          {"the pieces of a line of 3000 bytes are lines of their own", kNoFeature,
           at_line(2, line_of(3000, "#", 'x') + "WMX-2848 POE\n")},
          {"a name of 2000 bytes has no feature", kNoFeature, at_line(1, "WMX-" + std::string(1996, 'n') + " POE\n")});

struct Accepted {
  std::string_view rule;
  std::string text;
};

// A port whose candidates are confirmed.
class ModuleNameLines : public RowTest<Accepted, UserFileTest> {
 protected:
  ModuleNameLines() { copy_text(port_.model, "WMX-1813/2848/8655"); }

  DeviceRecord& port_ = add_device("eth0", "WMX Slot 1", 9);
};

TEST_P(ModuleNameLines, ConfirmWmx2848WithPoe) {
  apply(kModuleNames, row().text);
  expect_port(port_, {.feature = 0x01, .module_names = Texts{"WMX-2848"}});
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

class ModuleNames : public UserFileTest {
 protected:
  ModuleNames() { copy_text(port_.model, "WMX-1813/2848/8655"); }

  DeviceRecord& port_ = add_device("eth0", "WMX Slot 1", 9);
};

TEST_F(ModuleNames, LongNamesAreCutTo255CharactersAndRecordedOnce) {
  // Found by the number of the line before it, as it is of another family.
  for (const std::size_t length : {255U, 256U, 900U}) {
    SCOPED_TRACE(length);
    port_.module_name_count = 0;
    const std::string line = std::string(length, 'n') + " POE\n";
    apply(kModuleNames, "WMX-2848 POE\n" + line + line);
    expect_port(port_, {.module_names = Texts{"WMX-2848", std::string(255, 'n')}});
  }
}

TEST_F(ModuleNames, ChangesBeforeAnErrorStay) {
  EXPECT_EQ(read(kModuleNames, "WMX-2848 POE\nWMX-8655 x\nWMX-1813 POE\n"),
            (Outcome{"Not supported feature for WMX in F line 2\n", 0x81}));
  expect_port(port_, {.feature = 0x01, .module_names = Texts{"WMX-2848"}});
}

TEST_F(ModuleNames, DebugMessagesShowEveryDataLine) {
  g_debug_message_open = 1;
  EXPECT_EQ(read(kModuleNames, "# c\n\n WMX-2848  POE\n").printed,
            "check head char of !# c\n!\n"
            "check tail char of !# c\n!\n"
            "remove tail 1 char !# c!\n"
            "check head char of !\n!\n"
            "check tail char of !\n!\n"
            "remove tail 1 char !!\n"
            "check head char of ! WMX-2848  POE\n!\n"
            "remove head 1 char !WMX-2848  POE\n!\n"
            "check tail char of !WMX-2848  POE\n!\n"
            "remove tail 1 char !WMX-2848  POE!\n"
            "WMX-2848  POE\n");
}

TEST_F(ModuleNames, AFileWithoutAMatchIsNoError) {
  EXPECT_EQ(run_on(kModuleNames, "WMX-2848 POE\n").status, 0);
}

}  // namespace
}  // namespace qorx::test
