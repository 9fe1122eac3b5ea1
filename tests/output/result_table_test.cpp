// The table on the screen: filters, virtual interfaces, warning list.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/bounded_text.h"
#include "tests/support/expect.h"
#include "tests/support/expected_table.h"
#include "tests/support/fixture.h"

namespace qorx::test {
namespace {

class ResultTable : public MachineTest {
 protected:
  ResultTable() {
    machine_.add_virtual("br0", "02:00:00:00:00:99");
    g_qorx_init = 0;
  }

  static DeviceRecord& add_port(std::string_view name, int feature, int bus = 1, int dev = 0, int fun = 0) {
    DeviceRecord& port = add_device(name, "S 1", QORX_SMBIOS_SYSTEM_SLOT);
    return set_port(port, {.bus = bus, .dev = dev, .fun = fun, .feature = feature});
  }

  static std::string printed(const char* name, const char* feature, const char* bdf) {
    return printed_by([=] { EXPECT_EQ(qorx_print_scan_result(name, feature, bdf), 0); });
  }

  // The names in the first column, in order.
  static std::string listed(const char* name, const char* feature, const char* bdf) {
    std::string output = printed(name, feature, bdf);
    EXPECT_TRUE(output.starts_with(kTableHeader));
    EXPECT_TRUE(output.ends_with(kTableLegend));
    output = output.substr(kTableHeader.size(), output.size() - kTableHeader.size() - kTableLegend.size());
    std::string names;
    for (std::size_t at = 0; at < output.size(); at = output.find('\n', at) + 1) {
      names += (names.empty() ? "" : " ") + output.substr(at, output.find(' ', at) - at);
    }
    return names;
  }

  static std::string of_name(const char* text) { return listed(text, nullptr, nullptr); }
  static std::string of_feature(const char* text) { return listed(nullptr, text, nullptr); }
  static std::string at_address(const char* text) { return listed(nullptr, nullptr, text); }

  // Each entry is a filter and the names it lists: "POE > eth0 eth1".
  static void expect_all(std::string (*list)(const char* filter), const std::vector<std::string>& listings) {
    for (const std::string& listing : listings) {
      const std::size_t end = listing.find(" > ");
      EXPECT_EQ((listing.substr(0, end) + " > " + list(listing.substr(0, end).c_str())), listing);
    }
  }
};

TEST_F(ResultTable, AnEmptyTableIsHeaderVirtualInterfacesAndLegend) {
  EXPECT_EQ(printed(nullptr, nullptr, nullptr), table_of(table_line({.eth_name = "br0", .mac = "02:00:00:00:00:99"})));
}

TEST_F(ResultTable, ListsEveryPortInTableOrder) {
  for (const char* const name : {"eth2", "eth0", "eth1"}) {
    add_port(name, QORX_FEATURE_NA);
  }
  EXPECT_EQ(listed(nullptr, nullptr, nullptr), "eth2 eth0 eth1 br0");
  g_novlan = 1;
  EXPECT_EQ(listed(nullptr, nullptr, nullptr), "eth2 eth0 eth1");
}

TEST_F(ResultTable, ANameListsTheFirstPortOfExactlyThatName) {
  for (const char* const name : {"eth10", "eth1", "eth1"}) {
    add_port(name, QORX_FEATURE_NA);
  }
  expect_all(of_name, {"eth1 > eth1", "ETH1 > ", "eth > ", " > "});
}

TEST_F(ResultTable, ANameMayBeAVirtualInterface) {
  add_port("eth0", QORX_FEATURE_NA);
  machine_.add_virtual("br1", "02:00:00:00:00:98");
  EXPECT_EQ(of_name("br0"), "br0");
  g_novlan = 1;
  EXPECT_EQ(of_name("br0"), "");
}

TEST_F(ResultTable, AFeatureListsThePortsThatShareABit) {
  const std::vector<std::pair<const char*, int>> ports{{"poe", 1},  {"a", 2},     {"l", 4},    {"na", 8},  {"ncsi", 16},
                                                       {"pps", 32}, {"both", 48}, {"i2c", 64}, {"none", 0}};
  for (const auto& [name, feature] : ports) {
    add_port(name, feature);
  }
  expect_all(of_feature, {"POE > poe", "A_BYPASS > a", "L_BYPASS > l", "N/A > na", "NCSI > ncsi both",
                          "1PPS > pps both", "NCSI/1PPS > both", "A_BYPASS_I2C > i2c", "ncsi > ncsi both",
                          "ncsi/1pps > both", "a_Bypass_i2c > i2c", "n/a > na"});
}

// Words that other places know are none here either.
TEST_F(ResultTable, AnUnknownFeatureListsOnlyVirtualInterfaces) {
  for (int feature = 0; feature < 128; ++feature) {
    add_port("eth", feature);
  }
  expect_all(of_feature, {"none > br0", " > br0", "NA > br0", "A_BYPASS-C > br0", "POE  > br0", "unknown > br0",
                          "Need cfg > br0", std::string(300, 'x') + " > br0"});
  g_novlan = 1;
  EXPECT_EQ(of_feature("none"), "");
}

TEST_F(ResultTable, AMarkedFeatureIsFoundByItsBitsButNotAsBoth) {
  add_port("poe", 0x81);
  add_port("both", 0xB0);
  // The last listing but one clears the mark.
  expect_all(of_feature, {"NCSI/1PPS > ", "POE > poe", "1PPS > both", "NCSI/1PPS > both"});
}

TEST_F(ResultTable, AnAddressListsTheFirstPortThere) {
  add_port("eth0", 8, 0x5E, 0, 3);
  add_port("eth1", 8, 0x5E, 0, 3);
  add_port("eth2", 8, 0xAB, 0x1F, 0xF);
  add_port("eth3", 8, 1, 2, 254);
  add_port("eth4", 8, 255, 255, 255);
  expect_all(at_address, {"5e:00.3 > eth0", "5E:00.3 > eth0", "5E:00.03 > eth0", "ab:1f.f > eth2", "aB:1F.0f > eth2",
                          "01:02.fe > eth3", "ff:ff.ff > eth4", "5e:0.3 > ", "5e:00.003 > ", "0000:5e:00.3 > ",
                          " 5e:00.3 > ", " > ", "5e:00 > ", std::string(300, '0') + " > "});
}

// The first record decides with both spellings before the second is asked.
TEST_F(ResultTable, BothSpellingsAreTriedOnEachPortInTurn) {
  add_port("eth0", 8, 0, 0, 0x10);
  add_port("eth1", 8, 0, 0, 0);
  expect_all(at_address, {"00:00.10 > eth0", "00:00.00 > eth1"});
}

TEST_F(ResultTable, AFilterThatMatchesNothingIsNoFailureAndStaysAsItIs) {
  add_port("eth0", 8);
  const std::string feature = "poe";
  EXPECT_EQ(printed("eth9", nullptr, nullptr), table_of(""));
  EXPECT_EQ(printed(nullptr, feature.c_str(), nullptr), table_of(""));
  EXPECT_EQ(printed(nullptr, nullptr, "09:00.0"), table_of(""));
  EXPECT_EQ(feature, "poe");
}

TEST_F(ResultTable, TheMarkOfAMismatchShowsOnTheFirstListingOfItsPortOnly) {
  add_port("eth0", 0x81);
  add_port("eth1", 0x01);
  printed("eth1", nullptr, nullptr);
  EXPECT_EQ(qorx_eth_device_mapping[0].feature, 0x81);
  const std::string first = printed(nullptr, nullptr, nullptr);
  EXPECT_NE(first.find("POE(!)  "), std::string::npos);
  EXPECT_EQ(first.find("POE(!)"), first.rfind("POE(!)"));
  EXPECT_EQ(printed(nullptr, nullptr, nullptr).find("POE(!)"), std::string::npos);
  EXPECT_EQ(qorx_eth_device_mapping[0].feature, 1);
}

// Set while a warning about segments is out.
TEST_F(ResultTable, AfterAWarningOnlyThePortsToBeAddedByHandAreListed) {
  int port = 0;
  for (const int feature : {2, 2, 0x82, 64, 4, 2}) {
    add_port("eth" + std::to_string(port++), feature).seg = 255;
  }
  device_records()[1].seg = 254;
  wrong_seg_flag = 1;
  EXPECT_EQ(listed(nullptr, nullptr, nullptr), "eth0 eth5 br0");
  EXPECT_EQ(of_name("eth1"), "eth1");
  EXPECT_EQ(of_feature("L_BYPASS"), "eth4");
}

TEST_F(ResultTable, OnlyTheFirst512RecordsAreListed) {
  for (std::size_t i = 0; i < kMaxRecords; ++i) {
    add_port("eth" + std::to_string(i), 8);
  }
  const std::string names = listed(nullptr, nullptr, nullptr);
  EXPECT_EQ(std::count(names.begin(), names.end(), ' '), 512);
}

TEST_F(ResultTable, TheSlotTableIsTracedBeforeTheHeader) {
  SlotRecord& slot = add_slot("WMX Slot 1", 9, 3, 0x1C, 1);
  slot.port_count = 2;
  copy_text(slot.model_name, "WMX-2248");
  g_novlan = 1;
  EXPECT_EQ(traced_by([] { qorx_print_scan_result(nullptr, "poe", nullptr); }),
            "slot name:           type root port: port count: vid:  did:  cnt:  model name:  \n"
            "WMX Slot 1           9    03:1c.01   0x02        WMX-2248            \n" +
                table_of(""));
}

TEST_F(ResultTable, NothingIsPrintedWhenTheLibraryIsNotOpen) {
  add_port("eth0", 8);
  g_qorx_init = -1;
  qorx_set_message_level(0);
  EXPECT_EQ(outcome_of([] { return qorx_print_scan_result(nullptr, nullptr, nullptr); }), (Outcome{"", 0x95}));
}

}  // namespace
}  // namespace qorx::test
