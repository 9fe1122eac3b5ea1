#include "output/virtual_interfaces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "discovery/interface_scan.h"
#include "records/state.h"
#include "tests/support/expect.h"
#include "tests/support/expected_table.h"
#include "tests/support/fixture.h"

namespace qorx::test {
namespace {

const std::string kBr0 = table_line({.eth_name = "br0", .mac = "02:00:00:00:00:01"});

std::string listed(const char* name = nullptr) {
  return printed_by([name] { EXPECT_EQ(get_all_virtual_eth_devices_info(name, nullptr), 0); });
}

// The rows come in directory order, which is the file system's affair.
std::vector<std::string> sorted_lines(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line + "\n");
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

using VirtualInterfaces = MachineTest;

TEST_F(VirtualInterfaces, TheLoopbackIsNeverListed) {
  EXPECT_EQ(listed(), "");
  EXPECT_EQ(listed("lo"), "");
}

TEST_F(VirtualInterfaces, EveryVirtualOneHasARowAndNoOther) {
  machine_.add_virtual("br0", "02:00:00:00:00:01").add_virtual("eth0.5", "02:00:00:00:00:02");
  machine_.add_port("eth0", "0000:00:01.0");
  machine_.add_usb_port("usb0", "0000:00:14.0/usb2/2-1/2-1:1.0", "bda/8153/3000");
  machine_.add_raw_interface("soc0", "../../devices/platform/soc/net/soc0");
  machine_.write("sys/class/net/bonding_masters", "\n");
  add_device("eth0");
  EXPECT_EQ(sorted_lines(listed()),
            (std::vector<std::string>{kBr0, table_line({.eth_name = "eth0.5", .mac = "02:00:00:00:00:02"})}));
}

// It is in the table already: an adapter was unplugged, and its name given away, since the scan.
TEST_F(VirtualInterfaces, ANameThatTheScanHasRecordedIsNotListedASecondTime) {
  machine_.add_virtual("br0", "02:00:00:00:00:01").add_virtual("usb0", "02:00:00:00:00:02");
  add_device("usb0");
  EXPECT_EQ(listed(), kBr0);
  EXPECT_EQ(listed("usb0"), "");
}

TEST_F(VirtualInterfaces, ANameKeepsOnlyThatOne) {
  machine_.add_virtual("br0", "02:00:00:00:00:01").add_virtual("br01", "02:00:00:00:00:02");
  machine_.add_port("eth0", "0000:00:01.0");
  EXPECT_EQ(listed("br0"), kBr0);
  for (const char* const other : {"BR0", "eth0", ""}) {
    EXPECT_EQ(listed(other), "") << other;
  }
}

TEST_F(VirtualInterfaces, WithoutAMacItIsNotAvailableAndALongOneIsShownWhole) {
  const std::string infiniband = "80:00:02:08:fe:80:00:00:00:00:00:00:e4:1d:2d:03:00:1f:53:f1";
  machine_.add_virtual("tun0", "").add_virtual("ib0", infiniband);
  machine_.add_raw_interface("tun1", "../../devices/virtual/net/tun1");
  EXPECT_EQ(listed("tun0"), table_line({.eth_name = "tun0"}));
  EXPECT_EQ(listed("tun1"), table_line({.eth_name = "tun1"}));
  EXPECT_EQ(listed("ib0"), table_line({.eth_name = "ib0", .mac = infiniband}));
}

// The low byte of such a length is what marks a virtual interface.
TEST_F(VirtualInterfaces, APortWhoseLinkHas254Or510BytesIsListedAmongThem) {
  for (const std::size_t length : {253U, 254U, 509U, 510U}) {
    const std::string name = "eth" + std::to_string(length);
    const std::string head = "../../devices/pci0000:00/0000:00:01.0/";
    const std::string tail = "/net/" + name;
    machine_.add_raw_interface(name, head + std::string(length - head.size() - tail.size(), 'x') + tail);
  }
  EXPECT_EQ(sorted_lines(listed()),
            (std::vector<std::string>{table_line({.eth_name = "eth254"}), table_line({.eth_name = "eth510"})}));
}

TEST_F(VirtualInterfaces, RowsGoToTheStreamThatIsGiven) {
  machine_.add_virtual("br0", "02:00:00:00:00:01");
  const std::string path = machine_.user_file("rows", "");
  std::FILE* const file = std::fopen(path.c_str(), "w");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(printed_by([file] { get_all_virtual_eth_devices_info(nullptr, file); }), "");
  std::fclose(file);
  EXPECT_EQ(read_file(path), kBr0);
}

TEST_F(VirtualInterfaces, AListThatCannotBeReadIsAnErrorLikeThatOfTheEnvironment) {
  machine_.remove("sys/class/net");
  EXPECT_EQ(outcome_of([] { return get_all_virtual_eth_devices_info(nullptr, nullptr); }),
            (Outcome{"/sys/class/net folder do not exist or can't access. Please check your environment\n", 0x98}));
}

TEST_F(VirtualInterfaces, WhatIsNoLinkIsTracedAndLeftOut) {
  machine_.write("sys/class/net/bonding_masters", "\n");
  EXPECT_EQ(traced_by([] { get_all_virtual_eth_devices_info(nullptr, nullptr); }),
            "can't readlink /sys/class/net/bonding_masters\n");
}

TEST_F(VirtualInterfaces, EachIsTracedWhereItIsFound) {
  machine_.add_virtual("br0", "02:00:00:00:00:01");
  EXPECT_EQ(traced_by([] { get_all_virtual_eth_devices_info(nullptr, nullptr); }), "found vlan br0\n" + kBr0);
  EXPECT_EQ(traced_by([] { get_all_virtual_eth_devices_info("other", nullptr); }), "found vlan br0\n");
}

// Whatever has become of the list: a plain listing behind a scan shows what the scan met.
TEST_F(VirtualInterfaces, AreThoseOfTheScan) {
  machine_.add_virtual("br0", "02:00:00:00:00:01").add_virtual("tun0", "02:00:00:00:00:02");
  machine_.add_port("eth0", "0000:00:01.0");
  ASSERT_EQ(get_all_eth_devices_info(), 0);
  const std::string tun0 = table_line({.eth_name = "tun0", .mac = "02:00:00:00:00:02"});
  EXPECT_EQ(sorted_lines(listed()), (std::vector<std::string>{kBr0, tun0}));
  EXPECT_EQ(listed("tun0"), tun0);
  EXPECT_EQ(listed("eth0"), "");
  machine_.remove("sys/class/net");
  const std::vector<std::string> gone{table_line({.eth_name = "br0"}), table_line({.eth_name = "tun0"})};
  EXPECT_EQ(sorted_lines(listed()), gone) << "without the addresses, which are read for the listing";
}

TEST_F(VirtualInterfaces, ThatAppearBehindTheScanAreSeenByTheNextOneAndByTraces) {
  ASSERT_EQ(get_all_eth_devices_info(), 0);
  machine_.add_virtual("br0", "02:00:00:00:00:01");
  EXPECT_EQ(listed(), "");
  EXPECT_EQ(traced_by([] { get_all_virtual_eth_devices_info(nullptr, nullptr); }), "found vlan br0\n" + kBr0);
  ASSERT_EQ(get_all_eth_devices_info(), 0);
  EXPECT_EQ(listed(), kBr0);
  machine_.remove("sys/class/net/br0");
  clear_tables();
  EXPECT_EQ(listed(), "") << "nothing is known of the scan any more, and the list is read";
}

TEST_F(VirtualInterfaces, AreReadAgainWhereTheScanFailed) {
  machine_.add_virtual("br0", "02:00:00:00:00:01");
  ASSERT_EQ(get_all_eth_devices_info(), 0);
  machine_.remove("sys/class/net");
  EXPECT_EQ(outcome_of([] { return get_all_eth_devices_info(); }).code, 0x98);
  EXPECT_EQ(outcome_of([] { return get_all_virtual_eth_devices_info(nullptr, nullptr); }).code, 0x98);
}

}  // namespace
}  // namespace qorx::test
