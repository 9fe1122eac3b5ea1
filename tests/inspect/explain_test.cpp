// What is said of values that hardly any machine has.
#include "inspect/explain.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <string>

#include "base/bounded_text.h"
#include "inspect/explanation.h"
#include "records/origins.h"
#include "tests/support/fixture.h"

namespace qorx::inspect {
namespace {

using testing::HasSubstr;
using testing::Not;

// A port in a slot, of which nothing else is known.
class Explaining : public test::LibraryTest {
 protected:
  Explaining() {
    copy_text(g_config_file_name, "qorx.cfg");
    copy_text(g_WMX_name_file_name, "names.cfg");
    copy_text(record_.net_path, "../../devices/pci0000:00/0000:03:00.0");
    port_.record = &record_;
    port_.slot = "WMX Slot 1";
    port_.place = Place::kSystemSlot;
  }

  std::string said_of(void (*explain)(Explanation&, const Port&)) const {
    Explanation text;
    explain(text, port_);
    return text.text();
  }
  std::string said_of(void (*explain)(Explanation&, const Machine&, const Port&)) const {
    Explanation text;
    explain(text, machine_, port_);
    return text.text();
  }

  DeviceRecord& record_ = test::add_device("eth0", "WMX Slot 1", 9);
  PortOrigin& origin_ = origin_of(record_);
  Port port_;
  Machine machine_;
};

TEST_F(Explaining, LinesOfTheModuleFileThatDisagree) {
  origin_.conflict_line = 7;
  EXPECT_THAT(said_of(explain_feature), HasSubstr("But line 7 of names.cfg disagrees: leave one of the two out."));
}

TEST_F(Explaining, AnOldModuleWithoutAModelIsAskedForInThePlatformFile) {
  origin_.feature = Writer::kLegacyTable;
  EXPECT_THAT(said_of(explain_feature), HasSubstr("FUNCTION/NAME/FEATURE=\"0/NAME/NA\""));
  port_.model = "WMX-1/2";
  EXPECT_THAT(said_of(explain_feature), HasSubstr("        WMX-1 FEATURE\n"));
}

TEST_F(Explaining, ADisputeShowsALineOnlyWhereThereIsAllThatBelongsIntoIt) {
  port_.has_mismatch = true;
  origin_.refused_line = 3;
  port_.feature = "POE";
  EXPECT_THAT(said_of(explain_feature), Not(HasSubstr("FUNCTION/NAME")));
  port_.panel = "P1";
  EXPECT_THAT(said_of(explain_feature), HasSubstr("FUNCTION/NAME/FEATURE=\"0/P1/POE\""));
  port_.feature.reset();
  EXPECT_THAT(said_of(explain_feature), Not(HasSubstr("FUNCTION/NAME")));
}

TEST_F(Explaining, ASegmentThatNoSlotNumberGives) {
  port_.segment = 13;
  origin_.segment_place = 1;
  EXPECT_THAT(said_of(explain_segment), HasSubstr("Port number 1 of its slot, the slot's number, in one byte"));
  port_.segment = 0;
  origin_.segment_place = 3;
  EXPECT_THAT(said_of(explain_segment),
              HasSubstr("the slot's number, in one byte: 4 times the number, and the pair 1"));
  port_.segment = 13;
  EXPECT_THAT(said_of(explain_segment), HasSubstr("slot number 3: 4 times the number, and the pair 1"));
}

TEST_F(Explaining, AControllerThatIsNotThePorts) {
  port_.segment = 4;
  record_.feature = QORX_FEATURE_A_BYPASS;
  EXPECT_THAT(said_of(explain_control_file), HasSubstr("Because it does not carry the controller of its pair.\n"));
  origin_.feature = Writer::kPlatformFile;
  origin_.feature_line = 3;
  EXPECT_THAT(said_of(explain_control_file),
              HasSubstr("Because line 3 of qorx.cfg took the controller away; A_BYPASS-C leaves it."));
}

TEST_F(Explaining, IdsThatNoListHas) {
  record_.subsys_vendor_id = 0x13FE;
  record_.subsys_device_id = 0xFFFF;
  EXPECT_THAT(said_of(explain_model),
              HasSubstr("The subsystem ids 13fe ffff are the maker's and not in qorx -support"));
  origin_.model = Writer::kCardTable;
  EXPECT_THAT(said_of(explain_model), HasSubstr("The card is the subsystem ids 13fe ffff."));
  record_.subsys_device_id = QORX_ID_UNKNOWN;
  EXPECT_THAT(said_of(explain_model), HasSubstr("The card is the subsystem ids N/A."));
}

TEST_F(Explaining, OnlySeveralCandidatesAreAskedFor) {
  origin_.model = Writer::kLegacyTable;
  EXPECT_THAT(said_of(explain_model), Not(HasSubstr("wmx_name.cfg")));
  port_.model = "WMX-2848";
  EXPECT_THAT(said_of(explain_model), Not(HasSubstr("wmx_name.cfg")));
  port_.model = "WMX-2848/4828";
  EXPECT_THAT(said_of(explain_model), HasSubstr("        WMX-2848 FEATURE\n"));
}

TEST_F(Explaining, WhereTheRecordOfAMatchComesFrom) {
  machine_.slots = {&test::add_slot("WMX Slot 1", 9, 3)};
  record_.slot_bus = 3;
  origin_.slot = 1;
  origin_.match_level = 3;
  machine_.slot_source = SlotSource::kEfi;
  EXPECT_THAT(said_of(explain_slot),
              HasSubstr("Component 0000:03:00.0 of its path met the record type 9 \"WMX Slot 1\""));
  EXPECT_THAT(said_of(explain_slot), HasSubstr("comes from the firmware's table in /dev/mem, found through EFI."));
  machine_.slot_source = SlotSource::kNone;
  copy_text(record_.net_path, "elsewhere");
  EXPECT_THAT(said_of(explain_slot), HasSubstr("Component  of its path met"));
  EXPECT_THAT(said_of(explain_slot), HasSubstr("comes from nowhere."));
}

TEST_F(Explaining, WhyThereAreNoSlotRecords) {
  port_.slot.reset();
  port_.address = "03:00.0";
  const auto says_vm = [&] { return said_of(explain_slot).find("-vm was given") != std::string::npos; };
  g_vm_bypass = 1;
  EXPECT_TRUE(says_vm());
  g_diag = 1;
  EXPECT_FALSE(says_vm());
  g_diag = 0;
  g_smbios_flag = 1;
  EXPECT_FALSE(says_vm());
}

using ExplainingAMissingPort = test::MachineTest;

TEST_F(ExplainingAMissingPort, OfALinkThatIsNone) {
  machine_.add_raw_interface("eth0", "elsewhere");
  EXPECT_EQ(explain_missing("eth0"), "eth0 is no physical port");
  EXPECT_EQ(explain_missing("eth1"), "");
}

TEST_F(Explaining, OnlyRootMayReadTheTable) {
  port_.slot.reset();
  port_.address = "03:00.0";
  const uid_t user = geteuid();
  const bool is_user = user != 0 || seteuid(65534) == 0;
  const std::string said = said_of(explain_slot);
  EXPECT_EQ(seteuid(user), 0);
  prctl(PR_SET_DUMPABLE, 1);  // lost with the rights; the leak check at the end needs it
  EXPECT_EQ(said.find(" Only root may read it.") != std::string::npos, is_user);
}

}  // namespace
}  // namespace qorx::inspect
