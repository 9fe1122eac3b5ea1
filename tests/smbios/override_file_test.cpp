#include "smbios/override_file.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "records/state.h"
#include "tests/smbios/parsing.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

using Strings = std::vector<std::string>;

std::string triple(const std::string& type, const std::string& name, const std::string& address) {
  return "TYPE=\"" + type + "\"\nNAME=\"" + name + "\"\nBUS:DEV.FUN=\"" + address + "\"\n";
}

class OverrideFile : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  std::int32_t read(const std::string& content) {
    return Search_SMBIOS_cfg(machine_.user_file("smbios.cfg", content).c_str());
  }

  FakeMachine machine_;
};

TEST_F(OverrideFile, ThreeLinesMakeASlotRecord) {
  ASSERT_EQ(read(triple("9", "SLOT 1", "03:02.1") + triple("41", "LAN1", "1a:1f.7")), 0);
  ASSERT_EQ(slot_records().size(), 2U);
  const SlotRecord& slot = slot_records()[0];
  EXPECT_EQ(slot.type, 9);
  EXPECT_STREQ(slot.slot_name, "SLOT 1");
  EXPECT_STREQ(slot.smbios_slot_name, "SLOT 1");
  EXPECT_EQ(slot.bus, 3);
  EXPECT_EQ(slot.dev, 2);
  EXPECT_EQ(slot.fun, 1);
  const SlotRecord& onboard = slot_records()[1];
  EXPECT_EQ(onboard.type, 41);
  EXPECT_STREQ(onboard.slot_name, "LAN1");
  EXPECT_EQ(onboard.bus, 0x1A);
  EXPECT_EQ(onboard.dev, 0x1F);
  EXPECT_EQ(onboard.fun, 7);
}

TEST_F(OverrideFile, OtherFieldsStayZero) {
  ASSERT_EQ(read(triple("9", "S", "03:00.0")), 0);
  const SlotRecord& slot = slot_records()[0];
  EXPECT_EQ(slot.raw[0], 0);
  EXPECT_EQ(slot.length, 0);
  EXPECT_EQ(slot.str_index, 0);
  EXPECT_STREQ(slot.model_name, "");
  EXPECT_EQ(slot.feature, 0);
  EXPECT_EQ(slot.port_count, 0);
  EXPECT_EQ(slot.device_id_number, 0);
  EXPECT_STREQ(slot.sysfs_path, "");
}

TEST_F(OverrideFile, TheFileReplacesTheRecords) {
  add_slot("old", 9);
  add_slot("older", 9);
  ASSERT_EQ(read(triple("41", "new", "01:00.0")), 0);
  EXPECT_EQ(names(), Strings{"new"});
}

TEST_F(OverrideFile, AddressesAreHexadecimalAndSplitAtColonsAndPoints) {
  const struct {
    const char* text;
    int bus, dev, fun;
  } cases[] = {
      {"03:00.0", 3, 0, 0},  {"1a:1f.7", 0x1A, 0x1F, 7},  {"1A:1F.7", 0x1A, 0x1F, 7}, {"0x1a:0X1f.0x7", 0x1A, 0x1F, 7},
      {"3:0.0", 3, 0, 0},    {"103:102.1ff", 3, 2, 0xFF}, {"-1:0.0", 0xFF, 0, 0},     {"1.2.3", 1, 2, 3},
      {"1:2:3", 1, 2, 3},    {"::1..2:.3::", 1, 2, 3},    {"1:2.3.4:5", 1, 2, 3},     {"zz:1.2", 0, 1, 2},
      {" 3: 4. 5", 3, 4, 5}, {"3x:4y.5z", 3, 4, 5},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    ASSERT_EQ(read(triple("9", "S", c.text)), 0);
    EXPECT_EQ(slot_records()[0].bus, c.bus);
    EXPECT_EQ(slot_records()[0].dev, c.dev);
    EXPECT_EQ(slot_records()[0].fun, c.fun);
  }
}

TEST_F(OverrideFile, TheNameIsWhatLiesBetweenTheQuotes) {
  for (const std::string& name :
       {std::string("a"), std::string(" a b "), std::string(" "), std::string("a\"b"), std::string("\""),
        std::string("#1"), std::string("NAME=\""), std::string(255, 'n')}) {
    SCOPED_TRACE(name);
    ASSERT_EQ(read(triple("9", name, "01:00.0")), 0);
    EXPECT_EQ(names(), Strings{name});
    EXPECT_EQ(slot_records()[0].smbios_slot_name, name);
  }
}

TEST_F(OverrideFile, ALongNameIsCutToItsField) {
  ASSERT_EQ(read(triple("9", std::string(300, 'n'), "01:00.0")), 0);
  EXPECT_EQ(names(), Strings{std::string(255, 'n')});
  EXPECT_EQ(slot_records()[0].smbios_slot_name, std::string(255, 'n'));
}

TEST_F(OverrideFile, CommentsEmptyLinesAndBlanksAreSkipped) {
  const std::string file =
      "# slots\n\n   \t\n  # indented\nTYPE=\"9\"\n#TYPE=\"41\"\n\n \tNAME=\"S\" \t\n# "
      "between\nBUS:DEV.FUN=\"01:00.0\"\n#\n";
  ASSERT_EQ(read(file), 0);
  EXPECT_EQ(names(), Strings{"S"});
}

TEST_F(OverrideFile, CarriageReturnsAreTrimmed) {
  ASSERT_EQ(read("# comment\r\n\r\nTYPE=\"9\"\r\nNAME=\"S\"\r\nBUS:DEV.FUN=\"01:02.3\"\r\n"), 0);
  EXPECT_EQ(names(), Strings{"S"});
  EXPECT_EQ(slot_records()[0].fun, 3);
}

TEST_F(OverrideFile, EverySlotBehindThe512thOverwritesTheLastRecord) {
  const struct {
    int slots;
    const char* last;
  } cases[] = {{512, "S512"}, {513, "S513"}, {600, "S600"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.slots);
    std::string file;
    for (int i = 1; i <= c.slots; ++i) {
      file += triple("9", "S" + std::to_string(i), "01:00.0");
    }
    ASSERT_EQ(read(file), 0);
    ASSERT_EQ(qorx_system_environment_info.eth_smbios_t9_t41_number, 512U);
    EXPECT_STREQ(slot_records()[510].slot_name, "S511");
    EXPECT_STREQ(slot_records()[511].slot_name, c.last);
  }
}

TEST_F(OverrideFile, ALastLineWithoutALineFeedIsNotExamined) {
  EXPECT_EQ(read(triple("9", "S", "01:00.0") + "garbage"), 0);
  EXPECT_EQ(read(triple("9", "S", "01:00.0") + "TYPE=\"9\""), 0);
  EXPECT_EQ(names(), Strings{"S"});
}

// 'NAME="' and '"' are 7 bytes, so a name of 1,015 bytes and the line feed fill the line buffer of 1,023.
TEST_F(OverrideFile, ALineMayFillTheLineBuffer) {
  for (const std::size_t length : {1015U, 1016U}) {
    SCOPED_TRACE(length);
    ASSERT_EQ(read(triple("9", std::string(length, 'n'), "01:00.0")), 0);
    EXPECT_EQ(names(), Strings{std::string(255, 'n')});
  }
}

// The third line's value is traced before the record.
TEST_F(OverrideFile, TracesTrimmingValuesAndRecord) {
  EXPECT_EQ(traced_by([&] { EXPECT_EQ(read(" TYPE=\"9\"\nNAME=\"S 1\"\nBUS:DEV.FUN=\"1a:0.7\"\n"), 0); }),
            "check head char of ! TYPE=\"9\"\n!\nremove head 1 char !TYPE=\"9\"\n!\n"
            "check tail char of !TYPE=\"9\"\n!\nremove tail 1 char !TYPE=\"9\"!\n"
            "check tail char of !TYPE=\"9\"!\n9\n"
            "check head char of !NAME=\"S 1\"\n!\n"
            "check tail char of !NAME=\"S 1\"\n!\nremove tail 1 char !NAME=\"S 1\"!\n"
            "check tail char of !NAME=\"S 1\"!\nS 1\n"
            "check head char of !BUS:DEV.FUN=\"1a:0.7\"\n!\n"
            "check tail char of !BUS:DEV.FUN=\"1a:0.7\"\n!\nremove tail 1 char !BUS:DEV.FUN=\"1a:0.7\"!\n"
            "check tail char of !BUS:DEV.FUN=\"1a:0.7\"!\n1a:0.7\n"
            "TYPE: 9\nNAME: S 1\nBUS:DEV.FUN: 1a 0 7\n"
            "smbios cfg file read OK!\n");
}

TEST_F(OverrideFile, IsSilentWithoutDebugTraces) {
  EXPECT_EQ(printed_by([&] { EXPECT_EQ(read(triple("9", "S", "01:00.0")), 0); }), "");
}

}  // namespace
}  // namespace qorx::test
