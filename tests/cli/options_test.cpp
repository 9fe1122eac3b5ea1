#include "cli/options.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "base/messages.h"
#include "records/state.h"
#include "tests/support/expect.h"
#include "tests/support/rows.h"
#include "tests/support/transcript.h"

namespace qorx::test {
namespace {

using Words = std::vector<std::string>;

// The flags and file names that are set, as one line.
std::string settings() {
  std::string text;
  const auto add = [&text](bool set, const std::string& word) {
    if (set) {
      text += (text.empty() ? "" : " ") + word;
    }
  };
  add(g_config_flag == 1, std::string("config=") + g_config_file_name);
  add(g_legacy_flag == 1, "legacy");
  add(g_force_flag == 1, "force");
  add(g_WMX_name_flag == 1, std::string("names=") + g_WMX_name_file_name);
  add(g_smbios_flag == 1, std::string("smbios=") + g_smbios_file_name);
  add(g_sort_slotname == 1, "sort");
  add(g_vm_bypass == 1, "vm");
  add(g_diag == 1, std::string("diag=") + g_entry_point_file + "," + g_dmi_file);
  add(g_error_message_open == 0, "quiet");
  add(g_debug_message_open == 1, "debug");
  add(g_novlan == 1, "novlan");
  return text;
}

// Strips the options of a command line. What is printed, the words that are left, and the settings; the program's name
// left out of all.
Texts effect_of(const Words& words) {
  reset_library();
  std::vector<const char*> pointers{"qorx"};
  for (const std::string& word : words) {
    pointers.push_back(word.c_str());
  }
  Arguments left;
  const std::string printed = printed_by([&] { left = strip_options(pointers); });
  EXPECT_EQ(left.data(), pointers.data());
  std::string rest;
  for (const char* const word : left.empty() ? left : left.subspan(1)) {
    rest += (rest.empty() ? "" : " ") + std::string(word);
  }
  return {printed, rest, settings()};
}

// Of command lines the words that are left and the settings that are made.
struct Stripped {
  std::string_view rule;
  struct Line {
    std::string words;  // parted by blanks
    std::string left;
    std::string settings;
  };
  std::vector<Line> lines;
};

class StripOptions : public RowTest<Stripped> {};

TEST_P(StripOptions, Rule) {
  for (const Stripped::Line& line : row().lines) {
    EXPECT_EQ(effect_of(words_of(line.words)), (Texts{"", line.left, line.settings})) << line.words;
  }
}

QORX_ROWS(
    StripOptions,
    {"each option takes its words and sets its flag",
     {{"-a", "-a", ""},
      {"-a -config f", "-a", "config=f"},
      {"-a -legacy", "-a", "legacy"},
      {"-a -F", "-a", "force"},
      {"-a -sys_WMX_cfg f", "-a", "names=f"},
      {"-a -smbios_cfg f", "-a", "smbios=f"},
      {"-a -sort_slotname", "-a", "sort"},
      {"-a -vm", "-a", "vm"},
      {"-a -diag e d", "-a", "diag=e,d"},
      {"-a -ML 0", "-a", "quiet"},
      {"-a -ML 1", "-a", ""},
      {"-a -ML 2", "-a", "debug"},
      {"-a -novlan", "-a", "novlan"}}},
    {"the argument of the operation stays",
     {{"-d eth0 -novlan -legacy", "-d eth0", "legacy novlan"}, {"-o f -config c", "-o f", "config=c"}}},
    {"only the end is looked at",
     {{"-d -legacy eth0", "-d -legacy eth0", ""},
      {"-a -legacy x", "-a -legacy x", ""},
      {"-a -legacy x -novlan", "-a -legacy x", "novlan"},
      {"-a -config", "-a -config", ""},
      {"-a -diag e", "-a -diag e", ""},
      {"-a -LEGACY", "-a -LEGACY", ""},
      {"-a -legacyx", "-a -legacyx", ""}}},
    {"the operation may be stripped too",
     {{"-legacy", "", "legacy"},
      {"-config f", "", "config=f"},
      {"-diag e d", "", "diag=e,d"},
      {"-novlan", "", "novlan"},
      {"-d -legacy", "-d", "legacy"},
      {"-f -vm -F", "-f", "force vm"}}},
    // A word behind an option is its value unless a single-word option of that name is looked for earlier in the pass.
    {"a value that looks like an option follows the order of the tests",
     {{"-a -config -legacy", "-a", "config=-legacy"},
      {"-a -config -novlan", "-a", "config=-novlan"},
      {"-a -sys_WMX_cfg -legacy", "-a -sys_WMX_cfg", "legacy"},
      {"-a -sys_WMX_cfg -vm", "-a", "names=-vm"},
      {"-a -legacy -sys_WMX_cfg -F", "-a -legacy -sys_WMX_cfg", "force"},
      {"-a -smbios_cfg -F", "-a -smbios_cfg", "force"},
      {"-a -smbios_cfg -sort_slotname", "-a", "smbios=-sort_slotname"},
      {"-a -diag e -vm", "-a -diag e", "vm"},
      {"-a -diag e -sort_slotname", "-a -diag e", "sort"},
      {"-a -diag e -novlan", "-a", "diag=e,-novlan"},
      {"-a -diag -ML 2", "-a", "diag=-ML,2"},
      {"-a -diag -config d", "-a -diag", "config=d"},
      {"-a -diag -smbios_cfg d", "-a -diag", "smbios=d"},
      {"-a -ML -vm", "-a -ML", "vm"},
      {"-a -ML -novlan", "-a", "quiet"},
      {"-a -config -sys_WMX_cfg f", "-a -config", "names=f"}}},
    // A successful test shortens the list for the tests behind it in the same pass: with passes that begin anew after
    // every match, "-config" would get the first look at what "-legacy" uncovers.
    {"later tests of a pass see the shortened list",
     {{"-a -config -F -legacy", "-a -config", "legacy force"},
      {"-a -smbios_cfg -legacy -sys_WMX_cfg f", "-a", "names=f smbios=-legacy"},
      {"-a -config -vm -novlan", "-a", "config=-vm novlan"},
      {"-a -config -vm -sort_slotname", "-a -config", "sort vm"},
      {"-a -diag -ML x -vm", "-a", "vm diag=-ML,x"}}},
    {"passes repeat until nothing matches",
     {{"-a -novlan -vm -sort_slotname -F -legacy", "-a", "legacy force sort vm novlan"},
      {"-a -legacy -F -sort_slotname -vm -novlan", "-a", "legacy force sort vm novlan"}}},
    {"of two equal options the leftmost wins",
     {{"-a -config left -config right", "-a", "config=left"},
      {"-a -diag e1 d1 -diag e2 d2", "-a", "diag=e1,d1"},
      {"-a -ML 2 -ML 0", "-a", "debug"},
      {"-a -legacy -legacy", "-a", "legacy"}}});

using StripOption = LibraryTest;

TEST_F(StripOption, ReadsTheLevelLikeAtoiHoweverLongItIs) {
  for (const std::string& level : {std::string("2nd"), std::string(" 2"), std::string(2000, '0') + "2"}) {
    EXPECT_EQ(effect_of({"-a", "-ML", level}), (Texts{"", "-a", "debug"}));
  }
  for (const char* const level : {"x", ""}) {
    EXPECT_EQ(effect_of({"-a", "-ML", level}), (Texts{"", "-a", "quiet"}));
  }
}

TEST_F(StripOption, OnlyNovlanSparesTheProgramName) {
  using Line = std::vector<const char*>;
  for (const Line& line : {Line{"-legacy"}, Line{"-F"}, Line{"-sort_slotname"}, Line{"-vm"}, Line{"-config", "f"},
                           Line{"-diag", "e", "d"}, Line{}}) {
    EXPECT_TRUE(strip_options(line).empty()) << testing::PrintToString(line);
  }
  for (const Line& line : {Line{"-novlan"}, Line{"qorx"}}) {
    EXPECT_EQ(strip_options(line).size(), 1U);
  }
  EXPECT_EQ(g_novlan, 0);
}

constexpr const char* kOutOfRange = "Error: Parameter msg_level out of range.\n";

TEST_F(StripOption, AWrongLevelSpeaksAndIsOtherwiseIgnored) {
  for (const char* const level : {"3", "-1", "255"}) {
    EXPECT_EQ(effect_of({"-a", "-ML", level, "-legacy"}), (Texts{kOutOfRange, "-a", "legacy"}));
  }
}

TEST_F(StripOption, AWrongLevelSwitchesErrorsOnAgainAndLeavesDebugAsItIs) {
  EXPECT_EQ(effect_of({"-a", "-ML", "3", "-ML", "0"}), (Texts{kOutOfRange, "-a", ""}));
  EXPECT_EQ(effect_of({"-a", "-ML", "3", "-ML", "2"}), (Texts{kOutOfRange, "-a", "debug"}));
}

TEST_F(StripOption, ALongFileNameIsCutToItsField) {
  const std::string name(300, 'n');
  effect_of({"-a", "-config", name, "-sys_WMX_cfg", name, "-smbios_cfg", name, "-diag", name, name});
  for (const char* const field :
       {g_config_file_name, g_WMX_name_file_name, g_smbios_file_name, g_entry_point_file, g_dmi_file}) {
    EXPECT_EQ(field, std::string(255, 'n'));
  }
}

TEST_F(StripOption, TheOrderOfDifferentOptionsIsFree) {
  std::vector<std::string> options{"-config c",      "-legacy", "-F",        "-sys_WMX_cfg w", "-smbios_cfg s",
                                   "-sort_slotname", "-vm",     "-diag e d", "-ML 2",          "-novlan"};
  std::mt19937 random(20240229);
  for (int round = 0; round < 500; ++round) {
    std::shuffle(options.begin(), options.end(), random);
    std::string words = "-p 00:00.0";
    for (const std::string& option : options) {
      words += " " + option;
    }
    ASSERT_EQ(effect_of(words_of(words)),
              (Texts{"", "-p 00:00.0", "config=c legacy force names=w smbios=s sort vm diag=e,d debug novlan"}))
        << words;
  }
}

TEST(OptionWords, CountTheOptionAndItsValues) {
  const std::vector<Words> words{{"", "-", "-a", "config", "-Config", "-configs"},
                                 {"-legacy", "-F", "-sort_slotname", "-vm", "-novlan"},
                                 {"-config", "-sys_WMX_cfg", "-smbios_cfg", "-ML"},
                                 {"-diag"}};
  for (std::size_t count = 0; count < words.size(); ++count) {
    for (const std::string& word : words[count]) {
      EXPECT_EQ(option_words(word.c_str()), count) << word;
    }
  }
}

}  // namespace
}  // namespace qorx::test
