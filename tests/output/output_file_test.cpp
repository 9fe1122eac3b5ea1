#include "output/output_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <thread>

#include "lib/qorx.h"
#include "tests/support/fake_machine.h"

namespace qorx {
namespace {

namespace fs = std::filesystem;

class OutputFileTest : public testing::Test {
 protected:
  static std::int32_t write(const std::string& text, const char* path) {
    OutputFile file;
    EXPECT_TRUE(file.is_open());
    std::fputs(text.c_str(), file.stream());
    return file.write_to(path);
  }
  [[nodiscard]] std::string content() const { return test::read_file(path_); }

  test::TemporaryDirectory directory_;
  const std::string path_ = directory_.path() / "file";
};

TEST_F(OutputFileTest, IsCreatedAndComplete) {
  EXPECT_EQ(write("text\n", path_.c_str()), 0);
  EXPECT_EQ(content(), "text\n");
}

TEST_F(OutputFileTest, IsCreatedWithTheModeThatTheUserLeavesToNewFiles) {
  for (const mode_t mask : {mode_t{0}, mode_t{022}, mode_t{027}, mode_t{077}}) {
    fs::remove(path_);
    const mode_t before = umask(mask);
    const std::int32_t code = write("text\n", path_.c_str());
    umask(before);
    EXPECT_EQ(code, 0);
    struct stat status {};
    ASSERT_EQ(stat(path_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0666 & ~mask);
  }
}

TEST_F(OutputFileTest, ReplacesWhatWasThere) {
  for (const std::string text : {"a long text\n", "x\n", "", "a longer text than that\n"}) {
    EXPECT_EQ(write(text, path_.c_str()), 0);
    EXPECT_EQ(content(), text);
  }
}

TEST_F(OutputFileTest, IsNotTouchedBeforeTheTextIsComplete) {
  ASSERT_EQ(write("old\n", path_.c_str()), 0);
  OutputFile file;
  std::fputs(std::string(100000, 'x').c_str(), file.stream());
  std::fflush(file.stream());
  EXPECT_EQ(content(), "old\n");
}

TEST_F(OutputFileTest, WhatCantBeCreatedIsAnError) {
  EXPECT_EQ(write("text\n", directory_.path().c_str()), QORX_ERR_OPEN_FILE);
  EXPECT_EQ(write("text\n", (path_ + "/below").c_str()), QORX_ERR_OPEN_FILE);
  EXPECT_EQ(write("text\n", ""), QORX_ERR_OPEN_FILE);
  EXPECT_EQ(write("text\n", nullptr), QORX_ERR_OPEN_FILE);
}

TEST_F(OutputFileTest, WhatIsLostIsAnError) {
  for (const std::size_t size : {1U, 65536U}) {
    EXPECT_EQ(write(std::string(size, 'x'), "/dev/full"), QORX_ERR_CLOSE_FILE) << size;
  }
}

// The front of the new text is left, nothing of the old one.
TEST_F(OutputFileTest, AFileThatMayNotGrowHoldsWhatWasWritten) {
  ASSERT_EQ(write(std::string(5000, 'o'), path_.c_str()), 0);
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit limit{4096, before.rlim_max};
  auto* const handler = std::signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &limit);
  const std::int32_t code = write(std::string(9000, 'n'), path_.c_str());
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(code, QORX_ERR_CLOSE_FILE);
  EXPECT_EQ(content(), std::string(4096, 'n'));
}

// Looks at the descriptor while it waits for a reader of more than a pipe holds.
TEST_F(OutputFileTest, IsNotHandedDownToProgramsThatTheCallerStarts) {
  ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
  int flags = -1;
  std::thread reader([&] {
    const int end = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    for (int look = 0; flags < 0 && look < 100000; ++look) {
      for (int descriptor = 0; descriptor < 64; ++descriptor) {
        std::error_code none;
        const bool is_pipe = fs::read_symlink("/proc/self/fd/" + std::to_string(descriptor), none) == path_;
        flags = is_pipe && descriptor != end ? fcntl(descriptor, F_GETFD) : flags;
      }
    }
    char buffer[4096];
    while (read(end, buffer, sizeof buffer) > 0) {
    }
    close(end);
  });
  EXPECT_EQ(write(std::string(200000, 'x'), path_.c_str()), 0);
  reader.join();
  EXPECT_EQ(flags, FD_CLOEXEC);
}

TEST_F(OutputFileTest, SignalsAreAsBeforeAfterwards) {
  sigset_t before;
  sigset_t after;
  sigprocmask(SIG_SETMASK, nullptr, &before);
  ASSERT_EQ(write("text\n", path_.c_str()), 0);
  sigprocmask(SIG_SETMASK, nullptr, &after);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
    EXPECT_EQ(sigismember(&after, signal), sigismember(&before, signal)) << signal;
  }
}

}  // namespace
}  // namespace qorx
