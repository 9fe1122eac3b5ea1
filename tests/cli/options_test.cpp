#include "cli/options.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>
#include <vector>

#include "base/messages.h"
#include "records/state.h"
#include "tests/support/library.h"

namespace qorx {
namespace {

using test::printed_by;
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

// Strips the options of this command line, the program's name left out of `words` and of the result.
Words strip(const Words& words) {
  std::vector<const char*> pointers{"qorx"};
  for (const std::string& word : words) {
    pointers.push_back(word.c_str());
  }
  const Arguments left = strip_options(pointers);
  EXPECT_EQ(left.data(), pointers.data());
  return left.empty() ? Words{} : Words(left.begin() + 1, left.end());
}

class StripOptions : public testing::Test {
 protected:
  void SetUp() override { test::reset_library(); }
  void TearDown() override { test::reset_library(); }
};

struct Case {
  Words words;
  Words left;
  std::string settings;
};

void check(const std::vector<Case>& cases) {
  for (const Case& test_case : cases) {
    SCOPED_TRACE(testing::PrintToString(test_case.words));
    test::reset_library();
    Words left;
    EXPECT_EQ(printed_by([&] { left = strip(test_case.words); }), "");
    EXPECT_EQ(left, test_case.left);
    EXPECT_EQ(settings(), test_case.settings);
  }
}

TEST_F(StripOptions, EachOptionTakesItsWordsAndSetsItsFlag) {
  check({
      {{"-a"}, {"-a"}, ""},
      {{"-a", "-config", "f"}, {"-a"}, "config=f"},
      {{"-a", "-legacy"}, {"-a"}, "legacy"},
      {{"-a", "-F"}, {"-a"}, "force"},
      {{"-a", "-sys_WMX_cfg", "f"}, {"-a"}, "names=f"},
      {{"-a", "-smbios_cfg", "f"}, {"-a"}, "smbios=f"},
      {{"-a", "-sort_slotname"}, {"-a"}, "sort"},
      {{"-a", "-vm"}, {"-a"}, "vm"},
      {{"-a", "-diag", "e", "d"}, {"-a"}, "diag=e,d"},
      {{"-a", "-ML", "0"}, {"-a"}, "quiet"},
      {{"-a", "-ML", "1"}, {"-a"}, ""},
      {{"-a", "-ML", "2"}, {"-a"}, "debug"},
      {{"-a", "-novlan"}, {"-a"}, "novlan"},
  });
}

TEST_F(StripOptions, TheArgumentOfTheOperationStays) {
  check({
      {{"-d", "eth0", "-novlan", "-legacy"}, {"-d", "eth0"}, "legacy novlan"},
      {{"-o", "f", "-config", "c"}, {"-o", "f"}, "config=c"},
  });
}

TEST_F(StripOptions, OnlyTheEndIsLookedAt) {
  check({
      {{"-d", "-legacy", "eth0"}, {"-d", "-legacy", "eth0"}, ""},
      {{"-a", "-legacy", "x"}, {"-a", "-legacy", "x"}, ""},
      {{"-a", "-legacy", "x", "-novlan"}, {"-a", "-legacy", "x"}, "novlan"},
      {{"-a", "-config"}, {"-a", "-config"}, ""},
      {{"-a", "-diag", "e"}, {"-a", "-diag", "e"}, ""},
      {{"-a", "-LEGACY"}, {"-a", "-LEGACY"}, ""},
      {{"-a", "-legacyx"}, {"-a", "-legacyx"}, ""},
  });
}

TEST_F(StripOptions, TheOperationMayBeStrippedToo) {
  check({
      {{"-legacy"}, {}, "legacy"},
      {{"-config", "f"}, {}, "config=f"},
      {{"-diag", "e", "d"}, {}, "diag=e,d"},
      {{"-novlan"}, {}, "novlan"},
      {{"-d", "-legacy"}, {"-d"}, "legacy"},
      {{"-f", "-vm", "-F"}, {"-f"}, "force vm"},
  });
}

// A word behind an option is its value unless a single-word option of that name is looked for earlier in the pass.
TEST_F(StripOptions, AValueThatLooksLikeAnOptionFollowsTheOrderOfTheTests) {
  check({
      {{"-a", "-config", "-legacy"}, {"-a"}, "config=-legacy"},
      {{"-a", "-config", "-novlan"}, {"-a"}, "config=-novlan"},
      {{"-a", "-sys_WMX_cfg", "-legacy"}, {"-a", "-sys_WMX_cfg"}, "legacy"},
      {{"-a", "-sys_WMX_cfg", "-vm"}, {"-a"}, "names=-vm"},
      {{"-a", "-legacy", "-sys_WMX_cfg", "-F"}, {"-a", "-legacy", "-sys_WMX_cfg"}, "force"},
      {{"-a", "-smbios_cfg", "-F"}, {"-a", "-smbios_cfg"}, "force"},
      {{"-a", "-smbios_cfg", "-sort_slotname"}, {"-a"}, "smbios=-sort_slotname"},
      {{"-a", "-diag", "e", "-vm"}, {"-a", "-diag", "e"}, "vm"},
      {{"-a", "-diag", "e", "-sort_slotname"}, {"-a", "-diag", "e"}, "sort"},
      {{"-a", "-diag", "e", "-novlan"}, {"-a"}, "diag=e,-novlan"},
      {{"-a", "-diag", "-ML", "2"}, {"-a"}, "diag=-ML,2"},
      {{"-a", "-diag", "-config", "d"}, {"-a", "-diag"}, "config=d"},
      {{"-a", "-diag", "-smbios_cfg", "d"}, {"-a", "-diag"}, "smbios=d"},
      {{"-a", "-ML", "-vm"}, {"-a", "-ML"}, "vm"},
      {{"-a", "-ML", "-novlan"}, {"-a"}, "quiet"},
      {{"-a", "-config", "-sys_WMX_cfg", "f"}, {"-a", "-config"}, "names=f"},
  });
}

// A successful test shortens the list for the tests behind it in the same pass: with passes that begin anew after
// every match, "-config" would get the first look at what "-legacy" uncovers.
TEST_F(StripOptions, LaterTestsOfAPassSeeTheShortenedList) {
  check({
      {{"-a", "-config", "-F", "-legacy"}, {"-a", "-config"}, "legacy force"},
      {{"-a", "-smbios_cfg", "-legacy", "-sys_WMX_cfg", "f"}, {"-a"}, "names=f smbios=-legacy"},
      {{"-a", "-config", "-vm", "-novlan"}, {"-a"}, "config=-vm novlan"},
      {{"-a", "-config", "-vm", "-sort_slotname"}, {"-a", "-config"}, "sort vm"},
      {{"-a", "-diag", "-ML", "x", "-vm"}, {"-a"}, "vm diag=-ML,x"},
  });
}

TEST_F(StripOptions, PassesRepeatUntilNothingMatches) {
  check({
      {{"-a", "-novlan", "-vm", "-sort_slotname", "-F", "-legacy"}, {"-a"}, "legacy force sort vm novlan"},
      {{"-a", "-legacy", "-F", "-sort_slotname", "-vm", "-novlan"}, {"-a"}, "legacy force sort vm novlan"},
  });
}

TEST_F(StripOptions, OfTwoEqualOptionsTheLeftmostWins) {
  check({
      {{"-a", "-config", "left", "-config", "right"}, {"-a"}, "config=left"},
      {{"-a", "-diag", "e1", "d1", "-diag", "e2", "d2"}, {"-a"}, "diag=e1,d1"},
      {{"-a", "-ML", "2", "-ML", "0"}, {"-a"}, "debug"},
      {{"-a", "-legacy", "-legacy"}, {"-a"}, "legacy"},
  });
}

TEST_F(StripOptions, OnlyNovlanSparesTheProgramName) {
  constexpr std::array kSingle{"-legacy", "-F", "-sort_slotname", "-vm"};
  for (const char* const word : kSingle) {
    EXPECT_TRUE(strip_options(std::array{word}).empty()) << word;
  }
  EXPECT_EQ(strip_options(std::array{"-novlan"}).size(), 1U);
  EXPECT_EQ(g_novlan, 0);
  EXPECT_TRUE(strip_options(std::array{"-config", "f"}).empty());
  EXPECT_TRUE(strip_options(std::array{"-diag", "e", "d"}).empty());
  EXPECT_TRUE(strip_options(std::array{"qorx"}).size() == 1U);
  EXPECT_TRUE(strip_options({}).empty());
}

TEST_F(StripOptions, TheLevelIsReadLikeAtoi) {
  check({
      {{"-a", "-ML", "2nd"}, {"-a"}, "debug"},
      {{"-a", "-ML", " 2"}, {"-a"}, "debug"},
      {{"-a", "-ML", "x"}, {"-a"}, "quiet"},
      {{"-a", "-ML", ""}, {"-a"}, "quiet"},
  });
}

TEST_F(StripOptions, TheLevelIsReadWholeHoweverLongItIs) {
  check({{{"-a", "-ML", std::string(2000, '0') + "2"}, {"-a"}, "debug"}});
}

TEST_F(StripOptions, AWrongLevelSpeaksAndIsOtherwiseIgnored) {
  for (const char* const level : {"3", "-1", "255"}) {
    test::reset_library();
    Words left;
    EXPECT_EQ(printed_by([&] {
                left = strip({"-a", "-ML", level, "-legacy"});
              }),
              "Error: Parameter msg_level out of range.\n");
    EXPECT_EQ(left, Words{"-a"});
    EXPECT_EQ(settings(), "legacy");
  }
}

TEST_F(StripOptions, AWrongLevelSwitchesErrorsOnAgainAndLeavesDebugAsItIs) {
  EXPECT_EQ(printed_by([] { strip({"-a", "-ML", "3", "-ML", "0"}); }), "Error: Parameter msg_level out of range.\n");
  EXPECT_EQ(settings(), "");
  EXPECT_EQ(printed_by([] { strip({"-a", "-ML", "3", "-ML", "2"}); }), "Error: Parameter msg_level out of range.\n");
  EXPECT_EQ(settings(), "debug");
}

TEST_F(StripOptions, ALongFileNameIsCutToItsField) {
  const std::string name(300, 'n');
  strip({"-a", "-config", name, "-sys_WMX_cfg", name, "-smbios_cfg", name, "-diag", name, name});
  for (const char* const field :
       {g_config_file_name, g_WMX_name_file_name, g_smbios_file_name, g_entry_point_file, g_dmi_file}) {
    EXPECT_EQ(field, std::string(255, 'n'));
  }
}

TEST_F(StripOptions, TheOrderOfDifferentOptionsIsFree) {
  std::vector<Words> options{{"-config", "c"},     {"-legacy"},        {"-F"},  {"-sys_WMX_cfg", "w"},
                             {"-smbios_cfg", "s"}, {"-sort_slotname"}, {"-vm"}, {"-diag", "e", "d"},
                             {"-ML", "2"},         {"-novlan"}};
  std::mt19937 random(20240229);
  for (int round = 0; round < 500; ++round) {
    std::shuffle(options.begin(), options.end(), random);
    Words words{"-p", "00:00.0"};
    for (const Words& option : options) {
      words.insert(words.end(), option.begin(), option.end());
    }
    SCOPED_TRACE(testing::PrintToString(words));
    test::reset_library();
    ASSERT_EQ(strip(words), (Words{"-p", "00:00.0"}));
    ASSERT_EQ(settings(), "config=c legacy force names=w smbios=s sort vm diag=e,d debug novlan");
  }
}

TEST(OptionWords, CountTheOptionAndItsValues) {
  for (const char* const alone : {"-legacy", "-F", "-sort_slotname", "-vm", "-novlan"}) {
    EXPECT_EQ(option_words(alone), 1U) << alone;
  }
  for (const char* const with_value : {"-config", "-sys_WMX_cfg", "-smbios_cfg", "-ML"}) {
    EXPECT_EQ(option_words(with_value), 2U) << with_value;
  }
  EXPECT_EQ(option_words("-diag"), 3U);
  for (const char* const other : {"", "-", "-a", "config", "-Config", "-configs"}) {
    EXPECT_EQ(option_words(other), 0U) << other;
  }
}

}  // namespace
}  // namespace qorx
