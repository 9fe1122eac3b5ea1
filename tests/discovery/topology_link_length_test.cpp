// The length of an interface's link text decides whether it counts as a port: its low byte, as a signed number.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "discovery/interface_scan.h"
#include "discovery/topology.h"
#include "tests/support/expect.h"
#include "tests/support/fixture.h"

namespace qorx::test {
namespace {

constexpr const char* kBack = "/0000:03:00.1/net/eth0";

// A link text of exactly `length` bytes that leads to the port eth0 at 03:00.1.
std::string link_of_length(std::size_t length, std::string front = "../../devices/pci0000:00/") {
  const std::string back = kBack;
  if (length < front.size() + back.size()) {
    throw std::invalid_argument("too short");
  }
  front.append(length - front.size() - back.size(), 'x');
  return front + back;
}

class LinkText : public MachineTest {
 protected:
  // Fills this record, or none.
  std::int8_t status_of(const std::string& link, DeviceRecord* record = nullptr) {
    machine_.remove("sys/class/net/eth0").add_raw_interface("eth0", link);
    return get_eth_device_pcie_info("eth0", record);
  }
};

// Only a status of 0 or more is listed, and one of -1 is traced as unreadable.
TEST_F(LinkText, TheStatusIsTheLowByteOfItsLengthAsASignedNumber) {
  for (const auto& [length, status] : std::vector<std::pair<std::size_t, int>>{{60, 60},
                                                                               {126, 126},
                                                                               {127, 127},
                                                                               {128, -128},
                                                                               {129, -127},
                                                                               {200, -56},
                                                                               {253, -3},
                                                                               {254, -2},
                                                                               {255, -1},
                                                                               {256, 0},
                                                                               {257, 1},
                                                                               {300, 44},
                                                                               {383, 127},
                                                                               {384, -128},
                                                                               {510, -2},
                                                                               {511, -1},
                                                                               {512, -1},
                                                                               {600, -1},
                                                                               {2000, -1}}) {
    SCOPED_TRACE(length);
    reset_library();
    const std::string link = link_of_length(length);
    EXPECT_EQ(status_of(link), status);
    EXPECT_EQ(status_of(link, &next_device_record()), status);
    EXPECT_EQ(traced_by([&] { static_cast<void>(status_of(link)); }),
              status == -1 ? "can't readlink /sys/class/net/eth0\n" : "");
    EXPECT_EQ(get_all_eth_devices_info(), 0);
    ASSERT_EQ(qorx_system_environment_info.eth_device_number, status >= 0 ? 1U : 0U);
    if (status >= 0) {
      const std::string net_path = link.substr(0, link.size() - 9);
      expect_port(qorx_eth_device_mapping[0], {.bus = 3, .dev = 0, .fun = 1, .net_path = net_path});
    }
  }
}

TEST_F(LinkText, AReadableLinkIsVirtualWhateverItsLength) {
  for (const auto& [length, status] : std::vector<std::pair<std::size_t, int>>{
           {60, -2}, {128, -2}, {254, -2}, {255, -1}, {256, -2}, {510, -2}, {511, -1}}) {
    const std::string link = link_of_length(length, "../../devices/virtual/");
    EXPECT_EQ(status_of(link, &next_device_record()), status) << length;
    EXPECT_STREQ(qorx_eth_device_mapping[0].eth_name, "");
  }
}

TEST_F(LinkText, VirtualIsSaidByTheDirectoriesAnywhereInItNotByAName) {
  for (const char* const link :
       {"../../devices/virtual/net/eth0", "../../x/devices/virtual/net/eth0",
        "../../devices/pci0000:00/0000:03:00.1/devices/virtual/net/eth0", "/devices/virtual/", "x/devices/virtual/x"}) {
    EXPECT_EQ(status_of(link), kVirtualInterface) << link;
  }
  for (const char* const link :
       {"../../devices/virtual-bus/0000:03:00.1/net/eth0", "../../devices/xvirtual/net/eth0",
        "../../xdevices/virtual/net/eth0", "devices/virtual/net/eth0", "../../devices/Virtual/net/eth0"}) {
    EXPECT_GT(status_of(link), 0) << link;
  }
}

TEST_F(LinkText, TheTailIsCutByItsLengthAlone) {
  EXPECT_GT(status_of("../../devices/pci0000:00/0000:03:00.1/xyz/wan7", &next_device_record()), 0);
  expect_port(qorx_eth_device_mapping[0], {.bus = 3, .net_path = "../../devices/pci0000:00/0000:03:00.1"});
}

}  // namespace
}  // namespace qorx::test
