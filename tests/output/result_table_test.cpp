// The table on the screen: filters, virtual interfaces, warning list.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/bounded_text.h"
#include "records/state.h"
#include "tests/support/expected_table.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx {
namespace {

using test::table_of;

class ResultTable : public testing::Test {
 protected:
  void SetUp() override {
    test::reset_library();
    machine_.add_virtual("br0", "02:00:00:00:00:99");
    g_qorx_init = 0;
  }
  void TearDown() override { test::reset_library(); }

  static DeviceRecord& add_port(std::string_view name, int feature, int bus = 1, int dev = 0, int fun = 0) {
    DeviceRecord& record = test::add_device(name, "S 1", QORX_SMBIOS_SYSTEM_SLOT);
    record.feature = static_cast<std::uint8_t>(feature);
    record.bus = static_cast<std::uint8_t>(bus);
    record.dev = static_cast<std::uint8_t>(dev);
    record.fun = static_cast<std::uint8_t>(fun);
    return record;
  }

  static std::string printed(const char* name, const char* feature, const char* bdf) {
    return test::printed_by([=] { EXPECT_EQ(qorx_print_scan_result(name, feature, bdf), 0); });
  }

  // The names in the first column, in order.
  static std::string listed(const char* name, const char* feature, const char* bdf) {
    std::string output = printed(name, feature, bdf);
    EXPECT_TRUE(output.starts_with(test::kTableHeader));
    EXPECT_TRUE(output.ends_with(test::kTableLegend));
    output =
        output.substr(test::kTableHeader.size(), output.size() - test::kTableHeader.size() - test::kTableLegend.size());
    std::string names;
    for (std::size_t at = 0; at < output.size(); at = output.find('\n', at) + 1) {
      names += (names.empty() ? "" : " ") + output.substr(at, output.find(' ', at) - at);
    }
    return names;
  }

  test::FakeMachine machine_;
};

TEST_F(ResultTable, AnEmptyTableIsHeaderVirtualInterfacesAndLegend) {
  EXPECT_EQ(printed(nullptr, nullptr, nullptr),
            table_of(test::table_line({.eth_name = "br0", .mac = "02:00:00:00:00:99"})));
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
  add_port("eth10", QORX_FEATURE_NA);
  add_port("eth1", QORX_FEATURE_NA);
  add_port("eth1", QORX_FEATURE_NA);
  EXPECT_EQ(listed("eth1", nullptr, nullptr), "eth1");
  EXPECT_EQ(listed("ETH1", nullptr, nullptr), "");
  EXPECT_EQ(listed("eth", nullptr, nullptr), "");
  EXPECT_EQ(listed("", nullptr, nullptr), "");
}

TEST_F(ResultTable, ANameMayBeAVirtualInterface) {
  add_port("eth0", QORX_FEATURE_NA);
  machine_.add_virtual("br1", "02:00:00:00:00:98");
  EXPECT_EQ(listed("br0", nullptr, nullptr), "br0");
  g_novlan = 1;
  EXPECT_EQ(listed("br0", nullptr, nullptr), "");
}

TEST_F(ResultTable, AFeatureListsThePortsThatShareABit) {
  struct Case {
    const char* text;
    const char* names;
  };
  add_port("poe", 1);
  add_port("a", 2);
  add_port("l", 4);
  add_port("na", 8);
  add_port("ncsi", 16);
  add_port("pps", 32);
  add_port("both", 48);
  add_port("i2c", 64);
  add_port("none", 0);
  for (const Case& c :
       {Case{"POE", "poe"}, Case{"A_BYPASS", "a"}, Case{"L_BYPASS", "l"}, Case{"N/A", "na"}, Case{"NCSI", "ncsi both"},
        Case{"1PPS", "pps both"}, Case{"NCSI/1PPS", "both"}, Case{"A_BYPASS_I2C", "i2c"}, Case{"ncsi", "ncsi both"},
        Case{"ncsi/1pps", "both"}, Case{"a_Bypass_i2c", "i2c"}, Case{"n/a", "na"}}) {
    EXPECT_EQ(listed(nullptr, c.text, nullptr), c.names) << c.text;
  }
}

// Words that other places know are none here either.
TEST_F(ResultTable, AnUnknownFeatureListsOnlyVirtualInterfaces) {
  for (int feature = 0; feature < 128; ++feature) {
    add_port("eth", feature);
  }
  for (const char* const text : {"none", "", "NA", "A_BYPASS-C", "POE ", "unknown", "Need cfg"}) {
    EXPECT_EQ(listed(nullptr, text, nullptr), "br0") << text;
  }
  EXPECT_EQ(listed(nullptr, std::string(300, 'x').c_str(), nullptr), "br0");
  g_novlan = 1;
  EXPECT_EQ(listed(nullptr, "none", nullptr), "");
}

TEST_F(ResultTable, AMarkedFeatureIsFoundByItsBitsButNotAsBoth) {
  add_port("poe", 0x81);
  add_port("both", 0xB0);
  EXPECT_EQ(listed(nullptr, "NCSI/1PPS", nullptr), "");
  EXPECT_EQ(listed(nullptr, "POE", nullptr), "poe");
  EXPECT_EQ(listed(nullptr, "1PPS", nullptr), "both");
  EXPECT_EQ(listed(nullptr, "NCSI/1PPS", nullptr), "both");  // the listing before cleared the mark
}

TEST_F(ResultTable, AnAddressListsTheFirstPortThere) {
  add_port("eth0", 8, 0x5E, 0, 3);
  add_port("eth1", 8, 0x5E, 0, 3);
  add_port("eth2", 8, 0xAB, 0x1F, 0xF);
  add_port("eth3", 8, 1, 2, 254);
  add_port("eth4", 8, 255, 255, 255);
  struct Case {
    const char* text;
    const char* names;
  };
  for (const Case& c :
       {Case{"5e:00.3", "eth0"}, Case{"5E:00.3", "eth0"}, Case{"5E:00.03", "eth0"}, Case{"ab:1f.f", "eth2"},
        Case{"aB:1F.0f", "eth2"}, Case{"01:02.fe", "eth3"}, Case{"ff:ff.ff", "eth4"}, Case{"5e:0.3", ""},
        Case{"5e:00.003", ""}, Case{"0000:5e:00.3", ""}, Case{" 5e:00.3", ""}, Case{"", ""}, Case{"5e:00", ""}}) {
    EXPECT_EQ(listed(nullptr, nullptr, c.text), c.names) << c.text;
  }
  EXPECT_EQ(listed(nullptr, nullptr, std::string(300, '0').c_str()), "");
}

// The first record decides with both spellings before the second is asked.
TEST_F(ResultTable, BothSpellingsAreTriedOnEachPortInTurn) {
  add_port("eth0", 8, 0, 0, 0x10);
  add_port("eth1", 8, 0, 0, 0);
  EXPECT_EQ(listed(nullptr, nullptr, "00:00.10"), "eth0");
  EXPECT_EQ(listed(nullptr, nullptr, "00:00.00"), "eth1");
}

TEST_F(ResultTable, AFilterThatMatchesNothingIsNoFailure) {
  add_port("eth0", 8);
  EXPECT_EQ(printed("eth9", nullptr, nullptr), table_of(""));
  EXPECT_EQ(printed(nullptr, "POE", nullptr), table_of(""));
  EXPECT_EQ(printed(nullptr, nullptr, "09:00.0"), table_of(""));
}

TEST_F(ResultTable, TheMarkOfAMismatchShowsOnTheFirstListingOnly) {
  add_port("eth0", 0x81);
  add_port("eth1", 0x01);
  const std::string first = printed(nullptr, nullptr, nullptr);
  EXPECT_NE(first.find("POE(!)  "), std::string::npos);
  EXPECT_EQ(first.find("POE(!)"), first.rfind("POE(!)"));
  EXPECT_EQ(printed(nullptr, nullptr, nullptr).find("POE(!)"), std::string::npos);
  EXPECT_EQ(qorx_eth_device_mapping[0].feature, 1);
}

TEST_F(ResultTable, AMarkIsKeptUntilItsPortIsListed) {
  add_port("eth0", 0x81);
  add_port("eth1", 0x01);
  printed("eth1", nullptr, nullptr);
  EXPECT_EQ(qorx_eth_device_mapping[0].feature, 0x81);
}

// Set while a warning about segments is out.
TEST_F(ResultTable, AfterAWarningOnlyThePortsToBeAddedByHandAreListed) {
  add_port("eth0", 2).seg = 255;
  add_port("eth1", 2).seg = 254;
  add_port("eth2", 0x82).seg = 255;
  add_port("eth3", 64).seg = 255;
  add_port("eth4", 4).seg = 255;
  add_port("eth5", 2).seg = 255;
  wrong_seg_flag = 1;
  EXPECT_EQ(listed(nullptr, nullptr, nullptr), "eth0 eth5 br0");
  EXPECT_EQ(listed("eth1", nullptr, nullptr), "eth1");
  EXPECT_EQ(listed(nullptr, "L_BYPASS", nullptr), "eth4");
}

TEST_F(ResultTable, OnlyTheFirst512RecordsAreListed) {
  for (std::size_t i = 0; i < kMaxRecords; ++i) {
    add_port("eth" + std::to_string(i), 8);
  }
  const std::string names = listed(nullptr, nullptr, nullptr);
  EXPECT_EQ(std::count(names.begin(), names.end(), ' '), 512);
}

TEST_F(ResultTable, TheSlotTableIsTracedBeforeTheHeader) {
  SlotRecord& slot = test::add_slot("WMX Slot 1", 9, 3, 0x1C, 1);
  slot.port_count = 2;
  copy_text(slot.model_name, "WMX-2248");
  g_novlan = 1;
  EXPECT_EQ(test::traced_by([] { qorx_print_scan_result(nullptr, "poe", nullptr); }),
            "slot name:           type root port: port count: vid:  did:  cnt:  model name:  \n"
            "WMX Slot 1           9    03:1c.01   0x02        WMX-2248            \n" +
                table_of(""));
}

TEST_F(ResultTable, NothingIsPrintedWhenTheLibraryIsNotOpen) {
  add_port("eth0", 8);
  g_qorx_init = -1;
  qorx_set_message_level(0);
  EXPECT_EQ(test::printed_by([] { EXPECT_EQ(qorx_print_scan_result(nullptr, nullptr, nullptr), 0x95); }), "");
}

TEST_F(ResultTable, TheCallersFilterTextStaysAsItIs) {
  const std::string feature = "poe";
  printed(nullptr, feature.c_str(), nullptr);
  EXPECT_EQ(feature, "poe");
}

}  // namespace
}  // namespace qorx
