// Texts that are no UTF-8, numbers that no machine has, and what JSON, comparison and drawings make of them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/bounded_text.h"
#include "inspect/compare.h"
#include "inspect/draw.h"
#include "inspect/expected_file.h"
#include "inspect/front.h"
#include "inspect/json.h"
#include "records/origins.h"
#include "tests/support/fixture.h"

namespace qorx::inspect {
namespace {

using testing::HasSubstr;
using testing::Not;
using Lines = std::vector<std::string>;

class OddValues : public test::MachineTest {
 protected:
  OddValues() { g_novlan = 1; }

  // A port of which no more is known than this; its slot has a record.
  static DeviceRecord& add_port(std::string_view name, std::string_view slot = "", int type = 0) {
    DeviceRecord& record = test::add_device(name, slot, type);
    copy_text(record.model, "ID not found");
    copy_text(record.panel_name, "N/A");
    if (type == QORX_SMBIOS_SYSTEM_SLOT) {
      test::add_slot(slot);
    }
    return record;
  }

  static Machine read() {
    Machine machine;
    EXPECT_EQ(read_machine(machine), 0);
    return machine;
  }

  // Why a file with this text can't be compared with.
  std::string complaint(const std::string& text) {
    std::vector<ComparedPort> ports;
    return read_expected_file(machine_.user_file("expected.json", text), ports);
  }
};

const Lines kAll{"slot", "model", "feature", "panel", "segment", "eth_name", "address", "ids", "mac"};

TEST_F(OddValues, BytesThatAreNoUtf8AreComparedAsBytes) {
  DeviceRecord& record = add_port("\xFF", "\xE9", 9);
  copy_text(record.module_names[0], "\xFE");
  record.module_name_count = 1;
  const std::string text = json_text(read());
  EXPECT_THAT(text, HasSubstr("\"bytes\":{\"eth_name\":\"ff\",\"slot_name\":\"e9\",\"module_names\":[\"fe\"]}"));
  const std::string file = machine_.user_file("expected.json", text);
  EXPECT_EQ(compare_with_file(read(), file, kAll).differences, Lines{});
  copy_text(record.eth_name, "\xC3\xBF");  // the same character, written as UTF-8
  EXPECT_EQ(compare_with_file(read(), file, kAll).differences.size(), 1U);
}

TEST_F(OddValues, AFullListOfDevicesEnds) {
  test::add_slot("WMX Slot 1").device_id_number = 200;
  const std::string text = json_text(read());
  const std::string devices = text.substr(text.find("\"devices\":["), 180);
  EXPECT_THAT(devices.substr(0, devices.find(']')), HasSubstr("},{"));
  std::size_t count = 0;
  for (std::size_t at = 0; (at = text.find("\"count\":", at)) != std::string::npos; ++at) {
    ++count;
  }
  EXPECT_EQ(count, std::size_t{QORX_MAX_DEVICE_IDS});
}

TEST_F(OddValues, ATableFoundThroughEfiIsOne) {
  Machine machine = read();
  machine.slot_source = SlotSource::kEfi;
  EXPECT_THAT(json_text(machine), HasSubstr("\"slot_records\":\"efi\""));
}

TEST_F(OddValues, ALayoutIsAKnownNumber) {
  EXPECT_EQ(complaint(R"({"schema": 1.5, "ports": []})"), "has layout 1.5, this program knows 1");
  EXPECT_EQ(complaint(R"({"schema": -1, "ports": []})"), "has layout -1, this program knows 1");
  EXPECT_EQ(complaint(R"({"schema": "1", "ports": []})"), "has layout \"1\", this program knows 1");
  EXPECT_EQ(complaint(R"({"schema": 1, "ports": []})"), "");
}

TEST_F(OddValues, APortIsCompleteWithItsBytes) {
  test::add_device("eth0");
  std::string text = json_text(read());
  EXPECT_EQ(complaint(text), "");
  text.replace(text.rfind("\"bytes\":", text.find("\"virtual_interfaces\": [")), 7, "\"bytez\"");
  EXPECT_EQ(complaint(text), "has no complete port number 1");
  EXPECT_EQ(complaint(R"({"schema": 1, "ports": [{}, 7, {}]})"), "has no complete port number 1");
}

TEST_F(OddValues, PortsWithoutASlotAreCalledByAddressOrName) {
  DeviceRecord& first = add_port("eth0");
  first.bus = 3;
  add_port("eth1").fun = kAbsent;
  const std::string both = machine_.user_file("expected.json", json_text(read()));
  qorx_system_environment_info.eth_device_number = 0;
  EXPECT_EQ(compare_with_file(read(), both, kAll).differences,
            (Lines{"port without slot at 03:00.0: expected an unknown model, found no port",
                   "interface eth1: expected an unknown model, found no port"}));
}

TEST_F(OddValues, AFeatureIsShownByItsState) {
  DeviceRecord& record = add_port("eth0", "LAN 1", QORX_SMBIOS_ONBOARD_DEVICE);
  const std::string needed = machine_.user_file("expected.json", json_text(read()));
  record.smbios_type = 0;
  EXPECT_EQ(compare_with_file(read(), needed, {"slot", "feature"}).differences,
            Lines{"LAN 1: feature: expected Need cfg, found unknown"});
}

// The four port rows of a drawing, and what stands for the name.
TEST_F(OddValues, AHeapOfAccentsIsOneQuestionMark) {
  std::string heap = "e";
  for (int i = 0; i < 7; ++i) {
    heap += "\xCC\x81";
  }
  add_port("x" + heap + "y", "WMX Slot 1", 9);
  EXPECT_THAT(draw_on_terminal(lay_out(read()), {.is_utf8 = true, .is_coloured = false}), HasSubstr("x?y"));
  add_port("x" + heap.substr(0, 13) + "y", "WMX Slot 1", 9);
  EXPECT_THAT(draw_on_terminal(lay_out(read()), {.is_utf8 = true, .is_coloured = false}),
              HasSubstr("x" + heap.substr(0, 13) + "y"));
}

TEST_F(OddValues, APictureHoldsNoCharacterThatXmlHasNot) {
  add_port(
      "a\xEF\xBF\xBE"
      "b\xEF\xBF\xBF"
      "c",
      "WMX Slot 1", 9)
      .fun = kAbsent;
  const std::string picture = draw_as_svg(lay_out(read()));
  EXPECT_THAT(picture, HasSubstr(">a?b?c</text>"));
  EXPECT_THAT(picture, HasSubstr("<title>(!!): a?b?c, unknown</title>"));
}

TEST_F(OddValues, ColoursSayWhatAFeatureIs) {
  const auto drawn = [](std::uint8_t feature, int type) {
    clear_tables();
    add_port("eth0", "S", type).feature = feature;
    return draw_on_terminal(lay_out(read()), {.is_utf8 = false, .is_coloured = true});
  };
  EXPECT_THAT(drawn(QORX_FEATURE_POE, 9), HasSubstr("\x1B[32mPOE\x1B[0m"));
  EXPECT_THAT(drawn(QORX_FEATURE_L_BYPASS, 9), HasSubstr("\x1B[33mL_BYPASS\x1B[0m"));
  EXPECT_THAT(drawn(QORX_FEATURE_POE | QORX_FEATURE_MISMATCH, 9), HasSubstr("\x1B[31mPOE(!)\x1B[0m"));
  EXPECT_THAT(drawn(QORX_FEATURE_NONE, 41), HasSubstr("\x1B[31mNeed cfg\x1B[0m"));
  EXPECT_THAT(drawn(QORX_FEATURE_NA, 9), HasSubstr("| |-   "));
}

}  // namespace
}  // namespace qorx::inspect
