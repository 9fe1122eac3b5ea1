#include "lib/checks.h"

#include <gtest/gtest.h>

#include <string>

#include "lib/qorx.h"
#include "tests/support/fixture.h"
#include "tests/support/unprivileged.h"

namespace qorx {
namespace {

constexpr const char* kNetExists = "Folder /sys/class/net exist\n";

// What is printed, traces included, and the code behind it.
std::string check() {
  std::int32_t code = 1;
  const std::string printed = test::traced_by([&] { code = check_environment(); });
  return printed + std::to_string(code);
}

std::string missing(const std::string& directory) {
  return directory + " folder do not exist or can't access. Please check your environment\n-104";
}

using CheckEnvironment = test::MachineTest;

TEST_F(CheckEnvironment, NamesEachDirectoryThatExistsInTracesOnly) {
  EXPECT_EQ(check(), std::string(kNetExists) + "Folder /sys/devices/pci0000:00 exist\n0");
  EXPECT_EQ(test::printed_by([] { check_environment(); }), "");
}

TEST_F(CheckEnvironment, FailsWithoutPciDomainZero) {
  machine_.remove("sys/devices/pci0000:00");
  EXPECT_EQ(check(), kNetExists + missing("/sys/devices/pci0000:00"));
  machine_.write("sys/devices/pci0000:00", "");
  EXPECT_EQ(check(), kNetExists + missing("/sys/devices/pci0000:00")) << "a file is no directory";
}

TEST_F(CheckEnvironment, FailsWithoutNetworkInterfacesAlsoSilently) {
  std::filesystem::permissions(machine_.root() / "sys/class/net", std::filesystem::perms::none);
  EXPECT_TRUE(test::holds_without_root(machine_, [] { return check() == missing("/sys/class/net"); }));
  machine_.remove("sys/class/net");
  EXPECT_EQ(check(), missing("/sys/class/net"));
  qorx_set_message_level(0);
  EXPECT_EQ(test::printed_by([] { EXPECT_EQ(check_environment(), QORX_ERR_OPEN_DIR); }), "");
}

}  // namespace
}  // namespace qorx
