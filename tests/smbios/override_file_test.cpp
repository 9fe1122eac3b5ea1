#include "smbios/override_file.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/messages.h"
#include "records/state.h"
#include "tests/smbios/parsing.h"
#include "tests/support/user_files.h"

namespace qorx::test {
namespace {

std::string triple(const std::string& type, const std::string& name, const std::string& address) {
  return "TYPE=\"" + type + "\"\nNAME=\"" + name + "\"\nBUS:DEV.FUN=\"" + address + "\"\n";
}

const std::string kGood = triple("9", "S", "01:02.3");

struct Address {
  std::string_view rule;
  std::string text;
  int bus, dev, fun;
};

class OverrideAddresses : public RowTest<Address, UserFileTest> {};

TEST_P(OverrideAddresses, AreHexadecimalAndSplitAtColonsAndPoints) {
  apply(kOverride, triple("9", "S", row().text));
  expect_slot(slot_records()[0], {.bus = row().bus, .dev = row().dev, .fun = row().fun});
}

QORX_ROWS(OverrideAddresses, {"as everywhere", "03:00.0", 3, 0, 0}, {"small letters", "1a:1f.7", 0x1A, 0x1F, 7},
          {"capitals", "1A:1F.7", 0x1A, 0x1F, 7}, {"prefixes", "0x1a:0X1f.0x7", 0x1A, 0x1F, 7},
          {"single digits", "3:0.0", 3, 0, 0}, {"the low eight bits", "103:102.1ff", 3, 2, 0xFF},
          {"a sign", "-1:0.0", 0xFF, 0, 0}, {"points only", "1.2.3", 1, 2, 3}, {"colons only", "1:2:3", 1, 2, 3},
          {"runs count as one", "::1..2:.3::", 1, 2, 3}, {"a fourth part is ignored", "1:2.3.4:5", 1, 2, 3},
          {"no digits are 0", "zz:1.2", 0, 1, 2}, {"leading blanks", " 3: 4. 5", 3, 4, 5},
          {"what follows the digits is ignored", "3x:4y.5z", 3, 4, 5});

struct Accepted {
  std::string_view rule;
  std::string text;
  Texts names = {"S"};
};

class OverrideTexts : public RowTest<Accepted, UserFileTest> {};

TEST_P(OverrideTexts, GiveTheNames) {
  apply(kOverride, row().text);
  EXPECT_EQ(names(), row().names);
  EXPECT_EQ(texts_of(slot_records(), &SlotRecord::smbios_slot_name), row().names);
  expect_slot(slot_records()[0], {.bus = 1, .dev = 2, .fun = 3});
}

Accepted named(std::string_view rule, const std::string& name) {
  return {rule, triple("9", name, "01:02.3"), {name.substr(0, 255)}};
}

// 'NAME="' and '"' are 7 bytes, so a name of 1,015 bytes and the line feed fill the line buffer of 1,023.
QORX_ROWS(OverrideTexts, named("a plain name", "a"), named("blanks belong to a name", " a b "),
          named("a name may be a blank", " "), named("a quote may stand in a name", "a\"b"),
          named("a name may be a quote", "\""), named("a hash starts no comment in a name", "#1"),
          named("a name may look like its key", "NAME=\""),
          named("a name of 255 characters is whole", std::string(255, 'n')),
          named("a name of 300 characters is cut", std::string(300, 'n')),
          named("a line and its line feed may fill the buffer", std::string(1015, 'n')),
          named("a line may fill the buffer", std::string(1016, 'n')),
          {"comments empty lines and blanks are skipped",
           "# slots\n\n   \t\n  # indented\nTYPE=\"9\"\n#TYPE=\"41\"\n\n \tNAME=\"S\" \t\n"
           "# between\nBUS:DEV.FUN=\"01:02.3\"\n#\n"},
          {"carriage returns are trimmed", "# comment\r\n\r\nTYPE=\"9\"\r\nNAME=\"S\"\r\nBUS:DEV.FUN=\"01:02.3\"\r\n"},
          {"a last line without a line feed is not examined", kGood + "garbage"},
          {"a last type without a line feed is not examined", kGood + "TYPE=\"9\""});

class OverrideFile : public UserFileTest {};

TEST_F(OverrideFile, ThreeLinesMakeASlotRecord) {
  apply(kOverride, triple("9", "SLOT 1", "03:02.1") + triple("41", "LAN1", "1a:1f.7"));
  ASSERT_EQ(slot_records().size(), 2U);
  expect_slot(slot_records()[0],
              {.bus = 3, .dev = 2, .fun = 1, .type = 9, .slot_name = "SLOT 1", .smbios_slot_name = "SLOT 1"});
  expect_slot(slot_records()[1],
              {.bus = 0x1A, .dev = 0x1F, .fun = 7, .type = 41, .slot_name = "LAN1", .smbios_slot_name = "LAN1"});
}

TEST_F(OverrideFile, OtherFieldsStayZero) {
  apply(kOverride, kGood);
  expect_slot(slot_records()[0], {.length = 0,
                                  .str_index = 0,
                                  .model_name = "",
                                  .feature = 0,
                                  .port_count = 0,
                                  .device_id_number = 0,
                                  .sysfs_path = ""});
  EXPECT_EQ(slot_records()[0].raw[0], 0);
}

TEST_F(OverrideFile, TheFileReplacesTheRecords) {
  add_slot("old", 9);
  add_slot("older", 9);
  apply(kOverride, triple("41", "new", "01:00.0"));
  EXPECT_EQ(names(), Texts{"new"});
}

TEST_F(OverrideFile, EverySlotBehindThe512thOverwritesTheLastRecord) {
  for (const int slots : {512, 513, 600}) {
    SCOPED_TRACE(slots);
    std::string file;
    for (int i = 1; i <= slots; ++i) {
      file += triple("9", "S" + std::to_string(i), "01:00.0");
    }
    apply(kOverride, file);
    ASSERT_EQ(slot_records().size(), 512U);
    EXPECT_STREQ(slot_records()[510].slot_name, "S511");
    EXPECT_EQ(slot_records()[511].slot_name, "S" + std::to_string(slots));
  }
}

// The third line's value is traced before the record.
TEST_F(OverrideFile, TracesTrimmingValuesAndRecord) {
  g_debug_message_open = 1;
  EXPECT_EQ(read(kOverride, " TYPE=\"9\"\nNAME=\"S 1\"\nBUS:DEV.FUN=\"1a:0.7\"\n"),
            (Outcome{"check head char of ! TYPE=\"9\"\n!\nremove head 1 char !TYPE=\"9\"\n!\n"
                     "check tail char of !TYPE=\"9\"\n!\nremove tail 1 char !TYPE=\"9\"!\n"
                     "check tail char of !TYPE=\"9\"!\n9\n"
                     "check head char of !NAME=\"S 1\"\n!\n"
                     "check tail char of !NAME=\"S 1\"\n!\nremove tail 1 char !NAME=\"S 1\"!\n"
                     "check tail char of !NAME=\"S 1\"!\nS 1\n"
                     "check head char of !BUS:DEV.FUN=\"1a:0.7\"\n!\n"
                     "check tail char of !BUS:DEV.FUN=\"1a:0.7\"\n!\nremove tail 1 char !BUS:DEV.FUN=\"1a:0.7\"!\n"
                     "check tail char of !BUS:DEV.FUN=\"1a:0.7\"!\n1a:0.7\n"
                     "TYPE: 9\nNAME: S 1\nBUS:DEV.FUN: 1a 0 7\n"
                     "smbios cfg file read OK!\n",
                     0}));
}

}  // namespace
}  // namespace qorx::test
