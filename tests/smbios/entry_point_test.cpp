// The entry point itself: anchors and checksums.
#include "smbios/entry_point_check.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "base/messages.h"
#include "tests/smbios/parsing.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

constexpr std::int32_t kChecksum = 0x92;
constexpr std::int32_t kNotFound = 0x91;
constexpr const char* kWrongSum2 = "SMBIOS entry point structure checksum is NOT 0!\n";
constexpr const char* kWrongIntermediate = "SMBIOS entry point structure intermediate checksum is NOT 0!\n";
constexpr const char* kWrongSum3 = "SMBIOS3 entry point structure checksum is NOT 0!\n";

class EntryPointCheck : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  // Checks `bytes`; the code, the messages and what was found are kept.
  void check(const std::string& bytes) {
    printed_ = printed_by([&] { code_ = Check_SMBIOS_entry_point(as_bytes(bytes), entry_); });
  }

  std::int32_t code_ = -1;
  std::string printed_;
  EntryPoint entry_;
};

// A version 2 entry point, changed, with both checksums right again.
std::string changed_entry2(const std::function<void(std::string&)>& change) {
  std::string entry = SmbiosTable().entry_point2(0x000E1234, 0xABCD);
  change(entry);
  fix_checksum(entry, 21, 16, 30);
  fix_checksum(entry, 4, 0, 30);
  return entry;
}

TEST(CalChecksum, SumsBothEndsAndKeepsEightBits) {
  const std::string text = bytes("01 02 04 08 f0 10");
  EXPECT_EQ(Cal_checksum(as_bytes(text), 0, 3), 0x0F);
  EXPECT_EQ(Cal_checksum(as_bytes(text), 1, 2), 0x06);
  EXPECT_EQ(Cal_checksum(as_bytes(text), 3, 3), 0x08);
  EXPECT_EQ(Cal_checksum(as_bytes(text), 4, 5), 0x00);
  EXPECT_EQ(Cal_checksum(as_bytes(text), 0, 5), 0x0F);
}

TEST_F(EntryPointCheck, Version2HasLengthAt22AndAddressAt24) {
  check(SmbiosTable().entry_point2(0xFEDCBA98, 0xABCD));
  EXPECT_EQ(code_, 0);
  EXPECT_EQ(printed_, "");
  EXPECT_EQ(entry_.version, 2);
  EXPECT_EQ(entry_.table_length, 0xABCDU);
  EXPECT_EQ(entry_.table_address, 0xFEDCBA98U);
}

TEST_F(EntryPointCheck, Version3HasLengthAt12AndAddressAt16) {
  check(SmbiosTable().entry_point3(0xFEDCBA9876543210, 0x89ABCDEF));
  EXPECT_EQ(code_, 0);
  EXPECT_EQ(printed_, "");
  EXPECT_EQ(entry_.version, 3);
  EXPECT_EQ(entry_.table_length, 0x89ABCDEFU);
  EXPECT_EQ(entry_.table_address, 0xFEDCBA9876543210U);
}

TEST_F(EntryPointCheck, TheLengthByteOfTheEntryPointIsNotConsulted) {
  for (const char length : {'\x00', '\x1E', '\x7F'}) {
    check(changed_entry2([&](std::string& entry) { entry[5] = length; }));
    EXPECT_EQ(code_, 0) << static_cast<int>(length);
  }
}

TEST_F(EntryPointCheck, TheIntermediateAnchorIsNotTested) {
  check(changed_entry2([](std::string& entry) { entry.replace(16, 5, "xxxxx"); }));
  EXPECT_EQ(code_, 0);
}

TEST_F(EntryPointCheck, TheIntermediateAreaBeginsAtByte16) {
  check(changed_entry2([](std::string& entry) { entry[15] = 0x55; }));
  EXPECT_EQ(code_, 0);
}

TEST_F(EntryPointCheck, BytesBehindTheChecksummedOnesDoNotMatter) {
  check(SmbiosTable().entry_point2(0, 1) + "more");
  EXPECT_EQ(code_, 0);
  check(SmbiosTable().entry_point3(0, 1) + "more");
  EXPECT_EQ(code_, 0);
}

TEST_F(EntryPointCheck, EveryByteOfVersion2IsChecksummed) {
  for (std::size_t i = 4; i < 31; ++i) {
    SCOPED_TRACE(i);
    std::string entry = SmbiosTable().entry_point2(0xE0000, 64);
    entry[i] = static_cast<char>(entry[i] + 1);
    check(entry);
    EXPECT_EQ(code_, kChecksum);
    EXPECT_EQ(printed_, kWrongSum2);
    EXPECT_EQ(entry_.version, 2);
  }
}

TEST_F(EntryPointCheck, EveryByteOfVersion3IsChecksummed) {
  for (std::size_t i = 5; i < 24; ++i) {
    SCOPED_TRACE(i);
    std::string entry = SmbiosTable().entry_point3(0xE0000, 64);
    entry[i] = static_cast<char>(entry[i] + 1);
    check(entry);
    EXPECT_EQ(code_, kChecksum);
    EXPECT_EQ(printed_, kWrongSum3);
    EXPECT_EQ(entry_.version, 3);
  }
}

TEST_F(EntryPointCheck, AWrongIntermediateChecksumAloneIsRejected) {
  std::string entry = SmbiosTable().entry_point2(0xE0000, 64);
  entry[20] = static_cast<char>(entry[20] + 1);
  fix_checksum(entry, 4, 0, 30);
  check(entry);
  EXPECT_EQ(code_, kChecksum);
  EXPECT_EQ(printed_, kWrongIntermediate);
  EXPECT_EQ(entry_.version, 2);
}

TEST_F(EntryPointCheck, ChecksumMessagesNeedErrorMessages) {
  g_error_message_open = 0;
  std::string entry = SmbiosTable().entry_point2(0, 1);
  entry[4] = static_cast<char>(entry[4] + 1);
  check(entry);
  EXPECT_EQ(code_, kChecksum);
  EXPECT_EQ(printed_, "");
}

TEST_F(EntryPointCheck, WithoutAnAnchorNothingIsFound) {
  const std::string cases[] = {"", "_", "_SM", "_SM3", "_sm_", "_DMI_", " _SM_", std::string(32, '\0')};
  for (const std::string& text : cases) {
    SCOPED_TRACE(text);
    check(text);
    EXPECT_EQ(code_, kNotFound);
    EXPECT_EQ(printed_, "");
    EXPECT_EQ(entry_.version, 0);
  }
}

TEST_F(EntryPointCheck, ACutEntryPointGoesOnWithZeros) {
  check(SmbiosTable().entry_point3(0, 0x1000).substr(0, 16));
  EXPECT_EQ(code_, 0);
  EXPECT_EQ(entry_.table_length, 0x1000U);
  EXPECT_EQ(entry_.table_address, 0U);
  check(SmbiosTable().entry_point2(0xE0000, 64).substr(0, 26));
  EXPECT_EQ(code_, kChecksum);
}

TEST_F(EntryPointCheck, AnEarlierResultIsForgotten) {
  check(SmbiosTable().entry_point3(5, 7));
  check("nothing");
  EXPECT_EQ(entry_.version, 0);
  EXPECT_EQ(entry_.table_length, 0U);
  EXPECT_EQ(entry_.table_address, 0U);
}

}  // namespace
}  // namespace qorx::test
