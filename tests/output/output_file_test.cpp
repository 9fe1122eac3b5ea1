#include "output/output_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "lib/qorx.h"
#include "tests/support/fake_machine.h"

namespace qorx {
namespace {

class OutputFileTest : public testing::Test {
 protected:
  test::TemporaryDirectory directory_;
  const std::string path_ = directory_.path() / "file";
};

TEST_F(OutputFileTest, IsCreatedAndComplete) {
  OutputFile file(path_.c_str());
  ASSERT_TRUE(file.is_open());
  std::fputs("text\n", file.stream());
  EXPECT_EQ(file.close(), 0);
  EXPECT_EQ(test::read_file(path_), "text\n");
}

TEST_F(OutputFileTest, IsTruncated) {
  OutputFile first(path_.c_str());
  std::fputs("a long text\n", first.stream());
  first.close();
  OutputFile second(path_.c_str());
  std::fputs("x\n", second.stream());
  EXPECT_EQ(second.close(), 0);
  EXPECT_EQ(test::read_file(path_), "x\n");
}

TEST_F(OutputFileTest, WhatCantBeCreatedIsNotOpen) {
  EXPECT_FALSE(OutputFile(directory_.path().c_str()).is_open());
  EXPECT_FALSE(OutputFile((path_ + "/below").c_str()).is_open());
  EXPECT_FALSE(OutputFile("").is_open());
  EXPECT_FALSE(OutputFile(nullptr).is_open());
}

TEST_F(OutputFileTest, AFewBytesLostAtTheCloseAreAnError) {
  OutputFile file("/dev/full");
  ASSERT_TRUE(file.is_open());
  std::fputs("text\n", file.stream());
  EXPECT_EQ(file.close(), QORX_ERR_CLOSE_FILE);
}

TEST_F(OutputFileTest, ManyBytesLostOnTheWayAreAnError) {
  OutputFile file("/dev/full");
  ASSERT_TRUE(file.is_open());
  for (int i = 0; i < 4096; ++i) {
    std::fputs("0123456789abcdef", file.stream());
  }
  EXPECT_EQ(file.close(), QORX_ERR_CLOSE_FILE);
}

// Space that comes back does not bring back what was lost.
TEST_F(OutputFileTest, AnEarlierLossIsRememberedAtAGoodClose) {
  OutputFile file("/dev/full");
  ASSERT_TRUE(file.is_open());
  std::fputs("lost\n", file.stream());
  EXPECT_NE(std::fflush(file.stream()), 0);
  const int good = open(path_.c_str(), O_WRONLY | O_CREAT, 0600);
  ASSERT_GE(good, 0);
  dup2(good, fileno(file.stream()));
  close(good);
  EXPECT_EQ(file.close(), QORX_ERR_CLOSE_FILE);
}

}  // namespace
}  // namespace qorx
