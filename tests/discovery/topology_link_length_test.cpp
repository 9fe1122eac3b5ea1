// The length of an interface's link text decides whether it counts as a port: its low byte, as a signed number.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "discovery/interface_scan.h"
#include "discovery/topology.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

constexpr const char* kFront = "../../devices/pci0000:00/";
constexpr const char* kBack = "/0000:03:00.1/net/eth0";

// A link text of exactly `length` bytes that leads to the port eth0 at 03:00.1.
std::string link_of_length(std::size_t length, std::string front = kFront) {
  const std::string back = kBack;
  if (length < front.size() + back.size()) {
    throw std::invalid_argument("too short");
  }
  front.append(length - front.size() - back.size(), 'x');
  return front + back;
}

struct Case {
  std::size_t length;
  int status;
};

std::string length_name(const testing::TestParamInfo<Case>& named) {
  return std::to_string(named.param.length) + "Bytes";
}

class LinkLength : public testing::TestWithParam<Case> {
 protected:
  void SetUp() override { reset_library(); }
  FakeMachine machine_;
};

TEST_P(LinkLength, TheStatusIsItsLowByteAsASignedNumber) {
  machine_.add_raw_interface("eth0", link_of_length(GetParam().length));
  EXPECT_EQ(get_eth_device_pcie_info("eth0", &next_device_record()), GetParam().status);
  EXPECT_EQ(get_eth_device_pcie_info("eth0", nullptr), GetParam().status);
}

TEST_P(LinkLength, OnlyAStatusOfZeroOrMoreIsListed) {
  machine_.add_raw_interface("eth0", link_of_length(GetParam().length));
  EXPECT_EQ(get_all_eth_devices_info(), 0);
  ASSERT_EQ(qorx_system_environment_info.eth_device_number, GetParam().status >= 0 ? 1U : 0U);
  if (GetParam().status >= 0) {
    const DeviceRecord& record = qorx_eth_device_mapping[0];
    const std::string text = link_of_length(GetParam().length);
    EXPECT_EQ(record.net_path, text.substr(0, text.size() - 9));
    EXPECT_EQ(record.bus, 3);
    EXPECT_EQ(record.dev, 0);
    EXPECT_EQ(record.fun, 1);
  }
}

TEST_P(LinkLength, AStatusOfMinusOneIsTracedAsUnreadable) {
  machine_.add_raw_interface("eth0", link_of_length(GetParam().length));
  const std::string trace = traced_by([] { static_cast<void>(get_eth_device_pcie_info("eth0", nullptr)); });
  EXPECT_EQ(trace, GetParam().status == -1 ? "can't readlink /sys/class/net/eth0\n" : "");
}

INSTANTIATE_TEST_SUITE_P(Lengths, LinkLength,
                         testing::Values(Case{60, 60}, Case{126, 126}, Case{127, 127}, Case{128, -128}, Case{129, -127},
                                         Case{200, -56}, Case{253, -3}, Case{254, -2}, Case{255, -1}, Case{256, 0},
                                         Case{257, 1}, Case{300, 44}, Case{383, 127}, Case{384, -128}, Case{510, -2},
                                         Case{511, -1}, Case{512, -1}, Case{600, -1}, Case{2000, -1}),
                         length_name);

class VirtualLinkLength : public testing::TestWithParam<Case> {
 protected:
  void SetUp() override { reset_library(); }
  FakeMachine machine_;
};

TEST_P(VirtualLinkLength, AReadableLinkIsVirtualWhateverItsLength) {
  machine_.add_raw_interface("eth0", link_of_length(GetParam().length, "../../devices/virtual/"));
  EXPECT_EQ(get_eth_device_pcie_info("eth0", &next_device_record()), GetParam().status);
  EXPECT_STREQ(qorx_eth_device_mapping[0].eth_name, "");
}

INSTANTIATE_TEST_SUITE_P(Lengths, VirtualLinkLength,
                         testing::Values(Case{60, -2}, Case{128, -2}, Case{254, -2}, Case{255, -1}, Case{256, -2},
                                         Case{510, -2}, Case{511, -1}),
                         length_name);

TEST(LinkText, VirtualIsSaidByTheDirectoriesInItNotByAName) {
  reset_library();
  FakeMachine machine;
  machine.add_raw_interface("eth0", "../../devices/virtual-bus/0000:03:00.1/net/eth0");
  machine.add_raw_interface("eth1", "../../x/devices/virtual/net/eth1");
  EXPECT_GT(get_eth_device_pcie_info("eth0", nullptr), 0);
  EXPECT_EQ(get_eth_device_pcie_info("eth1", nullptr), kVirtualInterface);
}

TEST(LinkText, TheTailIsCutByItsLengthAlone) {
  reset_library();
  FakeMachine machine;
  machine.add_raw_interface("eth0", "../../devices/pci0000:00/0000:03:00.1/xyz/wan7");
  static_cast<void>(get_eth_device_pcie_info("eth0", &next_device_record()));
  EXPECT_STREQ(qorx_eth_device_mapping[0].net_path, "../../devices/pci0000:00/0000:03:00.1");
  EXPECT_EQ(qorx_eth_device_mapping[0].bus, 3);
}

}  // namespace
}  // namespace qorx::test
