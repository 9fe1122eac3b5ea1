// Descriptors: 0 is one like any other, and none is handed down to the programs that a caller of the library starts.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <string>

#include "base/line_reader.h"
#include "base/system_root.h"
#include "output/output_file.h"
#include "tests/support/fixture.h"

namespace qorx::test {
namespace {

class Descriptors : public MachineTest {
 protected:
  Descriptors() { machine_.write("sys/file", "text"); }
};

TEST_F(Descriptors, AreNotHandedDown) {
  const SystemFile file = open_system_file("/sys/file");
  const FilePtr text = open_system_text("/sys/file");
  const FilePtr user = open_text_file(machine_.user_file("F", "text").c_str());
  const KeptFolder folder("/sys/class");
  for (const int descriptor : {file.descriptor(), fileno(text.get()), fileno(user.get()), folder.descriptor()}) {
    EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC);
  }
}

TEST_F(Descriptors, AFolderIsReachedBesideItsKeptOne) {
  const KeptFolder kept("/sys/class");
  EXPECT_TRUE(is_system_directory("/sys/class/"));
  EXPECT_TRUE(is_system_directory("/sys/class"));
  EXPECT_FALSE(is_system_directory("/sys/classes"));
}

// Gives up standard input for a while.
class WithoutStandardInput : public Descriptors {
 protected:
  WithoutStandardInput() { close(STDIN_FILENO); }
  ~WithoutStandardInput() override {
    dup2(saved_, STDIN_FILENO);
    close(saved_);
  }

  static int lowest_descriptor() {
    const int descriptor = open("/", O_RDONLY | O_CLOEXEC);
    close(descriptor);
    return descriptor;
  }

 private:
  const int saved_ = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3);
};

TEST_F(WithoutStandardInput, AFileIsOpenAndIsClosed) {
  std::array<char, 8> bytes{};
  {
    const SystemFile file = open_system_file("/sys/file");
    EXPECT_EQ(file.descriptor(), 0);
    EXPECT_TRUE(file.is_open());
    EXPECT_EQ(file.read(bytes), 4);
  }
  EXPECT_EQ(lowest_descriptor(), 0);
  { EXPECT_NE(open_system_text("/sys/file"), nullptr); }
  EXPECT_EQ(lowest_descriptor(), 0);
}

TEST_F(WithoutStandardInput, AnOutputFileIsWritten) {
  const std::string path = machine_.work() / "file";
  OutputFile file;
  std::fputs("text\n", file.stream());
  EXPECT_EQ(file.write_to(path.c_str()), 0);
  EXPECT_EQ(read_file(path), "text\n");
  EXPECT_EQ(lowest_descriptor(), 0);
}

}  // namespace
}  // namespace qorx::test
