#include "smbios/physical_memory.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "tests/support/fixture.h"

namespace qorx::test {
namespace {

class PhysicalMemoryMap : public MachineTest {
 protected:
  static std::uint64_t page() { return static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)); }
};

TEST_F(PhysicalMemoryMap, BeginsAtItsAddressAndEndsWithAPage) {
  std::string image(4 * page(), 'a');
  image[page() + 5] = 'b';
  machine_.write("dev/mem", image);
  const PhysicalMemory memory(page() + 5, 2);
  ASSERT_TRUE(memory.is_mapped());
  EXPECT_EQ(memory.bytes()[0], 'b');
  EXPECT_EQ(memory.bytes()[1], 'a');
  EXPECT_EQ(memory.bytes().size(), page() - 5);
  EXPECT_EQ(memory.extent(), page() - 5);
}

TEST_F(PhysicalMemoryMap, ReachesIntoTheNextPageWhenItsLengthDoes) {
  machine_.write("dev/mem", std::string(4 * page(), 'a'));
  EXPECT_EQ(PhysicalMemory(5, page() - 5).extent(), page() - 5);
  EXPECT_EQ(PhysicalMemory(5, page() - 4).extent(), 2 * page() - 5);
}

TEST_F(PhysicalMemoryMap, HasOnlyTheBytesThatARecordedMachineHas) {
  machine_.write("dev/mem", std::string(100, 'a'));
  EXPECT_EQ(PhysicalMemory(40, 200).bytes().size(), 60U);
  EXPECT_EQ(PhysicalMemory(100, 200).bytes().size(), 0U);
  EXPECT_EQ(PhysicalMemory(5 * page() + 1, 200).bytes().size(), 0U);
  EXPECT_TRUE(PhysicalMemory(5 * page() + 1, 200).is_mapped());
}

TEST_F(PhysicalMemoryMap, IsNotThereWithoutMemoryOrLength) {
  EXPECT_FALSE(PhysicalMemory(0, 1).is_mapped());
  machine_.write("dev/mem", "a");
  EXPECT_TRUE(PhysicalMemory(0, 1).is_mapped());
  EXPECT_FALSE(PhysicalMemory(0, 0).is_mapped());
  EXPECT_TRUE(PhysicalMemory(1, 0).is_mapped());
}

}  // namespace
}  // namespace qorx::test
