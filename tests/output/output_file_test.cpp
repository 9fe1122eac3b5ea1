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

// One byte is lost at the close, many on the way.
TEST_F(OutputFileTest, WhatIsLostIsAnError) {
  for (const std::size_t size : {1U, 65536U}) {
    OutputFile file("/dev/full");
    ASSERT_TRUE(file.is_open());
    std::fputs(std::string(size, 'x').c_str(), file.stream());
    EXPECT_EQ(file.close(), QORX_ERR_CLOSE_FILE) << size;
  }
}

TEST_F(OutputFileTest, IsNotHandedDownToProgramsThatTheCallerStarts) {
  const OutputFile file(path_.c_str());
  ASSERT_TRUE(file.is_open());
  EXPECT_EQ(fcntl(fileno(file.stream()), F_GETFD), FD_CLOEXEC);
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
