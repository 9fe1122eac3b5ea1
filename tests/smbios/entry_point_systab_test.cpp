// The legacy area first, then the address in the EFI system table.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "smbios/entry_point.h"
#include "tests/smbios/parsing.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

constexpr std::int32_t kNotFound = 0x91;
constexpr std::int32_t kNoMap = 0x97;
constexpr std::int32_t kNoSystab = 0xFF;
constexpr const char* kSystab = "sys/firmware/efi/systab";

using Strings = std::vector<std::string>;

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

class SystabSearch : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  std::int32_t search(const std::string& systab) {
    machine_.write("dev/mem", efi_memory()).write(kSystab, systab);
    std::int32_t code = -1;
    traces_ = traced_by([&] { code = Search_SMBIOS_entry_point_mem(); });
    return code;
  }

  FakeMachine machine_;
  std::string traces_;
};

TEST_F(SystabSearch, TheFirstLineOfEitherKindIsUsed) {
  const struct {
    const char* systab;
    const char* slot;
  } cases[] = {
      {"SMBIOS=0x120000\n", "two"},
      {"SMBIOS3=0x130000\n", "three"},
      {"ACPI20=0x7a000000\nSMBIOS3=0x130000\nSMBIOS=0x120000\n", "three"},
      {"ACPI20=0x7a000000\nSMBIOS=0x120000\nSMBIOS3=0x130000\n", "two"},
      {"SMBIOS=120000\n", "two"},
      {"SMBIOS= 0X120000 \nrest", "two"},
      {" SMBIOS=0x130000\nXSMBIOS3=0x130000\nsmbios=0x130000\nSMBIOS=0x120000\n", "two"},
      {"SMBIOS3 =0x130000\nSMBIOS=0x120000\n", "two"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.systab);
    EXPECT_EQ(search(c.systab), 0);
    EXPECT_EQ(names(), Strings{c.slot});
  }
}

TEST_F(SystabSearch, TracesItsLinesTheAddressAndItsSource) {
  ASSERT_EQ(search("ACPI=0xe0000\nSMBIOS=0x120000\nSMBIOS3=0x130000\n"), 0);
  EXPECT_EQ(traces_,
            "Can't find by legacy method.\n"
            "ACPI=0xe0000\nSMBIOS=0x120000\n"
            "120000\nFrom /sys/firmware/efi/systab\n"
            "entry_v2\nstructure table lenght: 22\nstructure table address: 121000\n"
            "type 9\nstr_offset 0x11\nj 0x03\nlength 0x16\nsum 22\n");
}

TEST_F(SystabSearch, WithoutAnAddressTheLegacyCodeIsKept) {
  for (const char* const systab :
       {"", "ACPI=0xe0000\n", "SMBIOS=0x0\n", "SMBIOS=\n", "SMBIOS=zz\n", "SMBIOS3=0x0\nSMBIOS=0x120000\n"}) {
    SCOPED_TRACE(systab);
    EXPECT_EQ(search(systab), kNotFound);
    EXPECT_EQ(traces_.find("From "), std::string::npos);
  }
}

TEST_F(SystabSearch, ALastLineWithoutALineFeedIsNotExamined) {
  EXPECT_EQ(search("SMBIOS=0x120000"), kNotFound);
  EXPECT_EQ(traces_, "Can't find by legacy method.\n");
  EXPECT_EQ(search("ACPI=1\nSMBIOS3=0x130000"), kNotFound);
  EXPECT_EQ(traces_, "Can't find by legacy method.\nACPI=1\n");
}

TEST_F(SystabSearch, AnAddressWithoutAnEntryPointGivesTheCodeOfThatSearch) {
  EXPECT_EQ(search("SMBIOS=0x110000\n"), kNotFound);
  EXPECT_EQ(traces_,
            "Can't find by legacy method.\nSMBIOS=0x110000\n110000\nFrom /sys/firmware/efi/systab\n"
            "Can't find by UEFI systab!\n");
  machine_.remove("dev/mem");
  EXPECT_EQ(Search_SMBIOS_entry_point_mem(), kNoMap);
}

TEST_F(SystabSearch, TheAddressHas64BitsButItsTraceTheLow32) {
  EXPECT_EQ(search("SMBIOS3=0x100130000\n"), kNotFound);
  EXPECT_NE(traces_.find("\n130000\nFrom "), std::string::npos);
  EXPECT_EQ(search("SMBIOS3=0xffffffffffff0000\n"), kNoMap);
  EXPECT_NE(traces_.find("\nffff0000\nFrom "), std::string::npos);
}

TEST_F(SystabSearch, WithoutASystabItsOwnCodeIsReturned) {
  machine_.write("dev/mem", efi_memory());
  std::int32_t code = 0;
  EXPECT_EQ(traced_by([&] { code = Search_SMBIOS_entry_point_mem(); }),
            "Can't find by legacy method.\nCan't open /sys/firmware/efi/systab\n");
  EXPECT_EQ(code, kNoSystab);
  machine_.make_directory(kSystab);
  EXPECT_EQ(Search_SMBIOS_entry_point_mem(), kNoSystab);
}

TEST_F(SystabSearch, MissingMemoryIsALegacySearchThatFailed) {
  machine_.write(kSystab, "ACPI=0xe0000\n");
#if defined(__x86_64__) || defined(__i386__)
  EXPECT_EQ(Search_SMBIOS_entry_point_mem(), kNoMap);
#else
  EXPECT_EQ(Search_SMBIOS_entry_point_mem(), kNotFound);
#endif
}

// The legacy area is a fact of PCs; on other processors it is not touched.
TEST_F(SystabSearch, AnEntryPointInTheLegacyAreaEndsTheSearchOnAPc) {
  std::string image = efi_memory();
  const SmbiosTable legacy = SmbiosTable().slot("legacy", "01:00.0");
  const std::string found = legacy.memory2(0xF0000, 0xE0000);
  image.replace(0, found.size(), found);
  machine_.write("dev/mem", image).write(kSystab, "SMBIOS=0x120000\n");
  const std::string traces = traced_by([] { EXPECT_EQ(Search_SMBIOS_entry_point_mem(), 0); });
#if defined(__x86_64__) || defined(__i386__)
  EXPECT_EQ(names(), Strings{"legacy"});
  EXPECT_TRUE(traces.starts_with("entry_v2\n"));
  EXPECT_EQ(traces.find("SMBIOS="), std::string::npos);
#else
  EXPECT_EQ(names(), Strings{"two"});
#endif
}

}  // namespace
}  // namespace qorx::test
