#include "base/byte_view.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

namespace qorx {
namespace {

// Exactly as many bytes as a sanitizer can watch.
const std::vector<std::uint8_t> kBytes{0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF};

TEST(ByteView, ReadsLittleEndian) {
  const ByteView view(kBytes);
  EXPECT_EQ(view.size(), 8U);
  EXPECT_EQ(view.u8(1), 0x23);
  EXPECT_EQ(view.u16(1), 0x4523);
  EXPECT_EQ(view.u32(1), 0x89674523U);
  EXPECT_EQ(view.u64(0), 0xEFCDAB8967452301U);
}

TEST(ByteView, BytesPastTheEndAreZero) {
  const ByteView view(kBytes);
  EXPECT_EQ(view.u8(8), 0);
  EXPECT_EQ(view.u16(7), 0x00EF);
  EXPECT_EQ(view.u32(6), 0x0000EFCDU);
  EXPECT_EQ(view.u64(4), 0x00000000EFCDAB89U);
  EXPECT_EQ(view.u64(100), 0U);
  EXPECT_EQ(view.u8(std::numeric_limits<std::size_t>::max()), 0);
}

TEST(ByteView, AnEmptyViewAnswersZero) {
  const ByteView view({});
  EXPECT_EQ(view.size(), 0U);
  EXPECT_EQ(view.u64(0), 0U);
  EXPECT_TRUE(view.starts_with(""));
  EXPECT_FALSE(view.starts_with("_"));
}

TEST(ByteView, StartsWithComparesWholeAnchors) {
  const std::vector<std::uint8_t> anchor{'_', 'S', 'M', '3', '_'};
  const ByteView view(anchor);
  EXPECT_TRUE(view.starts_with("_SM3_"));
  EXPECT_FALSE(view.starts_with("_SM_"));
  EXPECT_FALSE(view.starts_with("_SM3_x"));
}

TEST(ByteView, StartsWithComparesHighBytes) {
  const std::vector<std::uint8_t> high{0xFF};
  EXPECT_TRUE(ByteView(high).starts_with("\xFF"));
}

TEST(ByteView, FromCutsTheFront) {
  const ByteView view(kBytes);
  EXPECT_EQ(view.from(6).size(), 2U);
  EXPECT_EQ(view.from(6).u16(0), 0xEFCD);
  EXPECT_EQ(view.from(8).size(), 0U);
  EXPECT_EQ(view.from(9).size(), 0U);
  EXPECT_EQ(view.from(9).u8(0), 0);
}

}  // namespace
}  // namespace qorx
