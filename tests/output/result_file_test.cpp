// The table in a file.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/expect.h"
#include "tests/support/expected_table.h"
#include "tests/support/fixture.h"

namespace qorx::test {
namespace {

class ResultFile : public MachineTest {
 protected:
  ResultFile() { g_qorx_init = 0; }

  static DeviceRecord& add_port(std::string_view name, int feature) {
    DeviceRecord& port = add_device(name, "S 1", QORX_SMBIOS_SYSTEM_SLOT);
    return set_port(port, {.panel_name = "1 (*)", .model = "M", .feature = feature});
  }

  std::string written() {
    EXPECT_EQ(printed_by([this] { EXPECT_EQ(qorx_fprint_scan_result(path_.c_str()), 0); }), "");
    return read_file(path_);
  }

  const std::string path_ = machine_.work() / "result";
};

// The row of such a port.
std::string row_of(std::string_view name, std::string_view feature, std::string_view slot = "S 1",
                   std::string_view panel = "1 (*)") {
  const char* const address = slot == "N/A" ? "N/A    " : "00:00.0";
  const char* const seg = feature == "L_BYPASS" ? "(?)" : "N/A";
  return table_line({name, address, false, "0000 0000", "0000 0000", "N/A", slot, panel, feature, seg, "M"});
}

const std::string kBr0 = table_line({.eth_name = "br0", .mac = "02:00:00:00:00:99"});

TEST_F(ResultFile, AnEmptyTableIsHeaderVirtualInterfacesAndLegend) {
  EXPECT_EQ(written(), table_of(""));
  machine_.add_virtual("br0", "02:00:00:00:00:99");
  EXPECT_EQ(written(), table_of(kBr0));
  g_novlan = 1;
  EXPECT_EQ(written(), table_of(""));
}

// Also while a warning is out: its list is the screen's affair.
TEST_F(ResultFile, EveryPortIsWrittenInTableOrder) {
  add_port("eth1", 1);
  add_port("eth0", 48);
  EXPECT_EQ(written(), table_of(row_of("eth1", "POE") + row_of("eth0", "NCSI/1PPS")));
  wrong_seg_flag = 1;
  EXPECT_EQ(written(), table_of(row_of("eth1", "POE") + row_of("eth0", "NCSI/1PPS")));
}

TEST_F(ResultFile, TheMarkOfAMismatchStaysRaisedToTheLastPort) {
  machine_.add_virtual("br0", "02:00:00:00:00:99");
  add_port("eth0", 1);
  add_port("eth1", 0x90);
  add_port("eth2", 1);
  add_port("eth3", 0);
  EXPECT_EQ(written(), table_of(row_of("eth0", "POE") + row_of("eth1", "NCSI(!)") + row_of("eth2", "POE(!)") +
                                row_of("eth3", "unknown(!)") + kBr0));
}

TEST_F(ResultFile, WritingClearsTheMarksForAScreenTableBehindIt) {
  add_port("eth0", 0x90);
  add_port("eth1", 0x81);
  written();
  const std::string plain = table_of(row_of("eth0", "NCSI") + row_of("eth1", "POE"));
  EXPECT_EQ(printed_by([] { qorx_print_scan_result(nullptr, nullptr, nullptr); }), plain);
  EXPECT_EQ(written(), plain);
}

TEST_F(ResultFile, WhatIsNotKnownOfAPortIsMarked) {
  set_port(add_port("soc0", 8), {.bus = 255, .dev = 255, .fun = 255});
  add_port("eth0", 8).slot_name[0] = '\0';
  add_port("eth1", 4).seg = 255;
  EXPECT_EQ(written(),
            table_of(row_of("soc0", "N/A", "N/A") + row_of("eth0", "N/A", "(!!)", "N/A") + row_of("eth1", "L_BYPASS")));
}

TEST_F(ResultFile, AnOlderFileIsReplaced) {
  machine_.user_file("result", std::string(10000, 'x'));
  EXPECT_EQ(written(), table_of(""));
}

TEST_F(ResultFile, APathLongerThanAFileNameFieldIsUsedWhole) {
  const std::string folder(120, 'a');
  const std::string path = machine_.user_file(folder + "/" + folder + "/" + folder + "/result", "");
  EXPECT_EQ(qorx_fprint_scan_result(path.c_str()), 0);
  EXPECT_EQ(read_file(path), table_of(""));
}

TEST_F(ResultFile, AFileThatCantBeCreatedOrWrittenFailsSilently) {
  for (const char* const path : {"", "/", "no/such/directory/result"}) {
    EXPECT_EQ(traced_by([path] { EXPECT_EQ(qorx_fprint_scan_result(path), QORX_ERR_OPEN_FILE); }), "");
  }
  EXPECT_EQ(qorx_fprint_scan_result(nullptr), QORX_ERR_OPEN_FILE);
  EXPECT_EQ(qorx_fprint_scan_result("/dev/full"), QORX_ERR_CLOSE_FILE);
}

TEST_F(ResultFile, NoFileIsCreatedWhenTheLibraryIsNotOpen) {
  g_qorx_init = -1;
  EXPECT_EQ(outcome_of([this] { return qorx_fprint_scan_result(path_.c_str()); }),
            (Outcome{"qorx library needs to be initialized before function call.\n", 0x95}));
  EXPECT_FALSE(std::filesystem::exists(path_));
}

}  // namespace
}  // namespace qorx::test
