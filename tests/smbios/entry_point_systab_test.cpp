// The legacy area first, then the address in the EFI system table.
#include <gtest/gtest.h>

#include <string>

#include "smbios/entry_point.h"
#include "tests/smbios/parsing.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

constexpr std::int32_t kNoSystab = 0xFF;
constexpr const char* kSystab = "sys/firmware/efi/systab";
constexpr const char* kNoLegacy = "Can't find by legacy method.\n";
constexpr const char* kNoUefi = "Can't find by UEFI systab!\n";

// Two entry points outside the legacy area: "two" at 0x120000 and "three" at 0x130000.
std::string efi_memory() {
  const SmbiosTable two = SmbiosTable().slot("two", "02:00.0");
  const SmbiosTable three = SmbiosTable().slot("three", "03:00.0");
  std::string image = two.memory2(0x120000, 0x121000);
  image.resize(0x132000);
  const std::string entry = three.entry_point3(0x131000);
  image.replace(0x130000, entry.size(), entry);
  image.replace(0x131000, three.bytes().size(), three.bytes());
  return image;
}

class SystabTest : public MachineTest {
 protected:
  // The code of the search.
  std::int32_t search(const std::string& systab) {
    machine_.write("dev/mem", efi_memory()).write(kSystab, systab);
    std::int32_t code = -1;
    traces_ = traced_by([&] { code = Search_SMBIOS_entry_point_mem(); });
    return code;
  }

  std::string traces_;
};

struct Systab {
  std::string_view rule;
  std::string systab;
  Texts names;  // empty: not found
};

class SystabSearch : public RowTest<Systab, SystabTest> {};

TEST_P(SystabSearch, Finds) {
  EXPECT_EQ(search(row().systab), row().names.empty() ? kNotFound : 0);
  EXPECT_EQ(names(), row().names);
  if (row().names.empty()) {
    EXPECT_EQ(traces_.find("From "), std::string::npos);
  }
  EXPECT_EQ(traces_.ends_with(kNoUefi), row().names.empty());
}

QORX_ROWS(SystabSearch, {"a version 2 line", "SMBIOS=0x120000\n", {"two"}},
          {"a version 3 line", "SMBIOS3=0x130000\n", {"three"}},
          {"version 3 before version 2", "ACPI20=0x7a000000\nSMBIOS3=0x130000\nSMBIOS=0x120000\n", {"three"}},
          {"version 2 before version 3", "ACPI20=0x7a000000\nSMBIOS=0x120000\nSMBIOS3=0x130000\n", {"two"}},
          {"an address without prefix", "SMBIOS=120000\n", {"two"}},
          {"an address between blanks", "SMBIOS= 0X120000 \nrest", {"two"}},
          {"only keys at the start of a line and in capitals",
           " SMBIOS=0x130000\nXSMBIOS3=0x130000\nsmbios=0x130000\nSMBIOS=0x120000\n", Texts{"two"}},
          {"only keys without a blank", "SMBIOS3 =0x130000\nSMBIOS=0x120000\n", {"two"}},
          {"nothing in an empty file", "", {}}, {"nothing without a line of SMBIOS", "ACPI=0xe0000\n", {}},
          {"nothing at address 0", "SMBIOS=0x0\n", {}}, {"nothing without an address", "SMBIOS=\n", {}},
          {"nothing where no digits are", "SMBIOS=zz\n", {}},
          {"nothing behind a first line of address 0", "SMBIOS3=0x0\nSMBIOS=0x120000\n", {}});

using SystabTraces = SystabTest;

TEST_F(SystabTraces, ShowLinesAddressAndSource) {
  ASSERT_EQ(search("ACPI=0xe0000\nSMBIOS=0x120000\nSMBIOS3=0x130000\n"), 0);
  EXPECT_EQ(traces_, std::string(kNoLegacy) +
                         "ACPI=0xe0000\nSMBIOS=0x120000\n"
                         "120000\nFrom /sys/firmware/efi/systab\n"
                         "entry_v2\nstructure table lenght: 22\nstructure table address: 121000\n"
                         "type 9\nstr_offset 0x11\nj 0x03\nlength 0x16\nsum 22\n");
}

TEST_F(SystabTraces, DoNotShowALastLineWithoutALineFeedWhichIsNotExamined) {
  EXPECT_EQ(search("SMBIOS=0x120000"), kNotFound);
  EXPECT_EQ(traces_, std::string(kNoLegacy) + kNoUefi);
  EXPECT_EQ(search("ACPI=1\nSMBIOS3=0x130000"), kNotFound);
  EXPECT_EQ(traces_, std::string(kNoLegacy) + "ACPI=1\n" + kNoUefi);
}

// It comes in pieces, each of which is shown as it is.
TEST_F(SystabTraces, ShowALineThatIsLongerThanTheBuffer) {
  const std::string line(2000, 'x');
  EXPECT_EQ(search(line + "\nACPI=1\n"), kNotFound);
  EXPECT_EQ(traces_, kNoLegacy + line + "\nACPI=1\n" + kNoUefi);
}

TEST_F(SystabTraces, ShowAnAddressWithoutAnEntryPointWhoseCodeIsReturned) {
  EXPECT_EQ(search("SMBIOS=0x110000\n"), kNotFound);
  EXPECT_EQ(traces_, std::string(kNoLegacy) + "SMBIOS=0x110000\n110000\nFrom /sys/firmware/efi/systab\n" + kNoUefi);
  machine_.remove("dev/mem");
  EXPECT_EQ(Search_SMBIOS_entry_point_mem(), kNoMap);
}

TEST_F(SystabTraces, ShowTheLow32OfTheAddresss64Bits) {
  EXPECT_EQ(search("SMBIOS3=0x100130000\n"), kNotFound);
  EXPECT_NE(traces_.find("\n130000\nFrom "), std::string::npos);
  EXPECT_EQ(search("SMBIOS3=0xffffffffffff0000\n"), kNoMap);
  EXPECT_NE(traces_.find("\nffff0000\nFrom "), std::string::npos);
}

TEST_F(SystabTraces, ShowThatThereIsNoSystabWhichHasACodeOfItsOwn) {
  machine_.write("dev/mem", efi_memory());
  EXPECT_EQ(traced_by([] { EXPECT_EQ(Search_SMBIOS_entry_point_mem(), kNoSystab); }),
            std::string(kNoLegacy) + "Can't open /sys/firmware/efi/systab\n");
  machine_.make_directory(kSystab);
  EXPECT_EQ(Search_SMBIOS_entry_point_mem(), kNoSystab);
}

// The legacy area is a fact of PCs; on other processors it is not touched.
#if defined(__x86_64__) || defined(__i386__)
constexpr bool kIsPc = true;
#else
constexpr bool kIsPc = false;
#endif

using LegacyArea = MachineTest;

TEST_F(LegacyArea, MissingMemoryIsASearchThatFailed) {
  machine_.write(kSystab, "ACPI=0xe0000\n");
  EXPECT_EQ(Search_SMBIOS_entry_point_mem(), kIsPc ? kNoMap : kNotFound);
}

TEST_F(LegacyArea, AnEntryPointInItEndsTheSearchOnAPc) {
  std::string image = efi_memory();
  const std::string found = SmbiosTable().slot("legacy", "01:00.0").memory2(0xF0000, 0xE0000);
  image.replace(0, found.size(), found);
  machine_.write("dev/mem", image).write(kSystab, "SMBIOS=0x120000\n");
  const std::string traces = traced_by([] { EXPECT_EQ(Search_SMBIOS_entry_point_mem(), 0); });
  EXPECT_EQ(names(), Texts{kIsPc ? "legacy" : "two"});
  EXPECT_EQ(traces.starts_with("entry_v2\n"), kIsPc);
  EXPECT_EQ(traces.find("SMBIOS=") == std::string::npos, kIsPc);
}

}  // namespace
}  // namespace qorx::test
