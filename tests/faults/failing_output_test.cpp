// What is left of an output when a call fails that hardly ever does: while it is printed, or while its file is
// replaced.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "cli/standard_output.h"
#include "output/output_file.h"
#include "tests/faults/failing_calls.h"
#include "tests/support/descriptor_limit.h"
#include "tests/support/expect.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

TEST_F(FailingCalls, OutputThatIsLostWhenItsFileIsClosedIsAnError) {
  const DescriptorLimit one_is_left(next_descriptor() + 1);
  const FailingCall call("close", EIO);
  EXPECT_EQ(finish_standard_output(), QORX_ERR_CLOSE_FILE);
}

TEST_F(FailingCalls, OutputIsFineWhereNoDescriptorIsLeftToAskWith) {
  const DescriptorLimit none_is_left(next_descriptor());
  EXPECT_EQ(dup(STDOUT_FILENO), -1);
  EXPECT_EQ(finish_standard_output(), 0);
}

TEST_F(FailingCalls, OutputThatWasLostEarlierIsAnErrorAtTheEnd) {
  std::fflush(stdout);
  const int saved = dup(STDOUT_FILENO);
  const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
  dup2(full, STDOUT_FILENO);
  close(full);
  std::printf("lost\n");
  const bool is_lost = std::fflush(stdout) != 0;
  dup2(saved, STDOUT_FILENO);
  close(saved);
  const std::int32_t code = finish_standard_output();
  std::clearerr(stdout);
  EXPECT_TRUE(is_lost);
  EXPECT_EQ(code, QORX_ERR_CLOSE_FILE);
}

// A file that stands there before the run, and the call that fails while it is replaced.
struct Write {
  std::string_view rule;
  std::string_view call;
  int error;
  int code;               // of the run
  std::string_view left;  // in the file
};

class WritingAFile : public RowTest<Write, FailingCalls> {};

TEST_P(WritingAFile, IsCompleteOrAnError) {
  const std::string path = machine_.user_file("file", "old and longer");
  const FailingCall call(row().call, row().error);
  OutputFile file;
  if (file.is_open()) {
    std::fputs("new", file.stream());
  }
  EXPECT_EQ(file.write_to(path.c_str()), row().code);
  EXPECT_TRUE(FailingCall::has_failed());
  EXPECT_EQ(read_file(path), row().left);
}

QORX_ROWS(WritingAFile,
          Write{"without a stream the file keeps its text", "fopencookie", ENOMEM, QORX_ERR_OPEN_FILE,
                "old and longer"},
          Write{"without memory for the text it keeps its text", "realloc", ENOMEM, QORX_ERR_OPEN_FILE,
                "old and longer"},
          Write{"a file that can't be opened keeps its text", "open", EACCES, QORX_ERR_OPEN_FILE, "old and longer"},
          Write{"an interrupted open is made again", "open", EINTR, 0, "new"},
          Write{"an interrupted write is made again", "write", EINTR, 0, "new"},
          Write{"a write that fails is an error", "write", EIO, QORX_ERR_CLOSE_FILE, ""},
          Write{"a write that writes nothing is an error", "write", 0, QORX_ERR_CLOSE_FILE, ""},
          Write{"a file that can't be looked at is not cut", "fstat", EIO, QORX_ERR_CLOSE_FILE, "new and longer"},
          Write{"an interrupted cut is made again", "ftruncate", EINTR, 0, "new"},
          Write{"a cut that fails is an error", "ftruncate", EIO, QORX_ERR_CLOSE_FILE, "new and longer"},
          Write{"what shows when the file is closed is an error", "close", EIO, QORX_ERR_CLOSE_FILE, "new"},
          Write{"an interrupted close has closed the file", "close", EINTR, 0, "new"});

// The end of the text finds memory again; its front is lost.
TEST_F(FailingCalls, ATextThatOnceFoundNoMemoryIsNotWritten) {
  const std::string path = machine_.user_file("file", "old");
  OutputFile file;
  {
    const FailingCall call("realloc", ENOMEM);
    std::fputs(std::string(100000, 'x').c_str(), file.stream());
    ASSERT_TRUE(FailingCall::has_failed());
  }
  std::fputs("end", file.stream());
  EXPECT_EQ(file.write_to(path.c_str()), QORX_ERR_OPEN_FILE);
  EXPECT_EQ(read_file(path), "old");
}

// The two operations that write a file, without memory for its stream.
TEST_F(FailingCalls, AResultFileWithoutAStreamIsNotWritten) {
  ASSERT_EQ(qorx_open(), 0);
  const std::string path = machine_.user_file("file", "old");
  for (const auto& write : {+[](const char* file) { return qorx_fprint_scan_result(file); },
                            +[](const char*) { return qorx_output_tovix_cfg(); }}) {
    const FailingCall call("fopencookie", ENOMEM);
    EXPECT_EQ(outcome_of([&] { return write(path.c_str()); }), (Outcome{"", 0x80}));
    EXPECT_EQ(read_file(path), "old");
  }
}

}  // namespace
}  // namespace qorx::test
