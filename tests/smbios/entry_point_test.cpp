// The entry point itself: anchors and checksums.
#include "smbios/entry_point_check.h"

#include <gtest/gtest.h>

#include <string>

#include "base/messages.h"
#include "tests/smbios/parsing.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

// A version 2 entry point with other bytes at `at`, and both checksums right again.
std::string changed_entry2(std::size_t at, const std::string& text) {
  std::string entry = SmbiosTable().entry_point2(0x000E1234, 0xABCD);
  entry.replace(at, text.size(), text);
  fix_checksum(entry, 21, 16, 30);
  fix_checksum(entry, 4, 0, 30);
  return entry;
}

std::string with_wrong_intermediate_sum() {
  std::string entry = spoiled(SmbiosTable().entry_point2(0xE0000, 64), 20);
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

// Bytes, the version that their anchor says, and the outcome of their check.
struct Checked {
  std::string_view rule;
  std::string bytes;
  int version;
  Outcome outcome = {};
};

// Checks the bytes behind an entry point that was found before.
void expect_checked(const std::string& bytes, int version, const Outcome& outcome) {
  EntryPoint entry{9, 9, 9};
  EXPECT_EQ(outcome_of([&] { return Check_SMBIOS_entry_point(as_bytes(bytes), entry); }), outcome);
  EXPECT_EQ(entry.version, version);
}

class EntryPointCheck : public RowTest<Checked> {};

TEST_P(EntryPointCheck, KnowsAnchorsAndChecksums) {
  expect_checked(row().bytes, row().version, row().outcome);
}

QORX_ROWS(EntryPointCheck, {"a length byte of 0 is not consulted", changed_entry2(5, std::string(1, '\0')), 2},
          {"a length byte of 30 is not consulted", changed_entry2(5, "\x1E"), 2},
          {"a length byte of 127 is not consulted", changed_entry2(5, "\x7F"), 2},
          {"the intermediate anchor is not tested", changed_entry2(16, "xxxxx"), 2},
          {"the intermediate area begins at byte 16", changed_entry2(15, "\x55"), 2},
          {"bytes behind version 2 do not matter", SmbiosTable().entry_point2(0, 1) + "more", 2},
          {"bytes behind version 3 do not matter", SmbiosTable().entry_point3(0, 1) + "more", 3},
          {"a wrong intermediate checksum alone is rejected", with_wrong_intermediate_sum(), 2, kWrongIntermediate},
          {"a version 2 cut within its address goes on with zeros",
           SmbiosTable().entry_point2(0xE0000, 64).substr(0, 26), 2, kWrongSum2});

using EntryPointBytes = LibraryTest;

TEST_F(EntryPointBytes, WithoutAnAnchorNothingIsFound) {
  for (const std::string& text :
       {std::string(), std::string("_"), std::string("_SM"), std::string("_SM3"), std::string("_sm_"),
        std::string("_DMI_"), std::string(" _SM_"), std::string(32, '\0')}) {
    SCOPED_TRACE(text);
    expect_checked(text, 0, kNothing);
  }
}

TEST_F(EntryPointBytes, EveryByteIsChecksummed) {
  for (std::size_t i = 4; i < 31; ++i) {
    SCOPED_TRACE(i);
    expect_checked(spoiled(SmbiosTable().entry_point2(0xE0000, 64), i), 2, kWrongSum2);
  }
  for (std::size_t i = 5; i < 24; ++i) {
    SCOPED_TRACE(i);
    expect_checked(spoiled(SmbiosTable().entry_point3(0xE0000, 64), i), 3, kWrongSum3);
  }
}

TEST_F(EntryPointBytes, ChecksumMessagesNeedErrorMessages) {
  g_error_message_open = 0;
  expect_checked(spoiled(SmbiosTable().entry_point2(0, 1), 4), 2, {"", kChecksum});
}

// What the entry point says.
struct Found {
  std::string_view rule;
  std::string bytes;
  std::uint32_t length;
  std::uint64_t address;
};

class EntryPointValues : public RowTest<Found> {};

TEST_P(EntryPointValues, AreTaken) {
  EntryPoint entry{9, 9, 9};
  Check_SMBIOS_entry_point(as_bytes(row().bytes), entry);
  EXPECT_EQ(entry.table_length, row().length);
  EXPECT_EQ(entry.table_address, row().address);
}

QORX_ROWS(EntryPointValues,
          {"version 2 has length at 22 and address at 24", SmbiosTable().entry_point2(0xFEDCBA98, 0xABCD), 0xABCD,
           0xFEDCBA98},
          {"version 3 has length at 12 and address at 16", SmbiosTable().entry_point3(0xFEDCBA9876543210, 0x89ABCDEF),
           0x89ABCDEF, 0xFEDCBA9876543210},
          {"a cut version 3 goes on with zeros", SmbiosTable().entry_point3(0, 0x1000).substr(0, 16), 0x1000, 0},
          {"an earlier result is forgotten", "nothing", 0, 0});

}  // namespace
}  // namespace qorx::test
