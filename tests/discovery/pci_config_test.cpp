// Configuration space: the ids of a function, and that they are read once in the life of the object that keeps them.
#include "discovery/pci_config.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

#include "base/messages.h"
#include "tests/support/expect.h"
#include "tests/support/rows.h"
#include "tests/support/unprivileged.h"

namespace qorx::test {
namespace {

constexpr const char* kConfig = "/sys/bus/pci/devices/0000:03:00.0/config";
constexpr const char* kCantOpen = "can't open name /sys/bus/pci/devices/0000:03:00.0/config\n";
constexpr PciAddress kAddress{0x03, 0x00, 0x00};
constexpr PciIds kUnknown{0x10000, 0x10000};
constexpr Ids kIds{0x8086, 0x1521, 0x13FE, 0x0038};

class PciConfig : public MachineTest {
 protected:
  // Makes function 03:00.0 with this configuration space.
  void write_config(const std::string& config) { machine_.write(kConfig + 1, config); }

  FakeMachine& replace_by_directory() { return machine_.remove(kConfig + 1).make_directory(kConfig + 1); }

  void expect_device_ids(const PciIds& expected) {
    EXPECT_TRUE(read_vendor_device_ids(ConfigSpace(kConfig), ids_));
    EXPECT_EQ(ids_, expected);
  }

  // Reads the subsystem ids with traces on.
  void expect_subsystem_ids(const PciIds& expected, std::int32_t code = 0, const std::string& trace = "") {
    ids_ = {1, 2};
    EXPECT_EQ(traced_by([&] { EXPECT_EQ(get_pcie_subsystem_vendor_id_device_id(kConfig, ids_), code); }), trace);
    EXPECT_EQ(ids_, expected);
  }

  PciIds ids_{1, 2};
};

TEST_F(PciConfig, IdsAreLittleEndian) {
  std::string config(64, '\0');
  config.replace(0, 4, bytes("34 12 78 56"));
  config.replace(0x2C, 4, bytes("fe ff 01 80"));
  write_config(config);
  expect_device_ids({0x1234, 0x5678});
  expect_subsystem_ids({0xFFFE, 0x8001});
}

// The ids at 0x2c are 2211 4433, those in the capability 13fe 0038.
struct Header {
  std::string_view rule;
  int type;
  bool is_endpoint;
  const char* printed_type = "";
};

class HeaderType : public RowTest<Header, PciConfig> {
 protected:
  static std::string header(bool with_capability) {
    std::string config = bridge_config(kIds, with_capability ? 0x50 : 0);
    config[kPciHeaderType] = static_cast<char>(row().type);
    config.replace(kPciSubsystemVendorId, 4, bytes("11 22 33 44"));
    return config;
  }
};

TEST_P(HeaderType, DecidesWhereTheSubsystemIdsAre) {
  const PciIds in_header{0x2211, 0x4433};
  write_config(header(true));
  EXPECT_EQ(get_pcie_subsystem_vendor_id_device_id(kConfig, ids_), 0);
  EXPECT_EQ(ids_, (row().is_endpoint ? in_header : PciIds{0x13FE, 0x0038}));
  write_config(header(false));
  if (row().is_endpoint) {
    expect_subsystem_ids(in_header);
  } else {
    expect_subsystem_ids(kUnknown, -1,
                         "Not support capabilities list, Can't find capability id d in PCIE config space \n"
                         "Can't find subsystem id in PCIE type " +
                             std::string(row().printed_type) + " config space \n");
  }
}

QORX_ROWS(HeaderType, {"an endpoint has them at 2c", 0x00, true}, {"so does one of several functions", 0x80, true},
          {"a bridge has them in the capability", 0x01, false, "1"},
          {"a bridge of several functions too", 0x81, false, "1"}, {"a CardBus bridge too", 0x02, false, "2"},
          {"a CardBus bridge of several functions too", 0x82, false, "2"}, {"any other type too", 0x7F, false, "127"},
          {"any other type of several functions too", 0xFF, false, "127"});

// The header type of a file of up to 14 bytes counts as 0: an endpoint.
TEST_F(PciConfig, BytesBehindATruncatedFileCountAsZero) {
  struct Case {
    std::size_t size;
    PciIds device;
    PciIds subsystem;
  };
  for (const Case& c : {Case{0, {0, 0}, {0, 0}}, Case{1, {0x86, 0}, {0, 0}}, Case{3, {0x8086, 0x21}, {0, 0}},
                        Case{4, {0x8086, 0x1521}, {0, 0}}, Case{10, {0x8086, 0x1521}, {0, 0}},
                        Case{45, {0x8086, 0x1521}, {0xFE, 0}}, Case{46, {0x8086, 0x1521}, {0x13FE, 0}},
                        Case{47, {0x8086, 0x1521}, {0x13FE, 0x38}}, Case{64, {0x8086, 0x1521}, {0x13FE, 0x0038}}}) {
    SCOPED_TRACE(c.size);
    write_config(endpoint_config(kIds).substr(0, c.size));
    expect_device_ids(c.device);
    expect_subsystem_ids(c.subsystem);
  }
}

TEST_F(PciConfig, ABridgeWhoseFileEndsBehindItsHeaderTypeHasNoCapabilityList) {
  write_config(bridge_config(kIds, 0x50).substr(0, 0x34));
  expect_subsystem_ids(kUnknown, -1,
                       "No capabilities list, Can't find capability id d in PCIE config space \n"
                       "Can't find subsystem id in PCIE type 1 config space \n");
}

TEST_F(PciConfig, WithoutAReadableFileTheIdsAreUnknown) {
  expect_subsystem_ids(kUnknown, QORX_ERR_OPEN_FILE, kCantOpen);
  write_config(endpoint_config(kIds));
  std::filesystem::permissions(machine_.root() / (kConfig + 1), std::filesystem::perms::none);
  EXPECT_TRUE(holds_without_root(machine_, [this] {
    expect_subsystem_ids(kUnknown, QORX_ERR_OPEN_FILE, kCantOpen);
    return !HasFailure();
  }));
  replace_by_directory();
  expect_subsystem_ids(kUnknown, QORX_ERR_OPEN_FILE, kCantOpen);
  EXPECT_FALSE(read_vendor_device_ids(ConfigSpace(kConfig), ids_));
}

// On a little-endian host.
TEST_F(PciConfig, ReadPciDataReadsFourBytesAndKeepsOnesWhereThereAreNone) {
  std::string config(64, '\0');
  for (std::size_t i = 0; i < config.size(); ++i) {
    config[i] = static_cast<char>(i);
  }
  write_config(config);
  const std::map<std::uint32_t, std::uint32_t> words{{0, 0x03020100},  {4, 0x07060504},   {0x2D, 0x302F2E2D},
                                                     {60, 0x3F3E3D3C}, {62, 0xFFFF3F3E},  {63, 0xFFFFFF3F},
                                                     {64, 0xFFFFFFFF}, {4000, 0xFFFFFFFF}};
  for (const auto& [offset, wanted] : words) {
    std::uint32_t value = 0;
    EXPECT_EQ(read_PCI_data(kAddress, offset, &value), 0);
    EXPECT_EQ(value, wanted) << offset;
  }
}

TEST_F(PciConfig, ReadPciDataReportsAFileThatCannotBeOpened) {
  std::uint32_t value = 0;
  const auto read = [&value] { return read_PCI_data(kAddress, 0, &value); };
  const Outcome reported{"Can't open /sys/bus/pci/devices/0000:03:00.0/config.\n", 0xFF};
  EXPECT_EQ(outcome_of(read), reported);
  EXPECT_EQ(value, 0xFFFFFFFF);
  replace_by_directory();
  EXPECT_EQ(outcome_of(read), reported);
  g_error_message_open = 0;
  EXPECT_EQ(outcome_of(read), (Outcome{"", 0xFF}));
}

std::string config_file(PciAddress address) {
  return "sys/bus/pci/devices/" + std::string(DeviceName(address).view()) + "/config";
}

class PciFunctionsTest : public MachineTest {
 protected:
  PciIds read(PciAddress address) {
    PciIds ids;
    code_ = read_PCI_subsystem_vendor_id_device_id(*functions_, address, ids);
    return ids;
  }

  std::unique_ptr<PciFunctions> functions_ = std::make_unique<PciFunctions>();
  std::int32_t code_ = 1;
};

TEST_F(PciFunctionsTest, IsReadOnceAndTracedAsOften) {
  machine_.write(config_file({1, 2, 3}), bridge_config({0x8086, 0x1234, 0x13FE, 0x204A}, 0x50));
  const std::string first = traced_by([&] { read({1, 2, 3}); });
  EXPECT_EQ(first, "offset 50\ncapa id  d at offset 50\n");
  machine_.remove("sys/bus/pci/devices");
  EXPECT_EQ(traced_by([&] { read({1, 2, 3}); }), first);
  EXPECT_EQ(code_, 0);
  EXPECT_EQ(read({1, 2, 3}).device, 0x204AU);
}

TEST_F(PciFunctionsTest, ThatIsMissingIsAskedForOnceToo) {
  const std::string first = traced_by([&] { read({1, 2, 3}); });
  EXPECT_EQ(first, "can't open name /sys/bus/pci/devices/0000:01:02.3/config\n");
  EXPECT_EQ(code_, QORX_ERR_OPEN_FILE);
  machine_.write(config_file({1, 2, 3}), endpoint_config({}));
  EXPECT_EQ(traced_by([&] { read({1, 2, 3}); }), first);
  EXPECT_EQ(read({1, 2, 3}), kUnknown);
}

TEST_F(PciFunctionsTest, IsNeverTakenForAnother) {
  for (const PciAddress address : {PciAddress{0, 1, 0}, {0, 0, 8}, {1, 0, 0}, {0, 4, 5}, {37, 0, 0}}) {
    machine_.write(config_file(address), endpoint_config({0, 0, address.bus, address.dev}));
    EXPECT_EQ(read(address), (PciIds{address.bus, address.dev}));
  }
}

TEST_F(PciFunctionsTest, AnAddressNamesItsFileInLowerCaseHexadecimal) {
  for (const auto& [address, name] : {std::pair(PciAddress{0x00, 0x1C, 0x04}, "0000:00:1c.4"),
                                      {{0xAB, 0x0F, 0x07}, "0000:ab:0f.7"},
                                      {{0xFF, 0xFF, 0xFF}, "0000:ff:ff.ff"}}) {
    const std::string file = std::string("sys/bus/pci/devices/") + name + "/config";
    EXPECT_EQ(traced_by([&, at = address] { EXPECT_EQ(read(at), kUnknown); }), "can't open name /" + file + "\n");
    EXPECT_EQ(code_, QORX_ERR_OPEN_FILE);
    functions_ = std::make_unique<PciFunctions>();  // that has not read it before
    machine_.write(file, endpoint_config(kIds));
    EXPECT_EQ(read(address), (PciIds{0x13FE, 0x0038}));
    EXPECT_EQ(code_, 0);
  }
}

TEST_F(PciFunctionsTest, IsReadRightHoweverManyThereAre) {
  constexpr int kCount = 1100;
  const auto address_of = [](int i) {
    return PciAddress{static_cast<std::uint8_t>(i / 8), static_cast<std::uint8_t>(i % 8), 1};
  };
  for (int i = 0; i < kCount; ++i) {
    machine_.write(config_file(address_of(i)), endpoint_config({0, 0, 0x13FE, static_cast<std::uint16_t>(i)}));
  }
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < kCount; ++i) {
      ASSERT_EQ(read(address_of(i)).device, static_cast<std::uint32_t>(i)) << round;
    }
  }
}

}  // namespace
}  // namespace qorx::test
