#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "ident/supported_devices.h"
#include "lib/qorx.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx {
namespace {

using test::FakeMachine;
using test::ToolRun;

constexpr const char* kListing =
    R"(model              feature        svid sdid index  
WMX-1813           L_BYPASS       13fe 0038 0
WMX-2248           N/A            13fe 0037 1
WMX-4915           L_BYPASS       13fe 2042 2
WMX-9811           N/A            13fe 2043 3
WMX-1658           L_BYPASS       13fe 2044 4
WMX-6473           L_BYPASS       13fe 2045 5
WMX-5068           N/A            13fe 2046 6
WMX-3529           A_BYPASS       13fe 002a 7
WMX-3529           A_BYPASS       13fe 002b 8
WMX-2848           A_BYPASS       13fe 0035 9
WMX-2848           N/A            13fe 0036 10
WMX-8655           A_BYPASS       13fe 201f 11
WMX-8655           L_BYPASS       13fe 203f 12
WMX-8655           N/A            13fe 203a 13
WMX-0119           L_BYPASS       13fe 0034 14
WMX-6471           N/A            13fe 2041 15
WMX-0229           N/A            13fe 2040 16
WMX-4195           A_BYPASS       13fe 0032 17
WMX-4195           N/A            13fe 0033 18
WMX-3493           A_BYPASS       13fe 201a 19
WMX-3493           L_BYPASS       13fe 203d 20
WMX-3493           N/A            13fe 201d 21
WMX-3493           A_BYPASS       13fe 204b 22
WMX-3493           L_BYPASS       13fe 204c 23
WMX-3493           N/A            13fe 204d 24
WMX-6997           A_BYPASS       13fe 201b 25
WMX-6997           L_BYPASS       13fe 203e 26
WMX-6997           N/A            13fe 201e 27
WMX-6997           A_BYPASS       13fe 204e 28
WMX-6997           L_BYPASS       13fe 204f 29
WMX-6997           N/A            13fe 2050 30
WMX-4459           N/A            13fe 201c 31
WMX-4459           N/A            13fe 2051 32
WMX-4180           N/A            13fe 2017 33
WMX-1280           N/A            13fe 0031 34
WMX-9243           A_BYPASS       13fe 0028 35
WMX-9243           A_BYPASS       13fe 0029 36
WMX-9582           N/A            13fe 200c 37
WMX-5506           A_BYPASS       13fe 200d 38
WMX-1800           N/A            13fe 2019 39
WMX-1912GD         N/A            13fe 205a 40
WMX-9041           N/A            13fe 2018 41
WMX-7045           N/A            13fe 0030 42
WMX-9556           N/A            13fe 002f 43
WMX-9605           N/A            13fe 002e 44
WMX-9605           N/A            13fe 2058 45
WMX-6264           A_BYPASS       13fe 0027 46
WMX-6264           A_BYPASS       13fe 0026 47
WMX-4840           A_BYPASS       13fe 2013 48
WMX-4840           A_BYPASS       13fe 2056 49
WMX-5019           N/A            13fe 2014 50
WMX-7135           N/A            15b3 2015 51
WMX-7135           N/A            13fe 2015 52
WMX-2216           N/A            13fe 2048 53
WMX-J34            POE            13fe 2016 54
WMX-L13            POE            13fe 2047 55
WMX-LH53           N/A            13fe 204a 56
WMX-44C0           A_BYPASS_I2C   13fe 205d 57
WMX-90Z9           N/A            13fe 205e 58
WMX-35M8           N/A            13fe 205f 59
WMX-01D8           A_BYPASS_I2C   13fe 2061 60
WMX-01D8           N/A            13fe 2065 61
PCIE-6696NP        N/A            13fe 205b 62
PCIE-7289BP        A_BYPASS       13fe 0011 63
PCIE-5238BP        A_BYPASS       13fe 3008 64
PCIE-5219NP        N/A            13fe 3009 65
PCIE-5219NP        N/A            13fe 300a 66
PCIE-1068BP        A_BYPASS       13fe 2052 67
PCIE-6922          N/A            13fe 3007 68
I210_CO            A_BYPASS       13fe 302b 69
I210_CO            A_BYPASS       13fe 302e 70
I210_CO            N/A            13fe 301c 71
I210_CO            N/A            13fe 301a 72
I210_CO            NCSI           13fe 3016 73
I210_CO            POE            13fe 3023 74
I211_CO            N/A            13fe 3022 75
I211_CO            POE            13fe 3027 76
I350_CO            A_BYPASS       13fe 301e 77
I350_CO            N/A            13fe 3017 78
X553_CO            A_BYPASS       13fe 301b 79
X553_CO            A_BYPASS       13fe 3026 80
X553_CO            N/A            13fe 3024 81
X553_CO            POE            13fe 3018 82
X553_FI            N/A            13fe 3025 83
X553_FI            N/A            13fe 302c 84
X710_FI            1PPS           13fe 3031 85
X710_FI            N/A            13fe 3029 86
X722_FI            1PPS           13fe 302f 87
X722_FI            N/A            13fe 301f 88
X722_FI            N/A            13fe 3028 89
X722_FI            NCSI           13fe 301d 90
X722_FI            NCSI/1PPS      13fe 3030 91
WX1860A2_CO        N/A            13fe 3032 92
WX1860A4_CO        A_BYPASS_I2C   13fe 3033 93
WX1860A4_FI        N/A            13fe 3034 94
I226_CO            N/A            13fe 3035 95
E822_FI_CO         A_BYPASS       13fe 3037 96
I210_FI            N/A            13fe 303c 97
I226_CO            A_BYPASS_I2C   13fe 3043 98
)";

class SupportedListing : public ::testing::Test {
 protected:
  void SetUp() override { test::reset_library(); }
  FakeMachine machine_;
};

TEST_F(SupportedListing, ListsEveryKnownCardAsOneRow) {
  const ToolRun run = machine_.run({"-support"});
  EXPECT_EQ(run.output, kListing);
  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(run.status, 0);
}

TEST_F(SupportedListing, HasAHeaderAnd99Rows) {
  const std::string output = machine_.run({"-support"}).output;
  EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 100);
}

TEST_F(SupportedListing, DoesNotDependOnTheCardsOfTheMachine) {
  machine_.add_port("eth0", "0000:00:1c.0/0000:03:00.0", {0x8086, 0x1521, 0x13FE, 0x0038});
  EXPECT_EQ(machine_.run({"-support", "-novlan", "-vm"}).output, kListing);
}

TEST_F(SupportedListing, DebugMessagesEndWithTheTwoCounts) {
  ASSERT_EQ(qorx_open(), 0);
  EXPECT_EQ(test::traced_by([] { EXPECT_EQ(qorx_print_supported_WMX(), 0); }),
            kListing + std::string("Total: 99\nMAXIMUM_DEVICE_MAPPING_NUMBER: 150\n"));
}

TEST_F(SupportedListing, IsRefusedWhileTheLibraryIsNotOpen) {
  std::int32_t code = 0;
  EXPECT_EQ(test::printed_by([&] { code = qorx_print_supported_WMX(); }),
            "qorx library needs to be initialized before function call.\n");
  EXPECT_EQ(code & 0xFF, 0x95);
}

TEST_F(SupportedListing, IsRefusedSilentlyWithErrorMessagesOff) {
  qorx_set_message_level(0);
  std::int32_t code = 0;
  EXPECT_EQ(test::printed_by([&] { code = qorx_print_supported_WMX(); }), "");
  EXPECT_EQ(code & 0xFF, 0x95);
}

TEST_F(SupportedListing, AFailedOpenEndsItWithTheOpensError) {
  machine_.remove("sys/devices");
  const ToolRun run = machine_.run({"-support"});
  EXPECT_EQ(run.output,
            "/sys/devices/pci0000:00 folder do not exist or can't access. Please check your environment\n"
            "Error: QORX_ERR_OPEN_DIR (0x98)\n");
  EXPECT_EQ(run.status, 0x98);
}

}  // namespace
}  // namespace qorx
