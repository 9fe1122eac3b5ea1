#include "records/virtual_names.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qorx {
namespace {

std::vector<std::string> all(const VirtualNames& names) {
  std::vector<std::string> result;
  for (const char* name = names.next(nullptr); name != nullptr; name = names.next(name)) {
    result.emplace_back(name);
  }
  return result;
}

TEST(VirtualNames, ComeInTheOrderInWhichTheyWereNoted) {
  VirtualNames names;
  EXPECT_EQ(all(names), std::vector<std::string>());
  names.note("tun0");
  names.note("br0");
  names.complete();
  EXPECT_TRUE(names.are_known());
  EXPECT_EQ(all(names), (std::vector<std::string>{"tun0", "br0"}));
}

TEST(VirtualNames, AreKnownOnceTheListIsComplete) {
  VirtualNames names;
  names.note("br0");
  EXPECT_FALSE(names.are_known());
  names.complete();
  EXPECT_TRUE(names.are_known());
  names.forget();
  EXPECT_FALSE(names.are_known());
  names.complete();
  EXPECT_TRUE(names.are_known());
  EXPECT_EQ(all(names), std::vector<std::string>());
}

TEST(VirtualNames, AreNotKnownWhereThereAreMoreThanAreKept) {
  VirtualNames names;
  for (int i = 0; i < 64; ++i) {
    names.note(std::string(255, 'v'));
  }
  names.complete();
  EXPECT_TRUE(names.are_known());
  EXPECT_EQ(all(names).size(), 64U);
  names.note("v");
  names.note("w");
  names.complete();
  EXPECT_FALSE(names.are_known());
  EXPECT_EQ(all(names).size(), 64U);
  names.forget();
  names.complete();
  EXPECT_TRUE(names.are_known());
}

}  // namespace
}  // namespace qorx
