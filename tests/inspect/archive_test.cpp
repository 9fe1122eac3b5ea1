// An archive where the system refuses what unpacking needs.
#include "tools/archive.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "tests/faults/failing_call.h"
#include "tests/support/fake_machine.h"

namespace qorx {
namespace {

using test::FailingCall;
using testing::EndsWith;

class Archives : public testing::Test {
 protected:
  Archives() {
    const test::TemporaryDirectory tree;
    std::filesystem::create_directories(tree.path() / "sys/class");
    EXPECT_EQ(std::system(("tar -cf " + file_ + " -C " + tree.path().string() + " .").c_str()), 0);
    setenv("TMPDIR", directory_.path().c_str(), 1);
  }
  ~Archives() override { unsetenv("TMPDIR"); }

  std::string complaint(const std::string& call, int number = 1) {
    const FailingCall failing(call, EAGAIN, number);
    testing::internal::CaptureStderr();
    EXPECT_EQ(use_archive(file_.c_str(), [](const char*) { return 0; }), std::nullopt);
    EXPECT_TRUE(FailingCall::has_failed());
    return testing::internal::GetCapturedStderr();
  }

  test::TemporaryDirectory directory_;
  const std::string file_ = directory_.path() / "machine.tar";
};

TEST_F(Archives, WithoutATarAreNotRead) {
  EXPECT_THAT(complaint("pipe"), EndsWith("no archive that tar can read\n"));
  EXPECT_THAT(complaint("posix_spawnp"), EndsWith("no archive that tar can read\n"));
  EXPECT_THAT(complaint("posix_spawnp", 2), EndsWith("tar can't unpack it\n"));
}

TEST_F(Archives, WhoseNamesCantBeReadToTheirEndAreNotRead) {
  EXPECT_THAT(complaint("read"), EndsWith("no archive that tar can read\n"));
}

TEST_F(Archives, OfWhichNobodyKnowsWhetherTarSucceededAreNotRead) {
  EXPECT_THAT(complaint("waitpid"), EndsWith("no archive that tar can read\n"));
  EXPECT_GT(waitpid(-1, nullptr, 0), 0) << "the process of which nothing was said";
}

TEST_F(Archives, WithoutAProcessAreNotUsed) {
  EXPECT_THAT(complaint("fork"), EndsWith("no process can be made for it\n"));
}

TEST_F(Archives, LeaveNothingBehind) {
  static_cast<void>(complaint("fork"));
  for (const auto& entry : std::filesystem::directory_iterator(directory_.path())) {
    EXPECT_EQ(entry.path(), file_);
  }
}

TEST_F(Archives, ASignalInBetweenChangesNothing) {
  for (const char* const name : {"read", "waitpid"}) {
    const FailingCall interrupted(name, EINTR);
    UnpackedArchive archive;
    EXPECT_TRUE(archive.unpack(file_.c_str())) << name;
    EXPECT_TRUE(FailingCall::has_failed()) << name;
    EXPECT_TRUE(std::filesystem::is_directory(archive.directory() + "/sys/class"));
  }
}

TEST_F(Archives, AnEmptyNameOfATemporaryDirectoryIsNone) {
  setenv("TMPDIR", "", 1);
  UnpackedArchive archive;
  ASSERT_TRUE(archive.unpack(file_.c_str()));
  EXPECT_EQ(archive.directory().substr(0, 17), "/tmp/qorx-replay.");
}

}  // namespace
}  // namespace qorx
