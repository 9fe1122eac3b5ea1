#include "base/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

#include "lib/qorx.h"
#include "tests/support/fixture.h"

namespace qorx {
namespace {

// As they stand when the process starts.
const std::int32_t kErrorsAtStart = g_error_message_open;
const std::int32_t kDebugAtStart = g_debug_message_open;

using Messages = test::LibraryTest;

std::string line_of(std::int32_t code) {
  return test::printed_by([code] { qorx_print_error_message(code); });
}

struct Code {
  std::int32_t code;
  std::int32_t value;
  const char* line;
};

constexpr Code kCodes[] = {
    {QORX_ERR_OPEN_FILE, -128, "Error: QORX_ERR_OPEN_FILE (0x80)\n"},
    {QORX_ERR_CONF_FILE_FORMAT, -127, "Error: QORX_ERR_CONF_FILE_FORMAT (0x81)\n"},
    {QORX_ERR_CLOSE_FILE, -125, "Error: QORX_ERR_CLOSE_FILE (0x83)\n"},
    {QORX_ERR_CLOSE, -120, "Error: QORX_ERR_CLOSE (0x88)\n"},
    {QORX_ERR_DATA_FORMAT, -116, "Error: QORX_ERR_DATA_FORMAT (0x8c)\n"},
    {QORX_ERR_SMBIOS_CHECKSUM, -110, "Error: QORX_ERR_SMBIOS_CHECKSUM (0x92)\n"},
    {QORX_ERR_PARAM_OUT_OF_BOUND, -109, "Error: QORX_ERR_PARAM_OUT_OF_BOUND (0x93)\n"},
    {QORX_ERR_PARAM_NULL_POINTER, -108, "Error: QORX_ERR_PARAM_NULL_POINTER (0x94)\n"},
    {QORX_ERR_INIT, -107, "Error: QORX_ERR_INIT (0x95)\n"},
    {QORX_ERR_COMMAND_NOT_SUPPORT, -106, "Error: QORX_ERR_COMMAND_NOT_SUPPORT (0x96)\n"},
    {QORX_ERR_MMAP, -105, "Error: QORX_ERR_MMAP (0x97)\n"},
    {QORX_ERR_OPEN_DIR, -104, "Error: QORX_ERR_OPEN_DIR (0x98)\n"},
    {QORX_ERR_NIC_NOT_EXIST, -103, "Error: QORX_ERR_NIC_NOT_EXIST (0x99)\n"},
    {QORX_ERR_SMBIOS_DATA_FORMAT_WRONG, -102, "Error: QORX_ERR_SMBIOS_DATA_FORMAT_WRONG (0x9a)\n"},
};

TEST_F(Messages, TheNamesHaveTheseValues) {
  for (const Code& code : kCodes) {
    EXPECT_EQ(code.code, code.value) << code.line;
  }
}

TEST_F(Messages, EveryByteHasItsLine) {
  for (const int offset : {0, -256, 0x1200}) {
    std::string expected;
    for (int byte = 0; byte < 256; ++byte) {
      const auto known = std::ranges::find(kCodes, byte - 256, &Code::value);
      char unknown[40];
      std::snprintf(unknown, sizeof unknown, "Unknown error code (0x%02x)\n", byte);
      expected += known != std::end(kCodes) ? known->line : unknown;
    }
    EXPECT_EQ(test::printed_by([offset] {
                for (int byte = 0; byte < 256; ++byte) {
                  qorx_print_error_message(byte + offset);
                }
              }),
              expected);
  }
}

// -111, a machine without SMBIOS, has no name.
TEST_F(Messages, TheErrorLinePrintsAtEveryLevel) {
  for (const std::int32_t level : {0, 1, 2}) {
    qorx_set_message_level(level);
    EXPECT_EQ(line_of(-104), "Error: QORX_ERR_OPEN_DIR (0x98)\n");
    EXPECT_EQ(line_of(-111), "Unknown error code (0x91)\n");
  }
}

TEST_F(Messages, ErrorsAreOnAndDebugIsOffAtStart) {
  EXPECT_EQ(kErrorsAtStart, 1);
  EXPECT_EQ(kDebugAtStart, 0);
}

std::string error_and_debug() {
  return test::printed_by([] {
    error("error %d\n", 1);
    debug("debug %s\n", "x");
  });
}

TEST_F(Messages, LevelsGateErrorsAndTraces) {
  constexpr std::array kOutputs{"", "error 1\n", "error 1\ndebug x\n"};
  for (const int level : {2, 0, 1, 2, 1, 0}) {
    EXPECT_EQ(test::printed_by([level] { EXPECT_EQ(qorx_set_message_level(level), 0); }), "");
    EXPECT_EQ(error_and_debug(), kOutputs.at(static_cast<std::size_t>(level))) << level;
    EXPECT_EQ(debugging(), level == 2);
  }
}

TEST_F(Messages, AnyOtherLevelFailsAndSwitchesErrorsOn) {
  for (const int level : {3, -1, 256, 1 << 30, -(1 << 30)}) {
    qorx_set_message_level(0);
    std::int32_t code = 0;
    EXPECT_EQ(test::printed_by([&] { code = qorx_set_message_level(level); }),
              "Error: Parameter msg_level out of range.\n");
    EXPECT_EQ(code, 0x93);
    EXPECT_EQ(error_and_debug(), "error 1\n");
  }
}

TEST_F(Messages, AWrongLevelLeavesDebugAsItIs) {
  qorx_set_message_level(2);
  test::printed_by([] { qorx_set_message_level(3); });
  EXPECT_EQ(error_and_debug(), "error 1\ndebug x\n");
}

TEST_F(Messages, ACodeTravelsAsItsLowByte) {
  EXPECT_EQ(code_byte(QORX_ERR_OPEN_FILE), 0x80);
  EXPECT_EQ(code_byte(QORX_ERR_SMBIOS_DATA_FORMAT_WRONG), 0x9A);
  EXPECT_EQ(code_byte(-111), 0x91);
  EXPECT_EQ(code_byte(0), 0);
}

}  // namespace
}  // namespace qorx
