// The Debian packages that cpack makes.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/end_to_end/system_tools.h"
#include "tests/support/fake_machine.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

const std::vector<std::string> kPackages{"libqorx-dev", "libqorx1", "qorx"};

class Package : public testing::Test {
 protected:
  void SetUp() override {
    if (!kReleaseBuild) {
      GTEST_SKIP() << "packages are made of release builds";
    }
    QORX_SKIP_WITHOUT("dpkg-deb");
    const std::string cpack = (fs::path(QORX_CMAKE).parent_path() / "cpack").string();
    const ToolRun run = run_command(
        {cpack, "-G", "DEB", "-B", directory_.path().string(), "--config", QORX_BINARY_DIR "/CPackConfig.cmake"},
        directory_.path());
    ASSERT_EQ(run.status, 0) << run.output << run.errors;
    for (const std::string& name : kPackages) {
      for (const auto& entry : fs::directory_iterator(directory_.path())) {
        if (entry.path().filename().string().starts_with(name + "_1.38_")) {
          files_.push_back(entry.path());
        }
      }
    }
    ASSERT_EQ(files_.size(), kPackages.size()) << run.output;
  }

  std::string contents(std::size_t package) const {
    return run_command({"dpkg-deb", "-c", files_[package].string()}).output;
  }
  std::string field(std::size_t package, const std::string& name) const {
    return run_command({"dpkg-deb", "-f", files_[package].string(), name}).output;
  }

  const TemporaryDirectory directory_;
  std::vector<fs::path> files_;
};

TEST_F(Package, EachHoldsItsPart) {
  const auto holds = [&](std::size_t package, const std::string& file) {
    return contents(package).find("./usr/" + file) != std::string::npos;
  };
  for (std::size_t package = 0; package < kPackages.size(); ++package) {
    SCOPED_TRACE(kPackages[package]);
    EXPECT_EQ(field(package, "Package"), kPackages[package] + "\n");
    EXPECT_EQ(holds(package, "include/qorx.h"), package == 0);
    EXPECT_EQ(holds(package, QORX_LIBDIR "/libqorx.a"), package == 0);
    EXPECT_EQ(holds(package, QORX_LIBDIR "/libqorx.so -> "), package == 0);
    EXPECT_EQ(holds(package, QORX_LIBDIR "/pkgconfig/qorx.pc"), package == 0);
    EXPECT_EQ(holds(package, QORX_LIBDIR "/libqorx.so.1.36"), package == 1);
    EXPECT_EQ(holds(package, "sbin/qorx"), package == 2);
    EXPECT_EQ(holds(package, QORX_BASH_COMPLETION_DIR "/qorx"), package == 2);
    EXPECT_TRUE(holds(package, "share/doc/" + kPackages[package] + "/copyright"));
    EXPECT_TRUE(holds(package, "share/doc/" + kPackages[package] + "/changelog.gz"));
  }
}

TEST_F(Package, OnlyTheHeadersNeedAnotherOfThem) {
  EXPECT_EQ(field(0, "Depends"), "libqorx1 (= 1.38)\n");
  EXPECT_TRUE(field(1, "Depends").starts_with("libc6")) << field(1, "Depends");
  EXPECT_TRUE(field(2, "Depends").starts_with("libc6")) << field(2, "Depends");
  EXPECT_EQ(field(2, "Depends").find(','), std::string::npos) << field(2, "Depends");
}

TEST_F(Package, LintianFindsNoErrors) {
  QORX_SKIP_WITHOUT("lintian");
  std::vector<std::string> words{"lintian", "--allow-root"};
  for (const fs::path& file : files_) {
    words.push_back(file.string());
  }
  const ToolRun run = run_command(words, directory_.path());
  EXPECT_EQ(run.status, 0) << run.errors;
  for (const std::string& line : lines_of(run.output)) {
    EXPECT_FALSE(line.starts_with("E:")) << line;
  }
}

}  // namespace
}  // namespace qorx::test
