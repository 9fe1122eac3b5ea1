// What qorx says of a recording is what it says of the machine: on the sample appliances and on recorded real ones.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/end_to_end/capture.h"
#include "tests/end_to_end/realdata.h"
#include "tests/support/transcript.h"

namespace qorx::test {
namespace {

namespace fs = std::filesystem;

class CaptureOfAppliance : public testing::TestWithParam<std::string> {
 protected:
  const Appliance machine_{GetParam()};
  const Capture capture_{machine_.root()};
};

TEST_P(CaptureOfAppliance, EveryOperationOfTheGoldenCasesSaysTheSame) {
  EXPECT_EQ(capture_.complaints(), "") << "all of it can be read";
  EXPECT_GT(machine_.cases().size(), 50U);
  for (const std::string& name : machine_.cases()) {
    SCOPED_TRACE(name);
    const Transcript expected = machine_.expected(name);
    EXPECT_EQ(capture_.expect_same(expected.arguments, machine_.configuration()), expected.output);
  }
}

TEST_P(CaptureOfAppliance, TheArchiveItselfSaysTheSame) {
  for (const char* const name : {"all", "all-config", "sysinfo", "tovix"}) {
    const Transcript expected = machine_.expected(name);
    const Transcript played = play(expected, machine_.configuration(), [&](const fs::path& directory) {
      return run_replay(capture_.archive(), directory, expected.arguments);
    });
    EXPECT_EQ(text_of(played), text_of(expected));
  }
}

TEST_P(CaptureOfAppliance, TheSlotRecordsAreTheSame) {
  EXPECT_EQ(slot_trace(capture_.archive()), slot_trace(machine_.root()));
  EXPECT_NE(slot_trace(capture_.archive()), "");
}

INSTANTIATE_TEST_SUITE_P(Appliances, CaptureOfAppliance, testing::ValuesIn(Appliance::names()));

// A tree of sysfs, with the firmware tables of the same machine where they were recorded too.
class CaptureOfRealTree : public realdata::RealMachine {
 protected:
  void SetUp() override {
    RealMachine::SetUp();
    if (IsSkipped() || HasFatalFailure()) {
      return;
    }
    output_of({"tar", "-xJf", path(".tar.xz"), "-C", tree_.path()});
    for (const char* const folder : {"smbios", "smbios-rebuilt"}) {
      const fs::path tables = realdata::kRealData / folder / path().filename();
      if (fs::exists(tables)) {
        fs::create_directories(tree_.path() / "sys/firmware/dmi/tables");
        fs::copy(tables, tree_.path() / "sys/firmware/dmi/tables");
      }
    }
  }

  // Slot records for every device below the root complex, each said to hold a switch.
  void write_switch_files(const fs::path& smbios, const fs::path& platform) const {
    std::ofstream slots(smbios);
    std::ofstream switches(platform);
    std::error_code none;
    for (const auto& device : fs::directory_iterator(tree_.path() / "sys/devices/pci0000:00", none)) {
      const std::string name = device.path().filename().string();
      if (name.starts_with("0000:")) {
        const std::string address = name.substr(5);
        slots << "TYPE=\"9\"\nNAME=\"Slot " << address << "\"\nBUS:DEV.FUN=\"" << address << "\"\n";
        switches << "SLOT_NAME=\"Slot " << address << "\"\nPCIe_SW_DEV/WMX_SLOT=\"0-1f/Switch " << address << "\"\n";
      }
    }
  }

  const TemporaryDirectory tree_;
};

TEST_P(CaptureOfRealTree, EveryOperationSaysTheSame) {
  const Capture capture(tree_.path());
  for (const char* const arguments : {"-a", "-a -legacy", "-a -novlan -sort_slotname", "-a -vm", "-a -ML 0",
                                      "-f N/A -legacy", "-sysinfo", "-sysinfo -legacy", "-tovix.cfg -F"}) {
    SCOPED_TRACE(arguments);
    capture.expect_same(words_of(arguments));
  }
}

TEST_P(CaptureOfRealTree, TheSearchForSwitchesFindsTheSame) {
  const Capture capture(tree_.path());
  const TemporaryDirectory files;
  const fs::path slots = files.path() / "smbios.cfg";
  const fs::path switches = files.path() / "qorx.cfg";
  write_switch_files(slots, switches);
  for (const char* const operation : {"-a", "-sysinfo"}) {
    SCOPED_TRACE(operation);
    capture.expect_same({operation, "-smbios_cfg", "smbios.cfg", "-config", "qorx.cfg"}, {slots, switches});
  }
}

INSTANTIATE_TEST_SUITE_P(Recorded, CaptureOfRealTree, testing::ValuesIn(realdata::recordings("sysfs", ".tar.xz")),
                         realdata::kNamedByRecording);

}  // namespace
}  // namespace qorx::test
