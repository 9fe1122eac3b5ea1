// Traces print what happens and choose nothing: with them and without, a run has the same result, also on trees in
// which two files differ that are one on a real machine.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/fixture.h"
#include "tests/support/smbios_builder.h"

namespace qorx::test {
namespace {

constexpr Ids kModule{0x8086, 0x1521, 0x13FE, 0x204A};
constexpr Ids kOther{0x8086, 0x1521, 0x13FE, 0x201A};

class TracesWatch : public MachineTest {
 protected:
  // The result file and the status of a run.
  std::string result(const std::vector<std::string>& more) {
    std::vector<std::string> words{"-o", "result.txt"};
    words.insert(words.end(), more.begin(), more.end());
    const ToolRun run = machine_.run(words);
    return read_file(machine_.work() / "result.txt") + std::to_string(run.status);
  }

  // What a run lists, with traces and without.
  std::string same_result() {
    const std::string plain = result({});
    EXPECT_EQ(result({"-ML", "2"}), plain);
    return plain;
  }

  // What stands at a function's address, apart from what its interface leads to.
  void put_at_address(const std::string& name, const Ids& ids) {
    machine_.remove("sys/bus/pci/devices/" + name)
        .write("sys/bus/pci/devices/" + name + "/config", endpoint_config(ids));
  }
};

TEST_F(TracesWatch, APortWhoseAddressLeadsToOtherIdsThanItsInterface) {
  machine_.add_port("eth0", "0000:01:00.0", kOther).add_port("eth1", "0000:01:00.1", kModule);
  put_at_address("0000:01:00.0", kModule);
  put_at_address("0000:01:00.1", kOther);
  const std::string listed = same_result();
  EXPECT_NE(listed.find("WMX-3493"), std::string::npos) << listed;
}

TEST_F(TracesWatch, APortOnThePathOfAnother) {
  machine_.add_port("eth0", "0000:01:00.0", kOther).add_port("eth1", "0000:01:00.0/0000:02:00.0", {});
  put_at_address("0000:01:00.0", kModule);
  EXPECT_NE(same_result().find("WMX-LH53"), std::string::npos);
}

TEST_F(TracesWatch, AddressesThatNoFunctionHas) {
  machine_.add_port("eth0", "0000:01:3f.0/0000:02:00.0", {}).add_port("eth1", "0000:01:3f.0/0000:03:00.0", {});
  put_at_address("0000:01:3f.0", kModule);
  same_result();
}

TEST_F(TracesWatch, ATableOfNothingButZeros) {
  const SmbiosTable table = SmbiosTable().slot("Slot 1", "01:00.0").raw(std::string(999, '\0'));
  machine_.add_port("eth0", "0000:01:00.0").smbios(table);
  machine_.write("sys/firmware/dmi/tables/smbios_entry_point", table.entry_point3(0, 1000000));
  EXPECT_NE(same_result().find("Slot 1"), std::string::npos);
}

}  // namespace
}  // namespace qorx::test
