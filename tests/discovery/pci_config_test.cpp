#include "discovery/pci_config.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "base/messages.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

constexpr const char* kConfig = "/sys/bus/pci/devices/0000:03:00.0/config";
constexpr PciAddress kAddress{0x03, 0x00, 0x00};
constexpr Ids kIds{0x8086, 0x1521, 0x13FE, 0x0038};

class PciConfig : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  // Makes function 03:00.0 with this configuration space.
  void write_config(const std::string& config) { machine_.write(kConfig + 1, config); }

  // A header of the given type, capability 0x0D at 0x50 where wanted.
  static std::string header(int type, bool with_capability) {
    std::string config = bridge_config(kIds, with_capability ? 0x50 : 0);
    config[kPciHeaderType] = static_cast<char>(type);
    config.replace(kPciSubsystemVendorId, 4, bytes("11 22 33 44"));
    return config;
  }

  FakeMachine machine_;
  PciIds ids_{1, 2};
};

void expect_ids(const PciIds& ids, std::uint32_t vendor, std::uint32_t device) {
  EXPECT_EQ(ids.vendor, vendor);
  EXPECT_EQ(ids.device, device);
}

TEST_F(PciConfig, AnEndpointHasItsSubsystemIdsAt2C) {
  write_config(endpoint_config(kIds));
  EXPECT_EQ(get_pcie_subsystem_vendor_id_device_id(kConfig, ids_), 0);
  expect_ids(ids_, 0x13FE, 0x0038);
}

TEST_F(PciConfig, IdsAreLittleEndian) {
  std::string config(64, '\0');
  config.replace(0, 4, bytes("34 12 78 56"));
  config.replace(0x2C, 4, bytes("fe ff 01 80"));
  write_config(config);
  EXPECT_TRUE(read_vendor_device_ids(ConfigSpace(kConfig), ids_));
  expect_ids(ids_, 0x1234, 0x5678);
  EXPECT_EQ(get_pcie_subsystem_vendor_id_device_id(kConfig, ids_), 0);
  expect_ids(ids_, 0xFFFE, 0x8001);
}

TEST_F(PciConfig, OnlyHeaderTypeZeroHasItsIdsAt2C) {
  struct Case {
    int header_type;
    bool is_endpoint;  // else the ids are in the capability
  };
  for (const Case& c : {Case{0x00, true}, Case{0x80, true}, Case{0x01, false}, Case{0x81, false}, Case{0x02, false},
                        Case{0x82, false}, Case{0x7F, false}, Case{0xFF, false}}) {
    SCOPED_TRACE(c.header_type);
    write_config(header(c.header_type, true));
    EXPECT_EQ(get_pcie_subsystem_vendor_id_device_id(kConfig, ids_), 0);
    expect_ids(ids_, c.is_endpoint ? 0x2211 : 0x13FE, c.is_endpoint ? 0x4433 : 0x0038);
  }
}

TEST_F(PciConfig, ABridgeWithoutTheCapabilityHasNoSubsystemIds) {
  struct Case {
    int header_type;
    const char* printed;
  };
  for (const Case& c : {Case{0x01, "1"}, Case{0x81, "1"}, Case{0x02, "2"}, Case{0x82, "2"}, Case{0xFF, "127"}}) {
    SCOPED_TRACE(c.header_type);
    write_config(header(c.header_type, false));
    std::int32_t code = 0;
    ids_ = {1, 2};
    const std::string trace = traced_by([&] { code = get_pcie_subsystem_vendor_id_device_id(kConfig, ids_); });
    EXPECT_EQ(code, -1);
    expect_ids(ids_, 0x10000, 0x10000);
    EXPECT_EQ(trace,
              "Not support capabilities list, Can't find capability id d in PCIE config space \n"
              "Can't find subsystem id in PCIE type " +
                  std::string(c.printed) + " config space \n");
  }
}

TEST_F(PciConfig, BytesBehindATruncatedFileCountAsZero) {
  struct Case {
    std::size_t size;
    PciIds device;
    PciIds subsystem;
  };
  // The header type of a file of up to 14 bytes counts as 0: an endpoint.
  for (const Case& c : {Case{0, {0, 0}, {0, 0}}, Case{1, {0x86, 0}, {0, 0}}, Case{3, {0x8086, 0x21}, {0, 0}},
                        Case{4, {0x8086, 0x1521}, {0, 0}}, Case{10, {0x8086, 0x1521}, {0, 0}},
                        Case{45, {0x8086, 0x1521}, {0xFE, 0}}, Case{46, {0x8086, 0x1521}, {0x13FE, 0}},
                        Case{47, {0x8086, 0x1521}, {0x13FE, 0x38}}, Case{64, {0x8086, 0x1521}, {0x13FE, 0x0038}}}) {
    SCOPED_TRACE(c.size);
    write_config(endpoint_config(kIds).substr(0, c.size));
    EXPECT_TRUE(read_vendor_device_ids(ConfigSpace(kConfig), ids_));
    expect_ids(ids_, c.device.vendor, c.device.device);
    EXPECT_EQ(get_pcie_subsystem_vendor_id_device_id(kConfig, ids_), 0);
    expect_ids(ids_, c.subsystem.vendor, c.subsystem.device);
  }
}

TEST_F(PciConfig, ABridgeWhoseFileEndsBehindItsHeaderTypeHasNoCapabilityList) {
  std::string config = bridge_config(kIds, 0x50);
  config.resize(0x34);
  write_config(config);
  const std::string trace = traced_by([&] { EXPECT_EQ(get_pcie_subsystem_vendor_id_device_id(kConfig, ids_), -1); });
  EXPECT_TRUE(trace.starts_with("No capabilities list, Can't find capability id d in PCIE config space \n")) << trace;
}

TEST_F(PciConfig, AMissingConfigFileLeavesTheIdsUnknown) {
  std::int32_t code = 0;
  const std::string trace = traced_by([&] { code = get_pcie_subsystem_vendor_id_device_id(kConfig, ids_); });
  EXPECT_EQ(code, QORX_ERR_OPEN_FILE);
  expect_ids(ids_, 0x10000, 0x10000);
  EXPECT_EQ(trace, "can't open name /sys/bus/pci/devices/0000:03:00.0/config\n");
}

TEST_F(PciConfig, ADirectoryInPlaceOfTheConfigFileCannotBeOpened) {
  machine_.make_directory(kConfig + 1);
  std::int32_t code = 0;
  const std::string trace = traced_by([&] { code = get_pcie_subsystem_vendor_id_device_id(kConfig, ids_); });
  EXPECT_EQ(code, QORX_ERR_OPEN_FILE);
  expect_ids(ids_, 0x10000, 0x10000);
  EXPECT_EQ(trace, "can't open name /sys/bus/pci/devices/0000:03:00.0/config\n");
  EXPECT_FALSE(read_vendor_device_ids(ConfigSpace(kConfig), ids_));
}

TEST_F(PciConfig, AConfigFileThatMayNotBeReadCannotBeOpened) {
  if (geteuid() == 0) {
    GTEST_SKIP() << "root may read every file";
  }
  write_config(endpoint_config(kIds));
  std::filesystem::permissions(machine_.root() / (kConfig + 1), std::filesystem::perms::none);
  EXPECT_EQ(get_pcie_subsystem_vendor_id_device_id(kConfig, ids_), QORX_ERR_OPEN_FILE);
  expect_ids(ids_, 0x10000, 0x10000);
}

TEST_F(PciConfig, AnAddressNamesItsFileInLowerCaseHexadecimal) {
  struct Case {
    PciAddress address;
    const char* name;
  };
  for (const Case& c : {Case{{0x00, 0x1C, 0x04}, "0000:00:1c.4"}, Case{{0xAB, 0x0F, 0x07}, "0000:ab:0f.7"},
                        Case{{0xFF, 0xFF, 0xFF}, "0000:ff:ff.ff"}}) {
    SCOPED_TRACE(c.name);
    machine_.write("sys/bus/pci/devices/" + std::string(c.name) + "/config", endpoint_config(kIds));
    EXPECT_EQ(read_PCI_subsystem_vendor_id_device_id(c.address, ids_), 0);
    expect_ids(ids_, 0x13FE, 0x0038);
  }
}

TEST_F(PciConfig, AMissingFunctionIsReportedUnderItsAddress) {
  std::int32_t code = 0;
  const std::string trace = traced_by([&] { code = read_PCI_subsystem_vendor_id_device_id({0x0A, 0x1F, 0x07}, ids_); });
  EXPECT_EQ(code, QORX_ERR_OPEN_FILE);
  expect_ids(ids_, 0x10000, 0x10000);
  EXPECT_EQ(trace, "can't open name /sys/bus/pci/devices/0000:0a:1f.7/config\n");
}

TEST_F(PciConfig, ReadPciDataReadsFourBytesAtAnOffset) {
  std::string config(64, '\0');
  for (std::size_t i = 0; i < config.size(); ++i) {
    config[i] = static_cast<char>(i);
  }
  write_config(config);
  struct Case {
    std::uint32_t offset;
    std::uint32_t value;  // on a little-endian host
  };
  for (const Case& c : {Case{0, 0x03020100}, Case{4, 0x07060504}, Case{0x2D, 0x302F2E2D}, Case{60, 0x3F3E3D3C}}) {
    SCOPED_TRACE(c.offset);
    std::uint32_t value = 0;
    EXPECT_EQ(read_PCI_data(kAddress, c.offset, &value), 0);
    EXPECT_EQ(value, c.value);
  }
}

TEST_F(PciConfig, ReadPciDataKeepsOnesWhereNothingWasRead) {
  write_config(std::string(64, '\x11'));
  struct Case {
    std::uint32_t offset;
    std::uint32_t value;
  };
  for (const Case& c : {Case{62, 0xFFFF1111}, Case{63, 0xFFFFFF11}, Case{64, 0xFFFFFFFF}, Case{4000, 0xFFFFFFFF}}) {
    SCOPED_TRACE(c.offset);
    std::uint32_t value = 0;
    EXPECT_EQ(read_PCI_data(kAddress, c.offset, &value), 0);
    EXPECT_EQ(value, c.value);
  }
}

TEST_F(PciConfig, ReadPciDataReportsAFileThatCannotBeOpened) {
  for (const bool is_directory : {false, true}) {
    SCOPED_TRACE(is_directory);
    if (is_directory) {
      machine_.make_directory(kConfig + 1);
    }
    std::uint32_t value = 0;
    std::int32_t code = 0;
    const std::string printed = printed_by([&] { code = read_PCI_data(kAddress, 0, &value); });
    EXPECT_EQ(code, -1);
    EXPECT_EQ(value, 0xFFFFFFFF);
    EXPECT_EQ(printed, "Can't open /sys/bus/pci/devices/0000:03:00.0/config.\n");
  }
}

TEST_F(PciConfig, ReadPciDataIsSilentWhenErrorMessagesAreOff) {
  g_error_message_open = 0;
  std::uint32_t value = 0;
  std::int32_t code = 0;
  EXPECT_EQ(printed_by([&] { code = read_PCI_data(kAddress, 0, &value); }), "");
  EXPECT_EQ(code, -1);
}

}  // namespace
}  // namespace qorx::test
