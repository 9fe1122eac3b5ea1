#include "ident/i2c_adapters.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "base/messages.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

constexpr std::uint32_t kUnset = 12345;
constexpr const char* kAdapters = "sys/class/i2c-adapter/";

class I2cAdapters : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  std::uint32_t find(const char* pattern) {
    std::uint32_t port = kUnset;
    EXPECT_EQ(get_x86_i2c_port_number(&port, pattern), 0);
    return port;
  }

  // An adapter directory of any name whose name file has this content.
  FakeMachine& adapter(const std::string& entry, const std::string& content) {
    return machine_.write(kAdapters + entry + "/name", content);
  }

  // The adapters' directory entries in the order in which the directory returns them.
  std::vector<std::string> listed() const {
    std::vector<std::string> entries;
    const std::string path = machine_.root() / kAdapters;
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(path.c_str()), closedir);
    while (const dirent* const entry = readdir(directory.get())) {
      if (entry->d_name[0] != '.') {
        entries.emplace_back(entry->d_name);
      }
    }
    return entries;
  }

  FakeMachine machine_;
};

TEST_F(I2cAdapters, AnAdapterIsFoundByAPartOfItsName) {
  machine_.add_i2c_adapter(0, "Adapter of the graphics card, port DPC")
      .add_i2c_adapter(2, "Adapter of the graphics card, port DPD")
      .add_i2c_adapter(5, "SMBus I801 adapter at f040")
      .add_i2c_adapter(11, "Baseboard controller i2c");
  EXPECT_EQ(find("SMBus I801"), 5U);
  EXPECT_EQ(find("adapter at f0"), 5U);
  EXPECT_EQ(find("Baseboard"), 11U);
}

TEST_F(I2cAdapters, WithoutAMatchThePortStays) {
  machine_.add_i2c_adapter(0, "SMBus PIIX4 adapter at 4100");
  EXPECT_EQ(find("SMBus I801"), kUnset);
  EXPECT_EQ(find("smbus piix4"), kUnset);
  machine_.remove("sys/class/i2c-adapter/i2c-0");
  EXPECT_EQ(find("SMBus PIIX4"), kUnset);
}

TEST_F(I2cAdapters, OfSeveralTheFirstInDirectoryOrderIsTaken) {
  for (const int number : {7, 3, 5, 1}) {
    machine_.add_i2c_adapter(number, "Synopsys DesignWare I2C adapter");
  }
  EXPECT_EQ("i2c-" + std::to_string(find("Synopsys DesignWare I2C adapter")), listed().front());
}

TEST_F(I2cAdapters, TheNumberStandsBehindTheLastDash) {
  struct Case {
    const char* entry;
    std::uint32_t number;
  };
  for (const Case& c : {Case{"i2c-3", 3}, Case{"i2c-0", 0}, Case{"i2c-300", 300}, Case{"a-1-b-42", 42},
                        Case{"i2c-7x", 7}, Case{"i2c-", 0}, Case{"i2c-x", 0}, Case{"i2c--5", 5}, Case{"i2c-007", 7}}) {
    SCOPED_TRACE(c.entry);
    FakeMachine machine;
    machine.write(kAdapters + std::string(c.entry) + "/name", "SMBus I801 adapter at efa0\n");
    EXPECT_EQ(find("SMBus I801"), c.number);
  }
}

TEST_F(I2cAdapters, AMatchWithoutADashEndsTheSearchWithoutANumber) {
  adapter("smbus", "SMBus I801 adapter at efa0\n");
  EXPECT_EQ(find("SMBus I801"), kUnset);
  EXPECT_EQ(traced_by([&] { find("SMBus I801"); }),
            "/sys/class/i2c-adapter/smbus/name, smbus\nRoot bus: smbus, founded.\n");
}

TEST_F(I2cAdapters, OnlyTheFirst99BytesOfTheFirstLineAreCompared) {
  const std::string pattern = "SMBus I801";
  struct Case {
    const char* name;
    std::string content;
    bool matches;
  };
  for (const Case& c :
       {Case{"no line feed", pattern, true}, Case{"ends at byte 99", std::string(89, 'x') + pattern + "\n", true},
        Case{"ends at byte 100", std::string(90, 'x') + pattern + "\n", false},
        Case{"second line", "first\n" + pattern + "\n", false}, Case{"over two lines", "SMBus \nI801\n", false},
        Case{"behind a NUL", std::string("x\0", 2) + pattern + "\n", false},
        Case{"empty line first", "\n" + pattern + "\n", false}, Case{"empty file", "", false}}) {
    SCOPED_TRACE(c.name);
    adapter("i2c-4", c.content);
    EXPECT_EQ(find(pattern.c_str()), c.matches ? 4U : kUnset);
  }
}

TEST_F(I2cAdapters, EntriesWithoutAReadableNameAreSkipped) {
  machine_.make_directory("sys/class/i2c-adapter/i2c-0")
      .make_directory("sys/class/i2c-adapter/i2c-1/name")
      .write("sys/class/i2c-adapter/i2c-2", "SMBus I801\n")
      .make_link("../nowhere", "sys/class/i2c-adapter/i2c-3");
  adapter("i2c-4", "");
  EXPECT_EQ(find("SMBus I801"), kUnset);
  machine_.add_i2c_adapter(9, "SMBus I801 adapter at efa0");
  EXPECT_EQ(find("SMBus I801"), 9U);
}

TEST_F(I2cAdapters, ANameThatMayNotBeReadIsSkipped) {
  if (geteuid() == 0) {
    GTEST_SKIP() << "root may read every file";
  }
  machine_.add_i2c_adapter(1, "SMBus I801 adapter at efa0");
  std::filesystem::permissions(machine_.root() / kAdapters / "i2c-1/name", std::filesystem::perms::none);
  EXPECT_EQ(find("SMBus I801"), kUnset);
}

TEST_F(I2cAdapters, MissingAdaptersAreAnError) {
  for (const bool is_file : {false, true}) {
    SCOPED_TRACE(is_file);
    if (is_file) {
      machine_.write("sys/class/i2c-adapter", "");
    }
    std::uint32_t port = kUnset;
    std::int32_t code = 0;
    const std::string printed = printed_by([&] { code = get_x86_i2c_port_number(&port, "SMBus I801"); });
    EXPECT_EQ(code_byte(code), 0x98);
    EXPECT_EQ(port, kUnset);
    EXPECT_EQ(printed, "Error: Cannot access /sys/class/i2c-adapter\n");
  }
}

TEST_F(I2cAdapters, TheErrorIsSilentWhenErrorMessagesAreOff) {
  g_error_message_open = 0;
  std::uint32_t port = kUnset;
  std::int32_t code = 0;
  EXPECT_EQ(printed_by([&] { code = get_x86_i2c_port_number(&port, "x"); }), "");
  EXPECT_EQ(code_byte(code), 0x98);
}

TEST_F(I2cAdapters, TracesShowEachEntryUpToTheMatch) {
  machine_.add_i2c_adapter(0, "npcm_i2c_7")
      .add_i2c_adapter(1, "SMBus I801 adapter at efa0")
      .make_directory("sys/class/i2c-adapter/i2c-2");
  std::string expected;
  for (const std::string& entry : listed()) {
    expected += "/sys/class/i2c-adapter/" + entry + "/name, " + entry + "\n";
    if (entry == "i2c-1") {
      expected += "Root bus: i2c-1, founded.\n";
      break;
    }
  }
  EXPECT_EQ(traced_by([&] { find("SMBus I801"); }), expected);
}

TEST_F(I2cAdapters, AChannelIsFoundByTheNameOfItsMultiplexer) {
  // As two switches appear, one behind the other: channel 1 of the one on adapter 7, then its three channels.
  machine_.add_i2c_adapter(7, "npcm_i2c_7")
      .add_i2c_adapter(73, "i2c-7-mux (chan_id 1)")
      .add_i2c_adapter(78, "i2c-73-mux (chan_id 0)")
      .add_i2c_adapter(79, "i2c-73-mux (chan_id 1)")
      .add_i2c_adapter(0, "i2c-11-mux (chan_id 0)");
  struct Case {
    std::uint32_t parent;
    std::uint32_t channel;
    std::uint32_t number;
  };
  for (const Case& c : {Case{7, 1, 73}, Case{73, 0, 78}, Case{73, 1, 79}, Case{11, 0, 0}, Case{7, 0, kUnset},
                        Case{1, 0, kUnset}, Case{3, 1, kUnset}, Case{73, 2, kUnset}}) {
    SCOPED_TRACE(std::to_string(c.parent) + "." + std::to_string(c.channel));
    std::uint32_t port = kUnset;
    EXPECT_EQ(get_i2c_mux_port_number(&port, c.parent, c.channel), 0);
    EXPECT_EQ(port, c.number);
  }
}

TEST_F(I2cAdapters, AChannelsNameIsMatchedAnywhereInAName) {
  machine_.add_i2c_adapter(4, "xi2c-0-mux (chan_id 2) more");
  std::uint32_t port = kUnset;
  EXPECT_EQ(get_i2c_mux_port_number(&port, 0, 2), 0);
  EXPECT_EQ(port, 4U);
}

TEST_F(I2cAdapters, TracesShowTheChannelBeforeAndAfterTheSearch) {
  machine_.add_i2c_adapter(4, "i2c-0-mux (chan_id 2)");
  std::uint32_t port = kUnset;
  EXPECT_EQ(traced_by([&] { static_cast<void>(get_i2c_mux_port_number(&port, 0, 2)); }),
            "Found I2C mux port: i2c-0-mux (chan_id 2)\n"
            "/sys/class/i2c-adapter/i2c-4/name, i2c-4\n"
            "Root bus: i2c-4, founded.\n"
            "I2C mux port number: 4\n");
  port = 255;
  EXPECT_EQ(traced_by([&] { static_cast<void>(get_i2c_mux_port_number(&port, 10, 7)); }),
            "Found I2C mux port: i2c-10-mux (chan_id 7)\n"
            "/sys/class/i2c-adapter/i2c-4/name, i2c-4\n"
            "I2C mux port number: 255\n");
}

TEST_F(I2cAdapters, AChannelSearchWithoutAdaptersReturnsTheSearchsCode) {
  std::uint32_t port = 255;
  std::int32_t code = 0;
  const std::string trace = traced_by([&] { code = get_i2c_mux_port_number(&port, 0, 2); });
  EXPECT_EQ(code_byte(code), 0x98);
  EXPECT_EQ(port, 255U);
  EXPECT_EQ(trace,
            "Found I2C mux port: i2c-0-mux (chan_id 2)\n"
            "Error: Cannot access /sys/class/i2c-adapter\n"
            "I2C mux port number: 255\n");
}

}  // namespace
}  // namespace qorx::test
