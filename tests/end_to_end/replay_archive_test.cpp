// qorx-replay on archives: what it accepts, what it refuses, and that it leaves nothing behind.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/end_to_end/capture.h"
#include "tests/support/fixture.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

class ReplayOfArchive : public MachineTest {
 protected:
  ReplayOfArchive() { machine_.add_virtual("br0", "02:00:00:00:00:99"); }

  // Packs the machine with tar, with more words for it.
  std::string packed(const std::vector<std::string>& options = {"-z"}, const std::string& name = "machine") const {
    const fs::path archive = machine_.work() / name;
    output_of(joined(joined({"tar", "-cf", archive}, options), {"-C", machine_.root(), "."}));
    return archive;
  }

  // Runs the tool with a directory for temporary files that must be empty afterwards.
  ToolRun replay(const std::string& archive, const std::vector<std::string>& arguments = {"-a"}) const {
    const TemporaryDirectory temporary;
    const Words words{"TMPDIR=" + temporary.path().string(), replay_program(), archive, "--"};
    ToolRun run = run_command(joined(words, arguments), machine_.work());
    EXPECT_TRUE(fs::is_empty(temporary.path())) << "something was left behind";
    return run;
  }

  void expect_refused(const std::string& archive, const std::string& reason) const {
    const ToolRun run = replay(archive);
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.output, "");
    EXPECT_TRUE(run.errors.ends_with("qorx-replay: " + archive + ": " + reason + "\n")) << run.errors;
  }
};

const std::string kLeadsOut = "the archive holds links that lead out of it, or special files";

TEST_F(ReplayOfArchive, SaysWhatItSaysOfTheDirectory) {
  for (const std::string compression : {"--gzip", "--xz"}) {
    EXPECT_EQ(replay(packed({compression})), machine_.run({"-a"})) << compression;
  }
  EXPECT_NE(machine_.run({"-a"}).output.find("br0"), std::string::npos);
}

TEST_F(ReplayOfArchive, KeepsTheExitStatusOfTheCommand) {
  EXPECT_EQ(replay(packed(), {"-x"}).status, 0x96);
  machine_.remove("sys/class/net");
  EXPECT_EQ(replay(packed(), {"-a"}).status, 0x98);
}

TEST_F(ReplayOfArchive, FilesOfTheUserStayWhereTheyAre) {
  EXPECT_EQ(replay(packed(), {"-tovix.cfg"}), said(""));
  EXPECT_EQ(read_file(machine_.work() / "tovix.cfg"), "TYPE:PCIE\n\n");
}

TEST_F(ReplayOfArchive, ANameThatLooksLikeAnotherMachinesIsAFile) {
  packed({"-z", "--force-local"}, "host:machine");
  EXPECT_EQ(replay("host:machine").status, 0);
}

TEST_F(ReplayOfArchive, AMachineWhoseClockIsAheadIsNothingToTalkAbout) {
  EXPECT_EQ(replay(packed({"--mtime=2099-01-01 00:00:00"})), machine_.run({"-a"}));
}

TEST_F(ReplayOfArchive, WhatTarCannotReadIsRefused) {
  expect_refused(machine_.user_file("text", "no archive"), "no archive that tar can read");
  expect_refused(machine_.user_file("empty.gz", ""), "no archive that tar can read");
}

TEST_F(ReplayOfArchive, NamesThatLeadOutOfTheArchiveAreRefused) {
  for (const std::string place : {"/tmp", "..", "sys/../.."}) {
    expect_refused(packed({"-P", "--transform=s,^./sys/class," + place + "/qorx-test-escaped,"}),
                   "the archive holds names that lead out of it");
  }
  EXPECT_FALSE(fs::exists("/tmp/qorx-test-escaped"));
}

TEST_F(ReplayOfArchive, LinksThatLeadOutOfTheArchiveAreRefused) {
  for (const char* const target : {"/etc/hostname", "../../../../../../../../etc/hostname"}) {
    machine_.make_link(target, "sys/class/net/eth0");
    expect_refused(packed(), kLeadsOut);
    machine_.remove("sys/class/net/eth0");
  }
  // A step at a time: a link to the top, and one above it through the first.
  machine_.make_link("../..", "sys/class/top").make_link("../class/top/..", "sys/devices/above");
  expect_refused(packed(), kLeadsOut);
}

TEST_F(ReplayOfArchive, LinksThatLeadNowhereAreKept) {
  machine_.add_raw_interface("eth0", "../../devices/pci0000:00/0000:00:1c.0/net/eth0");
  const ToolRun run = replay(packed());
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_NE(run.output.find("eth0            00:1c.0"), std::string::npos) << run.output;
}

TEST_F(ReplayOfArchive, SpecialFilesAreRefused) {
  ASSERT_EQ(run_command({"mkfifo", (machine_.root() / "sys/class/pipe").string()}).status, 0);
  expect_refused(packed(), kLeadsOut);
}

TEST_F(ReplayOfArchive, WithoutARoomForItNothingRuns) {
  const ToolRun run = run_command({"TMPDIR=/no/such/place", replay_program().string(), packed(), "-a"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output, "");
  EXPECT_NE(run.errors.find("can't make a temporary directory"), std::string::npos) << run.errors;
}

TEST_F(ReplayOfArchive, AClosedStandardOutputDoesNotEndUpInTheArchive) {
  const ToolRun run =
      run_command({"sh", "-c", "exec " + replay_program().string() + " " + packed() + " -V >&-"}, machine_.work());
  EXPECT_EQ(run.status, 131);
}

// The numbers of the virtual interfaces stand in the order in which the directory lists them.
std::string virtual_rows(const std::string& table) {
  std::string names;
  for (const std::string& line : lines_of(table)) {
    names += line.starts_with("v") ? line.substr(1, 1) : "";
  }
  return names;
}

TEST_F(ReplayOfArchive, DirectoriesListInTheRecordedOrder) {
  for (const char* const name : {"v1", "v2", "v3", "v4", "v5"}) {
    machine_.add_virtual(name, "02:00:00:00:00:01");
  }
  const std::string net = "sys/class/net/";
  for (const std::string order : {"31524", "42513"}) {
    std::string lines;
    for (const char number : order) {
      lines += net + "v" + number + "\n";
    }
    machine_.write("order", lines);
    EXPECT_EQ(virtual_rows(replay(packed()).output), order);
    EXPECT_EQ(virtual_rows(machine_.run({"-a"}).output), order) << "also of a directory";
  }
}

TEST_F(ReplayOfArchive, EntriesOutsideTheOrderComeBehindIt) {
  machine_.add_virtual("v1", "02:00:00:00:00:01").add_virtual("v2", "02:00:00:00:00:01");
  for (const std::string order : {"12", "21"}) {
    machine_.write("order", "sys/class/net/missing\nsys/class/net/v" + order.substr(0, 1) + "\n");
    EXPECT_EQ(virtual_rows(replay(packed()).output), order);
  }
}

}  // namespace
}  // namespace qorx::test
