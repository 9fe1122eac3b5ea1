#include "lib/checks.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "lib/qorx.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx {
namespace {

class CheckEnvironment : public testing::Test {
 protected:
  void SetUp() override { test::reset_library(); }

  // What is printed, traces included, and the code behind it.
  static std::string check() {
    std::int32_t code = 1;
    const std::string printed = test::traced_by([&] { code = check_environment(); });
    return printed + std::to_string(code);
  }

  test::FakeMachine machine_;
};

TEST_F(CheckEnvironment, NamesEachDirectoryThatExists) {
  EXPECT_EQ(check(), "Folder /sys/class/net exist\nFolder /sys/devices/pci0000:00 exist\n0");
}

TEST_F(CheckEnvironment, IsSilentWithoutTraces) {
  EXPECT_EQ(test::printed_by([] { check_environment(); }), "");
}

TEST_F(CheckEnvironment, FailsWithoutNetworkInterfaces) {
  machine_.remove("sys/class/net");
  EXPECT_EQ(check(), "/sys/class/net folder do not exist or can't access. Please check your environment\n-104");
}

TEST_F(CheckEnvironment, FailsWithoutPciDomainZero) {
  machine_.remove("sys/devices/pci0000:00");
  EXPECT_EQ(check(),
            "Folder /sys/class/net exist\n"
            "/sys/devices/pci0000:00 folder do not exist or can't access. Please check your environment\n-104");
}

TEST_F(CheckEnvironment, AFileIsNoDirectory) {
  machine_.remove("sys/devices/pci0000:00").write("sys/devices/pci0000:00", "");
  EXPECT_EQ(check(),
            "Folder /sys/class/net exist\n"
            "/sys/devices/pci0000:00 folder do not exist or can't access. Please check your environment\n-104");
}

TEST_F(CheckEnvironment, AnUnreadableDirectoryFails) {
  if (geteuid() == 0) {
    GTEST_SKIP() << "root reads everything";
  }
  std::filesystem::permissions(machine_.root() / "sys/class/net", std::filesystem::perms::none);
  EXPECT_EQ(check(), "/sys/class/net folder do not exist or can't access. Please check your environment\n-104");
  std::filesystem::permissions(machine_.root() / "sys/class/net", std::filesystem::perms::owner_all);
}

TEST_F(CheckEnvironment, ReturnsTheCodeAtLevelZeroToo) {
  machine_.remove("sys/class/net");
  qorx_set_message_level(0);
  EXPECT_EQ(test::printed_by([] { EXPECT_EQ(check_environment(), QORX_ERR_OPEN_DIR); }), "");
  qorx_set_message_level(1);
}

}  // namespace
}  // namespace qorx
