// Anonymous recordings keep MAC addresses apart, whatever their digits look like: by every awk that systems have, and
// for many addresses.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "tests/end_to_end/capture.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

using Macs = std::vector<std::string>;

// Without colons. Read as numbers, these are zero, infinite, or equal to one another.
const Macs kNumberLike{"00e067123456", "00e067123457", "000e99123456", "00e000000001", "001e67123456", "001e67999999",
                       "999e99999999", "100000000000", "00100e000009", "010e00000010", "10e000000010", "000000000010",
                       "00000000000a", "000000000001", "0000000001e0", "001000000000", "1e0000000010", "000001e00008"};

// Digits and the letter e more often than the other letters, so that many look like numbers with an exponent.
Macs random_macs(std::size_t count) {
  std::mt19937 random(20261121);  // NOLINT(cert-msc51-cpp): the same addresses in every run
  const std::string digits = "00000112233445566778899eeeabcdf";
  std::set<std::string> macs(kNumberLike.begin(), kNumberLike.end());
  while (macs.size() < count) {
    std::string mac;
    while (mac.size() < 12) {
      mac += digits[random() % digits.size()];
    }
    macs.insert(mac);
  }
  return {macs.begin(), macs.end()};
}

std::string with_colons(std::string mac) {
  for (std::size_t place = 10; place > 0; place -= 2) {
    mac.insert(place, ":");
  }
  return mac;
}

struct Row {
  std::string name;
  std::string mac;
  std::string rest;
};

// The rows of the table; the name is the first column and the address the seventh.
std::vector<Row> rows_of(const fs::path& machine) {
  const TemporaryDirectory work;
  std::vector<Row> rows;
  for (const std::string& line : lines_of(run_replay(machine, work.path(), {"-a"}).output)) {
    if (holds(line, ":") && !line.starts_with("eth name")) {
      rows.push_back({line.substr(0, 15), line.substr(49, 17), line.substr(15, 34) + line.substr(66)});
    }
  }
  return rows;
}

// The name is that of the address, and the address begins with the same three bytes.
void expect_stand_in(const Row& row, const Row& original) {
  std::string plain = row.mac;
  std::erase(plain, ':');
  EXPECT_EQ(row.name, "enx" + plain);
  EXPECT_EQ(row.mac.substr(0, 9), original.mac.substr(0, 9));
  EXPECT_EQ(row.rest, original.rest);
}

// The recording has the machine's rows in the machine's order, each address with a stand-in of its own.
void expect_same_rows(const fs::path& archive, const fs::path& machine, const Macs& macs) {
  const std::vector<Row> expected = rows_of(machine);
  const std::vector<Row> rows = rows_of(archive);
  ASSERT_EQ(expected.size(), macs.size());
  ASSERT_EQ(rows.size(), macs.size());
  std::set<std::string> stand_ins;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    SCOPED_TRACE(expected[i].name);
    expect_stand_in(rows[i], expected[i]);
    EXPECT_TRUE(stand_ins.insert(rows[i].mac).second) << rows[i].mac << " stands for two addresses";
  }
}

class CaptureByAwk : public testing::TestWithParam<const char*> {};

TEST_P(CaptureByAwk, AddressesThatLookLikeNumbersStayApart) {
  QORX_SKIP_IF(!has_command(GetParam()), std::string("there is no ") + GetParam() + " here");
  FakeMachine machine;
  int number = 0;
  for (const std::string& mac : kNumberLike) {
    const std::string port = "1-" + std::to_string(++number);
    machine.add_usb_port("enx" + mac, "0000:00:14.0/usb1/" + port + "/" + port + ":1.0", "bda/8153/3000",
                         with_colons(mac));
  }
  machine.smbios(SmbiosTable().slot("WMX Slot 1", "00:14.0"));
  machine.make_directory("tools");
  machine.make_link(lines_of(output_of({"sh", "-c", std::string("command -v ") + GetParam()})).at(0), "tools/awk");
  const fs::path archive = machine.work() / "machine.tar.gz";
  output_of({"PATH=" + (machine.root() / "tools").string() + ":/usr/sbin:/usr/bin:/sbin:/bin", capture_program(),
             "--anonymize", "--root", machine.root(), "-o", archive});
  expect_same_rows(archive, machine.root(), kNumberLike);
  EXPECT_EQ(slot_trace(archive), slot_trace(machine.root()));
}

INSTANTIATE_TEST_SUITE_P(Each, CaptureByAwk, testing::Values("mawk", "gawk", "original-awk", "busybox"),
                         [](const auto& program) {
                           std::string name = program.param;
                           std::erase(name, '-');
                           return name;
                         });

// As many as the table of ports takes at once, and again.
TEST(CaptureAnonymized, AThousandAddressesStayApart) {
  QORX_SKIP_IF(kSanitizedBuild, "qorx-capture is a script; one build is enough");
  constexpr std::size_t kPerMachine = 500;
  const Macs macs = random_macs(2 * kPerMachine);
  for (auto first = macs.begin(); first != macs.end(); first += kPerMachine) {
    const Macs part(first, first + kPerMachine);
    FakeMachine machine;
    for (const std::string& mac : part) {
      machine.add_virtual("enx" + mac, with_colons(mac));
    }
    const Capture capture(machine.root(), {"--anonymize"});
    expect_same_rows(capture.archive(), machine.root(), part);
  }
}

}  // namespace
}  // namespace qorx::test
