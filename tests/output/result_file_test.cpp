// The table in a file.
#include <gtest/gtest.h>

#include <string>

#include "base/bounded_text.h"
#include "records/state.h"
#include "tests/support/expected_table.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx {
namespace {

using test::table_line;
using test::table_of;

class ResultFile : public testing::Test {
 protected:
  void SetUp() override {
    test::reset_library();
    g_qorx_init = 0;
  }
  void TearDown() override { test::reset_library(); }

  static DeviceRecord& add_port(std::string_view name, int feature) {
    DeviceRecord& record = test::add_device(name, "S 1", QORX_SMBIOS_SYSTEM_SLOT);
    record.feature = static_cast<std::uint8_t>(feature);
    copy_text(record.panel_name, "1 (*)");
    copy_text(record.model, "M");
    return record;
  }

  // The row of such a port.
  static test::TableRow row(std::string_view name, std::string_view feature) {
    return {.eth_name = name,
            .address = "00:00.0",
            .ids = "0000 0000",
            .subsystem_ids = "0000 0000",
            .slot = "S 1",
            .panel = "1 (*)",
            .feature = feature,
            .model = "M"};
  }

  std::string written() {
    EXPECT_EQ(test::printed_by([this] { EXPECT_EQ(qorx_fprint_scan_result(path_.c_str()), 0); }), "");
    return test::read_file(path_);
  }

  test::FakeMachine machine_;
  const std::string path_ = machine_.work() / "result";
};

TEST_F(ResultFile, AnEmptyTableIsHeaderVirtualInterfacesAndLegend) {
  EXPECT_EQ(written(), table_of(""));
  machine_.add_virtual("br0", "02:00:00:00:00:99");
  EXPECT_EQ(written(), table_of(table_line({.eth_name = "br0", .mac = "02:00:00:00:00:99"})));
}

TEST_F(ResultFile, NovlanLeavesVirtualInterfacesOut) {
  machine_.add_virtual("br0", "02:00:00:00:00:99");
  g_novlan = 1;
  EXPECT_EQ(written(), table_of(""));
}

TEST_F(ResultFile, EveryPortIsWrittenInTableOrder) {
  add_port("eth1", 1);
  add_port("eth0", 48);
  EXPECT_EQ(written(), table_of(table_line(row("eth1", "POE")) + table_line(row("eth0", "NCSI/1PPS"))));
}

// The list of a warning is the screen's affair.
TEST_F(ResultFile, AWarningFiltersNothing) {
  add_port("eth0", 1);
  wrong_seg_flag = 1;
  EXPECT_EQ(written(), table_of(table_line(row("eth0", "POE"))));
}

TEST_F(ResultFile, TheMarkOfAMismatchStaysRaisedToTheLastPort) {
  machine_.add_virtual("br0", "02:00:00:00:00:99");
  add_port("eth0", 1);
  add_port("eth1", 0x90);
  add_port("eth2", 1);
  add_port("eth3", 0);
  EXPECT_EQ(written(), table_of(table_line(row("eth0", "POE")) + table_line(row("eth1", "NCSI(!)")) +
                                table_line(row("eth2", "POE(!)")) + table_line(row("eth3", "unknown(!)")) +
                                table_line({.eth_name = "br0", .mac = "02:00:00:00:00:99"})));
}

TEST_F(ResultFile, WritingClearsTheMarksForAScreenTableBehindIt) {
  add_port("eth0", 0x90);
  add_port("eth1", 0x81);
  written();
  const std::string plain = table_of(table_line(row("eth0", "NCSI")) + table_line(row("eth1", "POE")));
  EXPECT_EQ(test::printed_by([] { qorx_print_scan_result(nullptr, nullptr, nullptr); }), plain);
  EXPECT_EQ(written(), plain);
}

TEST_F(ResultFile, APortWithoutAddressShowsNeitherAddressNorSlot) {
  DeviceRecord& record = add_port("soc0", 8);
  record.bus = record.dev = record.fun = 255;
  test::TableRow expected = row("soc0", "N/A");
  expected.address = "N/A    ";
  expected.slot = "N/A";
  EXPECT_EQ(written(), table_of(table_line(expected)));
}

TEST_F(ResultFile, AnUnmatchedPciPortIsMarked) {
  add_port("eth0", 8).slot_name[0] = '\0';
  test::TableRow expected = row("eth0", "N/A");
  expected.slot = "(!!)";
  expected.panel = "N/A";
  EXPECT_EQ(written(), table_of(table_line(expected)));
}

TEST_F(ResultFile, ABypassPortWithoutANumberIsMarked) {
  add_port("eth0", 4).seg = 255;
  test::TableRow expected = row("eth0", "L_BYPASS");
  expected.seg = "(?)";
  EXPECT_EQ(written(), table_of(table_line(expected)));
}

TEST_F(ResultFile, AnOlderFileIsReplaced) {
  machine_.user_file("result", std::string(10000, 'x'));
  EXPECT_EQ(written(), table_of(""));
}

TEST_F(ResultFile, APathLongerThanAFileNameFieldIsUsedWhole) {
  std::string path = machine_.work();
  for (int i = 0; i < 3; ++i) {
    path += "/" + std::string(120, static_cast<char>('a' + i));
  }
  std::filesystem::create_directories(path);
  path += "/result";
  EXPECT_EQ(qorx_fprint_scan_result(path.c_str()), 0);
  EXPECT_EQ(test::read_file(path), table_of(""));
}

TEST_F(ResultFile, AFileThatCantBeCreatedFailsSilently) {
  for (const char* const path : {"", "/", "no/such/directory/result"}) {
    EXPECT_EQ(test::traced_by([path] { EXPECT_EQ(qorx_fprint_scan_result(path), QORX_ERR_OPEN_FILE); }), "");
  }
  EXPECT_EQ(qorx_fprint_scan_result(nullptr), QORX_ERR_OPEN_FILE);
}

TEST_F(ResultFile, AFileThatCantBeWrittenFails) {
  EXPECT_EQ(qorx_fprint_scan_result("/dev/full"), QORX_ERR_CLOSE_FILE);
}

TEST_F(ResultFile, NoFileIsCreatedWhenTheLibraryIsNotOpen) {
  g_qorx_init = -1;
  EXPECT_EQ(test::printed_by([this] { EXPECT_EQ(qorx_fprint_scan_result(path_.c_str()), 0x95); }),
            "qorx library needs to be initialized before function call.\n");
  EXPECT_FALSE(std::filesystem::exists(path_));
}

}  // namespace
}  // namespace qorx
