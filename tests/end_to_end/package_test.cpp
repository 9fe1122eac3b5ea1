// The packages that cpack makes.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "tests/end_to_end/system_tools.h"
#include "tests/support/fake_machine.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

const std::vector<std::string> kPackages{"libqorx-dev", "libqorx1", "qorx"};

// A build as the preset "package" makes it, in a folder of its own: made by the first test that wants it, while others
// wait. `sources` are those of the project or a copy.
fs::path package_build(const fs::path& sources, const std::string& name) {
  const fs::path build = fs::path(QORX_BINARY_DIR) / name;
  output_of({"flock", build.string() + ".lock", "sh", "-ec",
             R"("$1" -G Ninja -S "$2" -B "$3" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
                        -DQORX_BUILD_TESTS=OFF -DCMAKE_C_COMPILER="$4" -DCMAKE_CXX_COMPILER="$5"
                      "$1" --build "$3" --parallel 2)",
             "sh", QORX_CMAKE, sources, build, QORX_C_COMPILER, QORX_CXX_COMPILER});
  return build;
}

// Packs a build, with the revision 7, into `directory`.
void pack(const std::string& generator, const fs::path& build, const fs::path& directory,
          const Words& environment = {}) {
  output_of(joined(environment, {fs::path(QORX_CMAKE).parent_path() / "cpack", "-G", generator, "-B", directory, "-D",
                                 "CPACK_QORX_REVISION=7", "--config", build / "CPackConfig.cmake"}),
            directory);
}

// The file of this kind in `directory` whose name begins so.
fs::path file_named(const fs::path& directory, const std::string& start, const std::string& kind) {
  for (const auto& entry : fs::directory_iterator(directory)) {
    const std::string name = entry.path().filename().string();
    if (name.starts_with(start) && name.ends_with(kind)) {
      return entry.path();
    }
  }
  ADD_FAILURE() << "no " << start << "*" << kind;
  return {};
}

// Packed once for all tests.
class Package : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    if (kReleaseBuild && has_command("dpkg-deb")) {
      directory_ = std::make_unique<TemporaryDirectory>();
      pack("DEB", package_build(QORX_SOURCE_DIR, "package"), directory_->path());
    }
  }
  static void TearDownTestSuite() { directory_.reset(); }

  void SetUp() override {
    QORX_SKIP_IF(!kReleaseBuild, "packages are made of release builds");
    QORX_SKIP_WITHOUT("dpkg-deb");
    for (const std::string& name : kPackages) {
      files_.push_back(file_named(directory_->path(), name + "_1.38-7_", ".deb"));
    }
  }

  std::string contents(std::size_t package) const { return output_of({"dpkg-deb", "-c", files_[package]}); }
  std::string field(std::size_t package, const std::string& name) const {
    return output_of({"dpkg-deb", "-f", files_[package], name});
  }

  static std::unique_ptr<TemporaryDirectory> directory_;
  std::vector<fs::path> files_;
};

std::unique_ptr<TemporaryDirectory> Package::directory_;

TEST_F(Package, EachHoldsItsPartAndTheRevisionFollowsTheVersion) {
  const auto holds = [&](std::size_t package, const std::string& file) {
    return contents(package).find(file) != std::string::npos;
  };
  for (std::size_t package = 0; package < kPackages.size(); ++package) {
    SCOPED_TRACE(kPackages[package]);
    EXPECT_EQ(field(package, "Package"), kPackages[package] + "\n");
    EXPECT_EQ(field(package, "Version"), "1.38-7\n");
    EXPECT_EQ(holds(package, "./usr/include/qorx.h"), package == 0);
    EXPECT_EQ(holds(package, "/libqorx.a"), package == 0);
    EXPECT_EQ(holds(package, "/libqorx.so -> "), package == 0);
    EXPECT_EQ(holds(package, "/pkgconfig/qorx.pc"), package == 0);
    EXPECT_EQ(holds(package, "/libqorx.so.1.36"), package == 1);
    EXPECT_EQ(holds(package, "./usr/sbin/qorx"), package == 2);
    EXPECT_EQ(holds(package, QORX_BASH_COMPLETION_DIR "/qorx"), package == 2);
    EXPECT_EQ(holds(package, "share/zsh/vendor-completions/_qorx"), package == 2 && fs::exists("/etc/debian_version"));
    EXPECT_EQ(holds(package, "share/doc/qorx/examples/edge/machine.tar.gz"), package == 2);
    EXPECT_TRUE(holds(package, "share/doc/" + kPackages[package] + "/copyright"));
    EXPECT_TRUE(holds(package, "share/doc/" + kPackages[package] + "/changelog.Debian.gz"));
  }
}

TEST_F(Package, OnlyTheHeadersNeedAnotherOfThem) {
  EXPECT_EQ(field(0, "Depends"), "libqorx1 (= 1.38-7)\n");
  EXPECT_TRUE(field(1, "Depends").starts_with("libc6")) << field(1, "Depends");
  EXPECT_TRUE(field(2, "Depends").starts_with("libc6")) << field(2, "Depends");
  EXPECT_EQ(field(2, "Depends").find(','), std::string::npos) << field(2, "Depends");
}

TEST_F(Package, LintianFindsNothing) {
  QORX_SKIP_WITHOUT("lintian");
  EXPECT_EQ(output_of(joined({"lintian", "--allow-root"}, Words(files_.begin(), files_.end())), directory_->path()),
            "");
}

TEST(PackageOfRpm, HoldsTheTool) {
  QORX_SKIP_IF(!kReleaseBuild, "packages are made of release builds");
  QORX_SKIP_WITHOUT("rpmbuild");
  const TemporaryDirectory directory;
  pack("RPM", package_build(QORX_SOURCE_DIR, "package"), directory.path());
  const std::string file = file_named(directory.path(), "qorx-1.38-7.", ".rpm");
  const std::vector<std::string> listed = lines_of(output_of({"rpm", "-qpl", file}));
  const std::set<std::string> files(listed.begin(), listed.end());
  for (const char* const path :
       {"/usr/sbin/qorx", "/usr/bin/qorx-replay", "/usr/bin/qorx-capture", "/usr/share/man/man8/qorx.8",
        "/usr/share/zsh/site-functions/_qorx", "/usr/share/doc/qorx/examples/edge/machine.tar.gz"}) {
    EXPECT_TRUE(files.contains(path)) << path;
  }
  for (const char* const path : {"/usr/sbin", "/usr/share/man", "/usr/share/man/man8"}) {
    EXPECT_FALSE(files.contains(path)) << path << " is the system's";
  }
}

TEST(PackageKinds, AreThoseForWhichThereAreTools) {
  const TemporaryDirectory directory;
  for (const auto& [tool, kinds] : {std::pair("/bin/true", "\"DEB;RPM\""), std::pair("OFF", "\"DEB\"")}) {
    output_of({QORX_CMAKE, "-G", "Ninja", "-S", QORX_SOURCE_DIR, "-B", directory.path(), "-DQORX_BUILD_TESTS=OFF",
               std::string("-DQORX_RPMBUILD=") + tool});
    EXPECT_NE(read_file(directory.path() / "CPackConfig.cmake").find(std::string("set(CPACK_GENERATOR ") + kinds + ")"),
              std::string::npos)
        << tool;
  }
  EXPECT_EQ(read_file(fs::path(QORX_SOURCE_DIR) / "CMakePresets.json").find("generators"), std::string::npos)
      << "the preset leaves the choice to that";
}

TEST(PackageAsArchive, IsOneTree) {
  QORX_SKIP_IF(!kReleaseBuild, "packages are made of release builds");
  const TemporaryDirectory directory;
  pack("TGZ", QORX_BINARY_DIR, directory.path());
  const fs::path archive = file_named(directory.path(), "qorx-1.38-7-", ".tar.gz");
  const std::string name = archive.filename().string();
  const std::string top = name.substr(0, name.size() - std::string(".tar.gz").size());
  output_of({"tar", "-xzf", archive}, directory.path());
  const fs::path installed = directory.path() / "installed";
  output_of({QORX_CMAKE, "--install", QORX_BINARY_DIR, "--prefix", installed});
  EXPECT_EQ(files_below(directory.path() / top), files_below(installed));
  for (const std::string& line : lines_of(output_of({"tar", "-tzf", archive}))) {
    EXPECT_TRUE(line.starts_with(top + "/")) << line;
  }
}

// A copy of the sources, elsewhere.
void copy_sources(const fs::path& copy) {
  output_of({"sh", "-ec",
             R"(mkdir -p "$2"; cd "$1"
                                      tar --exclude=./build --exclude=./.git --exclude=./tests -cf - . | tar -C "$2" -xf -)",
             "sh", QORX_SOURCE_DIR, copy.string()});
}

TEST(PackageBytes, AreTheSameFromEveryFolder) {
  QORX_SKIP_IF(std::getenv("QORX_LONG") == nullptr, "it builds everything twice: only in long runs (QORX_LONG=1)");
  QORX_SKIP_IF(!kReleaseBuild, "packages are made of release builds");
  QORX_SKIP_WITHOUT("dpkg-deb");
  const TemporaryDirectory directory;
  const fs::path copy = fs::path(QORX_BINARY_DIR) / "another longer name";
  copy_sources(copy);
  // No blanks in these: rpmbuild refuses to pack there.
  for (const auto& [sources, name] : {std::pair(fs::path(QORX_SOURCE_DIR), "package"), {copy, "package-of-a-copy"}}) {
    const fs::path build = package_build(sources, name);
    fs::create_directories(directory.path() / name);
    for (const char* const generator : {"DEB", "RPM", "TGZ"}) {
      if (generator != std::string("RPM") || has_command("rpmbuild")) {
        pack(generator, build, directory.path() / name, {"SOURCE_DATE_EPOCH=1790000000"});
      }
    }
    fs::remove_all(directory.path() / name / "_CPack_Packages");
  }
  const fs::path one = directory.path() / "package";
  const fs::path other = directory.path() / "package-of-a-copy";
  EXPECT_EQ(files_below(one), files_below(other));
  EXPECT_GE(files_below(one).size(), 4U);
  for (const std::string& file : files_below(one)) {
    EXPECT_TRUE(read_file(one / file) == read_file(other / file)) << file;
  }
}

}  // namespace
}  // namespace qorx::test
