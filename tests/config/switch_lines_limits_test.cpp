// Switch lines that meet the end of the slot table, and ranges that no switch has.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>

#include "config/stages.h"
#include "records/state.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"
#include "tests/support/result_rows.h"

namespace qorx {
namespace {

using test::add_slot;
using test::FakeMachine;
using test::row_of;

std::uint32_t slot_count() {
  return qorx_system_environment_info.eth_smbios_t9_t41_number;
}

const SlotRecord& slot_at(std::size_t index) {
  return qorx_smbios_t9_t41_mapping[index];
}

class SwitchLineLimits : public ::testing::Test {
 protected:
  void SetUp() override {
    test::reset_library();
    machine_.make_directory("sys/devices/pci0000:00/0000:00:1c.0/0000:02:00.0");
  }

  // A table of `count` records, of which the first is the switch's.
  static void fill_table(std::size_t count) {
    add_slot("J1", 9, 0, 0x1C, 0);
    for (std::size_t i = 1; i < count; ++i) {
      add_slot("Slot " + std::to_string(i));
    }
  }

  // Applies a switch line in the block of J1 with debug messages on. Returns the number of slots it says it made.
  long made_by(const std::string& value) {
    const std::string path =
        machine_.user_file("qorx.cfg", "SLOT_NAME=\"J1\"\nPCIe_SW_DEV/WMX_SLOT=\"" + value + "\"\n");
    const std::string traces = test::traced_by([&] { EXPECT_EQ(qorx_check_conf_file_SW(path.c_str()), 0); });
    long made = 0;
    for (std::size_t at = 0; (at = traces.find("smbios path", at)) != std::string::npos; ++at) {
      ++made;
    }
    return made;
  }

  FakeMachine machine_;
};

TEST_F(SwitchLineLimits, With510RecordsOneMoreIsCountedAndTheNextStaysUncounted) {
  fill_table(510);
  EXPECT_EQ(made_by("1-2/S"), 2);
  EXPECT_EQ(slot_count(), 511U);
  EXPECT_STREQ(slot_at(509).slot_name, "Slot 509");
  EXPECT_STREQ(slot_at(510).slot_name, "S");
  EXPECT_EQ(slot_at(510).dev, 1);
  EXPECT_STREQ(slot_at(511).slot_name, "S");
  EXPECT_EQ(slot_at(511).dev, 2);
}

TEST_F(SwitchLineLimits, With511RecordsOnlyTheLastOfTheRangeIsWritten) {
  fill_table(511);
  EXPECT_EQ(made_by("1-4/S"), 1);
  EXPECT_EQ(slot_count(), 511U);
  EXPECT_STREQ(slot_at(510).slot_name, "Slot 510");
  EXPECT_STREQ(slot_at(511).slot_name, "S");
  EXPECT_EQ(slot_at(511).dev, 4);
}

TEST_F(SwitchLineLimits, With512RecordsEachNewOneOverwritesTheLast) {
  fill_table(512);
  EXPECT_EQ(made_by("4-1/S"), 2);
  EXPECT_EQ(slot_count(), 511U);
  EXPECT_STREQ(slot_at(510).slot_name, "Slot 510");
  EXPECT_STREQ(slot_at(511).slot_name, "S");
  EXPECT_EQ(slot_at(511).dev, 4);
}

TEST_F(SwitchLineLimits, AnOverwrittenRecordKeepsNothingOfTheOldOne) {
  fill_table(512);
  qorx_smbios_t9_t41_mapping[511].port_count = 3;
  EXPECT_EQ(made_by("1-1/S"), 1);
  EXPECT_STREQ(slot_at(511).smbios_slot_name, "");
  EXPECT_EQ(slot_at(511).port_count, 0);
  EXPECT_STREQ(slot_at(511).sysfs_path, "/sys/devices/pci0000:00/0000:00:1c.0/0000:02:00.0");
}

TEST_F(SwitchLineLimits, ARecordThatIsNotCountedIsNotFoundByALaterBlock) {
  fill_table(511);
  const std::string path = machine_.user_file(
      "qorx.cfg", "SLOT_NAME=\"J1\"\nPCIe_SW_DEV/WMX_SLOT=\"1-1/S\"\nSLOT_NAME=\"S\"\nCHANGE_NAME=\"x\"\n");
  int code = 0;
  EXPECT_EQ(test::printed_by([&] { code = qorx_check_conf_file_SW(path.c_str()); }),
            "Can't find SLOT_NAME in SMBIOS type9/41 record! " + path + " line: 3\n");
  EXPECT_EQ(code & 0xFF, 0x81);
}

TEST_F(SwitchLineLimits, AnAbsurdRangeFillsTheTableAndEndsAtOnce) {
  for (const char* const value : {"0-ffffffff/S", "ffffffff-0/S", "0-7fffffffffffffff/S", "0-ffffffffffffffffffff/S"}) {
    SCOPED_TRACE(value);
    test::reset_library();
    fill_table(1);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(made_by(value), 511);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_EQ(slot_count(), 511U);
    EXPECT_EQ(slot_at(1).dev, 0);
    EXPECT_EQ(slot_at(257).dev, 0);  // the 257th device number, cut to eight bits
    EXPECT_EQ(slot_at(510).dev, 0xFD);
    EXPECT_EQ(slot_at(511).dev, 0xFF);
  }
}

TEST_F(SwitchLineLimits, ARangeBeyondEveryNumberIsARangeOfOne) {
  fill_table(1);
  EXPECT_EQ(made_by("ffffffffffffffffffff-fffffffffffffffffffff/S"), 1);
  EXPECT_EQ(slot_count(), 2U);
  EXPECT_EQ(slot_at(1).dev, 0xFF);
}

TEST_F(SwitchLineLimits, OfSixHundredSlotsTheFirst511AndTheLastCanBeNamed) {
  test::SmbiosTable table;
  for (int i = 0; i < 600; ++i) {
    table.slot("Slot " + std::to_string(i), i == 599 ? "02:00.0" : "fe:1f.7");
  }
  machine_.smbios(table);
  machine_.add_port("eth0", "0000:00:1c.0/0000:02:00.0");
  machine_.user_file("qorx.cfg",
                     "SLOT_NAME=\"Slot 510\"\nCHANGE_NAME=\"a\"\nSLOT_NAME=\"Slot 599\"\nCHANGE_NAME=\"b\"\n");
  const test::ToolRun run = machine_.run({"-a", "-config", "qorx.cfg"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(row_of(run.output, "eth0").slot, "b");
  for (const char* const lost : {"Slot 511", "Slot 598", "Slot 600"}) {
    machine_.user_file("qorx.cfg", std::string("SLOT_NAME=\"") + lost + "\"\nCHANGE_NAME=\"a\"\n");
    EXPECT_EQ(machine_.run({"-a", "-config", "qorx.cfg"}).output,
              "Can't find SLOT_NAME in SMBIOS type9/41 record! qorx.cfg line: 1\n"
              "Error: QORX_ERR_CONF_FILE_FORMAT (0x81)\n");
  }
}

}  // namespace
}  // namespace qorx
